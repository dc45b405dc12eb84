#include "platform/shared/AskSeam.h"

namespace velmora::platform {

std::atomic<FileSeam*> installedFileSeam{nullptr};

FileSeam* ReplaceFileSeam(FileSeam* seam) { return installedFileSeam.exchange(seam, std::memory_order_acq_rel); }

}  // namespace velmora::platform
