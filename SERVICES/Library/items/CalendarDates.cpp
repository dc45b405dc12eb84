#include "items/CalendarDates.h"

#include <cstdlib>
#include <string>

#include "common/Text.h"
#include "items/DateForms.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr size_t kLongestText = 127;
constexpr size_t kShortestText = 8;         // "20110207"
constexpr size_t kShortestWithTime = 10;    // shorter ones are a date alone
constexpr size_t kLongestZoneOffset = 5;    // "+1000"
constexpr size_t kDashOfTheDashedForm = 4;  // behind the year
constexpr int32_t kDefaultDurationSeconds = 3600;
constexpr int64_t kTicksPerSecond = 10000000;

// 32-bit arithmetic that wraps.
int32_t Wrapped(int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); }

// "2011-02-07T10:00:00" as "20110207T100000": without its first two dashes and all of its colons.
std::string WithoutSeparators(std::string_view text)
{
    std::string compact;
    compact.reserve(text.size());
    int dashes = 0;
    for (const char c : text) {
        if (c == ':' || (c == '-' && ++dashes <= 2)) continue;
        compact += c;
    }
    return compact;
}

WORD FieldAt(std::string_view text, size_t at, size_t length)
{
    return at < text.size() ? static_cast<WORD>(ParseLong(text.substr(at, length))) : WORD{0};
}

// The offset that stands in the text itself; empty when there is none.
std::string_view OffsetWithin(std::string_view text)
{
    size_t sign = text.find('+');
    if (sign == std::string_view::npos) sign = text.find('-');
    if (sign == std::string_view::npos || text.size() - sign > kLongestZoneOffset) return {};
    return text.substr(sign);
}

int32_t OffsetMinutes(std::string_view text) { return EqualsNoCase(text, "GMT") ? 0 : ParseLong(text) / 100 * 60; }

}  // namespace

bool ParseCalendarDateTime(std::string_view text, uint64_t& fileTime, const char* zoneOffset)
{
    std::string copy(text.substr(0, kLongestText));
    if (copy.size() > kDashOfTheDashedForm && copy[kDashOfTheDashedForm] == '-') copy = WithoutSeparators(copy);
    if (copy.size() < kShortestText) return false;

    SYSTEMTIME parts = {};
    parts.wYear = FieldAt(copy, 0, 4);
    parts.wMonth = FieldAt(copy, 4, 2);
    parts.wDay = FieldAt(copy, 6, 2);
    std::string_view offset = TextOrEmpty(zoneOffset);
    if (text.size() >= kShortestWithTime) {
        parts.wHour = FieldAt(copy, 9, 2);
        parts.wMinute = FieldAt(copy, 11, 2);
        parts.wSecond = FieldAt(copy, 13, 2);
        if (offset.empty()) offset = OffsetWithin(text);
    }
    FILETIME time;
    if (!SystemTimeToFileTime(&parts, &time)) return false;
    const int64_t offsetTicks = Wrapped(int64_t{OffsetMinutes(offset)} * -60) * kTicksPerSecond;
    const int64_t moment = static_cast<int64_t>(FileTimeValue(time)) + offsetTicks;
    if (moment < 0) return false;
    fileTime = static_cast<uint64_t>(moment);
    return true;
}

int32_t ParseZoneOffset(const char* text) { return OffsetMinutes(TextOrEmpty(text)); }

void FormatZoneOffset(int32_t minutes, char* result, size_t size)
{
    const int64_t absolute = std::llabs(int64_t{minutes});
    CopyBounded(result, size,
                FormatText("%s%d%02d", minutes < 0 ? "-" : "+", static_cast<int>(absolute / 60), static_cast<int>(absolute % 60)));
}

int32_t ParseDurationSeconds(std::string_view text)
{
    int32_t seconds = kDefaultDurationSeconds;
    const size_t begin = text.find('T');
    if (begin != std::string_view::npos) {
        const auto numberUpTo = [text, begin](size_t end) { return int64_t{ParseLong(text.substr(begin + 1, end - begin - 1))}; };
        const size_t hours = text.find('H', begin);
        if (hours != std::string_view::npos) seconds = Wrapped(numberUpTo(hours) * 3600);
        const size_t minutes = text.find('M', begin);
        if (minutes != std::string_view::npos) seconds = Wrapped(numberUpTo(minutes) * 60);
    }
    const bool negative = text.find('-') != std::string_view::npos;
    return negative && seconds > 0 ? -seconds : seconds;
}

}  // namespace velmora
