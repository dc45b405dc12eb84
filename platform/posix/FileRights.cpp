#include "platform/shared/FileRights.h"

#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/Paths.h"

namespace velmora::platform {

bool TakeOverRights(const std::string& from, const std::string& to)
{
    PathText old;
    PathText made;
    if (ToSystemPath(from.c_str(), old) != 0 || ToSystemPath(to.c_str(), made) != 0) return false;
    struct stat had = {};
    struct stat has = {};
    DWORD error = 0;
    if (WithSpelling(old, error, [&](const char* path) { return lstat(path, &had); }) != 0) return error == ERROR_FILE_NOT_FOUND;
    if (!S_ISREG(had.st_mode) || had.st_nlink > 1) return false;
    if (WithSpelling(made, error, [&](const char* path) { return lstat(path, &has); }) != 0) return false;
    if ((had.st_uid != has.st_uid || had.st_gid != has.st_gid) && lchown(made.text, had.st_uid, had.st_gid) != 0) return false;
    const mode_t rights = had.st_mode & 07777;
    return (has.st_mode & 07777) == rights || chmod(made.text, rights) == 0;
}

}  // namespace velmora::platform
