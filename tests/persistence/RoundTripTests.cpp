// What was written comes back, by whatever sequence of saves it got there.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/index/Dice.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/support/Captured.h"

namespace velmora::test {
namespace {

using Properties = std::map<std::string, std::string>;
// The folder as it should be: by UID, what each item holds.
using Model = std::map<uint32_t, Properties>;

const char* const kColumns[] = {"SUBJECT", "TO", "FLAGS", "SIZE", "READ", "X-Column", "a lower-case column"};

std::string RandomText(Dice& dice)
{
    std::string text;
    const uint32_t size = dice.OneIn(20) ? dice.Below(3000) : dice.Below(40);
    while (text.size() < size) text += dice.OneIn(3) ? dice.Byte() : "ab<>&;#x\r\n\t \""[dice.Below(13)];
    return text;
}

std::string RandomValue(const std::string& column, Dice& dice)
{
    return column == "READ" ? std::to_string(dice.Below(2)) : RandomText(dice);
}

Model ModelOf(SORTEDSTOREINDEXTYPE& table)
{
    Model model;
    ContentOf(table).ByUID.ForEach([&](uint32_t uid, IndexItemPropertyContainer* item) {
        Properties& properties = model[uid];
        item->CopyTo(properties);
        properties.erase("SEQ");
        properties.erase("IDX");
    });
    return model;
}

void ExpectFolderHolds(const IndexFolder& folder, const Model& model, uint64_t seed)
{
    TestTable fresh;
    ASSERT_EQ(folder.Load(fresh), 3) << "seed " << seed;
    ASSERT_EQ(ModelOf(fresh), model) << "seed " << seed;
    // Places in the file are places of elements, and SEQ is dense.
    const std::string bytes = folder.Bytes();
    uint32_t seq = 0;
    for (const IndexItemPropertyContainer* item : ContentOf(fresh).Sequence) {
        ASSERT_EQ(bytes.substr(item->FileOffset, 8), "<ELEMENT") << "seed " << seed;
        ASSERT_EQ(bytes.substr(item->FileOffset + item->FileLength - 10, 10), "</ELEMENT>") << "seed " << seed;
        ASSERT_EQ(TextOf(*item, kSeq), std::to_string(++seq)) << "seed " << seed;
    }
    ASSERT_TRUE(bytes.ends_with(kRootEnd)) << "seed " << seed;
}

TEST(RoundTrip, RandomItemsComeBackEqual)
{
    for (uint64_t seed = 1; seed <= 150; ++seed) {
        Dice dice(seed);
        IndexFolder folder;
        TestTable table;
        for (uint32_t count = dice.Below(30); count > 0; --count) {
            auto* item = Add(table, "id " + std::to_string(count) + ".MAI", dice.OneIn(3) ? 1 + dice.Below(100) : 0);
            if (!item) continue;
            for (uint32_t columns = dice.Below(5); columns > 0; --columns) {
                const std::string column = kColumns[dice.Below(std::size(kColumns))];
                item->SetText(column, RandomValue(column, dice));
            }
        }
        ASSERT_EQ(folder.Save(table), 1u);
        ExpectFolderHolds(folder, ModelOf(table), seed);
    }
}

// Changes `table` and `model` alike, a few times.
void ChangeSomething(SORTEDSTOREINDEXTYPE& table, Model& model, Dice& dice, uint32_t& nextName)
{
    for (uint32_t changes = 1 + dice.Below(4); changes > 0; --changes) {
        std::vector<IndexItemPropertyContainer*> items;
        ContentOf(table).ByUID.ForEach([&](uint32_t, IndexItemPropertyContainer* item) { items.push_back(item); });
        const uint32_t kind = dice.Below(10);
        if (kind < 2 || items.empty()) {
            auto* item = Add(table, "n" + std::to_string(++nextName) + ".MAI");
            ASSERT_NE(item, nullptr);
            SetItemKeyProperty(*item, "SUBJECT", RandomText(dice));
            Properties& properties = model[item->Uid()];
            item->CopyTo(properties);
            properties.erase("SEQ");
        } else if (kind < 4) {
            auto* item = dice.Pick(items);
            model.erase(item->Uid());
            // Kept: taking out the first dirty item forgets the mark, so a change behind it to an item that is in the file
            // waits for another one. New items are written all the same.
            const bool forgets = table.FirstDirtyUID == static_cast<int32_t>(item->Uid());
            const std::string id(item->Id());
            ASSERT_EQ(RemoveItems(table, id.c_str()), 1u);
            auto* const first = table.Content->ByUID.FirstFrom(0);
            if (forgets && first && first->FileOffset != 0) MarkItemChanged(*first);
        } else {
            auto* item = dice.Pick(items);
            const std::string column = kColumns[dice.Below(std::size(kColumns))];
            const std::string value = RandomValue(column, dice);
            ASSERT_TRUE(SetItemKeyProperty(*item, column.c_str(), value));
            model[item->Uid()][column] = value;
        }
    }
}

std::string RandomSelection(const Model& model, Dice& dice)
{
    std::string selection;
    for (const auto& [uid, properties] : model)
        if (dice.OneIn(3)) selection += properties.at("ID") + ",";
    return selection;
}

TEST(RoundTrip, AnySequenceOfSavesInPlaceGivesWhatOneFullRewriteGives)
{
    for (uint64_t seed = 1000; seed < 1030; ++seed) {
        Dice dice(seed);
        IndexFolder folder;
        Model model;
        uint32_t nextName = 0;
        {
            TestTable empty;
            ASSERT_EQ(folder.Save(empty), 1u);
        }
        for (int round = 0; round < 25; ++round) {
            TestTable table;
            // A selection may be empty, which loads everything.
            const std::string selection = dice.OneIn(2) ? RandomSelection(model, dice) : "";
            const int32_t level = selection.empty() && dice.OneIn(4) ? 1 : 3;
            ASSERT_GE(folder.Load(table, level, selection), level) << "seed " << seed << " round " << round;
            ChangeSomething(table, model, dice, nextName);
            if (HasFatalFailure()) return;
            ASSERT_EQ(folder.Save(table), 1u) << "seed " << seed << " round " << round;
            ExpectFolderHolds(folder, model, seed);
            if (HasFatalFailure()) return;
        }
        // The same listing, written in full elsewhere.
        TestTable last;
        ASSERT_EQ(folder.Load(last), 3);
        last.RewriteRequired = 1;
        ASSERT_EQ(folder.Save(last), 1u);
        ExpectFolderHolds(folder, model, seed);
        if (HasFatalFailure()) return;
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
    item->SetText("SUBJECT", "kept");
    ASSERT_EQ(folder.Save(table), 1u);
    LoadedTable fresh(folder);
    ASSERT_EQ(fresh.LoadLevel, 3);
    EXPECT_EQ(TextOf(fresh["a"], "SUBJECT"), "kept");
}

}  // namespace
}  // namespace velmora::test
