// One process holds a folder's block file, another wants the folder.
#include "tests/index/LifeFixture.h"
#include "tests/process/Peers.h"
#include "velmora/locks.h"

namespace velmora::test {

namespace {

constexpr char kProviders[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers";

// Orders to the holder.
constexpr char kHoldByHandle = 'h';
constexpr char kHoldByName = 'n';
constexpr char kLetGo = 'g';

}  // namespace

void HoldBlockPeer(Peer::Line& line, const std::vector<std::string>& arguments)
{
    const std::string& blockPath = arguments.at(0);
    void* handle = nullptr;
    uint32_t keepHandle = 0;
    while (const char order = line.NextOrder()) {
        if (order == kLetGo) {
            line.Answer(UnBlockIndexFileAccessEx(blockPath.c_str(), keepHandle, &handle) == 1);
        } else {
            keepHandle = order == kHoldByHandle ? 1 : 0;
            line.Answer(WaitForAccessToIndexFileEx(blockPath.c_str(), keepHandle, &handle) == 1);
        }
    }
}

namespace {

class TwoProcessBlock : public testing::Test {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        WriteFileBytes(inbox / "1.MAI", "Subject: s\r\n\r\nbody\r\n");
    }
    void Begin()
    {
        holder = std::make_unique<Peer>("hold-block", std::vector{(inbox / "_index.blk").string()});
        store.Attach();
        clock = std::make_unique<FakeClock>();
        record = std::make_unique<HostRecord>("INBOX");
    }
    // The copy in memory is good from here on.
    void OpenOnce()
    {
        ASSERT_EQ(StoreIndex_Open(&*record, 1), 1u);
        fs::last_write_time(inbox / "_index.xml", fs::file_time_type::clock::now() - std::chrono::hours(1));
        ASSERT_EQ(StoreIndex_Open(&*record, 5), 1u);
    }
    static std::vector<uint32_t> Seconds(size_t count) { return std::vector<uint32_t>(count, 1000); }
    bool BlockStands() const { return FileExists(inbox / "_index.blk"); }
    void UnblockMode() { store.SetNumber("Index Unblock Mode", 1, kProviders); }

    TestStore store;
    fs::path inbox;
    std::unique_ptr<Peer> holder;
    std::unique_ptr<FakeClock> clock;
    std::unique_ptr<HostRecord> record;
};

TEST_F(TwoProcessBlock, AHeldFolderIsRefusedToEverySingleAttempt)
{
    Begin();
    OpenOnce();
    const std::string block = (inbox / "_index.blk").string();
    for (const char how : {kHoldByHandle, kHoldByName}) {
        ASSERT_TRUE(holder->Do(how));
        void* handle = nullptr;
        EXPECT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &handle), 0u);
        EXPECT_EQ(StoreIndex_Save(&*record), 0u);
        EXPECT_EQ(StoreIndex_Open(&*record, 5), 0u);
        ASSERT_TRUE(holder->Do(kLetGo));
        EXPECT_EQ(StoreIndex_Open(&*record, 5), 1u);
    }
    EXPECT_TRUE(clock->Sleeps().empty());
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY")) << "a save that was refused leaves the mark";
}

TEST_F(TwoProcessBlock, AnOpenWaitsForALiveHolderThatLetsGo)
{
    Begin();
    OpenOnce();
    for (const char how : {kHoldByHandle, kHoldByName}) {
        ASSERT_TRUE(holder->Do(how));
        const size_t before = clock->Sleeps().size();
        clock->onSleep = [&](size_t n) {
            if (n != before + 7) return;
            EXPECT_TRUE(holder->Do(kLetGo));
        };
        EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u);
        EXPECT_EQ(clock->Sleeps().size(), before + 7);
        EXPECT_FALSE(BlockStands());
    }
}

TEST_F(TwoProcessBlock, AHolderByHandleOutlastsEveryWait)
{
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u);
    EXPECT_EQ(clock->Sleeps(), Seconds(61 + 81)) << "a minute, then the attempts to delete";
    EXPECT_TRUE(BlockStands());
    EXPECT_TRUE(holder->Do(kLetGo)) << "the holder never noticed";
}

TEST_F(TwoProcessBlock, AHolderByHandleSurvivesTheUnblockMode)
{
    UnblockMode();
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u); });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(clock->Sleeps(), Seconds(61 + 81));
    EXPECT_TRUE(holder->Do(kLetGo));
}

TEST_F(TwoProcessBlock, AHolderByNameIsBrokenAfterAMinute)
{
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByName));
    EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u);
    EXPECT_EQ(clock->Sleeps(), Seconds(61));
    EXPECT_FALSE(BlockStands());
    EXPECT_FALSE(holder->Do(kLetGo)) << "the living holder finds its block gone";
}

TEST_F(TwoProcessBlock, AHolderByNameIsBrokenAfterASecondInUnblockMode)
{
    UnblockMode();
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByName));
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u); });
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock->Sleeps(), Seconds(1));
    EXPECT_FALSE(holder->Do(kLetGo));
}

TEST_F(TwoProcessBlock, AKilledHolderIsBrokenAfterAMinute)
{
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    holder->KillNow();
    EXPECT_TRUE(BlockStands());
    EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u);
    EXPECT_EQ(clock->Sleeps(), Seconds(61));
    EXPECT_FALSE(BlockStands());
}

TEST_F(TwoProcessBlock, AKilledHolderIsBrokenAfterASecondInUnblockMode)
{
    UnblockMode();
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    holder->KillNow();
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u); });
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock->Sleeps(), Seconds(1));
}

TEST_F(TwoProcessBlock, AHolderThatIsKilledDuringTheWaitIsBrokenAtTheNextAttempt)
{
    UnblockMode();
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    clock->onSleep = [&](size_t n) {
        if (n == 10) holder->KillNow();
    };
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u); });
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock->Sleeps(), Seconds(10));
}

TEST_F(TwoProcessBlock, AHolderThatIsKilledWhileItsBlockIsBeingDeletedGivesWay)
{
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    clock->onSleep = [&](size_t n) {
        if (n == 61 + 20) holder->KillNow();
    };
    EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u);
    EXPECT_EQ(clock->Sleeps(), Seconds(61 + 20));
    EXPECT_FALSE(BlockStands());
}

TEST_F(TwoProcessBlock, ATransactionOfAKilledProcessIsTakenOverByTheNextOpen)
{
    Begin();
    OpenOnce();
    ASSERT_TRUE(holder->Do(kHoldByHandle));
    holder->KillNow();
    STOREINDEXTYPE own;
    StoreIndex_Init(&own);
    void* handle = nullptr;
    const std::string block = (inbox / "_index.blk").string();
    EXPECT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &handle), 0u) << "a single attempt never breaks a block";
    EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u);
    EXPECT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &handle), 1u);
    EXPECT_EQ(UnBlockIndexFileAccessEx(block.c_str(), 1, &handle), 1u);
}

}  // namespace
}  // namespace velmora::test
