#include "items/TimeZones.h"

#include <optional>
#include <string>

#include "common/Text.h"
#include "frame/Companions.h"
#include "frame/Logging.h"
#include "items/CalendarArithmetic.h"
#include "items/CalendarDates.h"
#include "items/DateForms.h"

namespace velmora {

namespace {

constexpr char kZonesKey[] = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\";
constexpr size_t kRecordSize = 44;
constexpr uint32_t kMailboxScope = 2;

// Walks through the bytes of a record.
class RecordReader {
public:
    explicit RecordReader(const uint8_t* bytes) : next_(bytes) {}
    uint32_t Number(int bytes)
    {
        uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) value |= uint32_t{*next_++} << (8 * i);
        return value;
    }
    int32_t Minutes() { return static_cast<int32_t>(Number(4)); }
    SYSTEMTIME Date()
    {
        SYSTEMTIME date = {};
        for (WORD* field :
             {&date.wYear, &date.wMonth, &date.wDayOfWeek, &date.wDay, &date.wHour, &date.wMinute, &date.wSecond, &date.wMilliseconds}) {
            *field = static_cast<WORD>(Number(2));
        }
        return date;
    }

private:
    const uint8_t* next_;
};

bool ReadZoneBytes(const char* name, uint8_t (&bytes)[kRecordSize])
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, (std::string(kZonesKey) + name).c_str(), 0, KEY_QUERY_VALUE, &key) != 0) return false;
    DWORD size = kRecordSize;
    const bool read = RegQueryValueExA(key, "TZI", nullptr, nullptr, bytes, &size) == 0 && size == kRecordSize;
    RegCloseKey(key);
    return read;
}

// Minutes that UTC is ahead, as an offset text; a sum that has no place in 32 bits wraps.
void WriteOffset(int32_t bias, int32_t more, char (&text)[kZoneOffsetSize])
{
    const int64_t minutes = -(int64_t{bias} + more);
    FormatZoneOffset(static_cast<int32_t>(static_cast<uint32_t>(minutes)), text, sizeof text);
}

void FillChange(const SYSTEMTIME& date, CalendarZoneBlock& block)
{
    block.Start = date;
    if (date.wYear == 0) return;
    block.Rule.RecurrenceType = kRecursYearly;
    block.Rule.Interval = 1;
    block.Rule.MonthOfYear = date.wMonth;
    block.Rule.DayOfWeekMask = date.wDayOfWeek;
    block.Rule.Instance = date.wDay;
}

void FillZone(const char* name, const TimeZoneRecord& record, CalendarZone& zone)
{
    CopyBounded(zone.Name, name);
    FillChange(record.StandardDate, zone.Standard);
    FillChange(record.DaylightDate, zone.Daylight);
    WriteOffset(record.Bias, record.DaylightBias, zone.Standard.OffsetFrom);
    WriteOffset(record.Bias, record.StandardBias, zone.Standard.OffsetTo);
    CopyBounded(zone.Daylight.OffsetFrom, zone.Standard.OffsetTo);
    CopyBounded(zone.Daylight.OffsetTo, zone.Standard.OffsetFrom);
}

// A number of a rule as part of a date: one that has no place there is 0, which is no date.
WORD DatePart(int32_t value) { return value > 0 && value <= 0xFFFF ? static_cast<WORD>(value) : WORD{0}; }

// The day and time of a block's change in a year; all zero when there is none.
SYSTEMTIME ChangeIn(int32_t year, const CalendarZoneBlock& block)
{
    SYSTEMTIME change = {};
    const RecurrencePattern& rule = block.Rule;
    if (rule.RecurrenceType != kRecursYearly && rule.RecurrenceType != kRecursYearlyByWeekday) return change;
    change = block.Start;
    change.wYear = DatePart(year);
    change.wMonth = DatePart(rule.MonthOfYear);
    change.wDayOfWeek = 0;
    change.wDay =
        DatePart(rule.RecurrenceType == kRecursYearly ? rule.FixedDay
                                                      : NthWeekdayOfMonth(year, rule.MonthOfYear, rule.DayOfWeekMask, rule.Instance));
    return change;
}

// The change in Unix seconds; none, and a line that says so, when there is no such date.
std::optional<int64_t> ChangeSeconds(const char* which, const SYSTEMTIME& change)
{
    FILETIME time;
    if (SystemTimeToFileTime(&change, &time)) return UnixTimeFromFileTime(FileTimeValue(time));
    PrintLine(FormatText("Error Occurred Converting %s::SystemTimeToFileTime: %ld\n", which, static_cast<long>(GetLastError())));
    return std::nullopt;
}

}  // namespace

bool LoadRegistryTimeZone(const char* name, TimeZoneRecord& record)
{
    uint8_t bytes[kRecordSize];
    if (!name || !ReadZoneBytes(name, bytes)) return false;
    RecordReader reader(bytes);
    record.Bias = reader.Minutes();
    record.StandardBias = reader.Minutes();
    record.DaylightBias = reader.Minutes();
    record.StandardDate = reader.Date();
    record.DaylightDate = reader.Date();
    return true;
}

bool LoadMailboxTimeZone(const char* postOffice, const char* mailbox, CalendarZone& zone)
{
    zone = {};
    const std::string key = std::string(TextOrEmpty(postOffice)) + "/" + std::string(TextOrEmpty(mailbox));
    std::string name;
    TimeZoneRecord record;
    if (!AskOption(kMailboxScope, key, "TimeZone", name) || !LoadRegistryTimeZone(name.c_str(), record)) return false;
    FillZone(name.c_str(), record, zone);
    return true;
}

const char* SelectZoneOffset(const CalendarZone& zone, uint64_t fileTime)
{
    const FILETIME moment = FileTimeFromValue(fileTime);
    SYSTEMTIME parts = {};
    const int32_t year = FileTimeToSystemTime(&moment, &parts) ? parts.wYear : 0;
    const std::optional<int64_t> standard = ChangeSeconds("StandardChangeOver", ChangeIn(year, zone.Standard));
    const std::optional<int64_t> daylight = ChangeSeconds("DaylightChangeOver", ChangeIn(year, zone.Daylight));
    if (!standard || !daylight) return zone.Standard.OffsetTo;

    const bool daylightIsEarlier = *daylight <= *standard;
    const CalendarZoneBlock& earlier = daylightIsEarlier ? zone.Daylight : zone.Standard;
    const CalendarZoneBlock& later = daylightIsEarlier ? zone.Standard : zone.Daylight;
    const int64_t seconds = UnixTimeFromFileTime(fileTime);
    if (seconds < (daylightIsEarlier ? *daylight : *standard)) return earlier.OffsetFrom;
    return seconds < (daylightIsEarlier ? *standard : *daylight) ? later.OffsetFrom : later.OffsetTo;
}

}  // namespace velmora
