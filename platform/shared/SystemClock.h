// The system's own clock, behind the clock seam; each side defines it.
#ifndef VELMORA_PLATFORM_SHARED_SYSTEMCLOCK_H
#define VELMORA_PLATFORM_SHARED_SYSTEMCLOCK_H

#include <cstdint>

namespace velmora::platform {

void SystemSleep(uint32_t milliseconds);
uint64_t SystemNow();  // a FILETIME number

}  // namespace velmora::platform

#endif
