#include "platform/posix/LocalTime.h"

#include <cstring>

namespace velmora::platform {

namespace {

constexpr long kHour = 3600;

// What one year of the zone has, where the zone's "daylight" time stands behind its standard time.
struct Year {
    // What it is found by: the parts of a moment in it, as the zone data tell them. Two zones that agree in these, but not in
    // the rest of the year, are one to a thread that goes from the first to the second; a process keeps its zone.
    char zone[16] = {};
    int number = 0;
    long offset = 0;
    bool daylight = false;

    bool known = false;
    bool inverted = false;
    long winterOffset = 0;  // seconds east of Greenwich of the clock that stands behind, and of the one ahead
    long summerOffset = 0;
    bool standardMoves = false;  // of a year of daylight time: the standard times before and behind it are not the same
};

// Looks at the year around `when` every six days: the shortest time that a zone has kept is a standard time of a week.
void Describe(time_t when, const struct tm& parts, Year& year)
{
    constexpr time_t kStep = 6 * 86'400;
    const time_t begin = when - static_cast<time_t>(parts.tm_yday) * 86'400;
    const time_t end = begin + 366 * time_t{86'400};
    // In the south a daylight time reaches over the turn of the year.
    const time_t margin = parts.tm_isdst > 0 ? 30 * kStep : 0;
    year.inverted = false;
    year.standardMoves = false;
    bool standardSeen = false;
    long standardOffset = 0;
    for (time_t moment = begin - margin; moment < end + margin; moment += kStep) {
        struct tm other {};
        if (!localtime_r(&moment, &other)) continue;
        if (other.tm_isdst <= 0) {
            // A daylight time with the very clock of this standard time belongs to another one, which may be far off.
            const bool differs = standardSeen && other.tm_gmtoff != standardOffset;
            if (differs || (parts.tm_isdst > 0 && other.tm_gmtoff == parts.tm_gmtoff)) year.standardMoves = true;
            standardOffset = other.tm_gmtoff;
            standardSeen = true;
        }
        if (year.inverted || moment < begin || moment >= end || (other.tm_isdst > 0) == (parts.tm_isdst > 0)) continue;
        const long standard = parts.tm_isdst > 0 ? other.tm_gmtoff : parts.tm_gmtoff;
        const long daylight = parts.tm_isdst > 0 ? parts.tm_gmtoff : other.tm_gmtoff;
        year.inverted = daylight < standard;
        year.winterOffset = daylight;
        year.summerOffset = standard;
    }
}

// Years that were looked at, the oldest making room. A thread needs two entries for the summer and winter of a year, and has
// as many for the year or the zone next to it.
struct KnownYears {
    static constexpr size_t kSize = 4;
    Year years[kSize];
    size_t next = 0;
};

bool IsOf(const Year& year, const char* zone, const struct tm& parts)
{
    return year.known && year.number == parts.tm_year && year.offset == parts.tm_gmtoff && year.daylight == (parts.tm_isdst > 0) &&
           std::strncmp(year.zone, zone, sizeof year.zone - 1) == 0;
}

// The year of `parts`, which are those of `when`. Stays the same until the thread asks again.
const Year& YearOf(time_t when, const struct tm& parts)
{
    thread_local KnownYears kept;
    const char* const zone = parts.tm_zone ? parts.tm_zone : "";
    for (const Year& year : kept.years)
        if (IsOf(year, zone, parts)) return year;
    Year& year = kept.years[kept.next];
    kept.next = (kept.next + 1) % KnownYears::kSize;
    Describe(when, parts, year);
    std::strncpy(year.zone, zone, sizeof year.zone - 1);
    year.number = parts.tm_year;
    year.offset = parts.tm_gmtoff;
    year.daylight = parts.tm_isdst > 0;
    year.known = true;
    return year;
}

// Whether a wall clock time, told by its seconds as UTC, falls in a daylight time between two different standard times, and
// the offset of the standard time that this daylight time is an hour ahead of. The C library takes that of the nearer one.
bool StandardOffsetOfDaylight(time_t asUtc, long offset, long& standard)
{
    const time_t moment = asUtc - offset;
    struct tm parts {};
    if (!localtime_r(&moment, &parts) || parts.tm_isdst <= 0 || !YearOf(moment, parts).standardMoves) return false;
    standard = parts.tm_gmtoff - kHour;
    return true;
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
    if (parts.tm_isdst < 0 || !localtime_r(&asUtc, &local)) return mktime(&parts);
    const Year& year = YearOf(asUtc, local);
    long offset = 0;
    if (year.inverted) {
        offset = parts.tm_isdst > 0 ? year.summerOffset : year.winterOffset;
    } else if (parts.tm_isdst > 0 || !StandardOffsetOfDaylight(asUtc, local.tm_gmtoff, offset)) {
        return mktime(&parts);
    }
    const time_t seconds = asUtc - offset;
    return LocalTime(&seconds, &parts) ? seconds : time_t{-1};
}

}  // namespace velmora::platform
