// The tables of property names: every row, and what a name that is not in them gives.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "common/Text.h"
#include "index/IndexPropertyTable.h"
#include "items/CalendarProperties.h"
#include "items/CommonProperties.h"
#include "items/ContactProperties.h"
#include "items/FileProperties.h"
#include "items/MailProperties.h"
#include "items/PropertyTypes.h"
#include "items/TaskProperties.h"

namespace velmora::test {
namespace {

struct Row {
    const char* name;
    const char* column;
    int32_t position;
    int32_t clientType;
    int32_t storedType;
    int32_t storage;
};

constexpr Row kMailRows[] = {
    {"PR_VL_MODIFIEDDATE", "MODIFIEDDATE", 1, 8, 8, 0},
    {"PR_VL_MESSAGEDATE", "MESSAGEDATE", 1, 8, 8, 0},
    {"PR_VL_IMPORTANCE", "IMPORTANCE", 1, 8, 8, 0},
    {"PR_SENSITIVITY", "SENSITIVITY", 1, 7, 8, 0},
    {"PR_VL_FLAGSTATUS", "FLAGSTATUS", 1, 8, 8, 0},
    {"PR_VL_ATTACHMENTS", "ATTACHMENTS", 1, 8, 8, 0},
    {"PR_VL_FROM", "FROM", 1, 8, 8, 0},
    {"PR_VL_TO", "TO", 1, 8, 8, 0},
    {"PR_VL_CC", "CC", 1, 8, 8, 0},
    {"PR_SUBJECT", "SUBJECT", 1, 8, 8, 0},
    {"PR_VL_RECEIVED", "RECEIVED", 1, 8, 8, 0},
    {"PR_VL_READ", "READ", 1, 8, 8, 0},
    {"PR_VL_STATE", "STATE", 1, 8, 8, 0},
    {"PR_VL_SIZE", "SIZE", 1, 8, 8, 0},
    {"PR_VL_CLASS", "CLASS", 1, 8, 8, 0},
};

constexpr Row kContactRows[] = {
    {"VL_MODIFIED_DATE", "MODIFIEDDATE", 1, 7, 8, 0},
    {"PR_SENSITIVITY", "SENSITIVITY", 1, 7, 8, 0},
    {"PR_COMPANY_NAME", "ORG", 1, 8, 8, 0},
    {"PR_DEPARTMENT_NAME", "ORG", 2, 8, 8, 0},
    {"PR_EMAIL_ADDRESS", "EMAIL_PREF_INTERNET", 1, 8, 8, 0},
    {"PR_BNP_Email1Address", "EMAIL_PREF_INTERNET", 1, 8, 8, 0},
    {"PR_DISPLAY_NAME", "FN", 1, 8, 8, 0},
    {"PR_NORMALIZED_SUBJECT", "FN", 1, 8, 8, 0},
    {"PR_SUBJECT", "FN", 1, 8, 8, 0},
    {"PR_NICKNAME", "NICKNAME", 1, 8, 8, 0},
    {"PR_NICKNAME_X", "X-EPOCSECONDNAME", 1, 8, 8, 0},
    {"PR_SURNAME", "N", 1, 8, 8, 0},
    {"PR_GIVEN_NAME", "N", 2, 8, 8, 0},
    {"PR_MIDDLE_NAME", "N", 3, 8, 8, 0},
    {"PR_DISPLAY_NAME_PREFIX", "N", 4, 8, 8, 0},
    {"PR_TITLE", "TITLE", 1, 8, 8, 0},
    {"PR_NOTE", "NOTE", 1, 8, 8, 1},
    {"PR_NOTE_UNICODE", "NOTE", 1, 14, 8, 1},
    {"PR_BNP_VCARD", "VCARD", 1, 8, 8, 1},
    {"PR_ATTACHMENT_CONTACTPHOTO", "PHOTO", 1, 8, 8, 1},
    {"PR_CELLULAR_TELEPHONE_NUMBER", "TEL_CELL_VOICE", 1, 8, 8, 0},
    {"PR_HOME_TELEPHONE_NUMBER", "TEL_HOME_VOICE", 1, 8, 8, 0},
    {"PR_OFFICE_TELEPHONE_NUMBER", "TEL_WORK_VOICE", 1, 8, 8, 0},
    {"PR_PAGER_TELEPHONE_NUMBER", "TEL_PAGER_VOICE", 1, 8, 8, 0},
    {"PR_BUSINESS_FAX_NUMBER", "TEL_WORK_FAX", 1, 8, 8, 0},
    {"PR_BUSINESS_HOME_PAGE", "URL_WORK", 1, 8, 8, 0},
    {"PR_STREET_ADDRESS", "ADR_WORK", 3, 8, 8, 0},
    {"PR_LOCALITY", "ADR_WORK", 4, 8, 8, 0},
    {"PR_STATE_OR_PROVINCE", "ADR_WORK", 5, 8, 8, 0},
    {"PR_POSTAL_CODE", "ADR_WORK", 6, 8, 8, 0},
    {"PR_COUNTRY", "ADR_WORK", 7, 8, 8, 0},
    {"PR_BIRTHDAY", "BDAY", 1, 3, 4, 0},
    {"PR_ASSISTANT", "AGENT", 1, 8, 8, 0},
    {"PR_MSMESSENGER", "IM_TYPE-MSMESSENGER", 1, 8, 8, 0},
    {"PR_YAHOOMESSENGER", "IM_TYPE-YAHOOMESSENGER", 1, 8, 8, 0},
    {"PR_AIM", "IM_TYPE-AIM", 1, 8, 8, 0},
    {"PR_ICQ", "IM_TYPE=ICQ", 1, 8, 8, 0},
    {"PR_FTMESSAGER", "IM_TYPE-FTMESSAGER", 1, 8, 8, 0},
    {"PR_ODIGO", "IM_TYPE-ODIGO", 1, 8, 8, 0},
    {"PR_POWWOW", "IM_TYPE-POWWOW", 1, 8, 8, 0},
    {"PR_REVISION", "REV", 1, 8, 8, 0},
};

constexpr Row kCalendarRows[] = {
    {"PR_SUBJECT", "SUBJECT", 0, 8, 8, 0},
    {"PR_START_DATE_TIMEZONE_NAME", "TZSTART", 0, 8, 8, 0},
    {"PR_SENSITIVITY", "SENSITIVITY", 0, 7, 1, 0},
    {"PR_SENT_REPRESENTING_NAME", "SENDERNAME", 0, 8, 8, 0},
    {"PR_SENT_REPRESENTING_EMAIL_ADDRESS", "SENDERADDRESS", 0, 8, 8, 0},
    {"PR_START_DATE", "STARTIME", 0, 3, 6, 0},
    {"PR_BNP_Start", "STARTIME", 0, 3, 6, 0},
    {"PR_END_DATE", "FINISHTIME", 0, 3, 6, 0},
    {"PR_BNP_End", "FINISHTIME", 0, 3, 6, 0},
    {"PR_LOCATION", "LOCATION", 0, 8, 8, 0},
    {"PR_BNP_AllDayEvent", "ALLDAYEVENT", 0, 10, 1, 0},
    {"PR_BNP_ReminderSet", "REMINDERSET", 0, 7, 1, 0},
    {"PR_BNP_ReminderMinutesBeforeStart", "REMINDERMINUTESBEFORESTART", 0, 7, 1, 0},
    {"PR_BNP_Importance", "IMPORTANCE", 0, 7, 1, 0},
    {"PR_BNP_BusyStatus", "BUSYSTATUS", 0, 7, 1, 0},
    {"PR_BNP_X-EPOCAGENDAENTRYTYPE", "X-EPOCAGENDAENTRYTYPE", 0, 8, 8, 0},
    {"PR_ATTENDEES", "ATTENDEES", 0, 8, 8, 0},
    {"PR_BNP_AppointmentUID", "APPOINTMENTUID", 0, 8, 8, 0},
    {"PR_OPTIONAL_ATTENDEES", "OPTIONALATTENDEES", 0, 8, 8, 0},
    {"PR_RESOURCES", "RESOURCES", 0, 8, 8, 0},
    {"PR_CLASS", "CLASS", 0, 8, 8, 0},
    {"PR_BNP_IsRecurring", "ISRECURRING", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceType", "RECURRENCETYPE", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceState", "RECURRENCESTATE", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceInstance", "RECURRENCEINSTANCE", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceInterval", "RECURRENCEINTERVAL", 0, 7, 1, 0},
    {"PR_BNP_Occurrences", "OCCURRENCES", 0, 7, 1, 0},
    {"PR_BNP_PatternStartDate", "PATTERNSTARTDATE", 0, 3, 6, 0},
    {"PR_BNP_PatternEndDate", "PATTERNENDDATE", 0, 3, 6, 0},
    {"PR_BNP_NoEndDate", "NOENDDATE", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceDayOfMonth", "RECURRENCEDAYOFMONTH", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceDayOfWeekMask", "RECURRENCEDAYOFWEEKMASK", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceMonthOfYear", "RECURRENCEMONTHOFYEAR", 0, 7, 1, 0},
    {"PR_BODY", "BODY", 0, 8, 8, 1},
    {"PR_BNP_vCalendar", "VCALENDAR", 0, 8, 8, 1},
    {"PR_BNP_vCalendar_UNICODE", "VCALENDAR", 0, 15, 1, 1},
};

constexpr Row kTaskRows[] = {
    {"PR_SUBJECT", "SUBJECT", 0, 8, 8, 0},
    {"PR_SENSITIVITY", "SENSITIVITY", 0, 7, 1, 0},
    {"PR_IMPORTANCE", "IMPORTANCE", 0, 7, 1, 0},
    {"PR_MESSAGE_SIZE", "SIZE", 0, 7, 1, 0},
    {"PR_SENT_REPRESENTING_NAME", "SENDERNAME", 0, 8, 8, 0},
    {"PR_SENT_REPRESENTING_EMAIL_ADDRESS", "SENDERADDRESS", 0, 8, 8, 0},
    {"PR_BNP_Status", "STATUS", 0, 7, 1, 0},
    {"PR_BNP_StartDate", "STARTDATE", 0, 3, 6, 0},
    {"PR_BNP_DueDate", "DUEDATE", 0, 3, 6, 0},
    {"PR_BNP_AppointmentUID", "APPOINTMENTUID", 0, 8, 8, 0},
    {"PR_BNP_Mileage", "MILEAGE", 0, 8, 8, 0},
    {"PR_BNP_Companies", "COMPANY", 0, 8, 8, 0},
    {"PR_BNP_BillingInformation", "BILLING", 0, 8, 8, 0},
    {"PR_BNP_PercentComplete", "PERCCOMP", 0, 9, 1, 0},
    {"PR_BNP_Complete", "COMPLETE", 0, 10, 1, 0},
    {"PR_BNP_TotalWork", "TOTALWORK", 0, 7, 1, 0},
    {"PR_BNP_ActualWork", "ACTUALWORK", 0, 7, 1, 0},
    {"PR_BODY", "BODY", 0, 8, 8, 1},
    {"PR_BNP_vCalendar", "VCALENDAR", 0, 8, 8, 1},
    {"PR_VL_NumAttachments", "ATTACHMENTS", 0, 7, 1, 0},
    {"PR_VL_ReadStatus", "READ", 0, 7, 1, 0},
    {"PR_BNP_IsRecurring", "ISRECURRING", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceType", "RECURRENCETYPE", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceInterval", "RECURRENCEINTERVAL", 0, 7, 1, 0},
    {"PR_BNP_Occurrences", "OCCURRENCES", 0, 7, 1, 0},
    {"PR_BNP_PatternStartDate", "PATTERNSTARTDATE", 0, 3, 6, 0},
    {"PR_BNP_PatternEndDate", "PATTERNENDDATE", 0, 3, 6, 0},
    {"PR_BNP_NoEndDate", "NOENDDATE", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceDayOfMonth", "RECURRENCEDAYOFMONTH", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceDayOfWeekMask", "RECURRENCEDAYOFWEEKMASK", 0, 7, 1, 0},
    {"PR_BNP_RecurrenceMonthOfYear", "RECURRENCEMONTHOFYEAR", 0, 7, 1, 0},
};

constexpr Row kFileRows[] = {
    {"PR_SUBJECT", "SUBJECT", 0, 8, 8, 0},
    {"PR_MESSAGE_SIZE", "SIZE", 0, 7, 1, 0},
    {"PR_BODY", "BODY", 0, 8, 8, 1},
    {"PR_VL_ReadStatus", "READ", 0, 7, 1, 0},
    {"PR_LAST_MODIFIED_DATE", "LASTMODIFIEDDATE", 0, 3, 3, 2},
    {"PR_CREATED_DATE", "CREATEDDATE", 0, 3, 3, 2},
    {"PR_LAST_ACCESSED_DATE", "LASTACCESSEDDATE", 0, 3, 3, 2},
    {"PR_FILE_TYPE", "FILETYPE", 0, 7, 1, 3},
};

struct Kind {
    const char* name;
    uint32_t classHint;
    bool (*resolve)(std::string_view name, PropertyBinding& binding);
    std::span<const Row> rows;
    int32_t itemPosition;  // of the names that every kind knows
    int32_t missPosition;
};

const Kind kKinds[] = {
    {"mail", 0, ResolveMailProperty, kMailRows, 1, 1},
    {"contact", 1, ResolveContactProperty, kContactRows, 1, 0},
    {"calendar", 2, ResolveCalendarProperty, kCalendarRows, 0, 0},
    {"task", 3, ResolveTaskProperty, kTaskRows, 0, 0},
    {"file", 4, ResolveFileProperty, kFileRows, 0, 0},
};

std::string Folded(std::string name, char (*fold)(char))
{
    for (char& c : name) c = fold(c);
    return name;
}

void ExpectRow(const Kind& kind, const Row& row, const std::string& name)
{
    SCOPED_TRACE(std::string(kind.name) + " " + name);
    PropertyBinding binding;
    ASSERT_TRUE(kind.resolve(name, binding));
    EXPECT_STREQ(binding.Column, row.column);
    EXPECT_EQ(binding.Position, row.position);
    EXPECT_EQ(binding.ClientType, row.clientType);
    EXPECT_EQ(binding.StoredType, row.storedType);
    EXPECT_EQ(static_cast<int32_t>(binding.Storage), row.storage);
}

TEST(PropertyTables, KnowEveryNameInAnyCase)
{
    for (const Kind& kind : kKinds) {
        for (const Row& row : kind.rows) {
            ExpectRow(kind, row, row.name);
            ExpectRow(kind, row, Folded(row.name, LowerAscii));
            ExpectRow(kind, row, Folded(row.name, UpperAscii));
        }
    }
}

TEST(PropertyTables, EveryKindKnowsTheNamesOfItems)
{
    for (const Kind& kind : kKinds) {
        const Row rows[] = {
            {"VL_ITEM_ID", "@ID", kind.itemPosition, 8, 8, 0},
            {"VL_ITEM_CLASS", "!CLASS", kind.itemPosition, 7, 1, 0},
            {"VL_ITEM_MODIFIEDDATE", "MODIFIEDDATE", kind.itemPosition, 7, 1, 0},
        };
        for (const Row& row : rows) {
            ExpectRow(kind, row, row.name);
            ExpectRow(kind, row, Folded(row.name, LowerAscii));
        }
    }
}

TEST(PropertyTables, ANameThatIsNotTheirsHasNoColumn)
{
    for (const Kind& kind : kKinds) {
        for (const std::string name : {"", "P", "SUBJECT", "PR_SUBJEC", "PR_SUBJECTX", " PR_SUBJECT", "PR-SUBJECT", "VL_MAILBOX", "@ID"}) {
            PropertyBinding binding{"before", 5, PropInt32, PropInt32, PropertyStorage::ItemFile};
            EXPECT_FALSE(kind.resolve(name, binding)) << kind.name << " " << name;
            EXPECT_STREQ(binding.Column, "") << kind.name << " " << name;
            EXPECT_EQ(binding.Position, kind.missPosition) << kind.name << " " << name;
        }
        PropertyBinding binding;
        EXPECT_FALSE(kind.resolve(std::string(100000, 'P'), binding)) << kind.name;
    }
}

TEST(PropertyTables, AKindDoesNotKnowTheNamesOfAnother)
{
    for (const Kind& kind : kKinds) {
        for (const Kind& other : kKinds) {
            for (const Row& row : other.rows) {
                const bool own =
                    std::any_of(kind.rows.begin(), kind.rows.end(), [&](const Row& r) { return EqualsNoCase(r.name, row.name); });
                PropertyBinding binding;
                EXPECT_EQ(kind.resolve(row.name, binding), own) << kind.name << " " << row.name;
            }
        }
    }
}

TEST(PropertyTables, OneColumnHasAnEqualsSign)
{
    PropertyBinding binding;
    ASSERT_TRUE(ResolveContactProperty("PR_ICQ", binding));
    EXPECT_STREQ(binding.Column, "IM_TYPE=ICQ");
    ASSERT_TRUE(ResolveContactProperty("PR_AIM", binding));
    EXPECT_STREQ(binding.Column, "IM_TYPE-AIM");
}

TEST(ItemTable, LeavesThePositionToTheCaller)
{
    PropertyBinding binding;
    binding.Position = 5;
    ASSERT_TRUE(ResolveItemBinding("vl_item_class", binding));
    EXPECT_EQ(binding.Position, 5);
    EXPECT_STREQ(binding.Column, "!CLASS");
    EXPECT_FALSE(ResolveItemBinding("PR_SUBJECT", binding));
    EXPECT_STREQ(binding.Column, "!CLASS");
}

TEST(ItemTable, ATableOfNamesThatDifferInCaseAloneIsNoticed)
{
    using Names = std::array<NamedBinding, 2>;
    EXPECT_TRUE(BindingTable<2>(Names{{{"ab", {"A"}}, {"ac", {"B"}}}}).NamesAreUnique());
    EXPECT_FALSE(BindingTable<2>(Names{{{"ab", {"A"}}, {"aB", {"B"}}}}).NamesAreUnique());
}

// ---- Columns ----

// Fills the process's table of names, so it runs in one of its own.
[[noreturn]] void FillTheNamesAndAskForEveryColumn()
{
    for (int i = 0; i < 1100; ++i) IndexPropertyTable::LookUp("FOREIGN_" + std::to_string(i));
    bool good = IndexPropertyTable::LookUp("FOREIGN_BEYOND").Slot == -1;
    for (const Kind& kind : kKinds) {
        for (const Row& row : kind.rows) {
            if (row.column[0] == '!' || IndexPropertyTable::LookUp(row.column).Slot >= 0) continue;
            std::fprintf(stderr, "%s has no place\n", row.column);
            good = false;
        }
    }
    std::_Exit(good ? 0 : 1);
}

TEST(PropertyColumnsDeathTest, EveryColumnHasAPlaceInAFullTableOfNames)
{
    EXPECT_EXIT(FillTheNamesAndAskForEveryColumn(), testing::ExitedWithCode(0), "");
}

// ---- The type of a name, with no folder ----

TEST(PropertyClientType, IsTheTablesForAKnownClass)
{
    for (const Kind& kind : kKinds)
        for (const Row& row : kind.rows)
            EXPECT_EQ(PropertyClientType(row.name, kind.classHint), static_cast<uint32_t>(row.clientType)) << kind.name << " " << row.name;
    EXPECT_EQ(PropertyClientType("vl_item_id", 3), 8u);
}

TEST(PropertyClientType, IsTextForAnUnknownNameOfAKnownClass)
{
    for (uint32_t kind = 0; kind <= 4; ++kind) {
        EXPECT_EQ(PropertyClientType("PR_NOBODY_KNOWS", kind), 1u) << kind;
        EXPECT_EQ(PropertyClientType("", kind), 1u) << kind;
        EXPECT_EQ(PropertyClientType(nullptr, kind), 1u) << kind;
    }
}

TEST(PropertyClientType, OfAnotherClassIsThatOfTheFirstKindThatKnowsTheName)
{
    for (const uint32_t kind : {5u, 7u, 54u, UINT32_MAX}) {
        EXPECT_EQ(PropertyClientType("PR_SENSITIVITY", kind), 7u) << kind;       // mail
        EXPECT_EQ(PropertyClientType("PR_BIRTHDAY", kind), 3u) << kind;          // contacts
        EXPECT_EQ(PropertyClientType("PR_BNP_AllDayEvent", kind), 10u) << kind;  // calendar
        // Kept: tasks and files are not asked.
        EXPECT_EQ(PropertyClientType("PR_BNP_PercentComplete", kind), 0u) << kind;
        EXPECT_EQ(PropertyClientType("PR_CREATED_DATE", kind), 0u) << kind;
        EXPECT_EQ(PropertyClientType("PR_NOBODY_KNOWS", kind), 0u) << kind;
        EXPECT_EQ(PropertyClientType(nullptr, kind), 0u) << kind;
    }
}

}  // namespace
}  // namespace velmora::test
