// Last-write times of files in DOS form, as they stand (UTC): the date in the high and the time in the low 16 bits, in steps of
// two seconds; an odd second is cut off. 0 for no file, and for a time outside 1980 to 2107.
#ifndef VELMORA_FOLDERS_DOSSTAMP_H
#define VELMORA_FOLDERS_DOSSTAMP_H

#include <cstdint>
#include <optional>
#include <string>

#include "platform/win32.h"

namespace velmora {

// Of a file as a search tells it. Nothing for one that is not there.
std::optional<FILETIME> FoundLastWrite(const std::string& path);

uint32_t DosStampOf(const std::optional<FILETIME>& lastWrite);
uint32_t DosStampOf(const std::string& path);

}  // namespace velmora

#endif
