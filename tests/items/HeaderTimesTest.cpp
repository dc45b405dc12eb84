#include "items/HeaderTimes.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/win32.h"
#include "tests/support/TimeZone.h"

namespace velmora {
namespace {

using test::UseZone;

// Systems differ in whether their calendar goes on for some hours behind the year 3000.
constexpr int64_t kSummerOf3001 = 32550000000;

std::string Iso(std::string_view text)
{
    char result[64] = "untouched";
    const bool answered = ParseHeaderTimeToIso(text, result, sizeof result);
    EXPECT_EQ(answered, std::string(result) != "untouched") << text;
    return result;
}

std::string Header(int64_t seconds)
{
    char result[64] = "untouched";
    const bool answered = FormatHeaderTime(seconds, result, sizeof result);
    EXPECT_EQ(answered, std::string(result) != "untouched") << seconds;
    return result;
}

constexpr const char* kIncomplete[] = {"",
                                       ":",
                                       "10",
                                       "10:",
                                       "10:00",
                                       "10:00 ",
                                       "10:00 07",
                                       "10:00 07 Feb",
                                       "10:00 07 Feb,",
                                       "10:00 07 Feb, ",
                                       "10:00 07 Feb,2011",
                                       "10:00 07 Feb 2011",
                                       "10:00:30",
                                       "07 Feb, 2011"};

TEST(HeaderTimeToIso, ReadsBothFormsAndLeavesTheSecondsOut)
{
    EXPECT_EQ(Iso("10:30 07 Jan, 2011"), "2011-01-07T10:30:00");
    EXPECT_EQ(Iso("10:30:59 07 Jan, 2011"), "2011-01-07T10:30:00");
}

TEST(HeaderTimeToIso, TheMonthIsOneTooLowFromFebruaryOn)
{
    const char* const names[] = {"Jan", "feb", "MAR", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const char* const numbers[] = {"01", "01", "02", "03", "04", "05", "06", "07", "08", "09", "10", "11"};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(Iso(std::string("10:00 07 ") + names[i] + ", 2011"), std::string("2011-") + numbers[i] + "-07T10:00:00");
    EXPECT_EQ(Iso("10:00 07 February, 2011"), "2011-11-07T10:00:00") << "no month of ours";
}

TEST(HeaderTimeToIso, FieldsOutOfRangeAreMended)
{
    EXPECT_EQ(Iso("25:60 32 Jan, 2011"), "2011-01-01T00:00:00");
    EXPECT_EQ(Iso("24:59 31 Jan, 2011"), "2011-01-31T24:59:00");
    EXPECT_EQ(Iso("-1:-1 0 Jan, 2011"), "2011-01-01T00:00:00");
    EXPECT_EQ(Iso("x:y z Jan, w"), "2000-01-01T00:00:00");
}

TEST(HeaderTimeToIso, YearsAreThoseOfMessageDates)
{
    EXPECT_EQ(Iso("10:00 07 Jan, 99"), "1999-01-07T10:00:00");
    EXPECT_EQ(Iso("10:00 07 Jan, 11"), "2011-01-07T10:00:00");
    EXPECT_EQ(Iso("10:00 07 Jan, 1801"), "3701-01-07T10:00:00");
    EXPECT_EQ(Iso("10:00 07 Jan, 99999999999"), "2147483647-01-07T10:00:00");
}

TEST(HeaderTimeToIso, AMissingPieceIsRefused)
{
    for (const char* text : kIncomplete) EXPECT_EQ(Iso(text), "untouched") << text;
}

TEST(HeaderTimeToIso, TextIsCutAtTheField)
{
    char result[5];
    ASSERT_TRUE(ParseHeaderTimeToIso("10:30 07 Jan, 2011", result, sizeof result));
    EXPECT_STREQ(result, "2011");
}

class HeaderTimeInAnyZone : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { UseZone(GetParam()); }
    void TearDown() override { UseZone(nullptr); }
};

TEST_P(HeaderTimeInAnyZone, IsReadAsUtc)
{
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 2011"), 1297072800);
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00:30 07 Feb, 2011"), 1297072830);
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Jul, 2011"), 1310032800);
    EXPECT_EQ(ParseHeaderTimeToUnix("23:59:59 31 Dec, 2011"), 1325375999);
    EXPECT_EQ(ParseHeaderTimeToUnix("12:00 29 Feb, 2012"), 1330516800);
}

TEST_P(HeaderTimeInAnyZone, TheHourThatAChangeOfTheClocksLeavesOutIsThere)
{
    EXPECT_EQ(ParseHeaderTimeToUnix("02:30 13 Mar, 2011"), 1299983400);
    EXPECT_EQ(ParseHeaderTimeToUnix("01:30 06 Nov, 2011"), 1320543000);
}

TEST_P(HeaderTimeInAnyZone, FieldsOutOfRangeAreMended)
{
    EXPECT_EQ(ParseHeaderTimeToUnix("25:60:60 32 Feb, 2011"), 1296518400);
    EXPECT_EQ(ParseHeaderTimeToUnix("24:00 06 Feb, 2011"), 1297036800) << "the midnight behind that day";
    EXPECT_EQ(ParseHeaderTimeToUnix("00:00 31 Feb, 2011"), 1299110400) << "the third of March";
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Whatever, 2011"), 1323252000) << "December";
}

TEST_P(HeaderTimeInAnyZone, SecondsWrapAt32Bits)
{
    EXPECT_EQ(ParseHeaderTimeToUnix("03:14:07 19 Jan, 2038"), INT32_MAX);
    EXPECT_EQ(ParseHeaderTimeToUnix("03:14:08 19 Jan, 2038"), INT32_MIN);
    EXPECT_EQ(ParseHeaderTimeToUnix("06:28:17 07 Feb, 2106"), 1);
}

TEST_P(HeaderTimeInAnyZone, AMissingPieceIsZero)
{
    for (const char* text : kIncomplete) EXPECT_EQ(ParseHeaderTimeToUnix(text), 0) << text;
}

TEST_P(HeaderTimeInAnyZone, ADateThatTheCalendarDoesNotHoldIsMinusOneLessTheBias)
{
    TIME_ZONE_INFORMATION zone;
    const DWORD season = GetTimeZoneInformation(&zone);
    const int32_t bias = zone.Bias + (season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : 0);
    // From twelve hours behind UTC to fourteen ahead.
    EXPECT_GE(ParseHeaderTimeToUnix("10:00 07 Feb, 1950"), -1 - 12 * 3600);
    EXPECT_LE(ParseHeaderTimeToUnix("10:00 07 Feb, 1950"), -1 + 14 * 3600);
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 1950"), -1 - bias * 60);
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 3500"), -1 - bias * 60);
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 99999999999"), -1 - bias * 60);
}

TEST_P(HeaderTimeInAnyZone, IsWrittenInUtc)
{
    EXPECT_EQ(Header(1297072830), "10:00:30 07 Feb, 2011");
    EXPECT_EQ(Header(0), "00:00 01 Jan, 1970");
    EXPECT_EQ(Header(1325375999), "23:59:59 31 Dec, 2011");
}

TEST_P(HeaderTimeInAnyZone, WithoutSecondsTheShortFormIsWrittenAndBothAreRead)
{
    EXPECT_EQ(Header(1297072800), "10:00 07 Feb, 2011");
    EXPECT_EQ(Header(1297072801), "10:00:01 07 Feb, 2011");
    EXPECT_EQ(ParseHeaderTimeToUnix(Header(1297072800)), 1297072800);
    EXPECT_EQ(ParseHeaderTimeToUnix(Header(1297072801)), 1297072801);
}

TEST_P(HeaderTimeInAnyZone, EveryMonthComesBack)
{
    // From the second day on: the first is not there in every zone.
    for (int32_t seconds = 2 * 86400; seconds > 0 && seconds < 2000000000; seconds += 86400 * 13 + 3601)
        ASSERT_EQ(ParseHeaderTimeToUnix(Header(seconds)), seconds) << Header(seconds);
}

INSTANTIATE_TEST_SUITE_P(Zones, HeaderTimeInAnyZone, testing::Values("UTC0", "EST5EDT", "IST-5:30", "NZST-12NZDT"),
                         [](const auto& tested) { return std::string(tested.param, 3); });

TEST(HeaderTime, AMomentThatTheCalendarDoesNotHoldIsRefused)
{
    EXPECT_EQ(Header(-86400), "untouched");
    EXPECT_EQ(Header(INT64_MIN), "untouched");
    EXPECT_EQ(Header(kSummerOf3001), "untouched");
    EXPECT_EQ(Header(40000000000), "untouched");
    EXPECT_EQ(Header(INT64_MAX), "untouched");
}

TEST(HeaderTime, TextIsCutAtTheField)
{
    char result[6];
    ASSERT_TRUE(FormatHeaderTime(1297072800, result, sizeof result));
    EXPECT_STREQ(result, "10:00");
}

}  // namespace
}  // namespace velmora
