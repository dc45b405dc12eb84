// File operations: the installed seam first, then the system.
#define VELMORA_PLATFORM_BELOW_THE_SEAM
#include <algorithm>

#include "platform/shared/AskSeam.h"
#include "platform/win32.h"

using velmora::platform::AskSeam;
using velmora::platform::FileOperation;
using velmora::platform::FileVerdict;
using velmora::platform::SeamRefuses;

HANDLE SeamedCreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                         HANDLE pattern)
{
    if (SeamRefuses(FileOperation::Open, path)) return INVALID_HANDLE_VALUE;
    return CreateFileA(path, access, share, security, disposition, flags, pattern);
}

BOOL SeamedReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped)
{
    if (SeamRefuses(FileOperation::Read, nullptr, size)) {
        if (done) *done = 0;
        return FALSE;
    }
    return ReadFile(file, buffer, size, done, overlapped);
}

BOOL SeamedWriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD done, LPOVERLAPPED overlapped)
{
    const FileVerdict verdict = AskSeam(FileOperation::Write, nullptr, size);
    if (verdict.fail != 0) {
        if (done) *done = 0;
        SetLastError(verdict.fail);
        return FALSE;
    }
    const DWORD allowed = static_cast<DWORD>(std::min<uint64_t>(size, verdict.writeLimit));
    if (allowed == size) return WriteFile(file, buffer, size, done, overlapped);
    DWORD written = 0;
    WriteFile(file, buffer, allowed, &written, overlapped);
    if (done) *done = written;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

BOOL SeamedSetEndOfFile(HANDLE file) { return SeamRefuses(FileOperation::Resize, nullptr) ? FALSE : SetEndOfFile(file); }

BOOL SeamedSetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD from)
{
    return SeamRefuses(FileOperation::Seek, nullptr) ? FALSE : SetFilePointerEx(file, distance, position, from);
}

DWORD SeamedGetFileAttributesA(LPCSTR path)
{
    return SeamRefuses(FileOperation::Search, path) ? INVALID_FILE_ATTRIBUTES : GetFileAttributesA(path);
}

BOOL SeamedDeleteFileA(LPCSTR path) { return SeamRefuses(FileOperation::Delete, path) ? FALSE : DeleteFileA(path); }

BOOL SeamedCreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security)
{
    return SeamRefuses(FileOperation::MakeDirectory, path) ? FALSE : CreateDirectoryA(path, security);
}

BOOL SeamedRemoveDirectoryA(LPCSTR path) { return SeamRefuses(FileOperation::Delete, path) ? FALSE : RemoveDirectoryA(path); }

BOOL SeamedMoveFileA(LPCSTR from, LPCSTR to) { return SeamRefuses(FileOperation::Move, from) ? FALSE : MoveFileA(from, to); }

BOOL SeamedMoveFileExA(LPCSTR from, LPCSTR to, DWORD flags)
{
    return SeamRefuses(FileOperation::Move, from) ? FALSE : MoveFileExA(from, to, flags);
}

BOOL SeamedCopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists)
{
    return SeamRefuses(FileOperation::Copy, from) ? FALSE : CopyFileA(from, to, failIfExists);
}

HANDLE SeamedFindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* found)
{
    return SeamRefuses(FileOperation::Search, pattern) ? INVALID_HANDLE_VALUE : FindFirstFileA(pattern, found);
}

int SeamedMkdir(const char* path) { return SeamedCreateDirectoryA(path, nullptr) ? 0 : -1; }
