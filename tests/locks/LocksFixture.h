// What the tests of block and flag files share: a folder on disk, a clock and a watch on the files.
#ifndef VELMORA_TESTS_LOCKS_LOCKSFIXTURE_H
#define VELMORA_TESTS_LOCKS_LOCKSFIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "locks/BlockFile.h"
#include "platform/FileSeam.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"
#include "velmora/locks.h"

namespace velmora::test {

namespace fs = std::filesystem;

inline constexpr char kProvidersKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers";

// Counts attempts at files whose name contains a part, and makes them fail by a rule.
class FileWatch : public platform::FileSeam {
public:
    FileWatch() : before_(platform::ReplaceFileSeam(this)) {}
    ~FileWatch() override { platform::ReplaceFileSeam(before_); }
    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t) override
    {
        platform::FileVerdict verdict;
        if (std::string_view(path).find(".blk") == std::string_view::npos) return verdict;
        if (operation == platform::FileOperation::Open) {
            ++creates;
            verdict.fail = createError;
        }
        if (operation == platform::FileOperation::Delete) {
            ++deletes;
            if (onDelete) onDelete(deletes);
        }
        return verdict;
    }

    size_t creates = 0;
    size_t deletes = 0;
    uint32_t createError = 0;
    std::function<void(size_t)> onDelete;  // before the n-th attempt to delete

private:
    platform::FileSeam* before_;
};

class Locks : public testing::Test {
protected:
    void SetUp() override
    {
        folder = store.MakeFolder("INBOX");
        block = folder / "_index.blk";
        blockPath = folder.string() + "\\_index.blk";
    }
    // A block that somebody holds with its handle open, until LetGo.
    void HoldByHandle() { ASSERT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 1, &held), 1u); }
    void HoldByName() { ASSERT_EQ(WaitForAccessToIndexFileEx(blockPath.c_str(), 0, nullptr), 1u); }
    void LetGo() { ASSERT_EQ(UnBlockIndexFileAccessEx(blockPath.c_str(), 1, &held), 1u); }
    void TearDown() override
    {
        if (held) UnBlockIndexFileAccessEx(blockPath.c_str(), 1, &held);
    }
    void UnblockMode(uint32_t mode) { store.SetNumber("Index Unblock Mode", mode, kProvidersKey); }

    static std::vector<uint32_t> Seconds(size_t count) { return std::vector<uint32_t>(count, 1000); }

    TestStore store;
    fs::path folder;
    fs::path block;
    std::string blockPath;
    void* held = nullptr;
    FakeClock clock;
    CapturedLog log;
};

}  // namespace velmora::test

#endif
