// Time in the Windows forms: FILETIME, its parts, and the DOS date and time.
#include "platform/posix/Errors.h"
#include "platform/posix/FileTimes.h"
#include "platform/shared/SystemClock.h"

namespace velmora::platform {

namespace {

constexpr int64_t kUnitsPerMillisecond = 10'000;
constexpr int64_t kSecondsPerDay = 86'400;
constexpr int64_t kDaysTo1970 = kSecondsTo1970 / kSecondsPerDay;
constexpr int kFirstYear = 1601;
constexpr int kLastYear = 30827;  // the last that a FILETIME reaches whole

// Days since 1970-01-01 of a date in the Gregorian calendar, counted in years that begin with March.
constexpr int64_t DaysOf(int64_t year, int month, int day)
{
    const int64_t marchYear = month <= 2 ? year - 1 : year;
    const int64_t era = marchYear / 400;
    const int64_t yearOfEra = marchYear - era * 400;
    const int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

static_assert(DaysOf(1970, 1, 1) == 0 && DaysOf(1601, 1, 1) == -kDaysTo1970 && DaysOf(2000, 3, 1) == 11017);

struct Date {
    int64_t year;
    int month;
    int day;
};

constexpr Date DateOf(int64_t days)
{
    const int64_t shifted = days + 719468;
    const int64_t era = shifted / 146097;
    const int64_t dayOfEra = shifted - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const auto dayOfYear = static_cast<int>(dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100));
    const int marchMonth = (5 * dayOfYear + 2) / 153;
    const int month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, dayOfYear - (153 * marchMonth + 2) / 5 + 1};
}

constexpr bool IsLeap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

constexpr int DaysInMonth(int year, int month)
{
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : kDays[month - 1];
}

bool IsValid(const SYSTEMTIME& parts)
{
    return parts.wYear >= kFirstYear && parts.wYear <= kLastYear && parts.wMonth >= 1 && parts.wMonth <= 12 && parts.wDay >= 1 &&
           parts.wDay <= DaysInMonth(parts.wYear, parts.wMonth) && parts.wHour < 24 && parts.wMinute < 60 && parts.wSecond < 60 &&
           parts.wMilliseconds < 1000;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

void GetSystemTimeAsFileTime(FILETIME* now) { *now = ToFileTime(SystemNow()); }

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts)
{
    const uint64_t units = FromFileTime(*time);
    if (units > INT64_MAX) return Fail(ERROR_INVALID_PARAMETER);
    const auto seconds = static_cast<int64_t>(units) / kUnitsPerSecond;
    const int64_t days = seconds / kSecondsPerDay;
    const auto secondOfDay = static_cast<int>(seconds % kSecondsPerDay);
    const Date date = DateOf(days - kDaysTo1970);
    parts->wYear = static_cast<WORD>(date.year);
    parts->wMonth = static_cast<WORD>(date.month);
    parts->wDay = static_cast<WORD>(date.day);
    parts->wDayOfWeek = static_cast<WORD>((days + 1) % 7);  // 1601 began on a Monday
    parts->wHour = static_cast<WORD>(secondOfDay / 3600);
    parts->wMinute = static_cast<WORD>(secondOfDay / 60 % 60);
    parts->wSecond = static_cast<WORD>(secondOfDay % 60);
    parts->wMilliseconds = static_cast<WORD>(static_cast<int64_t>(units) / kUnitsPerMillisecond % 1000);
    return TRUE;
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* parts, FILETIME* time)
{
    if (!IsValid(*parts)) return Fail(ERROR_INVALID_PARAMETER);
    const int64_t days = DaysOf(parts->wYear, parts->wMonth, parts->wDay) + kDaysTo1970;
    const int64_t seconds = days * kSecondsPerDay + parts->wHour * 3600 + parts->wMinute * 60 + parts->wSecond;
    *time = ToFileTime(static_cast<uint64_t>(seconds * kUnitsPerSecond + parts->wMilliseconds * kUnitsPerMillisecond));
    return TRUE;
}

BOOL FileTimeToDosDateTime(const FILETIME* time, LPWORD dosDate, LPWORD dosTime)
{
    constexpr int kDosFirstYear = 1980;
    constexpr int kDosLastYear = 2107;
    SYSTEMTIME parts;
    if (!FileTimeToSystemTime(time, &parts)) return FALSE;
    if (parts.wYear < kDosFirstYear || parts.wYear > kDosLastYear) return Fail(ERROR_INVALID_PARAMETER);
    *dosDate = static_cast<WORD>((parts.wYear - kDosFirstYear) << 9 | parts.wMonth << 5 | parts.wDay);
    *dosTime = static_cast<WORD>(parts.wHour << 11 | parts.wMinute << 5 | parts.wSecond / 2);
    return TRUE;
}

LONG CompareFileTime(const FILETIME* a, const FILETIME* b)
{
    const uint64_t left = FromFileTime(*a);
    const uint64_t right = FromFileTime(*b);
    return left < right ? -1 : left > right ? 1 : 0;
}
