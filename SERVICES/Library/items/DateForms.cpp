#include "items/DateForms.h"

#include <array>
#include <cstdio>

#include "common/Text.h"

namespace velmora {

namespace {

constexpr uint64_t kUnixEpochSeconds = 11644473600;  // from 1601 to 1970
constexpr uint64_t kTicksPerSecond = 10000000;
constexpr size_t kIsoLength = 19;
constexpr size_t kIsoFieldSize = 256;
constexpr int32_t kDecember = 11;
constexpr int32_t kFirstTmYear = 1900;
constexpr int32_t kCenturySplit = 50;  // shorter years below it belong to the years from 2000 on

constexpr std::array<std::string_view, 12> kMonthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

int32_t ClampDay(int32_t day) { return day < 1 || day > 31 ? 1 : day; }
int32_t ClampHour(int32_t hour) { return hour < 0 || hour > 24 ? 0 : hour; }
int32_t ClampMinuteOrSecond(int32_t value) { return value < 0 || value > 59 ? 0 : value; }

int32_t YearSince1900(std::string_view text)
{
    const int32_t year = ParseLong(text);
    if (year < kCenturySplit) return year + 100;
    return year > kFirstTmYear ? year - kFirstTmYear : year;
}

std::tm FieldsOf(const DateTokens& tokens)
{
    std::tm fields = {};
    fields.tm_year = YearSince1900(tokens.year);
    fields.tm_mon = EqualsNoCase(tokens.month, "Jan") ? 0 : MonthFromName(tokens.month);
    fields.tm_mday = ClampDay(ParseLong(tokens.day));
    fields.tm_hour = ClampHour(ParseLong(tokens.hour));
    fields.tm_min = ClampMinuteOrSecond(ParseLong(tokens.minute));
    fields.tm_sec = ClampMinuteOrSecond(ParseLong(tokens.second));
    return fields;
}

void WriteIsoText(const IsoFields& fields, char* result, size_t size)
{
    char text[80];
    const int length = std::snprintf(text, sizeof text, "%4d-%02d-%02dT%02d:%02d:%02d", fields.year, fields.month, fields.day, fields.hour,
                                     fields.minute, fields.second);
    CopyBounded(result, size, std::string_view(text, static_cast<size_t>(length)));
}

uint64_t FileTimeValue(const FILETIME& time) { return (uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime; }

FILETIME FileTimeFromValue(uint64_t value)
{
    FILETIME time;
    time.dwLowDateTime = static_cast<uint32_t>(value);
    time.dwHighDateTime = static_cast<uint32_t>(value >> 32);
    return time;
}

uint64_t UnixTimeToFileTime(int64_t seconds) { return (static_cast<uint64_t>(seconds) + kUnixEpochSeconds) * kTicksPerSecond; }

int64_t UnixTimeFromFileTime(uint64_t fileTime)
{
    const uint64_t sinceEpoch = fileTime - kUnixEpochSeconds * kTicksPerSecond;
    return static_cast<int64_t>(sinceEpoch) / static_cast<int64_t>(kTicksPerSecond);
}

uint32_t DosDateTime(const FILETIME& time)
{
    uint16_t date = 0;
    uint16_t clock = 0;
    if (!FileTimeToDosDateTime(&time, &date, &clock)) return 0;
    return (uint32_t{date} << 16) | clock;
}

bool ParseIsoDateTime(std::string_view text, uint64_t& fileTime)
{
    if (text.size() != kIsoLength) return false;
    const auto field = [text](size_t at, size_t length) { return static_cast<uint16_t>(ParseLong(text.substr(at, length))); };
    SYSTEMTIME parts = {};
    parts.wYear = field(0, 4);
    parts.wMonth = field(5, 2);
    parts.wDay = field(8, 2);
    parts.wHour = field(11, 2);
    parts.wMinute = field(14, 2);
    parts.wSecond = field(17, 2);
    FILETIME time;
    if (!SystemTimeToFileTime(&parts, &time)) return false;
    fileTime = FileTimeValue(time);
    return true;
}

bool FormatFileTimeText(uint64_t fileTime, char* result, size_t size)
{
    const FILETIME time = FileTimeFromValue(fileTime);
    SYSTEMTIME parts;
    if (!FileTimeToSystemTime(&time, &parts)) return false;
    const IsoFields fields{parts.wYear,
                           parts.wMonth,
                           ClampDay(parts.wDay),
                           ClampHour(parts.wHour),
                           ClampMinuteOrSecond(parts.wMinute),
                           ClampMinuteOrSecond(parts.wSecond)};
    WriteIsoText(fields, result, size < kIsoFieldSize ? size : kIsoFieldSize);
    return true;
}

int32_t MonthFromName(std::string_view name)
{
    for (size_t i = 1; i < kDecember; ++i)
        if (EqualsNoCase(name, kMonthNames[i])) return static_cast<int32_t>(i);
    return kDecember;
}

void MonthName(int32_t index, char* result, size_t size)
{
    const int32_t known = index >= 0 && index < kDecember ? index : kDecember;
    CopyBounded(result, size, kMonthNames[static_cast<size_t>(known)]);
}

}  // namespace velmora
