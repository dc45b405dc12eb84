// A thread's parsed folder lists, and the walks over them.
#ifndef VELMORA_FOLDERS_FOLDERLISTS_H
#define VELMORA_FOLDERS_FOLDERLISTS_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "velmora/folders.h"

namespace velmora {

// One _folder.xml in memory.
struct FolderEntryList {
    std::map<std::string, std::string> Names;  // name to itself, in byte order; the walks' order
    uint32_t Stamp = 0;                        // the file's last-write time in DOS form when it was read
};

using FolderDirectories = std::map<std::string, std::unique_ptr<FolderEntryList>>;

}  // namespace velmora

// What a caller's handle stands for. A list without Directories is not initialised.
struct TLSFolderList {
    uint64_t Reserved = 0;
    velmora::FolderDirectories* Directories = nullptr;
    std::string Position;  // the name that the walk gave last
};

namespace velmora {

// Gives back the calling thread's own lists, at the thread's end.
void ReleaseThreadFolderLists();

}  // namespace velmora

#endif
