// Dates in every form that the store reads: any text as the date of a message or as ISO text, any number as a moment; and
// dates made up of the input, which must come out as the calendar has them.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "fuzz/FuzzedChoices.h"
#include "items/DateForms.h"
#include "items/MessageDate.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr size_t kLongestIso = 64;
constexpr int64_t kFirstFileTimeSecond = -11644473600;  // 1601, in Unix seconds
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Days since 1970 of a date, counted year by year and month by month.
int64_t DaysOf(uint32_t year, uint32_t month, uint32_t day)
{
    const auto leap = [](uint32_t y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
    constexpr uint32_t kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int64_t days = 0;
    for (uint32_t y = 1970; y < year; ++y) days += leap(y) ? 366 : 365;
    for (uint32_t m = 1; m < month; ++m) days += kLengths[m - 1] + (m == 2 && leap(year) ? 1 : 0);
    return days + day - 1;
}

std::string IsoOf(int64_t unixSeconds)
{
    char text[kLongestIso] = "refused";
    if (!FormatFileTimeText(UnixTimeToFileTime(unixSeconds), text, sizeof text)) return "refused";
    return text;
}

// A field of exactly that size, so that a byte behind it is noticed.
void AnyTextAsMessageDate(const std::string& text, size_t fieldSize)
{
    const auto field = std::make_unique<char[]>(fieldSize);
    std::memset(field.get(), '#', fieldSize);
    const bool read = ParseMessageDate(text, field.get(), fieldSize);
    if (!read)
        for (size_t i = 0; i < fieldSize; ++i)
            if (field[i] != '#') Require("a refused date was written");
    if (read && fieldSize > 0 && !std::memchr(field.get(), '\0', fieldSize)) Require("a date without an end");
}

void AnyTextAsIso(const std::string& text)
{
    uint64_t moment = 0;
    if (!ParseIsoDateTime(text, moment)) return;
    char iso[kLongestIso];
    uint64_t again = 0;
    if (!FormatFileTimeText(moment, iso, sizeof iso)) Require("a date that was read cannot be written");
    if (!ParseIsoDateTime(iso, again) || again != moment) Require("another moment comes back from " + std::string(iso));
}

void AnyNumberAsMoment(uint64_t number, size_t fieldSize)
{
    const auto field = std::make_unique<char[]>(fieldSize);
    (void)!FormatFileTimeText(number, field.get(), fieldSize);
    const uint32_t dos = DosDateTime(FileTimeFromValue(number));
    const uint32_t date = dos >> 16;
    if (dos != 0 && ((date >> 5 & 15) < 1 || (date >> 5 & 15) > 12 || (date & 31) < 1)) Require("no date in DOS form");
    if (FileTimeValue(FileTimeFromValue(number)) != number) Require("a file time does not come back");
    const auto seconds = static_cast<int64_t>(number);
    const int64_t back = UnixTimeFromFileTime(UnixTimeToFileTime(seconds));
    if (seconds >= kFirstFileTimeSecond && seconds < int64_t{1} << 39 && back != seconds) Require("Unix seconds do not come back");
}

// "Mon, 7 Feb 2011 10:00:00 +0100" of the input's making, from 1971 on so that no zone takes it before 1970.
void MadeUpDate(Choices& choices)
{
    const uint32_t year = 1971 + choices.Below(1000);
    const uint32_t month = 1 + choices.Below(12);
    const uint32_t day = 1 + choices.Below(28);
    const uint32_t hour = choices.Below(24), minute = choices.Below(60), second = choices.Below(60);
    const int64_t zoneMinutes = static_cast<int64_t>(choices.Below(24 * 60)) - 12 * 60;
    const int64_t zone = zoneMinutes / 60 * 100 + zoneMinutes % 60;
    char text[80];
    std::snprintf(text, sizeof text, "%s%u %s %u %02u:%02u:%02u %c%04d", choices.OneIn(2) ? "Mon, " : "", day, kMonths[month - 1], year,
                  hour, minute, second, zone < 0 ? '-' : '+', static_cast<int>(zone < 0 ? -zone : zone));
    const int64_t moment = ((DaysOf(year, month, day) * 24 + hour) * 60 + minute - zoneMinutes) * 60 + second;
    char iso[kLongestIso] = "refused";
    (void)!ParseMessageDate(text, iso, sizeof iso);
    if (iso != IsoOf(moment)) Require(std::string(text) + " became " + iso + " and not " + IsoOf(moment));
}

void MonthNames(const std::string& text, int32_t number)
{
    char name[8];
    MonthName(number, name, sizeof name);
    if (std::strlen(name) != 3) Require("no month's name");
    const int32_t month = MonthFromName(text);
    if (month < 1 || month > 11) Require("no month's number");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setenv("TZ", "UTC", 1);
    tzset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The choices are made at the end of an input, so that its start may be a date to be read.
    FuzzedChoices choices(data, size);
    const size_t fieldSize = choices.OneIn(4) ? choices.Below(kLongestIso + 1) : kLongestIso;
    const uint64_t number = uint64_t{choices.Below(UINT32_MAX)} << 32 | choices.Below(UINT32_MAX);
    MadeUpDate(choices);
    AnyNumberAsMoment(number, fieldSize);
    const std::string text = choices.Bytes(1000);
    AnyTextAsMessageDate(text, fieldSize);
    AnyTextAsIso(text);
    MonthNames(text, static_cast<int32_t>(number));
    return 0;
}
