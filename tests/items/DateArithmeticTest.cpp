#include <gtest/gtest.h>

#include "items/CalendarArithmetic.h"
#include "platform/win32.h"

namespace velmora {
namespace {

constexpr int32_t kSunday = 0;
constexpr int32_t kMonday = 1;
constexpr int32_t kWednesday = 3;

TEST(DayOfWeek, IsThatOfTheCalendar)
{
    EXPECT_EQ(DayOfWeek(2, 7, 2011), kMonday);
    EXPECT_EQ(DayOfWeek(1, 1, 2000), 6);
    EXPECT_EQ(DayOfWeek(2, 29, 2000), 2);
    EXPECT_EQ(DayOfWeek(3, 1, 1900), 4);
    EXPECT_EQ(DayOfWeek(12, 31, 1999), 5);
}

TEST(DayOfWeek, AgreesWithTheSystemOnEveryDayOfFourCenturies)
{
    constexpr uint64_t kTicksPerDay = UINT64_C(864000000000);
    for (uint64_t day = 0; day < 400 * 366; ++day) {
        const uint64_t ticks = day * kTicksPerDay;
        FILETIME time;
        time.dwLowDateTime = static_cast<DWORD>(ticks);
        time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
        SYSTEMTIME date;
        ASSERT_TRUE(FileTimeToSystemTime(&time, &date));
        ASSERT_EQ(DayOfWeek(date.wMonth, date.wDay, date.wYear), date.wDayOfWeek) << date.wYear << '-' << date.wMonth << '-' << date.wDay;
    }
}

TEST(DayOfWeek, CountsOnBeyondTheMonth) { EXPECT_EQ(DayOfWeek(1, 32, 2012), DayOfWeek(2, 1, 2012)); }

TEST(DayOfWeek, CountsOnBeyondTheYear)
{
    for (const int32_t year : {1999, 2000, 2011, 2012}) {
        for (int32_t month = -9; month <= 0; ++month) EXPECT_EQ(DayOfWeek(month, 7, year), DayOfWeek(month + 12, 7, year - 1)) << month;
        for (const int32_t month : {13, 14}) EXPECT_EQ(DayOfWeek(month, 7, year), DayOfWeek(month - 12, 7, year + 1)) << month;
    }
}

TEST(DayOfWeek, NumbersFarOffStayInBounds)
{
    for (const int32_t year : {INT32_MIN, -401, -1, 0, 30828, INT32_MAX}) {
        for (const int32_t day : {INT32_MIN, 0, 1, INT32_MAX}) {
            EXPECT_GE(DayOfWeek(1, day, year), 0);
            EXPECT_LE(DayOfWeek(12, day, year), 6);
        }
    }
    for (const int32_t month : {INT32_MIN, -10, 15, INT32_MAX - 12, INT32_MAX}) {
        EXPECT_GE(DayOfWeek(month, 1, 2011), 0) << month;
        EXPECT_LE(DayOfWeek(month, 1, 2011), 6) << month;
    }
}

TEST(DaysInMonth, AreThoseOfACommonYear)
{
    const int32_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int32_t month = 1; month <= 12; ++month) EXPECT_EQ(DaysInMonth(2011, month), days[month - 1]) << month;
}

TEST(DaysInMonth, JanuaryHasTheDayOfALeapYear)
{
    EXPECT_EQ(DaysInMonth(2012, 1), 32);
    EXPECT_EQ(DaysInMonth(2012, 2), 28);
    EXPECT_EQ(DaysInMonth(2000, 1), 32);
    EXPECT_EQ(DaysInMonth(1900, 1), 31);
    EXPECT_EQ(DaysInMonth(2100, 1), 31);
    for (int32_t month = 2; month <= 12; ++month) EXPECT_EQ(DaysInMonth(2012, month), DaysInMonth(2011, month)) << month;
}

TEST(DaysInMonth, OutsideTheYearThereAreNone)
{
    for (const int32_t month : {0, 13, -1, 255, INT32_MIN, INT32_MAX}) EXPECT_EQ(DaysInMonth(2012, month), 0) << month;
}

TEST(NthWeekday, IsTheNthOfTheMonth)
{
    // 1 May 2011 was a Sunday.
    EXPECT_EQ(NthWeekdayOfMonth(2011, 5, kSunday, 1), 1);
    EXPECT_EQ(NthWeekdayOfMonth(2011, 5, kSunday, 2), 8);
    EXPECT_EQ(NthWeekdayOfMonth(2011, 5, kSunday, 5), 29);
    EXPECT_EQ(NthWeekdayOfMonth(2011, 5, kMonday, 1), 2);
}

TEST(NthWeekday, IsTheLastWhenThereAreFewer)
{
    EXPECT_EQ(NthWeekdayOfMonth(2011, 2, kSunday, 5), 27);
    EXPECT_EQ(NthWeekdayOfMonth(2011, 2, kSunday, INT32_MAX), 27);
}

TEST(NthWeekday, IsTheLastForZeroAndBelow)
{
    for (const int32_t n : {0, -1, -2, INT32_MIN}) EXPECT_EQ(NthWeekdayOfMonth(2011, 5, kSunday, n), 29) << n;
}

TEST(NthWeekday, JanuaryOfALeapYearGoesTo32)
{
    EXPECT_EQ(NthWeekdayOfMonth(2012, 1, kWednesday, -1), 32);
    EXPECT_EQ(NthWeekdayOfMonth(2012, 1, kWednesday, 5), 32);
    EXPECT_EQ(NthWeekdayOfMonth(2012, 2, kWednesday, -1), 22) << "the 29th was a Wednesday";
}

TEST(NthWeekday, IsZeroWhereThereIsNone)
{
    for (const int32_t weekday : {7, 8, 64, -1, INT32_MAX}) EXPECT_EQ(NthWeekdayOfMonth(2011, 5, weekday, 1), 0) << weekday;
    for (const int32_t month : {0, 13, INT32_MIN}) EXPECT_EQ(NthWeekdayOfMonth(2011, month, kSunday, 1), 0) << month;
}

TEST(NthWeekday, YearsFarOffStayInTheMonth)
{
    for (const int32_t year : {INT32_MIN, -1, 0, INT32_MAX}) {
        const int32_t day = NthWeekdayOfMonth(year, 1, kSunday, 1);
        EXPECT_GE(day, 1);
        EXPECT_LE(day, 7);
    }
}

}  // namespace
}  // namespace velmora
