// The property names of tasks.
#ifndef VELMORA_ITEMS_TASKPROPERTIES_H
#define VELMORA_ITEMS_TASKPROPERTIES_H

#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Those of every kind and those of tasks, in any case. Position is 0; a miss empties Column.
[[nodiscard]] bool ResolveTaskProperty(std::string_view name, PropertyBinding& binding);

}  // namespace velmora

#endif
