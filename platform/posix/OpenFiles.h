// Opened files and the locks that stand for their share modes.
//
// Share mode 0 is an exclusive lock of the kernel on the open file, sharing without delete a shared one, sharing with
// delete none: such an open only looks whether anybody holds the file exclusively. The locks belong to the open file, so
// two threads of one process meet as two processes do, and they end with their process.
#ifndef VELMORA_PLATFORM_POSIX_OPENFILES_H
#define VELMORA_PLATFORM_POSIX_OPENFILES_H

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/posix/Handles.h"
#include "platform/posix/Paths.h"

namespace velmora::platform {

// Owns a file descriptor.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        if (this != &other) {
            Close();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    int Get() const { return fd_; }
    bool IsOpen() const { return fd_ >= 0; }
    int Release() { return std::exchange(fd_, -1); }
    // False, with errno, when the system tells of a failure. The descriptor is gone either way.
    bool Close()
    {
        const int fd = Release();
        return fd < 0 || close(fd) == 0 || errno == EINTR;
    }

private:
    int fd_ = -1;
};

// A few of them have their memory from the start: what is done about a failure for want of memory, like the mark that has a
// folder scanned again, opens a file.
struct FileObject : HandleObject {
    static constexpr HandleKind kKind = HandleKind::File;
    static void* operator new(size_t size);
    static void operator delete(void* memory) noexcept;
    FileObject(Descriptor of, bool isPlain, bool mayRead, bool mayWrite)
        : HandleObject(kKind), descriptor(std::move(of)), plain(isPlain), readable(mayRead), writable(mayWrite)
    {
    }
    int Fd() const { return descriptor.Get(); }
    Descriptor descriptor;
    bool plain;  // a file with bytes of its own, not a device
    const bool readable;
    const bool writable;
};
inline constexpr size_t kReservedFileObjects = 4;

enum class Share {
    None,       // an exclusive lock
    NoDelete,   // a shared lock
    WithDelete  // no lock; fails when somebody holds an exclusive one
};

// Takes the lock without waiting. 0, 32 when another holds a conflicting one, or why the file system cannot.
[[nodiscard]] DWORD LockFor(int fd, Share share);

// open(), never interrupted, with close-on-exec, no controlling terminal, and no wait for the other end of a pipe.
int OpenFile(const char* path, int flags, mode_t mode = 0);

// Opens the file, or whatever else bears the name, and takes its exclusive lock for a moment of deleting or moving it.
// With the error 0 the descriptor holds a file that the path still names; a directory or a symbolic link is not opened
// and not locked: `info` tells.
DWORD LockByName(const char* path, Descriptor& descriptor, struct stat& info);

// How a file that is born locked comes to its name.
enum class Birth {
    Unnamed,         // made without a name, locked, then linked to its name
    NamedThenLinked  // made under a unique name, locked, linked to its name, the unique one removed
};

// Makes a file, open for reading and writing, that nobody ever sees unlocked. 0, 80 when the name is taken, 2 when its
// directory is missing; 50 when the file system has no unnamed files.
DWORD CreateLocked(const PathText& path, Birth birth, Descriptor& made);

// Makes a file beside `path` under a private name that no other maker uses (process, thread and a count), locked, and
// writes its path over the given one. The caller removes or renames it.
DWORD MakeNeighbour(PathText& path, Descriptor& made);

}  // namespace velmora::platform

#endif
