// The wait of an open, its rounds counted.
#include <string>

#include "tests/locks/LocksFixture.h"

namespace velmora::test {
namespace {

class BlockWaiting : public Locks {
protected:
    // Waits for the block; what it got is given back at the end.
    BlockWait Wait()
    {
        const BlockWait result = WaitForIndexBlock(blockPath, got);
        EXPECT_EQ(result == BlockWait::Held, got != nullptr);
        return result;
    }
    void TearDown() override
    {
        if (got) UnBlockIndexFileAccessEx(blockPath.c_str(), 1, &got);
        Locks::TearDown();
    }
    void UseGroups()
    {
        block = folder / "_groups.blk";
        blockPath = folder.string() + "\\_groups.blk";
    }
    void* got = nullptr;
};

TEST_F(BlockWaiting, AFreeFolderIsHeldAtOnceByHandle)
{
    FileWatch watch;
    EXPECT_EQ(Wait(), BlockWait::Held);
    EXPECT_EQ(watch.creates, 1u);
    EXPECT_TRUE(clock.Sleeps().empty());
    void* other = nullptr;
    EXPECT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 1, &other), 0u);
}

TEST_F(BlockWaiting, AGoneDirectoryEndsItAtOnce)
{
    blockPath = folder.string() + "\\gone\\_index.blk";
    FileWatch watch;
    EXPECT_EQ(Wait(), BlockWait::NotHeld);
    EXPECT_EQ(watch.creates, 1u);
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(BlockWaiting, ANameThatIsTooLongOrInvalidEndsItAtOnce)
{
    for (const uint32_t error : {206u, 123u}) {
        FileWatch watch;
        watch.createError = error;
        EXPECT_EQ(Wait(), BlockWait::NotHeld) << error;
        EXPECT_EQ(watch.creates, 1u);
    }
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(BlockWaiting, NoOtherErrorEndsItEarly)
{
    for (const uint32_t error : {2u, 5u, 32u, 112u}) {
        FileWatch watch;
        watch.createError = error;
        const size_t before = clock.Sleeps().size();
        clock.onSleep = [&](size_t n) {
            if (n == before + 4) watch.createError = 0;
        };
        EXPECT_EQ(Wait(), BlockWait::Held) << error;
        EXPECT_EQ(clock.Sleeps().size(), before + 4);
        EXPECT_EQ(watch.creates, 5u);
        ASSERT_EQ(UnBlockIndexFileAccessEx(blockPath.c_str(), 1, &got), 1u);
    }
    EXPECT_TRUE(log.Events().empty());
}

TEST_F(BlockWaiting, ADeniedAccessIsReportedFromTraceLevelSixOn)
{
    FileWatch watch;
    watch.createError = 5;
    BlockTraceLevel() = 5;
    clock.onSleep = [&](size_t n) {
        if (n == 2) BlockTraceLevel() = 6;
        if (n == 4) watch.createError = 0;
    };
    EXPECT_EQ(Wait(), BlockWait::Held);
    BlockTraceLevel() = 0;
    ASSERT_EQ(log.Events().size(), 2u) << "the third and the fourth attempt";
    const std::string event = log.Events().front();
    EXPECT_EQ(event.front(), '[');
    EXPECT_EQ(event.substr(event.find(']')),
              "] Access Denied error occured in WaitForAccessToIndexFileEx for block file: " + blockPath + "\r\n");
}

TEST_F(BlockWaiting, ABlockThatIsReleasedIsTakenAtTheNextAttempt)
{
    HoldByHandle();
    FileWatch watch;
    clock.onSleep = [&](size_t n) {
        if (n == 60) LetGo();
    };
    EXPECT_EQ(Wait(), BlockWait::Held);
    EXPECT_EQ(clock.Sleeps(), Seconds(60));
    EXPECT_EQ(watch.creates, 61u);
}

TEST_F(BlockWaiting, AnOrphanIsBrokenAfter61AttemptsAnd61Pauses)
{
    HoldByName();
    FileWatch watch;
    EXPECT_EQ(Wait(), BlockWait::Held);
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_EQ(watch.creates, 62u) << "61 that failed, one behind the delete";
    EXPECT_EQ(watch.deletes, 1u);
}

TEST_F(BlockWaiting, ALiveHolderCostsAnother81SecondsAndIsLeftAlone)
{
    HoldByHandle();
    FileWatch watch;
    EXPECT_EQ(Wait(), BlockWait::NotHeld);
    EXPECT_EQ(clock.Sleeps(), Seconds(61 + 81));
    EXPECT_EQ(watch.creates, 61u);
    EXPECT_EQ(watch.deletes, 81u);
    EXPECT_TRUE(FileExists(block));
    LetGo();
}

TEST_F(BlockWaiting, ABlockThatGoesByItselfAtTheBreakIsNotTaken)
{
    HoldByHandle();
    FileWatch watch;
    clock.onSleep = [&](size_t n) {
        if (n == 61) LetGo();
    };
    EXPECT_EQ(Wait(), BlockWait::NotHeld);
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_EQ(watch.creates, 61u);
    EXPECT_FALSE(FileExists(block));
}

TEST_F(BlockWaiting, AFolderThatGoesDuringTheBreakEndsIt)
{
    HoldByHandle();
    clock.onSleep = [&](size_t n) {
        if (n == 61 + 5) {
            CloseBlockHandle(held);
            fs::remove_all(folder);
        }
    };
    EXPECT_EQ(Wait(), BlockWait::NotHeld);
    EXPECT_EQ(clock.Sleeps(), Seconds(61 + 5));
}

TEST_F(BlockWaiting, WhoeverIsFasterBehindTheBreakHasTheBlock)
{
    HoldByName();
    FileWatch watch;
    watch.onDelete = [&](size_t) { watch.createError = 80; };
    EXPECT_EQ(Wait(), BlockWait::NotHeld);
    EXPECT_EQ(watch.creates, 62u) << "one attempt behind the delete and no more";
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
}

// ---- Index Unblock Mode ----

TEST_F(BlockWaiting, InUnblockModeAnOrphanCostsOneSecond)
{
    UnblockMode(1);
    HoldByName();
    FileWatch watch;
    BlockWait result = BlockWait::NotHeld;
    const std::string printed = CaptureStdout([&] { result = Wait(); });
    EXPECT_EQ(result, BlockWait::Held);
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock.Sleeps(), Seconds(1));
    EXPECT_EQ(watch.creates, 2u);
    EXPECT_EQ(watch.deletes, 1u);
}

TEST_F(BlockWaiting, EveryModeButZeroIsTheUnblockMode)
{
    UnblockMode(7);
    HoldByName();
    CaptureStdout([&] { EXPECT_EQ(Wait(), BlockWait::Held); });
    EXPECT_EQ(clock.Sleeps(), Seconds(1));
}

TEST_F(BlockWaiting, InUnblockModeALiveHolderSurvives)
{
    UnblockMode(1);
    HoldByHandle();
    FileWatch watch;
    std::string printed;
    printed = CaptureStdout([&] { EXPECT_EQ(Wait(), BlockWait::NotHeld); });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(clock.Sleeps(), Seconds(61 + 81));
    EXPECT_EQ(watch.deletes, 61u + 81u) << "one attempt a round, then the break";
    EXPECT_TRUE(FileExists(block));
}

TEST_F(BlockWaiting, InUnblockModeABlockHeldByNameHasNoProtection)
{
    UnblockMode(1);
    HoldByHandle();
    clock.onSleep = [&](size_t n) {
        if (n == 5) CloseBlockHandle(held);  // its holder lives on, with the name alone
    };
    std::string printed;
    printed = CaptureStdout([&] { EXPECT_EQ(Wait(), BlockWait::Held); });
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock.Sleeps(), Seconds(5));
}

TEST_F(BlockWaiting, InUnblockModeABlockOfGroupItemsIsNeverDeletedEarly)
{
    UnblockMode(1);
    UseGroups();
    HoldByName();
    FileWatch watch;
    std::string printed;
    printed = CaptureStdout([&] { EXPECT_EQ(Wait(), BlockWait::Held); });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_EQ(watch.deletes, 1u);
}

TEST_F(BlockWaiting, InUnblockModeOnlyAnExistingFileIsTakenForAnOrphan)
{
    UnblockMode(1);
    FileWatch watch;
    watch.createError = 5;
    clock.onSleep = [&](size_t n) {
        if (n == 3) watch.createError = 0;
    };
    EXPECT_EQ(Wait(), BlockWait::Held);
    EXPECT_EQ(watch.deletes, 0u);
}

TEST_F(BlockWaiting, InUnblockModeOthersThatKeepTakingTheNameEndTheWaitAtItsLimit)
{
    UnblockMode(1);
    HoldByName();
    FileWatch watch;
    watch.createError = 80;  // whenever the orphan is gone, somebody else has been faster
    watch.onDelete = [&](size_t) { WriteFileBytes(block, ""); };
    CaptureStdout([&] { EXPECT_EQ(Wait(), BlockWait::NotHeld); });
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_EQ(watch.creates, 62u);
}

}  // namespace
}  // namespace velmora::test
