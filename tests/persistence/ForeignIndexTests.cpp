// Files that others wrote or damaged, loaded, changed and saved.
#include <gtest/gtest.h>

#include <string>

#include "tests/persistence/ForeignIndex.h"
#include "tests/persistence/MutatedFiles.h"

namespace velmora::test {
namespace {

void ChangeFiles(uint64_t firstSeed, uint64_t rounds, bool damage)
{
    const IndexFolder folder;
    for (uint64_t seed = firstSeed; seed < firstSeed + rounds; ++seed) {
        Dice dice(seed);
        std::string bytes = RandomFile(dice);
        if (damage) Damage(bytes, dice);
        SeededChoices choices(seed);
        ASSERT_EQ(ChangeForeignFile(folder, bytes, choices), "") << "seed " << seed << "\nfile: " << bytes.substr(0, 3000);
    }
}

// An element whose ID another one has is in the file and not in the table.
TEST(ForeignIndex, TheRemovalOfAnItemDoesNotBringUpAnotherElementOfItsId)
{
    const IndexFolder folder;
    folder.Write(IndexFile(9, Element("a", 5) + Element("a", 7) + Element("b", 9)));
    LoadedTable table(folder);
    ASSERT_EQ(IdsByUid(table), "a b");
    ASSERT_EQ(RemoveItems(table, "a"), 1u);
    ASSERT_EQ(folder.Save(table), 1u);
    LoadedTable fresh(folder);
    ASSERT_EQ(fresh.LoadLevel, 3);
    EXPECT_EQ(IdsByUid(fresh), "b");
}

TEST(ForeignIndex, APartOfAFileWithAnIdTwiceIsNotSaved)
{
    const IndexFolder folder;
    const std::string bytes = IndexFile(9, Element("a", 5) + Element("a", 7) + Element("b", 9));
    folder.Write(bytes);
    LoadedTable table(folder, 2);
    ASSERT_EQ(RemoveItems(table, "a"), 1u);
    EXPECT_EQ(folder.Save(table), 0u);
    EXPECT_EQ(folder.Bytes(), bytes);
}

// A child of somebody else's file may name any ID. One that no start tag can hold stays in memory; the file keeps to the rest.
TEST(ForeignIndex, AnItemWhoseIdNoTagCanHoldIsLeftOutOfARewrite)
{
    for (const char* const id : {"a\"c", "\"", "a&gt;c", "--"}) {
        const IndexFolder folder;
        folder.Write(IndexFile(9, Element("a", 5, {{"ID", id}}) + Element("b", 9)));
        LoadedTable table(folder);
        ASSERT_EQ(table.LoadLevel, 3) << id;
        ASSERT_EQ(ContentOf(table).ByID.Sorted().size(), 2u) << id;
        table.RewriteRequired = 1;
        ASSERT_EQ(folder.Save(table), 1u) << id;
        LoadedTable fresh(folder);
        EXPECT_EQ(fresh.LoadLevel, 3) << id;
        EXPECT_EQ(IdsByUid(fresh), "b") << id << "\n" << folder.Bytes();
        EXPECT_EQ(folder.Bytes().find("UID=\"5\""), std::string::npos) << id;
    }
}

// fuzz/ForeignIndexFuzz drives the same property.
TEST(ForeignIndex, AFileThatOthersWroteKeepsItsItemsThroughAChange) { ChangeFiles(1, 700, false); }
TEST(ForeignIndex, ADamagedFileIsNeverMadeWorseByAChange) { ChangeFiles(100000, 1200, true); }

}  // namespace
}  // namespace velmora::test
