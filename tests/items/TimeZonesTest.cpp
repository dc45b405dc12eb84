// Zones by name, and the zones of mailboxes.
#include <algorithm>
#include <cstring>
#include <string>

#include "items/TimeZones.h"
#include "tests/items/ZoneFixture.h"

namespace velmora::test {
namespace {

// 44 bytes whose numbers are known: bias 120, 1, -61; standard 2011-11-06 03:04:05.006, daylight 2012-03-11 02:00.
constexpr char kDated[] =
    "hex:78,00,00,00,01,00,00,00,c3,ff,ff,ff,db,07,0b,00,04,00,06,00,03,00,04,00,05,00,06,00,dc,07,03,00,02,00,0b,00,02,00,00,00,00,00,00,"
    "00";

class Zones : public ZoneFixture {
protected:
    void SetUp() override { AddZone("Dated Standard Time", kDated); }
};

std::string Hex(size_t bytes)
{
    std::string text = "hex:";
    for (size_t i = 0; i < bytes; ++i) text += i + 1 < bytes ? "01," : "01";
    return text;
}

bool IsEmpty(const CalendarZone& zone)
{
    const auto blank = [](const CalendarZoneBlock& block) {
        return block.OffsetFrom[0] == 0 && block.OffsetTo[0] == 0 && block.Start.wMonth == 0 && block.Rule.RecurrenceType == 0;
    };
    return zone.Name[0] == 0 && blank(zone.Standard) && blank(zone.Daylight);
}

CalendarZone ZoneOf(const char* mailbox, bool expected = true)
{
    CalendarZone zone;
    std::memset(zone.Name, 'x', sizeof zone.Name);
    std::strcpy(zone.Standard.OffsetTo, "old");
    zone.Daylight.Rule.RecurrenceType = 6;
    EXPECT_EQ(LoadMailboxTimeZone("po", mailbox, zone), expected) << mailbox;
    return zone;
}

TEST_F(Zones, ARecordIsReadFieldByField)
{
    TimeZoneRecord record;
    ASSERT_TRUE(LoadRegistryTimeZone("Dated Standard Time", record));
    EXPECT_EQ(record.Bias, 120);
    EXPECT_EQ(record.StandardBias, 1);
    EXPECT_EQ(record.DaylightBias, -61);
    EXPECT_EQ(record.StandardDate.wYear, 2011);
    EXPECT_EQ(record.StandardDate.wMonth, 11);
    EXPECT_EQ(record.StandardDate.wDayOfWeek, 4);
    EXPECT_EQ(record.StandardDate.wDay, 6);
    EXPECT_EQ(record.StandardDate.wHour, 3);
    EXPECT_EQ(record.StandardDate.wMinute, 4);
    EXPECT_EQ(record.StandardDate.wSecond, 5);
    EXPECT_EQ(record.StandardDate.wMilliseconds, 6);
    EXPECT_EQ(record.DaylightDate.wYear, 2012);
    EXPECT_EQ(record.DaylightDate.wMonth, 3);
    EXPECT_EQ(record.DaylightDate.wDayOfWeek, 2);
    EXPECT_EQ(record.DaylightDate.wDay, 11);
    EXPECT_EQ(record.DaylightDate.wHour, 2);
}

TEST_F(Zones, ANameIsFoundInAnyCase)
{
    TimeZoneRecord record;
    ASSERT_TRUE(LoadRegistryTimeZone("w. europe standard TIME", record));
    EXPECT_EQ(record.Bias, -60);
}

TEST_F(Zones, ARecordOfAnotherLengthIsRefused)
{
    for (const size_t size : {size_t{0}, size_t{1}, size_t{43}, size_t{45}, size_t{440}}) {
        const std::string name = "Sized " + std::to_string(size);
        AddZone(name, Hex(size));
        TimeZoneRecord record;
        record.Bias = 7;
        EXPECT_FALSE(LoadRegistryTimeZone(name.c_str(), record)) << size;
        EXPECT_EQ(record.Bias, 7) << size;
    }
    AddZone("Whole", Hex(44));
    TimeZoneRecord record;
    EXPECT_TRUE(LoadRegistryTimeZone("Whole", record));
}

TEST_F(Zones, AnUnknownNameIsRefused)
{
    TimeZoneRecord record;
    for (const std::string& name : {std::string("Nowhere Standard Time"), std::string(), std::string("\\"), std::string(100000, 'x')})
        EXPECT_FALSE(LoadRegistryTimeZone(name.c_str(), record)) << name.substr(0, 30);
    EXPECT_FALSE(LoadRegistryTimeZone(nullptr, record));
}

TEST_F(Zones, AMailboxHasTheZoneOfItsOption)
{
    UseModules("sized");
    const CalendarZone zone = ZoneOf("berlin");
    EXPECT_STREQ(zone.Name, "W. Europe Standard Time");
    EXPECT_STREQ(zone.Standard.OffsetFrom, "+200");
    EXPECT_STREQ(zone.Standard.OffsetTo, "+100");
    EXPECT_STREQ(zone.Daylight.OffsetFrom, "+100");
    EXPECT_STREQ(zone.Daylight.OffsetTo, "+200");
    EXPECT_EQ(zone.Standard.Start.wMonth, 10);
    EXPECT_EQ(zone.Standard.Start.wDay, 5);
    EXPECT_EQ(zone.Daylight.Start.wMonth, 3);
    EXPECT_EQ(zone.Daylight.Start.wHour, 2);
}

TEST_F(Zones, AChangeWithoutAYearLeavesTheRuleEmpty)
{
    UseModules("sized");
    const CalendarZone zone = ZoneOf("berlin");
    for (const RecurrencePattern* rule : {&zone.Standard.Rule, &zone.Daylight.Rule}) {
        EXPECT_EQ(rule->RecurrenceType, 0);
        EXPECT_EQ(rule->Interval, 0);
        EXPECT_EQ(rule->MonthOfYear, 0);
        EXPECT_EQ(rule->DayOfWeekMask, 0);
        EXPECT_EQ(rule->Instance, 0);
    }
}

TEST_F(Zones, AChangeWithAYearBecomesTheRule)
{
    UseModules("sized");
    const CalendarZone zone = ZoneOf("dated");
    EXPECT_STREQ(zone.Name, "Dated Standard Time");
    EXPECT_EQ(zone.Standard.Start.wYear, 2011);
    EXPECT_EQ(zone.Standard.Rule.RecurrenceType, 5);
    EXPECT_EQ(zone.Standard.Rule.Interval, 1);
    EXPECT_EQ(zone.Standard.Rule.MonthOfYear, 11);
    EXPECT_EQ(zone.Standard.Rule.DayOfWeekMask, 4);
    EXPECT_EQ(zone.Standard.Rule.Instance, 6);
    EXPECT_EQ(zone.Standard.Rule.FixedDay, 0);
    EXPECT_EQ(zone.Daylight.Rule.MonthOfYear, 3);
    EXPECT_EQ(zone.Daylight.Rule.DayOfWeekMask, 2);
    EXPECT_EQ(zone.Daylight.Rule.Instance, 11);
    EXPECT_STREQ(zone.Standard.OffsetFrom, "-059");
    EXPECT_STREQ(zone.Standard.OffsetTo, "-201");
    EXPECT_STREQ(zone.Daylight.OffsetFrom, "-201");
    EXPECT_STREQ(zone.Daylight.OffsetTo, "-059");
}

TEST_F(Zones, TheGetThatKnowsItsBufferIsPreferred)
{
    UseModules("sized");
    EXPECT_STREQ(ZoneOf("own").Name, "Tokyo Standard Time");
}

TEST_F(Zones, TheOtherGetServesAModuleWithoutIt)
{
    UseModules("plain");
    EXPECT_STREQ(ZoneOf("own").Name, "India Standard Time");
}

TEST_F(Zones, ADirectoryThatEndsInABackslashHasItsModulesInOneBelowIt)
{
    UseModules("below\\");
    EXPECT_STREQ(ZoneOf("own").Name, "India Standard Time");
    UseModules("plain\\");
    EXPECT_TRUE(IsEmpty(ZoneOf("own", false))) << "there is no \"64\" in it";
}

TEST_F(Zones, WithoutOptionModuleOrKnownNameTheZoneIsEmpty)
{
    EXPECT_TRUE(IsEmpty(ZoneOf("berlin", false))) << "no module";
    UseModules("sized");
    for (const char* mailbox : {"stranger", "nowhere", "empty", "endless", ""}) EXPECT_TRUE(IsEmpty(ZoneOf(mailbox, false))) << mailbox;
    CalendarZone zone;
    EXPECT_FALSE(LoadMailboxTimeZone(nullptr, nullptr, zone));
    EXPECT_FALSE(LoadMailboxTimeZone("other", "berlin", zone));
}

TEST_F(Zones, BiasesBeyondAllBoundsWrap)
{
    std::string bytes = "hex:ff,ff,ff,7f,ff,ff,ff,7f,00,00,00,80";
    for (int i = 0; i < 32; ++i) bytes += ",ff";
    AddZone("W. Europe Standard Time", bytes);
    UseModules("sized");
    const CalendarZone zone = ZoneOf("berlin");
    EXPECT_STREQ(zone.Standard.OffsetTo, "+002");
    EXPECT_STREQ(zone.Standard.OffsetFrom, "+001");
    EXPECT_EQ(zone.Standard.Rule.MonthOfYear, 65535);
}

}  // namespace
}  // namespace velmora::test
