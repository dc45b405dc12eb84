// Message dates in zones that only rules of this system's form describe.
#include <gtest/gtest.h>

#include <string>

#include "items/MessageDate.h"
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

}  // namespace
}  // namespace velmora
