#include "index/ItemFile.h"

#include "common/FileManagement.h"
#include "common/Text.h"
#include "frame/StorePaths.h"
#include "index/IndexItem.h"
#include "platform/win32.h"

namespace velmora {

std::string ItemFilePath(STOREITEMTYPE& handle, std::string_view id)
{
    // Such an ID comes from a damaged index or a careless host, and no file of this folder is meant.
    if (id.empty() || id.find_first_of("\\/") != std::string_view::npos) return {};
    // Without a folder the path would begin at the root of the drive.
    if (*handle.Postoffice) ResolveItemPaths(handle);
    if (!*handle.FolderPath) return {};
    std::string path = handle.FolderPath;
    path += '\\';
    path += id;
    return path;
}

bool DeleteItemFile(STOREITEMTYPE& handle, const char* itemId)
{
    std::string_view id = handle.Item ? handle.Item->Id() : std::string_view();
    if (id.empty()) id = TextOrEmpty(itemId);
    const std::string path = ItemFilePath(handle, id);
    if (path.empty()) return false;
    if (DeleteFileA(path.c_str())) return true;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool MayHaveItemFile(const std::string& folderPath, std::string_view id)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folderPath + "\\" + std::string(id)).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return !NamesNothing(GetLastError());
    FindClose(search);
    return (found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0 && id == found.cFileName;
}

}  // namespace velmora
