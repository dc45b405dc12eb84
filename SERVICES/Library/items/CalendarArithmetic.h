// Days of weeks, months and years, as recurrences and changes of time zones count them.
//
// Months count from 1, weekdays from 0 for Sunday. Plain functions, for any thread and any number.
#ifndef VELMORA_ITEMS_CALENDARARITHMETIC_H
#define VELMORA_ITEMS_CALENDARARITHMETIC_H

#include <cstdint>

namespace velmora {

// The weekday, from 0 to 6, of a date in the Gregorian calendar from the year 0 on; a day beyond its month counts on. So do
// the months from -9 to 0, of the year before, and 13 and 14, of the next one; one farther off gives some weekday.
int32_t DayOfWeek(int32_t month, int32_t day, int32_t year);

// The number of days of a month; 0 for a month outside 1 to 12.
// Kept: the day of a leap year is given to January, which has 32 then, while February has 28 in every year. Recurrences
// are moved across the ends of months by these numbers.
int32_t DaysInMonth(int32_t year, int32_t month);

// The day of the month of its n-th such weekday, or of the last one if there are fewer or `n` is 0 or below; 0 when
// `weekday` is none, or the month. January of a leap year may answer with its 32nd.
int32_t NthWeekdayOfMonth(int32_t year, int32_t month, int32_t weekday, int32_t n);

}  // namespace velmora

#endif
