#include "items/MailProperties.h"

#include "items/CommonProperties.h"

namespace velmora {

namespace {

constexpr int32_t kPosition = 1;

constexpr std::array<NamedBinding, 15> kRows = {{
    {"PR_VL_MODIFIEDDATE", {"MODIFIEDDATE"}},
    {"PR_VL_MESSAGEDATE", {"MESSAGEDATE"}},
    {"PR_VL_IMPORTANCE", {"IMPORTANCE"}},
    {"PR_SENSITIVITY", {"SENSITIVITY", 0, PropInt32, PropString}},
    {"PR_VL_FLAGSTATUS", {"FLAGSTATUS"}},
    {"PR_VL_ATTACHMENTS", {"ATTACHMENTS"}},
    {"PR_VL_FROM", {"FROM"}},
    {"PR_VL_TO", {"TO"}},
    {"PR_VL_CC", {"CC"}},
    {"PR_SUBJECT", {"SUBJECT"}},
    {"PR_VL_RECEIVED", {"RECEIVED"}},
    {"PR_VL_READ", {"READ"}},
    {"PR_VL_STATE", {"STATE"}},
    {"PR_VL_SIZE", {"SIZE"}},
    {"PR_VL_CLASS", {"CLASS"}},
}};
constexpr auto kTable = MakeKindTable(kPosition, kRows);
static_assert(kTable.NamesAreUnique());

}  // namespace

bool ResolveMailProperty(std::string_view name, PropertyBinding& binding) { return ResolveIn(kTable, name, binding, kPosition); }

}  // namespace velmora
