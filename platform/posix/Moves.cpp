// Moves and copies.
//
// A move holds the exclusive lock of the file while it renames it, so a file that somebody has open without sharing its
// deletion is not moved away, nor replaced. Directories are moved without a look at what is open below them.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

#include "platform/posix/OpenFiles.h"
#include "platform/shared/AskSeam.h"

namespace velmora::platform {

namespace {

constexpr size_t kCopyPiece = 64 * 1024;

// Renames unless the new name is taken. File systems that cannot do this in one step get a second link for a file; for a
// directory there is a look first.
int RenameWithoutReplacing(const char* from, const char* to, bool isDirectory)
{
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    struct stat info = {};
    if (lstat(to, &info) == 0) {
        errno = EEXIST;
        return -1;
    }
    if (isDirectory) return rename(from, to);
    if (link(from, to) != 0) return -1;
    return unlink(from);
}

int WriteAll(int fd, const char* bytes, size_t size)
{
    while (size > 0) {
        const ssize_t put = write(fd, bytes, size);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return -1;
        bytes += put;
        size -= static_cast<size_t>(put);
    }
    return 0;
}

int CopyThroughBuffer(int from, int to)
try {
    const auto piece = std::make_unique<char[]>(kCopyPiece);
    for (;;) {
        const ssize_t got = read(from, piece.get(), kCopyPiece);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return static_cast<int>(got);
        if (WriteAll(to, piece.get(), static_cast<size_t>(got)) != 0) return -1;
    }
} catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return -1;
}

// The kernel copies where it can; what it has not copied goes through the buffer, from where both files stand.
DWORD CopyContents(int from, int to)
{
    ssize_t copied;
    do {
        copied = copy_file_range(from, nullptr, to, nullptr, size_t{1} << 30, 0);
    } while (copied > 0 || (copied < 0 && errno == EINTR));
    if (copied < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EIO)) return PresentError();
    return CopyThroughBuffer(from, to) == 0 ? 0 : PresentError();
}

// Contents, permissions and last-write time. `to` is an empty file that nobody else has open.
DWORD CopyOpened(int from, int to)
{
    struct stat info = {};
    if (fstat(from, &info) != 0) return PresentError();
    if (const DWORD error = CopyContents(from, to); error != 0) return error;
    const timespec stamps[2] = {{0, UTIME_OMIT}, info.st_mtim};
    if (fchmod(to, info.st_mode & 0777) != 0 || futimens(to, stamps) != 0) return PresentError();
    return 0;
}

DWORD OpenForCopy(PathText& path, Descriptor& opened)
{
    DWORD error = 0;
    const int fd = WithSpelling(path, error, [](const char* name) { return OpenFile(name, O_RDONLY); });
    if (fd < 0) return error;
    opened = Descriptor(fd);
    struct stat info = {};
    if (fstat(fd, &info) != 0) return PresentError();
    if (!S_ISREG(info.st_mode)) return ERROR_ACCESS_DENIED;
    return LockFor(fd, Share::NoDelete);
}

// Opens or makes the target of a copy, empty and held by us alone.
// `taken`: the name was free when it was looked for and is not any more.
DWORD OpenCopyTargetOnce(PathText& path, bool failIfExists, Descriptor& opened, bool& taken)
{
    const NameSearch search = FindSpelling(path, Purpose::Create);
    if (search.error != 0 && search.error != ERROR_FILE_NOT_FOUND) return search.error;
    if (search.error == 0) {
        if (failIfExists) return ERROR_FILE_EXISTS;
        opened = Descriptor(OpenFile(path.text, O_WRONLY));
        if (!opened.IsOpen()) return PresentError();
        if (const DWORD error = LockFor(opened.Get(), Share::None); error != 0) return error;
        struct stat info = {};
        if (fstat(opened.Get(), &info) != 0) return PresentError();
        if (!S_ISREG(info.st_mode)) return ERROR_ACCESS_DENIED;
        if (info.st_nlink == 0) return ERROR_SHARING_VIOLATION;  // deleted before it was locked
        return ftruncate(opened.Get(), 0) == 0 ? 0 : PresentError();
    }
    if (const DWORD error = CheckNewName(path.Leaf()); error != 0) return error;
    opened = Descriptor(OpenFile(path.text, O_WRONLY | O_CREAT | O_EXCL, 0666));
    if (!opened.IsOpen()) {
        taken = errno == EEXIST;
        return PresentError();
    }
    OwnChange(search).Note(path, true);
    return LockFor(opened.Get(), Share::None);
}

DWORD OpenCopyTarget(PathText& path, bool failIfExists, Descriptor& opened)
{
    constexpr int kRounds = 10;
    DWORD error = 0;
    for (int round = 0; round < kRounds; ++round) {
        bool taken = false;
        error = OpenCopyTargetOnce(path, failIfExists, opened, taken);
        if (!taken) break;
    }
    return error;
}

DWORD Copy(PathText& from, PathText& to, bool failIfExists)
{
    Descriptor source;
    Descriptor target;
    DWORD error = OpenForCopy(from, source);
    if (error == 0) error = OpenCopyTarget(to, failIfExists, target);
    if (error != 0) return error;
    error = CopyOpened(source.Get(), target.Get());
    if (error != 0) unlink(to.text);  // half a copy is none
    return error;
}

struct MoveOptions {
    bool replace = false;
    bool copyAcrossDevices = false;
};

// The file that bears the target's name now, locked for the moment of its replacement. 0, 32, 5 for a directory, 183 when
// it must stay.
DWORD ClaimTarget(const PathText& to, const struct stat& source, const MoveOptions& options, Descriptor& claimed)
{
    struct stat present = {};
    if (lstat(to.text, &present) != 0) return errno == ENOENT ? 0 : PresentError();
    if (!options.replace) return ERROR_ALREADY_EXISTS;
    if (S_ISDIR(present.st_mode) || S_ISDIR(source.st_mode)) return ERROR_ACCESS_DENIED;
    const DWORD error = LockByName(to.text, claimed, present);
    return error == ERROR_FILE_NOT_FOUND ? 0 : error;
}

// On another device a file is copied and then deleted; the copy comes under its name when it is whole.
DWORD MoveByCopy(const PathText& from, const PathText& to, const struct stat& info, int source, const MoveOptions& options)
{
    if (!S_ISREG(info.st_mode) || !options.copyAcrossDevices) return ERROR_NOT_SAME_DEVICE;
    Descriptor copy;
    PathText whole = to;
    DWORD error = MakeNeighbour(whole, copy);
    if (error != 0) return error;
    error = CopyOpened(source, copy.Get());
    const auto bringIn = [&] { return options.replace ? rename(whole.text, to.text) : RenameWithoutReplacing(whole.text, to.text, false); };
    if (error == 0 && bringIn() != 0) error = errno == EEXIST ? ERROR_ALREADY_EXISTS : PresentError();
    if (error != 0) {
        unlink(whole.text);
        return error;
    }
    return unlink(from.text) == 0 ? 0 : PresentError();
}

// Gives the file its new name. `respelling` tells that the name is its own in other letters.
DWORD RenameLocked(const PathText& from, const PathText& to, bool respelling, const MoveOptions& options)
{
    Descriptor source;
    Descriptor target;
    struct stat info = {};
    DWORD error = LockByName(from.text, source, info);
    if (error == 0 && !respelling) error = ClaimTarget(to, info, options, target);
    if (error != 0) return error;
    const bool mayReplace = options.replace || respelling;
    const int renamed = mayReplace ? rename(from.text, to.text) : RenameWithoutReplacing(from.text, to.text, S_ISDIR(info.st_mode));
    if (renamed == 0) return 0;
    switch (errno) {
        case EEXIST:
            return ERROR_ALREADY_EXISTS;
        case ENOENT:
            return ERROR_PATH_NOT_FOUND;
        case EINVAL:
            return ERROR_SHARING_VIOLATION;  // a directory into itself
        case EXDEV:
            return MoveByCopy(from, to, info, source.Get(), options);
        default:
            return PresentError();
    }
}

// Finds the spelling of the source, and of the file that bears the target's name now.
DWORD Move(LPCSTR fromPath, LPCSTR toPath, const MoveOptions& options)
{
    PathText from;
    PathText to;
    DWORD error = ToSystemPath(fromPath, from);
    if (error == 0) error = ToSystemPath(toPath, to);
    if (error != 0) return error;
    from.DropTrailingSeparators();
    to.DropTrailingSeparators();
    struct stat info = {};
    if (WithSpelling(from, error, [&](const char* name) { return lstat(name, &info); }) != 0) return error;

    const PathText asked = to;
    const OwnChange leaving(from);
    const NameSearch search = FindSpelling(to, Purpose::Create);
    if (search.error != 0 && search.error != ERROR_FILE_NOT_FOUND) return search.error;
    if (search.error != 0) error = CheckNewName(to.Leaf());
    if (error != 0) return error;
    const bool respelling = search.error == 0 && to.View() == from.View();
    if (respelling) to = asked;
    error = RenameLocked(from, to, respelling, options);
    if (error != 0) return error;
    leaving.Note(from, false);
    OwnChange(search).Note(to, true);
    return 0;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

BOOL MoveFileA(LPCSTR from, LPCSTR to) { return MoveFileExA(from, to, MOVEFILE_COPY_ALLOWED); }

BOOL MoveFileExA(LPCSTR from, LPCSTR to, DWORD flags)
{
    if (SeamRefuses(FileOperation::Move, from)) return FALSE;
    MoveOptions options;
    options.replace = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
    options.copyAcrossDevices = (flags & MOVEFILE_COPY_ALLOWED) != 0;
    const DWORD error = Move(from, to, options);
    return error == 0 ? TRUE : Fail(error);
}

BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists)
{
    if (SeamRefuses(FileOperation::Copy, from)) return FALSE;
    PathText source;
    PathText target;
    DWORD error = ToSystemPath(from, source);
    if (error == 0) error = ToSystemPath(to, target);
    if (error == 0 && (source.EndsInSeparator() || target.EndsInSeparator())) error = ERROR_INVALID_NAME;
    if (error == 0) error = Copy(source, target, failIfExists != 0);
    return error == 0 ? TRUE : Fail(error);
}
