// Files as locks between processes.
//
// A file that is made new with share mode 0 is a block: whoever made it holds it. Three things make that true here.
// It is born locked: it is made without a name, locked, and only then linked to its name, so nobody can open it before
// its maker has the lock, and of two makers one gets the name. It cannot be deleted while it is held: a delete takes the
// lock first, checks that the name still means the file it has locked, and removes the name under the lock. And it can be
// deleted once its holder is gone: the kernel drops the lock with the process.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/posix/OpenFiles.h"
#include "platform/shared/AskSeam.h"

namespace velmora::platform {

namespace {

constexpr int kRoundsAgainstReplacement = 64;

int LockOperation(Share share) { return share == Share::None ? LOCK_EX : LOCK_SH; }

DWORD CreateUnnamed(const PathText& path, Descriptor& made)
{
    PathText directory;
    ParentOf(path, directory);
    Descriptor unnamed(OpenFile(directory.text, O_TMPFILE | O_RDWR, 0666));
    if (!unnamed.IsOpen()) {
        // An old kernel takes the call for one that opens the directory to write.
        return errno == EISDIR || errno == EOPNOTSUPP || errno == EINVAL ? ERROR_NOT_SUPPORTED : PresentError();
    }
    if (const DWORD error = LockFor(unnamed.Get(), Share::None); error != 0) return error;
    char self[32];
    std::snprintf(self, sizeof(self), "/proc/self/fd/%d", unnamed.Get());
    if (linkat(AT_FDCWD, self, AT_FDCWD, path.text, AT_SYMLINK_FOLLOW) != 0) {
        if (errno == EEXIST) return ERROR_FILE_EXISTS;
        // Without /proc the file cannot be given its name in this way; a missing directory shows in the other one as well.
        return errno == ENOENT ? ERROR_NOT_SUPPORTED : PresentError();
    }
    made = std::move(unnamed);
    return 0;
}

DWORD CreateNamedThenLinked(const PathText& path, Descriptor& made)
{
    PathText neighbour = path;
    Descriptor named;
    DWORD error = MakeNeighbour(neighbour, named);
    if (error != 0) return error;
    if (link(neighbour.text, path.text) != 0) error = PresentError();
    unlink(neighbour.text);
    if (error == 0) made = std::move(named);
    return error;
}

}  // namespace

DWORD LockFor(int fd, Share share)
{
    while (flock(fd, LockOperation(share) | LOCK_NB) != 0) {
        if (errno != EINTR) return PresentError();
    }
    if (share == Share::WithDelete) flock(fd, LOCK_UN);
    return 0;
}

int OpenFile(const char* path, int flags, mode_t mode)
{
    int fd;
    do {
        fd = open(path, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

DWORD MakeNeighbour(PathText& path, Descriptor& made)
{
    static std::atomic<uint32_t> count{0};
    PathText neighbour;
    ParentOf(path, neighbour);
    const int length = std::snprintf(neighbour.text + neighbour.length, kPathSize - neighbour.length, "/_~%x-%x-%x.tmp",
                                     GetCurrentProcessId(), GetCurrentThreadId(), count.fetch_add(1, std::memory_order_relaxed));
    neighbour.length += static_cast<size_t>(length);
    if (neighbour.length >= kPathSize) return ERROR_FILENAME_EXCED_RANGE;
    made = Descriptor(OpenFile(neighbour.text, O_CREAT | O_EXCL | O_RDWR, 0666));
    if (!made.IsOpen()) return PresentError();
    path = neighbour;
    const DWORD error = LockFor(made.Get(), Share::None);
    if (error != 0) unlink(path.text);
    return error;
}

DWORD CreateLocked(const PathText& path, Birth birth, Descriptor& made)
{
    return birth == Birth::Unnamed ? CreateUnnamed(path, made) : CreateNamedThenLinked(path, made);
}

DWORD LockByName(const char* path, Descriptor& descriptor, struct stat& info)
{
    for (int round = 0; round < kRoundsAgainstReplacement; ++round) {
        struct stat named = {};
        descriptor = Descriptor(OpenFile(path, O_RDONLY | O_NOFOLLOW));
        if (!descriptor.IsOpen() && errno == EACCES) descriptor = Descriptor(OpenFile(path, O_WRONLY | O_NOFOLLOW));
        if (!descriptor.IsOpen()) {
            // A link, or something that cannot be opened but can be removed, such as a socket.
            if (errno != ELOOP && errno != ENXIO) return PresentError();
            return lstat(path, &info) == 0 ? 0 : PresentError();
        }
        if (fstat(descriptor.Get(), &info) != 0) return PresentError();
        if (S_ISDIR(info.st_mode)) {
            descriptor.Close();
            return 0;
        }
        DWORD error = LockFor(descriptor.Get(), Share::None);
        if (error == ERROR_INVALID_HANDLE) {
            // Network file systems want a descriptor that can write for an exclusive lock.
            descriptor = Descriptor(OpenFile(path, O_RDWR | O_NOFOLLOW));
            if (!descriptor.IsOpen() || fstat(descriptor.Get(), &info) != 0) return PresentError();
            error = LockFor(descriptor.Get(), Share::None);
        }
        if (error != 0) return error;
        if (lstat(path, &named) != 0) return PresentError();
        if (named.st_dev == info.st_dev && named.st_ino == info.st_ino) return 0;
        // The name went to another file between the open and the lock.
    }
    return ERROR_SHARING_VIOLATION;
}

namespace {

DWORD DeleteNow(const PathText& path)
{
    Descriptor locked;
    struct stat info = {};
    if (const DWORD error = LockByName(path.text, locked, info); error != 0) return error;
    if (S_ISDIR(info.st_mode)) return ERROR_ACCESS_DENIED;
    return unlink(path.text) == 0 ? 0 : PresentError();
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

BOOL DeleteFileA(LPCSTR path)
{
    if (SeamRefuses(FileOperation::Delete, path)) return FALSE;
    PathText native;
    DWORD error = ToSystemPath(path, native);
    if (error == 0 && native.EndsInSeparator()) error = ERROR_INVALID_NAME;
    if (error != 0) return Fail(error);
    const OwnChange change(native);
    error = DeleteNow(native);
    if (error == ERROR_FILE_NOT_FOUND) {
        error = FindSpelling(native, Purpose::Find).error;
        if (error == 0) error = DeleteNow(native);
    }
    if (error != 0) return Fail(error);
    RememberDeleted(native);
    change.Note(native, false);
    return TRUE;
}
