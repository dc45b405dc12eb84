#include "items/MailProperties.h"

namespace velmora {

namespace {

constexpr int32_t kMailPosition = 1;

constexpr std::array<NamedBinding, 3> kItemTable = {{
    {"VL_ITEM_ID", {"@ID"}},
    {"VL_ITEM_CLASS", {"!CLASS", 0, PropInt32, PropText}},
    {"VL_ITEM_MODIFIEDDATE", {"MODIFIEDDATE", 0, PropInt32, PropText}},
}};

constexpr std::array<NamedBinding, 15> kMailTable = {{
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

static_assert(NamesAreUnique(kItemTable));
static_assert(NamesAreUnique(kMailTable));

}  // namespace

bool ResolveItemBinding(std::string_view name, PropertyBinding& binding)
{
    const PropertyBinding* const found = FindBinding(kItemTable, name);
    if (!found) return false;
    const int32_t position = binding.Position;
    binding = *found;
    binding.Position = position;
    return true;
}

bool ResolveMailProperty(std::string_view name, PropertyBinding& binding)
{
    binding = {};
    binding.Position = kMailPosition;
    if (ResolveItemBinding(name, binding)) return true;
    const PropertyBinding* const found = FindBinding(kMailTable, name);
    if (!found) return false;
    binding = *found;
    binding.Position = kMailPosition;
    return true;
}

}  // namespace velmora
