#include "platform/posix/FileInfo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/posix/FileTimes.h"
#include "platform/posix/OpenFiles.h"
#include "platform/shared/AskSeam.h"

namespace velmora::platform {

namespace {

FILETIME TimeOf(const struct statx_timestamp& stamp) { return ToFileTime(UnitsOf(stamp.tv_sec, stamp.tv_nsec)); }

FILETIME CreationOf(const struct statx& info) { return TimeOf((info.stx_mask & STATX_BTIME) != 0 ? info.stx_btime : info.stx_mtime); }

// A pipe, a socket, a device and a link that leads nowhere or where nobody may look bear the mark of a device: nothing in them can be read as a file.
DWORD AttributesOf(mode_t mode)
{
    const DWORD readOnly = (mode & 0222) == 0 ? FILE_ATTRIBUTE_READONLY : 0;
    const DWORD kind = S_ISDIR(mode)   ? FILE_ATTRIBUTE_DIRECTORY
                       : S_ISREG(mode) ? FILE_ATTRIBUTE_ARCHIVE
                                       : FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_DEVICE;
    return kind | readOnly;
}

// A link to a directory is a directory that bears a mark, so that whoever walks a tree can stop there. Only directories
// cost this second look.
DWORD LinkAttribute(int directory, const char* name)
{
    struct stat info = {};
    const bool isLink = fstatat(directory, name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(info.st_mode);
    return isLink ? FILE_ATTRIBUTE_REPARSE_POINT : 0;
}

constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_ATIME | STATX_BTIME;

}  // namespace

int DescribeAt(int directory, const char* name, WIN32_FIND_DATAA& found)
{
    struct statx info;
    if (statx(directory, name, AT_NO_AUTOMOUNT, kWanted, &info) != 0) {
        const bool mayLeadNowhere = errno == ENOENT || errno == ELOOP || errno == ENOTDIR || errno == EACCES;
        if (!mayLeadNowhere) return -1;
        if (statx(directory, name, AT_NO_AUTOMOUNT | AT_SYMLINK_NOFOLLOW, kWanted, &info) != 0) return -1;
    }
    found.dwFileAttributes = AttributesOf(info.stx_mode);
    if (S_ISDIR(info.stx_mode)) found.dwFileAttributes |= LinkAttribute(directory, name);
    found.ftCreationTime = CreationOf(info);
    found.ftLastAccessTime = TimeOf(info.stx_atime);
    found.ftLastWriteTime = TimeOf(info.stx_mtime);
    const uint64_t size = S_ISDIR(info.stx_mode) ? 0 : info.stx_size;
    found.nFileSizeHigh = static_cast<DWORD>(size >> 32);
    found.nFileSizeLow = static_cast<DWORD>(size);
    found.dwReserved0 = found.dwReserved1 = 0;
    return 0;
}

void SetFoundName(WIN32_FIND_DATAA& found, std::string_view name)
{
    const size_t length = std::min(name.size(), sizeof(found.cFileName) - 1);
    std::memcpy(found.cFileName, name.data(), length);
    found.cFileName[length] = '\0';
    found.cAlternateFileName[0] = '\0';
}

}  // namespace velmora::platform

using namespace velmora::platform;

DWORD GetFileAttributesA(LPCSTR path)
{
    if (SeamRefuses(FileOperation::Search, path)) return INVALID_FILE_ATTRIBUTES;
    PathText native;
    DWORD error = ToSystemPath(path, native);
    struct stat info = {};
    if (error == 0) {
        native.DropTrailingSeparators();
        if (WithSpelling(native, error, [&](const char* name) { return stat(name, &info); }) == 0)
            return AttributesOf(info.st_mode) | (S_ISDIR(info.st_mode) ? LinkAttribute(AT_FDCWD, native.text) : 0);
    }
    SetLastError(error);
    return INVALID_FILE_ATTRIBUTES;
}

BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite)
{
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    struct statx info;
    if (statx(object->Fd(), "", AT_EMPTY_PATH, kWanted, &info) != 0) return Fail(PresentError());
    if (creation) *creation = CreationOf(info);
    if (lastAccess) *lastAccess = TimeOf(info.stx_atime);
    if (lastWrite) *lastWrite = TimeOf(info.stx_mtime);
    return TRUE;
}

BOOL SetFileTime(HANDLE file, const FILETIME*, const FILETIME* lastAccess, const FILETIME* lastWrite)
{
    const FileObject* object = HandleAs<FileObject>(file);
    if (!object) return FALSE;
    if (!object->writable) return Fail(ERROR_ACCESS_DENIED);
    const auto stampOf = [](const FILETIME* time) {
        // A zero time leaves the stamp, as no time does.
        return time && FromFileTime(*time) != 0 ? StampOf(FromFileTime(*time)) : timespec{0, UTIME_OMIT};
    };
    const timespec stamps[2] = {stampOf(lastAccess), stampOf(lastWrite)};
    return futimens(object->Fd(), stamps) == 0 ? TRUE : Fail(PresentError());
}
