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

}  // namespace

}  // namespace velmora::test
