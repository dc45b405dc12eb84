// Scans of a mail folder whose index file cannot be read at that moment.
#include <gtest/gtest.h>

#include "index/IndexPersistence.h"
#include "tests/items/MailScanFixture.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {
namespace {

// With "6" under it no document can be made.
constexpr char kProviderKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";

// Two messages are known, the first with a flag, and one is new.
class UnreadIndex : public MailScan {
protected:
    UnreadIndex()
    {
        Deliver("b.MAI");
        Scan();
        Deliver("a.MAI");
        Scan();
        SetItemProperty(*FindLoadedItem(table_, "b.MAI"), kFlagStatus, "\\FLAGGED");
        EXPECT_EQ(SaveIndex(table_, Path().c_str(), kKindMail), 1u);
        bytes_ = ReadFileBytes(folder_ / "_index.xml");
        Deliver("c.MAI");
    }
    void ExpectLeftAlone(uint64_t answer)
    {
        EXPECT_EQ(answer, 1u);
        EXPECT_TRUE(clock_.Sleeps().empty());
        EXPECT_EQ(table_.LoadLevel, 0);
        EXPECT_EQ(ItemCountOf(table_), 0u);
        EXPECT_EQ(ReadFileBytes(folder_ / "_index.xml"), bytes_);
        EXPECT_TRUE(Has("_CHANGE.DTY"));
        EXPECT_FALSE(Has("_index.blk"));
        // What an open does behind a scan of its own.
        EXPECT_EQ(SaveIndex(table_, Path().c_str(), kKindMail), 0u);
        EXPECT_EQ(ReadFileBytes(folder_ / "_index.xml"), bytes_);
    }
    void ExpectNothingLost()
    {
        EXPECT_EQ(Scan(), 1u);
        EXPECT_EQ(Column("b.MAI", "UID"), "1");
        EXPECT_EQ(Column("b.MAI", "FLAGSTATUS"), "\\FLAGGED");
        EXPECT_EQ(Column("a.MAI", "UID"), "2");
        EXPECT_EQ(Column("c.MAI", "UID"), "3");
    }

    FakeClock clock_;
    std::string bytes_;
};

TEST_F(UnreadIndex, ThatCannotBeOpenedIsLeftAlone)
{
    for (const uint32_t error : {4u, 5u, 8u, 32u}) {
        std::filesystem::remove(folder_ / "_CHANGE.DTY");
        uint64_t answer = 0;
        {
            const HookedSeam seam(FailOn(platform::FileOperation::Open, "_index.xml", error));
            answer = Scan();
        }
        ExpectLeftAlone(answer);
    }
    ExpectNothingLost();
}

TEST_F(UnreadIndex, ThatCannotBeAskedForIsReadAllTheSame)
{
    {
        const HookedSeam seam(FailOn(platform::FileOperation::Search, "_index.xml", 1117));
        EXPECT_EQ(Scan(), 1u);
    }
    EXPECT_EQ(Column("b.MAI", "FLAGSTATUS"), "\\FLAGGED");
    EXPECT_EQ(Column("c.MAI", "UID"), "3");
    ExpectNothingLost();
}

TEST_F(UnreadIndex, ThatFailsWhileItIsReadIsLeftAlone)
{
    uint64_t answer = 0;
    {
        const HookedSeam seam(FailReadsOf("_index.xml"));
        answer = Scan();
    }
    ExpectLeftAlone(answer);
    ExpectNothingLost();
}

TEST_F(UnreadIndex, ThatTheSettingsLeaveWithoutAReaderIsLeftAlone)
{
    store_.SetNumber("Use XML Stream Index Deserialisation", 0);
    store_.SetText("XML Version", "6", kProviderKey);
    ForgetCachedSettings();
    ExpectLeftAlone(Scan());
    store_.SetNumber("Use XML Stream Index Deserialisation", 1);
    ForgetCachedSettings();
    ExpectNothingLost();
}

TEST_F(UnreadIndex, WithNoReaderAFlaggedLoadLeavesTheFileAndTheFlag)
{
    store_.SetNumber("Use XML Stream Index Deserialisation", 0);
    store_.SetText("XML Version", "6", kProviderKey);
    WriteFileBytes(folder_ / "_CHANGE.DTY", "");
    IndexLoadArguments arguments;
    arguments.FolderPath = Path();
    arguments.NoBlock = 1;
    arguments.CheckDirty = 1;
    EXPECT_FALSE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(ReadFileBytes(folder_ / "_index.xml"), bytes_);
    EXPECT_TRUE(Has("_CHANGE.DTY"));
    store_.SetNumber("Use XML Stream Index Deserialisation", 1);
    ExpectNothingLost();
}

}  // namespace
}  // namespace velmora::test
