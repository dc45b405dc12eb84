// A message that a scan has found before its delivery is told: two elements of one ID, and a count that is one too high.
#include "index/IndexTable.h"
#include "tests/index/DirectFixture.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class DoubledItem : public Direct {
protected:
    void SetUp() override
    {
        Direct::SetUp();
        PutMail(inbox, "1.MAI", "first");
        PutMail(inbox, "2.MAI", "second");
        HostRecord scanner("INBOX");
        ASSERT_EQ(StoreIndex_Open(&scanner, 2), 1u);
        ASSERT_EQ(scanner.Count(), 2u);
        ASSERT_EQ(Insert("2.MAI"), 1u);
        ASSERT_EQ(Elements("2.MAI"), 2u);
        ASSERT_EQ(FolderCounts()[kItemsWord], 3);
        Age(inbox / "_index.xml");
    }
    size_t Elements(const std::string& id) const
    {
        const std::string bytes = IndexBytes(), begin = "<ELEMENT ID=\"" + id + "\"";
        size_t count = 0;
        for (size_t at = bytes.find(begin); at != std::string::npos; at = bytes.find(begin, at + 1)) ++count;
        return count;
    }
    static constexpr const char* kBlock = "_index.blk";
};

TEST_F(DoubledItem, IsOneItemBehindTheNextOpenAndCountsOnce)
{
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(record.Item("2.MAI")->Uid(), 2u) << "the first of the two";
    EXPECT_EQ(Elements("2.MAI"), 1u);
    EXPECT_EQ(FolderCounts()[kItemsWord], 2);
    EXPECT_EQ(FolderCounts()[kNewWord], 0);
    EXPECT_EQ(FolderCounts()[kLastUidWord], 3) << "its other UID is not given again";
    ExpectTidy();
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u) << "the table is as the file is";
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(Column("3.MAI", kUid), "4");
    EXPECT_EQ(FolderCounts()[kItemsWord], 3);
}

TEST_F(DoubledItem, LeavesTheRecordAbleToLoadUnderItsBlockAgain)
{
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record->Table.LastLoad.NoBlock, 0u);
    record.Change("1.MAI", "SUBJECT", "changed");
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(Column("1.MAI", "SUBJECT"), "changed");
}

TEST_F(DoubledItem, IsNotWrittenOverWhatCameInFrontOfTheBlock)
{
    std::string theirs;
    {
        WatchedFiles files;
        int blocks = 0;
        files.fail = [&](FileOperation operation, std::string_view path) {
            // The first block is the load's.
            if (operation == FileOperation::Open && path.ends_with(kBlock) && ++blocks == 2) {
                PutIndex(inbox, 9, Element("1.MAI", 1) + Element("2.MAI", 2) + Element("9.MAI", 9));
                theirs = IndexBytes();
            }
            return 0u;
        };
        HostRecord record("INBOX");
        EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
        EXPECT_EQ(record.Count(), 2u);
    }
    ASSERT_FALSE(theirs.empty());
    EXPECT_EQ(IndexBytes(), theirs);
    EXPECT_FALSE(IsMarked());
}

TEST_F(DoubledItem, WaitsForALaterOpenWhenSomebodyHoldsTheFolder)
{
    {
        WatchedFiles files;
        int blocks = 0;
        files.fail = [&](FileOperation operation, std::string_view path) {
            return operation == FileOperation::Open && path.ends_with(kBlock) && ++blocks == 2 ? uint32_t{80} : 0u;
        };
        HostRecord record("INBOX");
        EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
        EXPECT_EQ(record.Count(), 2u);
    }
    EXPECT_EQ(Elements("2.MAI"), 2u);
    EXPECT_FALSE(IsMarked());
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(Elements("2.MAI"), 1u);
}

TEST_F(DoubledItem, ThatCannotBeTakenOutMarksTheFolderAndTheOpenIsGood)
{
    {
        WatchedFiles files;
        int blocks = 0;
        files.fail = [&](FileOperation operation, std::string_view path) {
            if (operation != FileOperation::Open) return 0u;
            if (path.ends_with(kBlock)) ++blocks;
            return blocks == 2 && path.ends_with("_index.xml") ? uint32_t{5} : 0u;
        };
        HostRecord record("INBOX");
        EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
        EXPECT_EQ(record.Count(), 2u);
    }
    EXPECT_EQ(Elements("2.MAI"), 2u);
    EXPECT_TRUE(IsMarked());
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(Elements("2.MAI"), 1u);
}

TEST_F(DoubledItem, IsFlaggedDirectlyAndCountsOnce)
{
    EXPECT_EQ(Update("2.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(Elements("2.MAI"), 1u);
    EXPECT_EQ(FolderCounts()[kItemsWord], 2);
    EXPECT_EQ(FolderCounts()[kFlaggedWord], 1);
    EXPECT_NE(Column("2.MAI", kFlagStatus).find("\\FLAGGED"), std::string::npos);
    ExpectTidy();
}

TEST_F(DoubledItem, IsRemovedDirectlyWithBothElements)
{
    EXPECT_EQ(Remove("2.MAI"), 1u);
    EXPECT_EQ(Elements("2.MAI"), 0u);
    EXPECT_EQ(FolderCounts()[kItemsWord], 1);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI"}));
    ExpectTidy();
}

// Two items of one UID are a fault of the file: which of them is right only a scan can tell, so nothing is written.
TEST_F(DoubledItem, AUidThatTwoItemsBearIsNoSuchCase)
{
    PutIndex(inbox, 2, Element("1.MAI", 2) + Element("2.MAI", 2));
    const std::string before = IndexBytes();
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_EQ(IndexBytes(), before);
}

TEST_F(DoubledItem, AmongGroupsIsLeftToTheNextChange)
{
    PutIndex(inbox, 2, Element("a.GRP", 1) + Element("a.GRP", 2), "_groups.xml");
    const std::string before = ReadFileBytes(inbox / "_groups.xml");
    const Counts counts = FolderCounts();
    HostRecord record("INBOX", 54);
    EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_EQ(ReadFileBytes(inbox / "_groups.xml"), before);
    EXPECT_EQ(FolderCounts(), counts) << "the words count messages too";
}

}  // namespace
}  // namespace velmora::test
