// One folder by several spellings of its path.
#include <gtest/gtest.h>

#include "folders/FolderLists.h"
#include "tests/folders/FolderTree.h"

namespace velmora::test {
namespace {

using FolderPathSpelling = FolderTree;

// Goes on with the walk by another record, as a host does that makes one for each step.
uint64_t NextOf(std::string_view path, TLSFolderList* list, std::string& name)
{
    StoreFolderRecord record = RecordOf(path);
    const uint64_t more = TLS_StoreFolderFindNext(&record, list);
    name = record.FolderName;
    return more;
}

TEST_F(FolderPathSpelling, AWalkGoesOnByAnyOfTheSeparators)
{
    for (const char* name : {"a/b/1", "a/b/2", "a/b/3", "a/b/4", "a/b/5", "a/b/6"}) Make(name);
    LocalFolderList own;
    for (TLSFolderList* const list : {static_cast<TLSFolderList*>(nullptr), static_cast<TLSFolderList*>(&own)}) {
        StoreFolderRecord record = RecordOf("a\\b");
        EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 1u);
        EXPECT_STREQ(record.FolderName, "1");
        std::string expected = "2";
        for (const char* path : {"a/b", "/a/b", "\\a\\b/", "//a//b", "a\\/b//"}) {
            std::string name;
            EXPECT_EQ(NextOf(path, list, name), 1u) << path;
            EXPECT_EQ(name, expected) << path;
            ++expected[0];
        }
        StoreFolderRecord last = RecordOf("/a//b");
        EXPECT_EQ(TLS_StoreFolderFindClose(&last, list), 1u);
        EXPECT_EQ(TLS_StoreFolderFindNext(&record, list), 0u) << "it is closed";
    }
}

// A removal gives the path back with slashes.
TEST_F(FolderPathSpelling, AWalkGoesOnBehindRemovalsWithItsRecord)
{
    for (const char* path : {"Work", "Work\\Deep", "\\Work\\Deep"}) {
        for (const char* name : {"Work/Deep/a", "Work/Deep/b", "Work/Deep/c"}) Make(name);
        for (const char* parent : {"", "Work", "Work/Deep"}) Flag(mailbox / parent);
        StoreFolderRecord record = RecordOf(path);
        uint32_t removed = 0;
        for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
            EXPECT_EQ(StoreFolderRemove(&record), 1u) << record.FolderName;
            ++removed;
        }
        EXPECT_EQ(StoreFolderFindClose(&record), 1u);
        EXPECT_EQ(removed, std::string_view(path) == "Work" ? 1u : 3u) << path;
        EXPECT_EQ(Walk(path), Names{}) << path;
    }
}

TEST_F(FolderPathSpelling, AWalkOfPublicFoldersGoesOnBehindRemovalsWithItsRecord)
{
    const fs::path news = store.MailRoot() / "po/PUBROOT/News";
    for (const char* name : {"a", "b", "c"}) fs::create_directories(news / name);
    StoreFolderRecord record = RecordOf("Public\\News");
    uint32_t removed = 0;
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record))
        removed += static_cast<uint32_t>(StoreFolderRemove(&record));
    EXPECT_EQ(removed, 3u);
    EXPECT_TRUE(fs::is_directory(news));
    EXPECT_FALSE(FileExists(news / "a") || FileExists(news / "c"));
}

TEST_F(FolderPathSpelling, ADirectoryIsReadOnceForAllOfThem)
{
    Make("a/b");
    LocalFolderList list;
    for (const char* path : {"a", "/a", "\\a", "//a", "a/"}) {
        StoreFolderRecord record = RecordOf(path);
        EXPECT_EQ(TLS_StoreFolderFindFirst(&record, &list), 1u) << path;
    }
    EXPECT_EQ(list.Directories->size(), 1u);
}

// The walk of "/" and that of an empty path list the names as different ones, and are one.
TEST_F(FolderPathSpelling, TheRootIsOneDirectoryWithTheEmptyPath)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    std::string name;
    EXPECT_EQ(NextOf("/", nullptr, name), 1u);
    EXPECT_EQ(name, "b");
}

}  // namespace
}  // namespace velmora::test
