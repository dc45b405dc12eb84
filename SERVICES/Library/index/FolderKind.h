// The kind of a folder, from its name.
#ifndef VELMORA_INDEX_FOLDERKIND_H
#define VELMORA_INDEX_FOLDERKIND_H

#include <cstdint>

namespace velmora {

// 2, 3 or 1 for exactly CALENDAR, TASKS or CONTACTS behind leading separators, in any case; 2 for null; else 0. A folder
// below one of these is mail.
uint32_t ClassifyFolderName(const char* folder);

}  // namespace velmora

#endif
