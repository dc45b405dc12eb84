// What the tests of folder files and operations share: a mailbox with some folders, records that name them, and a look at
// every file operation on the way.
#ifndef VELMORA_TESTS_FOLDERS_FOLDERFILES_H
#define VELMORA_TESTS_FOLDERS_FOLDERFILES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "folders/FolderIndexFile.h"
#include "folders/FolderLists.h"
#include "platform/FileSeam.h"
#include "platform/win32.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"
#include "velmora/folders.h"

namespace velmora::test {

namespace fs = std::filesystem;

// Asks `look` in front of every file operation, for what is to become of it. What `look` does itself is not looked at.
class WatchedFiles : public platform::FileSeam {
public:
    using Look = std::function<uint32_t(platform::FileOperation, std::string_view path)>;  // 0, or the error to fail with
    explicit WatchedFiles(Look look) : look_(std::move(look)), before_(platform::ReplaceFileSeam(this)) {}
    ~WatchedFiles() override { platform::ReplaceFileSeam(before_); }
    WatchedFiles(const WatchedFiles&) = delete;
    WatchedFiles& operator=(const WatchedFiles&) = delete;

    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t) override
    {
        if (looking_) return {};
        const Looking looking(looking_);
        return {look_(operation, path ? path : ""), UINT64_MAX};
    }

private:
    class Looking {
    public:
        explicit Looking(bool& looking) : looking_(looking) { looking_ = true; }
        ~Looking() { looking_ = false; }
        Looking(const Looking&) = delete;
        Looking& operator=(const Looking&) = delete;

    private:
        bool& looking_;
    };

    Look look_;
    bool looking_ = false;
    platform::FileSeam* before_;
};

inline std::string ListOf(const std::vector<std::string>& names)
{
    std::string text = "<folderindex>";
    for (const std::string& name : names) text += "<folder><name><![CDATA[" + name + "]]></name></folder>";
    return text + "</folderindex>";
}

class FolderFiles : public testing::Test {
protected:
    using Names = std::vector<std::string>;

    void SetUp() override
    {
        box = store.MakeFolder("");
        store.Attach();
    }

    static StoreFolderRecord Record(std::string_view folderPath, std::string_view folderName = {})
    {
        StoreFolderRecord record = {};
        CopyBounded(record.Mailbox, "box");
        CopyBounded(record.Postoffice, "po");
        CopyBounded(record.FolderPath, folderPath);
        CopyBounded(record.FolderName, folderName);
        return record;
    }

    // The mailbox's directory, or one below it, as the library spells it.
    std::string Dir(std::string_view below = {}) const
    {
        const std::string path = store.MailRoot().string() + "\\po\\MAILROOT\\box";
        return below.empty() ? path : path + "\\" + std::string(below);
    }
    void Make(std::string_view below) const { fs::create_directories(box / below); }
    bool Has(std::string_view below) const { return FileExists(box / below); }
    void Put(std::string_view below, std::string_view bytes) const { WriteFileBytes(box / below, bytes); }
    std::string Bytes(std::string_view below) const { return ReadFileBytes(box / below); }
    void TakeFlag(std::string_view below = {}) const { fs::remove(box / below / "_folder.dty"); }
    bool IsFlagged(std::string_view below = {}) const { return FileExists(box / below / "_folder.dty"); }

    // The names as the disk spells them, directories alone.
    Names Directories(std::string_view below = {}) const
    {
        Names names;
        for (const auto& entry : fs::directory_iterator(box / below))
            if (entry.is_directory()) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    static Names NamesOf(const FolderEntryList* entries)
    {
        Names names;
        if (!entries) return {"no list"};
        for (const auto& [name, same] : entries->Names) {
            EXPECT_EQ(name, same);
            names.push_back(name);
        }
        return names;
    }
    Names Listed(TLSFolderList& list, std::string_view below = {}) const
    {
        FolderEntryList* entries = nullptr;
        const uint32_t result = GetFolderEntryList(entries, Dir(below), below.empty(), list);
        EXPECT_EQ(result, entries ? 1u : 0u);
        return NamesOf(entries);
    }
    // As a thread lists that has not listed before.
    Names ListedAnew(std::string_view below = {}) const
    {
        LocalFolderList list;
        return Listed(list, below);
    }

    // Sets the last write of a file, in UTC.
    void SetLastWrite(std::string_view below, const SYSTEMTIME& parts) const
    {
        FILETIME time = {};
        ASSERT_TRUE(SystemTimeToFileTime(&parts, &time));
        const HANDLE file = CreateFileA((box / below).string().c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
        CloseHandle(file);
    }
    // 4 March 2021, 15:16, and that second.
    static SYSTEMTIME At(uint32_t second)
    {
        SYSTEMTIME parts = {};
        parts.wYear = 2021;
        parts.wMonth = 3;
        parts.wDay = 4;
        parts.wHour = 15;
        parts.wMinute = 16;
        parts.wSecond = static_cast<WORD>(second);
        return parts;
    }
    static uint32_t StampAt(uint32_t second) { return 0x52647A00u + second / 2; }

    TestStore store;
    fs::path box;
    CapturedLog log;
};

}  // namespace velmora::test

#endif
