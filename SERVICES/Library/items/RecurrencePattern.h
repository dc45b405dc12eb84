// How an entry of a calendar, or the change of a time zone, repeats.
#ifndef VELMORA_ITEMS_RECURRENCEPATTERN_H
#define VELMORA_ITEMS_RECURRENCEPATTERN_H

#include <cstdint>

#include "platform/win32.h"

namespace velmora {

// The values of RecurrencePattern::RecurrenceType. 4 is not used.
enum RecurrenceTypes : int32_t {
    kRecursDaily = 0,
    kRecursWeekly = 1,  // with Interval 0: on every weekday
    kRecursMonthly = 2,
    kRecursMonthlyByWeekday = 3,
    kRecursYearly = 5,
    kRecursYearlyByWeekday = 6,
};

// All zero where nothing repeats; the numbers are those of the recurrence properties.
struct RecurrencePattern {
    int32_t RecurrenceType = 0;
    int32_t Interval = 0;       // periods between occurrences
    int32_t Occurrences = 0;    // 0: no count
    int32_t FixedDay = 0;       // the day of the year's change of a time zone; no rule text sets it
    int32_t Instance = 0;       // which one in the month: 1 to 4, or -1 for the last
    int32_t DayOfWeekMask = 0;  // the sum of 1 for Sunday, 2 for Monday, up to 64 for Saturday
    int32_t DayOfMonth = 0;
    int32_t MonthOfYear = 0;  // from 1
    int32_t WeekStartMask = 0;
    int32_t HasEnd = 0;  // 1: the pattern ends, by date or by count
    FILETIME PatternEnd = {};
};

}  // namespace velmora

#endif
