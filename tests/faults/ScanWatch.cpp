#include "tests/faults/ScanWatch.h"

#include <string_view>

namespace velmora::test {

using platform::FileOperation;
using platform::FileVerdict;

ScanWatch::ScanWatch() : before_(platform::ReplaceFileSeam(this)) {}

ScanWatch::~ScanWatch() { platform::ReplaceFileSeam(before_); }

FileVerdict ScanWatch::Before(FileOperation operation, const char* path, uint64_t bytes)
{
    if (operation == FileOperation::Search && path && std::string_view(path).ends_with("*.MAI")) ++scans_;
    return before_ ? before_->Before(operation, path, bytes) : FileVerdict{};
}

}  // namespace velmora::test
