// The property names of calendar entries.
#ifndef VELMORA_ITEMS_CALENDARPROPERTIES_H
#define VELMORA_ITEMS_CALENDARPROPERTIES_H

#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Those of every kind and those of calendars, in any case. Position is 0; a miss empties Column.
[[nodiscard]] bool ResolveCalendarProperty(std::string_view name, PropertyBinding& binding);

}  // namespace velmora

#endif
