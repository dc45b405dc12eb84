#include "items/ItemBody.h"

#include "index/IndexItem.h"
#include "index/ItemBackend.h"
#include "index/ItemFile.h"
#include "items/ColumnValue.h"

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

uint64_t WriteItemBodyProperty(STOREITEMTYPE&, const char*, const char*) { return 0; }

uint64_t GetContactProperty(STOREITEMTYPE&, const char*, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    return kNoProperty;
}

uint64_t SetContactProperty(STOREINDEXTYPE*, STOREITEMTYPE&, const char*, const char*, const void*) { return 0; }

}  // namespace velmora
