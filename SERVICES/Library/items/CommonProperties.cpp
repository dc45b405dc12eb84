#include "items/CommonProperties.h"

namespace velmora {

namespace {

constexpr BindingTable<kItemNames.size()> kTable(kItemNames);
static_assert(kTable.NamesAreUnique());

}  // namespace

bool ResolveItemBinding(std::string_view name, PropertyBinding& binding)
{
    const PropertyBinding* const found = kTable.Find(name);
    if (!found) return false;
    const int32_t position = binding.Position;
    binding = *found;
    binding.Position = position;
    return true;
}

}  // namespace velmora
