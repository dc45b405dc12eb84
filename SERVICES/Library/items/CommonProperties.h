// The property names that every kind of item knows.
#ifndef VELMORA_ITEMS_COMMONPROPERTIES_H
#define VELMORA_ITEMS_COMMONPROPERTIES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

inline constexpr std::array<NamedBinding, 3> kItemNames = {{
    {"VL_ITEM_ID", {"@ID"}},
    {"VL_ITEM_CLASS", NumberColumn("!CLASS")},
    {"VL_ITEM_MODIFIEDDATE", NumberColumn("MODIFIEDDATE")},
}};

// VL_ITEM_ID, VL_ITEM_CLASS and VL_ITEM_MODIFIEDDATE, in any case. A hit leaves Position to the caller's table; a miss
// leaves `binding` as it is.
[[nodiscard]] bool ResolveItemBinding(std::string_view name, PropertyBinding& binding);

// The table of a kind: those names and its own `rows`, in one look-up. Rows that name no position have `position`.
template <size_t N>
constexpr BindingTable<N + kItemNames.size()> MakeKindTable(int32_t position, const std::array<NamedBinding, N>& rows)
{
    std::array<NamedBinding, N + kItemNames.size()> all{};
    for (size_t i = 0; i < kItemNames.size(); ++i) all[i] = kItemNames[i];
    for (size_t i = 0; i < N; ++i) all[kItemNames.size() + i] = rows[i];
    for (NamedBinding& row : all)
        if (row.binding.Position == 0) row.binding.Position = position;
    return BindingTable<N + kItemNames.size()>(all);
}

}  // namespace velmora

#endif
