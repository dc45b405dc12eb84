#include "platform/Clock.h"

#include <atomic>
#include <cerrno>
#include <ctime>

#include "platform/posix/FileTimes.h"

namespace velmora::platform {

namespace {

std::atomic<Clock*> replacement{nullptr};

void SystemSleep(uint32_t milliseconds)
{
    timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

}  // namespace

Clock* ReplaceClock(Clock* clock) { return replacement.exchange(clock, std::memory_order_acq_rel); }

void SleepMs(uint32_t milliseconds)
{
    if (Clock* clock = replacement.load(std::memory_order_acquire)) {
        clock->Sleep(milliseconds);
    } else {
        SystemSleep(milliseconds);
    }
}

uint64_t NowFileTime()
{
    if (Clock* clock = replacement.load(std::memory_order_acquire)) return clock->NowFileTime();
    return SystemNow();
}

}  // namespace velmora::platform
