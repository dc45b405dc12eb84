// The property names of plain files.
#ifndef VELMORA_ITEMS_FILEPROPERTIES_H
#define VELMORA_ITEMS_FILEPROPERTIES_H

#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Those of every kind and those of files, in any case. Position is 0; a miss empties Column.
[[nodiscard]] bool ResolveFileProperty(std::string_view name, PropertyBinding& binding);

}  // namespace velmora

#endif
