#include "items/ContactProperties.h"

#include "items/CommonProperties.h"

namespace velmora {

namespace {

constexpr int32_t kPosition = 1;

constexpr std::array<NamedBinding, 41> kRows = {{
    {"VL_MODIFIED_DATE", {"MODIFIEDDATE", 0, PropInt32, PropString}},
    {"PR_SENSITIVITY", {"SENSITIVITY", 0, PropInt32, PropString}},
    {"PR_COMPANY_NAME", {"ORG"}},
    {"PR_DEPARTMENT_NAME", {"ORG", 2}},
    {"PR_EMAIL_ADDRESS", {"EMAIL_PREF_INTERNET"}},
    {"PR_BNP_Email1Address", {"EMAIL_PREF_INTERNET"}},
    {"PR_DISPLAY_NAME", {"FN"}},
    {"PR_NORMALIZED_SUBJECT", {"FN"}},
    {"PR_SUBJECT", {"FN"}},
    {"PR_NICKNAME", {"NICKNAME"}},
    {"PR_NICKNAME_X", {"X-EPOCSECONDNAME"}},
    {"PR_SURNAME", {"N", 1}},
    {"PR_GIVEN_NAME", {"N", 2}},
    {"PR_MIDDLE_NAME", {"N", 3}},
    {"PR_DISPLAY_NAME_PREFIX", {"N", 4}},
    {"PR_TITLE", {"TITLE"}},
    {"PR_NOTE", InItemFile("NOTE")},
    {"PR_NOTE_UNICODE", InItemFile("NOTE", PropStringCopy)},
    {"PR_BNP_VCARD", InItemFile("VCARD")},
    {"PR_ATTACHMENT_CONTACTPHOTO", InItemFile("PHOTO")},
    {"PR_CELLULAR_TELEPHONE_NUMBER", {"TEL_CELL_VOICE"}},
    {"PR_HOME_TELEPHONE_NUMBER", {"TEL_HOME_VOICE"}},
    {"PR_OFFICE_TELEPHONE_NUMBER", {"TEL_WORK_VOICE"}},
    {"PR_PAGER_TELEPHONE_NUMBER", {"TEL_PAGER_VOICE"}},
    {"PR_BUSINESS_FAX_NUMBER", {"TEL_WORK_FAX"}},
    {"PR_BUSINESS_HOME_PAGE", {"URL_WORK"}},
    {"PR_STREET_ADDRESS", {"ADR_WORK", 3}},
    {"PR_LOCALITY", {"ADR_WORK", 4}},
    {"PR_STATE_OR_PROVINCE", {"ADR_WORK", 5}},
    {"PR_POSTAL_CODE", {"ADR_WORK", 6}},
    {"PR_COUNTRY", {"ADR_WORK", 7}},
    {"PR_BIRTHDAY", {"BDAY", 0, PropFileTime, PropDateText}},
    {"PR_ASSISTANT", {"AGENT"}},
    {"PR_MSMESSENGER", {"IM_TYPE-MSMESSENGER"}},
    {"PR_YAHOOMESSENGER", {"IM_TYPE-YAHOOMESSENGER"}},
    {"PR_AIM", {"IM_TYPE-AIM"}},
    // Kept: an equals sign, which no column has that came out of a contact's own file: its name has a dash there. So the
    // property holds what a host has set, until the item is read from that file again.
    {"PR_ICQ", {"IM_TYPE=ICQ"}},
    {"PR_FTMESSAGER", {"IM_TYPE-FTMESSAGER"}},
    {"PR_ODIGO", {"IM_TYPE-ODIGO"}},
    {"PR_POWWOW", {"IM_TYPE-POWWOW"}},
    {"PR_REVISION", {"REV"}},
}};
constexpr auto kTable = MakeKindTable(kPosition, kRows);
static_assert(kTable.NamesAreUnique());

}  // namespace

bool ResolveContactProperty(std::string_view name, PropertyBinding& binding) { return ResolveIn(kTable, name, binding); }

}  // namespace velmora
