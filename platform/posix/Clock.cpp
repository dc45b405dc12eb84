#include <cerrno>
#include <ctime>

#include "platform/posix/FileTimes.h"
#include "platform/shared/SystemClock.h"

namespace velmora::platform {

void SystemSleep(uint32_t milliseconds)
{
    timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

uint64_t SystemNow()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return UnitsOf(now.tv_sec, static_cast<uint32_t>(now.tv_nsec));
}

}  // namespace velmora::platform
