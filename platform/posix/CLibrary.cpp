// Names of the Windows C library: calendar time in the range that it has, and comparisons without regard to case.
#include <cerrno>
#include <cstring>
#include <ctime>

#include "platform/posix/LocalTime.h"
#include "platform/shared/Ascii.h"
#include "platform/win32.h"

namespace velmora::platform {

namespace {

constexpr int64_t kEndOfYear3000 = INT64_C(32'535'215'999);

bool InRange(int64_t seconds) { return seconds >= 0 && seconds <= kEndOfYear3000; }

using Convert = struct tm* (*)(const time_t*, struct tm*);

errno_t ToParts(struct tm* parts, const __time64_t* time, Convert convert)
{
    if (!parts) return EINVAL;
    if (time && InRange(*time)) {
        const auto seconds = static_cast<time_t>(*time);
        if (convert(&seconds, parts)) return 0;
    }
    *parts = {};
    parts->tm_sec = parts->tm_min = parts->tm_hour = parts->tm_mday = parts->tm_mon = parts->tm_year = -1;
    parts->tm_wday = parts->tm_yday = parts->tm_isdst = -1;
    return EINVAL;
}

// The seconds of a time that the zone has in its standard time, and only there: true in nearly every case. The C library's
// mktime looks at the zone's file at every call where TZ is not set, which costs more than reading a message's header.
bool PlainStandardSeconds(struct tm& parts, int64_t& seconds)
{
    if (parts.tm_isdst != 0) return false;
    struct tm wall = parts;
    const time_t asUtc = timegm(&wall);
    struct tm local {};
    if (!LocalTime(&asUtc, &local)) return false;
    const time_t guess = asUtc - local.tm_gmtoff;
    if (!LocalTime(&guess, &local) || local.tm_isdst != 0 || guess + local.tm_gmtoff != asUtc) return false;
    parts = local;
    seconds = guess;
    return true;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

__time64_t _mktime64(struct tm* parts)
{
    if (parts) {
        struct tm copy = *parts;
        int64_t seconds = 0;
        if (!PlainStandardSeconds(copy, seconds)) seconds = static_cast<int64_t>(SecondsOfLocalTime(copy));
        if (InRange(seconds)) {
            *parts = copy;
            return seconds;
        }
    }
    errno = EINVAL;
    return -1;
}

errno_t _localtime64_s(struct tm* parts, const __time64_t* time) { return ToParts(parts, time, LocalTime); }

errno_t _gmtime64_s(struct tm* parts, const __time64_t* time) { return ToParts(parts, time, gmtime_r); }

int _strnicmp(const char* a, const char* b, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const int difference = static_cast<unsigned char>(LowerByte(a[i])) - static_cast<unsigned char>(LowerByte(b[i]));
        if (difference != 0 || a[i] == '\0') return difference;
    }
    return 0;
}

int _stricmp(const char* a, const char* b) { return _strnicmp(a, b, SIZE_MAX); }
