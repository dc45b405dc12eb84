#include "items/ItemProperties.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "common/Text.h"
#include "frame/Logging.h"
#include "index/ItemBackend.h"
#include "index/ItemOperations.h"
#include "items/CalendarProperties.h"
#include "items/ColumnValue.h"
#include "items/FileProperties.h"
#include "items/FileValue.h"
#include "items/PropertyConversion.h"
#include "items/TaskProperties.h"

namespace velmora {

namespace {

struct Freed {
    void operator()(void* value) const { std::free(value); }
};

uint64_t GetByTable(PropertyResolver resolve, STOREITEMTYPE& handle, std::string_view name, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    PropertyBinding binding;
    if (!resolve(name, binding)) return kNoProperty;
    switch (binding.Storage) {
        case PropertyStorage::Column:
            return GetColumnValue(handle, binding, value, size, name);
        case PropertyStorage::ItemFile:
            return GetItemBodyProperty(handle, binding, name, value, size);
        case PropertyStorage::FileTime:
            return GetFileTimeProperty(handle, binding, name, value, size);
        case PropertyStorage::FileConstant:
            return GetFileTypeProperty(handle, binding, name, value, size);
    }
    return kNoProperty;
}

// The text that is stored for a client's value.
std::string StoredText(const PropertyBinding& binding, std::string_view name, const void* value)
{
    void* converted = nullptr;
    const Conversion conversion = ConvertPropertyValue(binding.ClientType, binding.StoredType, value, &converted, name);
    if (conversion == Conversion::None) {
        PrintLine("No Conversion Available");
        return std::string(PropertyValueText(binding.ClientType, value));
    }
    const std::unique_ptr<void, Freed> owner(conversion == Conversion::NewValue ? converted : nullptr);
    return std::string(PropertyValueText(binding.StoredType, converted));
}

// An item that is not there is not made: it would have no file to write into.
bool WriteIntoItemFile(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* column, const char* text,
                       ItemBodyWriter writer)
{
    if (index && !TextOrEmpty(itemId).empty() && !SelectItem(handle, *index, itemId)) return false;
    return handle.Item && writer(handle, column, text);
}

}  // namespace

uint64_t SetPropertyByTable(PropertyResolver resolve, STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId,
                            std::string_view name, const void* value, ItemBodyWriter writer)
{
    PropertyBinding binding;
    if (!resolve(name, binding)) return kNoProperty;
    if (!value) return 0;
    const std::string text = StoredText(binding, name, value);
    switch (binding.Storage) {
        case PropertyStorage::Column:
            return WriteColumnValue(index, handle, itemId, binding.Column, text.c_str());
        case PropertyStorage::ItemFile:
            return WriteIntoItemFile(index, handle, itemId, binding.Column, text.c_str(), writer) ? 1 : 0;
        case PropertyStorage::FileTime:
        case PropertyStorage::FileConstant:
            break;
    }
    return 0;
}

uint64_t GetCalendarProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size)
{
    return GetByTable(ResolveCalendarProperty, handle, TextOrEmpty(name), value, size);
}

uint64_t GetTaskProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size)
{
    return GetByTable(ResolveTaskProperty, handle, TextOrEmpty(name), value, size);
}

uint64_t GetFileProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size)
{
    return GetByTable(ResolveFileProperty, handle, TextOrEmpty(name), value, size);
}

uint64_t SetCalendarProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value)
{
    return SetPropertyByTable(ResolveCalendarProperty, index, handle, itemId, TextOrEmpty(name), value);
}

uint64_t SetTaskProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value)
{
    return SetPropertyByTable(ResolveTaskProperty, index, handle, itemId, TextOrEmpty(name), value);
}

}  // namespace velmora
