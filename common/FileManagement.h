// File and directory operations that throw.
//
// "\" and "/" both separate. Failures are Exception with the source "FileManagement". Every function may be called from any
// thread: the table of mutexes at its end is all the state there is, and none of them uses it.
#ifndef VELMORA_COMMON_FILEMANAGEMENT_H
#define VELMORA_COMMON_FILEMANAGEMENT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "common/FileMutex.h"
#include "common/Mutex.h"

namespace velmora {

// True for the errors that say of a name that nothing bears it: no such file (2), no such directory (3), and no name at all,
// by its bytes (123) or by its length (206). Any other error leaves open what is there.
bool NamesNothing(uint32_t error);

class FileManagement {
public:
    // The text before the last separator, runs of separators and trailing ones skipped; empty when there is none.
    static std::string ParentDirectory(std::string_view path);
    // The text behind the last separator; empty when the path ends in one or has none, so also for a bare name.
    static std::string FileName(std::string_view path);
    // False only for a name that the file system refuses (error 123).
    static bool IsValidPath(const std::string& path);
    static bool Exists(const std::string& path);
    // False only when the system says that nothing of that name is there, or can be. For what must not be taken for missing, and made
    // anew, because it could not be asked for at this moment.
    static bool MayExist(const std::string& path);
    // Makes the directory and its parents from the top; true when it is there. With `quiet` a path that is empty or no path,
    // and a failure of the last step, are false and not an exception; the parents are always made loudly. A path of more
    // than 4,095 bytes is no path.
    static bool CreateDirectories(const std::string& path, bool quiet = false);
    // Makes the parents, then the file with these bytes, while others may read and write it.
    static void WriteWholeFile(const std::string& path, std::string_view bytes);
    // A file, or a directory with all that is in it; a path that is not there is left at that. Links are removed, not followed.
    static void RemoveTree(const std::string& path);
    // Moves what must be there to where nothing may be; the parents of `to` are made.
    static void MovePath(const std::string& from, const std::string& to);
    // Copies a file, or a directory with all that is in it, over what is there. The parent of `to` is made first, loudly.
    // The first failure behind that ends the copy, and leaves what was copied before it; with `quiet` it is false and not
    // an exception, as is a `from` that is not there. True means that everything was copied: a directory that cannot be
    // listed is a failure before anything is copied, and so is, when the copy comes to it, a link to a directory, `from`
    // itself included. Such a link is not followed, and the system has no call here to make another.
    static bool CopyTree(const std::string& from, const std::string& to, bool quiet = false);

    // A mutex for each file, and the mutex that guards this table; both live from the load of the library to its unload.
    // Kept: nothing enters a file, since the locks that are taken are block files and the mutexes of records.
    static Mutex fileMutexesMutex;
    static FileMutexTable fileMutexes;
};

}  // namespace velmora

#endif
