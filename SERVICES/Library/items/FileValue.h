// What is known of an item's own file from outside of it.
#ifndef VELMORA_ITEMS_FILEVALUE_H
#define VELMORA_ITEMS_FILEVALUE_H

#include <cstdint>
#include <string_view>

#include "items/PropertyBinding.h"
#include "velmora/index_records.h"

namespace velmora {

// Both with results as of GetColumnValue; kNoProperty when there is no item.

// The last write, creation or last access of the item's file, by the binding's column LASTMODIFIEDDATE, CREATEDDATE or
// LASTACCESSEDDATE. kNoProperty also when there is no such file.
uint64_t GetFileTimeProperty(STOREITEMTYPE& handle, const PropertyBinding& binding, std::string_view name, void** value, uint64_t* size);

// The word "file" in the client's type.
// Kept: the tables ask for a number, and as a number the word is 0.
uint64_t GetFileTypeProperty(STOREITEMTYPE& handle, const PropertyBinding& binding, std::string_view name, void** value, uint64_t* size);

}  // namespace velmora

#endif
