// The forms in which the store keeps a moment, and the ways between them.
//
//     ISO text      2011-02-07T10:00:00    MESSAGEDATE, RECEIVED; no zone, read as it stands
//     Unix seconds  1297072800             calendar columns, decimal
//     DOS form      (date << 16) + time    MODIFIEDDATE; two-second steps from 1980 on, made from UTC
//     file time     100 ns units since 1601-01-01 UTC, as the file system gives them
//
// Plain functions on text and numbers, for any thread.
#ifndef VELMORA_ITEMS_DATEFORMS_H
#define VELMORA_ITEMS_DATEFORMS_H

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>

#include "platform/win32.h"

namespace velmora {

// The fields of an ISO text, in human counting: month and day from 1.
struct IsoFields {
    int32_t year = 0;
    int32_t month = 1;
    int32_t day = 1;
    int32_t hour = 0;
    int32_t minute = 0;
    int32_t second = 0;
};

// Fields out of range take their lowest value. An hour of 24 stands.
int32_t ClampDay(int32_t day);
int32_t ClampHour(int32_t hour);
int32_t ClampMinuteOrSecond(int32_t value);

// The year of a date text, in years since 1900.
// Kept: a year from 50 to 1900 counts from 1900, also one like 1801; a shorter one counts from 2000.
int32_t YearSince1900(std::string_view text);

// The pieces of a date as a text has them.
struct DateTokens {
    std::string_view day, month, year, hour, minute, second;
};
// Their numbers, out of range mended; a month that is none is December. tm_isdst is 0.
std::tm FieldsOf(const DateTokens& tokens);

// Writes the ISO text into a field of `size` bytes, cut at the field.
void WriteIsoText(const IsoFields& fields, char* result, size_t size);

// A file time as one number, and back.
uint64_t FileTimeValue(const FILETIME& time);
FILETIME FileTimeFromValue(uint64_t value);

// Unix seconds and file times. Seconds before 1601 and beyond the reach of 64 bits wrap; a file time before 1970 gives
// negative seconds, truncated towards 0.
uint64_t UnixTimeToFileTime(int64_t seconds);
int64_t UnixTimeFromFileTime(uint64_t fileTime);

// Date in the high 16 bits, time in the low ones; 0 for a moment that the form cannot hold (before 1980, after 2107).
uint32_t DosDateTime(const FILETIME& time);

// The text must be exactly 19 bytes long and name a real date; otherwise false, and `fileTime` stays.
[[nodiscard]] bool ParseIsoDateTime(std::string_view text, uint64_t& fileTime);

// The ISO text of a file time, at most 256 bytes of it. False for a value that is no date; `result` stays.
[[nodiscard]] bool FormatFileTimeText(uint64_t fileTime, char* result, size_t size);

// "Feb" to "Nov" in any case are 1 to 10, anything else is 11.
// Kept: "Jan" is 11 as well; callers ask for it first.
int32_t MonthFromName(std::string_view name);

// 0 to 10 give "Jan" to "Nov", everything else "Dec".
void MonthName(int32_t index, char* result, size_t size);

}  // namespace velmora

#endif
