// Dates, offsets and durations of calendars, and the times of headers, on machines of several zones: any text is read or
// refused within its bounds; dates made up of the input come out as the calendar has them, and what is written is read back.
// Any zone has one of its own offsets at any moment.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>
#include <string>

#include "fuzz/FuzzedChoices.h"
#include "items/CalendarArithmetic.h"
#include "items/CalendarDates.h"
#include "items/DateForms.h"
#include "items/HeaderTimes.h"
#include "items/TimeZones.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr size_t kLongestField = 64;
constexpr const char* kMachineZones[] = {"UTC0", "EST5EDT,M3.2.0,M11.1.0", "NZST-12NZDT,M9.5.0,M4.1.0/3"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool IsLeap(uint32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// Days since 1970 of a date, counted year by year and month by month.
int64_t DaysOf(uint32_t year, uint32_t month, uint32_t day)
{
    constexpr uint32_t kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int64_t days = 0;
    for (uint32_t y = 1970; y < year; ++y) days += IsLeap(y) ? 366 : 365;
    for (uint32_t m = 1; m < month; ++m) days += kLengths[m - 1] + (m == 2 && IsLeap(year) ? 1 : 0);
    return days + day - 1;
}

void AnyTextAsCalendarDate(const std::string& text, const char* zoneOffset)
{
    constexpr uint64_t kUnread = 7;
    uint64_t moment = kUnread;
    char iso[kLongestField];
    if (ParseCalendarDateTime(text, moment, zoneOffset)) {
        if (!FormatFileTimeText(moment, iso, sizeof iso)) Require("a date that was read cannot be written: " + text);
    } else if (moment != kUnread) {
        Require("a refused date gave a moment: " + text);
    }
}

// A field of exactly that size, so that a byte behind it is noticed.
void AnyTextAsHeaderTime(const std::string& text, size_t fieldSize)
{
    const auto field = std::make_unique<char[]>(fieldSize);
    std::memset(field.get(), '#', fieldSize);
    const bool read = ParseHeaderTimeToIso(text, field.get(), fieldSize);
    if (!read)
        for (size_t i = 0; i < fieldSize; ++i)
            if (field[i] != '#') Require("a refused time was written");
    if (read && fieldSize > 0 && !std::memchr(field.get(), '\0', fieldSize)) Require("a time without an end");
    if (!read && ParseHeaderTimeToUnix(text) != 0) Require("one reads what the other refuses: " + text);
}

void AnyTextAsOffsetOrDuration(const std::string& text)
{
    const int32_t minutes = ParseZoneOffset(text.c_str());
    if (minutes % 60 != 0) Require("an offset with minutes: " + text);
    const int32_t seconds = ParseDurationSeconds(text);
    if (seconds > 0 && text.find('-') != std::string::npos) Require("a duration that is not negative: " + text);
}

void AnyNumberAsOffset(int32_t number, size_t fieldSize)
{
    const auto field = std::make_unique<char[]>(fieldSize);
    FormatZoneOffset(number, field.get(), fieldSize);
    const int32_t minutes = number % (1000 * 60);
    char text[kLongestField];
    FormatZoneOffset(minutes, text, sizeof text);
    if (ParseZoneOffset(text) != minutes / 60 * 60) Require(std::string("another offset comes back from ") + text);
}

// The same date in both forms, with an offset of whole hours in the text or beside it.
void MadeUpCalendarDate(Choices& choices)
{
    const uint32_t year = 1970 + choices.Below(1000);
    const uint32_t month = 1 + choices.Below(12);
    const uint32_t day = 1 + choices.Below(28);
    const uint32_t hour = choices.Below(24), minute = choices.Below(60), second = choices.Below(60);
    const bool dashed = choices.OneIn(2);
    const bool beside = choices.OneIn(2);
    // The dashed form has no offset with a minus sign.
    const int32_t hours = static_cast<int32_t>(choices.Below(24)) - (dashed && !beside ? 0 : 12);
    char offset[16];
    std::snprintf(offset, sizeof offset, "%c%04d", hours < 0 ? '-' : '+', std::abs(hours) * 100);
    char text[80];
    std::snprintf(text, sizeof text, dashed ? "%04u-%02u-%02uT%02u:%02u:%02u%s" : "%04u%02u%02uT%02u%02u%02u%s", year, month, day, hour,
                  minute, second, beside ? "Z" : offset);
    const int64_t expected = ((DaysOf(year, month, day) * 24 + hour - hours) * 60 + minute) * 60 + second;
    uint64_t moment = 0;
    if (!ParseCalendarDateTime(text, moment, beside ? offset : nullptr)) Require(std::string(text) + " was refused");
    if (UnixTimeFromFileTime(moment) != expected) Require(std::string(text) + " is another moment");
}

void MadeUpHeaderTime(Choices& choices)
{
    const uint32_t year = 1970 + choices.Below(130);
    const uint32_t month = 1 + choices.Below(12);
    // East of Greenwich the first day of 1970 is not in the calendar as a local one.
    const uint32_t firstDay = year == 1970 && month == 1 ? 2 : 1;
    const uint32_t day = firstDay + choices.Below(29 - firstDay);
    const uint32_t hour = choices.Below(24), minute = choices.Below(60);
    const uint32_t second = choices.OneIn(2) ? 0 : choices.Below(60);
    char text[80];
    if (second == 0) {
        std::snprintf(text, sizeof text, "%02u:%02u %02u %s, %4u", hour, minute, day, kMonths[month - 1], year);
    } else {
        std::snprintf(text, sizeof text, "%02u:%02u:%02u %02u %s, %4u", hour, minute, second, day, kMonths[month - 1], year);
    }
    const int64_t moment = ((DaysOf(year, month, day) * 24 + hour) * 60 + minute) * 60 + second;
    if (ParseHeaderTimeToUnix(text) != static_cast<int32_t>(static_cast<uint32_t>(moment)))
        Require(std::string(text) + " is another moment");
    char written[kLongestField] = "refused";
    (void)!FormatHeaderTime(moment, written, sizeof written);
    if (std::string(text) != written) Require(std::string(text) + " is written as " + written);
}

void AnyMonth(int32_t year, int32_t month, int32_t weekday, int32_t n)
{
    const int32_t day = NthWeekdayOfMonth(year, month, weekday, n);
    if (day < 0 || day > DaysInMonth(year, month)) Require("a day outside of its month");
    if (day != 0 && DayOfWeek(month, day, year) != weekday) Require("another weekday");
    if (day == 0 && weekday >= 0 && weekday <= 6 && month >= 1 && month <= 12) Require("a month without that weekday");
}

void UseMachineZone(Choices& choices)
{
    setenv("TZ", kMachineZones[choices.Below(std::size(kMachineZones))], 1);
    tzset();
}

// A change on a day, by weekday or not at all, with numbers that mostly have their place in a date.
void MakeUpChange(Choices& choices, CalendarZoneBlock& block)
{
    const bool inPlace = !choices.OneIn(4);
    const auto number = [&](uint32_t bound) { return static_cast<int32_t>(choices.Below(inPlace ? bound : UINT32_MAX)); };
    const auto part = [&](uint32_t bound) { return static_cast<WORD>(choices.Below(inPlace ? bound : 0x10000)); };
    block.Rule.RecurrenceType = number(8);
    block.Rule.MonthOfYear = number(14);
    block.Rule.FixedDay = number(32);
    block.Rule.DayOfWeekMask = number(8);
    block.Rule.Instance = choices.OneIn(4) ? -1 : number(7);
    block.Start.wYear = part(3000);
    block.Start.wHour = part(24);
    block.Start.wMinute = part(60);
    block.Start.wSecond = part(60);
    block.Start.wMilliseconds = part(1000);
}

void MadeUpZone(Choices& choices)
{
    CalendarZone zone;
    MakeUpChange(choices, zone.Standard);
    MakeUpChange(choices, zone.Daylight);
    const uint64_t seconds = uint64_t{choices.Below(UINT32_MAX)} * (choices.OneIn(8) ? UINT32_MAX : 1);
    const char* const offset = SelectZoneOffset(zone, UnixTimeToFileTime(static_cast<int64_t>(seconds)));
    if (offset != zone.Standard.OffsetFrom && offset != zone.Standard.OffsetTo && offset != zone.Daylight.OffsetFrom &&
        offset != zone.Daylight.OffsetTo) {
        Require("an offset that is not the zone's");
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // Zones without changes say so on standard output; the fuzzer itself speaks on the other one.
    return std::freopen("/dev/null", "w", stdout) ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The choices are made at the end of an input, so that its start may be a text to be read.
    FuzzedChoices choices(data, size);
    const size_t fieldSize = choices.OneIn(4) ? choices.Below(kLongestField + 1) : kLongestField;
    const auto number = [&choices] { return static_cast<int32_t>(choices.Below(UINT32_MAX)); };
    const bool withOffset = choices.OneIn(2);
    AnyNumberAsOffset(number(), fieldSize);
    const int32_t year = number();
    const bool nearMonth = !choices.OneIn(4);
    const int32_t month = nearMonth ? static_cast<int32_t>(choices.Below(14)) : number();
    const int32_t weekday = nearMonth ? static_cast<int32_t>(choices.Below(9)) : number();
    AnyMonth(year, month, weekday, number());
    MadeUpCalendarDate(choices);
    UseMachineZone(choices);
    MadeUpHeaderTime(choices);
    MadeUpZone(choices);
    const std::string text = choices.Bytes(1000);
    const std::string offset = withOffset ? choices.Bytes(40) : std::string();
    AnyTextAsCalendarDate(text, withOffset ? offset.c_str() : nullptr);
    AnyTextAsHeaderTime(text, fieldSize);
    AnyTextAsOffsetOrDuration(text);
    AnyTextAsOffsetOrDuration(offset);
    return 0;
}
