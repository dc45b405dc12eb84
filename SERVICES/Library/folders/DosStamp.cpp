#include "folders/DosStamp.h"

#include "items/DateForms.h"

namespace velmora {

std::optional<FILETIME> FoundLastWrite(const std::string& path)
{
    WIN32_FIND_DATAA found = {};
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return std::nullopt;
    FindClose(search);
    return found.ftLastWriteTime;
}

uint32_t DosStampOf(const std::optional<FILETIME>& lastWrite) { return lastWrite ? DosDateTime(*lastWrite) : 0; }

uint32_t DosStampOf(const std::string& path) { return DosStampOf(FoundLastWrite(path)); }

}  // namespace velmora
