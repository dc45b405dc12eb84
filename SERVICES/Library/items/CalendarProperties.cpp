#include "items/CalendarProperties.h"

#include "items/CommonProperties.h"

namespace velmora {

namespace {

constexpr std::array<NamedBinding, 36> kRows = {{
    {"PR_SUBJECT", {"SUBJECT"}},
    {"PR_START_DATE_TIMEZONE_NAME", {"TZSTART"}},
    {"PR_SENSITIVITY", NumberColumn("SENSITIVITY")},
    {"PR_SENT_REPRESENTING_NAME", {"SENDERNAME"}},
    {"PR_SENT_REPRESENTING_EMAIL_ADDRESS", {"SENDERADDRESS"}},
    // Kept: one T, in every index that there is.
    {"PR_START_DATE", MomentColumn("STARTIME")},
    {"PR_BNP_Start", MomentColumn("STARTIME")},
    {"PR_END_DATE", MomentColumn("FINISHTIME")},
    {"PR_BNP_End", MomentColumn("FINISHTIME")},
    {"PR_LOCATION", {"LOCATION"}},
    {"PR_BNP_AllDayEvent", {"ALLDAYEVENT", 0, PropBool, PropText}},
    {"PR_BNP_ReminderSet", NumberColumn("REMINDERSET")},
    {"PR_BNP_ReminderMinutesBeforeStart", NumberColumn("REMINDERMINUTESBEFORESTART")},
    {"PR_BNP_Importance", NumberColumn("IMPORTANCE")},
    {"PR_BNP_BusyStatus", NumberColumn("BUSYSTATUS")},
    {"PR_BNP_X-EPOCAGENDAENTRYTYPE", {"X-EPOCAGENDAENTRYTYPE"}},
    {"PR_ATTENDEES", {"ATTENDEES"}},
    {"PR_BNP_AppointmentUID", {"APPOINTMENTUID"}},
    {"PR_OPTIONAL_ATTENDEES", {"OPTIONALATTENDEES"}},
    {"PR_RESOURCES", {"RESOURCES"}},
    {"PR_CLASS", {"CLASS"}},
    {"PR_BNP_IsRecurring", NumberColumn("ISRECURRING")},
    {"PR_BNP_RecurrenceType", NumberColumn("RECURRENCETYPE")},
    {"PR_BNP_RecurrenceState", NumberColumn("RECURRENCESTATE")},
    {"PR_BNP_RecurrenceInstance", NumberColumn("RECURRENCEINSTANCE")},
    {"PR_BNP_RecurrenceInterval", NumberColumn("RECURRENCEINTERVAL")},
    {"PR_BNP_Occurrences", NumberColumn("OCCURRENCES")},
    {"PR_BNP_PatternStartDate", MomentColumn("PATTERNSTARTDATE")},
    {"PR_BNP_PatternEndDate", MomentColumn("PATTERNENDDATE")},
    {"PR_BNP_NoEndDate", NumberColumn("NOENDDATE")},
    {"PR_BNP_RecurrenceDayOfMonth", NumberColumn("RECURRENCEDAYOFMONTH")},
    {"PR_BNP_RecurrenceDayOfWeekMask", NumberColumn("RECURRENCEDAYOFWEEKMASK")},
    {"PR_BNP_RecurrenceMonthOfYear", NumberColumn("RECURRENCEMONTHOFYEAR")},
    {"PR_BODY", InItemFile("BODY")},
    {"PR_BNP_vCalendar", InItemFile("VCALENDAR")},
    {"PR_BNP_vCalendar_UNICODE", InItemFile("VCALENDAR", PropCalendarDecoded, PropText)},
}};
constexpr auto kTable = MakeKindTable(0, kRows);
static_assert(kTable.NamesAreUnique());

}  // namespace

bool ResolveCalendarProperty(std::string_view name, PropertyBinding& binding) { return ResolveIn(kTable, name, binding); }

}  // namespace velmora
