#include "platform/shared/SystemClock.h"
#include "platform/win32.h"

namespace velmora::platform {

void SystemSleep(uint32_t milliseconds) { Sleep(milliseconds); }

uint64_t SystemNow()
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return (uint64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
}

}  // namespace velmora::platform
