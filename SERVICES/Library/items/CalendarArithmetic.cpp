#include "items/CalendarArithmetic.h"

namespace velmora {

namespace {

constexpr int32_t kDays[] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr int32_t kJanuary = 1;

bool IsMonth(int32_t month) { return month >= 1 && month <= 12; }

bool IsLeapYear(int32_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

}  // namespace

int32_t DayOfWeek(int32_t month, int32_t day, int32_t year)
{
    // January and February belong to the year before, as its 13th and 14th month.
    const int64_t m = month < 3 ? int64_t{month} + 12 : month;
    const int64_t y = month < 3 ? int64_t{year} - 1 : year;
    const int64_t days = day + 2 * m + 3 * (m + 1) / 5 + y + y / 4 - y / 100 + y / 400 + 1;
    return static_cast<int32_t>((days % 7 + 7) % 7);
}

int32_t DaysInMonth(int32_t year, int32_t month)
{
    if (!IsMonth(month)) return 0;
    return kDays[month] + (month == kJanuary && IsLeapYear(year) ? 1 : 0);
}

int32_t NthWeekdayOfMonth(int32_t year, int32_t month, int32_t weekday, int32_t n)
{
    int32_t found = 0;
    int32_t seen = 0;
    const int32_t days = DaysInMonth(year, month);
    for (int32_t day = 1; day <= days; ++day) {
        if (DayOfWeek(month, day, year) != weekday) continue;
        found = day;
        if (++seen == n) break;
    }
    return found;
}

}  // namespace velmora
