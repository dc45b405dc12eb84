// The one seam through which the library sleeps and asks for the time.
//
// Every wait and retry of the store goes through SleepMs, and every "now" through NowFileTime, so that a test can put a
// clock of its own in place: a wait of two minutes is then exercised in microseconds and its rounds are counted exactly.
#ifndef VELMORA_PLATFORM_CLOCK_H
#define VELMORA_PLATFORM_CLOCK_H

#include <cstdint>

namespace velmora::platform {

class Clock {
public:
    virtual ~Clock() = default;
    virtual void Sleep(uint32_t milliseconds) = 0;
    // The present UTC time as a FILETIME: 100 ns units since 1601-01-01.
    virtual uint64_t NowFileTime() = 0;
};

// Puts `clock` in place for the whole process, or the system's own clock back with null. Returns the one before (null
// for the system's own). Not for use while other threads are inside the library, except from a test that owns them.
Clock* ReplaceClock(Clock* clock);

void SleepMs(uint32_t milliseconds);
uint64_t NowFileTime();

}  // namespace velmora::platform

#endif
