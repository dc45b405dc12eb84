// The rules of the local zone, for zones whose rules are known.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "platform/win32.h"

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

}  // namespace

}  // namespace velmora::test
