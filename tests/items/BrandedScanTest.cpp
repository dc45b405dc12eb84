// Scans of a mail folder while branding is on.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/items/MailScanFixture.h"
#include "tests/support/Captured.h"
#include "tests/support/Wine.h"

namespace velmora::test {
namespace {

const std::string kPlain = "Subject: s\r\n\r\nbody\r\n";
const std::string kFlagged = "X-VLTempFlags: \\FLAGGED\r\n" + kPlain;

TEST_F(BrandedScan, AUidInTheFileIsNeverKept)
{
    Deliver("a.MAI", "X-UID: " + FolderId() + ".7\r\nSubject: s\r\n\r\nbody\r\n");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Column("a.MAI", "UID"), "1");
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), kPlain);
}

TEST_F(BrandedScan, AFileWithAUidOfItsFolderIsBrandedWithTheNextOne)
{
    Deliver("a.MAI");
    const std::string folderId = FolderId();
    Deliver("a.MAI", "X-UID: " + folderId + ".7\r\n\r\nbody");
    uint32_t nextUid = 4;
    EXPECT_EQ(AddMessageItem(table_, Path(), {"a.MAI", 1, 1}, GetFolderUniqueId(Path()), nextUid), MessageRead::Whole);
    EXPECT_EQ(nextUid, 5u);
    EXPECT_EQ(Column("a.MAI", "UID"), "5");
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), "X-UID: " + folderId + ".5\r\n\r\nbody");
}

TEST_F(BrandedScan, OnAFullDiskNoMessageIsTouchedAndTheFolderIsScannedAgain)
{
    if (RunsUnderWine()) GTEST_SKIP() << "Wine tells the last change of a directory for its creation, so the folder's ID moves";
    Deliver("a.MAI");
    const std::string text = "X-UID: " + FolderId() + ".7\r\n\r\nprecious";
    Deliver("a.MAI", text);
    std::string said;
    {
        const HookedSeam seam([](platform::FileOperation operation, std::string_view, uint64_t) {
            return platform::FileVerdict{operation == platform::FileOperation::Write ? 112u : 0u, UINT64_MAX};
        });
        said = CaptureStdout([&] { EXPECT_EQ(Scan(), 1u); });
    }
    // Once for the brand and once for the strip.
    const std::string line = "Could not open message file for writing\r\n";
    EXPECT_NE(said.find(line + line), std::string::npos) << said;
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), text);
    EXPECT_FALSE(Has("_a.MAI"));
    EXPECT_TRUE(Has("_CHANGE.DTY"));
    EXPECT_FALSE(Has("_index.blk"));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Ids(), Names{"a.MAI"});
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), "\r\nprecious");
}

TEST_F(BrandedScan, AFileThatIsNotAddedIsLeftAlone)
{
    Deliver("a.MAI", kFlagged);
    {
        const HookedSeam seam([first = true](platform::FileOperation operation, std::string_view path, uint64_t) mutable {
            platform::FileVerdict verdict;
            if (operation == platform::FileOperation::Open && path.ends_with("a.MAI") && std::exchange(first, false)) verdict.fail = 32;
            return verdict;
        });
        EXPECT_EQ(Scan(), 1u);
    }
    EXPECT_TRUE(Ids().empty());
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), kFlagged);
    Scan();
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "\\FLAGGED \\RECENT");
}

TEST_F(BrandedScan, AStrippedMessageIsReadAgainByTheNextScanAndKeepsItsFlags)
{
    Deliver("a.MAI", kFlagged);
    Scan();
    EXPECT_EQ(Column("a.MAI", "SIZE"), "45");
    uint32_t opens = 0;
    EXPECT_EQ(ScanUnder(CountMessageOpens(opens)), 1u);
    EXPECT_EQ(opens, 1u);
    EXPECT_EQ(Column("a.MAI", "SIZE"), "20");
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "\\FLAGGED \\RECENT");
    EXPECT_EQ(Column("a.MAI", "UID"), "1");
    Scan();
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "\\FLAGGED \\RECENT");
}

TEST_F(BrandedScan, TemporaryFlagsLeaveTheFileForTheIndex)
{
    Deliver("a.MAI", kFlagged);
    Scan();
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "\\FLAGGED \\RECENT");
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), kPlain);
}

TEST_F(BrandedScan, AFileWithNeitherLineIsUntouched)
{
    Deliver("a.MAI", kPlain);
    const auto stamp = std::filesystem::last_write_time(folder_ / "a.MAI");
    Scan();
    EXPECT_EQ(ReadFileBytes(folder_ / "a.MAI"), kPlain);
    EXPECT_EQ(std::filesystem::last_write_time(folder_ / "a.MAI"), stamp);
    EXPECT_FALSE(Has("_a.MAI"));
}

}  // namespace
}  // namespace velmora::test
