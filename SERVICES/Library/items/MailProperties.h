// The property names that every kind of item knows, and those of mail.
#ifndef VELMORA_ITEMS_MAILPROPERTIES_H
#define VELMORA_ITEMS_MAILPROPERTIES_H

#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// VL_ITEM_ID, VL_ITEM_CLASS and VL_ITEM_MODIFIEDDATE, in any case. A hit leaves Position to the caller's table; a miss
// leaves `binding` as it is.
[[nodiscard]] bool ResolveItemBinding(std::string_view name, PropertyBinding& binding);

// Those and the mail table. Position is 1 either way; a miss empties Column.
[[nodiscard]] bool ResolveMailProperty(std::string_view name, PropertyBinding& binding);

}  // namespace velmora

#endif
