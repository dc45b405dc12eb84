// The block file at an open: how long it waits, what it does without, and that it goes again.
#include "common/Exception.h"
#include "tests/index/LifeFixture.h"
#include "velmora/locks.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

// The open answers from memory and says that the block file could not be deleted, whose deletes fail with `error`.
void ExpectReportWhenTheBlockFailsToGo(HostRecord& record, uint32_t error)
{
    WatchedFiles files;
    files.fail = [error](FileOperation operation, std::string_view path) {
        return operation == FileOperation::Delete && ContainsNoCase(path, "_index.blk") ? error : 0u;
    };
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&record, 1), 2u); });
    EXPECT_EQ(printed, "ScanFoldersOrdered::Unable to remove blocking file");
}

TEST_F(OpenLife, ModeTwoDoesNotWaitForABlock)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_index.blk", "");
    EXPECT_EQ(StoreIndex_Open(&record, 2), 0u) << "neither the scan nor the load gets the block";
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(log.HasTrace("StoreIndex_Open::Error opening store index in: " + record.Path() + "\n"));
}

TEST_F(OpenLife, GroupItemsAreCheckedUnderABlockOfTheirOwn)
{
    inbox = store.MakeFolder("Lists");
    PutIndex(inbox, 0, "");
    PutIndex(inbox, 8, Element("a.GRP", 8), "_groups.xml");
    Age(inbox / "_groups.xml");
    Attach();
    HostRecord record("Lists", 54);
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    WriteFileBytes(inbox / "_groups.blk", "");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_FALSE(FileExists(inbox / "_groups.blk"));
}

TEST_F(OpenLife, ALeftoverBlockCostsAMinute)
{
    MakeIndexedInbox();
    WriteFileBytes(inbox / "_index.blk", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(OpenLife, ALeftoverBlockCostsASecondInUnblockMode)
{
    store.SetNumber("Index Unblock Mode", 1, "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers");
    MakeIndexedInbox();
    WriteFileBytes(inbox / "_index.blk", "");
    HostRecord record("INBOX");
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&record, 1), 1u); });
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock.Sleeps(), Seconds(1));
}

TEST_F(OpenLife, WithoutTheBlockAnOpenAnswersFromMemory)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    const std::string block = record.Path() + "\\_index.blk";
    void* held = nullptr;
    ASSERT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &held), 1u);
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    EXPECT_EQ(clock.Sleeps(), Seconds(61 + 81));
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY")) << "the dirty check needs the block";
    EXPECT_TRUE(FileExists(inbox / "_index.blk"));
    EXPECT_EQ(UnBlockIndexFileAccessEx(block.c_str(), 1, &held), 1u);
}

TEST_F(OpenLife, WithoutTheBlockAndWithNothingInMemoryAnOpenFails)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    const std::string block = record.Path() + "\\_index.blk";
    void* held = nullptr;
    ASSERT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &held), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 0u);
    EXPECT_EQ(record->Table.LoadLevel, 0);
    EXPECT_TRUE(log.HasTrace("StoreIndex_Open::Error opening store index in: " + record.Path() + "\n"));
    EXPECT_EQ(UnBlockIndexFileAccessEx(block.c_str(), 1, &held), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
}

TEST_F(OpenLife, ABlockThatCannotBeGivenBackIsReported)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    ExpectReportWhenTheBlockFailsToGo(record, 32);
    EXPECT_EQ(clock.Sleeps(), Seconds(81));
}

TEST_F(OpenLife, ABlockThatWentMeanwhileIsReportedWithoutAWait)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    ExpectReportWhenTheBlockFailsToGo(record, 2);
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(OpenLife, TheWaitDoesNotHoldTheMutexAndTheReleaseDoes)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    GiveMutex(*record);
    const auto isFree = [&] {
        bool free = false;
        std::thread([&] {
            free = WaitForSingleObject(record->Mutex, 0) == WAIT_OBJECT_0;
            if (free) ReleaseMutex(record->Mutex);
        }).join();
        return free;
    };
    std::vector<bool> freeWhileAsleep;
    clock.onSleep = [&](size_t) { freeWhileAsleep.push_back(isFree()); };
    size_t deletes = 0;
    WatchedFiles files;
    files.fail = [&](FileOperation operation, std::string_view path) {
        return operation == FileOperation::Delete && ContainsNoCase(path, "_index.blk") && ++deletes == 2 ? uint32_t{32} : 0u;
    };
    // One pause for each of 61 failed attempts, the break of the leftover, and one failed delete at the release.
    WriteFileBytes(inbox / "_index.blk", "");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    std::vector<bool> expected(61, true);
    expected.push_back(false);
    EXPECT_EQ(freeWhileAsleep, expected);
}

TEST_F(OpenLife, AnExceptionInTheDirtyCheckLetsTheBlockGo)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    GiveAbandonedMutex(*record);
    EXPECT_THROW(StoreIndex_Open(&record, 1), Exception);
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

}  // namespace
}  // namespace velmora::test
