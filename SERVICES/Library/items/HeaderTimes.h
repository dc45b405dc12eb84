// The times in the headers of calendar and task files: "10:00 07 Feb, 2011", or "10:00:30 07 Feb, 2011" with seconds.
//
// Fields out of range are mended, as those of a message's date; a text with a piece or a delimiter missing is refused.
#ifndef VELMORA_ITEMS_HEADERTIMES_H
#define VELMORA_ITEMS_HEADERTIMES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmora {

// The ISO text of a header time, in a field of `size` bytes, cut at the field. False, and `result` stays, for a text that
// is refused.
// Kept: seconds are 0 whatever the text says, and the month is one too low from February on: "Dec" gives 11, as does what is
// no month.
[[nodiscard]] bool ParseHeaderTimeToIso(std::string_view text, char* result, size_t size);

// The Unix seconds of a header time, read as UTC in whatever zone the machine is, wrapped at 32 bits. 0 for a text that is
// refused, and when the machine's zone is not known.
// Kept: a date that the C library's calendar does not hold as a local one (before 1970, behind 3000) gives -1 plus the
// machine's present offset from UTC in seconds: 3599 where it is "+0100".
int32_t ParseHeaderTimeToUnix(std::string_view text);

// The header time of Unix seconds, in UTC, with seconds only where they are not 0; cut at the field. False, and `result`
// stays, for a moment before 1970 or behind the year 3000.
[[nodiscard]] bool FormatHeaderTime(int64_t seconds, char* result, size_t size);

}  // namespace velmora

#endif
