#include "platform/posix/LocalTime.h"

#include <cstring>

namespace velmora::platform {

namespace {

// What one year of the zone has, where the zone's "daylight" time stands behind its standard time.
struct Year {
    char zone[16] = {};
    int number = 0;
    long offset = 0;
    bool known = false;
    bool inverted = false;
    long winterOffset = 0;  // seconds east of Greenwich of the clock that stands behind, and of the one ahead
    long summerOffset = 0;
};

// Looks at the year around `when` every ten days: no zone keeps a daylight time for less.
void Describe(time_t when, const struct tm& parts, Year& year)
{
    constexpr time_t kStep = 10 * 86'400;
    const time_t begin = when - static_cast<time_t>(parts.tm_yday) * 86'400;
    year.inverted = false;
    for (time_t moment = begin; moment < begin + 366 * time_t{86'400}; moment += kStep) {
        struct tm other {};
        if (!localtime_r(&moment, &other) || (other.tm_isdst > 0) == (parts.tm_isdst > 0)) continue;
        const long standard = parts.tm_isdst > 0 ? other.tm_gmtoff : parts.tm_gmtoff;
        const long daylight = parts.tm_isdst > 0 ? parts.tm_gmtoff : other.tm_gmtoff;
        year.inverted = daylight < standard;
        year.winterOffset = daylight;
        year.summerOffset = standard;
        if (year.inverted) return;
    }
}

// The year of `parts`, which are those of `when`. The last one is kept: messages of a folder come year by year.
const Year& YearOf(time_t when, const struct tm& parts)
{
    thread_local Year kept;
    const char* const zone = parts.tm_zone ? parts.tm_zone : "";
    if (kept.known && kept.number == parts.tm_year && kept.offset == parts.tm_gmtoff &&
        std::strncmp(kept.zone, zone, sizeof kept.zone - 1) == 0)
        return kept;
    Describe(when, parts, kept);
    std::strncpy(kept.zone, zone, sizeof kept.zone - 1);
    kept.number = parts.tm_year;
    kept.offset = parts.tm_gmtoff;
    kept.known = true;
    return kept;
}

}  // namespace

struct tm* LocalTime(const time_t* when, struct tm* parts)
{
    if (!localtime_r(when, parts)) return nullptr;
    const Year& year = YearOf(*when, *parts);
    if (year.inverted) parts->tm_isdst = parts->tm_gmtoff == year.summerOffset ? 1 : 0;
    return parts;
}

time_t SecondsOfLocalTime(struct tm& parts)
{
    struct tm wall = parts;
    const time_t asUtc = timegm(&wall);
    struct tm local {};
    const Year* const year = parts.tm_isdst >= 0 && localtime_r(&asUtc, &local) ? &YearOf(asUtc, local) : nullptr;
    if (!year || !year->inverted) return mktime(&parts);
    const time_t seconds = asUtc - (parts.tm_isdst > 0 ? year->summerOffset : year->winterOffset);
    return LocalTime(&seconds, &parts) ? seconds : time_t{-1};
}

}  // namespace velmora::platform
