// FILETIME numbers: 100 ns units since 1601-01-01 UTC, made from and turned into the system's nanosecond stamps.
#ifndef VELMORA_PLATFORM_POSIX_FILETIMES_H
#define VELMORA_PLATFORM_POSIX_FILETIMES_H

#include <ctime>

#include "platform/win32.h"

namespace velmora::platform {

inline constexpr int64_t kUnitsPerSecond = 10'000'000;
inline constexpr int64_t kSecondsTo1970 = 11'644'473'600;  // from 1601-01-01

// A stamp before 1601 is 0, nanoseconds below a unit are cut.
inline uint64_t UnitsOf(int64_t seconds, uint32_t nanoseconds)
{
    const int64_t since1601 = seconds + kSecondsTo1970;
    if (since1601 < 0 || since1601 > INT64_MAX / kUnitsPerSecond - 1) return 0;
    return static_cast<uint64_t>(since1601 * kUnitsPerSecond + nanoseconds / 100);
}

inline timespec StampOf(uint64_t units)
{
    const auto signedUnits = static_cast<int64_t>(units & INT64_MAX);
    return {static_cast<time_t>(signedUnits / kUnitsPerSecond - kSecondsTo1970), static_cast<long>(signedUnits % kUnitsPerSecond) * 100};
}

inline FILETIME ToFileTime(uint64_t units) { return {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)}; }

inline uint64_t FromFileTime(const FILETIME& time) { return (uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime; }

}  // namespace velmora::platform

#endif
