#include "items/ItemBody.h"

#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/ItemBackend.h"
#include "index/ItemFile.h"
#include "items/ColumnValue.h"
#include "items/CommonProperties.h"

namespace velmora {

uint64_t GetItemBodyProperty(STOREITEMTYPE& handle, const PropertyBinding& binding, std::string_view name, void** value, uint64_t* size,
                             MessageBodyReader reader)
{
    *value = nullptr;
    *size = 0;
    if (!handle.Item) return kNoProperty;
    const std::string path = ItemFilePath(handle, handle.Item->Id());
    std::string body;
    if (path.empty() || !reader(path, name, body)) return kNoProperty;
    return GetConvertedValue(body.c_str(), binding, value, size, name);
}

bool GetMessageBodyPart(const std::string&, std::string_view, std::string&) { return false; }

bool WriteItemBodyProperty(STOREITEMTYPE&, const char*, const char*) { return false; }

uint64_t GetContactProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    PropertyBinding binding;
    if (!ResolveItemBinding(TextOrEmpty(name), binding)) return kNoProperty;
    return GetColumnValue(handle, binding, value, size, TextOrEmpty(name));
}

uint64_t SetContactProperty(STOREINDEXTYPE*, STOREITEMTYPE&, const char*, const char*, const void*) { return 0; }

}  // namespace velmora
