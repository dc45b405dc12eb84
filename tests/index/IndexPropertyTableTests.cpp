#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "index/IndexPropertyTable.h"
#include "tests/index/TestTable.h"

namespace velmora::test {
namespace {

TEST(IndexPropertyTable, TheFirstThreeNamesAreSeededWithTheirKinds)
{
    const IndexPropertyRef id = IndexPropertyTable::LookUp("ID");
    const IndexPropertyRef uid = IndexPropertyTable::LookUp("UID");
    const IndexPropertyRef read = IndexPropertyTable::LookUp("READ");
    EXPECT_EQ(id.Slot, 0);
    EXPECT_EQ(id.Kind, 0u);
    EXPECT_EQ(uid.Slot, 1);
    EXPECT_EQ(uid.Kind, 1u);
    EXPECT_EQ(read.Slot, 2);
    EXPECT_EQ(read.Kind, 1u);
}

TEST(IndexPropertyTable, ANewNameTakesTheNextSlotAndIsText)
{
    const size_t before = IndexPropertyTable::Count();
    const IndexPropertyRef first = IndexPropertyTable::LookUp("TABLETEST_FIRST");
    const IndexPropertyRef second = IndexPropertyTable::LookUp("TABLETEST_SECOND");
    EXPECT_GE(first.Slot, 3);
    EXPECT_GE(first.Slot, static_cast<int32_t>(before));
    EXPECT_EQ(first.Kind, 0u);
    EXPECT_EQ(second.Slot, first.Slot + 1);
    EXPECT_EQ(IndexPropertyTable::LookUp("TABLETEST_FIRST").Slot, first.Slot);
    EXPECT_EQ(IndexPropertyTable::Count(), static_cast<size_t>(second.Slot) + 1);
}

TEST(IndexPropertyTable, NamesAreComparedByteByByte)
{
    const int32_t upper = IndexPropertyTable::LookUp("TABLETEST_CASE").Slot;
    EXPECT_NE(IndexPropertyTable::LookUp("TableTest_Case").Slot, upper);
    EXPECT_NE(IndexPropertyTable::LookUp(std::string_view("TABLETEST_CASE\0", 15)).Slot, upper);
    EXPECT_GE(IndexPropertyTable::LookUp("").Slot, 3);
}

TEST(IndexPropertyTable, TheListIsInByteOrderAndHoldsEveryName)
{
    IndexPropertyTable::LookUp("a lower-case name");
    IndexPropertyTable::LookUp("\xff\xfe");
    IndexPropertyTable::LookUp("ZZZ");
    const auto names = IndexPropertyTable::ByName();
    ASSERT_TRUE(names);
    EXPECT_EQ(names->size(), IndexPropertyTable::Count());
    EXPECT_TRUE(std::is_sorted(names->begin(), names->end(), [](const auto& a, const auto& b) { return a.Name < b.Name; }));
    std::set<int32_t> slots;
    for (const NamedProperty& entry : *names) {
        EXPECT_EQ(IndexPropertyTable::LookUp(entry.Name).Slot, entry.Ref.Slot) << entry.Name;
        slots.insert(entry.Ref.Slot);
    }
    EXPECT_EQ(slots.size(), names->size());
    EXPECT_EQ(*slots.begin(), 0);
    EXPECT_EQ(*slots.rbegin(), static_cast<int32_t>(names->size()) - 1);
}

TEST(IndexPropertyTable, AListOnceTakenDoesNotChange)
{
    const auto names = IndexPropertyTable::ByName();
    const size_t size = names->size();
    IndexPropertyTable::LookUp("TABLETEST_LATER");
    EXPECT_EQ(names->size(), size);
    EXPECT_EQ(IndexPropertyTable::ByName()->size(), size + 1);
}

TEST(IndexPropertyTable, EightThreadsInterningTheSameNamesAgreeOnEverySlot)
{
    constexpr int kThreads = 8;
    constexpr int kNames = 200;
    std::vector<std::vector<int32_t>> slots(kThreads, std::vector<int32_t>(kNames));
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            std::vector<int> order(kNames);
            for (int i = 0; i < kNames; ++i) order[static_cast<size_t>(i)] = i;
            std::shuffle(order.begin(), order.end(), std::mt19937(static_cast<unsigned>(t)));
            for (const int i : order) {
                slots[static_cast<size_t>(t)][static_cast<size_t>(i)] = IndexPropertyTable::LookUp("THREADTEST_" + std::to_string(i)).Slot;
                IndexPropertyTable::ByName();
            }
        });
    for (std::thread& thread : threads) thread.join();
    std::set<int32_t> distinct(slots[0].begin(), slots[0].end());
    EXPECT_EQ(distinct.size(), static_cast<size_t>(kNames));
    for (int t = 1; t < kThreads; ++t) EXPECT_EQ(slots[static_cast<size_t>(t)], slots[0]);
    EXPECT_EQ(IndexPropertyTable::Count(), IndexPropertyTable::ByName()->size());
}

// Fills the table, which would spoil it for the tests behind this one: hence in a process of its own.
[[noreturn]] void FillTheTableAndLookBeyond()
{
    IndexItemPropertyContainer item;
    item.SetText("BOUNDTEST_KNOWN", "kept");
    for (size_t i = 0; IndexPropertyTable::Count() < kMaxPropertyNames; ++i) IndexPropertyTable::LookUp("BOUNDTEST_" + std::to_string(i));
    bool good = IndexPropertyTable::LookUp("BOUNDTEST_BEYOND").Slot == -1;
    good = good && IndexPropertyTable::Count() == kMaxPropertyNames;
    item.SetText("BOUNDTEST_BEYOND", "dropped");
    item.SetNumber("BOUNDTEST_BEYOND", 4);
    std::string value = "before";
    good = good && !item.Has("BOUNDTEST_BEYOND") && !item.GetText("BOUNDTEST_BEYOND", value) && value == "before";
    good = good && item.GetNumber("BOUNDTEST_BEYOND") == 0 && item.View("BOUNDTEST_BEYOND").empty();
    good = good && !SetItemProperty(item, "BOUNDTEST_BEYOND", "x");
    item.Remove(IndexPropertyTable::LookUp("BOUNDTEST_BEYOND"));
    good = good && TextOf(item, "BOUNDTEST_KNOWN") == "kept";
    const std::string last = "BOUNDTEST_" + std::to_string(5);
    item.SetText(last, "still stored");
    good = good && TextOf(item, last) == "still stored";
    std::_Exit(good ? 0 : 1);
}

// A process that has met more names than the table takes, and then works on a folder of messages.
[[noreturn]] void FillTheTableAndWorkOnMessages()
{
    for (int i = 0; i < 1100; ++i) IndexPropertyTable::LookUp("BOUNDTEST_" + std::to_string(i));
    IndexItemPropertyContainer item;
    bool good = SetItemProperty(item, kFlagStatus, "\\SEEN") && TextOf(item, kFlagStatus) == "\\SEEN" && item.GetNumber(kRead) == 1;
    for (const char* const column : {"ATTACHMENTS", "CC", "CLASS", "FROM", "IMPORTANCE", "MESSAGEDATE", "MODIFIEDDATE", "RECEIVED", "SIZE",
                                     "SUBJECT", "TO", "VL_STATUS"})
        good = good && SetItemProperty(item, column, column) && TextOf(item, column) == column;
    TestTable table;
    for (const char* const id : {"1.MAI", "2.MAI"}) good = good && Add(table, id);
    good = good && FindLoadedItem(table, "2.MAI")->GetNumber(kSeq) == 2;
    good = good && IndexPropertyTable::LookUp("BOUNDTEST_BEYOND").Slot == -1;
    std::_Exit(good ? 0 : 1);
}

TEST(IndexPropertyTableDeathTest, TheLibrarysOwnColumnsHaveAPlaceInAFullTable)
{
    EXPECT_EXIT(FillTheTableAndWorkOnMessages(), testing::ExitedWithCode(0), "");
}

TEST(IndexPropertyTableDeathTest, ANameBeyondTheBoundIsNeverPresentAndIsNotStored)
{
    EXPECT_EXIT(FillTheTableAndLookBeyond(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace velmora::test
