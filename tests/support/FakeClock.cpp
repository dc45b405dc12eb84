#include "tests/support/FakeClock.h"

namespace velmora::test {

FakeClock::FakeClock() : now_(platform::NowFileTime()), before_(platform::ReplaceClock(this)) {}

FakeClock::~FakeClock() { platform::ReplaceClock(before_); }

void FakeClock::Sleep(uint32_t milliseconds)
{
    constexpr uint64_t kFileTimeUnitsPerMs = 10000;
    size_t number = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sleeps_.push_back(milliseconds);
        number = sleeps_.size();
    }
    now_ += milliseconds * kFileTimeUnitsPerMs;
    if (onSleep) onSleep(number);
}

}  // namespace velmora::test
