// A handle that there is no memory for: the file that it would have been for is not made.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/win32.h"
#include "tests/support/TestStore.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

// Above what the table of handles holds before it grows, so that it grows here.
constexpr int kHandles = 1100;

TEST(HandleFault, WithNoMemoryForAHandleNoBlockFileStaysBehind)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "\\_index.blk";
    std::vector<HANDLE> open;
    uint32_t failures = 0;
    for (int i = 0; i < kHandles; ++i) {
        for (uint32_t nth = 1;; ++nth) {
            HANDLE block = INVALID_HANDLE_VALUE;
            {
                const AllocationFault fault(nth, FaultSpan::Once);
                block = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
            }
            if (block != INVALID_HANDLE_VALUE) {
                CloseHandle(block);
                ASSERT_TRUE(DeleteFileA(path.c_str()));
                break;
            }
            ++failures;
            ASSERT_FALSE(FileExists(directory / "_index.blk")) << i << ", allocation " << nth;
        }
        open.push_back(CreateMutexA(nullptr, FALSE, nullptr));
    }
    for (const HANDLE handle : open) CloseHandle(handle);
    // Each time for the object behind the handle, and when the table grows for that.
    EXPECT_GT(failures, static_cast<uint32_t>(kHandles));
}

}  // namespace
}  // namespace velmora::test
