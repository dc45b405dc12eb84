// The two orderings against std::map, with fixed seeds.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "index/IdOrder.h"
#include "index/UidOrder.h"
#include "tests/index/Dice.h"
#include "tests/index/TestTable.h"

namespace velmora::test {
namespace {

using UidMap = std::map<uint32_t, IndexItemPropertyContainer*>;

// The orderings never look into an item by UID, so any distinct address stands for one.
IndexItemPropertyContainer* Marker(uint32_t number) { return reinterpret_cast<IndexItemPropertyContainer*>(uintptr_t{number} * 16 + 16); }

UidMap Content(const UidOrder& order, uint32_t from = 0)
{
    UidMap found;
    int64_t previous = -1;
    order.ForEachFrom(from, [&](uint32_t uid, IndexItemPropertyContainer* item) {
        EXPECT_LT(previous, int64_t{uid}) << "not ascending";
        previous = uid;
        found.emplace(uid, item);
    });
    return found;
}

void CompareUidOrder(const UidOrder& order, const UidMap& map, Dice& dice, uint32_t range)
{
    ASSERT_EQ(order.Count(), map.size());
    ASSERT_EQ(Content(order), map);
    ASSERT_EQ(order.LastUid(), map.empty() ? 0u : map.rbegin()->first);
    for (int i = 0; i < 5; ++i) {
        const uint32_t from = dice.Below(range + 2);
        const auto at = map.lower_bound(from);
        ASSERT_EQ(order.FirstFrom(from), at == map.end() ? nullptr : at->second);
        ASSERT_EQ(Content(order, from), UidMap(at, map.end()));
    }
}

TEST(UidOrder, EqualsASortedMapUnderRandomInsertsAndErases)
{
    for (const uint32_t range : {20u, 3000u, 50000u}) {
        Dice dice(range);
        UidOrder order;
        UidMap map;
        for (int step = 0; step < 20000; ++step) {
            const uint32_t uid = dice.Below(range);
            if (!dice.OneIn(3)) {
                ASSERT_EQ(order.Insert(uid, Marker(static_cast<uint32_t>(step))),
                          map.emplace(uid, Marker(static_cast<uint32_t>(step))).second);
            } else {
                ASSERT_EQ(order.Erase(uid), map.erase(uid) == 1);
            }
            const uint32_t looked = dice.Below(range);
            const auto at = map.find(looked);
            ASSERT_EQ(order.Find(looked), at == map.end() ? nullptr : at->second);
            if (step % 2000 == 0) CompareUidOrder(order, map, dice, range);
        }
        CompareUidOrder(order, map, dice, range);
        while (!map.empty()) {
            const uint32_t uid = map.begin()->first;
            ASSERT_TRUE(order.Erase(uid));
            map.erase(uid);
        }
        CompareUidOrder(order, map, dice, range);
    }
}

TEST(UidOrder, AscendingAndDescendingInsertsGiveTheSameOrder)
{
    UidOrder up;
    UidOrder down;
    for (uint32_t uid = 1; uid <= 5000; ++uid) ASSERT_TRUE(up.Insert(uid, Marker(uid)));
    for (uint32_t uid = 5000; uid >= 1; --uid) ASSERT_TRUE(down.Insert(uid, Marker(uid)));
    EXPECT_EQ(Content(up), Content(down));
    EXPECT_EQ(up.LastUid(), 5000u);
}

TEST(UidOrder, UidsCompareUnsigned)
{
    UidOrder order;
    ASSERT_TRUE(order.Insert(0xFFFFFFFFu, Marker(1)));
    ASSERT_TRUE(order.Insert(0x7FFFFFFFu, Marker(2)));
    ASSERT_TRUE(order.Insert(0x80000000u, Marker(3)));
    ASSERT_TRUE(order.Insert(0, Marker(4)));
    EXPECT_EQ(order.LastUid(), 0xFFFFFFFFu);
    EXPECT_EQ(order.FirstFrom(0x80000000u), Marker(3));
    EXPECT_EQ(order.FirstFrom(0), Marker(4));
    EXPECT_FALSE(order.Insert(0xFFFFFFFFu, Marker(5)));
    EXPECT_EQ(Content(order).size(), 4u);
}

TEST(UidOrder, AClearedOrderIsEmptyAndCanBeFilledAgain)
{
    UidOrder order;
    for (uint32_t uid = 1; uid <= 3000; ++uid) ASSERT_TRUE(order.Insert(uid, Marker(uid)));
    order.Clear();
    EXPECT_EQ(order.Count(), 0u);
    EXPECT_EQ(order.LastUid(), 0u);
    EXPECT_EQ(order.FirstFrom(0), nullptr);
    EXPECT_EQ(order.Find(5), nullptr);
    EXPECT_FALSE(order.Erase(5));
    EXPECT_TRUE(order.Insert(2, Marker(2)));
    EXPECT_EQ(Content(order).size(), 1u);
}

TEST(IdOrder, EqualsASortedMapUnderRandomInsertsAndErases)
{
    for (const uint32_t range : {10u, 300u, 5000u}) {
        Dice dice(range);
        std::vector<std::unique_ptr<IndexItemPropertyContainer>> items;
        const auto idOf = [](uint32_t number) {
            return std::string(number % 7, static_cast<char>(0xF0)) + std::to_string(number) + ".MAI";
        };
        for (uint32_t i = 0; i < range; ++i) items.push_back(NewItem(idOf(i)));
        IdOrder order;
        std::map<std::string, IndexItemPropertyContainer*> map;
        for (int step = 0; step < 20000; ++step) {
            const uint32_t number = dice.Below(range);
            const std::string id = idOf(number);
            if (!dice.OneIn(3))
                ASSERT_EQ(order.Insert(items[number].get()), map.emplace(id, items[number].get()).second);
            else
                ASSERT_EQ(order.Erase(id), map.erase(id) == 1);
            const std::string looked = idOf(dice.Below(range + 3));
            const auto at = map.find(looked);
            ASSERT_EQ(order.Find(looked), at == map.end() ? nullptr : at->second);
            ASSERT_EQ(order.Count(), map.size());
        }
        const std::vector<IndexItemPropertyContainer*> sorted = order.Sorted();
        ASSERT_EQ(sorted.size(), map.size());
        size_t i = 0;
        for (const auto& [id, item] : map) ASSERT_EQ(sorted[i++], item) << id;
    }
}

TEST(IdOrder, IdsAreComparedByteByByteAndMayBeEmpty)
{
    IdOrder order;
    const auto lower = NewItem("a.mai");
    const auto upper = NewItem("A.MAI");
    const auto empty = NewItem("");
    const auto high = NewItem("\xE9.MAI");
    const auto twin = NewItem("A.MAI");
    EXPECT_TRUE(order.Insert(high.get()));
    EXPECT_TRUE(order.Insert(lower.get()));
    EXPECT_TRUE(order.Insert(upper.get()));
    EXPECT_TRUE(order.Insert(empty.get()));
    EXPECT_FALSE(order.Insert(twin.get()));
    EXPECT_EQ(order.Find("A.MAI"), upper.get());
    EXPECT_EQ(order.Find("A.mai"), nullptr);
    const std::vector<IndexItemPropertyContainer*> expected = {empty.get(), upper.get(), lower.get(), high.get()};
    EXPECT_EQ(order.Sorted(), expected);
    order.Clear();
    EXPECT_EQ(order.Count(), 0u);
    EXPECT_EQ(order.Find("A.MAI"), nullptr);
    EXPECT_TRUE(order.Sorted().empty());
    EXPECT_TRUE(order.Insert(twin.get()));
}

}  // namespace
}  // namespace velmora::test
