// What type a property's value has, by its public name alone; no folder is looked at.
#ifndef VELMORA_ITEMS_PROPERTYTYPES_H
#define VELMORA_ITEMS_PROPERTYTYPES_H

#include <cstdint>

namespace velmora {

// The type code (PropertyType) that a get of `name` hands out in a folder of the class `classHint`: 0 mail, 1 contacts,
// 2 calendar, 3 tasks, 4 files; an unknown name is reported as text there (1). Any other class: the first of mail, contacts
// and calendar that knows the name, and 0 when none does. A null name counts as an empty one. For any thread.
uint32_t PropertyClientType(const char* name, uint32_t classHint);

}  // namespace velmora

#endif
