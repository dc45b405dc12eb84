// A directory with a small tree, and operations on it that can be made to fail.
#ifndef VELMORA_TESTS_COMMON_FILEMANAGEMENTFIXTURE_H
#define VELMORA_TESTS_COMMON_FILEMANAGEMENTFIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "common/Exception.h"
#include "platform/FileSeam.h"
#include "tests/support/TestStore.h"

namespace velmora {

using test::FileExists;
using test::FileNames;
using test::ReadFileBytes;
using test::WriteFileBytes;

// What a failed operation throws says.
template <typename Body>
std::string MessageOf(Body body)
{
    try {
        body();
    } catch (const Exception& error) {
        EXPECT_EQ(error.Source(), "FileManagement");
        return error.Message();
    }
    return "no exception";
}

// Lets one kind of operation fail, on paths that end in `end`, and counts it.
class FailingSeam : public platform::FileSeam {
public:
    explicit FailingSeam(platform::FileOperation operation, uint32_t error, std::string end = {})
        : operation_(operation), error_(error), end_(std::move(end)), before_(platform::ReplaceFileSeam(this))
    {
    }
    ~FailingSeam() override { platform::ReplaceFileSeam(before_); }
    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t) override
    {
        if (operation != operation_ || !std::string_view(path).ends_with(end_)) return {};
        ++calls;
        return {error_, UINT64_MAX};
    }
    int calls = 0;

private:
    platform::FileOperation operation_;
    uint32_t error_;
    std::string end_;
    platform::FileSeam* before_;
};

// How long a path may be on every platform, and still have a file's name below it.
inline constexpr size_t kDeepEverywhere = 240;

class FileManagementTest : public testing::Test {
protected:
    // A path of as many directories as there is room for in `size` bytes: deep/d/d/...
    std::string DeepPath(size_t size)
    {
        std::string path = Path("deep");
        while (path.size() + 2 <= size) path += "/d";
        return path;
    }
    std::string Path(std::string_view name) { return (directory_ / name).string(); }
    // a/, a/one, a/b/, a/b/two, a/b/c/
    void MakeTree()
    {
        std::filesystem::create_directories(directory_ / "a/b/c");
        WriteFileBytes(directory_ / "a/one", "1");
        WriteFileBytes(directory_ / "a/b/two", "22");
    }
    test::TempDirectory directory_;
};

}  // namespace velmora

#endif
