#include <stdexcept>

#include "index/CachedDetails.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "tests/index/LifeFixture.h"
#include "velmora/locks.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class SaveLife : public Life {
protected:
    // A folder of two messages, opened, with a file time that shows every later write.
    void OpenInbox(HostRecord& record)
    {
        PutMail(inbox, "1.MAI");
        PutMail(inbox, "2.MAI");
        ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
        Age(inbox / "_index.xml");
        ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    }
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        Attach();
    }
    std::string IndexBytes() const { return ReadFileBytes(inbox / "_index.xml"); }
    static std::string Line(const char* format, const HostRecord& record)
    {
        std::string text = format;
        return text.replace(text.find("%s"), 2, record.Path());
    }
    fs::path inbox;
};

// ---- StoreIndex_Save ----

TEST_F(SaveLife, SaveOfANullRecordIsZeroWithoutAWord)
{
    const std::string printed = CaptureStdout([] { EXPECT_EQ(StoreIndex_Save(nullptr), 0u); });
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(SaveLife, ARecordThatIsNotLoadedIsNotSaved)
{
    HostRecord record("INBOX");
    record->Changed = 1;
    EXPECT_EQ(StoreIndex_Save(&record), 0u);
    EXPECT_EQ(record->Changed, 1u);
    EXPECT_FALSE(FileExists(inbox / "_index.xml"));
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(SaveLife, ARecordWithNoPlaceForgetsItsChangeAndSucceeds)
{
    STOREINDEXTYPE record;
    StoreIndex_Init(&record);
    record.Table.LoadLevel = 3;
    record.Changed = 1;
    WatchedFiles files;
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(record.Changed, 0u);
    EXPECT_EQ(files.count, 0u);
    StoreIndex_Release(&record);
}

TEST_F(SaveLife, AChangeReachesTheFile)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_NE(IndexBytes().find("<SUBJECT>changed</SUBJECT>"), std::string::npos);
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    EXPECT_EQ(record->BlockFileHandle, nullptr);
    EXPECT_FALSE(HasLinePart("StoreIndex_Save::"));
}

// The mark of the first change goes with its item. What is new behind it is written all the same, what was changed is not.
TEST_F(SaveLife, RemovingTheFirstChangedItemLeavesChangesBehindItUnwrittenAndLosesNoNewItem)
{
    PutIndex(inbox, 3,
             Element("1.MAI", 1, "<SUBJECT>one</SUBJECT>") + Element("2.MAI", 2, "<SUBJECT>two</SUBJECT>") +
                 Element("3.MAI", 3, "<SUBJECT>three</SUBJECT>"));
    Age(inbox / "_index.xml");
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    record.Change("2.MAI", "SUBJECT", "TWO");
    record.Change("3.MAI", "SUBJECT", "THREE");
    record.Add("4.MAI");
    ASSERT_EQ(RemoveItems(record->Table, "2.MAI"), 1u);
    EXPECT_EQ(StoreIndex_Save(&record), 1u);

    HostRecord reader("INBOX");
    ASSERT_EQ(StoreIndex_Open(&reader, 5), 1u);
    EXPECT_EQ(reader.Count(), 3u);
    EXPECT_EQ(reader.Item("2.MAI"), nullptr);
    ASSERT_NE(reader.Item("3.MAI"), nullptr);
    EXPECT_EQ(reader.Item("3.MAI")->View("SUBJECT"), "three");
    ASSERT_NE(reader.Item("4.MAI"), nullptr);
    EXPECT_EQ(reader.Item("4.MAI")->Uid(), 4u);
    EXPECT_EQ(record.Item("3.MAI")->View("SUBJECT"), "THREE") << "the change lives on in memory";
}

TEST_F(SaveLife, ADirectoryThatWentIsMadeAgain)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    fs::remove_all(inbox);
    record->Table.RewriteRequired = 1;
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_TRUE(FileExists(inbox / "_index.xml"));
}

TEST_F(SaveLife, AFolderThatSomebodyHoldsIsNotSavedAndMarkedDirty)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    const std::string before = IndexBytes();
    WriteFileBytes(inbox / "_index.blk", "");
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Save(&record), 0u);
    EXPECT_TRUE(HasLineAt(9, Line("StoreIndex_Save::Error - Unable to lock index for folder %s\n", record)));
    EXPECT_TRUE(HasLineAt(9, Line("StoreIndex_Save::Error - Unable to save index for folder %s\n", record)));
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_TRUE(FileExists(inbox / "_index.blk")) << "the block is somebody else's";
    EXPECT_EQ(record->Changed, 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_TRUE(clock.Sleeps().empty()) << "one attempt";
}

TEST_F(SaveLife, AFileThatCannotBeWrittenLeavesTheFolderDirtyAndTheBlockFree)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    record.Change("1.MAI", "SUBJECT", "changed");
    {
        WatchedFiles files;
        files.fail = [](FileOperation operation, std::string_view path) {
            return operation == FileOperation::Open && ContainsNoCase(path, "_index.xml") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(StoreIndex_Save(&record), 0u);
    }
    EXPECT_FALSE(HasLinePart("Unable to lock index"));
    EXPECT_TRUE(HasLineAt(9, Line("StoreIndex_Save::Error - Unable to save index for folder %s\n", record)));
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    EXPECT_EQ(record->Changed, 1u);
}

TEST_F(SaveLife, AFileThatSomebodyWroteMeanwhileIsWarnedOf)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    Age(inbox / "_index.xml", 3);
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_TRUE(HasLineAt(9, Line("StoreIndex_Save::Warning: Store Index was modified while being transacted for folder: %s\n", record)));
}

// In a process of its own, since the table of names stays full.
TEST_F(SaveLife, ARewriteKeepsTheColumnsOfAFolderThoughAnotherHasFilledTheTableOfNames)
{
    std::string names;
    for (int i = 0; i < 1100; ++i) names += FormatText("<N%d>x</N%d>", i, i);
    const fs::path greedy = store.MakeFolder("Greedy");
    PutIndex(greedy, 1, Element("1.MAI", 1, names));
    const std::string values =
        "<FLAGSTATUS>\\SEEN \\FLAGGED</FLAGSTATUS><FROM>a</FROM><READ>1</READ><SIZE>7</SIZE><SUBJECT>s</SUBJECT><TO>b</TO>";
    PutIndex(inbox, 1, Element("1.MAI", 1, values));
    const auto save = [&] {
        HostRecord other("Greedy");
        if (StoreIndex_Open(&other, 5) != 1 || IndexPropertyTable::Count() < kMaxPropertyNames) return false;
        HostRecord record("INBOX");
        if (StoreIndex_Open(&record, 5) != 1) return false;
        record.Add("2.MAI");
        record->Table.RewriteRequired = 1;
        return StoreIndex_Save(&record) == 1;
    };
    // The process that works may have a store of its own, so it looks itself, and clears up.
    const auto work = [&] {
        const bool saved = save();
        const std::string bytes = IndexBytes();
        std::fputs(bytes.c_str(), stderr);
        std::error_code ignored;
        fs::remove_all(store.Directory().Path(), ignored);
        if (!saved) std::_Exit(1);
        if (bytes.find(values) == std::string::npos) std::_Exit(2);
        std::_Exit(bytes.find("2.MAI") == std::string::npos ? 3 : 0);
    };
    EXPECT_EXIT(work(), testing::ExitedWithCode(0), "");
}

TEST_F(SaveLife, AGroupsRecordIsSavedToTheMailIndex)
{
    PutIndex(inbox, 0, "");
    PutIndex(inbox, 8, Element("a.GRP", 8), "_groups.xml");
    const std::string groups = ReadFileBytes(inbox / "_groups.xml");
    HostRecord record("INBOX", 54);
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    ASSERT_NE(record.Item("a.GRP"), nullptr);
    record.Change("a.GRP", "NAME", "team");
    record->Table.RewriteRequired = 1;
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_NE(IndexBytes().find("a.GRP"), std::string::npos);
    EXPECT_EQ(ReadFileBytes(inbox / "_groups.xml"), groups);
}

TEST_F(SaveLife, AnExceptionInASaveNeverReachesTheHost)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveAbandonedMutex(*record);
    EXPECT_EQ(StoreIndex_Save(&record), 0u);
    ASSERT_FALSE(log.Traces().empty());
    EXPECT_EQ(log.Traces().back().rfind("StoreIndex_Save handled an exception; session will be dropped.\n", 0), 0u);
}

// ---- StoreIndex_Commit ----

TEST_F(SaveLife, CommitOfANullRecordIsReported)
{
    const std::string printed = CaptureStdout([] { EXPECT_EQ(StoreIndex_Commit(nullptr), 0u); });
    EXPECT_EQ(printed, "WARNING!: StoreIndex is NULL when passed to StoreIndex_Commit\n");
}

TEST_F(SaveLife, ACommitOfNothingAnswersTwoAndLeavesTheCountsAlone)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    fs::remove(inbox / "_FOLDER.DAT");
    WatchedFiles files;
    EXPECT_EQ(StoreIndex_Commit(&record), 2u);
    record->Changed = 2;
    EXPECT_EQ(StoreIndex_Commit(&record), 2u) << "only 1 means changed";
    EXPECT_EQ(files.count, 0u);
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
}

TEST_F(SaveLife, ACommitWithoutAPlaceIsIgnoredAloud)
{
    STOREINDEXTYPE record;
    StoreIndex_Init(&record);
    record.Changed = 1;
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Commit(&record), 0u); });
    EXPECT_EQ(printed, "WARNING!: StoreIndex Folder has not been set. Commit is ignored\n");
    EXPECT_EQ(record.Changed, 1u);
}

TEST_F(SaveLife, ACommitWritesTheIndexAndTheCounts)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    fs::remove(inbox / "_FOLDER.DAT");
    record.Change("2.MAI", kFlagStatus, "\\SEEN \\FLAGGED");
    EXPECT_EQ(StoreIndex_Commit(&record), 1u);
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_TRUE(HasLineAt(8, Line("StoreIndex_Commit::Committed Index for folder %s\n", record)));
    uint32_t details[kDetailWords] = {};
    ASSERT_TRUE(ReadCachedDetails((inbox / "_FOLDER.DAT").string(), details));
    EXPECT_EQ(details[6], 2u);
    EXPECT_EQ(details[7], 1u);
    EXPECT_EQ(details[4], 1u);
    EXPECT_EQ(details[5], 2u);
    EXPECT_EQ(details[11], 2u);
    EXPECT_TRUE(std::equal(std::begin(details), std::end(details), std::begin(record->CachedDetails)));
}

TEST_F(SaveLife, ACommitOfTheUnnamedInboxWritesNoCounts)
{
    HostRecord record("");
    OpenInbox(record);
    GiveMutex(*record);
    fs::remove(inbox / "_FOLDER.DAT");
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Commit(&record), 1u);
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
    EXPECT_FALSE(FileExists(inbox.parent_path() / "_FOLDER.DAT"));
}

TEST_F(SaveLife, APartialTableDoesNotTouchTheCounts)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    record->Table.LoadSelection = "1.MAI";
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    ASSERT_EQ(record.Count(), 1u);
    GiveMutex(*record);
    fs::remove(inbox / "_FOLDER.DAT");
    record.Change("1.MAI", "SUBJECT", "x");
    EXPECT_EQ(StoreIndex_Commit(&record), 1u);
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
    EXPECT_NE(IndexBytes().find("2.MAI"), std::string::npos);
}

TEST_F(SaveLife, ARecordWithoutAMutexIsNotCommitted)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    const std::string before = IndexBytes();
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Commit(&record), 0u);
    const std::string text = Line("StoreIndex_Commit:: Was abandoned due to mutex timeout %s\n", record);
    EXPECT_TRUE(log.HasTrace(text));
    EXPECT_TRUE(log.HasEvent(text));
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_EQ(record->Changed, 1u);
}

TEST_F(SaveLife, ARecordWhoseMutexOwnerDiedIsNotCommitted)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    record.Change("1.MAI", "SUBJECT", "changed");
    GiveAbandonedMutex(*record);
    EXPECT_EQ(StoreIndex_Commit(&record), 0u);
    EXPECT_TRUE(log.HasTrace(Line("StoreIndex_Commit:: Was abandoned due to mutex timeout %s\n", record)));
}

TEST_F(SaveLife, ACommitThatCannotSaveStillRefreshesTheCountsAndAnswersZero)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    fs::remove(inbox / "_FOLDER.DAT");
    WriteFileBytes(inbox / "_index.blk", "");
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Commit(&record), 0u);
    EXPECT_TRUE(FileExists(inbox / "_FOLDER.DAT"));
    EXPECT_TRUE(HasLineAt(8, Line("StoreIndex_Commit::Committed Index for folder %s\n", record)));
}

TEST_F(SaveLife, ACommitWhoseCountsFailBehindAGoodSaveAnswersAsTheSave)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    record.Change("1.MAI", "SUBJECT", "changed");
    // Behind the save the counts find less of the table than they need, and the load of the rest breaks off.
    bool saved = false;
    WatchedFiles files;
    files.fail = [&](FileOperation operation, std::string_view path) -> uint32_t {
        if (saved) throw std::runtime_error("no memory");
        saved = operation == FileOperation::Delete && path.ends_with("_index.blk");
        if (saved) record->Table.LoadLevel = 2;
        return 0;
    };
    EXPECT_EQ(StoreIndex_Commit(&record), 1u);
    files.fail = nullptr;
    EXPECT_TRUE(log.HasTrace("StoreIndex_Commit handled an exception; session will be dropped.\nThe exception was: no memory\n"));
    EXPECT_NE(IndexBytes().find("<SUBJECT>changed</SUBJECT>"), std::string::npos);
}

// ---- StoreIndex_SaveChanged ----

TEST_F(SaveLife, NothingChangedOrNothingLoadedIsASuccessWithoutWork)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    WatchedFiles files;
    EXPECT_EQ(StoreIndex_SaveChanged(&record), 1u);
    StoreIndex_Reset(&record);
    record->Changed = 1;
    EXPECT_EQ(StoreIndex_SaveChanged(&record), 1u);
    EXPECT_EQ(record->Changed, 1u);
    EXPECT_EQ(files.count, 0u);
}

TEST_F(SaveLife, FlaggedMessagesAreStampedWithTheSecondsOfNow)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    const std::string untouched(record.Item("2.MAI")->View(kModifiedDate));
    clock.SetNow(116444736000000000ull + 1700000000ull * 10000000ull + 9999999ull);
    record.Change("1.MAI", kVlStatus, "1");
    record.Change("2.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_SaveChanged(&record), 1u);
    EXPECT_EQ(record.Item("1.MAI")->View(kModifiedDate), "1700000000");
    EXPECT_FALSE(record.Item("1.MAI")->Has(kVlStatus));
    EXPECT_EQ(record.Item("2.MAI")->View(kModifiedDate), untouched) << "not flagged";
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_NE(IndexBytes().find("<MODIFIEDDATE>1700000000</MODIFIEDDATE>"), std::string::npos);
    EXPECT_EQ(IndexBytes().find("VL_STATUS"), std::string::npos);
}

TEST_F(SaveLife, ARescanReplacesTheStampByTheFilesOwnTime)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    const std::string ofTheFile(record.Item("1.MAI")->View(kModifiedDate));
    record.Change("1.MAI", kVlStatus, "1");
    StoreIndex_SaveChanged(&record);
    ASSERT_NE(record.Item("1.MAI")->View(kModifiedDate), ofTheFile);
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Item("1.MAI")->View(kModifiedDate), ofTheFile);
}

TEST_F(SaveLife, FlaggedContactsAreStampedWithTheTimeOfTheirFile)
{
    const fs::path contacts = store.MakeFolder("Contacts");
    PutIndex(contacts, 2, Element("a.vcf", 1) + Element("gone.vcf", 2, "<MODIFIEDDATE>77</MODIFIEDDATE>"));
    WriteFileBytes(contacts / "a.vcf", "BEGIN:VCARD\r\nEND:VCARD\r\n");
    // 2001-02-03 04:05:06 UTC: date 21 years after 1980, time in steps of two seconds.
    const auto time = fs::file_time_type::clock::from_sys(std::chrono::sys_seconds(std::chrono::seconds(981173106)));
    fs::last_write_time(contacts / "a.vcf", time);
    HostRecord record("Contacts", 1);
    ASSERT_EQ(StoreIndex_Get(&record), 1u);
    ASSERT_EQ(record.Count(), 2u);
    GiveMutex(*record);
    record.Change("a.vcf", kVlStatus, "1");
    record.Change("gone.vcf", kVlStatus, "1");
    EXPECT_EQ(StoreIndex_SaveChanged(&record), 1u);
    const uint32_t date = (21u << 9) | (2u << 5) | 3u;
    const uint32_t timeOfDay = (4u << 11) | (5u << 5) | 3u;
    EXPECT_EQ(record.Item("a.vcf")->View(kModifiedDate), std::to_string((date << 16) | timeOfDay));
    EXPECT_EQ(record.Item("gone.vcf")->View(kModifiedDate), "77") << "no file, no stamp";
    EXPECT_FALSE(record.Item("gone.vcf")->Has(kVlStatus));
}

TEST_F(SaveLife, AFailedCommitIsNotRetriedAndLeavesTheFolderDirty)
{
    HostRecord record("INBOX");
    OpenInbox(record);
    GiveMutex(*record);
    WriteFileBytes(inbox / "_index.blk", "");
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_SaveChanged(&record), 1u);
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    fs::remove(inbox / "_index.blk");
    const std::string before = IndexBytes();
    EXPECT_EQ(StoreIndex_SaveChanged(&record), 1u);
    EXPECT_EQ(IndexBytes(), before);
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u) << "the next open rescans";
}

TEST_F(SaveLife, ANullRecordHasNothingToSave) { EXPECT_EQ(StoreIndex_SaveChanged(nullptr), 1u); }

}  // namespace
}  // namespace velmora::test
