// What was written comes back, by whatever sequence of saves it got there.
#include <gtest/gtest.h>

#include <string>

#include "tests/persistence/ChangeSequence.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/persistence/WrittenItems.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

// fuzz/WrittenItemsFuzz and fuzz/ChangeSequenceFuzz drive the same properties with bytes that find new ways.
TEST(RoundTrip, AnyItemsComeBackEqual)
{
    const IndexFolder folder;
    for (uint64_t seed = 1; seed <= 120; ++seed) {
        SeededChoices choices(seed);
        ASSERT_EQ(WriteAnyItems(folder, choices), "") << "seed " << seed;
    }
}

TEST(RoundTrip, AnySequenceOfSavesInPlaceGivesWhatOneFullRewriteGives)
{
    const IndexFolder folder;
    const IndexFolder elsewhere;
    for (uint64_t seed = 1000; seed < 1050; ++seed) {
        SeededChoices choices(seed);
        ASSERT_EQ(ChangeFolder(folder, elsewhere, choices, 60), "") << "seed " << seed;
    }
}

// Loads of a part turn into full ones as soon as a few items have been removed, and the file is rewritten now and then.
TEST(RoundTrip, AnySequenceOfSavesWithALowThresholdForTombstonesGivesTheSame)
{
    const IndexFolder folder;
    const IndexFolder elsewhere;
    TestStore store;
    store.SetNumber("Index Garbage Collection Threshold", 3);
    for (uint64_t seed = 2000; seed < 2030; ++seed) {
        SeededChoices choices(seed);
        ASSERT_EQ(ChangeFolder(folder, elsewhere, choices, 60), "") << "seed " << seed;
    }
}

TEST(RoundTrip, TombstonesPileUpUntilTheThresholdAndAreThenCollected)
{
    IndexFolder folder;
    TestTable table;
    for (int i = 0; i < 600; ++i) Add(table, std::to_string(i) + ".MAI");
    ASSERT_EQ(folder.Save(table), 1u);
    const size_t sizeBefore = folder.Bytes().size();
    std::string list;
    for (int i = 0; i < 500; ++i) list += std::to_string(i) + ".MAI,";
    LoadedTable second(folder, 2);
    ASSERT_EQ(RemoveItems(second, list.c_str()), 1u);
    ASSERT_EQ(folder.Save(second), 1u);
    EXPECT_EQ(folder.Bytes().size(), sizeBefore);
    LoadedTable third(folder, 2);
    EXPECT_EQ(third.LoadLevel, 3);
    EXPECT_EQ(third.RewriteRequired, 1);
    EXPECT_EQ(ItemCountOf(third), 100u);
    ASSERT_EQ(folder.Save(third), 1u);
    EXPECT_LT(folder.Bytes().size(), sizeBefore / 4);
    LoadedTable fourth(folder, 2);
    EXPECT_EQ(fourth.LoadLevel, 2);
    EXPECT_EQ(fourth.RewriteRequired, 0);
    EXPECT_EQ(ItemCountOf(fourth), 100u);
    EXPECT_EQ(fourth.LastUID, 600u);
}

TEST(RoundTrip, UidsBeyondTheSignedRangeComeBack)
{
    IndexFolder folder;
    TestTable table;
    table.LastUID = 0x7FFFFFFEu;
    for (const char* id : {"a", "b", "c"}) ASSERT_NE(Add(table, id), nullptr);
    EXPECT_EQ(table.LastUID, 0x80000001u);
    ASSERT_EQ(folder.Save(table), 1u);
    LoadedTable fresh(folder);
    ASSERT_EQ(fresh.LoadLevel, 3);
    EXPECT_EQ(IdsByUid(fresh), "a b c");
    EXPECT_EQ(fresh["c"].Uid(), 0x80000001u);
}

TEST(RoundTrip, NamesThatTheFormatCannotHoldDoNotSpoilTheFile)
{
    IndexFolder folder;
    TestTable table;
    auto* item = Add(table, "a");
    for (const char* name : {"/X", "a<b", "a>b", "ELEMENTS", "BASEELEMENT"}) item->SetText(name, "value");
    // What XML would take for something else.
    for (const char* name : {"!x", "?x", "a/"}) item->SetText(name, "left out");
    item->SetText("SUBJECT", "kept");
    ASSERT_EQ(folder.Save(table), 1u);
    EXPECT_EQ(folder.Bytes().find("left out"), std::string::npos);
    LoadedTable fresh(folder);
    ASSERT_EQ(fresh.LoadLevel, 3);
    EXPECT_EQ(TextOf(fresh["a"], "SUBJECT"), "kept");
}

}  // namespace
}  // namespace velmora::test
