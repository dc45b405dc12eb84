// Adding, removing, renaming and copying folders.
#include <gtest/gtest.h>

#include "common/FileManagement.h"
#include "common/FileStream.h"
#include "tests/folders/FolderOperations.h"

namespace velmora::test {
namespace {

// ---- Add ----

TEST_F(FolderAdd, MakesTheDirectoryAndMarksItsParent)
{
    EXPECT_EQ(Add(Record("/", "Projects")), 1u);
    EXPECT_TRUE(Has("Projects"));
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(Add(Record("/Projects", "2021")), 1u);
    EXPECT_TRUE(Has("Projects/2021"));
    EXPECT_TRUE(IsFlagged("Projects"));
    EXPECT_EQ(ListedAnew("Projects"), Names{"2021"});
}

TEST_F(FolderAdd, GivesAWellKnownNameAtTheRootItsSpelling)
{
    for (const char* root : {"/", "\\"}) {
        StoreFolderRecord record = Record(root, root[0] == '/' ? "inbox" : "DELETED items");
        EXPECT_EQ(StoreFolderAdd(&record), 1u);
        EXPECT_STREQ(record.FolderName, root[0] == '/' ? "Inbox" : "Deleted Items");
    }
    EXPECT_EQ(Directories(), (Names{"Deleted Items", "Inbox"}));
}

TEST_F(FolderAdd, LeavesAWellKnownNameAloneBelowAnotherFolder)
{
    Make("a");
    StoreFolderRecord record = Record("/a", "inbox");
    EXPECT_EQ(StoreFolderAdd(&record), 1u);
    EXPECT_STREQ(record.FolderName, "inbox");
    EXPECT_EQ(Directories("a"), Names{"inbox"});
}

TEST_F(FolderAdd, OfANameThatIsListedAsksForNoRebuild)
{
    Put("_folder.xml", ListOf({"Inbox"}));
    EXPECT_EQ(Add(Record("/", "inbox")), 1u);
    EXPECT_EQ(Directories(), Names{"Inbox"});
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderAdd, OfAFolderThatIsThereAnswersZeroAndMarksItsParentIfItIsNotListed)
{
    Make("a");
    EXPECT_EQ(ListedAnew(), Names{"a"});
    EXPECT_EQ(Add(Record("/", "A")), 0u);
    EXPECT_FALSE(IsFlagged());
    Make("b");
    EXPECT_EQ(Add(Record("/", "b")), 0u);
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), (Names{"a", "b"}));
}

TEST_F(FolderAdd, MakesNoParents)
{
    EXPECT_EQ(Add(Record("/missing", "a")), 0u);
    EXPECT_FALSE(Has("missing"));
}

TEST_F(FolderAdd, RefusesPublicAtTheRootWhilePublicFoldersAreEnabled)
{
    for (const char* root : {"/", "\\"})
        for (const char* name : kPublicNames) EXPECT_EQ(Add(Record(root, name)), 0u) << root << name;
    EXPECT_EQ(Directories(), Names{});
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderAdd, MakesPublicBelowAnotherFolder)
{
    Make("a");
    EXPECT_EQ(Add(Record("/a", "Public")), 1u);
    EXPECT_TRUE(Has("a/Public"));
}

TEST_F(FolderAdd, MakesPublicAtTheRootWhilePublicFoldersAreDisabled)
{
    store.SetNumber("Public Folders Enabled", 0);
    EXPECT_EQ(Add(Record("/", "Public")), 1u);
    EXPECT_TRUE(Has("Public"));
}

TEST_F(FolderAdd, InPublicFoldersGoesToTheirRoot)
{
    fs::create_directories(store.MailRoot() / "po/PUBROOT");
    EXPECT_EQ(Add(Record("/Public", "News")), 1u);
    EXPECT_TRUE(FileExists(store.MailRoot() / "po/PUBROOT/News"));
}

TEST_F(FolderAdd, MarksTheParentWhenTheListCannotBeRead)
{
    Put("_folder.xml", "<folderindex>");
    uint64_t added = 0;
    CaptureStdout([&] { added = Add(Record("/", "a")); });
    EXPECT_EQ(added, 1u);
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), Names{"a"});
}

TEST_F(FolderAdd, SaysNothingWhereThereIsNoListYet)
{
    EXPECT_EQ(CaptureStdout([&] { Add(Record("/", "a")); }), "");
}

// Nothing but the directory of the path itself is made, and the list above does not learn of it.
TEST_F(FolderAdd, WithNoNameMakesTheDirectoryOfThePath)
{
    EXPECT_EQ(Add(Record("/new")), 1u);
    EXPECT_EQ(Directories(), Names{"new"});
    EXPECT_FALSE(IsFlagged());
    EXPECT_TRUE(IsFlagged("new"));
    EXPECT_EQ(Add(Record("/new")), 0u);
    EXPECT_EQ(Add(Record("/")), 0u);
}

TEST_F(FolderAdd, OfANameWithASeparatorMakesTheDirectoryBelowAndMarksTheOneOfThePath)
{
    Make("a");
    EXPECT_EQ(Add(Record("/", "a/b")), 1u);
    EXPECT_EQ(Add(Record("/", "a\\c")), 1u);
    EXPECT_EQ(Add(Record("/", "missing/b")), 0u);
    EXPECT_EQ(Directories("a"), (Names{"b", "c"}));
    EXPECT_TRUE(IsFlagged());
    EXPECT_FALSE(IsFlagged("a"));
}

TEST_F(FolderAdd, OfANameOfSeparatorsAloneMakesNothing)
{
    const auto before = Everything();
    for (const char* name : {"/", "\\", "//"}) EXPECT_EQ(Add(Record("/new", name)), 0u) << name;
    EXPECT_EQ(Everything(), before);
}

// ---- Remove ----

TEST_F(FolderRemove, TakesTheFolderWithAllThatIsInIt)
{
    Make("a/b/c");
    Put("a/1.MAI", "1");
    Put("a/b/2.MAI", "2");
    Make("kept");
    EXPECT_EQ(ListedAnew(), (Names{"a", "kept"}));
    EXPECT_EQ(Remove(Record("/", "a")), 1u);
    EXPECT_EQ(Directories(), Names{"kept"});
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), Names{"kept"});
}

TEST_F(FolderRemove, OfAFolderBelowAnotherMarksThatOne)
{
    Make("a/b");
    EXPECT_EQ(Remove(Record("\\a", "b")), 1u);
    EXPECT_FALSE(Has("a/b"));
    EXPECT_TRUE(IsFlagged("a"));
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderRemove, WithNoNameTakesTheFolderOfThePath)
{
    Make("a/b");
    Make("c");
    EXPECT_EQ(Remove(Record("/a/b")), 1u);
    EXPECT_EQ(Directories("a"), Names{});
    EXPECT_TRUE(IsFlagged("a"));
    EXPECT_EQ(Remove(Record("c")), 1u);
    EXPECT_EQ(Directories(), Names{"a"});
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderRemove, WithTheRootAndNoNameTakesTheMailboxAndNoOther)
{
    Make("a");
    store.MakeFolder("INBOX", "other");
    EXPECT_EQ(Remove(Record("/")), 1u);
    EXPECT_FALSE(FileExists(box));
    EXPECT_TRUE(FileExists(store.MailRoot() / "po/MAILROOT/other/INBOX"));
}

TEST_F(FolderRemove, OfWhatIsNotThereIsNoFailure)
{
    EXPECT_EQ(Remove(Record("/", "missing")), 1u);
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(Remove(Record("/missing", "missing")), 1u);
    EXPECT_EQ(Directories(), Names{});
}

TEST_F(FolderRemove, OfAReservedPathTouchesNothing)
{
    fs::create_directories(store.MailRoot() / "po/PUBROOT/News");
    Make("Public");
    Put("_DIRSIZE.TMP", "7");
    const auto before = Everything();
    for (const char* path : kPublicNames) {
        StoreFolderRecord record = Record(path, "News");
        EXPECT_EQ(StoreFolderRemove(&record), 0u) << path;
        EXPECT_STREQ(record.FolderPath, path);
        EXPECT_EQ(Remove(Record(path)), 0u) << path;
    }
    store.SetNumber("Public Folders Enabled", 0);
    EXPECT_EQ(Remove(Record("Public")), 0u);
    EXPECT_EQ(Everything(), before);
}

TEST_F(FolderRemove, RefusesByThePathAloneAndNotByTheName)
{
    Make("Public");
    EXPECT_EQ(Remove(Record("/", "Public")), 1u);
    EXPECT_FALSE(Has("Public"));
}

TEST_F(FolderRemove, HasTheMailboxCountedAgain)
{
    Make("a");
    Put("_DIRSIZE.TMP", "1234");
    EXPECT_EQ(Remove(Record("/", "a")), 1u);
    EXPECT_FALSE(Has("_DIRSIZE.TMP"));
}

TEST_F(FolderRemove, GivesThePathBackWithSlashes)
{
    Make("a/b");
    StoreFolderRecord record = Record("a\\b", "c");
    EXPECT_EQ(StoreFolderRemove(&record), 1u);
    EXPECT_STREQ(record.FolderPath, "/a/b");
    EXPECT_STREQ(record.FolderName, "c");
}

TEST_F(FolderRemove, TakesTheShareOfThePathAlong)
{
    Make("a/b");
    Put("_Shares.xml", "<SHARES><SHARE><RESOURCE>/a/b</RESOURCE></SHARE><SHARE><RESOURCE>/c</RESOURCE></SHARE></SHARES>");
    EXPECT_EQ(Remove(Record("a\\b")), 1u);
    const std::string shares = Bytes("_Shares.xml");
    EXPECT_EQ(shares.find("/a/b"), std::string::npos) << shares;
    EXPECT_NE(shares.find("/c"), std::string::npos) << shares;
}

TEST_F(FolderRemove, ThatMeetsAHeldFileAnswersZeroWithoutAWordAndSetsNoFlag)
{
    Make("a/b");
    Put("a/b/held.MAI", "held");
    Put("a/z.MAI", "gone before");
    FileStream held;
    ASSERT_TRUE(held.OpenRead((box / "a/b/held.MAI").string()));
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(Remove(Record("/", "a")), 0u); }), "");
    EXPECT_TRUE(Has("a/b/held.MAI"));
    EXPECT_FALSE(IsFlagged());
    EXPECT_EQ(log.Events(), Names{});
    EXPECT_EQ(log.Traces(), Names{});
    held.Close();
    EXPECT_EQ(Remove(Record("/", "a")), 1u);
    EXPECT_FALSE(Has("a"));
}

TEST_F(FolderRemove, ThatFailsHasTakenTheSharesAlongAndLeavesTheCountedSize)
{
    Make("a");
    Put("a/held.MAI", "held");
    Put("_DIRSIZE.TMP", "1234");
    Put("_Shares.xml", "<SHARES><SHARE><RESOURCE>/a</RESOURCE></SHARE></SHARES>");
    FileStream held;
    ASSERT_TRUE(held.OpenRead((box / "a/held.MAI").string()));
    EXPECT_EQ(Remove(Record("/a")), 0u);
    EXPECT_FALSE(Has("_Shares.xml"));
    EXPECT_FALSE(IsFlagged());
    EXPECT_EQ(Bytes("_DIRSIZE.TMP"), "1234");
}

TEST_F(FolderRemove, OfANameWithASeparatorTakesTheFolderBelowAndMarksItsParent)
{
    Make("a/b/c");
    EXPECT_EQ(Remove(Record("/", "a/b\\c")), 1u);
    EXPECT_EQ(Directories("a/b"), Names{});
    EXPECT_TRUE(IsFlagged("a/b"));
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderRemove, DoesNotCountSeparatorsAtTheEnd)
{
    Make("a");
    Make("b");
    Make("c/d");
    EXPECT_EQ(Remove(Record("/", "a/")), 1u);
    EXPECT_EQ(Remove(Record("/b//")), 1u);
    EXPECT_EQ(Remove(Record("/c//", "d\\/")), 1u);
    EXPECT_EQ(Directories(), Names{"c"});
    EXPECT_EQ(Directories("c"), Names{});
    EXPECT_TRUE(IsFlagged());
    EXPECT_TRUE(IsFlagged("c"));
}

TEST_F(FolderRemove, OfANameOfSeparatorsAloneTouchesNothing)
{
    Make("a");
    const auto before = Everything();
    for (const char* name : {"/", "\\", "//"}) {
        EXPECT_EQ(Remove(Record("/", name)), 0u) << name;
        EXPECT_EQ(Remove(Record("/a", name)), 0u) << name;
    }
    EXPECT_EQ(Everything(), before);
}

TEST_F(FolderRemove, OfANameWithAWildcardTakesNothing)
{
    Make("a");
    Put("1.MAI", "1");
    for (const char* name : {"*", "?", "*.MAI", "1.*"}) EXPECT_EQ(Remove(Record("/", name)), 1u) << name;
    EXPECT_TRUE(Has("a"));
    EXPECT_TRUE(Has("1.MAI"));
}

TEST_F(FolderRemove, WithNoMailboxTakesNoMailbox)
{
    Make("a");
    const auto before = Everything();
    for (const char* path : {"/", "\\", "", "//"}) {
        StoreFolderRecord record = Record(path);
        record.Mailbox[0] = 0;
        EXPECT_EQ(Remove(record), 0u) << path;
        record.Postoffice[0] = 0;
        EXPECT_EQ(Remove(record), 0u) << path;
    }
    EXPECT_EQ(Everything(), before);
}

// ---- Edit ----

TEST_F(FolderEdit, RenamesTheFolderAndMarksItsParent)
{
    Make("a/b");
    Put("a/1.MAI", "1");
    EXPECT_EQ(Edit(Record("/", "a"), Record("/", "c")), 1u);
    EXPECT_EQ(Directories(), Names{"c"});
    EXPECT_EQ(Bytes("c/1.MAI"), "1");
    EXPECT_TRUE(Has("c/b"));
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderEdit, ToAnotherPlaceMarksBothParents)
{
    Make("from/a");
    Make("to");
    EXPECT_EQ(Edit(Record("/from", "a"), Record("/to", "b")), 1u);
    EXPECT_TRUE(Has("to/b"));
    EXPECT_TRUE(IsFlagged("from"));
    EXPECT_TRUE(IsFlagged("to"));
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderEdit, MakesTheDestinationsParents)
{
    Make("a");
    EXPECT_EQ(Edit(Record("/", "a"), Record("/x/y", "z")), 1u);
    EXPECT_TRUE(Has("x/y/z"));
    EXPECT_TRUE(IsFlagged("x/y"));
}

// A folder that is made on the way is one that the list above does not know.
TEST_F(FolderEdit, MarksTheFolderThatParentsAreMadeIn)
{
    Make("a/b");
    Make("c");
    EXPECT_EQ(Edit(Record("/a", "b"), Record("/c/x/y", "z")), 1u);
    EXPECT_TRUE(Has("c/x/y/z"));
    EXPECT_TRUE(IsFlagged("c/x/y"));
    EXPECT_TRUE(IsFlagged("c"));
    EXPECT_FALSE(IsFlagged());
}

TEST_F(FolderEdit, WithNoNameMovesTheFolderOfThePath)
{
    Make("a/b");
    EXPECT_EQ(Edit(Record("/a/b"), Record("/c")), 1u);
    EXPECT_TRUE(Has("c"));
    EXPECT_FALSE(Has("a/b"));
    EXPECT_TRUE(IsFlagged("a"));
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderEdit, OntoAFolderThatIsThereChangesNothing)
{
    Make("a");
    Make("b");
    const auto before = Everything();
    EXPECT_EQ(Edit(Record("/", "a"), Record("/", "b")), 0u);
    EXPECT_EQ(Everything(), before);
}

TEST_F(FolderEdit, OfWhatIsNotThereChangesNothing)
{
    const auto before = Everything();
    EXPECT_EQ(Edit(Record("/", "missing"), Record("/x", "b")), 0u);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(log.Events(), Names{});
}

TEST_F(FolderEdit, IntoItselfIsNoMove)
{
    Make("a/b");
    Put("a/b/1.MAI", "1");
    EXPECT_EQ(Edit(Record("/", "a"), Record("/a", "c")), 0u);
    EXPECT_EQ(Bytes("a/b/1.MAI"), "1");
}

TEST_F(FolderEdit, ToWhereItIsIsAMoveThatKeepsEverything)
{
    Make("a/b");
    Put("a/1.MAI", "1");
    EXPECT_EQ(Edit(Record("/", "a"), Record("\\", "a")), 1u);
    EXPECT_EQ(Bytes("a/1.MAI"), "1");
    EXPECT_TRUE(Has("a/b"));
}

TEST_F(FolderEdit, ToAnotherCaseOfItsNameKeepsEverything)
{
    Make("a/b");
    EXPECT_EQ(Edit(Record("/", "a"), Record("/", "A")), 1u);
    EXPECT_EQ(Directories().size(), 1u);
    EXPECT_TRUE(FileManagement::Exists(Dir("A\\b")));
}

TEST_F(FolderEdit, ThatFailsLeavesTheParentsThatItHasMade)
{
    Make("a");
    EXPECT_EQ(Edit(Record("/", "a"), Record("/a/x/y", "c")), 0u);
    EXPECT_TRUE(Has("a/x/y"));
    EXPECT_FALSE(Has("a/x/y/c"));
    EXPECT_FALSE(IsFlagged("a"));
    EXPECT_FALSE(IsFlagged("a/x"));
}

TEST_F(FolderEdit, DoesNotCountSeparatorsAtTheEnd)
{
    Make("a");
    EXPECT_EQ(Edit(Record("/", "a/"), Record("/x//", "b//")), 1u);
    EXPECT_TRUE(Has("x/b"));
    EXPECT_TRUE(IsFlagged("x"));
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderEdit, OfOrToAReservedPathTouchesNothing)
{
    fs::create_directories(store.MailRoot() / "po/PUBROOT/News");
    Make("a");
    Make("Public");
    const auto before = Everything();
    for (const char* path : kPublicNames) {
        EXPECT_EQ(Edit(Record(path, "News"), Record("/", "b")), 0u) << path;
        EXPECT_EQ(Edit(Record("/", "a"), Record(path, "b")), 0u) << path;
    }
    EXPECT_EQ(Everything(), before);
}

TEST_F(FolderEdit, GivesWellKnownNamesOfBothRecordsTheirSpelling)
{
    Make("drafts");
    StoreFolderRecord from = Record("/", "DRAFTS");
    StoreFolderRecord to = Record("\\", "notes");
    EXPECT_EQ(StoreFolderEdit(&from, &to), 1u);
    EXPECT_STREQ(from.FolderName, "Drafts");
    EXPECT_STREQ(to.FolderName, "Notes");
    EXPECT_EQ(Directories(), Names{"Notes"});
}

// ---- Copy ----

TEST_F(FolderCopy, CopiesTheFolderWithAllThatIsInItAndMarksTheDestinationsParent)
{
    Make("from/a/b/c");
    Put("from/a/1.MAI", "1");
    Put("from/a/b/2.MAI", "2");
    EXPECT_EQ(Copy(Record("/from", "a"), Record("/to", "x")), 1u);
    EXPECT_EQ(Bytes("to/x/1.MAI"), "1");
    EXPECT_EQ(Bytes("to/x/b/2.MAI"), "2");
    EXPECT_TRUE(Has("to/x/b/c"));
    EXPECT_EQ(Bytes("from/a/b/2.MAI"), "2");
    EXPECT_TRUE(IsFlagged("to"));
    EXPECT_FALSE(IsFlagged("from"));
    EXPECT_FALSE(IsFlagged("to/x"));
}

TEST_F(FolderCopy, MarksTheFolderThatParentsAreMadeIn)
{
    Make("a");
    EXPECT_EQ(Copy(Record("/", "a"), Record("/x/y", "z")), 1u);
    EXPECT_TRUE(IsFlagged("x/y"));
    EXPECT_TRUE(IsFlagged());
}

TEST_F(FolderCopy, IntoAFolderThatIsThereMerges)
{
    Make("a/both");
    Put("a/both/1.MAI", "new 1");
    Make("b/both");
    Put("b/both/1.MAI", "old 1");
    Put("b/both/2.MAI", "old 2");
    EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 1u);
    EXPECT_EQ(Bytes("b/both/1.MAI"), "new 1");
    EXPECT_EQ(Bytes("b/both/2.MAI"), "old 2");
}

TEST_F(FolderCopy, IntoAFolderThatIsThereLeavesNoFolderUnlisted)
{
    Make("a/one");
    Make("a/both/three");
    Make("b/two");
    Make("b/both/four");
    for (const char* folder : {"a", "a/both", "b", "b/both"}) ListedAnew(folder);
    EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 1u);
    EXPECT_EQ(ListedAnew("b"), (Names{"both", "one", "two"}));
    EXPECT_EQ(ListedAnew("b/both"), (Names{"four", "three"}));
}

TEST_F(FolderCopy, ThatBreaksOffInAFolderThatIsThereLeavesNoFolderUnlisted)
{
    Make("a/one");
    Put("a/z.MAI", "z");
    Make("b/two");
    for (const char* folder : {"a", "b"}) ListedAnew(folder);
    FileStream held;
    ASSERT_TRUE(held.OpenUpdate((box / "a/z.MAI").string(), FileStream::Sharing::None));
    EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 0u);
    EXPECT_EQ(ListedAnew("b"), (Names{"one", "two"}));
}

// The index that came along knows nothing of what the destination had.
TEST_F(FolderCopy, IntoAFolderThatIsThereHasEachMergedFolderScanned)
{
    for (const char* folder : {"a", "a/both", "a/both/new", "a/bare", "b", "b/both", "b/bare", "b/other"}) Make(folder);
    for (const char* folder : {"a", "a/both", "a/both/new", "b", "b/other"}) Put(std::string(folder) + "/_index.xml", folder);
    EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 1u);
    for (const char* folder : {"b", "b/both"}) EXPECT_TRUE(Has(std::string(folder) + "/_CHANGE.DTY")) << folder;
    for (const char* folder : {"a", "a/both", "b/both/new", "b/bare", "b/other"})
        EXPECT_FALSE(Has(std::string(folder) + "/_CHANGE.DTY")) << folder;
}

TEST_F(FolderCopy, ThatBreaksOffInAFolderThatIsThereHasItScannedAllTheSame)
{
    for (const char* folder : {"a/sub", "b"}) Make(folder);
    Put("a/_index.xml", "a");
    Put("a/sub/z.MAI", "z");
    FileStream held;
    ASSERT_TRUE(held.OpenUpdate((box / "a/sub/z.MAI").string(), FileStream::Sharing::None));
    EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 0u);
    EXPECT_EQ(Bytes("b/_index.xml"), "a");
    EXPECT_TRUE(Has("b/_CHANGE.DTY"));
}

TEST_F(FolderCopy, ToANewPlaceHasNothingScanned)
{
    Make("a");
    Put("a/_index.xml", "a");
    EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 1u);
    EXPECT_FALSE(Has("b/_CHANGE.DTY"));
}

TEST_F(FolderCopy, WithNoNameIsOfAndToTheFolderOfThePath)
{
    Make("a/b");
    EXPECT_EQ(Copy(Record("/a/b"), Record("/x")), 1u);
    EXPECT_TRUE(Has("x"));
    EXPECT_TRUE(IsFlagged());
    EXPECT_FALSE(IsFlagged("x"));
}

TEST_F(FolderCopy, OfWhatIsNotThereFails)
{
    Make("there");
    Put("there/_index.xml", "there");
    const auto before = Everything();
    EXPECT_EQ(Copy(Record("/", "missing"), Record("/", "b")), 0u);
    EXPECT_EQ(Copy(Record("/", "missing"), Record("/", "there")), 0u);
    EXPECT_EQ(Everything(), before);
    EXPECT_EQ(log.Events(), Names{});
}

TEST_F(FolderCopy, RefusesNoReservedPath)
{
    fs::create_directories(store.MailRoot() / "po/PUBROOT");
    Make("a");
    EXPECT_EQ(Copy(Record("/", "a"), Record("Public", "b")), 1u);
    EXPECT_TRUE(FileExists(store.MailRoot() / "po/PUBROOT/b"));
}

TEST_F(FolderCopy, GivesWellKnownNamesOfBothRecordsTheirSpelling)
{
    Make("Tasks");
    StoreFolderRecord from = Record("/", "TASKS");
    StoreFolderRecord to = Record("/", "JOURNAL");
    EXPECT_EQ(StoreFolderCopy(&from, &to), 1u);
    EXPECT_STREQ(from.FolderName, "Tasks");
    EXPECT_STREQ(to.FolderName, "Journal");
    EXPECT_EQ(Directories(), (Names{"Journal", "Tasks"}));
}

TEST_F(FolderCopy, IntoItselfEnds)
{
    Make("a/b");
    Put("a/1.MAI", "1");
    EXPECT_EQ(Copy(Record("/", "a"), Record("/a", "c")), 1u);
    EXPECT_EQ(Bytes("a/c/1.MAI"), "1");
    EXPECT_TRUE(Has("a/c/b"));
    EXPECT_FALSE(Has("a/c/c"));
    EXPECT_EQ(Copy(Record("/", "a"), Record("/a", "b")), 1u);
    EXPECT_FALSE(Has("a/b/b/b"));
}

TEST_F(FolderCopy, OntoItselfLosesNothing)
{
    Make("a/b");
    Put("a/1.MAI", "1");
    Put("a/b/2.MAI", "2");
    EXPECT_EQ(Copy(Record("/", "a"), Record("\\", "A")), 0u);
    EXPECT_EQ(Bytes("a/1.MAI"), "1");
    EXPECT_EQ(Bytes("a/b/2.MAI"), "2");
}

}  // namespace
}  // namespace velmora::test
