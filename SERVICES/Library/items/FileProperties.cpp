#include "items/FileProperties.h"

#include "items/CommonProperties.h"

namespace velmora {

namespace {

constexpr std::array<NamedBinding, 8> kRows = {{
    {"PR_SUBJECT", {"SUBJECT"}},
    {"PR_MESSAGE_SIZE", NumberColumn("SIZE")},
    {"PR_BODY", InItemFile("BODY")},
    {"PR_VL_ReadStatus", NumberColumn("READ")},
    {"PR_LAST_MODIFIED_DATE", {"LASTMODIFIEDDATE", 0, PropFileTime, PropFileTime, PropertyStorage::FileTime}},
    {"PR_CREATED_DATE", {"CREATEDDATE", 0, PropFileTime, PropFileTime, PropertyStorage::FileTime}},
    {"PR_LAST_ACCESSED_DATE", {"LASTACCESSEDDATE", 0, PropFileTime, PropFileTime, PropertyStorage::FileTime}},
    {"PR_FILE_TYPE", {"FILETYPE", 0, PropInt32, PropText, PropertyStorage::FileConstant}},
}};
constexpr auto kTable = MakeKindTable(0, kRows);
static_assert(kTable.NamesAreUnique());

}  // namespace

bool ResolveFileProperty(std::string_view name, PropertyBinding& binding) { return ResolveIn(kTable, name, binding); }

}  // namespace velmora
