// The seam under every file operation of the platform room: it counts, and it can make an operation fail.
//
// A test installs a FileSeam; a process without one pays a null test on a predictable branch for each operation.
#ifndef VELMORA_PLATFORM_FILESEAM_H
#define VELMORA_PLATFORM_FILESEAM_H

#include <cstdint>

namespace velmora::platform {

enum class FileOperation : uint32_t {
    Open,    // CreateFileA, whatever the disposition
    Read,    // ReadFile
    Write,   // WriteFile
    Resize,  // SetEndOfFile
    Delete,  // DeleteFileA, RemoveDirectoryA
    Move,    // MoveFileA, MoveFileExA
    Copy,    // CopyFileA
    MakeDirectory,
    Search,  // FindFirstFileA, attributes and times by path
    Seek,    // SetFilePointerEx
    Count_
};

// What an observer decides about an operation that is about to run.
struct FileVerdict {
    uint32_t fail = 0;                 // a Windows error number: the operation fails with it and does nothing
    uint64_t writeLimit = UINT64_MAX;  // Write only: at most so many bytes reach the file, then error 112
};

class FileSeam {
public:
    virtual ~FileSeam() = default;
    // Runs before each operation, on the thread that asked. `path` is as the caller spelled it (empty for operations on
    // a handle), `bytes` the size asked for by Read and Write.
    virtual FileVerdict Before(FileOperation operation, const char* path, uint64_t bytes) = 0;
};

// Installs `seam` for the whole process, or none with null. Returns the one before.
FileSeam* ReplaceFileSeam(FileSeam* seam);

}  // namespace velmora::platform

#endif
