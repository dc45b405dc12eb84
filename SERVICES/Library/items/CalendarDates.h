// The date, zone and duration texts of calendar objects (RFC 5545), as far as the store reads them.
//
// Plain functions on text and numbers, for any thread. They read the forms below and report no other fault than a date
// that cannot be.
//
//     20110207                   a date alone
//     20110207T100000Z           a moment; the "Z" stands for no offset
//     2011-02-07T10:00:00+0100   the dashed form, with an offset
#ifndef VELMORA_ITEMS_CALENDARDATES_H
#define VELMORA_ITEMS_CALENDARDATES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora {

// The moment of a calendar text as a file time. A text shorter than 10 bytes is a date alone, at midnight. The zone is
// `zoneOffset`, an offset text such as "+1000", or without one (null or empty) what stands in the text from its first "+",
// or else from its first "-", if that rest has 5 bytes at most. False, and `fileTime` stays, for a text of fewer than eight
// bytes without its separators, for one that names no real date, and for a moment before 1601.
// Kept: an offset counts in whole hours; see ParseZoneOffset.
// Kept: the first "-" of the dashed form stands behind the year, so that form has no offset with a minus sign.
[[nodiscard]] bool ParseCalendarDateTime(std::string_view text, uint64_t& fileTime, const char* zoneOffset = nullptr);

// The offset from UTC in minutes: "+1000" is 600, and "GMT" in any case is 0, as is null.
// Kept: the minutes of an offset are dropped, so "+0530" is 300.
int32_t ParseZoneOffset(const char* text);

// Writes an offset of minutes into a field of `size` bytes, cut at the field: 600 gives "+1000".
// Kept: hours take as many digits as they have, so -90 gives "-130".
void FormatZoneOffset(int32_t minutes, char* result, size_t size);

// The seconds of a DURATION, wrapped at 32 bits: the number between "T" and "H" as hours or, with an "M" behind the "T",
// the number between "T" and "M" as minutes. Without "T", or with neither behind it, an hour. A "-" anywhere makes the
// result negative.
// Kept: of hours and minutes the hours alone are read, and as minutes: "PT1H30M" is 60.
int32_t ParseDurationSeconds(std::string_view text);

}  // namespace velmora

#endif
