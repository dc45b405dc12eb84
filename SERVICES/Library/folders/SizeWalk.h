// How much a folder holds, with all folders below it.
#ifndef VELMORA_FOLDERS_SIZEWALK_H
#define VELMORA_FOLDERS_SIZEWALK_H

#include <cstdint>

#include "velmora/folders.h"

namespace velmora {

inline constexpr uint32_t kSizeInBytes = 0;
inline constexpr uint32_t kSizeInKilobytes = 1;  // any other mode is bytes

// Sets FolderSize, and nothing else of the record, to the size of FolderPath and of all folders below it, held at
// 4,294,967,295. Folders whose index is out of date are scanned on the way, unless somebody else is at work on them or their
// index is large. Always 1, also for a folder that is not there, which has a size of 0. What cannot be read counts nothing.
// Raises when there is no memory; FolderSize is then 0.
uint64_t MeasureFolderTree(StoreFolderRecord& record, uint32_t mode);

}  // namespace velmora

#endif
