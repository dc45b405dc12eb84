// A directory's block file, held from construction to destruction: no process of the store works on the index meanwhile.
#ifndef VLSTORE_FOLDERBLOCK_H
#define VLSTORE_FOLDERBLOCK_H

#include <filesystem>
#include <string>

#include "Library.h"
#include "OpenFolder.h"

namespace vlstore {

class FolderBlock {
public:
    // `file`: _index.blk or _groups.blk; `label`: what a person calls the folder. Tries for a moment, with Wait for as long as
    // an open would, and then takes one that nobody holds away. Throws Failure (temporary) when it stays held, and what says why
    // when no file can be made there.
    FolderBlock(const Library& library, const std::filesystem::path& file, const std::string& label, LockWait wait);
    ~FolderBlock();
    FolderBlock(const FolderBlock&) = delete;
    FolderBlock& operator=(const FolderBlock&) = delete;

private:
    bool Take();

    const Library& library_;
    std::string file_;
    void* handle_ = nullptr;
};

}  // namespace vlstore

#endif
