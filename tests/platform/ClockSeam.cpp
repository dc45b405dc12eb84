// The clock that a test puts in place.
#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace velmora::test {

namespace {

class CountingClock : public platform::Clock {
public:
    void Sleep(uint32_t milliseconds) override { sleeps.push_back(milliseconds); }
    uint64_t NowFileTime() override { return 4711; }
    std::vector<uint32_t> sleeps;
};

TEST(ClockSeam, AReplacedClockSleepsAndTellsTheTime)
{
    CountingClock clock;
    EXPECT_EQ(platform::ReplaceClock(&clock), nullptr);
    platform::SleepMs(60'000);
    platform::SleepMs(1);
    EXPECT_EQ(platform::NowFileTime(), 4711u);
    EXPECT_EQ(clock.sleeps, (std::vector<uint32_t>{60'000, 1}));
    EXPECT_EQ(platform::ReplaceClock(nullptr), &clock);
    EXPECT_NE(platform::NowFileTime(), 4711u);
}

TEST(ClockSeam, TheSystemsClockReallySleeps)
{
    const auto begin = std::chrono::steady_clock::now();
    platform::SleepMs(15);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(15));
    platform::SleepMs(0);
}

}  // namespace

}  // namespace velmora::test
