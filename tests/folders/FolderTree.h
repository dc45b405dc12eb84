// What the tests of folder lists, sizes and shares share: an attached store with one mailbox, and records that name its
// folders.
#ifndef VELMORA_TESTS_FOLDERS_FOLDERTREE_H
#define VELMORA_TESTS_FOLDERS_FOLDERTREE_H

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/Exception.h"
#include "common/Text.h"
#include "platform/FileSeam.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"
#include "velmora/vlaisp.h"

namespace velmora::test {

namespace fs = std::filesystem;

using Names = std::vector<std::string>;

inline StoreFolderRecord RecordOf(std::string_view folderPath, std::string_view folderName = "untouched")
{
    StoreFolderRecord record;
    std::memset(&record, 0, sizeof record);
    CopyBounded(record.Mailbox, "box");
    CopyBounded(record.Postoffice, "po");
    CopyBounded(record.FolderPath, folderPath);
    CopyBounded(record.FolderName, folderName);
    return record;
}

class FolderTree : public testing::Test {
protected:
    void SetUp() override
    {
        mailbox = store.MakeFolder("");
        store.Attach();
    }

    fs::path Make(std::string_view folder) { return store.MakeFolder(folder); }
    static void Flag(const fs::path& directory) { WriteFileBytes(directory / "_folder.dty", "DIRTY"); }
    // A list as somebody else left it, newer by far than any that was read.
    static void WriteList(const fs::path& directory, const Names& names)
    {
        std::string text = "<folderindex>";
        for (const std::string& name : names) text += "<folder><name><![CDATA[" + name + "]]></name></folder>";
        WriteFileBytes(directory / "_folder.xml", text + "</folderindex>");
        Advance(directory / "_folder.xml");
    }
    static void Advance(const fs::path& file)
    {
        static int hours = 0;
        fs::last_write_time(file, fs::file_time_type::clock::now() + std::chrono::hours(++hours));
    }

    // Everything that a walk gives, by the library's own list.
    static Names Walk(std::string_view folderPath)
    {
        StoreFolderRecord record = RecordOf(folderPath);
        Names names;
        for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
            names.emplace_back(record.FolderName);
            if (names.size() > 1000) break;
        }
        EXPECT_EQ(StoreFolderFindClose(&record), 1u);
        return names;
    }
    static void InThread(const std::function<void()>& body) { std::thread(body).join(); }

    TestStore store;
    fs::path mailbox;
    FakeClock clock;
    CapturedLog log;
};

// Lets some operations on files of one name fail while it lives.
class FailingFiles : public platform::FileSeam {
public:
    FailingFiles(platform::FileOperation operation, std::string_view name, uint32_t error, uint32_t times = UINT32_MAX)
        : operation_(operation), name_(name), error_(error), left_(times), before_(platform::ReplaceFileSeam(this))
    {
    }
    ~FailingFiles() override { platform::ReplaceFileSeam(before_); }
    FailingFiles(const FailingFiles&) = delete;
    FailingFiles& operator=(const FailingFiles&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t) override
    {
        if (operation != operation_ || !path || left_ == 0) return {};
        const std::string_view file(path);
        if (file.size() < name_.size() || !EqualsNoCase(file.substr(file.size() - name_.size()), name_)) return {};
        --left_;
        ++failed_;
        return {.fail = error_};
    }
    uint32_t Failed() const { return failed_; }

private:
    platform::FileOperation operation_;
    std::string name_;
    uint32_t error_;
    uint32_t left_;
    uint32_t failed_ = 0;
    platform::FileSeam* before_;
};

// Raises at the operations on files of one name while it lives.
class RaisingFiles : public platform::FileSeam {
public:
    explicit RaisingFiles(std::string_view name) : name_(name), before_(platform::ReplaceFileSeam(this)) {}
    ~RaisingFiles() override { platform::ReplaceFileSeam(before_); }
    RaisingFiles(const RaisingFiles&) = delete;
    RaisingFiles& operator=(const RaisingFiles&) = delete;

    platform::FileVerdict Before(platform::FileOperation, const char* path, uint64_t) override
    {
        if (path && std::string_view(path).ends_with(name_)) throw Exception("out of order");
        return {};
    }

private:
    std::string name_;
    platform::FileSeam* before_;
};

}  // namespace velmora::test

#endif
