#include "platform/posix/Errors.h"

#include <cerrno>

namespace velmora::platform {

namespace {

thread_local DWORD lastError = 0;

constexpr ErrorRow kRows[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_ACCESS_DENIED},
    {ENXIO, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {EWOULDBLOCK, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {ENOLCK, ERROR_LOCK_VIOLATION},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ENOSYS, ERROR_NOT_SUPPORTED},
    {EEXIST, ERROR_FILE_EXISTS},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {EBUSY, ERROR_BUSY},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {EINTR, ERROR_OPERATION_ABORTED},
    {EIO, ERROR_IO_DEVICE},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
};

}  // namespace

const ErrorRow* ErrorRows(size_t& count)
{
    count = sizeof(kRows) / sizeof(kRows[0]);
    return kRows;
}

DWORD WindowsErrorOf(int systemError)
{
    if (systemError == 0) return ERROR_SUCCESS;
    for (const ErrorRow& row : kRows) {
        if (row.systemError == systemError) return row.windowsError;
    }
    return ERROR_GEN_FAILURE;
}

DWORD PresentError() { return WindowsErrorOf(errno); }

}  // namespace velmora::platform

DWORD GetLastError() { return velmora::platform::lastError; }

void SetLastError(DWORD error) { velmora::platform::lastError = error; }
