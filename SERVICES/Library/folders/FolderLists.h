// A thread's parsed folder lists, and the walks over them.
//
// Each thread reads _folder.xml for itself, so that a listing needs no lock. A list belongs to one thread at a time. The
// library keeps one of its own for each thread. Its walks are told apart by the place on the stack that they are begun at, so
// that a walk inside another one does not move it on. It stays, with what it has parsed, until the thread ends or asks for its
// release.
#ifndef VELMORA_FOLDERS_FOLDERLISTS_H
#define VELMORA_FOLDERS_FOLDERLISTS_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "velmora/folders.h"

namespace velmora {

// One _folder.xml in memory.
struct FolderEntryList {
    std::map<std::string, std::string> Names;  // name to itself, in byte order; the walks' order
    uint32_t Stamp = 0;                        // the file's last-write time in DOS form when it was read
};

using FolderDirectories = std::map<std::string, std::unique_ptr<FolderEntryList>>;

// A walk through one directory. Where it stands is a name and no place in Names, which a reload makes anew between two steps:
// the next name is the first one behind it then, whatever has come or gone.
struct FolderPosition {
    std::string Directory;
    const void* Place = nullptr;  // where on the thread's stack it was begun; none in a list of a caller's own
    std::string Name;
    bool Ended = true;  // it has come to the end, or found no list at its First
};

}  // namespace velmora

// What a caller's handle stands for. A list without Directories is not initialised.
struct TLSFolderList {
    uint64_t Reserved = 0;
    velmora::FolderDirectories* Directories = nullptr;
    std::vector<velmora::FolderPosition> Position;  // of walks that were begun and not closed, in that order

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

// Gives back the list that the library keeps for the calling thread; nothing without one.
void ReleaseThreadFolderLists();
// That list, or null. For tests.
const TLSFolderList* ThreadFolderList();

}  // namespace velmora

#endif
