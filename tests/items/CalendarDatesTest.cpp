#include "items/CalendarDates.h"

#include <gtest/gtest.h>

#include <string>

#include "items/DateForms.h"
#include "tests/support/Wine.h"

namespace velmora {
namespace {

// What a calendar text becomes, as ISO text in UTC; "refused" when it is no date.
std::string Parsed(std::string_view text, const char* zoneOffset = nullptr)
{
    uint64_t fileTime = 7;
    if (!ParseCalendarDateTime(text, fileTime, zoneOffset)) {
        EXPECT_EQ(fileTime, 7u) << text;
        return "refused";
    }
    char iso[64] = "no date";
    EXPECT_TRUE(FormatFileTimeText(fileTime, iso, sizeof iso)) << text;
    return iso;
}

std::string Offset(int32_t minutes)
{
    char text[16];
    FormatZoneOffset(minutes, text, sizeof text);
    return text;
}

TEST(CalendarDate, ATimeThatEndsInZIsUtc)
{
    EXPECT_EQ(Parsed("20110207T100000Z"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("20110207T103059Z"), "2011-02-07T10:30:59");
}

TEST(CalendarDate, ATimeWithoutZoneIsTakenAsItStands) { EXPECT_EQ(Parsed("20110207T100000"), "2011-02-07T10:00:00"); }

TEST(CalendarDate, AnOffsetCountsInWholeHours)
{
    EXPECT_EQ(Parsed("20110207T100000+0530"), "2011-02-07T05:00:00");
    EXPECT_EQ(Parsed("20110207T100000", "+0530"), "2011-02-07T05:00:00");
    EXPECT_EQ(Parsed("20110207T100000-0330"), "2011-02-07T13:00:00");
    EXPECT_EQ(Parsed("20110207T100000", "-0330"), "2011-02-07T13:00:00");
    EXPECT_EQ(Parsed("20110207T100000", "GMT"), "2011-02-07T10:00:00");
}

TEST(CalendarDate, AnOffsetMayMoveTheDay)
{
    EXPECT_EQ(Parsed("20120101T000000+1000"), "2011-12-31T14:00:00");
    EXPECT_EQ(Parsed("20111231T230000-0300"), "2012-01-01T02:00:00");
}

TEST(CalendarDate, APassedOffsetCountsInPlaceOfThatInTheText)
{
    EXPECT_EQ(Parsed("20110207T100000+0500", "+0100"), "2011-02-07T09:00:00");
    EXPECT_EQ(Parsed("20110207T100000Z", "+0100"), "2011-02-07T09:00:00");
}

TEST(CalendarDate, AnEmptyPassedOffsetIsNone)
{
    EXPECT_EQ(Parsed("20110207T100000+0500", ""), "2011-02-07T05:00:00");
    EXPECT_EQ(Parsed("20110207T100000", ""), "2011-02-07T10:00:00");
}

TEST(CalendarDate, ADateAloneIsMidnight)
{
    EXPECT_EQ(Parsed("20110207"), "2011-02-07T00:00:00");
    EXPECT_EQ(Parsed("20110207T"), "2011-02-07T00:00:00");
    EXPECT_EQ(Parsed("20110207", "+0100"), "2011-02-06T23:00:00");
    EXPECT_EQ(Parsed("20110207+"), "2011-02-07T00:00:00");
}

TEST(CalendarDate, TheDashedFormIsTheSame)
{
    EXPECT_EQ(Parsed("2011-02-07T10:30:59Z"), "2011-02-07T10:30:59");
    EXPECT_EQ(Parsed("2011-02-07T10:30:59"), "2011-02-07T10:30:59");
    EXPECT_EQ(Parsed("2011-02-07T10:30:59+0100"), "2011-02-07T09:30:59");
    EXPECT_EQ(Parsed("2011-02-07"), "2011-02-07T00:00:00");
}

TEST(CalendarDate, TheDashedFormHasNoOffsetWithAMinusSign)
{
    EXPECT_EQ(Parsed("2011-02-07T10:00:00-0500"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("2011-02-07T10:00:00", "-0500"), "2011-02-07T15:00:00");
}

TEST(CalendarDate, AnOffsetInTheTextHasFiveBytesAtMost)
{
    EXPECT_EQ(Parsed("20110207T100000+05:30"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("20110207T100000+05"), "2011-02-07T10:00:00") << "no hundreds";
    EXPECT_EQ(Parsed("20110207T100000+500"), "2011-02-07T05:00:00");
}

TEST(CalendarDate, MissingDigitsOfTheTimeAreZero)
{
    EXPECT_EQ(Parsed("20110207T10"), "2011-02-07T10:00:00");
    EXPECT_EQ(Parsed("20110207T1030"), "2011-02-07T10:30:00");
    EXPECT_EQ(Parsed("20110207T1"), "2011-02-07T01:00:00");
    EXPECT_EQ(Parsed("20110207Txxyyzz"), "2011-02-07T00:00:00");
}

TEST(CalendarDate, FewerThanEightBytesAreRefused)
{
    for (const char* text : {"", "2", "2011020", "2011-2-7", "2011-02", "2011:-::02:07"}) EXPECT_EQ(Parsed(text), "refused") << text;
}

TEST(CalendarDate, WhatIsNoDateIsRefused)
{
    for (const char* text : {"20111307T100000", "20110230T100000", "20110207T240000", "20110207T106000", "20110207T100060", "00000000",
                             "xxxxxxxxTxxxxxx", "16001231T000000", "-1110207T100000", "20110007T100000", "20110200T100000"}) {
        EXPECT_EQ(Parsed(text), "refused") << text;
    }
}

TEST(CalendarDate, The29thOfFebruaryIsOneOfALeapYear)
{
    EXPECT_EQ(Parsed("20120229T100000"), "2012-02-29T10:00:00");
    if (test::RunsUnderWine()) GTEST_SKIP() << "Wine gives every February 29 days";
    EXPECT_EQ(Parsed("20110229T100000"), "refused");
}

TEST(CalendarDate, AMomentBefore1601IsRefused)
{
    EXPECT_EQ(Parsed("16010101T000000"), "1601-01-01T00:00:00");
    EXPECT_EQ(Parsed("16010101T000000-0100"), "1601-01-01T01:00:00");
    EXPECT_EQ(Parsed("16010101T000000+0100"), "refused");
}

TEST(CalendarDate, LongTextsAreReadUpTo127Bytes)
{
    EXPECT_EQ(Parsed("20110207T100000" + std::string(100000, ' ') + "+0500"), "2011-02-07T05:00:00") << "the offset is the text's own";
    EXPECT_EQ(Parsed("2011-" + std::string(200, ':') + "02-07T10:00:00"), "refused");
}

TEST(CalendarDate, HugeOffsetsStayInBounds)
{
    // Seconds wrap at 32 bits: 1728 of them are left.
    EXPECT_EQ(Parsed("20110207T100000", "99999999999"), "2011-02-07T10:28:48");
    EXPECT_EQ(Parsed("20110207T100000", "2147483647"), "2011-02-07T10:28:48");
    EXPECT_EQ(Parsed("20110207T100000", "-2147483648"), "2011-02-07T09:31:12");
}

TEST(ZoneOffset, MinutesAreDropped)
{
    EXPECT_EQ(ParseZoneOffset("+0530"), 300);
    EXPECT_EQ(ParseZoneOffset("-0330"), -180);
    EXPECT_EQ(ParseZoneOffset("+1000"), 600);
    EXPECT_EQ(ParseZoneOffset("-0059"), 0);
    EXPECT_EQ(ParseZoneOffset("0100"), 60);
}

TEST(ZoneOffset, GmtAndWhatIsNoNumberAreZero)
{
    for (const char* text : {"GMT", "gmt", "Gmt", "", "Z", "EST", "+", "GMT+0100"}) EXPECT_EQ(ParseZoneOffset(text), 0) << text;
    EXPECT_EQ(ParseZoneOffset(nullptr), 0);
}

TEST(ZoneOffset, ANumberBeyondAllBoundsIsTheLargest) { EXPECT_EQ(ParseZoneOffset("99999999999999"), 21474836 * 60); }

TEST(ZoneOffset, TextHasHoursAndTwoDigitsOfMinutes)
{
    EXPECT_EQ(Offset(600), "+1000");
    EXPECT_EQ(Offset(-90), "-130");
    EXPECT_EQ(Offset(0), "+000");
    EXPECT_EQ(Offset(-5), "-005");
    EXPECT_EQ(Offset(330), "+530");
    EXPECT_EQ(Offset(INT32_MIN), "-3579139408");
    EXPECT_EQ(Offset(INT32_MAX), "+3579139407");
}

TEST(ZoneOffset, TextIsCutAtTheField)
{
    char field[4] = "###";
    FormatZoneOffset(600, field, sizeof field);
    EXPECT_STREQ(field, "+10");
    FormatZoneOffset(-600, field, 0);
    EXPECT_STREQ(field, "+10");
}

TEST(Duration, HoursAndMinutesAlone)
{
    EXPECT_EQ(ParseDurationSeconds("PT2H"), 7200);
    EXPECT_EQ(ParseDurationSeconds("PT15M"), 900);
    EXPECT_EQ(ParseDurationSeconds("PT0M"), 0);
    EXPECT_EQ(ParseDurationSeconds("PTM"), 0);
}

TEST(Duration, OneHourAndThirtyMinutesAreSixtySeconds) { EXPECT_EQ(ParseDurationSeconds("PT1H30M"), 60); }

TEST(Duration, NinetyMinutesAre5400Seconds) { EXPECT_EQ(ParseDurationSeconds("PT90M"), 5400); }

TEST(Duration, WithoutHoursAndMinutesItIsAnHour)
{
    for (const char* text : {"", "P1D", "P1W", "PT30S", "PT", "pt2h"}) EXPECT_EQ(ParseDurationSeconds(text), 3600) << text;
}

TEST(Duration, MarkersWithNoTBeforeThemAreAbsent)
{
    EXPECT_EQ(ParseDurationSeconds("P1M"), 3600);
    EXPECT_EQ(ParseDurationSeconds("P2H"), 3600);
    EXPECT_EQ(ParseDurationSeconds("P1MT2H"), 7200);
    EXPECT_EQ(ParseDurationSeconds("P1DT2H"), 7200);
}

TEST(Duration, AMinusAnywhereMakesItNegative)
{
    EXPECT_EQ(ParseDurationSeconds("-PT15M"), -900);
    EXPECT_EQ(ParseDurationSeconds("PT15M-"), -900);
    EXPECT_EQ(ParseDurationSeconds("PT-15M"), -900);
    EXPECT_EQ(ParseDurationSeconds("-P1D"), -3600);
    EXPECT_EQ(ParseDurationSeconds("-"), -3600);
}

TEST(Duration, SecondsWrapAt32Bits)
{
    EXPECT_EQ(ParseDurationSeconds("PT596524H"), -2147480896);
    EXPECT_EQ(ParseDurationSeconds("PT99999999999M"), -60) << "2147483647 minutes";
}

}  // namespace
}  // namespace velmora
