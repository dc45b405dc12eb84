#include "tests/platform/PlatformTest.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace velmora::test {

namespace {

std::string TemporaryRoot()
{
    for (const char* variable : {"TMPDIR", "TEMP", "TMP"}) {
        const char* value = std::getenv(variable);
        if (value && *value) return value;
    }
    return "/tmp";
}

void RemoveTree(const std::string& path)
{
    for (const std::string& name : Search(path + "\\*")) {
        if (name == "." || name == "..") continue;
        const std::string entry = path + "\\" + name;
        if (DeleteFileA(entry.c_str())) continue;
        RemoveTree(entry);
    }
    RemoveDirectoryA(path.c_str());
}

}  // namespace

PlatformTest::PlatformTest()
{
    static std::atomic<int> count{0};
    root_ = TemporaryRoot() + "\\velmora-platform-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(count++);
    RemoveTree(root_);
    EXPECT_TRUE(CreateDirectoryA(root_.c_str(), nullptr)) << root_ << " error " << GetLastError();
}

PlatformTest::~PlatformTest() { RemoveTree(root_); }

std::string PlatformTest::MakeFile(std::string_view name, std::string_view bytes)
{
    const std::string path = At(name);
    Opened file(CreateFileA(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(file.IsOpen()) << path << " error " << GetLastError();
    EXPECT_TRUE(WriteText(file.Get(), bytes));
    return path;
}

std::string PlatformTest::MakeDirectory(std::string_view name)
{
    const std::string path = At(name);
    EXPECT_TRUE(CreateDirectoryA(path.c_str(), nullptr)) << path << " error " << GetLastError();
    return path;
}

std::string Slashed(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

HANDLE OpenToRead(const std::string& path, DWORD share)
{
    return CreateFileA(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE OpenToUpdate(const std::string& path, DWORD share)
{
    return CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE CreateBlock(const std::string& path)
{
    return CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool IsThere(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

std::string Contents(const std::string& path)
{
    Opened file(OpenToRead(path));
    if (!file.IsOpen()) return "(not to be opened: " + std::to_string(GetLastError()) + ")";
    std::string bytes(1 << 16, '\0');
    DWORD done = 0;
    EXPECT_TRUE(ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr));
    bytes.resize(done);
    return bytes;
}

bool WriteText(HANDLE file, std::string_view text)
{
    DWORD done = 0;
    return WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) && done == text.size();
}

DWORD ErrorOf(BOOL result) { return result ? kDidNotFail : GetLastError(); }

DWORD ErrorOfHandle(HANDLE handle)
{
    if (handle == INVALID_HANDLE_VALUE || !handle) return GetLastError();
    CloseHandle(handle);
    return kDidNotFail;
}

std::vector<std::string> Search(const std::string& pattern, DWORD* endError)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(pattern.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        if (endError) *endError = GetLastError();
        return names;
    }
    do {
        names.emplace_back(found.cFileName);
    } while (FindNextFileA(search, &found));
    if (endError) *endError = GetLastError();
    EXPECT_TRUE(FindClose(search));
    return names;
}

uint64_t LastWriteOf(const std::string& path)
{
    Opened file(OpenToRead(path));
    FILETIME written{};
    EXPECT_TRUE(file.IsOpen() && GetFileTime(file.Get(), nullptr, nullptr, &written)) << path << " error " << GetLastError();
    return Number(written);
}

}  // namespace velmora::test
