// The present moment in the machine's own zone, and the age of a file time.
#ifndef VELMORA_ITEMS_PRESENTTIME_H
#define VELMORA_ITEMS_PRESENTTIME_H

#include <cstdint>
#include <string>

#include "platform/win32.h"

namespace velmora {

// The machine's present offset from UTC as the number of an offset text: hours * 100 + minutes, such as -330 for three
// and a half hours behind. 0 when the zone is not known.
int32_t CurrentZoneMinutes();

// A local time as the date of a message, with the zone as the number that CurrentZoneMinutes gives.
std::string FormatRfc822(const SYSTEMTIME& local, int32_t zone);

// The present local time as the date of a message (RFC 5322): "Mon, 7 Feb 2011 10:00:00 +0100".
std::string FormatRfc822Now();

// How long ago a file time is, in minutes; 0 for one that lies ahead.
// Kept: the difference is read as a date since 1601, of years of 365 days and months of 30.
uint64_t MinutesSince(uint64_t fileTime);

}  // namespace velmora

#endif
