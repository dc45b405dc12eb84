// Reading an item's column as a value of the public interface.
#ifndef VELMORA_ITEMS_COLUMNVALUE_H
#define VELMORA_ITEMS_COLUMNVALUE_H

#include <cstdint>
#include <string_view>

#include "items/PropertyBinding.h"
#include "velmora/index_records.h"

namespace velmora {

// The value of `binding` for the item in `handle`: 2 with a new allocation of malloc in `value` and its size in bytes
// (text of its own length counts its terminator, text of a fixed size is cut and filled up with zeros), or kNoProperty
// with null and 0 when there is no item, no such column, or no way to the client's type. "!CLASS" is the class of the
// handle, and needs an item like any other column; "@" in front of a column names a key of the item. `name` is the public
// name, see ConvertPropertyValue. Throws std::bad_alloc, with null and 0.
uint64_t GetColumnValue(const STOREITEMTYPE& handle, const PropertyBinding& binding, void** value, uint64_t* size,
                        std::string_view name = {});

// The same for a value that has been read already, of the type that `binding` stores: the client's form of it, always in a
// new allocation.
uint64_t GetConvertedValue(const void* stored, const PropertyBinding& binding, void** value, uint64_t* size, std::string_view name = {});

}  // namespace velmora

#endif
