// The property names of contacts: the lines of a vCard, and the parts of those that have several.
#ifndef VELMORA_ITEMS_CONTACTPROPERTIES_H
#define VELMORA_ITEMS_CONTACTPROPERTIES_H

#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Those of every kind and those of contacts, in any case. Position is the component of the column's text, from 1; a miss
// empties Column and makes it 0.
[[nodiscard]] bool ResolveContactProperty(std::string_view name, PropertyBinding& binding);

}  // namespace velmora

#endif
