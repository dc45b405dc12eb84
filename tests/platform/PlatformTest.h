// What the tests of the platform share: a directory of the test's own, and files, all through the Windows names, so that
// the same tests can run where those are the real thing.
#ifndef VELMORA_TESTS_PLATFORM_PLATFORMTEST_H
#define VELMORA_TESTS_PLATFORM_PLATFORMTEST_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"

namespace velmora::test {

inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE;
inline constexpr DWORD kShareWithDelete = kShareAll | FILE_SHARE_DELETE;

// A fresh directory; it goes with what is in it when the test ends.
class PlatformTest : public testing::Test {
protected:
    PlatformTest();
    ~PlatformTest() override;

    const std::string& Root() const { return root_; }
    // A name below the directory, with "\" between.
    std::string At(std::string_view name) const { return root_ + "\\" + std::string(name); }
    // Makes a file (or empties it) with these bytes and gives its path.
    std::string MakeFile(std::string_view name, std::string_view bytes = {});
    std::string MakeDirectory(std::string_view name);

private:
    std::string root_;
};

inline SYSTEMTIME Parts(WORD year, WORD month, WORD day, WORD hour = 0, WORD minute = 0, WORD second = 0, WORD milliseconds = 0)
{
    SYSTEMTIME parts{};
    parts.wYear = year;
    parts.wMonth = month;
    parts.wDay = day;
    parts.wHour = hour;
    parts.wMinute = minute;
    parts.wSecond = second;
    parts.wMilliseconds = milliseconds;
    return parts;
}

// A handle that is closed at the end of its scope.
class Opened {
public:
    explicit Opened(HANDLE handle) : handle_(handle) {}
    ~Opened() { Close(); }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    HANDLE Get() const { return handle_; }
    bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE && handle_ != nullptr; }
    void Close()
    {
        if (IsOpen()) CloseHandle(handle_);
        handle_ = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE handle_;
};

// A path with "/" between, as both systems' own programs and variables take it.
std::string Slashed(std::string path);

HANDLE OpenToRead(const std::string& path, DWORD share = kShareAll);
HANDLE OpenToUpdate(const std::string& path, DWORD share = kShareAll);
HANDLE CreateBlock(const std::string& path);  // CREATE_NEW with share mode 0

bool IsThere(const std::string& path);
std::string Contents(const std::string& path);
bool WriteText(HANDLE file, std::string_view text);

// The error of a call that must fail; 0xFFFFFFFF when it did not.
inline constexpr DWORD kDidNotFail = 0xFFFFFFFFu;
DWORD ErrorOf(BOOL result);
DWORD ErrorOfHandle(HANDLE handle);  // closes it when the call worked

// The names that a search gives, in its order, and the error that ended it.
std::vector<std::string> Search(const std::string& pattern, DWORD* endError = nullptr);

inline uint64_t Number(const FILETIME& time) { return (uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime; }
inline FILETIME FileTime(uint64_t number) { return {static_cast<DWORD>(number), static_cast<DWORD>(number >> 32)}; }
uint64_t LastWriteOf(const std::string& path);

}  // namespace velmora::test

#endif
