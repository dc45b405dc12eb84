#include "items/MailBackend.h"

#include <string>

#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/ItemOperations.h"
#include "items/ColumnValue.h"
#include "items/MailProperties.h"
#include "items/MailScan.h"
#include "platform/win32.h"

namespace velmora {

namespace {

uint64_t GetProperty(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    PropertyBinding binding;
    if (!ResolveMailProperty(TextOrEmpty(name), binding)) return kNoProperty;
    return GetColumnValue(handle, binding, value, size);
}

// Values of mail are text, whatever their type is on the way out.
uint64_t SetProperty(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value)
{
    PropertyBinding binding;
    if (!value || !ResolveMailProperty(TextOrEmpty(name), binding)) return 0;
    // A computed value has no column: a name that begins with "!" is no name for an element of the index file.
    if (binding.Column[0] == '!') return 0;
    return WriteColumnValue(index, handle, itemId, binding.Column, static_cast<const char*>(value));
}

uint64_t Scan(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const char* folderPath, uint32_t mode, uint32_t verifyItemFiles)
{
    return ScanFoldersOrdered(owner, table, std::string(TextOrEmpty(folderPath)), mode, verifyItemFiles);
}

uint64_t SaveItem(STOREINDEXTYPE*, STOREITEMTYPE&) { return 1; }

bool DeleteItemFile(STOREITEMTYPE& handle, const char* itemId)
{
    std::string name(handle.Item ? handle.Item->Id() : std::string_view());
    if (name.empty()) name = TextOrEmpty(itemId);
    // An ID that names another directory comes from a damaged index, and no file of this folder is meant.
    if (name.empty() || name.find_first_of("\\/") != std::string::npos) return false;
    const std::string path = std::string(handle.FolderPath) + "\\" + name;
    if (DeleteFileA(path.c_str())) return true;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool Rebuild(STOREINDEXTYPE*, SORTEDSTOREINDEXTYPE& table, const char* folderPath)
{
    return RebuildFromMessages(table, TextOrEmpty(folderPath));
}

}  // namespace

constinit const ItemBackend kMailBackend = {
    .extension = "MAI",
    .getProperty = GetProperty,
    .setProperty = SetProperty,
    .scan = Scan,
    .saveItem = SaveItem,
    .deleteItemFile = DeleteItemFile,
    .stampsFromFile = false,
    .scannedByOpen = true,
    .indexGet = IndexGet::Open,
    .rebuild = Rebuild,
};

}  // namespace velmora
