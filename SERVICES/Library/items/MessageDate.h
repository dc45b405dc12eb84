// The date text of a message header.
#ifndef VELMORA_ITEMS_MESSAGEDATE_H
#define VELMORA_ITEMS_MESSAGEDATE_H

#include <cstddef>
#include <string_view>

namespace velmora {

// Turns an RFC 822 date, such as "Mon, 7 Feb 2011 10:00:00 +0100" or the same without its day name, into the ISO text of
// that moment in UTC, in a field of `size` bytes. False when a piece or a delimiter is missing, or when the moment lies at
// or before 1970; `result` then stays. Fields out of range are mended, never refused.
//
// A date of the years 1970 to 3000 is taken through the machine's own zone and back.
// Kept: that cancels except where a change to or from summer time lies between the date as written and its moment in
// UTC; the text is then off by an hour. Other years are written as they stand, without the zone.
[[nodiscard]] bool ParseMessageDate(std::string_view text, char* result, size_t size);

}  // namespace velmora

#endif
