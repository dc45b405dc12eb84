// The date text of a message header.
#ifndef VELMORA_ITEMS_MESSAGEDATE_H
#define VELMORA_ITEMS_MESSAGEDATE_H

#include <cstddef>
#include <string_view>

namespace velmora {

// Turns an RFC 822 date, such as "Mon, 7 Feb 2011 10:00:00 +0100" or the same without its day name, into ISO text in a
// field of `size` bytes. Fields out of range are mended, never refused. False, and `result` stays, when a piece or a
// delimiter is missing, and when the zone moves the date to the first second of 1970, before it, or behind the year 3000.
//
// A date of the years 1970 to 3000 with a zone gives its moment in UTC, by way of the machine's own zone and back; with a
// blank at the end in place of the zone it gives the date as written.
// Kept: the way there and back cancels except where a change to or from summer time lies between the date as written and
// its moment in UTC, and all summer where summer time is not one hour; the text is then off by an hour, or by what summer
// time has more or less than one. That of a summer date with no zone is an hour ahead. A date of another year is written as
// it stands, its zone ignored.
[[nodiscard]] bool ParseMessageDate(std::string_view text, char* result, size_t size);

}  // namespace velmora

#endif
