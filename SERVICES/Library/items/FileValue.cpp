#include "items/FileValue.h"

#include <string>

#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/ItemBackend.h"
#include "index/ItemFile.h"
#include "items/ColumnValue.h"
#include "items/DateForms.h"
#include "platform/win32.h"

namespace velmora {

namespace {

struct FileTimeColumn {
    std::string_view column;
    FILETIME WIN32_FIND_DATAA::*time;
};

constexpr FileTimeColumn kFileTimes[] = {
    {"LASTMODIFIEDDATE", &WIN32_FIND_DATAA::ftLastWriteTime},
    {"CREATEDDATE", &WIN32_FIND_DATAA::ftCreationTime},
    {"LASTACCESSEDDATE", &WIN32_FIND_DATAA::ftLastAccessTime},
};

// A directory is no item, and an ID that is a pattern means no other file.
bool FindItemFile(STOREITEMTYPE& handle, WIN32_FIND_DATAA& found)
{
    if (!handle.Item) return false;
    const std::string_view id = handle.Item->Id();
    const std::string path = ItemFilePath(handle, id);
    if (path.empty()) return false;
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return false;
    FindClose(search);
    return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && EqualsNoCase(id, found.cFileName);
}

uint64_t NoValue(void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    return kNoProperty;
}

}  // namespace

uint64_t GetFileTimeProperty(STOREITEMTYPE& handle, const PropertyBinding& binding, std::string_view name, void** value, uint64_t* size)
{
    for (const FileTimeColumn& row : kFileTimes) {
        if (row.column != binding.Column) continue;
        WIN32_FIND_DATAA found;
        if (!FindItemFile(handle, found)) break;
        const uint64_t time = FileTimeValue(found.*row.time);
        return GetConvertedValue(&time, binding, value, size, name);
    }
    return NoValue(value, size);
}

uint64_t GetFileTypeProperty(STOREITEMTYPE& handle, const PropertyBinding& binding, std::string_view name, void** value, uint64_t* size)
{
    if (!handle.Item) return NoValue(value, size);
    return GetConvertedValue("file", binding, value, size, name);
}

}  // namespace velmora
