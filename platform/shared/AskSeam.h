// Asking the file seam: one load and a predictable branch when none is installed.
#ifndef VELMORA_PLATFORM_SHARED_ASKSEAM_H
#define VELMORA_PLATFORM_SHARED_ASKSEAM_H

#include <atomic>

#include "platform/FileSeam.h"
#include "platform/win32.h"

namespace velmora::platform {

extern std::atomic<FileSeam*> installedFileSeam;

inline FileVerdict AskSeam(FileOperation operation, const char* path, uint64_t bytes = 0)
{
    FileSeam* seam = installedFileSeam.load(std::memory_order_acquire);
    if (!seam) [[likely]]
        return {};
    return seam->Before(operation, path ? path : "", bytes);
}

// Whether the seam makes the operation fail; the last error is set then.
inline bool SeamRefuses(FileOperation operation, const char* path, uint64_t bytes = 0)
{
    const FileVerdict verdict = AskSeam(operation, path, bytes);
    if (verdict.fail == 0) return false;
    SetLastError(verdict.fail);
    return true;
}

}  // namespace velmora::platform

#endif
