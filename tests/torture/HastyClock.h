// The library's waits, divided by a number; the time is the real one.
#ifndef VELMORA_TESTS_TORTURE_HASTYCLOCK_H
#define VELMORA_TESTS_TORTURE_HASTYCLOCK_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <thread>

#include "platform/Clock.h"

namespace velmora::torture {

class HastyClock : public platform::Clock {
public:
    explicit HastyClock(uint64_t haste) : haste_(haste), before_(platform::ReplaceClock(this)) {}
    ~HastyClock() override { platform::ReplaceClock(before_); }
    HastyClock(const HastyClock&) = delete;
    HastyClock& operator=(const HastyClock&) = delete;

    void Sleep(uint32_t milliseconds) override
    {
        if (beforeSleep) beforeSleep();
        std::this_thread::sleep_for(std::chrono::microseconds(milliseconds * 1000 / haste_));
    }
    uint64_t NowFileTime() override
    {
        const auto sinceUnix = std::chrono::system_clock::now().time_since_epoch();
        return 116444736000000000ull + static_cast<uint64_t>(std::chrono::nanoseconds(sinceUnix).count() / 100);
    }

    std::function<void()> beforeSleep;  // set before other threads wait

private:
    const uint64_t haste_;
    platform::Clock* before_;
};

}  // namespace velmora::torture

#endif
