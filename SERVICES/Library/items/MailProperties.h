// The property names of mail.
#ifndef VELMORA_ITEMS_MAILPROPERTIES_H
#define VELMORA_ITEMS_MAILPROPERTIES_H

#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Those of every kind and those of mail, in any case. Position is 1 either way; a miss empties Column.
[[nodiscard]] bool ResolveMailProperty(std::string_view name, PropertyBinding& binding);

}  // namespace velmora

#endif
