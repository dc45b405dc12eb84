// The rules of the local zone, for zones whose rules are known.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <iterator>
#include <string>

#include "platform/win32.h"
#include "tests/support/FakeClock.h"

namespace {

size_t looks = 0;

}  // namespace

// The linker hands the platform's looks at the zone to this (tests/CMakeLists.txt names the call).
extern "C" {

struct tm* __real_localtime_r(const time_t* when, struct tm* parts);
struct tm* __wrap_localtime_r(const time_t* when, struct tm* parts)
{
    ++looks;
    return __real_localtime_r(when, parts);
}

}  // extern "C"

namespace velmora::test {

namespace {

class PosixTimeZone : public testing::Test {
protected:
    static DWORD InZone(const char* name, TIME_ZONE_INFORMATION& zone)
    {
        setenv("TZ", name, 1);
        return GetTimeZoneInformation(&zone);
    }
    ~PosixTimeZone() override
    {
        unsetenv("TZ");
        tzset();
    }
};

std::string Narrow(const WCHAR* text)
{
    std::string bytes;
    for (; *text; ++text) bytes += static_cast<char>(*text);
    return bytes;
}

void ExpectRule(const SYSTEMTIME& rule, WORD month, WORD week, WORD hour)
{
    EXPECT_EQ(rule.wYear, 0);
    EXPECT_EQ(rule.wMonth, month);
    EXPECT_EQ(rule.wDay, week);
    EXPECT_EQ(rule.wDayOfWeek, 0) << "Sunday";
    EXPECT_EQ(rule.wHour, hour);
}

// Zones are given as rules, not by name: the machine need not have the zone files.
TEST_F(PosixTimeZone, CentralEuropeChangesOnLastSundays)
{
    TIME_ZONE_INFORMATION zone;
    const DWORD now = InZone("CET-1CEST,M3.5.0,M10.5.0/3", zone);
    EXPECT_TRUE(now == TIME_ZONE_ID_STANDARD || now == TIME_ZONE_ID_DAYLIGHT);
    EXPECT_EQ(zone.Bias, -60);
    EXPECT_EQ(zone.StandardBias, 0);
    EXPECT_EQ(zone.DaylightBias, -60);
    EXPECT_EQ(Narrow(zone.StandardName), "CET");
    EXPECT_EQ(Narrow(zone.DaylightName), "CEST");
    ExpectRule(zone.DaylightDate, 3, 5, 2);
    ExpectRule(zone.StandardDate, 10, 5, 3);
}

TEST_F(PosixTimeZone, EasternTimeChangesOnNumberedSundays)
{
    TIME_ZONE_INFORMATION zone;
    InZone("EST5EDT,M3.2.0,M11.1.0", zone);
    EXPECT_EQ(zone.Bias, 300);
    EXPECT_EQ(zone.DaylightBias, -60);
    ExpectRule(zone.DaylightDate, 3, 2, 2);
    ExpectRule(zone.StandardDate, 11, 1, 2);
}

TEST_F(PosixTimeZone, TheSouthHasItsSummerOverTheTurnOfTheYear)
{
    TIME_ZONE_INFORMATION zone;
    InZone("AEST-10AEDT,M10.1.0,M4.1.0/3", zone);
    EXPECT_EQ(zone.Bias, -600);
    EXPECT_EQ(zone.DaylightBias, -60);
    ExpectRule(zone.DaylightDate, 10, 1, 2);
    ExpectRule(zone.StandardDate, 4, 1, 3);
}

TEST_F(PosixTimeZone, AZoneWithoutChangesHasNoRules)
{
    TIME_ZONE_INFORMATION zone;
    EXPECT_EQ(InZone("IST-5:30", zone), TIME_ZONE_ID_UNKNOWN);
    EXPECT_EQ(zone.Bias, -330);
    EXPECT_EQ(zone.DaylightDate.wMonth, 0);
    EXPECT_EQ(zone.StandardDate.wMonth, 0);
    EXPECT_EQ(InZone("UTC0", zone), TIME_ZONE_ID_UNKNOWN);
    EXPECT_EQ(zone.Bias, 0);
}

// Ireland tells its winter as the exception: standard time is that of summer.
constexpr char kDublin[] = "IST-1GMT0,M10.5.0,M3.5.0/1";

TEST_F(PosixTimeZone, SummerIsTheLaterClockAlsoWhereWinterIsTheException)
{
    TIME_ZONE_INFORMATION zone;
    InZone(kDublin, zone);
    EXPECT_EQ(zone.Bias, 0);
    EXPECT_EQ(zone.DaylightBias, -60);
    EXPECT_EQ(Narrow(zone.StandardName), "GMT");
    EXPECT_EQ(Narrow(zone.DaylightName), "IST");
    ExpectRule(zone.DaylightDate, 3, 5, 1);
    ExpectRule(zone.StandardDate, 10, 5, 2);
}

struct tm Fields(int month, int hour, int isDst)
{
    struct tm parts {};
    parts.tm_year = 124;
    parts.tm_mon = month;
    parts.tm_mday = 15;
    parts.tm_hour = hour;
    parts.tm_isdst = isDst;
    return parts;
}

constexpr __time64_t kTenInJanuary = 1705312800;  // 2024-01-15 10:00 UTC
constexpr __time64_t kTenInJuly = 1721037600;     // 2024-07-15 10:00 UTC

TEST_F(PosixTimeZone, FieldsAreReadAndGivenInThatClock)
{
    setenv("TZ", kDublin, 1);
    tzset();
    struct tm january = Fields(0, 10, 0);
    EXPECT_EQ(_mktime64(&january), kTenInJanuary);
    EXPECT_EQ(january.tm_isdst, 0);
    EXPECT_EQ(january.tm_hour, 10);
    struct tm july = Fields(6, 10, 0);
    EXPECT_EQ(_mktime64(&july), kTenInJuly);
    EXPECT_EQ(july.tm_isdst, 1);
    EXPECT_EQ(july.tm_hour, 11);
    struct tm julyBySummerTime = Fields(6, 11, 1);
    EXPECT_EQ(_mktime64(&julyBySummerTime), kTenInJuly);
    struct tm julyByTheRules = Fields(6, 11, -1);
    EXPECT_EQ(_mktime64(&julyByTheRules), kTenInJuly);

    struct tm parts {};
    ASSERT_EQ(_localtime64_s(&parts, &kTenInJanuary), 0);
    EXPECT_EQ(parts.tm_isdst, 0);
    EXPECT_EQ(parts.tm_hour, 10);
    ASSERT_EQ(_localtime64_s(&parts, &kTenInJuly), 0);
    EXPECT_EQ(parts.tm_isdst, 1);
    EXPECT_EQ(parts.tm_hour, 11);
}

TEST_F(PosixTimeZone, AChangeOfTheZoneIsSeenAtOnce)
{
    struct tm parts {};
    for (int round = 0; round < 2; ++round) {
        setenv("TZ", "EST5EDT,M3.2.0,M11.1.0", 1);
        tzset();
        ASSERT_EQ(_localtime64_s(&parts, &kTenInJuly), 0);
        EXPECT_EQ(parts.tm_isdst, 1);
        EXPECT_EQ(parts.tm_hour, 6);
        setenv("TZ", kDublin, 1);
        tzset();
        ASSERT_EQ(_localtime64_s(&parts, &kTenInJuly), 0);
        EXPECT_EQ(parts.tm_isdst, 1);
        EXPECT_EQ(parts.tm_hour, 11);
    }
}

// Between two zones that have the same winter clock, and tell it the other way about.
TEST_F(PosixTimeZone, ZonesWithOneWinterClockAreKeptApart)
{
    struct tm parts {};
    for (int round = 0; round < 2; ++round) {
        for (const char* zone : {"GMT0BST,M3.5.0/1,M10.5.0", kDublin}) {
            setenv("TZ", zone, 1);
            tzset();
            ASSERT_EQ(_localtime64_s(&parts, &kTenInJanuary), 0);
            EXPECT_EQ(parts.tm_isdst, 0) << zone;
            EXPECT_EQ(parts.tm_hour, 10) << zone;
            ASSERT_EQ(_localtime64_s(&parts, &kTenInJuly), 0);
            EXPECT_EQ(parts.tm_isdst, 1) << zone;
            EXPECT_EQ(parts.tm_hour, 11) << zone;
        }
    }
}

// A year is looked at over its whole length, once for its summer and once for its winter.
TEST_F(PosixTimeZone, DatesThatComeByTurnsCostNoSecondLookAtTheirYears)
{
    constexpr __time64_t kYear = 365 * 86'400;
    const __time64_t dates[] = {kTenInJanuary, kTenInJuly, kTenInJanuary - kYear, kTenInJuly - kYear};
    for (const char* zone : {"CET-1CEST,M3.5.0,M10.5.0/3", kDublin}) {
        setenv("TZ", zone, 1);
        tzset();
        struct tm parts {};
        looks = 0;
        for (const __time64_t date : dates) ASSERT_EQ(_localtime64_s(&parts, &date), 0);
        EXPECT_GT(looks, std::size(dates)) << zone;
        looks = 0;
        constexpr size_t kRounds = 100;
        for (size_t round = 0; round < kRounds; ++round) {
            for (const __time64_t date : dates) {
                ASSERT_EQ(_localtime64_s(&parts, &date), 0);
                EXPECT_EQ(parts.tm_mon == 6, parts.tm_isdst == 1) << zone;
            }
        }
        EXPECT_EQ(looks, kRounds * std::size(dates)) << zone;
    }
}

// A full hour of 2024, UTC, as a file time.
uint64_t NumberAt(WORD month, WORD day, WORD hour)
{
    SYSTEMTIME parts{};
    parts.wYear = 2024;
    parts.wMonth = month;
    parts.wDay = day;
    parts.wHour = hour;
    FILETIME time{};
    EXPECT_TRUE(SystemTimeToFileTime(&parts, &time));
    return (uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

TEST_F(PosixTimeZone, TheSeasonIsThatOfTheClock)
{
    FakeClock clock;
    TIME_ZONE_INFORMATION zone;
    clock.SetNow(NumberAt(1, 15, 10));
    EXPECT_EQ(InZone("CET-1CEST,M3.5.0,M10.5.0/3", zone), TIME_ZONE_ID_STANDARD);
    clock.SetNow(NumberAt(7, 15, 10));
    EXPECT_EQ(InZone("CET-1CEST,M3.5.0,M10.5.0/3", zone), TIME_ZONE_ID_DAYLIGHT);
    EXPECT_EQ(InZone("AEST-10AEDT,M10.1.0,M4.1.0/3", zone), TIME_ZONE_ID_STANDARD);
    EXPECT_EQ(zone.Bias, -600);
    // 31 March 2024, one hour UTC.
    clock.SetNow(NumberAt(3, 31, 1) - 1);
    EXPECT_EQ(InZone("CET-1CEST,M3.5.0,M10.5.0/3", zone), TIME_ZONE_ID_STANDARD);
    clock.SetNow(NumberAt(3, 31, 1));
    EXPECT_EQ(InZone("CET-1CEST,M3.5.0,M10.5.0/3", zone), TIME_ZONE_ID_DAYLIGHT);
}

// A year is walked through to describe a zone.
TEST_F(PosixTimeZone, IsDescribedOnceAnHour)
{
    FakeClock clock;
    clock.SetNow(NumberAt(7, 15, 10));
    TIME_ZONE_INFORMATION first, again;
    looks = 0;
    const DWORD season = InZone("CET-1CEST,M3.5.0,M10.5.0/3", first);
    EXPECT_GT(looks, 50u);
    looks = 0;
    clock.SetNow(NumberAt(7, 15, 11) - 1);
    EXPECT_EQ(InZone("CET-1CEST,M3.5.0,M10.5.0/3", again), season);
    EXPECT_EQ(looks, 1u) << "at the present clock";
    EXPECT_EQ(again.Bias, first.Bias);
    EXPECT_EQ(again.DaylightBias, first.DaylightBias);
    EXPECT_EQ(Narrow(again.DaylightName), "CEST");
    ExpectRule(again.DaylightDate, 3, 5, 2);
    ExpectRule(again.StandardDate, 10, 5, 3);
    clock.SetNow(NumberAt(7, 15, 11));
    InZone("CET-1CEST,M3.5.0,M10.5.0/3", again);
    EXPECT_GT(looks, 50u);
}

// The same clock now, but other rules; and none at all.
TEST_F(PosixTimeZone, AnotherZoneIsDescribedAnewWithinTheHour)
{
    FakeClock clock;
    clock.SetNow(NumberAt(1, 15, 10));
    TIME_ZONE_INFORMATION zone;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(InZone("EST5EDT,M3.2.0,M11.1.0", zone), TIME_ZONE_ID_STANDARD);
        ExpectRule(zone.DaylightDate, 3, 2, 2);
        EXPECT_EQ(InZone("EST5EDT,M4.1.0,M10.5.0", zone), TIME_ZONE_ID_STANDARD);
        ExpectRule(zone.DaylightDate, 4, 1, 2);
        EXPECT_EQ(InZone("EST5", zone), TIME_ZONE_ID_UNKNOWN);
        EXPECT_EQ(zone.DaylightDate.wMonth, 0);
        EXPECT_EQ(zone.Bias, 300);
    }
}

// A text of any length is a zone, though not one that is remembered.
TEST_F(PosixTimeZone, ALongNameIsAZoneToo)
{
    FakeClock clock;
    clock.SetNow(NumberAt(7, 15, 10));
    TIME_ZONE_INFORMATION zone;
    const std::string letters(300, 'A');
    for (int round = 0; round < 2; ++round) {
        InZone((letters + "-1" + letters + ",M3.5.0,M10.5.0/3").c_str(), zone);
        EXPECT_EQ(zone.Bias, -60);
        InZone((letters + "-2" + letters + ",M3.5.0,M10.5.0/3").c_str(), zone);
        EXPECT_EQ(zone.Bias, -120);
    }
}

// More years than are kept: every one is told right all the same.
TEST_F(PosixTimeZone, ManyYearsAreToldRight)
{
    setenv("TZ", kDublin, 1);
    tzset();
    struct tm parts {};
    for (int round = 0; round < 2; ++round) {
        for (int year = 1990; year < 2030; ++year) {
            // Mid-January and mid-July, give or take the leap days.
            const __time64_t january = kTenInJanuary + (year - 2024) * __time64_t{365} * 86'400;
            const __time64_t july = january + 182 * 86'400;
            ASSERT_EQ(_localtime64_s(&parts, &january), 0);
            EXPECT_EQ(parts.tm_isdst, 0) << year;
            EXPECT_EQ(parts.tm_hour, 10) << year;
            ASSERT_EQ(_localtime64_s(&parts, &july), 0);
            EXPECT_EQ(parts.tm_isdst, 1) << year;
            EXPECT_EQ(parts.tm_hour, 11) << year;
        }
    }
}

}  // namespace

}  // namespace velmora::test
