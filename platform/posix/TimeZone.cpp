// The rules of the local time zone, in the form that GetTimeZoneInformation gives them.
//
// The C library knows the zone as a list of changes. Those of the present year are looked for, and each is described as
// a rule: the n-th weekday of a month at an hour of the time that ends with it.
#include <ctime>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/Clock.h"
#include "platform/posix/FileTimes.h"
#include "platform/posix/LocalTime.h"
#include "platform/win32.h"

namespace velmora::platform {

namespace {

constexpr time_t kWeek = 7 * 86'400;

struct tm LocalParts(time_t when)
{
    struct tm parts {};
    LocalTime(&when, &parts);
    return parts;
}

// Seconds east of Greenwich.
long OffsetAt(time_t when)
{
    struct tm parts {};
    localtime_r(&when, &parts);
    return parts.tm_gmtoff;
}

// The first second in (from, to] whose offset differs from that of `from`; they do differ at the ends.
time_t FindChange(time_t from, time_t to)
{
    const long before = OffsetAt(from);
    while (to - from > 1) {
        const time_t middle = from + (to - from) / 2;
        (OffsetAt(middle) == before ? from : to) = middle;
    }
    return to;
}

// A change as a rule of every year: 5 stands for the last such weekday of the month.
SYSTEMTIME RuleOf(time_t change)
{
    constexpr int kShortestMonthSafe[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const time_t wallClock = change + OffsetAt(change - 1);
    struct tm parts {};
    gmtime_r(&wallClock, &parts);
    const int week = (parts.tm_mday - 1) / 7 + 1;
    const bool last = parts.tm_mday + 7 > kShortestMonthSafe[parts.tm_mon];
    SYSTEMTIME rule{};
    rule.wMonth = static_cast<WORD>(parts.tm_mon + 1);
    rule.wDayOfWeek = static_cast<WORD>(parts.tm_wday);
    rule.wDay = static_cast<WORD>(last ? 5 : week);
    rule.wHour = static_cast<WORD>(parts.tm_hour);
    rule.wMinute = static_cast<WORD>(parts.tm_min);
    return rule;
}

void WidenName(WCHAR (&field)[32], const char* name)
{
    const size_t length = name ? strnlen(name, 31) : 0;
    std::transform(name, name + length, field, [](char c) { return static_cast<WCHAR>(static_cast<unsigned char>(c)); });
    field[length] = 0;
}

time_t YearBegin(time_t now, int yearsOn)
{
    struct tm parts = LocalParts(now);
    parts = {.tm_sec = 0,
             .tm_min = 0,
             .tm_hour = 0,
             .tm_mday = 1,
             .tm_mon = 0,
             .tm_year = parts.tm_year + yearsOn,
             .tm_wday = 0,
             .tm_yday = 0,
             .tm_isdst = -1,
             .tm_gmtoff = 0,
             .tm_zone = nullptr};
    return mktime(&parts);
}

LONG BiasMinutes(const struct tm& parts) { return static_cast<LONG>(-parts.tm_gmtoff / 60); }

DWORD Describe(time_t now, const struct tm& present, TIME_ZONE_INFORMATION& zone)
{
    zone = {};
    zone.Bias = BiasMinutes(present);
    WidenName(zone.StandardName, present.tm_zone);
    WidenName(zone.DaylightName, present.tm_zone);

    // Looked at week by week: a zone may change more than twice in a year (a month of fasting); the last two changes count.
    const time_t end = YearBegin(now, 1);
    bool toStandard = false;
    bool toDaylight = false;
    struct tm winter = present;
    struct tm summer = present;
    time_t to = YearBegin(now, 0);
    struct tm after = LocalParts(to);
    while (to < end) {
        const time_t from = to;
        to = std::min(from + kWeek, end);
        const struct tm before = after;
        after = LocalParts(to);
        if (before.tm_gmtoff == after.tm_gmtoff || before.tm_isdst == after.tm_isdst) continue;
        const SYSTEMTIME rule = RuleOf(FindChange(from, to));
        if (after.tm_isdst > 0) {
            zone.DaylightDate = rule;
            summer = after;
            toDaylight = true;
        } else {
            zone.StandardDate = rule;
            winter = after;
            toStandard = true;
        }
    }
    if (!toStandard || !toDaylight) {
        zone.StandardDate = zone.DaylightDate = {};
        return TIME_ZONE_ID_UNKNOWN;
    }
    zone.Bias = BiasMinutes(winter);
    zone.DaylightBias = BiasMinutes(summer) - zone.Bias;
    WidenName(zone.StandardName, winter.tm_zone);
    WidenName(zone.DaylightName, summer.tm_zone);
    return present.tm_isdst > 0 ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

// What was described last and for what. A year is walked through for it, which is not done twice in an hour: the zone is
// another one where TZ says so, or where the present clock does. A new zone file that leaves both as they are may be late.
struct KnownZone {
    char variable[128] = {};
    bool named = false;
    time_t hour = 0;
    long offset = 0;
    int daylight = 0;

    bool known = false;
    DWORD season = TIME_ZONE_ID_UNKNOWN;
    TIME_ZONE_INFORMATION zone = {};
};

bool IsOf(const KnownZone& kept, const char* variable, time_t hour, const struct tm& present)
{
    return kept.known && kept.named == (variable != nullptr) && kept.hour == hour && kept.offset == present.tm_gmtoff &&
           kept.daylight == present.tm_isdst && (!variable || std::strcmp(kept.variable, variable) == 0);
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone)
{
    tzset();
    const time_t now = StampOf(NowFileTime()).tv_sec;
    const time_t hour = now / 3600;
    const struct tm present = LocalParts(now);
    const char* const variable = std::getenv("TZ");

    thread_local KnownZone kept;
    if (!IsOf(kept, variable, hour, present)) {
        kept.season = Describe(now, present, kept.zone);
        kept.known = !variable || std::strlen(variable) < sizeof kept.variable;
        kept.named = variable != nullptr;
        if (variable && kept.known) std::strcpy(kept.variable, variable);
        kept.hour = hour;
        kept.offset = present.tm_gmtoff;
        kept.daylight = present.tm_isdst;
    }
    *zone = kept.zone;
    return kept.season;
}
