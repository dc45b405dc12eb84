// The names of directories that were listed, kept for look-ups without regard to case.
//
// A directory is known by device and inode, and what was listed of it holds while its change time stays. Two changes
// within one tick of the system's clock bear one time, so a listing made less than 20 ms after a change is not kept for
// finding files. For making files it is: there the listing only tells that no other spelling exists, and this process
// adds its own changes to it, so that making a thousand files does not list their directory a thousand times. Such a
// listing is made anew after ten seconds; what it can miss is a file that another process made in the very moment in
// which this one made another.
#ifndef VELMORA_PLATFORM_POSIX_DIRECTORYNAMES_H
#define VELMORA_PLATFORM_POSIX_DIRECTORYNAMES_H

#include <string_view>

#include "platform/win32.h"

namespace velmora::platform {

struct DirectoryIdentity {
    uint64_t device = 0;
    uint64_t inode = 0;
    int64_t changeSeconds = 0;
    int64_t changeNanoseconds = 0;

    bool SameDirectory(const DirectoryIdentity& other) const { return device == other.device && inode == other.inode; }
    bool Unchanged(const DirectoryIdentity& other) const
    {
        return SameDirectory(other) && changeSeconds == other.changeSeconds && changeNanoseconds == other.changeNanoseconds;
    }
};

// 0, or why the path is no directory: 2 missing, 3 a file, 5, ...
DWORD IdentifyDirectory(const char* path, DirectoryIdentity& identity);

// Looks for a name that equals `name` but for case and writes its spelling over it. 0, 2 or another error.
DWORD FindInDirectory(const char* directory, const DirectoryIdentity& identity, char* name, size_t length, bool forCreation);

// Whether any directory is kept: without one, NoteChange has nothing to do.
bool AnyDirectoryKept();

// This process changed the directory, which was `before` right before: it made `created`, or with an empty name made or
// removed something that need not be remembered.
void NoteChange(const char* directory, const DirectoryIdentity& before, std::string_view created);

// How many directories were listed since the process began, for tests.
uint64_t DirectoryListings();

}  // namespace velmora::platform

#endif
