// Local time in which summer is the later clock, as Windows has it in every zone.
//
// Some zones of the time zone data are told the other way about: Dublin has its standard time in summer, and a "daylight"
// time an hour behind it in winter; Morocco has one in the month of fasting. Here the clock that stands ahead is always the
// daylight one.
#ifndef VELMORA_PLATFORM_POSIX_LOCALTIME_H
#define VELMORA_PLATFORM_POSIX_LOCALTIME_H

#include <ctime>

namespace velmora::platform {

// As localtime_r: the parts, or null for a moment beyond the range.
struct tm* LocalTime(const time_t* when, struct tm* parts);

// As mktime, with parts.tm_isdst told in the same manner. `parts` is brought into its ranges.
time_t SecondsOfLocalTime(struct tm& parts);

}  // namespace velmora::platform

#endif
