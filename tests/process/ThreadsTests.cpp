// Many threads of one process in the same folders, for two seconds at most; run it under the thread sanitizer.
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/Clock.h"
#include "tests/index/LifeFixture.h"
#include "velmora/folder.h"
#include "velmora/item.h"
#include "velmora/library.h"

namespace velmora::test {
namespace {

constexpr int kThreads = 8;
constexpr int kMessages = 12;
constexpr auto kTime = std::chrono::milliseconds(1500);

std::string MessageName(int number) { return std::to_string(number) + ".MAI"; }

// Waits are a thousandth of what they ask for: a thread that meets a held block is back within the test.
class HastyClock : public platform::Clock {
public:
    HastyClock() : before_(platform::ReplaceClock(this)) {}
    ~HastyClock() override { platform::ReplaceClock(before_); }
    void Sleep(uint32_t milliseconds) override { std::this_thread::sleep_for(std::chrono::microseconds(milliseconds)); }
    uint64_t NowFileTime() override
    {
        const auto sinceUnix = std::chrono::system_clock::now().time_since_epoch();
        return 116444736000000000ull + static_cast<uint64_t>(std::chrono::nanoseconds(sinceUnix).count() / 100);
    }

private:
    platform::Clock* before_;
};

struct Counts {
    std::atomic<uint64_t> opens{0};
    std::atomic<uint64_t> refusals{0};  // an open that did not get the block for its load
    std::atomic<uint64_t> reads{0};
    std::atomic<uint64_t> sets{0};
};

void ReadCurrentItem(Counts& counts)
{
    for (const char* const name : {"PR_SUBJECT", "PR_VL_SIZE", "PR_VL_READ"}) {
        void* value = nullptr;
        uint64_t size = 0;
        // A folder that another thread has loaded anew in between has no current item; a value is whole in any case.
        if (StoreItem_GetProperty(name, &value, &size) == 2) {
            EXPECT_NE(value, nullptr);
            ++counts.reads;
        }
        StoreItem_FreeProperty(value);
    }
}

void Work(int thread, std::chrono::steady_clock::time_point end, Counts& counts)
{
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        const char* const folder = (thread + round) % 2 ? "INBOX" : "Sent";
        if (StoreFolder_Open("po", "box", folder, 0, 0) != 1) {
            ++counts.refusals;
            continue;
        }
        ++counts.opens;
        int walked = 0;
        for (uint64_t more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem()) {
            ReadCurrentItem(counts);
            if (++walked > kMessages) break;
        }
        EXPECT_LE(walked, kMessages);
        const std::string subject = "thread " + std::to_string(thread) + " round " + std::to_string(round);
        if (StoreItem_SetProperty(MessageName(thread).c_str(), "PR_SUBJECT", subject.c_str()) == 1) ++counts.sets;
        if (round % 4 == 0) StoreFolder_Save(0);
        StoreFolder_Close();
    }
    StoreLibrary_ThreadRelease();
}

class Threads : public testing::TestWithParam<uint32_t> {};

TEST_P(Threads, OpenWalkSetSaveAndCloseTheSameFolders)
{
    TestStore store;
    for (const char* const folder : {"INBOX", "Sent"}) {
        const fs::path directory = store.MakeFolder(folder);
        for (int i = 0; i < kMessages; ++i)
            WriteFileBytes(directory / MessageName(i), "Subject: message " + std::to_string(i) + "\r\n\r\nbody\r\n");
    }
    store.Attach();
    const HastyClock clock;
    ASSERT_EQ(StoreLibrary_SetAffinity(GetParam()), 1u);

    Counts counts;
    const auto end = std::chrono::steady_clock::now() + kTime;
    const std::string printed = CaptureStdout([&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) threads.emplace_back([&, i] { Work(i, end, counts); });
        for (std::thread& thread : threads) thread.join();
    });
    EXPECT_EQ(printed.find("Unable to remove blocking file"), std::string::npos);
    EXPECT_EQ(printed.find("An error occured"), std::string::npos);

    EXPECT_GT(counts.opens, 0u);
    EXPECT_GT(counts.reads, 0u);
    EXPECT_GT(counts.sets, 0u);
    RecordProperty("opens", std::to_string(counts.opens));
    RecordProperty("refusals", std::to_string(counts.refusals));

    // No message was lost or doubled, and no thread left a block behind.
    for (const char* const folder : {"INBOX", "Sent"}) {
        HostRecord record(folder);
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
        EXPECT_EQ(record.Count(), static_cast<uint32_t>(kMessages)) << folder;
        EXPECT_FALSE(FileExists(store.MakeFolder(folder) / "_index.blk"));
    }
}

std::string AffinityName(const testing::TestParamInfo<uint32_t>& info)
{
    return info.param == 1 ? "WithRecordsOfTheirOwn" : "WithSharedRecords";
}
INSTANTIATE_TEST_SUITE_P(Affinity, Threads, testing::Values(1u, 0u), AffinityName);

}  // namespace
}  // namespace velmora::test
