// Time zones by name, and which offset one has at a moment.
//
// A zone is a pair of blocks, as a VTIMEZONE has them (RFC 5545): each says when its time begins and from which offset to
// which the clocks go then. The zones that the machine knows lie in its settings, one key each below
//
//     HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Time Zones
//
// with the value "TZI": 44 bytes, numbers lowest byte first.
//
//     offset  bytes
//          0      4   Bias: minutes that UTC is ahead of local time, signed
//          4      4   StandardBias: added to it in standard time
//          8      4   DaylightBias: added to it in daylight time
//         12     16   StandardDate: year, month, weekday, day, hour, minute, second, millisecond, two bytes each
//         28     16   DaylightDate
//
// examples/timezones.reg holds some. Any thread may call.
#ifndef VELMORA_ITEMS_TIMEZONES_H
#define VELMORA_ITEMS_TIMEZONES_H

#include <cstddef>
#include <cstdint>

#include "items/RecurrencePattern.h"
#include "platform/win32.h"

namespace velmora {

inline constexpr size_t kZoneNameSize = 260;
inline constexpr size_t kZoneOffsetSize = 16;

struct CalendarZoneBlock {
    SYSTEMTIME Start = {};
    RecurrencePattern Rule;
    char OffsetFrom[kZoneOffsetSize] = {};  // "+100"
    char OffsetTo[kZoneOffsetSize] = {};
};

struct CalendarZone {
    char Name[kZoneNameSize] = {};  // empty: there is no zone
    CalendarZoneBlock Standard;
    CalendarZoneBlock Daylight;
};

// A zone as the machine's settings have it. With wYear 0 a change date is a rule: the wDay-th wDayOfWeek of wMonth, where 5
// is the last.
struct TimeZoneRecord {
    int32_t Bias = 0;
    int32_t StandardBias = 0;
    int32_t DaylightBias = 0;
    SYSTEMTIME StandardDate = {};
    SYSTEMTIME DaylightDate = {};
};

// Reads a zone by its key's name ("W. Europe Standard Time"). False, and `record` stays, when there is none of that name
// or its value has another length.
[[nodiscard]] bool LoadRegistryTimeZone(const char* name, TimeZoneRecord& record);

// The zone that a mailbox has chosen: the options module's "TimeZone" of the mailbox, looked up in the machine's settings.
// False, with an empty zone, when the mailbox has none or the machine does not know it.
// Kept: a change date becomes a rule of the block only with a year, although those of the settings have none as a rule.
// Such a zone has no changes for SelectZoneOffset, which then takes its standard time.
bool LoadMailboxTimeZone(const char* postOffice, const char* mailbox, CalendarZone& zone);

// The offset text, one of the zone's own four, that holds at a moment. The two changes of the moment's year part it: before
// the earlier one its block's OffsetFrom holds, then the other block's OffsetFrom, and from the later one on that block's
// OffsetTo. Where one of the blocks has no change in that year, or the moment is none, it is Standard.OffsetTo, and a line
// on standard output says which change is missing.
// Kept: a yearly change by weekday takes the mask's number itself as the weekday, so that 1, a Sunday in a mask, is Monday
// here; and a yearly change on a day takes FixedDay, which no rule text sets.
const char* SelectZoneOffset(const CalendarZone& zone, uint64_t fileTime);

}  // namespace velmora

#endif
