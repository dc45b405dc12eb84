// The last error of a thread, and the one table from the system's errors to the Windows numbers.
#ifndef VELMORA_PLATFORM_POSIX_ERRORS_H
#define VELMORA_PLATFORM_POSIX_ERRORS_H

#include <cstddef>

#include "platform/win32.h"

namespace velmora::platform {

struct ErrorRow {
    int systemError;  // an errno value
    DWORD windowsError;
};

// The table's rows, for the test of each.
const ErrorRow* ErrorRows(size_t& count);

// The Windows number of an errno value; ERROR_GEN_FAILURE for one that the table does not have, 0 for 0.
DWORD WindowsErrorOf(int systemError);

// Sets the last error and answers FALSE, for `return Fail(...)`.
inline BOOL Fail(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

// The same for a call that answers with a handle.
inline HANDLE FailHandle(DWORD error)
{
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

// The Windows number of the present errno.
DWORD PresentError();

}  // namespace velmora::platform

#endif
