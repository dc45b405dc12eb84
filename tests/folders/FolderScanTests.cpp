// The scan of one directory.
#include <gtest/gtest.h>

#include <string>

#include "platform/win32.h"
#include "tests/folders/FolderTree.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

class FolderScan : public FolderTree {
protected:
    void SetUp() override
    {
        FolderTree::SetUp();
        folder = Make("a");
        for (const char* name : {"1.MAI", "2.MAI"}) WriteFileBytes(folder / name, "Subject: s\r\n\r\n");
    }
    uint64_t Scan() const { return ScanFolders(folder.string().c_str()); }
    bool Indexed(const std::string& name) const
    {
        return ReadFileBytes(folder / "_index.xml").find("\"" + name + "\"") != std::string::npos;
    }

    fs::path folder;
};

TEST_F(FolderScan, IndexesTheFilesOfADirectory)
{
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Indexed("1.MAI"));
    EXPECT_TRUE(Indexed("2.MAI"));
    EXPECT_FALSE(FileExists(folder / "_index.blk"));
}

TEST_F(FolderScan, TakesTheFlagAwayAndAddsWhatIsNew)
{
    ASSERT_EQ(Scan(), 1u);
    WriteFileBytes(folder / "3.MAI", "Subject: s\r\n\r\n");
    WriteFileBytes(folder / "_CHANGE.DTY", "");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Indexed("3.MAI"));
    EXPECT_FALSE(FileExists(folder / "_CHANGE.DTY"));
}

TEST_F(FolderScan, IsMadeWithoutAFlagToo)
{
    ASSERT_EQ(Scan(), 1u);
    WriteFileBytes(folder / "3.MAI", "Subject: s\r\n\r\n");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Indexed("3.MAI"));
}

TEST_F(FolderScan, DropsItemsWhoseFilesAreGone)
{
    ASSERT_EQ(Scan(), 1u);
    fs::remove(folder / "1.MAI");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_FALSE(Indexed("1.MAI"));
    EXPECT_TRUE(Indexed("2.MAI"));
}

TEST_F(FolderScan, OfAFolderThatIsHeldFailsAtOnceAndLeavesTheBlock)
{
    const std::string block = (folder / "_index.blk").string();
    const HANDLE holder = CreateFileA(block.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Scan(), 0u);
    CloseHandle(holder);
    EXPECT_EQ(Scan(), 0u) << "an orphan holds it as well";
    EXPECT_TRUE(FileExists(block));
    EXPECT_FALSE(FileExists(folder / "_index.xml"));
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(FolderScan, OfNoDirectoryFailsAndMakesNothing)
{
    EXPECT_EQ(ScanFolders(nullptr), 0u);
    EXPECT_EQ(ScanFolders(""), 0u);
    EXPECT_EQ(ScanFolders((folder / "nowhere").string().c_str()), 0u);
    EXPECT_EQ(ScanFolders(std::string(5000, 'x').c_str()), 0u);
    EXPECT_FALSE(FileExists(folder / "nowhere"));
}

TEST_F(FolderScan, ThatCannotBeSavedFailsAndLeavesAFlag)
{
    {
        const FailingFiles full(platform::FileOperation::Open, "_index.xml", 5);
        EXPECT_EQ(Scan(), 0u);
    }
    EXPECT_TRUE(FileExists(folder / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(folder / "_index.blk"));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Indexed("1.MAI"));
}

// Each allocation fails once. The flag that asked for the scan is gone with the load of the index.
TEST_F(FolderScan, WithoutMemoryFailsAndAsksForAnother)
{
    ASSERT_EQ(Scan(), 1u);
    const std::string index = ReadFileBytes(folder / "_index.xml");
    WriteFileBytes(folder / "3.MAI", "Subject: s\r\n\r\n");
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 20000u);
        WriteFileBytes(folder / "_index.xml", index);
        WriteFileBytes(folder / "_CHANGE.DTY", "");
        const std::string path = folder.string();
        uint64_t result = 0;
        uint32_t hits = 0;
        CaptureStdout([&] {
            const AllocationFault fault(n, FaultSpan::Once);
            result = ScanFolders(path.c_str());
            hits = AllocationFault::Hits();
        });
        const bool done = Indexed("3.MAI");
        EXPECT_TRUE((done && result == 1) || FileExists(folder / "_CHANGE.DTY")) << n << " " << result;
        EXPECT_FALSE(FileExists(folder / "_index.blk")) << n;
        if (hits == 0) {
            EXPECT_TRUE(done);
            break;
        }
        if (result == 0) ++failures;
    }
    EXPECT_GT(failures, 20u);
}

TEST_F(FolderScan, MakesADamagedIndexAnewFromTheFiles)
{
    WriteFileBytes(folder / "_index.xml", "<BASEELEMENT LASTUID=\"x00000009\"><ELEMENT ID=\"gone.MAI\" UI");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Indexed("1.MAI"));
    EXPECT_TRUE(Indexed("2.MAI"));
    EXPECT_FALSE(Indexed("gone.MAI"));
    EXPECT_FALSE(FileExists(folder / "_index.blk"));
}

TEST_F(FolderScan, GoesOnFromTheBackupOfADamagedIndex)
{
    store.SetNumber("Backup Index", 1);
    WriteFileBytes(folder / "_index.xml.bak",
                   "<BASEELEMENT LASTUID=\"x00000063\"><ELEMENT ID=\"1.MAI\" UID=\"77\"><SIZE>5</SIZE></ELEMENT></BASEELEMENT>");
    WriteFileBytes(folder / "_index.xml", "<BASEELEMENT LASTUID=\"x00000063\"><ELEMENT ID=\"1.MAI\" UID=\"77");
    EXPECT_EQ(Scan(), 1u);
    const std::string index = ReadFileBytes(folder / "_index.xml");
    EXPECT_NE(index.find("ID=\"1.MAI\" UID=\"77\""), std::string::npos) << index;
    EXPECT_TRUE(Indexed("2.MAI"));
    EXPECT_FALSE(FileExists(folder / "_index.blk"));
}

TEST_F(FolderScan, WithNoReaderFailsAndLeavesTheIndexAlone)
{
    ASSERT_EQ(Scan(), 1u);
    const std::string before = ReadFileBytes(folder / "_index.xml");
    fs::remove(folder / "1.MAI");
    store.SetNumber("Use XML Stream Index Deserialisation", 0);
    store.SetText("XML Version", "4", "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store");
    EXPECT_EQ(Scan(), 0u);
    EXPECT_EQ(ReadFileBytes(folder / "_index.xml"), before);
    EXPECT_FALSE(FileExists(folder / "_index.blk"));
}

}  // namespace
}  // namespace velmora::test
