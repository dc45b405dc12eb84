#include "ItemProperties.h"

#include "Text.h"

namespace vlstore {

namespace {

using Access = ItemProperty::Access;
using Values = ItemProperty::Values;

constexpr ItemProperty kMail[] = {
    {"VL_ITEM_ID", Access::KeptByStore},
    {"VL_ITEM_CLASS", Access::KeptByStore},
    {"VL_ITEM_MODIFIEDDATE", Access::KeptByStore},
    {"PR_SUBJECT"},
    {"PR_VL_FROM"},
    {"PR_VL_TO"},
    {"PR_VL_CC"},
    {"PR_VL_MESSAGEDATE"},
    {"PR_VL_RECEIVED"},
    {"PR_VL_MODIFIEDDATE", Access::KeptByStore},
    {"PR_VL_SIZE", Access::Settable, Values::Digits},
    {"PR_VL_READ", Access::Settable, Values::Flag},
    {"PR_VL_FLAGSTATUS"},
    {"PR_VL_ATTACHMENTS", Access::Settable, Values::Digits},
    {"PR_VL_IMPORTANCE", Access::Settable, Values::Digits},
    {"PR_SENSITIVITY"},
    {"PR_VL_STATE"},
    {"PR_VL_CLASS"},
};

constexpr ItemProperty kContacts[] = {
    {"VL_ITEM_ID", Access::KeptByStore},
    {"VL_ITEM_CLASS", Access::KeptByStore},
    {"VL_ITEM_MODIFIEDDATE", Access::KeptByStore},
    {"VL_MODIFIED_DATE", Access::KeptByStore},
    {"PR_DISPLAY_NAME"},
    {"PR_NORMALIZED_SUBJECT"},
    {"PR_SUBJECT"},
    {"PR_NICKNAME"},
    {"PR_NICKNAME_X"},
    {"PR_SURNAME"},
    {"PR_GIVEN_NAME"},
    {"PR_MIDDLE_NAME"},
    {"PR_DISPLAY_NAME_PREFIX"},
    {"PR_TITLE"},
    {"PR_COMPANY_NAME"},
    {"PR_DEPARTMENT_NAME"},
    {"PR_EMAIL_ADDRESS"},
    {"PR_BNP_Email1Address"},
    {"PR_CELLULAR_TELEPHONE_NUMBER"},
    {"PR_HOME_TELEPHONE_NUMBER"},
    {"PR_OFFICE_TELEPHONE_NUMBER"},
    {"PR_PAGER_TELEPHONE_NUMBER"},
    {"PR_BUSINESS_FAX_NUMBER"},
    {"PR_BUSINESS_HOME_PAGE"},
    {"PR_STREET_ADDRESS"},
    {"PR_LOCALITY"},
    {"PR_STATE_OR_PROVINCE"},
    {"PR_POSTAL_CODE"},
    {"PR_COUNTRY"},
    {"PR_BIRTHDAY"},
    {"PR_ASSISTANT"},
    {"PR_SENSITIVITY"},
    {"PR_MSMESSENGER"},
    {"PR_YAHOOMESSENGER"},
    {"PR_AIM"},
    {"PR_ICQ"},
    {"PR_FTMESSAGER"},
    {"PR_ODIGO"},
    {"PR_POWWOW"},
    {"PR_REVISION"},
    {"PR_NOTE"},
    {"PR_NOTE_UNICODE"},
    {"PR_BNP_VCARD"},
    {"PR_ATTACHMENT_CONTACTPHOTO"},
};

constexpr ItemProperty kCalendar[] = {
    {"VL_ITEM_ID", Access::KeptByStore},
    {"VL_ITEM_CLASS", Access::KeptByStore},
    {"VL_ITEM_MODIFIEDDATE", Access::KeptByStore},
    {"PR_SUBJECT"},
    {"PR_LOCATION"},
    {"PR_START_DATE"},
    {"PR_BNP_Start"},
    {"PR_END_DATE"},
    {"PR_BNP_End"},
    {"PR_START_DATE_TIMEZONE_NAME"},
    {"PR_BNP_AllDayEvent"},
    {"PR_BNP_BusyStatus"},
    {"PR_BNP_Importance"},
    {"PR_SENSITIVITY"},
    {"PR_CLASS"},
    {"PR_BNP_ReminderSet"},
    {"PR_BNP_ReminderMinutesBeforeStart"},
    {"PR_SENT_REPRESENTING_NAME"},
    {"PR_SENT_REPRESENTING_EMAIL_ADDRESS"},
    {"PR_ATTENDEES"},
    {"PR_OPTIONAL_ATTENDEES"},
    {"PR_RESOURCES"},
    {"PR_BNP_AppointmentUID"},
    {"PR_BNP_X-EPOCAGENDAENTRYTYPE"},
    {"PR_BNP_IsRecurring"},
    {"PR_BNP_RecurrenceType"},
    {"PR_BNP_RecurrenceState"},
    {"PR_BNP_RecurrenceInstance"},
    {"PR_BNP_RecurrenceInterval"},
    {"PR_BNP_Occurrences"},
    {"PR_BNP_PatternStartDate"},
    {"PR_BNP_PatternEndDate"},
    {"PR_BNP_NoEndDate"},
    {"PR_BNP_RecurrenceDayOfMonth"},
    {"PR_BNP_RecurrenceDayOfWeekMask"},
    {"PR_BNP_RecurrenceMonthOfYear"},
    {"PR_BODY"},
    {"PR_BNP_vCalendar"},
    {"PR_BNP_vCalendar_UNICODE"},
};

constexpr ItemProperty kTasks[] = {
    {"VL_ITEM_ID", Access::KeptByStore},
    {"VL_ITEM_CLASS", Access::KeptByStore},
    {"VL_ITEM_MODIFIEDDATE", Access::KeptByStore},
    {"PR_SUBJECT"},
    {"PR_BNP_Status"},
    {"PR_BNP_StartDate"},
    {"PR_BNP_DueDate"},
    {"PR_BNP_PercentComplete"},
    {"PR_BNP_Complete"},
    {"PR_IMPORTANCE"},
    {"PR_SENSITIVITY"},
    {"PR_BNP_TotalWork"},
    {"PR_BNP_ActualWork"},
    {"PR_BNP_Mileage"},
    {"PR_BNP_Companies"},
    {"PR_BNP_BillingInformation"},
    {"PR_SENT_REPRESENTING_NAME"},
    {"PR_SENT_REPRESENTING_EMAIL_ADDRESS"},
    {"PR_BNP_AppointmentUID"},
    {"PR_VL_ReadStatus"},
    {"PR_VL_NumAttachments"},
    {"PR_MESSAGE_SIZE"},
    {"PR_BNP_IsRecurring"},
    {"PR_BNP_RecurrenceType"},
    {"PR_BNP_RecurrenceInterval"},
    {"PR_BNP_Occurrences"},
    {"PR_BNP_PatternStartDate"},
    {"PR_BNP_PatternEndDate"},
    {"PR_BNP_NoEndDate"},
    {"PR_BNP_RecurrenceDayOfMonth"},
    {"PR_BNP_RecurrenceDayOfWeekMask"},
    {"PR_BNP_RecurrenceMonthOfYear"},
    {"PR_BODY"},
    {"PR_BNP_vCalendar"},
};

constexpr ItemProperty kFiles[] = {
    {"VL_ITEM_ID", Access::KeptByStore},
    {"VL_ITEM_CLASS", Access::KeptByStore},
    {"VL_ITEM_MODIFIEDDATE", Access::KeptByStore},
    {"PR_SUBJECT", Access::Settable, Values::Any, "SUBJECT"},
    {"PR_MESSAGE_SIZE", Access::Settable, Values::Any, "SIZE"},
    {"PR_VL_ReadStatus", Access::Settable, Values::Any, "READ"},
    {"PR_LAST_MODIFIED_DATE", Access::KeptByStore},
    {"PR_CREATED_DATE", Access::KeptByStore},
    {"PR_LAST_ACCESSED_DATE", Access::KeptByStore},
    {"PR_FILE_TYPE", Access::KeptByStore},
    {"PR_BODY", Access::KeptByStore},
};

constexpr std::string_view kOfFolder[] = {"VL_POSTOFFICE", "VL_MAILBOX", "VL_FOLDER", "VL_FOLDER_PATH"};

constexpr std::string_view kListing[] = {
    "VL_ITEM_ID", "PR_SUBJECT", "PR_VL_FROM", "PR_VL_MESSAGEDATE", "PR_VL_SIZE", "PR_VL_READ", "PR_VL_ATTACHMENTS", "PR_VL_FLAGSTATUS",
};

}  // namespace

std::span<const ItemProperty> PropertiesOf(FolderKind kind)
{
    switch (kind) {
        case FolderKind::Contacts:
            return kContacts;
        case FolderKind::Calendar:
            return kCalendar;
        case FolderKind::Tasks:
            return kTasks;
        case FolderKind::Files:
            return kFiles;
        case FolderKind::Mail:
            break;
    }
    return kMail;
}

const ItemProperty* FindProperty(FolderKind kind, std::string_view name)
{
    for (const ItemProperty& property : PropertiesOf(kind)) {
        if (EqualNoCase(property.name, name)) return &property;
    }
    return nullptr;
}

bool IsFolderProperty(std::string_view name)
{
    for (std::string_view own : kOfFolder) {
        if (EqualNoCase(own, name)) return true;
    }
    return false;
}

std::span<const std::string_view> ListingProperties() { return kListing; }

}  // namespace vlstore
