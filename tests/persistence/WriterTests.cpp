// When the writer writes, how, and what it reports.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

#include "platform/FileSeam.h"
#include "platform/win32.h"
#include "tests/persistence/FileFaults.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

const std::string kHead = "<BASEELEMENT LASTUID=\"x00000015\">";
const std::string kA = "<ELEMENT ID=\"a\" UID=\"17\"><READ>0</READ><SUBJECT>first</SUBJECT></ELEMENT>";
const std::string kB = "<ELEMENT ID=\"b\" UID=\"20\"><READ>0</READ><SUBJECT>second</SUBJECT></ELEMENT>";
const std::string kC = "<ELEMENT ID=\"c\" UID=\"21\"><READ>0</READ><SUBJECT>third</SUBJECT></ELEMENT>";
const std::string kTail = "</BASEELEMENT>\r\n";
const std::string kThree = kHead + kA + kB + kC + kTail;

// Counts the operations, and cuts writes short when asked to.
class CountingSeam : public platform::FileSeam {
public:
    CountingSeam() : before_(platform::ReplaceFileSeam(this)) {}
    ~CountingSeam() override { platform::ReplaceFileSeam(before_); }
    platform::FileVerdict Before(FileOperation operation, const char*, uint64_t bytes) override
    {
        ++count[operation];
        platform::FileVerdict verdict;
        if (operation == FileOperation::Write) {
            written += bytes;
            verdict.writeLimit = room;
            room -= std::min(room, bytes);
        }
        if (operation == FileOperation::Read) read += bytes;
        return verdict;
    }
    std::map<FileOperation, int> count;
    uint64_t written = 0;
    uint64_t read = 0;
    uint64_t room = UINT64_MAX;

private:
    platform::FileSeam* before_;
};

class Writer : public testing::Test {
protected:
    Writer() { folder_.Write(kThree); }
    IndexFolder folder_;
    CapturedLog log_;
};

// --- whether to write ----------------------------------------------------------------------------------------------

TEST_F(Writer, NothingChangedReadsAndWritesNothing)
{
    for (const int32_t level : {1, 2, 3}) {
        LoadedTable table(folder_, level);
        CountingSeam seam;
        EXPECT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(seam.count[FileOperation::Read], 0);
        EXPECT_EQ(seam.count[FileOperation::Write], 0);
        EXPECT_EQ(seam.count[FileOperation::Resize], 0);
        EXPECT_LE(seam.count[FileOperation::Open], 1);  // for the last-write time alone
    }
    EXPECT_EQ(folder_.Bytes(), kThree);
}

TEST_F(Writer, AMissingFileIsWrittenOnlyFromAFullTable)
{
    for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "a"}}) {
        folder_.Write(kThree);
        LoadedTable table(folder_, level, selection);
        std::filesystem::remove(folder_.File());
        Add(table, "d");
        EXPECT_EQ(folder_.Save(table), 0u) << level << selection;
        EXPECT_FALSE(FileExists(folder_.File()));
    }
    folder_.Write(kThree);
    LoadedTable table(folder_);
    std::filesystem::remove(folder_.File());
    EXPECT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), kThree);
}

TEST_F(Writer, AFileChangedSinceThenIsRewrittenFromAFullTable)
{
    LoadedTable table(folder_);
    folder_.Write(kHead + kA + kTail);
    EXPECT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), kThree);
    EXPECT_EQ(table.RewriteRequired, 1);
    EXPECT_TRUE(log_.HasTrace("Index file has changed: " + folder_.Folder() +
                              ". Cached offset information is now inaccurate. Index will be rewritten in full.\n"));
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(Writer, AFileChangedSinceThenAbortsTheSaveOfAPart)
{
    for (const auto& [level, selection] : {std::pair{1, ""}, std::pair{2, ""}, std::pair{3, "a"}}) {
        folder_.Write(kThree);
        LoadedTable table(folder_, level, selection);
        Add(table, "d");
        const std::string others = kHead + kA + kTail;
        folder_.Write(others);
        CapturedLog log;
        EXPECT_EQ(folder_.Save(table), 0u);
        EXPECT_EQ(folder_.Bytes(), others);
        ASSERT_EQ(log.Events().size(), 1u);
        EXPECT_TRUE(log.HasEvent("Index file modified since load (" + folder_.Folder() +
                                 "\\_index.xml). Index was not fully loaded: aborting save."));
        EXPECT_NE(table.FirstDirtyUID, 0);
    }
}

TEST_F(Writer, ASecondSaveOfOneObjectRewritesInFull)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], kRead, "1");
    ASSERT_EQ(folder_.Save(table), 1u);
    const std::string after = folder_.Bytes();
    EXPECT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), after);
    EXPECT_EQ(table.RewriteRequired, 1);
}

TEST_F(Writer, ASecondSaveOfAPartAborts)
{
    LoadedTable table(folder_, 3, "b");
    SetItemKeyProperty(table["b"], kRead, "1");
    ASSERT_EQ(folder_.Save(table), 1u);
    const std::string after = folder_.Bytes();
    EXPECT_EQ(folder_.Save(table), 0u);
    EXPECT_EQ(folder_.Bytes(), after);
    EXPECT_TRUE(log_.HasEvent("Index file modified since load ("));
}

TEST_F(Writer, TheWriterLeavesTheMarksAndTheStampToItsCaller)
{
    LoadedTable table(folder_);
    const uint64_t time = table.IndexFileTime;
    const uint32_t size = table.IndexFileSize;
    EXPECT_NE(time, 0u);
    EXPECT_EQ(size, kThree.size());
    ASSERT_EQ(RemoveItems(table, "a"), 1u);
    SetItemKeyProperty(table["c"], "SUBJECT", "longer than before");
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(table.IndexFileTime, time);
    EXPECT_EQ(table.IndexFileSize, size);
    EXPECT_EQ(table.FirstDirtyUID, 21);
    EXPECT_EQ(table.Content->RemovedItems.size(), 1u);
}

TEST_F(Writer, GroupsHaveTheirOwnFile)
{
    TestTable table;
    StreamXMLStoreIndexSerialiser serialiser;
    EXPECT_EQ(serialiser.Serialise(table, folder_.Folder(), 54), 1u);
    EXPECT_EQ(ReadFileBytes(folder_.File(54)).size(), 49u);
    EXPECT_EQ(folder_.Bytes(), kThree);
}

// --- how much is written -------------------------------------------------------------------------------------------

TEST_F(Writer, AnAppendWritesOnlyTheElementTheEndAndTheDigits)
{
    std::string elements;
    for (uint32_t uid = 1; uid <= 5000; ++uid) elements += Element("x" + std::to_string(uid), uid, {{"READ", "0"}});
    folder_.Write(IndexFile(5000, elements));
    LoadedTable table(folder_, 1);
    Add(table, "d");
    CountingSeam seam;
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_LT(seam.written, 200u);
    EXPECT_LT(seam.read, 500u);
    EXPECT_EQ(folder_.Bytes(), IndexFile(5001, elements + Element("d", 5001, {{"READ", "0"}})));
}

TEST_F(Writer, ARemovalWritesOnlyTheDigitsAndTheDashes)
{
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "b"), 1u);
    CountingSeam seam;
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_LE(seam.written, 8u + std::string("<ELEMENT ID=\"-\" UID=\"--\"").size());
    EXPECT_EQ(seam.count[FileOperation::Resize], 0);
}

// --- what cannot be trusted ----------------------------------------------------------------------------------------

TEST_F(Writer, AHeaderOfOtherLengthIsReplacedAndNotWrittenInto)
{
    for (const char* header : {"<BASEELEMENT LASTUID=\"x15\">", "<BASEELEMENT  LASTUID=\"x00000015\">",
                               "<BASEELEMENT LASTUID=\"x0000000015\">", "<BASEELEMENT A=\"1\" LASTUID=\"x15\">"}) {
        folder_.Write(header + kA + kB + kC + kTail);
        LoadedTable table(folder_);
        ASSERT_EQ(table.LoadLevel, 3);
        EXPECT_EQ(table.RewriteRequired, 0);
        SetItemKeyProperty(table["c"], "SUBJECT", "third");
        ASSERT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(folder_.Bytes(), kThree) << header;
    }
}

TEST_F(Writer, AHeaderOfOtherLengthIsLeftAloneByAPart)
{
    const std::string bytes = "<BASEELEMENT LASTUID=\"x15\">" + kA + kB + kC + kTail;
    folder_.Write(bytes);
    LoadedTable table(folder_, 3, "b");
    SetItemKeyProperty(table["b"], "SUBJECT", "x");
    EXPECT_EQ(folder_.Save(table), 0u);
    EXPECT_EQ(folder_.Bytes(), bytes);
}

TEST_F(Writer, AnElementOfOtherBytesIsNotStruckOutButRewrittenAway)
{
    for (const char* element : {"<ELEMENT UID=\"20\" ID=\"b\"></ELEMENT>", "<ELEMENT A=\"1\" ID=\"b\" UID=\"20\"></ELEMENT>",
                                "<ELEMENT ID=\"b\" UID=\"020\"></ELEMENT>", "<ELEMENT  X=\"1\" ID=\"b\" UID=\"20\"></ELEMENT>"}) {
        folder_.Write(kHead + kA + element + kC + kTail);
        LoadedTable table(folder_);
        ASSERT_EQ(table.LoadLevel, 3);
        ASSERT_EQ(RemoveItems(table, "b"), 1u);
        ASSERT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(folder_.Bytes(), kHead + kA + kC + kTail) << element;
    }
}

TEST_F(Writer, AnItemThatWasNeverInTheFileStrikesNothingOut)
{
    LoadedTable table(folder_);
    Add(table, "d");
    ASSERT_EQ(RemoveItems(table, "d"), 1u);
    ASSERT_EQ(table.FirstDirtyUID, 0);
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), "<BASEELEMENT LASTUID=\"x00000016\">" + kA + kB + kC + kTail);
}

TEST_F(Writer, AUidInsertedBelowOthersForcesAFullRewrite)
{
    LoadedTable table(folder_);
    Add(table, "between", 18);
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), kHead + kA + Element("between", 18, {{"READ", "0"}}) + kB + kC + kTail);
}

TEST_F(Writer, AnOldFormIsRewrittenInTheNewForm)
{
    folder_.Write("<BASEELEMENT LASTUID=\"21\">" + kC + kA + kB + "</BASEELEMENT>");
    LoadedTable table(folder_, 1);
    ASSERT_EQ(table.LoadLevel, 3);
    ASSERT_EQ(table.RewriteRequired, 1);
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), kThree);
}

TEST_F(Writer, AnUidOutOfOrderIsReportedAndWritten)
{
    LoadedTable table(folder_);
    table["b"].SetNumber(kUid, 5);
    table.RewriteRequired = 1;
    ASSERT_EQ(folder_.Save(table), 1u);
    const std::string message = "Serialisation Issue: UID incorrectly ordered at 5.\n";
    EXPECT_TRUE(log_.HasTrace(message));
    ASSERT_EQ(log_.Events().size(), 1u);
    EXPECT_TRUE(log_.HasEvent(message));
    EXPECT_NE(folder_.Bytes().find("<ELEMENT ID=\"b\" UID=\"5\">"), std::string::npos);
}

// --- the end of the items ------------------------------------------------------------------------------------------

TEST_F(Writer, TheEndTagIsFoundWithAnyLineEndBehindIt)
{
    for (const std::string tail :
         {"</BASEELEMENT>", "</BASEELEMENT>\n", "</BASEELEMENT>\r\n\r\n", "</BASEELEMENT>\r\n               ", "</BASEELEMENT>  \r\n"}) {
        folder_.Write(kHead + kA + kB + kC + tail);
        LoadedTable table(folder_, 1);
        Add(table, "d");
        ASSERT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(folder_.Bytes(), "<BASEELEMENT LASTUID=\"x00000016\">" + kA + kB + kC + Element("d", 22, {{"READ", "0"}}) + kTail)
            << tail;
    }
}

TEST_F(Writer, WithNoEndTagNearTheEndTheItemGoesBehindEverything)
{
    folder_.Write(kHead + kA);
    LoadedTable table(folder_, 1);
    Add(table, "d");
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(), "<BASEELEMENT LASTUID=\"x00000016\">" + kA + Element("d", 22, {{"READ", "0"}}) + kTail);
}

// --- reports about gaps --------------------------------------------------------------------------------------------

TEST_F(Writer, AGapThatDoesNotStartOrEndAtAnElementIsReportedAndCarried)
{
    folder_.Write(kHead + kA + "\r\n" + kB + "\r\n" + kC + kTail);
    LoadedTable table(folder_, 3, "a,c");
    SetItemKeyProperty(table["a"], "SUBJECT", "first and longer");
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(folder_.Bytes(),
              kHead + Element("a", 17, {{"READ", "0"}, {"SUBJECT", "first and longer"}}) + "\r\n" + kB + "\r\n" + kC + kTail);
    ASSERT_EQ(log_.Events().size(), 2u);
    const std::string front = "Corrupting index " + folder_.Folder() + ". Gap ";
    EXPECT_TRUE(log_.HasEvent(front + "after a does not start at the start of an element."));
    EXPECT_TRUE(log_.HasEvent(front + "before c does not end at the end of an element."));
}

TEST_F(Writer, AGapAtTheEndIsReportedByTheItemBeforeIt)
{
    folder_.Write(kHead + kA + kB + kC + "\r\n" + kTail);
    LoadedTable table(folder_, 3, "a");
    SetItemKeyProperty(table["a"], kRead, "1");
    ASSERT_EQ(folder_.Save(table), 1u);
    ASSERT_EQ(log_.Events().size(), 1u);
    EXPECT_TRUE(log_.HasEvent("Corrupting index " + folder_.Folder() + ". Gap after a does not end at the end of an element."));
}

TEST_F(Writer, AGapOfTenBytesIsNotTested)
{
    for (const size_t size : {10u, 11u}) {
        folder_.Write(kHead + kA + std::string(size, ' ') + kC + kTail);
        LoadedTable table(folder_, 3, "a,c");
        SetItemKeyProperty(table["a"], kRead, "1");
        CapturedLog log;
        ASSERT_EQ(folder_.Save(table), 1u);
        EXPECT_EQ(log.Events().size(), size == 10 ? 0u : 2u);
    }
}

TEST_F(Writer, AnItemThatOutgrowsTheNextItemIsReported)
{
    const std::string longText(200, 'x');
    LoadedTable table(folder_, 3, "a,c");
    SetItemKeyProperty(table["a"], "SUBJECT", longText);
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_TRUE(log_.HasEvent("Corrupting index " + folder_.Folder() +
                              ". Item size for a has grown so much that the gap will overflow the next item."));
    // Nothing lies behind the next item, so nothing was overwritten before it was read.
    EXPECT_EQ(folder_.Bytes(), kHead + Element("a", 17, {{"READ", "0"}, {"SUBJECT", longText}}) + kB + kC + kTail);
}

TEST_F(Writer, AnItemThatGrowsByExactlyTheNextItemIsNotReported)
{
    const std::string grown = "first" + std::string(kC.size(), 'x');
    LoadedTable table(folder_, 3, "a,c");
    SetItemKeyProperty(table["a"], "SUBJECT", grown);
    ASSERT_EQ(folder_.Save(table), 1u);
    EXPECT_TRUE(log_.Events().empty());
    folder_.Write(kThree);
    LoadedTable again(folder_, 3, "a,c");
    SetItemKeyProperty(again["a"], "SUBJECT", grown + "x");
    ASSERT_EQ(folder_.Save(again), 1u);
    EXPECT_EQ(log_.Events().size(), 1u);
}

TEST_F(Writer, AnItemThatShrinksInAPartIsReportedTooAndSavedCorrectly)
{
    LoadedTable table(folder_, 3, "a,c");
    SetItemKeyProperty(table["a"], "SUBJECT", "1");
    ASSERT_EQ(folder_.Save(table), 1u);
    ASSERT_EQ(log_.Events().size(), 1u);
    EXPECT_TRUE(log_.HasEvent("has grown so much that the gap will overflow the next item."));
    EXPECT_EQ(folder_.Bytes(), kHead + Element("a", 17, {{"READ", "0"}, {"SUBJECT", "1"}}) + kB + kC + kTail);
}

// --- a file in use -------------------------------------------------------------------------------------------------

TEST_F(Writer, AFileInUseIsTriedAgainTwentyTimesAndGivenUp)
{
    FakeClock clock;
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], kRead, "1");
    HeldFile held(folder_.File());
    ASSERT_NE(held.handle, INVALID_HANDLE_VALUE);
    CountingSeam seam;
    int opensBeforeTheFirstPause = 0;
    clock.onSleep = [&](size_t round) {
        if (round == 1) opensBeforeTheFirstPause = seam.count[FileOperation::Open];
    };
    EXPECT_EQ(folder_.Save(table), 0u);
    EXPECT_EQ(clock.Sleeps(), std::vector<uint32_t>(20, 2000));
    EXPECT_EQ(seam.count[FileOperation::Open] - opensBeforeTheFirstPause, 20);
    EXPECT_GE(opensBeforeTheFirstPause, 1);
    const std::string message =
        "Failed to deserialise index: " + folder_.Folder() +
        ". A File Access error occured when opening the file (was retried for 40 seconds). No data can be written.\n";
    EXPECT_TRUE(log_.HasTrace(message));
    EXPECT_TRUE(log_.HasEvent(message));
    EXPECT_EQ(log_.Events().size(), 1u);
    held.Release();
    EXPECT_EQ(folder_.Bytes(), kThree);
    EXPECT_EQ(table.FirstDirtyUID, 20);
}

TEST_F(Writer, AFileReleasedInTheLastPauseIsWritten)
{
    FakeClock clock;
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], kRead, "1");
    HeldFile held(folder_.File());
    clock.onSleep = [&](size_t round) {
        if (round == 20) held.Release();
    };
    EXPECT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(clock.Sleeps().size(), 20u);
    EXPECT_NE(folder_.Bytes(), kThree);
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(Writer, AReaderThatSharesDoesNotKeepTheWriterOutForEver)
{
    FakeClock clock;
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b"], kRead, "1");
    HANDLE reader = CreateFileA(folder_.File().string().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    clock.onSleep = [&](size_t round) {
        if (round == 3) CloseHandle(reader);
    };
    EXPECT_EQ(folder_.Save(table), 1u);
    EXPECT_EQ(clock.Sleeps().size(), 3u);
}

// --- a full disk ---------------------------------------------------------------------------------------------------

TEST_F(Writer, AFullDiskIsReportedAtEveryPlaceItCanStrikeAndTheFileNeverLoadsAsIfItWereGood)
{
    const std::string longText(3000, 'x');
    for (uint64_t room = 0; room < 9500; room += room < 60 ? 1 : 211) {
        folder_.Write(kThree);
        LoadedTable table(folder_);
        for (const char* id : {"a", "b", "c"}) SetItemKeyProperty(table[id], "SUBJECT", longText);
        CapturedLog log;
        uint64_t result = 0;
        bool all = false;
        {
            CountingSeam seam;
            seam.room = room;
            result = folder_.Save(table);
            all = seam.room > 0;
        }
        if (all) {
            EXPECT_EQ(result, 1u);
            continue;
        }
        EXPECT_FALSE(log.Events().empty()) << "room for " << room;
        LoadedTable fresh(folder_);
        const bool whole = fresh.LoadLevel == 3 && ItemCountOf(fresh) == 3 && fresh["c"].View("SUBJECT") == longText;
        if (result == 1)
            EXPECT_TRUE(whole) << "room for " << room;
        else
            // Bytes over others of the same number leave a file that loads.
            EXPECT_TRUE(fresh.LoadLevel == 0 || (folder_.Bytes().size() == kThree.size() && IdsByUid(fresh) == "a b c"))
                << "room for " << room;
    }
}

TEST_F(Writer, AFailedWriteIsReportedWithItsStateItsPlaceAndItsSite)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["a"], "SUBJECT", std::string(500000, 'x'));
    CountingSeam seam;
    seam.room = 1000;
    EXPECT_EQ(folder_.Save(table), 0u);
    ASSERT_FALSE(log_.Events().empty());
    const std::string offset = std::to_string(33 + Element("a", 17, {{"READ", "0"}, {"SUBJECT", std::string(500000, 'x')}}).size());
    EXPECT_TRUE(log_.HasEvent("Warning. File contention occured when accessing index file (bad{CurrentOffset: " + offset +
                              "File=" + folder_.Folder() + "}).Contention in Function: LIBStoreIndexSerialisation, Module Line: "));
    EXPECT_TRUE(log_.HasEvent("Info: Insertion attempt at Position: " + offset + " with Stream Length: "));
    EXPECT_TRUE(log_.HasEvent(".File Pointer will is positioned to end of file, so as to allow diagnosis. Check .bad file\n"));
}

TEST_F(Writer, AFullDiskIsReportedOnceAndNotForEveryItem)
{
    TestTable table;
    for (int i = 0; i < 300; ++i) Add(table, std::to_string(i))->SetText("SUBJECT", std::string(3000, 'x'));
    for (const bool inPlace : {false, true}) {
        IndexFolder folder;
        if (inPlace) folder.Write(IndexFile(0, ""));
        CapturedLog log;
        CountingSeam seam;
        seam.room = 200000;
        EXPECT_EQ(folder.Save(table), 0u);
        EXPECT_FALSE(log.Events().empty());
        EXPECT_LE(log.Events().size(), 4u);
    }
}

TEST_F(Writer, AFullDiskAtAFullRewriteIsAFailure)
{
    IndexFolder empty;
    TestTable table;
    for (const char* id : {"a", "b", "c"}) Add(table, id)->SetText("SUBJECT", std::string(30000, 'x'));
    CapturedLog log;
    CountingSeam seam;
    seam.room = 50000;
    EXPECT_EQ(empty.Save(table), 0u);
    EXPECT_FALSE(log.Events().empty());
}

}  // namespace
}  // namespace velmora::test
