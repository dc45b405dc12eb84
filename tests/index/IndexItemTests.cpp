#include <gtest/gtest.h>

#include <map>
#include <string>

#include "common/Text.h"
#include "tests/index/TestTable.h"

namespace velmora::test {
namespace {

TEST(IndexItem, NothingIsPresentInANewItem)
{
    const IndexItemPropertyContainer item;
    EXPECT_FALSE(item.Has(kId));
    EXPECT_FALSE(item.Has(kUid));
    EXPECT_FALSE(item.Has(kRead));
    EXPECT_FALSE(item.Has("SUBJECT"));
    EXPECT_EQ(item.Owner, nullptr);
    EXPECT_EQ(item.FileOffset, 0u);
    EXPECT_EQ(item.FileLength, 0u);
}

TEST(IndexItem, AnAbsentPropertyLeavesTheOutputAndReadsAsZero)
{
    const IndexItemPropertyContainer item;
    std::string value = "before";
    EXPECT_FALSE(item.GetText("SUBJECT", value));
    EXPECT_EQ(value, "before");
    EXPECT_EQ(item.GetNumber("SIZE"), 0);
    EXPECT_EQ(item.GetNumber(kUid), 0);
    EXPECT_TRUE(item.View("SUBJECT").empty());
}

TEST(IndexItem, TextComesBackByteForByte)
{
    IndexItemPropertyContainer item;
    const std::string bytes("a\0b\xff\r\n<>&", 9);
    item.SetText("SUBJECT", bytes);
    EXPECT_TRUE(item.Has("SUBJECT"));
    EXPECT_EQ(TextOf(item, "SUBJECT"), bytes);
    EXPECT_EQ(item.View("SUBJECT"), bytes);
}

TEST(IndexItem, AnEmptyTextIsPresent)
{
    IndexItemPropertyContainer item;
    item.SetText("SUBJECT", "");
    EXPECT_TRUE(item.Has("SUBJECT"));
    EXPECT_EQ(TextOf(item, "SUBJECT"), "");
}

TEST(IndexItem, ASecondTextReplacesTheFirst)
{
    IndexItemPropertyContainer item;
    item.SetText("SUBJECT", std::string(5000, 'a'));
    item.SetText("SUBJECT", "short");
    EXPECT_EQ(TextOf(item, "SUBJECT"), "short");
    item.SetText("SUBJECT", std::string(70000, 'b'));
    EXPECT_EQ(TextOf(item, "SUBJECT"), std::string(70000, 'b'));
}

TEST(IndexItem, SlotsBelowTheOneThatIsSetStayAbsentWhenTheyHoldText)
{
    IndexItemPropertyContainer item;
    const IndexPropertyRef low = IndexPropertyTable::LookUp("ITEMTEST_LOW");
    const IndexPropertyRef high = IndexPropertyTable::LookUp("ITEMTEST_HIGH");
    ASSERT_LT(low.Slot, high.Slot);
    item.SetText(high, "x");
    EXPECT_FALSE(item.Has(low));
    EXPECT_FALSE(item.Has(kId));
    EXPECT_TRUE(item.Has(high));
}

TEST(IndexItem, ReadIsPresentOnAnyItemWithThreeOrMoreSlotsEvenIfNothingSetIt)
{
    IndexItemPropertyContainer item;
    item.SetText(kId, "1.MAI");
    EXPECT_FALSE(item.Has(kUid));
    EXPECT_FALSE(item.Has(kRead));
    item.SetNumber(kUid, 4);
    EXPECT_TRUE(item.Has(kUid));
    EXPECT_FALSE(item.Has(kRead));
    item.SetText("SUBJECT", "x");
    EXPECT_TRUE(item.Has(kRead));
    EXPECT_EQ(TextOf(item, kRead), "0");
}

TEST(IndexItem, ANumberSetAsTextIsReadAsTheCLibraryReadsLongs)
{
    IndexItemPropertyContainer item;
    item.SetText(kUid, " 17 and more");
    EXPECT_EQ(item.GetNumber(kUid), 17);
    item.SetText(kUid, "-3");
    EXPECT_EQ(item.GetNumber(kUid), -3);
    item.SetText(kUid, "no number");
    EXPECT_EQ(item.GetNumber(kUid), 0);
    EXPECT_TRUE(item.Has(kUid));
    item.SetText(kUid, "99999999999");
    EXPECT_EQ(item.GetNumber(kUid), INT32_MAX);
    item.SetText(kUid, "-99999999999");
    EXPECT_EQ(item.GetNumber(kUid), INT32_MIN);
}

TEST(IndexItem, ANumberAboveTheSignedRangePrintsSigned)
{
    IndexItemPropertyContainer item;
    item.SetNumber(kUid, static_cast<int32_t>(0xFFFFFFFEu));
    EXPECT_EQ(TextOf(item, kUid), "-2");
    EXPECT_EQ(item.Uid(), 0xFFFFFFFEu);
}

TEST(IndexItem, ANumberInATextPropertyIsStoredInDecimal)
{
    IndexItemPropertyContainer item;
    item.SetNumber("SIZE", -42);
    EXPECT_EQ(TextOf(item, "SIZE"), "-42");
    EXPECT_EQ(item.GetNumber("SIZE"), -42);
    item.SetText("SIZE", "2048 bytes");
    EXPECT_EQ(item.GetNumber("SIZE"), 2048);
}

TEST(IndexItem, AnIntegerHasNoTextInPlace)
{
    IndexItemPropertyContainer item;
    item.SetNumber(kUid, 7);
    EXPECT_TRUE(item.View(kUid).empty());
    EXPECT_EQ(TextOf(item, kUid), "7");
}

TEST(IndexItem, ACallersBufferIsEmptiedFirstAndNeverOverrun)
{
    IndexItemPropertyContainer item;
    char buffer[8] = "before";
    EXPECT_FALSE(item.GetInto("SUBJECT", buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "");
    item.SetText("SUBJECT", "1234567");
    EXPECT_TRUE(item.GetInto("SUBJECT", buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "1234567");
    item.SetText("SUBJECT", "12345678 and more");
    EXPECT_TRUE(item.GetInto("SUBJECT", buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "1234567");
    item.SetNumber(kUid, 12);
    EXPECT_TRUE(item.GetInto(kUid, buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "12");
}

TEST(IndexItem, RemovingATextMakesItAbsent)
{
    IndexItemPropertyContainer item;
    item.SetText("SUBJECT", "x");
    item.Remove(IndexPropertyTable::LookUp("SUBJECT"));
    EXPECT_FALSE(item.Has("SUBJECT"));
    item.Remove(IndexPropertyTable::LookUp("SUBJECT"));
    EXPECT_FALSE(item.Has("SUBJECT"));
    item.SetText("SUBJECT", "y");
    EXPECT_EQ(TextOf(item, "SUBJECT"), "y");
}

TEST(IndexItem, ATextInAnArenaIsReadReplacedAndRemovedLikeAnyOther)
{
    TextArena arena;
    IndexItemPropertyContainer item;
    const IndexPropertyRef subject = IndexPropertyTable::LookUp("SUBJECT");
    const auto adopt = [&](std::string_view bytes) {
        ItemText* text = arena.Allocate(bytes.size());
        bytes.copy(text->Bytes, bytes.size());
        item.AdoptText(subject, text);
    };
    item.SetText(subject, "own");
    adopt("adopted");
    EXPECT_EQ(item.View(subject), "adopted");
    adopt("");
    EXPECT_TRUE(item.Has(subject));
    EXPECT_EQ(item.View(subject), "");
    item.SetText(subject, "own again");
    EXPECT_EQ(item.View(subject), "own again");
    adopt("last");
    item.Remove(subject);
    EXPECT_FALSE(item.Has(subject));
}

TEST(IndexItem, SettingOnlyTheIdTouchesNoOtherItem)
{
    IndexItemPropertyContainer first;
    IndexItemPropertyContainer second;
    first.SetText(kId, "1.MAI");
    EXPECT_EQ(first.Id(), "1.MAI");
    EXPECT_EQ(second.Id(), "");
}

TEST(IndexItem, ResetKeepsIdAndUidAlone)
{
    IndexItemPropertyContainer item;
    item.SetText(kId, "2011A.MAI");
    item.SetNumber(kUid, 17);
    item.SetNumber(kRead, 1);
    item.SetText("SUBJECT", "text");
    item.SetText(kVlStatus, "1");
    item.ResetKeepingKeys();
    EXPECT_EQ(item.Id(), "2011A.MAI");
    EXPECT_EQ(item.Uid(), 17u);
    EXPECT_FALSE(item.Has("SUBJECT"));
    EXPECT_FALSE(item.Has(kVlStatus));
    EXPECT_FALSE(item.Has(kRead));
    item.SetText("SUBJECT", "new");
    EXPECT_EQ(TextOf(item, "SUBJECT"), "new");
    EXPECT_EQ(TextOf(item, kRead), "0");
}

TEST(IndexItem, CopyGivesEveryPresentPropertyInNameOrder)
{
    IndexItemPropertyContainer item;
    item.SetText(kId, "9.MAI");
    item.SetNumber(kUid, 9);
    item.SetText("SUBJECT", "");
    item.SetText("CC", "who");
    std::map<std::string, std::string> properties;
    item.CopyTo(properties);
    const std::map<std::string, std::string> expected = {{"CC", "who"}, {"ID", "9.MAI"}, {"READ", "0"}, {"SUBJECT", ""}, {"UID", "9"}};
    EXPECT_EQ(properties, expected);
}

TEST(IndexItem, NamesDifferByCase)
{
    IndexItemPropertyContainer item;
    item.SetText("SUBJECT", "upper");
    EXPECT_FALSE(item.Has("Subject"));
    item.SetText("Subject", "mixed");
    EXPECT_EQ(TextOf(item, "SUBJECT"), "upper");
}

// --- marking -------------------------------------------------------------------------------------------------------

TEST(ItemMarking, AnItemOutsideATableMarksNothing)
{
    auto item = NewItem("1.MAI", 5);
    MarkItemChanged(*item);
    EXPECT_TRUE(SetItemKeyProperty(*item, "SUBJECT", "x"));
    EXPECT_EQ(item->Owner, nullptr);
}

TEST(ItemMarking, TheLowestChangedUidIsRemembered)
{
    TestTable table;
    auto* first = Add(table, "1.MAI", 10);
    auto* second = Add(table, "2.MAI", 20);
    table.FirstDirtyUID = 0;
    EXPECT_TRUE(SetItemKeyProperty(*second, "SUBJECT", "x"));
    EXPECT_EQ(table.FirstDirtyUID, 20);
    EXPECT_TRUE(SetItemKeyProperty(*first, "SUBJECT", "x"));
    EXPECT_EQ(table.FirstDirtyUID, 10);
    EXPECT_TRUE(SetItemKeyProperty(*second, "SUBJECT", "y"));
    EXPECT_EQ(table.FirstDirtyUID, 10);
}

TEST(ItemMarking, SettingSeqMarksNothing)
{
    TestTable table;
    auto* item = Add(table, "1.MAI", 10);
    table.FirstDirtyUID = 0;
    EXPECT_TRUE(SetItemKeyProperty(*item, kSeq, "4"));
    EXPECT_TRUE(SetItemProperty(*item, "SEQ", "5"));
    EXPECT_EQ(table.FirstDirtyUID, 0);
    EXPECT_EQ(TextOf(*item, kSeq), "5");
}

TEST(ItemMarking, ReadFollowsTheLibrarysOwnFlagStatusName)
{
    TestTable table;
    auto* item = Add(table, "1.MAI", 10);
    table.FirstDirtyUID = 0;
    EXPECT_TRUE(SetItemProperty(*item, kFlagStatus, "\\ANSWERED \\seen"));
    EXPECT_EQ(item->GetNumber(kRead), 1);
    EXPECT_EQ(table.FirstDirtyUID, 10);
    EXPECT_TRUE(SetItemProperty(*item, kFlagStatus, "\\ANSWERED"));
    EXPECT_EQ(item->GetNumber(kRead), 0);
    EXPECT_EQ(TextOf(*item, "FLAGSTATUS"), "\\ANSWERED");
}

TEST(ItemMarking, AHostsSpellingOfFlagStatusLeavesReadAsItWas)
{
    TestTable table;
    auto* item = Add(table, "1.MAI", 10);
    const std::string hostsName = "FLAGSTATUS";
    EXPECT_TRUE(SetItemProperty(*item, hostsName.c_str(), "\\SEEN"));
    EXPECT_EQ(TextOf(*item, "FLAGSTATUS"), "\\SEEN");
    EXPECT_EQ(item->GetNumber(kRead), 0);
    EXPECT_TRUE(SetItemProperty(*item, kFlagStatus, "\\SEEN"));
    EXPECT_TRUE(SetItemProperty(*item, hostsName.c_str(), ""));
    EXPECT_EQ(item->GetNumber(kRead), 1);
}

TEST(ItemMarking, TheKeySetterNeverMovesRead)
{
    TestTable table;
    auto* item = Add(table, "1.MAI", 10);
    EXPECT_TRUE(SetItemKeyProperty(*item, kFlagStatus, "\\SEEN"));
    EXPECT_EQ(item->GetNumber(kRead), 0);
}

TEST(ItemMarking, ClearingVlStatusMarksOnlyWhenItWasThere)
{
    TestTable table;
    auto* item = Add(table, "1.MAI", 10);
    table.FirstDirtyUID = 0;
    ClearVlStatus(*item);
    EXPECT_EQ(table.FirstDirtyUID, 0);
    item->SetText(kVlStatus, "");
    ClearVlStatus(*item);
    EXPECT_FALSE(item->Has(kVlStatus));
    EXPECT_EQ(table.FirstDirtyUID, 10);
}

}  // namespace
}  // namespace velmora::test
