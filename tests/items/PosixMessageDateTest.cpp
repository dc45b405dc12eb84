// Message dates in zones that only rules of this system's form describe.
#include <gtest/gtest.h>

#include <string>

#include "items/MessageDate.h"
#include "tests/support/TestStore.h"
#include "tests/support/TimeZone.h"

namespace velmora {
namespace {

std::string Parsed(const char* text)
{
    char result[64] = "untouched";
    return ParseMessageDate(text, result, sizeof result) ? result : "refused";
}

class MessageDateInOddZones : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { test::UseZone(GetParam()); }
    void TearDown() override { test::UseZone(nullptr); }
};

TEST_P(MessageDateInOddZones, TheTextIsTheMomentInUtcTheWholeYear)
{
    const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 0; month < 12; ++month) {
        const std::string number = (month < 9 ? "0" : "") + std::to_string(month + 1);
        const std::string header = std::string("15 ") + months[month] + " 2024 10:00:00 +0200";
        EXPECT_EQ(Parsed(header.c_str()), "2024-" + number + "-15T08:00:00") << GetParam();
    }
}

// Dublin, whose winter is the exception; the south; and summer all year round but for a month.
INSTANTIATE_TEST_SUITE_P(Zones, MessageDateInOddZones,
                         testing::Values("IST-1GMT0,M10.5.0,M3.5.0/1", "AEST-10AEDT,M10.1.0,M4.1.0/3", "<+01>-1<+00>0,M3.2.0/3,M4.2.0/2"),
                         [](const auto& tested) { return "Zone" + std::to_string(tested.index); });

// Kept: an hour is taken off for summer time whatever the zone's step is, so the island that moves by half an hour is half
// an hour behind in its summer.
TEST(MessageDateInAnOddZone, AZoneWithHalfAnHourOfSummerTimeIsHalfAnHourBehindInSummer)
{
    test::UseZone("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0");
    EXPECT_EQ(Parsed("15 Jan 2024 10:00:00 +0000"), "2024-01-15T09:30:00");
    EXPECT_EQ(Parsed("15 Jul 2024 10:00:00 +0000"), "2024-07-15T10:00:00");
    test::UseZone(nullptr);
}

// Kept: likewise two hours are an hour too many.
TEST(MessageDateInAnOddZone, AZoneWithTwoHoursOfSummerTimeIsAnHourAheadInSummer)
{
    test::UseZone("<+00>0<+02>-2,M3.5.0/1,M10.5.0/3");
    EXPECT_EQ(Parsed("15 Jan 2024 10:00:00 +0000"), "2024-01-15T10:00:00");
    EXPECT_EQ(Parsed("15 Jul 2024 10:00:00 +0000"), "2024-07-15T11:00:00");
    test::UseZone(nullptr);
}

struct MovedZone {
    const char* zone;
    const char* header;
    const char* moment;
};

// Zones whose standard time moved by an hour while it was summer, so that they did not turn their clocks back, and the one
// that moved by a day.
TEST(MessageDateInAnOddZone, AYearWithTwoStandardTimesIsUtcInItsSummerToo)
{
    const MovedZone years[] = {
        {"America/Whitehorse", "13 Jul 2020 08:33:31 +0000", "2020-07-13T08:33:31"},
        {"America/Whitehorse", "15 Jan 2020 08:33:31 +0000", "2020-01-15T08:33:31"},
        {"America/Whitehorse", "9 Mar 2020 08:33:31 -0700", "2020-03-09T15:33:31"},
        {"America/Whitehorse", "30 Oct 2020 08:33:31 +0000", "2020-10-30T08:33:31"},
        {"America/Whitehorse", "15 Dec 2020 08:33:31 +0000", "2020-12-15T08:33:31"},
        {"America/Whitehorse", "13 Jul 2019 08:33:31 +0000", "2019-07-13T08:33:31"},
        {"Asia/Amman", "6 Jul 2022 08:33:31 +0000", "2022-07-06T08:33:31"},
        {"Asia/Damascus", "15 Jul 2022 08:33:31 +0000", "2022-07-15T08:33:31"},
        {"Europe/Lisbon", "5 Jul 1992 08:33:31 +0000", "1992-07-05T08:33:31"},
        {"Europe/Kyiv", "15 Nov 1990 08:33:31 +0000", "1990-11-15T08:33:31"},
        {"Pacific/Apia", "15 Nov 2011 08:33:31 +0000", "2011-11-15T08:33:31"},
        {"Pacific/Apia", "15 Jan 2012 08:33:31 +0000", "2012-01-15T08:33:31"},
        {"Africa/Casablanca", "15 Sep 2018 08:33:31 +0000", "2018-09-15T08:33:31"},
    };
    int compared = 0;
    for (const MovedZone& year : years) {
        if (!test::FileExists(std::string("/usr/share/zoneinfo/") + year.zone)) continue;
        test::UseZone(year.zone);
        EXPECT_EQ(Parsed(year.header), year.moment) << year.zone;
        ++compared;
    }
    test::UseZone(nullptr);
    if (compared == 0) GTEST_SKIP() << "no zone data here";
}

}  // namespace
}  // namespace velmora
