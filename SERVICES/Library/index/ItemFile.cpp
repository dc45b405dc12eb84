#include "index/ItemFile.h"

#include "common/FileManagement.h"
#include "platform/win32.h"

namespace velmora {

bool MayHaveItemFile(const std::string& folderPath, std::string_view id)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((folderPath + "\\" + std::string(id)).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return !NamesNothing(GetLastError());
    FindClose(search);
    return (found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0 && id == found.cFileName;
}

}  // namespace velmora
