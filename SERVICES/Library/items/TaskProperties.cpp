#include "items/TaskProperties.h"

#include "items/CommonProperties.h"

namespace velmora {

namespace {

constexpr std::array<NamedBinding, 31> kRows = {{
    {"PR_SUBJECT", {"SUBJECT"}},
    {"PR_SENSITIVITY", NumberColumn("SENSITIVITY")},
    {"PR_IMPORTANCE", NumberColumn("IMPORTANCE")},
    {"PR_MESSAGE_SIZE", NumberColumn("SIZE")},
    {"PR_SENT_REPRESENTING_NAME", {"SENDERNAME"}},
    {"PR_SENT_REPRESENTING_EMAIL_ADDRESS", {"SENDERADDRESS"}},
    {"PR_BNP_Status", NumberColumn("STATUS")},
    {"PR_BNP_StartDate", MomentColumn("STARTDATE")},
    {"PR_BNP_DueDate", MomentColumn("DUEDATE")},
    {"PR_BNP_AppointmentUID", {"APPOINTMENTUID"}},
    {"PR_BNP_Mileage", {"MILEAGE"}},
    {"PR_BNP_Companies", {"COMPANY"}},
    {"PR_BNP_BillingInformation", {"BILLING"}},
    {"PR_BNP_PercentComplete", {"PERCCOMP", 0, PropDouble, PropText}},
    {"PR_BNP_Complete", {"COMPLETE", 0, PropBool, PropText}},
    {"PR_BNP_TotalWork", NumberColumn("TOTALWORK")},
    {"PR_BNP_ActualWork", NumberColumn("ACTUALWORK")},
    {"PR_BODY", InItemFile("BODY")},
    {"PR_BNP_vCalendar", InItemFile("VCALENDAR")},
    {"PR_VL_NumAttachments", NumberColumn("ATTACHMENTS")},
    {"PR_VL_ReadStatus", NumberColumn("READ")},
    {"PR_BNP_IsRecurring", NumberColumn("ISRECURRING")},
    {"PR_BNP_RecurrenceType", NumberColumn("RECURRENCETYPE")},
    {"PR_BNP_RecurrenceInterval", NumberColumn("RECURRENCEINTERVAL")},
    {"PR_BNP_Occurrences", NumberColumn("OCCURRENCES")},
    {"PR_BNP_PatternStartDate", MomentColumn("PATTERNSTARTDATE")},
    {"PR_BNP_PatternEndDate", MomentColumn("PATTERNENDDATE")},
    {"PR_BNP_NoEndDate", NumberColumn("NOENDDATE")},
    {"PR_BNP_RecurrenceDayOfMonth", NumberColumn("RECURRENCEDAYOFMONTH")},
    {"PR_BNP_RecurrenceDayOfWeekMask", NumberColumn("RECURRENCEDAYOFWEEKMASK")},
    {"PR_BNP_RecurrenceMonthOfYear", NumberColumn("RECURRENCEMONTHOFYEAR")},
}};
constexpr auto kTable = MakeKindTable(0, kRows);
static_assert(kTable.NamesAreUnique());

}  // namespace

bool ResolveTaskProperty(std::string_view name, PropertyBinding& binding) { return ResolveIn(kTable, name, binding); }

}  // namespace velmora
