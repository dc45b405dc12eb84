// The ways of a property through an item, for the kinds that keep a table of names: calendar entries, tasks and files.
//
// Signatures and results as ItemBackend has them. Values cross in the client's type of the table; see PropertyConversion.h.
#ifndef VELMORA_ITEMS_ITEMPROPERTIES_H
#define VELMORA_ITEMS_ITEMPROPERTIES_H

#include <cstdint>
#include <string_view>

#include "items/ItemBody.h"
#include "items/PropertyBinding.h"
#include "velmora/index_records.h"

namespace velmora {

uint64_t GetCalendarProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size);
uint64_t GetTaskProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size);
uint64_t GetFileProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size);

// kNoProperty for a name that the table does not know, 0 for a null value and where nothing was stored.
// Kept: a value that has no conversion is stored as the text that its bytes are, and "No Conversion Available" goes to
// standard output.
uint64_t SetCalendarProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value);
uint64_t SetTaskProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value);

using PropertyResolver = bool (*)(std::string_view name, PropertyBinding& binding);

// What those two do, for the names that `resolve` knows. A value that lies in the item's own file goes to `writer`: into the
// file of `itemId` where an index and an id are given, which selects that item, else into that of the handle's item. 0 where
// there is no such item.
uint64_t SetPropertyByTable(PropertyResolver resolve, STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId,
                            std::string_view name, const void* value, ItemBodyWriter writer = WriteItemBodyProperty);

}  // namespace velmora

#endif
