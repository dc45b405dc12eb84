// What can stand in a mail folder here and nowhere on Windows: links, devices, pipes, long paths, and names that are none
// there.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "common/Text.h"
#include "index/ItemInsertion.h"
#include "items/MessageBranding.h"
#include "tests/items/MailScanFixture.h"
#include "tests/support/Captured.h"
#include "velmora/index.h"

namespace velmora::test {
namespace {

TEST_F(MailScan, LeavesOutNamesThatAnIndexCannotHold)
{
    for (const char* name : {"a\"b.MAI", "a>b.MAI", "a<b&'.MAI"}) Deliver(name);
    EXPECT_EQ(Listed(), Names{"a<b&'.MAI"});
}

TEST_F(MailScan, LinksDevicesPipesAndStrangeNamesAreLeftOut)
{
    Deliver("a.MAI");
    Deliver("quo\"te.MAI");
    Deliver("back\\slash.MAI");
    std::filesystem::create_symlink("nowhere", folder_ / "dangling.MAI");
    std::filesystem::create_symlink("loop.MAI", folder_ / "loop.MAI");
    std::filesystem::create_symlink("/dev/zero", folder_ / "device.MAI");
    ASSERT_EQ(mkfifo((folder_ / "pipe.MAI").c_str(), 0600), 0);
    uint32_t opens = 0;
    const HookedSeam seam(CountMessageOpens(opens));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Scan(), 1u);
        EXPECT_EQ(Ids(), Names{"a.MAI"});
        EXPECT_EQ(table_.LastUID, 1u);
        EXPECT_FALSE(Has("_CHANGE.DTY")) << "they are nothing that another scan could read";
    }
}

// Longer than any path that Windows takes.
TEST_F(MailScan, TheFolderIdOfALongPathIsThatOfItsFirst1023Bytes)
{
    std::string path = Path();
    if (path.size() % 2 == 0) path += '/';
    while (path.size() < 1023) path += "/.";
    path += std::string(40, 'x');  // names nothing
    EXPECT_EQ(GetFolderUniqueId(path), GetFolderUniqueId(Path()));
    EXPECT_NE(GetFolderUniqueId(path), 0u);
}

TEST_F(MailScan, ADeviceIsNoGroup)
{
    std::filesystem::create_symlink("/dev/zero", folder_ / "a.GRP");
    STOREINDEXTYPE index;
    StoreIndex_Init(&index);
    index.IndexKind = kKindGroups;
    index.Table.LoadLevel = 3;
    CopyBounded(index.InsertItem.FolderPath, folder_.string());
    InsertionHeader header;
    EXPECT_EQ(InsertItemFromFile(index, "a.GRP", 1, false, header), 0u);
    EXPECT_EQ(ItemCountOf(index.Table), 0u);
    StoreIndex_Release(&index);
}

TEST_F(BrandedScan, DevicesAndPipesAreNeitherIndexedNorCopied)
{
    std::filesystem::create_symlink("/dev/zero", folder_ / "z.MAI");
    ASSERT_EQ(mkfifo((folder_ / "p.MAI").c_str(), 0600), 0);
    Deliver("a.MAI");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Ids(), Names{"a.MAI"});
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "z.MAI"));
    EXPECT_FALSE(Has("_z.MAI"));
    EXPECT_TRUE(std::filesystem::is_fifo(folder_ / "p.MAI"));
}

TEST_F(BrandedScan, ADeviceIsNeitherBrandedNorStripped)
{
    std::filesystem::create_symlink("/dev/zero", folder_ / "a.MAI");
    for (const auto rewrite : {BrandMessageFile, StripMessageBranding})
        EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(rewrite(folder_.string(), "a.MAI", 99, 12), 1u); }),
                  "Could not open message file for input\r\n");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "a.MAI"));
    EXPECT_EQ(FileNames(folder_), Names{"a.MAI"});
}

}  // namespace
}  // namespace velmora::test
