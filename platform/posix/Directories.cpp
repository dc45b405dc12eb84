// Making and removing directories.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/Paths.h"
#include "platform/shared/AskSeam.h"

namespace velmora::platform {

namespace {

DWORD MakeDirectory(PathText& path)
{
    path.DropTrailingSeparators();
    const NameSearch search = FindSpelling(path, Purpose::Create);
    if (search.error == 0) return ERROR_ALREADY_EXISTS;
    if (search.error != ERROR_FILE_NOT_FOUND) return search.error;
    if (const DWORD error = CheckNewName(path.Leaf()); error != 0) return error;
    if (mkdir(path.text, 0777) != 0) {
        if (errno == EEXIST) return ERROR_ALREADY_EXISTS;
        return errno == ENOENT ? ERROR_PATH_NOT_FOUND : PresentError();
    }
    OwnChange(search).Note(path, true);
    return 0;
}

// A link to a directory is removed itself, what it leads to stays. A file in a directory's place is error 267.
int RemoveEmptyDirectory(const char* path, DWORD& error)
{
    error = 0;
    if (rmdir(path) == 0) return 0;
    if (errno == EEXIST) errno = ENOTEMPTY;
    struct stat info = {};
    if (errno != ENOTDIR || lstat(path, &info) != 0) return -1;
    struct stat target = {};
    if (S_ISLNK(info.st_mode) && stat(path, &target) == 0 && S_ISDIR(target.st_mode)) return unlink(path);
    error = ERROR_DIRECTORY;
    errno = ENOTDIR;
    return -1;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES)
{
    if (SeamRefuses(FileOperation::MakeDirectory, path)) return FALSE;
    PathText native;
    DWORD error = ToSystemPath(path, native);
    if (error == 0) error = MakeDirectory(native);
    return error == 0 ? TRUE : Fail(error);
}

BOOL RemoveDirectoryA(LPCSTR path)
{
    if (SeamRefuses(FileOperation::Delete, path)) return FALSE;
    PathText native;
    DWORD error = ToSystemPath(path, native);
    if (error != 0) return Fail(error);
    native.DropTrailingSeparators();
    DWORD kind = 0;
    const OwnChange change(native);
    if (WithSpelling(native, error, [&](const char* name) { return RemoveEmptyDirectory(name, kind); }) != 0) {
        return Fail(kind != 0 ? kind : error);
    }
    change.Note(native, false);
    return TRUE;
}

int _mkdir(const char* path) { return CreateDirectoryA(path, nullptr) ? 0 : -1; }
