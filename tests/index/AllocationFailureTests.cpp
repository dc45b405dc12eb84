// Memory that runs out in the middle of an insert or a removal: each allocation fails once, and the table stays in step.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <set>
#include <string>

#include "tests/index/TestTable.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

// Runs `body` with its n-th allocation failing; true when it got through without meeting that one.
template <typename Body>
bool CompletesWithFailureAt(uint32_t n, Body body)
{
    const AllocationFault fault(n, FaultSpan::Once);
    try {
        body();
    } catch (const std::bad_alloc&) {
        return false;
    }
    // A failure that was met and dealt with inside counts as one more round.
    return AllocationFault::Hits() == 0;
}

// Every item is in all three orderings, or among the removed ones, and nowhere twice.
void ExpectInStep(SORTEDSTOREINDEXTYPE& table)
{
    IndexTableContent& content = ContentOf(table);
    std::set<const IndexItemPropertyContainer*> owned;
    for (IndexItemPropertyContainer* item : content.Sequence) {
        EXPECT_TRUE(owned.insert(item).second);
        EXPECT_EQ(content.ByID.Find(item->Id()), item);
        EXPECT_EQ(content.ByUID.Find(item->Uid()), item);
    }
    for (IndexItemPropertyContainer* item : content.RemovedItems) {
        EXPECT_TRUE(owned.insert(item).second);
        EXPECT_NE(content.ByID.Find(item->Id()), item);
        EXPECT_NE(content.ByUID.Find(item->Uid()), item);
    }
    EXPECT_EQ(content.ByID.Count(), content.Sequence.size());
    EXPECT_EQ(content.ByUID.Count(), content.Sequence.size());
}

// Sizes at which one of the orderings has to grow with the next item.
constexpr uint32_t kSizes[] = {0, 1, 4, 8, 16, 64, 1024, 2048};

TEST(AllocationFailure, AnInsertThatRunsOutOfMemoryLeavesTheItemWithItsCaller)
{
    for (const uint32_t size : kSizes) {
        TestTable table;
        for (uint32_t i = 0; i < size; ++i) ASSERT_NE(Add(table, "n" + std::to_string(i)), nullptr);
        uint32_t n = 1;
        for (;; ++n) {
            ASSERT_LT(n, 100u);
            auto item = std::make_unique<IndexItemPropertyContainer>();
            item->SetText(kId, "new");
            bool taken = false;
            const bool completed = CompletesWithFailureAt(n, [&] { taken = InsertItem(table, item.get()); });
            if (taken) item.release();
            ExpectInStep(table);
            EXPECT_EQ(ItemCountOf(table), size + (taken ? 1 : 0));
            if (completed) {
                EXPECT_TRUE(taken);
                break;
            }
            if (taken) {
                ASSERT_EQ(RemoveItems(table, "new"), 1u);
            }
        }
        if (size == 0) {
            EXPECT_GT(n, 2u);
        }
    }
}

TEST(AllocationFailure, AnInsertBetweenOthersThatRunsOutOfMemoryKeepsTheTableInStep)
{
    for (const uint32_t size : {8u, 1024u}) {
        TestTable table;
        for (uint32_t i = 1; i <= size; ++i) ASSERT_NE(Add(table, "n" + std::to_string(i), i * 10), nullptr);
        for (uint32_t n = 1;; ++n) {
            ASSERT_LT(n, 100u);
            auto item = NewItem("new", 15);
            bool taken = false;
            const bool completed = CompletesWithFailureAt(n, [&] { taken = InsertItem(table, item.get()); });
            if (taken) item.release();
            ExpectInStep(table);
            if (completed) break;
            if (taken) {
                ASSERT_EQ(RemoveItems(table, "new"), 1u);
            }
        }
    }
}

TEST(AllocationFailure, ARemovalThatRunsOutOfMemoryRemovesAnItemOnceOrNotAtAll)
{
    for (const char* list : {"n1", "n0,n2,n5,absent", "*", "*,n3"}) {
        bool anyFailed = false;
        for (uint32_t n = 1;; ++n) {
            ASSERT_LT(n, 200u);
            TestTable table;
            for (uint32_t i = 0; i < 20; ++i) ASSERT_NE(Add(table, "n" + std::to_string(i)), nullptr);
            const bool completed = CompletesWithFailureAt(n, [&] { EXPECT_EQ(RemoveItems(table, list), 1u); });
            anyFailed = anyFailed || !completed;
            ExpectInStep(table);
            EXPECT_EQ(ContentOf(table).Sequence.size() + ContentOf(table).RemovedItems.size(), 20u);
            if (completed) break;
            ASSERT_EQ(RemoveItems(table, list), 1u);
            ExpectInStep(table);
            uint32_t seq = 0;
            for (const IndexItemPropertyContainer* item : ContentOf(table).Sequence) EXPECT_EQ(TextOf(*item, kSeq), std::to_string(++seq));
        }
        EXPECT_TRUE(anyFailed) << list;
    }
}

}  // namespace
}  // namespace velmora::test
