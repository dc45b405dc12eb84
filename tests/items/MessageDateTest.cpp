#include "items/MessageDate.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "tests/support/TimeZone.h"
#include "tests/support/Wine.h"

namespace velmora {
namespace {

using test::UseZone;

// What a date header becomes; "untouched" when it is refused.
std::string Parsed(std::string_view text)
{
    char result[64] = "untouched";
    const bool answered = ParseMessageDate(text, result, sizeof result);
    EXPECT_EQ(answered, std::string(result) != "untouched") << text;
    return result;
}

class MessageDateInAnyZone : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { UseZone(GetParam()); }
    void TearDown() override { UseZone(nullptr); }
};

TEST_P(MessageDateInAnyZone, ADayNameMakesNoDifference)
{
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 +0000"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("7 Feb 2011 10:00:00 +0000"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed(" 7 Feb 2011 10:00:00 +0000"), "2011-02-07T10:00:00");
}

TEST_P(MessageDateInAnyZone, TheTextIsTheMomentInUtc)
{
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 +1000"), "2011-02-07T00:00:00");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 -0500"), "2011-02-07T15:00:00");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 +0530"), "2011-02-07T04:30:00");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 -0330"), "2011-02-07T13:30:00");
    EXPECT_EQ(Parsed("Fri, 31 Dec 2010 23:30:00 -0100"), "2011-01-01T00:30:00");
}

TEST_P(MessageDateInAnyZone, SummerTimeOfTheServerDoesNotShow)
{
    EXPECT_EQ(Parsed("Thu, 7 Jul 2011 10:00:00 +0000"), "2011-07-07T10:00:00");
    EXPECT_EQ(Parsed("Thu, 7 Jul 2011 10:00:00 -0400"), "2011-07-07T14:00:00");
}

TEST_P(MessageDateInAnyZone, ZonesOfLettersCountAsUtc)
{
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 GMT"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 gmt"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 EST"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 +0100 (CET)"), "2011-02-07T09:00:00");
}

TEST_P(MessageDateInAnyZone, EveryMonthHasItsNumber)
{
    const char* const names[] = {"Jan", "feb", "MAR", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int i = 0; i < 12; ++i) {
        char expected[32];
        std::snprintf(expected, sizeof expected, "2010-%02d-15T12:00:00", i + 1);
        EXPECT_EQ(Parsed(std::string("15 ") + names[i] + " 2010 12:00:00 +0000"), expected);
    }
    EXPECT_EQ(Parsed("15 February 2010 12:00:00 +0000"), "2010-12-15T12:00:00");
}

TEST_P(MessageDateInAnyZone, ShortYearsBelongToTwoCenturies)
{
    EXPECT_EQ(Parsed("7 Feb 99 10:00:00 GMT"), "1999-02-07T10:00:00");
    EXPECT_EQ(Parsed("7 Feb 11 10:00:00 GMT"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("7 Feb 0 10:00:00 GMT"), "2000-02-07T10:00:00");
    EXPECT_EQ(Parsed("7 Feb 49 10:00:00 GMT"), "2049-02-07T10:00:00");
    EXPECT_EQ(Parsed("7 Feb 75 10:00:00 GMT"), "1975-02-07T10:00:00");
}

TEST_P(MessageDateInAnyZone, AYearBelow1901CountsFrom1900AndItsMonthIsOneTooLow)
{
    EXPECT_EQ(Parsed("7 Feb 1801 10:00:00 GMT"), "3701-01-07T10:00:00");
    EXPECT_EQ(Parsed("7 Jan 1801 10:00:00 +1000"), "3701-01-07T10:00:00");
    EXPECT_EQ(Parsed("7 Mar 50 10:00:00 GMT"), "1950-02-07T10:00:00");
    EXPECT_EQ(Parsed("7 Dec 1950 10:00:00 GMT"), "1950-11-07T10:00:00");
    EXPECT_EQ(Parsed("40 Jan 1950 25:60:61 GMT"), "1950-01-01T00:00:00");
}

TEST_P(MessageDateInAnyZone, YearsThatNoCalendarHoldsAreWrittenAsTheyStand)
{
    EXPECT_EQ(Parsed("7 Jan 99999999999 10:00:00 GMT"), "2147483647-01-07T10:00:00");
    EXPECT_EQ(Parsed("7 Jan -5 10:00:00 GMT"), "1995-01-07T10:00:00");
}

TEST_P(MessageDateInAnyZone, FieldsOutOfRangeAreMended)
{
    EXPECT_EQ(Parsed("0 Feb 2011 25:60:61 +0000"), "2011-02-01T00:00:00");
    EXPECT_EQ(Parsed("32 Feb 2011 10:00:00 +0000"), "2011-02-01T10:00:00");
    EXPECT_EQ(Parsed("31 Feb 2011 10:00:00 +0000"), "2011-03-03T10:00:00");
    EXPECT_EQ(Parsed("7 Feb 2011 24:00:00 +0000"), "2011-02-08T00:00:00");
    EXPECT_EQ(Parsed("x Feb 2011 y:z:- +0000"), "2011-02-01T00:00:00");
}

TEST_P(MessageDateInAnyZone, EveryPieceAndDelimiterMustBeThere)
{
    for (const char* text : {"", " ", ",", "Mon", "Mon,", "Mon, ", "Mon, 7", "Mon, 7 ", "Mon, 7 Feb", "Mon, 7 Feb 2011",
                             "Mon, 7 Feb 2011 10", "Mon, 7 Feb 2011 10:00", "Mon, 7 Feb 2011 10:00 +0000", "Mon, 7 Feb 2011 10:00:00",
                             "7 Feb 2011 10:00:00", "Mon,7 Feb 2011 10:00:00 GMT"}) {
        EXPECT_EQ(Parsed(text), "untouched") << text;
    }
}

TEST_P(MessageDateInAnyZone, TwoBlanksBeforeTheDayAreOne) { EXPECT_EQ(Parsed("Mon,  7 Feb 2011 10:00:00 +0000"), "2011-02-07T10:00:00"); }

TEST_P(MessageDateInAnyZone, AnEmptyTokenElsewhereIsAnEmptyText)
{
    // Month "", year "Feb", hour "2011 10".
    EXPECT_EQ(Parsed("Mon, 7  Feb 2011 10:00:00 +0000"), "2000-12-07T00:00:00");
}

TEST_P(MessageDateInAnyZone, TokensAreCutAt31Bytes)
{
    EXPECT_EQ(Parsed("7 Feb " + std::string(30, '0') + "2011 10:00:00 +0000"), "2002-02-07T10:00:00");
}

TEST_P(MessageDateInAnyZone, TextIsCutAtTheField)
{
    char result[11];
    ASSERT_TRUE(ParseMessageDate("7 Feb 2011 10:00:00 +0000", result, sizeof result));
    EXPECT_STREQ(result, "2011-02-07");
}

INSTANTIATE_TEST_SUITE_P(Zones, MessageDateInAnyZone, testing::Values("UTC0", "EST5EDT", "IST-5:30"),
                         [](const auto& tested) { return std::string(tested.param, 3); });

class MessageDate : public testing::Test {
protected:
    void TearDown() override { UseZone(nullptr); }
};

TEST_F(MessageDate, TheYear3000IsTheLast)
{
    UseZone("UTC0");
    EXPECT_EQ(Parsed("31 Dec 3000 23:59:59 +0000"), "3000-12-31T23:59:59");
}

TEST_F(MessageDate, TheMomentMayNotLieBehindTheYear3000)
{
    if (test::RunsUnderWine()) GTEST_SKIP() << "Wine's calendar goes on behind the year 3000";
    UseZone("UTC0");
    EXPECT_EQ(Parsed("31 Dec 3000 23:59:59 -500000"), "untouched");
}

TEST_F(MessageDate, ABlankAtTheEndIsAnEmptyZone)
{
    UseZone("IST-5:30");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 "), "2011-02-07T10:00:00");
    UseZone("EST5EDT");
    EXPECT_EQ(Parsed("Mon, 7 Feb 2011 10:00:00 "), "2011-02-07T10:00:00");
}

TEST_F(MessageDate, InSummerTimeAnEmptyZoneIsAnHourAhead)
{
    UseZone("EST5EDT");
    EXPECT_EQ(Parsed("Thu, 7 Jul 2011 10:00:00 "), "2011-07-07T11:00:00");
}

TEST_F(MessageDate, AChangeOfTheServersTimeBetweenTextAndMomentShows)
{
    UseZone("EST5EDT");
    // Clocks went forward on 13 March 2011 at 02:00 and back on 6 November at 02:00.
    EXPECT_EQ(Parsed("13 Mar 2011 10:00:00 +1000"), "2011-03-12T23:00:00");
    EXPECT_EQ(Parsed("13 Mar 2011 10:00:00 +0100"), "2011-03-13T09:00:00");
    EXPECT_EQ(Parsed("6 Nov 2011 10:00:00 +1000"), "2011-11-06T01:00:00");
    UseZone("IST-5:30");
    EXPECT_EQ(Parsed("13 Mar 2011 10:00:00 +1000"), "2011-03-13T00:00:00");
}

TEST_F(MessageDate, TheMomentMustLieBehind1970)
{
    UseZone("UTC0");
    EXPECT_EQ(Parsed("1 Jan 1970 00:00:00 GMT"), "untouched");
    EXPECT_EQ(Parsed("1 Jan 1970 01:00:00 +0100"), "untouched");
    EXPECT_EQ(Parsed("1 Jan 1970 00:30:00 +0100"), "untouched");
    EXPECT_EQ(Parsed("1 Jan 1970 00:00:01 GMT"), "1970-01-01T00:00:01");
    EXPECT_EQ(Parsed("1 Jan 1970 00:00:00 "), "1970-01-01T00:00:00");
    EXPECT_EQ(Parsed("7 Jan 2011 00:00:00 +2147483647"), "untouched");
}

}  // namespace
}  // namespace velmora
