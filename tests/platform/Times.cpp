// FILETIME, its parts, DOS dates, and calendar time of the C library.
#include <cerrno>
#include <ctime>

#include "platform/Clock.h"
#include "tests/platform/PlatformTest.h"
#include "tests/support/TimeZone.h"
#include "tests/support/Wine.h"

namespace velmora::test {

namespace {

constexpr uint64_t k1970 = 116444736000000000;
constexpr uint64_t kSecond = 10'000'000;

uint64_t NumberOf(const SYSTEMTIME& parts)
{
    FILETIME time{};
    EXPECT_TRUE(SystemTimeToFileTime(&parts, &time)) << GetLastError();
    return Number(time);
}

TEST(Times, PartsBecomeTheNumbersOfKnownMoments)
{
    EXPECT_EQ(NumberOf(Parts(1601, 1, 1)), 0u);
    EXPECT_EQ(NumberOf(Parts(1970, 1, 1)), k1970);
    EXPECT_EQ(NumberOf(Parts(2000, 2, 29, 12, 30, 15, 250)), k1970 + uint64_t{951827415} * kSecond + 2'500'000);
    EXPECT_EQ(NumberOf(Parts(2038, 1, 19, 3, 14, 8)), k1970 + (uint64_t{1} << 31) * kSecond);
}

TEST(Times, PartsComeBackFromTheNumber)
{
    const FILETIME time = FileTime(k1970 + uint64_t{951827415} * kSecond + 2'509'999);
    SYSTEMTIME parts{};
    ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
    EXPECT_EQ(parts.wYear, 2000);
    EXPECT_EQ(parts.wMonth, 2);
    EXPECT_EQ(parts.wDay, 29);
    EXPECT_EQ(parts.wDayOfWeek, 2) << "a Tuesday";
    EXPECT_EQ(parts.wHour, 12);
    EXPECT_EQ(parts.wMinute, 30);
    EXPECT_EQ(parts.wSecond, 15);
    EXPECT_EQ(parts.wMilliseconds, 250);
}

TEST(Times, EveryDayOfFourCenturiesComesBack)
{
    SYSTEMTIME before = Parts(1600, 12, 31);
    for (uint64_t day = 0; day < 400 * 366; ++day) {
        const FILETIME time = FileTime(day * 86'400 * kSecond);
        SYSTEMTIME parts{};
        ASSERT_TRUE(FileTimeToSystemTime(&time, &parts));
        ASSERT_EQ(NumberOf(parts), day * 86'400 * kSecond);
        const bool nextDay = parts.wMonth == before.wMonth && parts.wDay == before.wDay + 1;
        const bool nextMonth = parts.wDay == 1 && (parts.wMonth == before.wMonth + 1 || (parts.wMonth == 1 && before.wMonth == 12));
        ASSERT_TRUE(nextDay || nextMonth) << day;
        before = parts;
    }
}

TEST(Times, PartsThatAreNoDateAre87)
{
    const SYSTEMTIME bad[] = {
        Parts(2024, 25, 1), Parts(2024, 0, 1),     Parts(2023, 2, 30),       Parts(2024, 4, 31),          Parts(2024, 1, 0),
        Parts(1600, 1, 1),  Parts(2024, 1, 1, 24), Parts(2024, 1, 1, 0, 60), Parts(2024, 1, 1, 0, 0, 60), Parts(2024, 1, 1, 0, 0, 0, 1000),
    };
    for (const SYSTEMTIME& parts : bad) {
        FILETIME time{};
        EXPECT_EQ(ErrorOf(SystemTimeToFileTime(&parts, &time)), ERROR_INVALID_PARAMETER);
    }
    const FILETIME negative = FileTime(uint64_t{1} << 63);
    SYSTEMTIME parts{};
    EXPECT_EQ(ErrorOf(FileTimeToSystemTime(&negative, &parts)), ERROR_INVALID_PARAMETER);
}

TEST(Times, The29thOfFebruaryOfACommonYearAndWhatNoNumberReachesAre87)
{
    // Wine gives every February 29 days, and knows no last year.
    if (RunsUnderWine()) GTEST_SKIP() << "Wine takes 2023-02-29 for 2023-03-01, and the year 30828 for one like others";
    for (const SYSTEMTIME& parts : {Parts(2023, 2, 29), Parts(1900, 2, 29), Parts(30828, 1, 1)}) {
        FILETIME time{};
        EXPECT_EQ(ErrorOf(SystemTimeToFileTime(&parts, &time)), ERROR_INVALID_PARAMETER) << parts.wYear;
    }
}

TEST(Times, TheWeekdayOfTheGivenPartsDoesNotCount)
{
    SYSTEMTIME parts = Parts(2024, 1, 1);
    parts.wDayOfWeek = 77;
    EXPECT_EQ(NumberOf(parts), NumberOf(Parts(2024, 1, 1)));
}

TEST(Times, DosDatesHaveEvenSeconds)
{
    WORD date = 0, time = 0;
    const FILETIME moment = FileTime(NumberOf(Parts(2024, 12, 31, 23, 59, 59)));
    ASSERT_TRUE(FileTimeToDosDateTime(&moment, &date, &time));
    EXPECT_EQ(date, (44 << 9) | (12 << 5) | 31);
    EXPECT_EQ(time, (23 << 11) | (59 << 5) | 29);
    const FILETIME first = FileTime(NumberOf(Parts(1980, 1, 1)));
    ASSERT_TRUE(FileTimeToDosDateTime(&first, &date, &time));
    EXPECT_EQ(date, (1 << 5) | 1);
    EXPECT_EQ(time, 0);
}

TEST(Times, DosDatesReachFrom1980To2107)
{
    WORD date = 0, time = 0;
    for (WORD year : {WORD{1979}, WORD{1601}}) {
        const FILETIME moment = FileTime(NumberOf(Parts(year, 12, 31)));
        EXPECT_EQ(ErrorOf(FileTimeToDosDateTime(&moment, &date, &time)), ERROR_INVALID_PARAMETER) << year;
    }
    const FILETIME last = FileTime(NumberOf(Parts(2107, 12, 31)));
    EXPECT_TRUE(FileTimeToDosDateTime(&last, &date, &time));
    EXPECT_EQ(date, (127 << 9) | (12 << 5) | 31);
}

TEST(Times, ADosDateBehind2107Is87)
{
    // Wine lets the year run over into nothing.
    if (RunsUnderWine()) GTEST_SKIP() << "Wine gives the year 2108 as 1980";
    WORD date = 0, time = 0;
    const FILETIME moment = FileTime(NumberOf(Parts(2108, 1, 1)));
    EXPECT_EQ(ErrorOf(FileTimeToDosDateTime(&moment, &date, &time)), ERROR_INVALID_PARAMETER);
}

TEST(Times, AreComparedByTheWholeNumber)
{
    const FILETIME low = FileTime(0xFFFFFFFF);
    const FILETIME high = FileTime(uint64_t{1} << 32);
    EXPECT_EQ(CompareFileTime(&low, &high), -1);
    EXPECT_EQ(CompareFileTime(&high, &low), 1);
    EXPECT_EQ(CompareFileTime(&high, &high), 0);
}

TEST(Times, NowIsBetweenTwoLooksAtTheClock)
{
    FILETIME first{}, last{};
    GetSystemTimeAsFileTime(&first);
    const uint64_t now = platform::NowFileTime();
    GetSystemTimeAsFileTime(&last);
    EXPECT_LE(Number(first), now);
    EXPECT_LE(now, Number(last));
    EXPECT_GT(now, k1970 + uint64_t{1'700'000'000} * kSecond);
}

// The C library's calendar time.

struct tm Calendar(int year, int month, int day, int hour = 0)
{
    struct tm parts = {};
    parts.tm_year = year - 1900;
    parts.tm_mon = month - 1;
    parts.tm_mday = day;
    parts.tm_hour = hour;
    parts.tm_isdst = -1;
    return parts;
}

TEST(CalendarTime, LocalTimeGoesThereAndBack)
{
    for (__time64_t moment :
         {INT64_C(86'400), INT64_C(951'827'415), INT64_C(1'720'000'000), INT64_C(4'102'444'800), INT64_C(32'000'000'000)}) {
        struct tm parts = {};
        ASSERT_EQ(_localtime64_s(&parts, &moment), 0);
        EXPECT_EQ(_mktime64(&parts), moment);
    }
}

TEST(CalendarTime, UniversalTimeIsTheCalendars)
{
    const __time64_t moment = 951827415;
    struct tm parts = {};
    ASSERT_EQ(_gmtime64_s(&parts, &moment), 0);
    EXPECT_EQ(parts.tm_year, 100);
    EXPECT_EQ(parts.tm_mon, 1);
    EXPECT_EQ(parts.tm_mday, 29);
    EXPECT_EQ(parts.tm_hour, 12);
    EXPECT_EQ(parts.tm_wday, 2);
    EXPECT_EQ(parts.tm_yday, 59);
}

TEST(CalendarTime, ItReachesFrom1970To3000)
{
    struct tm before = Calendar(1969, 12, 1);
    EXPECT_EQ(_mktime64(&before), -1);
    struct tm after = Calendar(3002, 1, 1);
    EXPECT_EQ(_mktime64(&after), -1);
    struct tm last = Calendar(3000, 12, 30);
    EXPECT_GT(_mktime64(&last), 0);
    struct tm parts = {};
    // Systems differ in whether the calendar has some hours before 1970 and behind the year 3000.
    for (__time64_t moment : {INT64_C(-86'400), INT64_C(-864'000), INT64_C(32'550'000'000), INT64_C(40'000'000'000)}) {
        EXPECT_EQ(_gmtime64_s(&parts, &moment), EINVAL) << moment;
        EXPECT_EQ(parts.tm_year, -1);
        EXPECT_EQ(parts.tm_hour, -1);
    }
    const __time64_t far = 40'000'000'000;
    EXPECT_EQ(_localtime64_s(&parts, &far), EINVAL);
}

TEST(CalendarTime, ASummerDateIsReadByStandardOrDaylightTimeAsItSays)
{
    UseZone("EST5EDT");
    // 7 July 2011, 10:00.
    struct tm standard = Calendar(2011, 7, 7, 10);
    standard.tm_isdst = 0;
    EXPECT_EQ(_mktime64(&standard), 1310050800) << "15:00 UTC";
    EXPECT_EQ(standard.tm_hour, 11);
    EXPECT_EQ(standard.tm_isdst, 1);
    struct tm daylight = Calendar(2011, 7, 7, 10);
    daylight.tm_isdst = 1;
    EXPECT_EQ(_mktime64(&daylight), 1310047200) << "14:00 UTC";
    EXPECT_EQ(daylight.tm_hour, 10);
    EXPECT_EQ(daylight.tm_isdst, 1);
    struct tm winter = Calendar(2011, 2, 7, 10);
    winter.tm_isdst = 0;
    EXPECT_EQ(_mktime64(&winter), 1297090800) << "15:00 UTC";
    EXPECT_EQ(winter.tm_hour, 10);
    EXPECT_EQ(winter.tm_isdst, 0);
    UseZone(nullptr);
}

TEST(CalendarTime, PartsOutOfTheirRangeAreCarried)
{
    struct tm parts = Calendar(2024, 1, 32);
    EXPECT_GT(_mktime64(&parts), 0);
    EXPECT_EQ(parts.tm_mon, 1);
    EXPECT_EQ(parts.tm_mday, 1);
}

TEST(CaseBlindCompare, IsByLowerCaseBytes)
{
    EXPECT_EQ(_stricmp("Index.XML", "iNDEX.xml"), 0);
    EXPECT_LT(_stricmp("a", "B"), 0);
    EXPECT_GT(_stricmp("_", "A") * -1, 0) << "\"_\" stands before the lower-case letters";
    EXPECT_LT(_stricmp("ab", "abc"), 0);
    EXPECT_EQ(_strnicmp("abcdef", "ABCxyz", 3), 0);
    EXPECT_NE(_strnicmp("abcdef", "ABCxyz", 4), 0);
    EXPECT_EQ(_strnicmp("a", "b", 0), 0);
}

}  // namespace

}  // namespace velmora::test
