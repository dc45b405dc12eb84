#include "index/ItemFile.h"

#include "common/FileManagement.h"
#include "common/Text.h"
#include "frame/StorePaths.h"
#include "index/IndexItem.h"
#include "platform/win32.h"

namespace velmora {

namespace {

enum class FileBehind { Nothing, Itself, Another, Unknown };

FileBehind LookBehind(const std::string& folderPath, std::string_view id)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folderPath + "\\" + std::string(id)).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return NamesNothing(GetLastError()) ? FileBehind::Nothing : FileBehind::Unknown;
    FindClose(search);
    const bool plain = (found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
    return plain && id == found.cFileName ? FileBehind::Itself : FileBehind::Another;
}

}  // namespace

bool IsItemFileName(std::string_view id)
{
    // Such an ID comes from a damaged index or a careless host, and no file of this folder is meant.
    if (id.empty() || id.find_first_of("\\/") != std::string_view::npos) return false;
    // The folder's own files, its index before all: a host that names one would have it read as a message, or deleted.
    return id.front() != '_' && id.front() != '.';
}

std::string ItemFilePath(STOREITEMTYPE& handle, std::string_view id)
{
    if (!IsItemFileName(id)) return {};
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
    const FileBehind behind = LookBehind(handle.FolderPath, id);
    if (behind != FileBehind::Itself) return behind == FileBehind::Nothing;
    if (DeleteFileA(path.c_str())) return true;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool MayHaveItemFile(const std::string& folderPath, std::string_view id)
{
    const FileBehind behind = LookBehind(folderPath, id);
    return behind == FileBehind::Itself || behind == FileBehind::Unknown;
}

}  // namespace velmora
