// What can stand in a mail folder here and nowhere on Windows: links, devices, pipes, long paths, and names that are none
// there.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "common/Text.h"
#include "index/ItemInsertion.h"
#include "items/MessageBranding.h"
#include "platform/win32.h"
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

// As Windows would list them, by their bytes in upper case; the scan sorts them in lower case, where "_" goes in front of a
// letter. So there is something to sort, and there are enough of each name for a sort that exchanges equals.
TEST_F(MailScan, NamesThatDifferInCaseAloneStayInTheOrderOfTheDirectoryListing)
{
    constexpr std::string_view kName = "abcde";
    for (uint32_t upper = 0; upper < 1u << kName.size(); ++upper) {
        std::string name(kName);
        for (size_t i = 0; i < name.size(); ++i)
            if ((upper >> i & 1) != 0) name[i] = UpperAscii(name[i]);
        Deliver(name + ".MAI");
    }
    for (const char* name : {"a.MAI", "A.MAI", "a_.MAI", "A_.MAI"}) Deliver(name);

    Names listing;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((Path() + "\\*.MAI").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    do {
        listing.emplace_back(found.cFileName);
    } while (FindNextFileA(search, &found));
    FindClose(search);
    ASSERT_EQ(listing.size(), 36u);
    Names expected;
    for (const std::string_view name : {std::string_view("a"), std::string_view("a_"), kName})
        for (const std::string& listed : listing)
            if (EqualsNoCase(listed, std::string(name) + ".MAI")) expected.push_back(listed);
    ASSERT_NE(expected, listing);
    EXPECT_EQ(Listed(), expected);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Ids(), expected);
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(FindLoadedItem(table_, expected[i])->Uid(), i + 1) << expected[i];
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
