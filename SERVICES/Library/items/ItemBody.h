// Properties whose values lie in the items' own files: what is asked of the readers and writers of calendar, task and
// contact files.
//
// Those readers and writers are not built. Until they are, the functions marked "None yet" find nothing in a file and store
// nothing, and say so by their results; no file is opened and none is changed.
#ifndef VELMORA_ITEMS_ITEMBODY_H
#define VELMORA_ITEMS_ITEMBODY_H

#include <cstdint>
#include <string>
#include <string_view>

#include "items/PropertyBinding.h"
#include "velmora/index_records.h"

namespace velmora {

// The part of the item file `path` that `propertyName` names; false when there is none to be had. None yet: always false.
[[nodiscard]] bool GetMessageBodyPart(const std::string& path, std::string_view propertyName, std::string& body);
using MessageBodyReader = bool (*)(const std::string& path, std::string_view propertyName, std::string& body);

// A value out of the file of the item in `handle`, by `reader`: results as of GetColumnValue. Text is read whole, whatever the
// size of its stored type.
uint64_t GetItemBodyProperty(STOREITEMTYPE& handle, const PropertyBinding& binding, std::string_view name, void** value, uint64_t* size,
                             MessageBodyReader reader = GetMessageBodyPart);

// Writes a text into the file of the item in `handle`: the calendar object (column VCALENDAR) or the notes. True means
// stored. None yet: always false.
[[nodiscard]] bool WriteItemBodyProperty(STOREITEMTYPE& handle, const char* column, const char* text);
using ItemBodyWriter = bool (*)(STOREITEMTYPE& handle, const char* column, const char* text);

// The properties of a contact, as ItemBackend has them: out of and into the components of its columns and its file. None yet
// but for the names that every kind of item knows, which are read; otherwise kNoProperty, and 0.
uint64_t GetContactProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size);
uint64_t SetContactProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value);

}  // namespace velmora

#endif
