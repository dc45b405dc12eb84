// What a save in place relies on, and what it does when that is not so: a table that stands for the whole file writes it
// anew, a part of it writes nothing.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "common/FileStream.h"
#include "tests/persistence/FileFaults.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {
namespace {

using platform::FileOperation;
using platform::FileVerdict;

constexpr uint32_t kDataError = 23;

const std::string kHead = "<BASEELEMENT LASTUID=\"x00000015\">";
const std::string kA = "<ELEMENT ID=\"a\" UID=\"17\"><READ>0</READ><SUBJECT>first</SUBJECT></ELEMENT>";
const std::string kB = "<ELEMENT ID=\"b\" UID=\"20\"><READ>0</READ><SUBJECT>second</SUBJECT></ELEMENT>";
const std::string kC = "<ELEMENT ID=\"c\" UID=\"21\"><READ>0</READ><SUBJECT>third</SUBJECT></ELEMENT>";
const std::string kTail = "</BASEELEMENT>\r\n";
const std::string kThree = kHead + kA + kB + kC + kTail;

std::string WithSubject(std::string_view id, uint32_t uid, std::string_view subject)
{
    return Element(id, uid, {{"READ", "0"}, {"SUBJECT", std::string(subject)}});
}

class WriterTrust : public testing::Test {
protected:
    WriterTrust() { folder_.Write(kThree); }

    void SaveIsRefused(SORTEDSTOREINDEXTYPE& table)
    {
        const std::string before = folder_.Bytes();
        EXPECT_EQ(folder_.Save(table), 0u);
        EXPECT_EQ(folder_.Bytes(), before);
    }
    void SaveGives(SORTEDSTOREINDEXTYPE& table, const std::string& expected)
    {
        EXPECT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(folder_.Bytes(), expected);
    }
    void FolderLists(const std::string& ids)
    {
        LoadedTable fresh(folder_);
        EXPECT_EQ(fresh.LoadLevel, 3);
        EXPECT_EQ(IdsByUid(fresh), ids);
    }

    IndexFolder folder_;
    CapturedLog log_;
};

// --- bytes that cannot be read -------------------------------------------------------------------------------------

TEST_F(WriterTrust, AGapThatCannotBeReadIsNotWrittenOver)
{
    LoadedTable table(folder_, 3, "a");
    SetItemKeyProperty(table["a"], "SUBJECT", "first and longer");
    {
        const size_t gap = kB.size() + kC.size();
        FileFaults faults([&](FileOperation operation, int, std::string_view, uint64_t bytes) {
            FileVerdict verdict;
            if (operation == FileOperation::Read && bytes == gap) verdict.fail = kDataError;
            return verdict;
        });
        EXPECT_EQ(folder_.Save(table), 0u);
        EXPECT_EQ(faults.Failed(), 1);
    }
    EXPECT_EQ(folder_.Bytes(), kThree);
    FolderLists("a b c");
}

TEST_F(WriterTrust, AReadThatFailsAnywhereBeforeTheFirstWriteLosesNothing)
{
    for (int nth = 1; nth <= 8; ++nth) {
        folder_.Write(kThree);
        LoadedTable table(folder_, 3, "a,c");
        SetItemKeyProperty(table["a"], "SUBJECT", "first and longer");
        SetItemKeyProperty(table["c"], "SUBJECT", "third and longer");
        uint64_t result = 0;
        int failed = 0;
        {
            FileFaults faults(FileFaults::Nth(FileOperation::Read, nth, kDataError));
            result = folder_.Save(table);
            failed = faults.Failed();
        }
        EXPECT_EQ(result, failed == 0 ? 1u : 0u) << nth;
        if (failed != 0) {
            EXPECT_EQ(folder_.Bytes(), kThree) << nth;
        }
        FolderLists("a b c");
        if (nth == 1) {
            EXPECT_EQ(failed, 1);
        }
    }
}

TEST_F(WriterTrust, ATailThatCannotBeReadIsNotAppendedTo)
{
    LoadedTable table(folder_, 1);
    Add(table, "d");
    {
        FileFaults faults([](FileOperation operation, int, std::string_view, uint64_t bytes) {
            FileVerdict verdict;
            if (operation == FileOperation::Read && bytes == 31) verdict.fail = kDataError;
            return verdict;
        });
        SaveIsRefused(table);
        EXPECT_EQ(faults.Failed(), 1);
    }
    EXPECT_EQ(folder_.Bytes(), kThree);
}

// --- the end of the file -------------------------------------------------------------------------------------------

TEST_F(WriterTrust, BlanksBehindTheEndTagThatHideItForceAFullRewrite)
{
    for (const size_t blanks : {19u, 100u, 5000u}) {
        folder_.Write(kHead + kA + kB + kC + "</BASEELEMENT>" + std::string(blanks, ' '));
        LoadedTable table(folder_);
        ASSERT_EQ(table.LoadLevel, 3);
        Add(table, "d");
        SaveGives(table, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + kB + kC + Element("d", 22, {{"READ", "0"}}) + kTail);
    }
}

TEST_F(WriterTrust, BlanksBehindTheEndTagThatHideItAreLeftAloneByAPart)
{
    for (const size_t blanks : {19u, 60u, 100u, 5000u}) {
        for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "a"}}) {
            folder_.Write(kHead + kA + kB + kC + "</BASEELEMENT>" + std::string(blanks, ' '));
            LoadedTable table(folder_, level, selection);
            ASSERT_EQ(table.LoadLevel, level);
            Add(table, "d");
            SaveIsRefused(table);
        }
    }
}

TEST_F(WriterTrust, AnAppendBehindAnElementThatWasLeftOpenForcesAFullRewrite)
{
    for (const std::string open : {"<ELEMENT ID=\"x\" UID=\"21\">", "<ELEMENT ID=\"x\" UID=\"21\"><SUBJECT>left open"}) {
        folder_.Write(kHead + kA + open + kTail);
        LoadedTable table(folder_);
        ASSERT_EQ(table.LoadLevel, 3);
        Add(table, "d");
        SaveGives(table, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + Element("d", 22, {{"READ", "0"}}) + kTail);
        FolderLists("a d");
    }
}

TEST_F(WriterTrust, AnAppendBehindAnElementThatWasLeftOpenIsRefusedToAPart)
{
    for (const std::string open : {"<ELEMENT ID=\"x\" UID=\"21\">", "<ELEMENT ID=\"x\" UID=\"21\"><SUBJECT>left open"}) {
        for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "a"}}) {
            folder_.Write(kHead + kA + open + kTail);
            LoadedTable table(folder_, level, selection);
            ASSERT_EQ(table.LoadLevel, level);
            Add(table, "d");
            SaveIsRefused(table);
        }
    }
}

// --- what the remembered places do not tell ------------------------------------------------------------------------

TEST_F(WriterTrust, AnItemWithAUidThatTheFileHasGivenIsRefusedToAPart)
{
    LoadedTable header(folder_, 1);
    ASSERT_NE(Add(header, "d", 5), nullptr);
    SaveIsRefused(header);
    LoadedTable part(folder_, 3, "b");
    ASSERT_EQ(RemoveItems(part, "b"), 1u);
    ASSERT_NE(Add(part, "d", 20), nullptr);
    SaveIsRefused(part);
    FolderLists("a b c");
}

TEST_F(WriterTrust, AnElementWithNoUidInFrontOfALowerOneIsLeftAloneByAPart)
{
    folder_.Write(kHead + "<ELEMENT ID=\"a\"><SUBJECT>none</SUBJECT></ELEMENT>" + kB + kC + kTail);
    LoadedTable table(folder_, 3, "b,c");
    ASSERT_EQ(table.LoadLevel, 3);
    SetItemKeyProperty(table["c"], "SUBJECT", "x");
    SaveIsRefused(table);
}

TEST_F(WriterTrust, AnElementWithNoUidInFrontOfALowerOneMovesBehindItInAFullRewrite)
{
    folder_.Write(kHead + "<ELEMENT ID=\"a\"><SUBJECT>none</SUBJECT></ELEMENT>" + kB + kC + kTail);
    LoadedTable table(folder_);
    ASSERT_EQ(table.LoadLevel, 3);
    SetItemKeyProperty(table["b"], "SUBJECT", "x");
    SetItemKeyProperty(table["c"], "SUBJECT", "y");
    SaveGives(table, "<BASEELEMENT LASTUID=\"x00000016\">" + WithSubject("b", 20, "x") + WithSubject("c", 21, "y") +
                         WithSubject("a", 22, "none") + kTail);
    FolderLists("b c a");
}

TEST_F(WriterTrust, ATagThatWasCutBetweenTwoItemsIsLeftAloneByAPart)
{
    const std::string longTag = "<ELEMENT ID=\"b\" UID=\"20\" X=\"" + std::string(1100, 'x') + "\"><READ>0</READ></ELEMENT>";
    folder_.Write(kHead + kA + longTag + kC + kTail);
    LoadedTable table(folder_, 3, "a,c");
    ASSERT_EQ(table.LoadLevel, 3);
    SetItemKeyProperty(table["a"], "SUBJECT", "x");
    SaveIsRefused(table);
}

TEST_F(WriterTrust, AnItemWithAKeyFromAChildForcesAFullRewrite)
{
    struct Case {
        std::string children, ids;
    };
    for (const Case& c : {Case{"<UID>30</UID>", "a c b"}, Case{"<ID>z</ID>", "a z c"}}) {
        folder_.Write(kHead + kA + "<ELEMENT ID=\"b\" UID=\"20\">" + c.children + "</ELEMENT>" + kC + kTail);
        LoadedTable table(folder_);
        ASSERT_EQ(table.LoadLevel, 3);
        SetItemKeyProperty(table["c"], "SUBJECT", "x");
        EXPECT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(folder_.Bytes().find(c.children), std::string::npos);
        FolderLists(c.ids);
    }
}

TEST_F(WriterTrust, AnItemWithAKeyFromAChildIsLeftAloneByAPart)
{
    for (const char* child : {"<UID>30</UID>", "<ID>z</ID>"}) {
        folder_.Write(kHead + kA + "<ELEMENT ID=\"b\" UID=\"20\">" + child + "</ELEMENT>" + kC + kTail);
        LoadedTable table(folder_, 3, "b,c");
        ASSERT_EQ(table.LoadLevel, 3);
        SetItemKeyProperty(table["c"], "SUBJECT", "x");
        SaveIsRefused(table);
    }
}

TEST_F(WriterTrust, AnIdFromAChildThatNoTagCanHoldIsLeftOutOfAFullRewrite)
{
    for (const std::string& id : {std::string("z&gt;z"), std::string("z\"z"), std::string("--"), std::string(), std::string(1100, 'z')}) {
        folder_.Write(kHead + kA + "<ELEMENT ID=\"b\" UID=\"20\"><ID>" + id + "</ID></ELEMENT>" + kC + kTail);
        LoadedTable table(folder_);
        ASSERT_EQ(table.LoadLevel, 3);
        SetItemKeyProperty(table["c"], "SUBJECT", "x");
        SaveGives(table, kHead + kA + WithSubject("c", 21, "x") + kTail);
    }
}

TEST_F(WriterTrust, AnIdThatBecameOneThatNoTagCanHoldIsLeftOutOfASaveInPlace)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], "SUBJECT", "x");
    table["c"].SetText(kId, "z>z");
    SaveGives(table, kHead + kA + WithSubject("b", 20, "x") + kTail);
    FolderLists("a b");
}

TEST_F(WriterTrust, AnIdOfThousandBytesFromAFileIsWrittenBack)
{
    const std::string id(999, 'z');
    folder_.Write(kHead + kA + Element(id, 20) + kC + kTail);
    LoadedTable table(folder_);
    ASSERT_EQ(table.LoadLevel, 3);
    table.RewriteRequired = 1;
    SaveGives(table, kHead + kA + Element(id, 20, {{"READ", "0"}}) + kC + kTail);
    FolderLists("a " + id + " c");
}

// --- elements of other bytes ---------------------------------------------------------------------------------------

TEST_F(WriterTrust, AFirstDirtyElementOfOtherBytesForcesAFullRewrite)
{
    folder_.Write(kHead + kA + Element("b", "020", {{"READ", "0"}}) + kC + kTail);
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], "SUBJECT", "x");
    SaveGives(table, kHead + kA + WithSubject("b", 20, "x") + kC + kTail);
}

TEST_F(WriterTrust, AFirstDirtyElementOfOtherBytesIsLeftAloneByAPart)
{
    folder_.Write(kHead + kA + Element("b", "020", {{"READ", "0"}}) + kC + kTail);
    for (const char* selection : {"b", "a,b", "b,c"}) {
        LoadedTable table(folder_, 3, selection);
        SetItemKeyProperty(table["b"], "SUBJECT", "x");
        SaveIsRefused(table);
    }
}

TEST_F(WriterTrust, ARemovedElementOfOtherBytesIsLeftAloneByAPart)
{
    folder_.Write(kHead + kA + Element("b", "020", {{"READ", "0"}}) + kC + kTail);
    for (const auto& [level, selection] : {std::pair{2, ""}, std::pair{3, "b"}}) {
        LoadedTable table(folder_, level, selection);
        ASSERT_EQ(RemoveItems(table, "b"), 1u);
        SaveIsRefused(table);
    }
}

TEST_F(WriterTrust, ANewItemBelowOthersIsRefusedToAPart)
{
    LoadedTable table(folder_, 3, "a,b,c");
    ASSERT_NE(Add(table, "between", 18), nullptr);
    SaveIsRefused(table);
}

TEST_F(WriterTrust, APartIsNeverWrittenInFull)
{
    for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "b"}}) {
        LoadedTable table(folder_, level, selection);
        table.RewriteRequired = 1;
        SaveIsRefused(table);
        EXPECT_EQ(table.RewriteRequired, 1);
    }
}

TEST_F(WriterTrust, AnElementLoadedWithoutItsValuesIsNotWrittenAgain)
{
    LoadedTable table(folder_, 2);
    ASSERT_EQ(table.LoadLevel, 2);
    SetItemKeyProperty(table["b"], kRead, "1");
    SaveIsRefused(table);
}

TEST_F(WriterTrust, AMarkWithNoItemInAPartWritesNothingButRemovals)
{
    LoadedTable untouched(folder_, 3, "a");
    untouched.FirstDirtyUID = 20;
    SaveGives(untouched, kThree);
    LoadedTable removed(folder_, 3, "a,b");
    ASSERT_EQ(RemoveItems(removed, "b"), 1u);
    removed.FirstDirtyUID = 20;
    SaveGives(removed, kHead + kA + "<ELEMENT ID=\"-\" UID=\"--\"><READ>0</READ><SUBJECT>second</SUBJECT></ELEMENT>" + kC + kTail);
}

TEST_F(WriterTrust, AnItemThatGrowsPastTheNextOneReachesIntoASecondGapThatIsCarriedToo)
{
    const std::string d = WithSubject("d", 30, "fourth");
    const std::string e = WithSubject("e", 31, "fifth");
    const std::string head = "<BASEELEMENT LASTUID=\"x0000001f\">";
    for (const size_t size : {100u, 200u, 300u, 1000u}) {
        folder_.Write(head + kA + kB + kC + d + e + kTail);
        LoadedTable table(folder_, 3, "a,c");
        SetItemKeyProperty(table["a"], "SUBJECT", std::string(size, 'x'));
        SetItemKeyProperty(table["c"], "SUBJECT", std::string(size, 'y'));
        SaveGives(table,
                  head + WithSubject("a", 17, std::string(size, 'x')) + kB + WithSubject("c", 21, std::string(size, 'y')) + d + e + kTail);
    }
}

// --- new items whose mark has gone ---------------------------------------------------------------------------------

TEST_F(WriterTrust, ANewItemIsWrittenAlsoWhenTheMarkWentWithAnotherOne)
{
    for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "b"}, std::pair{3, ""}}) {
        folder_.Write(kThree);
        LoadedTable table(folder_, level, selection);
        ASSERT_EQ(table.LoadLevel, level);
        for (const char* id : {"d", "e"}) ASSERT_NE(Add(table, id), nullptr);
        ASSERT_EQ(RemoveItems(table, "d"), 1u);
        ASSERT_EQ(table.FirstDirtyUID, 0);
        SaveGives(table, "<BASEELEMENT LASTUID=\"x00000017\">" + kA + kB + kC + Element("e", 23, {{"READ", "0"}}) + kTail);
    }
}

TEST_F(WriterTrust, ANewItemBelowTheMarkIsWrittenToo)
{
    for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "b"}, std::pair{3, ""}}) {
        folder_.Write(kThree);
        LoadedTable table(folder_, level, selection);
        for (const char* id : {"d", "e"}) ASSERT_NE(Add(table, id), nullptr);
        ASSERT_EQ(RemoveItems(table, "d"), 1u);
        ASSERT_NE(Add(table, "f"), nullptr);
        ASSERT_EQ(table.FirstDirtyUID, 24);
        SaveGives(table, "<BASEELEMENT LASTUID=\"x00000018\">" + kA + kB + kC + Element("e", 23, {{"READ", "0"}}) +
                             Element("f", 24, {{"READ", "0"}}) + kTail);
    }
}

// --- others --------------------------------------------------------------------------------------------------------

TEST_F(WriterTrust, AFileWrittenByAnotherDuringTheWaitAbortsTheSaveOfAPart)
{
    FakeClock clock;
    LoadedTable table(folder_, 3, "b");
    SetItemKeyProperty(table["b"], "SUBJECT", "x");
    HeldFile held(folder_.File());
    ASSERT_NE(held.handle, INVALID_HANDLE_VALUE);
    const std::string others = kHead + kA + kB + kTail;
    clock.onSleep = [&](size_t round) {
        if (round != 2) return;
        held.Release();
        folder_.Write(others);
    };
    EXPECT_EQ(folder_.Save(table), 0u);
    EXPECT_EQ(clock.Sleeps().size(), 2u);
    EXPECT_EQ(folder_.Bytes(), others);
    ASSERT_EQ(log_.Events().size(), 1u);
    EXPECT_TRUE(
        log_.HasEvent("Index file modified since load (" + folder_.Folder() + "\\_index.xml). Index was not fully loaded: aborting save."));
}

TEST_F(WriterTrust, AFileWrittenByAnotherDuringTheWaitIsRewrittenFromAFullTable)
{
    FakeClock clock;
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], "SUBJECT", "x");
    HeldFile held(folder_.File());
    ASSERT_NE(held.handle, INVALID_HANDLE_VALUE);
    clock.onSleep = [&](size_t round) {
        if (round != 2) return;
        held.Release();
        folder_.Write(kHead + kA + kTail);
    };
    SaveGives(table, kHead + kA + WithSubject("b", 20, "x") + kC + kTail);
    EXPECT_EQ(clock.Sleeps().size(), 2u);
    EXPECT_TRUE(log_.HasTrace("Index file has changed: " + folder_.Folder() +
                              ". Cached offset information is now inaccurate. Index will be rewritten in full.\n"));
}

// What another one added since the load is not in memory, so a rewrite leaves it out.
TEST_F(WriterTrust, ARewriteOverAnotherOnesItemsGivesNoUidAgainAndMarksTheFolder)
{
    LoadedTable ours(folder_), theirs(folder_);
    ASSERT_NE(Add(theirs, "d"), nullptr);
    ASSERT_EQ(folder_.Save(theirs), 1u);
    ASSERT_FALSE(folder_.IsMarked());
    SetItemKeyProperty(ours["b"], "SUBJECT", "ours");
    SaveGives(ours, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + WithSubject("b", 20, "ours") + kC + kTail);
    EXPECT_TRUE(folder_.IsMarked());
    ASSERT_NE(Add(ours, "e"), nullptr);
    EXPECT_EQ(ours["e"].Uid(), 23u);
}

TEST_F(WriterTrust, ARewriteWithANewItemOverAnotherOnesNewItemMarksTheFolder)
{
    LoadedTable ours(folder_), theirs(folder_);
    ASSERT_NE(Add(theirs, "d"), nullptr);
    ASSERT_EQ(folder_.Save(theirs), 1u);
    ASSERT_NE(Add(ours, "e"), nullptr);
    ASSERT_NE(Add(ours, "f"), nullptr);
    EXPECT_EQ(folder_.Save(ours), 1u);
    // The one that bore the other's UID has a new one, behind all that have been given.
    FolderLists("a b c f e");
    LoadedTable fresh(folder_);
    EXPECT_EQ(fresh["f"].Uid(), 23u);
    EXPECT_EQ(fresh["e"].Uid(), 24u);
    EXPECT_EQ(fresh.LastUID, 24u);
    EXPECT_EQ(ours["e"].Uid(), 24u);
    EXPECT_EQ(IdsByUid(ours), "a b c f e");
    EXPECT_TRUE(folder_.IsMarked());
}

TEST_F(WriterTrust, ARewriteOverAnotherOnesChangesAloneMarksNothing)
{
    LoadedTable ours(folder_), theirs(folder_);
    SetItemKeyProperty(theirs["a"], "SUBJECT", "theirs");
    ASSERT_EQ(folder_.Save(theirs), 1u);
    SetItemKeyProperty(ours["b"], "SUBJECT", "ours");
    SaveGives(ours, kHead + kA + WithSubject("b", 20, "ours") + kC + kTail);
    EXPECT_FALSE(folder_.IsMarked());
}

TEST_F(WriterTrust, ARewriteThatHadToWaitLooksAtTheFileAgain)
{
    FakeClock clock;
    LoadedTable ours(folder_), theirs(folder_);
    ASSERT_NE(Add(theirs, "d"), nullptr);
    ours.RewriteRequired = 1;
    HeldFile held(folder_.File());
    ASSERT_NE(held.handle, INVALID_HANDLE_VALUE);
    clock.onSleep = [&](size_t round) {
        if (round != 2) return;
        held.Release();
        ASSERT_EQ(folder_.Save(theirs), 1u);
        ASSERT_FALSE(folder_.IsMarked());
    };
    SaveGives(ours, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + kB + kC + kTail);
    EXPECT_EQ(clock.Sleeps().size(), 2u);
    EXPECT_TRUE(folder_.IsMarked());
}

TEST_F(WriterTrust, ARewriteOverAFileThatCouldNotBeLookedAtOnceLooksAgain)
{
    FakeClock clock;
    LoadedTable ours(folder_), theirs(folder_);
    ASSERT_NE(Add(theirs, "d"), nullptr);
    ASSERT_EQ(folder_.Save(theirs), 1u);
    SetItemKeyProperty(ours["b"], "SUBJECT", "ours");
    {
        // The first open is for the time and the size, the second is the one that is going to write.
        FileFaults faults(FileFaults::Nth(FileOperation::Open, 2, 32));
        SaveGives(ours, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + WithSubject("b", 20, "ours") + kC + kTail);
        EXPECT_EQ(faults.Failed(), 1);
    }
    EXPECT_TRUE(folder_.IsMarked());
}

// Whether a rewrite of what was loaded marks the folder when it replaces a file that others have put there since.
bool MarksWhenItReplaces(const char* others)
{
    IndexFolder folder;
    folder.Write(kThree);
    LoadedTable table(folder);
    folder.Write(others);
    SetItemKeyProperty(table["b"], "SUBJECT", "ours");
    EXPECT_EQ(folder.Save(table), 1u);
    EXPECT_EQ(folder.Bytes(), kHead + kA + WithSubject("b", 20, "ours") + kC + kTail);
    return folder.IsMarked();
}

TEST_F(WriterTrust, ARewriteOverAFileWhoseHeaderTellsNothingMarksTheFolder)
{
    for (const char* const others : {"<BASEELEMENT></BASEELEMENT>\r\n", "<BASEELEMENT LASTUID=\"nonsense\"></BASEELEMENT>\r\n",
                                     "<BASEELEMENT LASTUID=\"-19\"></BASEELEMENT>\r\n", "", "<other"})
        EXPECT_TRUE(MarksWhenItReplaces(others)) << others;
}

TEST_F(WriterTrust, ARewriteOverADocumentThatTellsNoHigherNumberMarksNothing)
{
    for (const char* const others : {"<BASEELEMENT LASTUID=\"19\"></BASEELEMENT>\r\n", "<BASEELEMENT LASTUID=\"x00000013\"/>"})
        EXPECT_FALSE(MarksWhenItReplaces(others)) << others;
}

TEST_F(WriterTrust, ADamagedFileThatWasReplacedInFullIsDamagedNoMore)
{
    folder_.Write(kHead + kA + kB + "<ELEMENT ID=\"c\"");
    TestTable table;
    EXPECT_EQ(folder_.Load(table), 0);
    table.LoadLevel = 3;
    table.RewriteRequired = 1;
    SaveGives(table, kHead + kA + kB + kTail);
    LoadedTable other(folder_);
    ASSERT_NE(Add(other, "theirs"), nullptr);
    ASSERT_EQ(folder_.Save(other), 1u);
    ASSERT_NE(Add(table, "ours"), nullptr);
    EXPECT_EQ(FindLoadedItem(table, "ours")->Uid(), FindLoadedItem(other, "theirs")->Uid());
    EXPECT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(FindLoadedItem(table, "ours")->Uid(), FindLoadedItem(other, "theirs")->Uid() + 1);
    EXPECT_TRUE(folder_.IsMarked());
}

// Their next load would empty them.
TEST_F(WriterTrust, ARewriteOfGroupItemsNeverMarksTheFolder)
{
    WriteFileBytes(folder_.File(54), kThree);
    TestTable table;
    StreamXMLStoreIndexSerialiser serialiser;
    table.LoadLevel = serialiser.Deserialise(table, folder_.Folder(), 54, "", "", 3, 0, 0);
    ASSERT_EQ(table.LoadLevel, 3);
    WriteFileBytes(folder_.File(54), Header(900) + kTail);
    ASSERT_NE(Add(table, "d"), nullptr);
    EXPECT_EQ(serialiser.Serialise(table, folder_.Folder(), 54), 1u);
    EXPECT_EQ(FindLoadedItem(table, "d")->Uid(), 901u);
    EXPECT_FALSE(folder_.IsMarked());
}

TEST_F(WriterTrust, ASecondSaveOfItsOwnNewItemMarksNothing)
{
    LoadedTable table(folder_);
    ASSERT_NE(Add(table, "d"), nullptr);
    ASSERT_EQ(folder_.Save(table), 1u);
    SetItemKeyProperty(table["a"], "SUBJECT", "again");
    ASSERT_EQ(folder_.Save(table), 1u);
    FolderLists("a b c d");
    EXPECT_FALSE(folder_.IsMarked());
}

TEST_F(WriterTrust, TwoSavesInOneTickOfTheClockDifferInTheirLastWriteTime)
{
    const std::string path = folder_.File().string();
    // A time that the next write cannot be later than stands for one inside the same tick.
    std::filesystem::last_write_time(folder_.File(), std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    uint64_t before = ReadFileStamp(path).lastWrite;
    for (const char* subject : {"1", "2", "3"}) {
        LoadedTable table(folder_);
        SetItemKeyProperty(table["b"], "SUBJECT", subject);
        ASSERT_EQ(folder_.Save(table), 1u);
        const uint64_t after = ReadFileStamp(path).lastWrite;
        EXPECT_EQ(after, before + 10);
        before = after;
    }
    LoadedTable rewritten(folder_);
    rewritten.RewriteRequired = 1;
    ASSERT_EQ(folder_.Save(rewritten), 1u);
    EXPECT_EQ(ReadFileStamp(path).lastWrite, before + 10);
}

TEST_F(WriterTrust, AFullRewriteOnAFullDiskReportsTheContentionBeforeThePosition)
{
    TestTable table;
    for (const char* id : {"a", "b", "c", "d", "e"}) Add(table, id)->SetText("SUBJECT", std::string(100000, 'x'));
    {
        FileFaults faults([](FileOperation operation, int, std::string_view, uint64_t bytes) {
            FileVerdict verdict;
            if (operation == FileOperation::Write && bytes > kHead.size()) verdict.writeLimit = 0;
            return verdict;
        });
        EXPECT_EQ(folder_.Save(table), 0u);
    }
    size_t positions = 0;
    for (size_t i = 0; i < log_.Events().size(); ++i) {
        const std::string& event = log_.Events()[i];
        const std::string kPosition = "Info: Insertion attempt at Position: ";
        const size_t found = event.find(kPosition);
        if (found == std::string::npos) continue;
        ++positions;
        ASSERT_GT(i, 0u);
        const size_t begin = found + kPosition.size();
        const std::string offset = event.substr(begin, event.find(' ', begin) - begin);
        EXPECT_NE(log_.Events()[i - 1].find("{CurrentOffset: " + offset + "File=" + folder_.Folder() + "}"), std::string::npos)
            << log_.Events()[i - 1];
    }
    EXPECT_EQ(positions, 1u) << "what follows is not tried";
}

}  // namespace
}  // namespace velmora::test
