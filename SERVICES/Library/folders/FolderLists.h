// A thread's parsed folder lists, and the walks over them.
//
// Each thread reads _folder.xml for itself, so that a listing needs no lock. A list belongs to one thread at a time. The
// library keeps lists of its own for each thread, one for each depth of the stack that walks are begun at, so that a walk
// inside another one does not move it on. They stay, with what they have parsed, until the thread ends or asks for its
// release.
#ifndef VELMORA_FOLDERS_FOLDERLISTS_H
#define VELMORA_FOLDERS_FOLDERLISTS_H

#include <cstddef>
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

// Where a walk through one directory stands. It is a name and no place in Names, which a reload makes anew between two
// steps: the next name is the first one behind it then, whatever has come or gone.
struct FolderPosition {
    std::string Name;
    uint64_t Begun = 0;  // a later walk has a higher number; told apart among the library's own lists only
    bool Ended = true;   // it has come to the end, or found no list at its First
};

}  // namespace velmora

// What a caller's handle stands for. A list without Directories is not initialised.
struct TLSFolderList {
    uint64_t Reserved = 0;
    velmora::FolderDirectories* Directories = nullptr;
    std::map<std::string, velmora::FolderPosition> Position;  // by directory, of walks that were begun and not closed

    TLSFolderList() = default;
    ~TLSFolderList() { delete Directories; }
    TLSFolderList(const TLSFolderList&) = delete;
    TLSFolderList& operator=(const TLSFolderList&) = delete;
};

namespace velmora {

// A list that is initialised, and goes with its scope.
struct LocalFolderList : TLSFolderList {
    LocalFolderList() { Directories = new FolderDirectories; }
};

// Gives back the calling thread's own lists; nothing without any.
void ReleaseThreadFolderLists();
// How many lists the library keeps for the calling thread. For tests.
size_t ThreadFolderListCount();

}  // namespace velmora

#endif
