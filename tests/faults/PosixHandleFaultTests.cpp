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

HANDLE Open(const std::string& path, DWORD disposition)
{
    return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

// Opens the file as often as it goes with no memory.
std::vector<HANDLE> TakeReserve(const std::string& path)
{
    std::vector<HANDLE> taken;
    taken.reserve(100);
    const AllocationFault fault(1, FaultSpan::Onwards);
    for (HANDLE file = Open(path, OPEN_ALWAYS); file != INVALID_HANDLE_VALUE; file = Open(path, OPEN_ALWAYS)) {
        taken.push_back(file);
        if (taken.size() == taken.capacity()) break;
    }
    return taken;
}

TEST(HandleFault, AFewFilesCanBeOpenedWithoutMemoryAndAgainWhenTheyAreClosed)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "\\file";
    CloseHandle(Open(path, CREATE_NEW));
    for (int round = 0; round < 3; ++round) {
        const std::vector<HANDLE> taken = TakeReserve(path);
        EXPECT_EQ(taken.size(), 4u);
        for (const HANDLE file : taken) EXPECT_TRUE(CloseHandle(file));
    }
    // Whoever holds them stands in nobody's way while there is memory.
    const std::vector<HANDLE> taken = TakeReserve(path);
    const HANDLE one = Open(path, OPEN_EXISTING);
    EXPECT_NE(one, INVALID_HANDLE_VALUE);
    CloseHandle(one);
    for (const HANDLE file : taken) CloseHandle(file);
}

TEST(HandleFault, ASpellingIsFoundWithoutMemoryForTheNames)
{
    const TempDirectory directory;
    WriteFileBytes(directory / "name.MAI", "behind");
    WriteFileBytes(directory / "Name.mai", "in front");
    WriteFileBytes(directory / "other", "");
    const std::string path = directory.Str() + "\\NAME.MAI";
    const std::string missing = directory.Str() + "\\NAME.MA";
    HANDLE file = nullptr;
    HANDLE none = nullptr;
    DWORD error = 0;
    {
        const AllocationFault fault(1, FaultSpan::Onwards);
        file = Open(path, TRUNCATE_EXISTING);
        none = Open(missing, OPEN_EXISTING);
        error = GetLastError();
    }
    EXPECT_TRUE(CloseHandle(file));
    EXPECT_EQ(ReadFileBytes(directory / "Name.mai"), "");
    EXPECT_EQ(ReadFileBytes(directory / "name.MAI"), "behind");
    EXPECT_EQ(none, INVALID_HANDLE_VALUE);
    EXPECT_EQ(error, DWORD{ERROR_FILE_NOT_FOUND});
}

TEST(HandleFault, WithNoMemoryForAHandleNoBlockFileStaysBehind)
{
    const TempDirectory directory;
    const std::vector<HANDLE> reserve = TakeReserve(directory.Str() + "\\file");
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
    for (const HANDLE file : reserve) CloseHandle(file);
    // Each time for the object behind the handle, and when the table grows for that.
    EXPECT_GT(failures, static_cast<uint32_t>(kHandles));
}

}  // namespace
}  // namespace velmora::test
