// Handles: numbers that no caller's mistake turns into a fault, and none of which is left over.
#include "platform/posix/Handles.h"

#include <cerrno>
#include <thread>

#include "tests/platform/PlatformTest.h"
#include "tests/platform/PosixSystemCalls.h"

namespace velmora::test {

namespace {

class PosixHandles : public PlatformTest {};

TEST_F(PosixHandles, MadeUpHandlesAre6Everywhere)
{
    for (uintptr_t number : {uintptr_t{0}, uintptr_t{1}, uintptr_t{4}, uintptr_t{0x12345678}, ~uintptr_t{0}, ~uintptr_t{0} - 3}) {
        const HANDLE handle = reinterpret_cast<HANDLE>(number);
        LARGE_INTEGER size;
        WIN32_FIND_DATAA found;
        EXPECT_EQ(ErrorOf(CloseHandle(handle)), ERROR_INVALID_HANDLE) << number;
        EXPECT_EQ(ErrorOf(GetFileSizeEx(handle, &size)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(ErrorOf(SetEndOfFile(handle)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(ErrorOf(FindNextFileA(handle, &found)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(ErrorOf(ReleaseMutex(handle)), ERROR_INVALID_HANDLE);
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_FAILED);
    }
}

TEST_F(PosixHandles, AHandleOfAnotherKindIs6)
{
    Opened mutex(CreateMutexA(nullptr, FALSE, nullptr));
    Opened file(OpenToRead(MakeFile("f")));
    LARGE_INTEGER size;
    EXPECT_EQ(ErrorOf(GetFileSizeEx(mutex.Get(), &size)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(file.Get(), 0), WAIT_FAILED);
    EXPECT_EQ(ErrorOf(FindClose(file.Get())), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(GetFileSizeEx(file.Get(), &size)) << "a refused close leaves it open";
}

TEST_F(PosixHandles, AHandleIsGoneAlsoWhenItsCloseFails)
{
    const HANDLE file = CreateFileA(At("f").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    {
        SystemCalls calls;
        calls.closingError = ENOSPC;
        EXPECT_FALSE(CloseHandle(file));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    }
    EXPECT_FALSE(CloseHandle(file));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_TRUE(DeleteFileA(At("f").c_str()));
}

TEST_F(PosixHandles, ADeviceIsOfTheTypeOfCharacters)
{
    Opened device(OpenToRead("/dev/null"));
    ASSERT_TRUE(device.IsOpen());
    EXPECT_EQ(GetFileType(device.Get()), FILE_TYPE_CHAR);
    Opened mutex(CreateMutexA(nullptr, FALSE, nullptr));
    EXPECT_EQ(GetFileType(mutex.Get()), FILE_TYPE_UNKNOWN);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(PosixHandles, AClosedSearchIs6)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("*").c_str(), &found);
    ASSERT_TRUE(FindClose(search));
    EXPECT_EQ(ErrorOf(FindNextFileA(search, &found)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf(FindClose(search)), ERROR_INVALID_HANDLE);
}

TEST_F(PosixHandles, AnOldHandleDoesNotMeanTheNextFile)
{
    const std::string path = MakeFile("f");
    const HANDLE old = OpenToRead(path);
    EXPECT_TRUE(CloseHandle(old));
    for (int i = 0; i < 100; ++i) {
        Opened next(OpenToRead(path));
        EXPECT_NE(next.Get(), old);
        LARGE_INTEGER size;
        EXPECT_FALSE(GetFileSizeEx(old, &size));
    }
}

TEST_F(PosixHandles, EveryOneIsGivenBack)
{
    const size_t before = platform::OpenHandleCount();
    const std::string path = MakeFile("f");
    Search(At("*"));
    Search(path);
    EXPECT_FALSE(IsThere(At("missing")));
    CopyFileA(path.c_str(), At("g").c_str(), TRUE);
    CreateBlock(At("no\\block"));
    CloseHandle(CreateMutexA(nullptr, FALSE, "velmora-test-counted"));
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key) == 0) RegCloseKey(key);
    DeregisterEventSource(RegisterEventSourceA(nullptr, "Velmora"));
    EXPECT_EQ(platform::OpenHandleCount(), before);
}

TEST_F(PosixHandles, ThreadsOpenAndCloseAtOnce)
{
    const std::string path = MakeFile("f", "x");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            std::vector<HANDLE> open;
            for (int i = 0; i < 300; ++i) {
                open.push_back(OpenToRead(path));
                LARGE_INTEGER size;
                EXPECT_TRUE(GetFileSizeEx(open.back(), &size));
                if (i % 3 == 2) {
                    for (HANDLE handle : open) EXPECT_TRUE(CloseHandle(handle));
                    open.clear();
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace

}  // namespace velmora::test
