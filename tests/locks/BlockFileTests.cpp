#include <string>

#include "platform/win32.h"
#include "tests/locks/LocksFixture.h"

namespace velmora::test {
namespace {

using BlockFile = Locks;

TEST_F(BlockFile, ThePathTakesItsNameFromTheKind)
{
    EXPECT_EQ(BlockFilePath("C:\\f", 0), "C:\\f\\_index.blk");
    EXPECT_EQ(BlockFilePath("C:\\f", 1), "C:\\f\\_index.blk");
    EXPECT_EQ(BlockFilePath("C:\\f", 54), "C:\\f\\_groups.blk");
    EXPECT_EQ(BlockFilePath(nullptr, 0), "\\_index.blk");
}

TEST_F(BlockFile, ALongPathIsCutAt1023Bytes)
{
    const std::string longFolder(1020, 'f');
    EXPECT_EQ(BlockFilePath(longFolder.c_str(), 0), longFolder + "\\_i");
    EXPECT_EQ(BlockFilePath(std::string(2000, 'f').c_str(), 0), std::string(1023, 'f'));
}

TEST_F(BlockFile, OneAttemptMakesAnEmptyFileAndKeepsItsHandle)
{
    ASSERT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 1, &held), 1u);
    EXPECT_NE(held, nullptr);
    EXPECT_EQ(fs::file_size(block), 0u);
    EXPECT_FALSE(DeleteFileA(blockPath.c_str())) << "nobody can delete a block whose handle is open";
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(BlockFile, WithoutKeepingTheHandleTheFileStandsByItsName)
{
    void* handle = &clock;
    ASSERT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 0, &handle), 1u);
    EXPECT_EQ(handle, nullptr);
    EXPECT_TRUE(FileExists(block));
    EXPECT_TRUE(DeleteFileA(blockPath.c_str()));
}

TEST_F(BlockFile, AFailedAttemptStoresNothingAndDoesNotWait)
{
    HoldByHandle();
    void* handle = &clock;
    EXPECT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 1, &handle), 0u);
    EXPECT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 0, &handle), 0u);
    EXPECT_EQ(handle, &clock);
    EXPECT_EQ(WaitForAccessToIndexFileEx((folder.string() + "\\gone\\_index.blk").c_str(), 1, &handle), 0u);
    EXPECT_EQ(handle, &clock);
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(BlockFile, NullArgumentsAreRefusedWithNothingMade)
{
    EXPECT_EQ(WaitForAccessToIndexFileEx(nullptr, 0, nullptr), 0u);
    EXPECT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 1, nullptr), 0u) << "a handle that nobody could give back";
    EXPECT_FALSE(FileExists(block));
    EXPECT_EQ(UnBlockIndexFileAccessEx(nullptr, 1, nullptr), 0u);
}

TEST_F(BlockFile, TheReleaseClosesAndDeletes)
{
    HoldByHandle();
    EXPECT_EQ(UnBlockIndexFileAccessEx(blockPath.c_str(), 1, &held), 1u);
    EXPECT_EQ(held, nullptr);
    EXPECT_FALSE(FileExists(block));
}

TEST_F(BlockFile, TheReleaseOfAFileAlreadyGoneIsOneAttemptWithNoPause)
{
    FileWatch watch;
    EXPECT_EQ(UnBlockIndexFileAccessEx(blockPath.c_str(), 0, nullptr), 0u);
    EXPECT_EQ(watch.deletes, 1u);
    EXPECT_EQ(UnBlockIndexFileAccessEx((folder.string() + "\\gone\\_index.blk").c_str(), 0, nullptr), 0u);
    EXPECT_EQ(watch.deletes, 2u);
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(BlockFile, AHandleThatCannotBeClosedIsToldAndForgotten)
{
    HoldByName();
    void* handle = nullptr;
    uint64_t released = 0;
    const std::string printed = CaptureStdout([&] { released = UnBlockIndexFileAccessEx(blockPath.c_str(), 1, &handle); });
    EXPECT_EQ(printed, "An error occured closing the handle of a block file: 6\n");
    EXPECT_EQ(released, 1u) << "the file goes all the same";
    EXPECT_EQ(handle, nullptr);
}

TEST_F(BlockFile, TheHandleIsOnlyClosedWhenKeepHandleIsExactlyOne)
{
    HoldByHandle();
    void* const before = held;
    EXPECT_EQ(UnBlockIndexFileAccessEx(blockPath.c_str(), 0, &held), 0u) << "the holder itself keeps the file from going";
    EXPECT_EQ(held, before);
}

TEST_F(BlockFile, ADeleteIsTried81TimesWith81Pauses)
{
    HoldByHandle();
    FileWatch watch;
    EXPECT_EQ(DeleteBlockFile(blockPath), BlockDelete::GaveUp);
    EXPECT_EQ(watch.deletes, 81u);
    EXPECT_EQ(clock.Sleeps(), Seconds(81));
    EXPECT_TRUE(FileExists(block));
}

TEST_F(BlockFile, ADeleteThatWorksAtItsLastAttemptHas80Pauses)
{
    HoldByHandle();
    clock.onSleep = [&](size_t n) {
        if (n == 80) CloseBlockHandle(held);
    };
    EXPECT_EQ(DeleteBlockFile(blockPath), BlockDelete::Deleted);
    EXPECT_EQ(clock.Sleeps(), Seconds(80));
}

TEST_F(BlockFile, ADeleteEndsWhenTheFileGoesByItself)
{
    HoldByHandle();
    clock.onSleep = [&](size_t n) {
        if (n == 3) LetGo();
    };
    EXPECT_EQ(DeleteBlockFile(blockPath), BlockDelete::Gone);
    EXPECT_EQ(clock.Sleeps(), Seconds(3));
}

TEST_F(BlockFile, ARecordHoldsTheIndexBlockWhateverItsKind)
{
    STOREINDEXTYPE record;
    record.IndexKind = 54;
    folder.string().copy(record.Path, sizeof(record.Path) - 1);
    ASSERT_TRUE(AcquireIndexBlock(record));
    EXPECT_NE(record.BlockFileHandle, nullptr);
    EXPECT_EQ(FileNames(folder), std::vector<std::string>{"_index.blk"});

    STOREINDEXTYPE other;
    folder.string().copy(other.Path, sizeof(other.Path) - 1);
    EXPECT_FALSE(AcquireIndexBlock(other)) << "threads of one process exclude each other as well";
    EXPECT_EQ(other.BlockFileHandle, nullptr);

    EXPECT_TRUE(ReleaseIndexBlock(record));
    EXPECT_EQ(record.BlockFileHandle, nullptr);
    EXPECT_TRUE(FileNames(folder).empty());
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(BlockFile, ReleasingARecordWhoseBlockWasBrokenIsFalse)
{
    STOREINDEXTYPE record;
    folder.string().copy(record.Path, sizeof(record.Path) - 1);
    ASSERT_TRUE(AcquireIndexBlock(record));
    CloseBlockHandle(record.BlockFileHandle);
    fs::remove(block);
    CaptureStdout([&] { EXPECT_FALSE(ReleaseIndexBlock(record)); });
}

TEST_F(BlockFile, AvailabilityTellsAMissingFromAPresentIndex)
{
    EXPECT_EQ(CheckIndexFileAvailability(folder.string().c_str(), 0), IndexAvailability::Missing);
    EXPECT_FALSE(FileExists(block));
    WriteFileBytes(folder / "_index.xml", "");
    EXPECT_EQ(CheckIndexFileAvailability(folder.string().c_str(), 0), IndexAvailability::Present);
    EXPECT_FALSE(FileExists(block));
}

TEST_F(BlockFile, AvailabilityOfAHeldFolderIsBusyAtOnce)
{
    HoldByName();
    EXPECT_EQ(CheckIndexFileAvailability(folder.string().c_str(), 0), IndexAvailability::Busy);
    EXPECT_TRUE(FileExists(block));
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_EQ(static_cast<uint32_t>(IndexAvailability::Busy), 5u);
}

TEST_F(BlockFile, AvailabilityOfACallerThatHoldsTheBlockTakesNone)
{
    HoldByHandle();
    FileWatch watch;
    EXPECT_EQ(CheckIndexFileAvailability(folder.string().c_str(), 99), IndexAvailability::Missing);
    WriteFileBytes(folder / "_index.xml", "");
    EXPECT_EQ(CheckIndexFileAvailability(folder.string().c_str(), 99), IndexAvailability::Present);
    EXPECT_EQ(watch.creates, 0u);
    EXPECT_EQ(watch.deletes, 0u);
}

TEST_F(BlockFile, AvailabilityTellsOfABlockThatItCannotRemove)
{
    WriteFileBytes(folder / "_index.xml", "");
    FileWatch watch;
    // Somebody takes the file over between the look and the release: it was held by name alone.
    watch.onDelete = [&](size_t n) {
        if (n != 1) return;
        fs::remove(block);
        HoldByHandle();
    };
    IndexAvailability found = IndexAvailability::Missing;
    const std::string printed = CaptureStdout([&] { found = CheckIndexFileAvailability(folder.string().c_str(), 0); });
    EXPECT_EQ(printed, "CheckIndexFileAvailability::Unable to remove blocking file");
    EXPECT_EQ(found, IndexAvailability::Present);
    EXPECT_EQ(clock.Sleeps(), Seconds(81));
}

TEST_F(BlockFile, AvailabilityIsQuietWhenItsBlockHasGone)
{
    FileWatch watch;
    watch.onDelete = [&](size_t) { fs::remove(block); };
    const std::string printed = CaptureStdout([&] { CheckIndexFileAvailability(folder.string().c_str(), 0); });
    EXPECT_EQ(printed, "");
    EXPECT_TRUE(clock.Sleeps().empty());
}

}  // namespace
}  // namespace velmora::test
