#include "platform/Clock.h"

#include <atomic>

#include "platform/shared/SystemClock.h"

namespace velmora::platform {

namespace {

std::atomic<Clock*> replacement{nullptr};

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
