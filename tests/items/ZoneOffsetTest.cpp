// Which offset of a zone holds at a moment.
#include <cstring>
#include <string>

#include "items/DateForms.h"
#include "items/TimeZones.h"
#include "tests/items/ZoneFixture.h"
#include "tests/support/Captured.h"

namespace velmora::test {
namespace {

constexpr char kNoStandard[] = "Error Occurred Converting StandardChangeOver::SystemTimeToFileTime: 87\n";
constexpr char kNoDaylight[] = "Error Occurred Converting DaylightChangeOver::SystemTimeToFileTime: 87\n";

// The offsets are names, so that each answer tells where it comes from.
CalendarZone NamedZone()
{
    CalendarZone zone;
    std::strcpy(zone.Name, "Made up");
    std::strcpy(zone.Standard.OffsetFrom, "standard from");
    std::strcpy(zone.Standard.OffsetTo, "standard to");
    std::strcpy(zone.Daylight.OffsetFrom, "daylight from");
    std::strcpy(zone.Daylight.OffsetTo, "daylight to");
    return zone;
}

void ByWeekday(CalendarZoneBlock& block, int32_t month, int32_t mask, int32_t instance, WORD hour)
{
    block.Rule.RecurrenceType = 6;
    block.Rule.MonthOfYear = month;
    block.Rule.DayOfWeekMask = mask;
    block.Rule.Instance = instance;
    block.Start.wYear = 1970;
    block.Start.wHour = hour;
}

void OnDay(CalendarZoneBlock& block, int32_t month, int32_t day, WORD hour = 0)
{
    block.Rule.RecurrenceType = 5;
    block.Rule.MonthOfYear = month;
    block.Rule.FixedDay = day;
    block.Start.wHour = hour;
}

std::string OffsetAt(const CalendarZone& zone, const char* iso)
{
    uint64_t moment = 0;
    EXPECT_TRUE(ParseIsoDateTime(iso, moment)) << iso;
    return SelectZoneOffset(zone, moment);
}

CalendarZone NorthernZone()
{
    CalendarZone zone = NamedZone();
    OnDay(zone.Daylight, 3, 27, 2);
    OnDay(zone.Standard, 10, 30, 3);
    return zone;
}

TEST(ZoneOffsetAt, InTheNorthDaylightTimeIsInTheMiddleOfTheYear)
{
    const CalendarZone zone = NorthernZone();
    EXPECT_EQ(OffsetAt(zone, "2011-01-01T00:00:00"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-03-27T01:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-03-27T02:00:00"), "standard from");
    EXPECT_EQ(OffsetAt(zone, "2011-10-30T02:59:59"), "standard from");
    EXPECT_EQ(OffsetAt(zone, "2011-10-30T03:00:00"), "standard to");
    EXPECT_EQ(OffsetAt(zone, "2011-12-31T23:59:59"), "standard to");
}

TEST(ZoneOffsetAt, InTheSouthStandardTimeIsInTheMiddleOfTheYear)
{
    CalendarZone zone = NamedZone();
    OnDay(zone.Standard, 4, 3, 3);
    OnDay(zone.Daylight, 10, 2, 2);
    EXPECT_EQ(OffsetAt(zone, "2011-04-03T02:59:59"), "standard from");
    EXPECT_EQ(OffsetAt(zone, "2011-04-03T03:00:00"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-10-02T01:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-10-02T02:00:00"), "daylight to");
}

TEST(ZoneOffsetAt, EveryYearHasItsOwnChanges)
{
    CalendarZone zone = NamedZone();
    ByWeekday(zone.Daylight, 3, 1, 2, 2);
    ByWeekday(zone.Standard, 11, 1, 1, 2);
    EXPECT_EQ(OffsetAt(zone, "2011-03-14T01:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-03-14T02:00:00"), "standard from");
    EXPECT_EQ(OffsetAt(zone, "2012-03-12T01:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2012-03-12T02:00:00"), "standard from");
    EXPECT_EQ(OffsetAt(zone, "2012-11-05T02:00:00"), "standard to");
}

TEST(ZoneOffsetAt, TheNumberOfTheMaskIsTheWeekday)
{
    CalendarZone zone = NorthernZone();
    // A mask of 1 is Sunday everywhere else; the first Monday of March 2011 was the 7th, and the first Thursday the 3rd.
    ByWeekday(zone.Daylight, 3, 1, 1, 0);
    EXPECT_EQ(OffsetAt(zone, "2011-03-06T23:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-03-07T00:00:00"), "standard from");
    ByWeekday(zone.Daylight, 3, 4, 1, 0);
    EXPECT_EQ(OffsetAt(zone, "2011-03-02T23:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-03-03T00:00:00"), "standard from");
}

TEST(ZoneOffsetAt, AMaskThatIsNoWeekdayHasNoChange)
{
    CalendarZone zone = NorthernZone();
    ByWeekday(zone.Daylight, 3, 8, 1, 0);
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to"); }), kNoDaylight);
}

TEST(ZoneOffsetAt, TheTimeOfDayIsThatOfTheBlocksStart)
{
    CalendarZone zone = NorthernZone();
    zone.Daylight.Start.wMinute = 30;
    zone.Daylight.Start.wSecond = 15;
    EXPECT_EQ(OffsetAt(zone, "2011-03-27T02:30:14"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-03-27T02:30:15"), "standard from");
}

TEST(ZoneOffsetAt, MomentsAreComparedInWholeSeconds)
{
    CalendarZone zone = NorthernZone();
    zone.Daylight.Start.wMilliseconds = 900;
    EXPECT_EQ(OffsetAt(zone, "2011-03-27T02:00:00"), "standard from");
    uint64_t moment = 0;
    ASSERT_TRUE(ParseIsoDateTime("2011-03-27T02:00:00", moment));
    EXPECT_STREQ(SelectZoneOffset(zone, moment - 1), "daylight from");
}

TEST(ZoneOffsetAt, OfTwoChangesAtOnceDaylightIsTheEarlier)
{
    CalendarZone zone = NamedZone();
    OnDay(zone.Daylight, 6, 1);
    OnDay(zone.Standard, 6, 1);
    EXPECT_EQ(OffsetAt(zone, "2011-05-31T23:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to");
}

TEST(ZoneOffsetAt, AMissingChangeGivesStandardTimeAndSaysSo)
{
    CalendarZone zone = NorthernZone();
    zone.Standard.Rule = {};
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-01-01T00:00:00"), "standard to"); }), kNoStandard);
    zone = NorthernZone();
    zone.Daylight.Rule = {};
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to"); }), kNoDaylight);
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(NamedZone(), "2011-06-01T00:00:00"), "standard to"); }),
              std::string(kNoStandard) + kNoDaylight);
}

TEST(ZoneOffsetAt, OtherKindsOfRulesHaveNoChange)
{
    for (const int32_t type : {0, 1, 2, 3, 4, 7, -1}) {
        CalendarZone zone = NorthernZone();
        zone.Daylight.Rule.RecurrenceType = type;
        EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to"); }), kNoDaylight) << type;
    }
}

TEST(ZoneOffsetAt, AYearlyRuleOfATextHasNoFixedDay)
{
    CalendarZone zone = NorthernZone();
    zone.Daylight.Rule.FixedDay = 0;
    zone.Daylight.Rule.DayOfMonth = 27;
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to"); }), kNoDaylight);
}

TEST(ZoneOffsetAt, The32ndOfJanuaryIsNoChange)
{
    CalendarZone zone = NorthernZone();
    ByWeekday(zone.Daylight, 1, 3, -1, 0);
    EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard from");
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2012-06-01T00:00:00"), "standard to"); }), kNoDaylight);
}

TEST(ZoneOffsetAt, NumbersBeyondAllBoundsAreNoChange)
{
    for (const int32_t number : {INT32_MIN, -1, 65539, INT32_MAX}) {
        CalendarZone zone = NorthernZone();
        zone.Daylight.Rule.MonthOfYear = number;
        EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to"); }), kNoDaylight) << number;
        zone = NorthernZone();
        zone.Daylight.Rule.FixedDay = number;
        EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-06-01T00:00:00"), "standard to"); }), kNoDaylight) << number;
    }
}

TEST(ZoneOffsetAt, AMomentThatIsNoDateHasStandardTime)
{
    const CalendarZone zone = NorthernZone();
    EXPECT_EQ(CaptureStdout([&] { EXPECT_STREQ(SelectZoneOffset(zone, UINT64_MAX), "standard to"); }),
              std::string(kNoStandard) + kNoDaylight);
}

TEST(ZoneOffsetAt, MomentsBefore1970Count)
{
    const CalendarZone zone = NorthernZone();
    EXPECT_EQ(OffsetAt(zone, "1950-03-27T01:59:59"), "daylight from");
    EXPECT_EQ(OffsetAt(zone, "1950-03-27T02:00:01"), "standard from");
}

class ZoneOfSettings : public ZoneFixture {};

TEST_F(ZoneOfSettings, HasNoChangesAndThusStandardTimeInSummerToo)
{
    UseModules("sized");
    CalendarZone zone;
    ASSERT_TRUE(LoadMailboxTimeZone("po", "berlin", zone));
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(OffsetAt(zone, "2011-07-01T00:00:00"), "+100"); }), std::string(kNoStandard) + kNoDaylight);
}

}  // namespace
}  // namespace velmora::test
