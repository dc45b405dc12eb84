// A clock that a test owns: sleeping takes no time, is counted, and moves the clock on.
#ifndef VELMORA_TESTS_SUPPORT_FAKECLOCK_H
#define VELMORA_TESTS_SUPPORT_FAKECLOCK_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/Clock.h"

namespace velmora::test {

class FakeClock : public platform::Clock {
public:
    FakeClock();  // starts at the real present time and puts itself in place
    ~FakeClock() override;

    void Sleep(uint32_t milliseconds) override;
    uint64_t NowFileTime() override { return now_; }

    void SetNow(uint64_t fileTime) { now_ = fileTime; }
    // Every sleep so far, in milliseconds, in order. Not to be read while another thread may sleep.
    const std::vector<uint32_t>& Sleeps() const { return sleeps_; }
    // Runs inside the n-th sleep (from 1) and later ones, with its number: a test changes the world there.
    std::function<void(size_t)> onSleep;

private:
    std::atomic<uint64_t> now_;
    std::mutex mutex_;
    std::vector<uint32_t> sleeps_;
    platform::Clock* before_;
};

}  // namespace velmora::test

#endif
