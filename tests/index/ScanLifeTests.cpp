#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "tests/index/LifeFixture.h"
#include "velmora/locks.h"

namespace velmora::test {
namespace {

using ScanLife = Life;

TEST_F(ScanLife, ANullRecordIsReported)
{
    uint64_t result = 1;
    const std::string printed = CaptureStdout([&] { result = StoreIndex_Scan(nullptr); });
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(printed, "WARNING!: StoreIndex is NULL when passed to StoreIndex_Scan\n");
}

TEST_F(ScanLife, TheDirectoryIsMade)
{
    store.MakeFolder("INBOX");
    Attach();
    HostRecord record("new");
    EXPECT_EQ(StoreIndex_Scan(&record), 1u);
    EXPECT_TRUE(fs::is_directory(store.MailRoot() / "po" / "MAILROOT" / "box" / "new"));
}

TEST_F(ScanLife, AMailFolderGetsItsMessagesAndNothingIsMarkedChanged)
{
    const fs::path inbox = store.MakeFolder("INBOX");
    PutMail(inbox, "1.MAI");
    Attach();
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Scan(&record), 1u);
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(ScanLife, TheKindFollowsTheFolderName)
{
    Attach();
    const std::pair<const char*, uint32_t> expected[] = {
        {"/Contacts", 1}, {"TASKS", 3}, {"Calendar", 2}, {"CONTACTS/Work", 0}, {"INBOX", 0}};
    for (const auto& [folder, kind] : expected) {
        store.MakeFolder(folder);
        HostRecord record(folder, 54);
        StoreIndex_Scan(&record);
        EXPECT_EQ(record->IndexKind, kind) << folder;
    }
}

TEST_F(ScanLife, ATasksFolderIsLeftAsItIs)
{
    store.MakeFolder("Tasks");
    Attach();
    HostRecord record("Tasks", 3);
    record.Add("1.TSK");
    EXPECT_EQ(StoreIndex_Scan(&record), 1u);
    EXPECT_EQ(record.Count(), 1u);
}

TEST_F(ScanLife, AFolderWhoseKindIsNotBuiltKeepsItsItems)
{
    store.MakeFolder("Calendar");
    Attach();
    HostRecord record("Calendar", 2);
    record.Add("1.CAL");
    StoreIndex_Scan(&record);
    EXPECT_EQ(record.Count(), 1u);
}

TEST_F(ScanLife, AFolderThatSomebodyHoldsIsNotScanned)
{
    const fs::path inbox = store.MakeFolder("INBOX");
    PutMail(inbox, "1.MAI");
    Attach();
    HostRecord record("INBOX");
    WriteFileBytes(inbox / "_index.blk", "");
    EXPECT_EQ(StoreIndex_Scan(&record), 1u);
    EXPECT_EQ(record.Count(), 0u);
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_EQ(ScanStoreIndex(&record, kScanCallerHolds), 1u) << "the holder itself may scan";
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_TRUE(FileExists(inbox / "_index.blk"));
}

TEST_F(ScanLife, AnExceptionIsReportedAndNeverReachesTheHost)
{
    store.MakeFolder("INBOX");
    Attach();
    HostRecord record("INBOX");
    GiveAbandonedMutex(*record);
    EXPECT_EQ(StoreIndex_Scan(&record), 0u);
    ASSERT_EQ(log.Traces().size(), 1u);
    EXPECT_EQ(log.Traces()[0].rfind("StoreIndex_Scan handled an exception; session will be dropped.\n", 0), 0u);
}

}  // namespace
}  // namespace velmora::test
