// _folder.xml and _folder.dty: when the list is made, what it holds, and when a thread reads it again.
#include <gtest/gtest.h>

#include "common/Exception.h"
#include "common/FileStream.h"
#include "folders/FolderNames.h"
#include "frame/Settings.h"
#include "tests/folders/FolderFiles.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class FolderIndexFile : public FolderFiles {
protected:
    std::string List(std::string_view below = {}) const
    {
        return Bytes(below.empty() ? "_folder.xml" : std::string(below) + "/_folder.xml");
    }
    // Reads the list that the test has written.
    Names Loaded(std::string_view bytes) const
    {
        Put("_folder.xml", bytes);
        LocalFolderList list;
        FolderEntryList* entries = nullptr;
        const uint32_t result = LoadFolderIndex(entries, Dir(), list);
        EXPECT_EQ(result, entries ? 1u : 0u);
        return NamesOf(entries);
    }
};

TEST_F(FolderIndexFile, WithoutChildrenIsEmptyAndListsNothing)
{
    EXPECT_EQ(RebuildFolderIndex(Dir(), true), 1u);
    EXPECT_EQ(List(), "<folderindex></folderindex>");
    EXPECT_EQ(ListedAnew(), Names{});
}

TEST_F(FolderIndexFile, HoldsEachChildDirectoryInTheDirectorysOrder)
{
    for (const char* name : {"zebra", "Beta", "alpha", "a & b"}) Make(name);
    Put("1.MAI", "no folder");
    EXPECT_EQ(RebuildFolderIndex(Dir(), true), 1u);
    EXPECT_EQ(List(), ListOf({"a & b", "alpha", "Beta", "zebra"}));
}

TEST_F(FolderIndexFile, IsListedInTheByteOrderOfTheNames)
{
    for (const char* name : {"zebra", "Beta", "alpha", "Zulu"}) Make(name);
    EXPECT_EQ(ListedAnew(), (Names{"Beta", "Zulu", "alpha", "zebra"}));
}

TEST_F(FolderIndexFile, NeedsARebuildWithoutTheListAndWithTheFlag)
{
    EXPECT_TRUE(FolderIndexNeedsRebuild(Dir()));
    Put("_folder.dty", "");
    EXPECT_TRUE(FolderIndexNeedsRebuild(Dir()));
    Put("_folder.xml", "");
    EXPECT_TRUE(FolderIndexNeedsRebuild(Dir()));
    TakeFlag();
    EXPECT_FALSE(FolderIndexNeedsRebuild(Dir()));
}

TEST_F(FolderIndexFile, AFlagWithNoListEndsInARebuildThatLeavesTheListAlone)
{
    Make("a");
    Put("_folder.dty", "DIRTY");
    EXPECT_EQ(ListedAnew(), Names{"a"});
    EXPECT_FALSE(IsFlagged());
    EXPECT_FALSE(FolderIndexNeedsRebuild(Dir()));
}

TEST_F(FolderIndexFile, TheFlagHoldsFiveBytes)
{
    Put("_folder.dty", "an older and longer text");
    EXPECT_EQ(MarkHierarchyDirty(Dir()), 1u);
    EXPECT_EQ(Bytes("_folder.dty"), "DIRTY");
}

TEST_F(FolderIndexFile, AFlagThatCannotBeWrittenAnswersZero)
{
    EXPECT_EQ(MarkHierarchyDirty(Dir("missing")), 0u);
    EXPECT_FALSE(Has("missing"));
}

TEST_F(FolderIndexFile, TheRootIsOneSeparatorAlone)
{
    EXPECT_TRUE(IsRootFolderPath("/"));
    EXPECT_TRUE(IsRootFolderPath("\\"));
    for (const char* path : {"", "//", "\\/", "/Inbox", "Inbox"}) EXPECT_FALSE(IsRootFolderPath(path)) << path;
}

TEST_F(FolderIndexFile, WellKnownNamesGetTheirSpellingAtTheRootAndStayOnDisk)
{
    const Names stored{"Inbox", "Outbox", "Deleted Items", "Sent Items", "Calendar", "Contacts", "Drafts", "Journal", "Notes", "Tasks"};
    Names upper = stored;
    for (std::string& name : upper)
        for (char& c : name) c = UpperAscii(c);
    for (const std::string& name : upper) Make(name);
    Names sorted = stored;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(ListedAnew(), sorted);
    std::sort(upper.begin(), upper.end());
    EXPECT_EQ(Directories(), upper);
    EXPECT_EQ(log.Events(), Names{});
}

TEST_F(FolderIndexFile, BelowAnotherFolderAWellKnownNameStaysAsItIs)
{
    Make("a/inbox");
    Make("inbox");
    EXPECT_EQ(ListedAnew("a"), Names{"inbox"});
    EXPECT_EQ(ListedAnew(), (Names{"Inbox", "a"}));
}

TEST_F(FolderIndexFile, APartOfAWellKnownNameIsAnotherName)
{
    for (const char* name : {"inboxes", "box in", "sent"}) Make(name);
    EXPECT_EQ(ListedAnew(), (Names{"box in", "inboxes", "sent"}));
}

TEST_F(FolderIndexFile, EveryByteButBlanksLineEndsAndAsciiIsReplaced)
{
    for (int value = 0; value < 256; ++value) {
        std::string name = "a" + std::string(1, static_cast<char>(value)) + "b";
        const bool stays = value == 9 || value == 10 || value == 13 || (value >= 32 && value <= 127);
        const std::string expected = stays ? name : "a_b";
        EXPECT_EQ(SanitiseFolderName(name), !stays) << value;
        EXPECT_EQ(name, expected) << value;
    }
}

TEST_F(FolderIndexFile, WhatWouldEndANameInTheFileIsReplaced)
{
    std::string name = "a]]>b]]]>]]>";
    EXPECT_TRUE(SanitiseFolderName(name));
    EXPECT_EQ(name, "a]]_b]]]_]]_");
    std::string harmless = "]] ]>";
    EXPECT_FALSE(SanitiseFolderName(harmless));
}

TEST_F(FolderIndexFile, ADirectoryWithAByteAbove127IsRenamed)
{
    ASSERT_TRUE(CreateDirectoryA(Dir("caf\xE9").c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA(Dir("caf\xE9\\below").c_str(), nullptr));
    EXPECT_EQ(ListedAnew(), Names{"caf_"});
    EXPECT_EQ(Directories(), Names{"caf_"});
    EXPECT_TRUE(Has("caf_/below"));
    EXPECT_EQ(ListedAnew(), Names{"caf_"});
}

TEST_F(FolderIndexFile, ARenameOntoANameThatIsTakenLosesNeitherDirectory)
{
    ASSERT_TRUE(CreateDirectoryA(Dir("caf\xE9").c_str(), nullptr));
    Make("caf_");
    Put("caf_/kept.MAI", "kept");
    EXPECT_EQ(ListedAnew(), (Names{"caf_", "caf_ (Error)"}));
    EXPECT_EQ(Bytes("caf_/kept.MAI"), "kept");
    EXPECT_EQ(Directories().size(), 2u);
    EXPECT_FALSE(Has("caf_ (Error)"));

    // Every rebuild tries again.
    fs::rename(box / "caf_", box / "other");
    EXPECT_EQ(RebuildFolderIndex(Dir(), true), 1u);
    EXPECT_EQ(ListedAnew(), (Names{"caf_", "other"}));
    EXPECT_EQ(Directories(), (Names{"caf_", "other"}));
}

TEST_F(FolderIndexFile, TwoDirectoriesThatWouldGetOneNameStayTwo)
{
    ASSERT_TRUE(CreateDirectoryA(Dir("a\xE8").c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA(Dir("a\xE9").c_str(), nullptr));
    EXPECT_EQ(ListedAnew(), (Names{"a_", "a_ (Error)"}));
    EXPECT_EQ(Directories().size(), 2u);
}

TEST_F(FolderIndexFile, OneThatDoesNotLoadIsDeletedFailsOnceAndIsMadeAgain)
{
    Make("a");
    const std::string whole = ListOf({"a"});
    for (const std::string& bytes : {std::string(), whole.substr(0, whole.size() - 1), whole.substr(0, 20), whole + whole,
                                     std::string("no list at all"), whole + "</folderindex>"}) {
        Put("_folder.xml", bytes);
        LocalFolderList list;
        std::string said = CaptureStdout([&] { EXPECT_EQ(Listed(list), Names{"no list"}) << bytes; });
        EXPECT_EQ(said, "") << bytes;
        EXPECT_FALSE(Has("_folder.xml")) << bytes;
        EXPECT_EQ(Listed(list), Names{"a"}) << bytes;
        EXPECT_EQ(List(), whole);
    }
}

TEST_F(FolderIndexFile, OneThatIsNotThereDoesNotLoad)
{
    LocalFolderList list;
    FolderEntryList* entries = nullptr;
    EXPECT_EQ(LoadFolderIndex(entries, Dir(), list), 0u);
    EXPECT_EQ(entries, nullptr);
}

TEST_F(FolderIndexFile, OfAnotherLayoutIsRead)
{
    EXPECT_EQ(Loaded("<?xml version=\"1.0\"?>\n<!-- by hand -->\n<other id='1'>\n <x/><folder><name>b</name></folder>"
                     "<folder id=\"7\"><name>a</name></folder><y><folder><name>not a child</name></folder></y>\n</other>\n"),
              (Names{"a", "b"}));
}

TEST_F(FolderIndexFile, ListsARepeatedNameOnceAndNamesOfAnotherCaseTwice)
{
    EXPECT_EQ(Loaded(ListOf({"b", "a", "A", "b"})), (Names{"A", "a", "b"}));
}

TEST_F(FolderIndexFile, TheTextOfAWholeElementCounts)
{
    EXPECT_EQ(Loaded("<folderindex><folder><name>a</name><more>b</more></folder></folderindex>"), Names{"ab"});
}

TEST_F(FolderIndexFile, NamesThatAreTheDirectoryItselfOrTheOneAboveAreNoFolders)
{
    EXPECT_EQ(Loaded("<folderindex><folder/><folder><name></name></folder><folder><name>.</name></folder>"
                     "<folder><name>..</name></folder><folder><name>. .</name></folder><folder><name>.a</name></folder></folderindex>"),
              Names{".a"});
}

TEST_F(FolderIndexFile, NamesThatLeadElsewhereAreNoFolders)
{
    const std::string longest(511, 'n');
    EXPECT_EQ(Loaded(ListOf({"./.", "a\\..", "..\\x", "/", "\\", "x/y", "/a", "a/", "  ", "\t", ". ", longest + "n", longest, "a"})),
              (Names{"a", longest}));
}

TEST_F(FolderIndexFile, WhiteSpaceBetweenTheElementsIsNoPartOfAName)
{
    EXPECT_EQ(Loaded("<folderindex>\n\t<folder>\n\t\t<name>Inbox</name>\n\t</folder>\n\t<folder>\n\t</folder>\n"
                     "\t<folder>\n\t\t<name><![CDATA[a b]]></name>\n\t</folder>\n\t<folder>plain</folder>\n</folderindex>\n"),
              (Names{"Inbox", "a b", "plain"}));
}

TEST_F(FolderIndexFile, IsReadAgainWhenItIsNewer)
{
    Put("_folder.xml", ListOf({"a"}));
    SetLastWrite("_folder.xml", At(10));
    LocalFolderList list;
    EXPECT_EQ(Listed(list), Names{"a"});
    EXPECT_EQ(list.Directories->at(Dir())->Stamp, StampAt(10));

    Put("_folder.xml", ListOf({"b"}));
    SetLastWrite("_folder.xml", At(12));
    EXPECT_EQ(Listed(list), Names{"b"});
    EXPECT_EQ(list.Directories->at(Dir())->Stamp, StampAt(12));
}

TEST_F(FolderIndexFile, WrittenAgainWithinTwoSecondsCountsAsUnchanged)
{
    Put("_folder.xml", ListOf({"a"}));
    SetLastWrite("_folder.xml", At(10));
    LocalFolderList list;
    EXPECT_EQ(Listed(list), Names{"a"});
    Put("_folder.xml", ListOf({"b"}));
    SetLastWrite("_folder.xml", At(11));
    EXPECT_EQ(Listed(list), Names{"a"});
    EXPECT_EQ(ListedAnew(), Names{"b"});
}

TEST_F(FolderIndexFile, OfAnOlderTimeCountsAsUnchanged)
{
    Put("_folder.xml", ListOf({"a"}));
    SetLastWrite("_folder.xml", At(10));
    LocalFolderList list;
    EXPECT_EQ(Listed(list), Names{"a"});
    Put("_folder.xml", ListOf({"b"}));
    SetLastWrite("_folder.xml", At(2));
    EXPECT_EQ(Listed(list), Names{"a"});
}

TEST_F(FolderIndexFile, TheFlagOfAnyProcessHasTheNextRequestListTheDirectories)
{
    Make("a");
    LocalFolderList list;
    EXPECT_EQ(Listed(list), Names{"a"});
    Make("b");
    Put("_folder.dty", "");
    EXPECT_EQ(Listed(list), (Names{"a", "b"}));
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderIndexFile, AFolderMadeBehindTheLibrarysBackIsListedWhenTheListGoes)
{
    LocalFolderList list;
    EXPECT_EQ(Listed(list), Names{});
    Make("a");
    EXPECT_EQ(Listed(list), Names{});
    fs::remove(box / "_folder.xml");
    EXPECT_EQ(Listed(list), Names{"a"});
}

TEST_F(FolderIndexFile, AFolderMadeBehindTheLibrarysBackIsListedByAReIndex)
{
    Make("x");
    EXPECT_EQ(ListedAnew(), Names{"x"});
    Make("INBOX");
    Make("x/INBOX");
    EXPECT_EQ(ListedAnew(), Names{"x"});
    StoreFolderRecord root = Record("\\");
    EXPECT_EQ(StoreFolder_ReIndexChildFolders(&root), 1u);
    EXPECT_EQ(ListedAnew(), (Names{"Inbox", "x"}));
    StoreFolderRecord child = Record("/x", "not looked at");
    EXPECT_EQ(StoreFolder_ReIndexChildFolders(&child), 1u);
    EXPECT_EQ(List("x"), ListOf({"INBOX"}));
}

TEST_F(FolderIndexFile, OtherPathsToTheRootAreNotTheRoot)
{
    Make("INBOX");
    for (const char* path : {"", "//", "\\/"}) {
        StoreFolderRecord record = Record(path);
        EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 1u) << path;
        EXPECT_EQ(List(), ListOf({"INBOX"})) << path;
    }
}

TEST_F(FolderIndexFile, OfADirectoryThatIsNotThereIsNotMade)
{
    EXPECT_EQ(RebuildFolderIndex(Dir("missing"), false), 0u);
    EXPECT_EQ(ListedAnew("missing"), Names{"no list"});
    StoreFolderRecord record = Record("/missing");
    EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 0u);
    EXPECT_FALSE(Has("missing"));
}

TEST_F(FolderIndexFile, InAListThatIsNotInitialisedFails)
{
    TLSFolderList list;
    FolderEntryList* entries = nullptr;
    Make("a");
    EXPECT_EQ(GetFolderEntryList(entries, Dir(), true, list), 0u);
    EXPECT_EQ(LoadFolderIndex(entries, Dir(), list), 0u);
    EXPECT_EQ(entries, nullptr);
}

TEST_F(FolderIndexFile, NamesAreFoundInAnyCase)
{
    Put("_folder.xml", ListOf({"alpha", "Beta"}));
    EXPECT_TRUE(IsNameInFolderIndex(Dir(), "ALPHA"));
    EXPECT_TRUE(IsNameInFolderIndex(Dir(), "beta"));
    EXPECT_FALSE(IsNameInFolderIndex(Dir(), "bet"));
    EXPECT_FALSE(IsNameInFolderIndex(Dir(), ""));
}

TEST_F(FolderIndexFile, AListedNameIsComparedByItsFirst259Bytes)
{
    const std::string a(259, 'a');
    const std::string b(259, 'b');
    const std::string c(259, 'c');
    Put("_folder.xml", ListOf({a, b + "b", c + std::string(200, 'x')}));
    EXPECT_TRUE(IsNameInFolderIndex(Dir(), a.c_str()));
    EXPECT_FALSE(IsNameInFolderIndex(Dir(), (a + "a").c_str()));
    EXPECT_TRUE(IsNameInFolderIndex(Dir(), b.c_str()));
    EXPECT_FALSE(IsNameInFolderIndex(Dir(), (b + "b").c_str()));
    EXPECT_TRUE(IsNameInFolderIndex(Dir(), c.c_str()));
}

TEST_F(FolderIndexFile, TheNameOfAnElementIsItsChildOfThatName)
{
    Put("_folder.xml", "<folderindex><folder><x>no</x></folder><folder><x>no</x><name>a</name><name>b</name></folder></folderindex>");
    EXPECT_TRUE(IsNameInFolderIndex(Dir(), "a"));
    EXPECT_FALSE(IsNameInFolderIndex(Dir(), "b"));
    EXPECT_FALSE(IsNameInFolderIndex(Dir(), "no"));
}

TEST_F(FolderIndexFile, NoNameIsInAListThatIsNotThereAndThatIsNotTold)
{
    const std::string said = CaptureStdout([&] { EXPECT_FALSE(IsNameInFolderIndex(Dir(), "a")); });
    EXPECT_EQ(said, "");
}

TEST_F(FolderIndexFile, NoNameIsInAListThatDoesNotLoadAndItStays)
{
    Put("_folder.xml", "<folderindex>");
    const std::string said = CaptureStdout([&] { EXPECT_FALSE(IsNameInFolderIndex(Dir(), "a")); });
    EXPECT_TRUE(said.starts_with("Error:\nCode = 0x")) << said;
    EXPECT_TRUE(Has("_folder.xml"));
}

// ---- Failures ----

TEST_F(FolderIndexFile, WithoutADocumentFacilityTheErrorIsPrintedAndTheListStays)
{
    store.SetText("XML Version", "6", std::string(kBaseKey) + "\\Providers\\Store");
    Put("_folder.xml", ListOf({"a"}));
    LocalFolderList list;
    const auto isComError = [](const std::string& said) {
        return said.starts_with("Error:\nCode = 80004003\nCode meaning = ") && said.find("\nSource = ") != std::string::npos &&
               said.find("\nError Description = ") != std::string::npos && said.ends_with("\n");
    };
    std::string said = CaptureStdout([&] { EXPECT_EQ(Listed(list), Names{"no list"}); });
    EXPECT_TRUE(isComError(said)) << said;
    said = CaptureStdout([&] { EXPECT_FALSE(IsNameInFolderIndex(Dir(), "a")); });
    EXPECT_TRUE(isComError(said)) << said;
    EXPECT_EQ(List(), ListOf({"a"}));
    // A failed load is not taken for an empty list the next time.
    CaptureStdout([&] { EXPECT_EQ(Listed(list), Names{"no list"}); });
}

TEST_F(FolderIndexFile, AnotherFailureOfALoadIsPrinted)
{
    Put("_folder.xml", ListOf({"a"}));
    LocalFolderList list;
    const std::string said = CaptureStdout([&] {
        const WatchedFiles files([](FileOperation, std::string_view) -> uint32_t { throw Exception("out of order"); });
        FolderEntryList* entries = nullptr;
        EXPECT_EQ(LoadFolderIndex(entries, Dir(), list), 0u);
        EXPECT_FALSE(IsNameInFolderIndex(Dir(), "a"));
    });
    EXPECT_EQ(said, "General error loading index file\nGeneral error loading index file\n");
    EXPECT_EQ(Listed(list), Names{"a"});
}

TEST_F(FolderIndexFile, AFlagThatCannotBeDeletedRaisesBehindTheList)
{
    Make("a");
    Put("_folder.dty", "DIRTY");
    FileStream held;
    ASSERT_TRUE(held.OpenRead((box / "_folder.dty").string()));
    std::string message;
    try {
        RebuildFolderIndex(Dir(), true);
    } catch (const Exception& error) {
        message = error.Message();
    }
    EXPECT_EQ(message, "Call to DeleteFile failed for " + Dir("_folder.dty") + " (GetLastError() returned 32)");
    EXPECT_EQ(List(), ListOf({"a"}));
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderIndexFile, AFlagThatCannotBeDeletedIsReportedByTheReIndex)
{
    Put("_folder.dty", "DIRTY");
    FileStream held;
    ASSERT_TRUE(held.OpenRead((box / "_folder.dty").string()));
    StoreFolderRecord record = Record("/");
    EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 0u);
    EXPECT_TRUE(log.HasEvent("StoreFolder_ReIndexChildFolders handled an exception"));
    EXPECT_EQ(List(), "<folderindex></folderindex>");
}

TEST_F(FolderIndexFile, ThatIsHeldIsNotWrittenAndNothingIsRenamed)
{
    Put("_folder.xml", "old");
    Put("_folder.dty", "DIRTY");
    ASSERT_TRUE(CreateDirectoryA(Dir("caf\xE9").c_str(), nullptr));
    const Names before = Directories();
    FileStream held;
    ASSERT_TRUE(held.OpenUpdate((box / "_folder.xml").string(), FileStream::Sharing::None));
    EXPECT_EQ(RebuildFolderIndex(Dir(), true), 0u);
    held.Close();
    EXPECT_EQ(List(), "old");
    EXPECT_EQ(Directories(), before);
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderIndexFile, OfADirectoryThatCannotBeListedStaysWithItsFlag)
{
    Make("a");
    EXPECT_EQ(RebuildFolderIndex(Dir(), true), 1u);
    Make("b");
    MarkHierarchyDirty(Dir());
    {
        const WatchedFiles files([](FileOperation operation, std::string_view path) -> uint32_t {
            return operation == FileOperation::Search && path.ends_with("*") ? ERROR_ACCESS_DENIED : 0;
        });
        EXPECT_EQ(ListedAnew(), Names{"no list"});
    }
    EXPECT_EQ(List(), ListOf({"a"}));
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), (Names{"a", "b"}));
}

TEST_F(FolderIndexFile, ThatCannotBeWrittenWholeIsTakenAwayAndTheFlagStays)
{
    Make("a");
    Put("_folder.dty", "DIRTY");
    {
        const WatchedFiles files(
            [](FileOperation operation, std::string_view) -> uint32_t { return operation == FileOperation::Write ? ERROR_DISK_FULL : 0; });
        EXPECT_EQ(ListedAnew(), Names{"no list"});
    }
    EXPECT_FALSE(Has("_folder.xml"));
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), Names{"a"});
}

TEST_F(FolderIndexFile, AFlagSetWhileTheListIsWrittenIsNotLost)
{
    Make("a");
    Put("_folder.dty", "DIRTY");
    LocalFolderList list;
    {
        bool done = false;
        const WatchedFiles files([&](FileOperation operation, std::string_view) -> uint32_t {
            // Another process, between the listing and the removal of the flag.
            if (operation != FileOperation::Delete || done) return 0;
            done = true;
            Make("b");
            MarkHierarchyDirty(Dir());
            return 0;
        });
        Listed(list);
        EXPECT_TRUE(done);
    }
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(Listed(list), (Names{"a", "b"}));
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderIndexFile, AnOlderListWrittenOverItIsNoticed)
{
    Make("a");
    Put("_folder.dty", "DIRTY");
    LocalFolderList list;
    {
        const WatchedFiles files([&](FileOperation operation, std::string_view) -> uint32_t {
            if (operation == FileOperation::Delete) Put("_folder.xml", ListOf({"z"}));
            return 0;
        });
        Listed(list);
    }
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(Listed(list), Names{"a"});
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderIndexFile, AFailedLoadIsNotTakenForAnEmptyListTheNextTime)
{
    Put("_folder.xml", ListOf({"a"}));
    SetLastWrite("_folder.xml", At(10));
    LocalFolderList list;
    EXPECT_EQ(Listed(list), Names{"a"});

    Put("_folder.xml", "half a li");
    SetLastWrite("_folder.xml", At(20));
    {
        const WatchedFiles files([](FileOperation operation, std::string_view) -> uint32_t {
            return operation == FileOperation::Delete ? ERROR_SHARING_VIOLATION : 0;
        });
        EXPECT_EQ(Listed(list), Names{"no list"});
        EXPECT_EQ(Listed(list), Names{"no list"});
    }
    Put("_folder.xml", ListOf({"a", "b"}));
    SetLastWrite("_folder.xml", At(10));
    EXPECT_EQ(Listed(list), (Names{"a", "b"}));
}

// A file of a time that has no DOS form is as old as no file.
TEST_F(FolderIndexFile, AFailedLoadOfAFileOfNoTimeIsNotTakenForAnEmptyListEither)
{
    Put("_folder.xml", "half a li");
    SYSTEMTIME old = At(0);
    old.wYear = 1975;
    SetLastWrite("_folder.xml", old);
    LocalFolderList list;
    {
        const WatchedFiles files([](FileOperation operation, std::string_view) -> uint32_t {
            return operation == FileOperation::Delete ? ERROR_SHARING_VIOLATION : 0;
        });
        EXPECT_EQ(Listed(list), Names{"no list"});
        EXPECT_FALSE(list.Directories->contains(Dir()));
        EXPECT_EQ(Listed(list), Names{"no list"});
    }
    Put("_folder.xml", ListOf({"a"}));
    SetLastWrite("_folder.xml", old);
    EXPECT_EQ(Listed(list), Names{"a"});
}

TEST_F(FolderIndexFile, TheTimeOfTheListIsAskedInFrontOfItsLoad)
{
    Put("_folder.xml", ListOf({"a"}));
    LocalFolderList list;
    std::vector<FileOperation> operations;
    {
        const WatchedFiles files([&](FileOperation operation, std::string_view) -> uint32_t {
            operations.push_back(operation);
            return 0;
        });
        FolderEntryList* entries = nullptr;
        EXPECT_EQ(LoadFolderIndex(entries, Dir(), list), 1u);
    }
    ASSERT_GE(operations.size(), 2u);
    EXPECT_EQ(operations.front(), FileOperation::Search);
    EXPECT_EQ(std::count(operations.begin(), operations.end(), FileOperation::Search), 1);
}

// ---- What a listing costs ----

TEST_F(FolderIndexFile, ListedAgainCostsThreeLooksAndNothingElse)
{
    for (int folder = 0; folder < 50; ++folder) Make("folder " + std::to_string(folder));
    LocalFolderList list;
    const Names first = Listed(list);
    EXPECT_EQ(first.size(), 50u);
    std::vector<std::pair<FileOperation, std::string>> operations;
    Names again;
    {
        const WatchedFiles files([&](FileOperation operation, std::string_view path) -> uint32_t {
            operations.emplace_back(operation, std::string(path));
            return 0;
        });
        again = Listed(list);
    }
    EXPECT_EQ(again, first);
    const std::vector<std::pair<FileOperation, std::string>> expected{{FileOperation::Search, Dir("_folder.xml")},
                                                                      {FileOperation::Search, Dir("_folder.dty")},
                                                                      {FileOperation::Search, Dir("_folder.xml")}};
    EXPECT_EQ(operations, expected);
}

TEST_F(FolderIndexFile, ANewThreadReadsTheListAndListsNoDirectory)
{
    Make("a");
    ListedAnew();
    bool listed = false;
    {
        const WatchedFiles files([&](FileOperation operation, std::string_view path) -> uint32_t {
            listed = listed || (operation == FileOperation::Search && path.find_first_of("*?") != std::string_view::npos);
            return 0;
        });
        EXPECT_EQ(ListedAnew(), Names{"a"});
    }
    EXPECT_FALSE(listed);
}

}  // namespace
}  // namespace velmora::test
