#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "index/ItemOperations.h"
#include "tests/index/TestTable.h"

namespace velmora::test {
namespace {

// --- insert --------------------------------------------------------------------------------------------------------

TEST(IndexTable, AnItemWithNoUidGetsLastUidPlusOne)
{
    TestTable table;
    table.LastUID = 40;
    auto* item = Add(table, "1.MAI");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->Uid(), 41u);
    EXPECT_EQ(table.LastUID, 41u);
    EXPECT_EQ(item->Owner, &table);
    EXPECT_EQ(TextOf(*item, kSeq), "1");
    EXPECT_EQ(table.FirstDirtyUID, 41);
}

TEST(IndexTable, AGivenUidAboveLastUidRaisesIt)
{
    TestTable table;
    table.LastUID = 40;
    ASSERT_NE(Add(table, "1.MAI", 90), nullptr);
    EXPECT_EQ(table.LastUID, 90u);
}

TEST(IndexTable, AnUnusedUidBelowLastUidIsTakenAndLeavesLastUidAlone)
{
    TestTable table;
    table.LastUID = 40;
    ASSERT_NE(Add(table, "1.MAI", 7), nullptr);
    EXPECT_EQ(table.LastUID, 40u);
    EXPECT_EQ(FindLoadedItem(table, "1.MAI")->Uid(), 7u);
}

TEST(IndexTable, ADuplicateIdIsRefusedAndItsUidSkippedForGood)
{
    TestTable table;
    ASSERT_NE(Add(table, "1.MAI"), nullptr);
    EXPECT_EQ(Add(table, "1.MAI"), nullptr);
    EXPECT_EQ(table.LastUID, 2u);
    ASSERT_NE(Add(table, "2.MAI"), nullptr);
    EXPECT_EQ(FindLoadedItem(table, "2.MAI")->Uid(), 3u);
    EXPECT_EQ(IdsInSequence(table), "1.MAI 2.MAI");
}

TEST(IndexTable, ARefusedItemStaysWithItsCallerAndHasNoOwner)
{
    TestTable table;
    ASSERT_NE(Add(table, "1.MAI"), nullptr);
    const auto twin = NewItem("1.MAI");
    EXPECT_FALSE(InsertItem(table, twin.get()));
    EXPECT_EQ(twin->Owner, nullptr);
    EXPECT_EQ(twin->Id(), "1.MAI");
    EXPECT_EQ(twin->Uid(), table.LastUID);
}

TEST(IndexTable, ADuplicateUidIsRefusedAndItsIdIsFreeAgain)
{
    TestTable table;
    ASSERT_NE(Add(table, "1.MAI", 5), nullptr);
    EXPECT_EQ(Add(table, "2.MAI", 5), nullptr);
    EXPECT_EQ(FindLoadedItem(table, "2.MAI"), nullptr);
    EXPECT_EQ(ItemCountOf(table), 1u);
    ASSERT_NE(Add(table, "2.MAI", 6), nullptr);
    EXPECT_EQ(IdsByUid(table), "1.MAI 2.MAI");
}

TEST(IndexTable, AnIdThatAnIndexFileCannotCarryIsRefused)
{
    TestTable table;
    const std::string longest(980, 'x');
    for (const std::string& id :
         {std::string("a>b"), std::string(1100, 'x'), longest + "x", std::string("u\" UID=\"-"), std::string("--"), std::string("-"),
          std::string("a\"b"), std::string("a\"b\"c"), std::string("x\" UID=\"3"), std::string()}) {
        auto item = NewItem(id);
        EXPECT_FALSE(InsertItem(table, item.get())) << id;
        EXPECT_EQ(item->Owner, nullptr);
        EXPECT_EQ(FindLoadedItem(table, id), nullptr);
    }
    EXPECT_EQ(ItemCountOf(table), 0u);
    EXPECT_EQ(table.LastUID, 0u);
    EXPECT_EQ(table.FirstDirtyUID, 0);
    for (const std::string& id : {std::string("a<b"), longest, std::string("-a-"), std::string("a&b=c d.MAI")})
        EXPECT_NE(Add(table, id), nullptr);
}

TEST(IndexTable, AnIdThatAnIndexFileCannotCarryMakesNoItem)
{
    STOREINDEXTYPE index;
    index.Table.LoadLevel = 3;
    STOREITEMTYPE handle;
    const std::string tooLong(1100, 'x');
    for (const char* id : {"a>b", tooLong.c_str(), "u\" UID=\"-", "--", "a\"b\"c", "x\" UID=\"3"}) {
        EXPECT_EQ(SelectOrCreateItem(index, handle, id), 0u) << id;
        EXPECT_EQ(handle.Item, nullptr);
    }
    EXPECT_EQ(ItemCountOf(index.Table), 0u);
    EXPECT_EQ(SelectOrCreateItem(index, handle, "a-b"), 1u);
    UnInit(index.Table);
}

TEST(IndexTable, SeqIsThePositionAmongTheInsertsNotAmongTheUids)
{
    TestTable table;
    auto* high = Add(table, "high", 9);
    auto* low = Add(table, "low", 3);
    EXPECT_EQ(TextOf(*high, kSeq), "1");
    EXPECT_EQ(TextOf(*low, kSeq), "2");
    EXPECT_EQ(IdsInSequence(table), "high low");
    EXPECT_EQ(IdsByUid(table), "low high");
}

TEST(IndexTable, WithTheLargestLastUidNoneIsLeftToGive)
{
    TestTable table;
    table.LastUID = 0xFFFFFFFEu;
    const auto* last = Add(table, "last");
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->Uid(), 0xFFFFFFFFu);
    const auto refused = NewItem("refused");
    EXPECT_FALSE(InsertItem(table, refused.get()));
    EXPECT_EQ(table.LastUID, 0xFFFFFFFFu);
    EXPECT_EQ(FindLoadedItem(table, "refused"), nullptr);
    EXPECT_EQ(refused->Owner, nullptr);
    EXPECT_NE(Add(table, "given", 7), nullptr) << "one that brings its own is taken";
}

TEST(IndexTable, AChangeBeyondTheSignedUidsAsksForAFullRewrite)
{
    TestTable table;
    auto* inside = Add(table, "inside", 0x7FFFFFFFu);
    EXPECT_EQ(table.FirstDirtyUID, 0x7FFFFFFF);
    EXPECT_EQ(table.RewriteRequired, 0);
    auto* beyond = Add(table, "beyond");
    ASSERT_EQ(beyond->Uid(), 0x80000000u);
    EXPECT_EQ(table.RewriteRequired, 1) << "an insert is a change";
    EXPECT_EQ(table.FirstDirtyUID, 0x7FFFFFFF) << "the mark has no place for such a UID";

    table.RewriteRequired = 0;
    table.FirstDirtyUID = 0;
    MarkItemChanged(*inside);
    EXPECT_EQ(table.RewriteRequired, 0);
    MarkItemChanged(*beyond);
    EXPECT_EQ(table.RewriteRequired, 1);
    EXPECT_EQ(table.FirstDirtyUID, 0x7FFFFFFF);
}

TEST(IndexTable, InsertLowersTheDirtyMarkAndNeverRaisesIt)
{
    TestTable table;
    ASSERT_NE(Add(table, "a", 50), nullptr);
    EXPECT_EQ(table.FirstDirtyUID, 50);
    ASSERT_NE(Add(table, "b", 20), nullptr);
    EXPECT_EQ(table.FirstDirtyUID, 20);
    ASSERT_NE(Add(table, "c", 30), nullptr);
    EXPECT_EQ(table.FirstDirtyUID, 20);
}

TEST(IndexTable, ALoadedItemMarksNothingDirtyAndIsNotInTheSequenceYet)
{
    TestTable table;
    auto given = NewItem("1.MAI", 12);
    ASSERT_TRUE(InsertLoadedItem(table, given.get()));
    auto numbered = NewItem("2.MAI");
    ASSERT_TRUE(InsertLoadedItem(table, numbered.get()));
    EXPECT_EQ(numbered->Uid(), 13u);
    EXPECT_EQ(table.LastUID, 13u);
    EXPECT_EQ(table.FirstDirtyUID, 0);
    EXPECT_EQ(given->Owner, &table);
    EXPECT_EQ(ItemCountOf(table), 0u);
    ContentOf(table).Sequence.push_back(given.release());
    ContentOf(table).Sequence.push_back(numbered.release());
    EXPECT_EQ(IdsByUid(table), "1.MAI 2.MAI");
}

// --- finding and listing -------------------------------------------------------------------------------------------

TEST(IndexTable, IdsAreFoundByTheirExactBytes)
{
    TestTable table;
    auto* item = Add(table, "2011A.MAI");
    EXPECT_EQ(FindItem(table, "2011A.MAI"), item);
    EXPECT_EQ(FindItem(table, "2011a.mai"), nullptr);
    EXPECT_EQ(FindItem(table, ""), nullptr);
}

TEST(IndexTable, AnEmptyTableFindsAndListsNothing)
{
    TestTable table;
    EXPECT_EQ(FindItem(table, "x"), nullptr);
    std::vector<IndexItemPropertyContainer*> list;
    ListByUID(table, list);
    EXPECT_TRUE(list.empty());
    ListByID(table, list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(ItemCountOf(table), 0u);
}

TEST(IndexTable, ListsFollowTheirOrdering)
{
    TestTable table;
    Add(table, "b", 9);
    Add(table, "c", 3);
    Add(table, "a", 5);
    std::vector<IndexItemPropertyContainer*> list;
    ListByUID(table, list);
    EXPECT_EQ(IdsOf(list), "c a b");
    list.clear();
    ListByID(table, list);
    EXPECT_EQ(IdsOf(list), "a b c");
}

TEST(IndexTable, ATableThatWasNeverLoadedCannotBeRaised)
{
    TestTable table;
    table.LoadLevel = 0;
    EXPECT_FALSE(EnsureLoadLevel(table, 1));
    EXPECT_EQ(FindItem(table, "1.MAI"), nullptr);
    EXPECT_EQ(RemoveItems(table, "1.MAI"), 0u);
    uint32_t details[13];
    EXPECT_EQ(GetFolderDetails(table, details), 0u);
}

TEST(IndexTable, ALevelThatIsHadNeedsNoLoad)
{
    TestTable table;
    table.LoadLevel = 2;
    EXPECT_TRUE(EnsureLoadLevel(table, 1));
    EXPECT_TRUE(EnsureLoadLevel(table, 2));
    EXPECT_EQ(table.LoadLevel, 2);
}

// --- removal -------------------------------------------------------------------------------------------------------

struct FiveItems : TestTable {
    FiveItems()
    {
        for (const char* id : {"a", "b", "c", "d", "e"}) Add(*this, id);
        FirstDirtyUID = 0;
    }
};

std::string SequenceNumbers(SORTEDSTOREINDEXTYPE& table)
{
    std::string numbers;
    for (const IndexItemPropertyContainer* item : ContentOf(table).Sequence) numbers += TextOf(*item, kSeq) + ' ';
    return numbers;
}

TEST(IndexTableRemoval, RemovedItemsLeaveAllOrderingsAndSeqIsDense)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, "d,b"), 1u);
    EXPECT_EQ(IdsInSequence(table), "a c e");
    EXPECT_EQ(IdsByUid(table), "a c e");
    EXPECT_EQ(IdsById(table), "a c e");
    EXPECT_EQ(SequenceNumbers(table), "1 2 3 ");
    EXPECT_EQ(IdsOf(table.Content->RemovedItems), "b d");
    EXPECT_EQ(FindLoadedItem(table, "b"), nullptr);
}

TEST(IndexTableRemoval, LastUidStaysWhenAllItemsAreRemoved)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, "a,b,c,d,e"), 1u);
    EXPECT_EQ(ItemCountOf(table), 0u);
    EXPECT_EQ(table.LastUID, 5u);
    EXPECT_EQ(Add(table, "f")->Uid(), 6u);
}

TEST(IndexTableRemoval, AStarEmptiesTheWholeTableConsistently)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, "*"), 1u);
    EXPECT_EQ(IdsInSequence(table), "");
    EXPECT_EQ(IdsByUid(table), "");
    EXPECT_EQ(IdsById(table), "");
    EXPECT_EQ(table.Content->RemovedItems.size(), 5u);
    EXPECT_EQ(table.LastUID, 5u);
}

TEST(IndexTableRemoval, AStarAmongOtherIdsCountsEachItemOnce)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, "b,*,nothing"), 1u);
    EXPECT_EQ(ItemCountOf(table), 0u);
    EXPECT_EQ(table.Content->ByUID.Count(), 0u);
    EXPECT_EQ(table.Content->ByID.Count(), 0u);
    EXPECT_EQ(table.Content->RemovedItems.size(), 5u);
}

TEST(IndexTableRemoval, UnknownIdsAndEmptyTokensAreNoFault)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, ",,x,,a,"), 1u);
    EXPECT_EQ(IdsInSequence(table), "b c d e");
    EXPECT_EQ(RemoveItems(table, "x"), 1u);
    EXPECT_EQ(RemoveItems(table, ""), 1u);
    EXPECT_EQ(RemoveItems(table, nullptr), 1u);
    EXPECT_EQ(ItemCountOf(table), 4u);
}

TEST(IndexTableRemoval, RemovingTheFirstDirtyItemClearsTheMark)
{
    FiveItems table;
    table.FirstDirtyUID = 3;
    EXPECT_EQ(RemoveItems(table, "c"), 1u);
    EXPECT_EQ(table.FirstDirtyUID, 0);
}

TEST(IndexTableRemoval, RemovingAnyOtherItemLeavesTheMark)
{
    FiveItems table;
    table.FirstDirtyUID = 3;
    EXPECT_EQ(RemoveItems(table, "a,b,d,e"), 1u);
    EXPECT_EQ(table.FirstDirtyUID, 3);
}

TEST(IndexTableRemoval, ARemovedItemKeepsItsValuesUntilTheTableIsEmptied)
{
    FiveItems table;
    IndexItemPropertyContainer* item = FindLoadedItem(table, "c");
    item->SetText("SUBJECT", "still here");
    item->FileOffset = 77;
    item->FileLength = 12;
    EXPECT_EQ(RemoveItems(table, "c"), 1u);
    EXPECT_EQ(TextOf(*item, "SUBJECT"), "still here");
    EXPECT_EQ(item->Id(), "c");
    EXPECT_EQ(item->Uid(), 3u);
    EXPECT_EQ(item->FileOffset, 77u);
    EXPECT_EQ(item->FileLength, 12u);
}

TEST(IndexTableRemoval, AnIdCanBeUsedAgain)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, "c"), 1u);
    auto* again = Add(table, "c");
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->Uid(), 6u);
    EXPECT_EQ(RemoveItems(table, "c"), 1u);
    EXPECT_EQ(table.Content->RemovedItems.size(), 2u);
}

// --- details -------------------------------------------------------------------------------------------------------

TEST(FolderDetails, CountsTheFlagsInUidOrder)
{
    TestTable table;
    const auto add = [&](const char* id, uint32_t uid, const char* flags, int32_t read) {
        auto* item = Add(table, id, uid);
        if (flags) item->SetText(kFlagStatus, flags);
        item->SetNumber(kRead, read);
    };
    add("first in the sequence", 30, "\\SEEN \\ANSWERED", 0);
    add("second", 10, "\\Recent \\flagged", 0);
    add("third", 20, "\\seen \\RECENT", 1);
    add("fourth", 40, nullptr, 1);
    add("fifth", 50, "\\Answered", 7);
    table.LastUID = 1234;
    uint32_t details[13] = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
    ASSERT_EQ(GetFolderDetails(table, details), 1u);
    const std::vector<uint32_t> words(details, details + 13);
    // answered 2, flagged 1, first seen 2nd, items 5, seen 3, recent 2
    const std::vector<uint32_t> expected = {0, 0, 0, 2, 1, 2, 5, 3, 2, 0, 0, 1234, 0};
    EXPECT_EQ(words, expected);
}

TEST(FolderDetails, ReadOneWithAnEmptyFlagStatusIsSeen)
{
    TestTable table;
    auto* item = Add(table, "1.MAI");
    item->SetText(kFlagStatus, "");
    item->SetNumber(kRead, 1);
    uint32_t details[13];
    ASSERT_EQ(GetFolderDetails(table, details), 1u);
    EXPECT_EQ(details[7], 1u);
    EXPECT_EQ(details[5], 1u);
}

TEST(FolderDetails, SeenInLowerCaseIsSeen)
{
    TestTable table;
    Add(table, "1.MAI");
    auto* item = Add(table, "2.MAI");
    item->SetText(kFlagStatus, "\\seen");
    item->SetNumber(kRead, 0);
    uint32_t details[13];
    ASSERT_EQ(GetFolderDetails(table, details), 1u);
    EXPECT_EQ(details[6], 2u);
    EXPECT_EQ(details[7], 1u);
    EXPECT_EQ(details[5], 2u);
}

TEST(FolderDetails, AnEmptyTableGivesOnlyLastUid)
{
    TestTable table;
    table.LastUID = 8;
    uint32_t details[13];
    ASSERT_EQ(GetFolderDetails(table, details), 1u);
    for (unsigned i = 0; i < 13; ++i) EXPECT_EQ(details[i], i == 11 ? 8u : 0u) << i;
}

// --- emptying ------------------------------------------------------------------------------------------------------

TEST(IndexTable, UnInitEmptiesTheTableAndCanRunTwice)
{
    FiveItems table;
    EXPECT_EQ(RemoveItems(table, "b"), 1u);
    table.RewriteRequired = 1;
    table.IndexFileTime = 99;
    table.IndexFileSize = 98;
    table.FirstDirtyUID = 2;
    table.LoadSelection = "a,b";
    table.LastLoad.FolderPath = "folder";
    table.LastLoad.VerifyItemFiles = 1;
    for (int round = 0; round < 2; ++round) {
        UnInit(table);
        EXPECT_EQ(table.LoadLevel, 0);
        EXPECT_EQ(table.LastUID, 0u);
        EXPECT_EQ(table.FirstDirtyUID, 0);
        EXPECT_EQ(table.RewriteRequired, 0);
        EXPECT_EQ(table.IndexFileTime, 0u);
        EXPECT_EQ(ItemCountOf(table), 0u);
        EXPECT_EQ(table.LoadSelection, "a,b");
        EXPECT_EQ(table.LastLoad.FolderPath, "folder");
        EXPECT_EQ(table.LastLoad.VerifyItemFiles, 1u);
    }
    table.LoadLevel = 3;
    ASSERT_NE(Add(table, "a"), nullptr);
    EXPECT_EQ(IdsInSequence(table), "a");
}

TEST(IndexTable, HundredThousandItemsInAnyOrderStayInStep)
{
    TestTable table;
    for (uint32_t i = 0; i < 100000; ++i) {
        const uint32_t uid = (i * 7919u) % 100003u + 1;  // a permutation of 1 to 100003 with gaps
        ASSERT_NE(Add(table, std::to_string(uid), uid), nullptr) << i;
    }
    EXPECT_EQ(ItemCountOf(table), 100000u);
    uint32_t previous = 0;
    ContentOf(table).ByUID.ForEach([&](uint32_t uid, IndexItemPropertyContainer* item) {
        ASSERT_LT(previous, uid);
        ASSERT_EQ(item->Id(), std::to_string(uid));
        previous = uid;
    });
    EXPECT_EQ(table.LastUID, previous);
}

}  // namespace
}  // namespace velmora::test
