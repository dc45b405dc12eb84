// The size of trees that links and deep paths make, and the listings below the seam.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/posix/DirectoryNames.h"
#include "tests/folders/FolderTree.h"

namespace velmora::test {
namespace {

class PosixFolderSize : public FolderTree {
protected:
    static void WriteIndex(const fs::path& directory, const std::string& size)
    {
        WriteFileBytes(directory / "_index.xml", "<BASEELEMENT LASTUID=\"x00000001\"><ELEMENT ID=\"1.MAI\" UID=\"1\"><SIZE>" + size +
                                                     "</SIZE></ELEMENT></BASEELEMENT>");
    }
    static uint32_t SizeOf(std::string_view folderPath)
    {
        StoreFolderRecord record = RecordOf(folderPath);
        EXPECT_EQ(StoreFolderGet(&record), 1u);
        return record.FolderSize;
    }
};

TEST_F(PosixFolderSize, FollowsALinkToAFolderElsewhere)
{
    const fs::path elsewhere = store.Directory() / "elsewhere";
    fs::create_directories(elsewhere / "below");
    WriteIndex(elsewhere, "10");
    WriteIndex(elsewhere / "below", "100");
    fs::create_directory_symlink(elsewhere, mailbox / "linked");
    EXPECT_EQ(SizeOf("/"), 110u);
    EXPECT_EQ(SizeOf("/linked"), 110u);
}

// Each link back counts the tree once more, and none below it is followed.
TEST_F(PosixFolderSize, EndsInATreeWithLinksThatLeadBack)
{
    WriteIndex(Make("a"), "1");
    WriteIndex(Make("a/b"), "10");
    fs::create_directory_symlink(mailbox / "a", mailbox / "a" / "b" / "up");
    EXPECT_EQ(SizeOf("/a"), 22u);
    for (char c = 'p'; c <= 'z'; ++c) fs::create_directory_symlink(mailbox / "a", mailbox / "a" / std::string(1, c));
    Flag(mailbox / "a");
    EXPECT_EQ(SizeOf("/a"), 11u * 13);
}

TEST_F(PosixFolderSize, EndsAtThePathThatNoLongerFits)
{
    const std::string name(100, 'a');
    fs::path directory = mailbox;
    uint32_t fits = 0;
    for (int level = 0; level < 20; ++level) {
        directory /= name;
        fs::create_directory(directory);
        WriteIndex(directory, "1");
        // The library reaches it through "//", with one separator more.
        if (directory.string().size() + 1 < 1024) ++fits;
    }
    EXPECT_GT(fits, 5u);
    EXPECT_EQ(SizeOf("/"), fits);
}

// Only here are these two directories.
TEST_F(PosixFolderSize, CountsDirectoriesThatDifferInCaseAlone)
{
    WriteIndex(Make("a"), "1");
    WriteIndex(Make("A"), "10");
    EXPECT_EQ(SizeOf("/"), 11u);
}

TEST_F(PosixFolderSize, CountsADirectoryWithAWildcardInItsName)
{
    WriteIndex(Make("a?"), "1");
    WriteIndex(Make("b*"), "10");
    EXPECT_EQ(SizeOf("/"), 11u);
}

// A folder whose directory takes that many bytes, of which `elsewhere` are those of the mailbox's.
class PosixLongFolder : public PosixFolderSize {
protected:
    std::string FolderOf(size_t bytes)
    {
        const size_t top = (store.MailRoot().string() + "\\po\\MAILROOT\\box").size();
        std::string folder;
        while (top + folder.size() + 202 < bytes) folder += "/" + std::string(100, 'a');
        while (top + folder.size() + 1 < bytes) {
            const size_t left = bytes - top - folder.size() - 1;
            folder += "/" + std::string(left > 100 ? left / 2 : left, 'b');
        }
        EXPECT_EQ(top + folder.size(), bytes);
        Make(folder.substr(1));
        return folder;
    }
    fs::path At(const std::string& folder) const { return mailbox / folder.substr(1); }
};

TEST_F(PosixLongFolder, IsWalkedThroughUpToTheSizeOfAPath)
{
    for (const size_t bytes : {1023u, 1024u}) {
        const std::string folder = FolderOf(bytes);
        fs::create_directory(At(folder) / "x");
        StoreFolderRecord record = RecordOf(folder);
        EXPECT_EQ(StoreFolderFindFirst(&record), bytes == 1023 ? 1u : 0u) << bytes;
        EXPECT_STREQ(record.FolderName, bytes == 1023 ? "x" : "untouched");
    }
}

TEST_F(PosixLongFolder, IsMeasuredUpToTheSizeOfAPath)
{
    for (const size_t bytes : {1012u, 1013u, 1023u, 1024u}) {
        const std::string folder = FolderOf(bytes);
        WriteIndex(At(folder), "7");
        EXPECT_EQ(SizeOf(folder), bytes < 1024 ? 7u : 0u) << bytes;
    }
}

// Kept: from 1,013 bytes on the name of the block is cut, and with 1,022 nothing of it is left.
TEST_F(PosixLongFolder, IsScannedAsLongAsItsBlockHasAName)
{
    for (const auto& [bytes, expected] : {std::pair{1012u, 1u}, {1013u, 1u}, {1021u, 1u}, {1022u, 0u}, {1023u, 0u}, {1024u, 0u}}) {
        const std::string folder = FolderOf(bytes);
        WriteFileBytes(At(folder) / "1.MAI", "Subject: s\r\n\r\n");
        const std::string path = store.MailRoot().string() + "\\po\\MAILROOT\\box" + folder;
        ASSERT_EQ(path.size(), bytes);
        EXPECT_EQ(ScanFolders(path.c_str()), expected) << bytes;
        EXPECT_EQ(FileExists(At(folder) / "_index.xml"), expected == 1) << bytes;
        for (const std::string& name : FileNames(At(folder)))
            EXPECT_TRUE(name == "1.MAI" || name == "_index.xml" || name == "_DIRSIZE.TMP" || name == "_FOLDER.DAT") << bytes << " " << name;
    }
}

TEST_F(PosixFolderSize, OfAnUnchangedTreeListsNoDirectoryBelowTheSeamEither)
{
    for (const char* name : {"a", "a/x", "b"}) WriteIndex(Make(name), "10");
    ASSERT_EQ(SizeOf("/"), 30u);
    const uint64_t before = platform::DirectoryListings();
    EXPECT_EQ(SizeOf("/"), 30u);
    EXPECT_EQ(platform::DirectoryListings(), before);
}

}  // namespace
}  // namespace velmora::test
