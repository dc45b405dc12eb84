// Columns that the library does not know: hosts and files may name any, and none of its own may be lost by that.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "index/IndexPersistence.h"
#include "index/ItemOperations.h"
#include "index/StoreIndexSteps.h"
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

class ForeignColumn : public Life {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        Attach();
    }
    static bool Load(HostRecord& record, int32_t level)
    {
        IndexLoadArguments arguments = LoadArgumentsOf(*record);
        return OpenIndexForLoad(record->Table, arguments, level);
    }
    std::string IndexBytes() const { return ReadFileBytes(inbox / "_index.xml"); }

    fs::path inbox;
};

TEST_F(ForeignColumn, AReadByNameLearnsNoName)
{
    PutIndex(inbox, 1, Element("1.MAI", 1));
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    const IndexItemPropertyContainer& item = *record.Item("1.MAI");
    const size_t before = IndexPropertyTable::Count();
    std::string text = "as it was";
    char buffer[8] = "x";
    EXPECT_FALSE(item.Has("FOREIGN_HAS"));
    EXPECT_FALSE(item.GetText("FOREIGN_TEXT", text));
    EXPECT_EQ(text, "as it was");
    EXPECT_TRUE(item.View("FOREIGN_VIEW").empty());
    EXPECT_EQ(item.GetNumber("FOREIGN_NUMBER"), 0);
    EXPECT_FALSE(item.GetInto("FOREIGN_INTO", buffer, sizeof buffer));
    EXPECT_EQ(IndexPropertyTable::Find("FOREIGN_FIND").Slot, -1);
    EXPECT_TRUE(IndexPropertyTable::CanHold("FOREIGN_HOLD"));
    EXPECT_EQ(IndexPropertyTable::Count(), before);
}

TEST_F(ForeignColumn, ASearchForFieldsThatNobodyHasLearnsNoName)
{
    PutIndex(inbox, 1, Element("1.MAI", 1));
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    const size_t before = IndexPropertyTable::Count();
    STOREITEMTYPE handle;
    for (int i = 0; i < 1100; ++i) EXPECT_FALSE(SelectItemByField(handle, *record, ("FOREIGN_" + std::to_string(i)).c_str(), "x", 0));
    EXPECT_EQ(IndexPropertyTable::Count(), before);
}

TEST_F(ForeignColumn, ASearchLoadsAndWalksTheWholeFolder)
{
    PutIndex(inbox, 3, Element("1.MAI", 1) + Element("2.MAI", 2) + Element("3.MAI", 3, "<FOREIGN_LAST>here</FOREIGN_LAST>"));
    HostRecord record("INBOX");
    ASSERT_TRUE(Load(record, 1));
    ASSERT_EQ(record.Count(), 0u);
    STOREITEMTYPE handle;
    EXPECT_FALSE(SelectItemByField(handle, *record, "FOREIGN_NOWHERE", "here", 0));
    EXPECT_EQ(record->Table.LoadLevel, 3);
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_TRUE(SelectItemByField(handle, *record, "FOREIGN_LAST", "HERE", 0));
    EXPECT_EQ(handle.Item, record.Item("3.MAI"));
}

TEST_F(ForeignColumn, ASearchFindsANameThatItsOwnLoadIsTheFirstToMeet)
{
    PutIndex(inbox, 1, Element("1.MAI", 1, "<FOREIGN_FIRST>here</FOREIGN_FIRST>"));
    HostRecord record("INBOX");
    ASSERT_TRUE(Load(record, 1));
    STOREITEMTYPE handle;
    EXPECT_TRUE(SelectItemByField(handle, *record, "FOREIGN_FIRST", "here", 1));
}

TEST_F(ForeignColumn, AWriteThatIsRefusedLearnsNoName)
{
    PutIndex(inbox, 1, Element("1.MAI", 1));
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    const size_t before = IndexPropertyTable::Count();
    STOREITEMTYPE handle;
    EXPECT_EQ(WriteColumnValue(&*record, handle, "", "FOREIGN_A", "v"), 0u) << "no item";
    EXPECT_EQ(WriteColumnValue(nullptr, handle, "1.MAI", "FOREIGN_B", "v"), 0u) << "no record to look in";
    EXPECT_EQ(WriteColumnValue(&*record, handle, "a>b", "FOREIGN_C", "v"), 0u) << "no item can be made";
    record->Table.LastUID = UINT32_MAX;
    EXPECT_EQ(WriteColumnValue(&*record, handle, "2.MAI", "FOREIGN_D", "v"), 0u) << "no UID is left";
    StoreIndex_Release(&record);
    EXPECT_EQ(WriteColumnValue(&*record, handle, "1.MAI", "FOREIGN_E", "v"), 0u) << "nothing is loaded";
    EXPECT_EQ(IndexPropertyTable::Count(), before);
}

TEST_F(ForeignColumn, ANameWithAnEqualsSignIsWrittenAndReadBack)
{
    PutIndex(inbox, 1, Element("1.MAI", 1));
    Age(inbox / "_index.xml");
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    STOREITEMTYPE handle;
    ASSERT_EQ(WriteColumnValue(&*record, handle, "1.MAI", "IM_TYPE=ICQ", "12345"), 1u);
    ASSERT_EQ(StoreIndex_Save(&record), 1u);
    HostRecord other("INBOX");
    ASSERT_EQ(StoreIndex_Open(&other, 5), 1u);
    EXPECT_EQ(other.Item("1.MAI")->View("IM_TYPE=ICQ"), "12345");
    EXPECT_EQ(other.Count(), 1u);
}

// ---- A full table of names; it stays full, so these run in processes of their own ----

constexpr char kCard[] = "<FN>Jane</FN><IM_TYPE=ICQ>7</IM_TYPE=ICQ><READ>0</READ><TEL_CELL_VOICE>123</TEL_CELL_VOICE>";

class ForeignColumnDeathTest : public ForeignColumn {
protected:
    // Loads a folder of contacts and writes it whole; the bytes of its index.
    static std::string Rewritten(const fs::path& contacts)
    {
        HostRecord record("INBOX");
        if (StoreIndex_Open(&record, 5) != 1) return "not opened";
        record->Table.RewriteRequired = 1;
        if (StoreIndex_Save(&record) != 1) return "not saved";
        return ReadFileBytes(contacts / "_index.xml");
    }
    // The process that works may have a store of its own, so it looks itself, and clears up.
    template <typename Fill>
    [[noreturn]] void FillAndRewrite(Fill fill)
    {
        PutIndex(inbox, 1, Element("1.VCF", 1, kCard));
        Age(inbox / "_index.xml");
        const bool filled = fill();
        const std::string bytes = Rewritten(inbox);
        std::fputs(bytes.c_str(), stderr);
        std::error_code ignored;
        fs::remove_all(store.Directory().Path(), ignored);
        if (!filled) std::_Exit(1);
        std::_Exit(bytes.find(kCard) == std::string::npos ? 2 : 0);
    }
};

TEST_F(ForeignColumnDeathTest, SearchesOfAHostCostNoContactItsColumns)
{
    const auto search = [&] {
        FillAndRewrite([] {
            STOREINDEXTYPE index;
            StoreIndex_Init(&index);
            index.Table.LoadLevel = 3;
            STOREITEMTYPE handle;
            for (int i = 0; i < 1100; ++i) SelectItemByField(handle, index, ("FOREIGN_" + std::to_string(i)).c_str(), "x", 0);
            StoreIndex_Release(&index);
            return true;
        });
    };
    EXPECT_EXIT(search(), testing::ExitedWithCode(0), "");
}

TEST_F(ForeignColumnDeathTest, AFileWithMoreNamesThanTheTableTakesCostsNoContactItsColumns)
{
    const auto load = [&] {
        FillAndRewrite([&] {
            std::string names;
            for (int i = 0; i < 1100; ++i) names += FormatText("<N%d>x</N%d>", i, i);
            PutIndex(store.MakeFolder("Greedy"), 1, Element("1.MAI", 1, names));
            HostRecord greedy("Greedy");
            return StoreIndex_Open(&greedy, 5) == 1 && IndexPropertyTable::Count() >= kMaxPropertyNames &&
                   !IndexPropertyTable::CanHold("FOREIGN_BEYOND");
        });
    };
    EXPECT_EXIT(load(), testing::ExitedWithCode(0), "");
}

// The other way about: the file that fills the table has such columns itself, behind all others.
TEST_F(ForeignColumnDeathTest, TheOwnColumnsOfSuchAFileSurvive)
{
    const auto load = [&] {
        FillAndRewrite([&] {
            std::string names;
            for (int i = 0; i < 1100; ++i) names += FormatText("<N%d>x</N%d>", i, i);
            PutIndex(inbox, 2, Element("0.VCF", 1, names) + Element("1.VCF", 2, kCard));
            Age(inbox / "_index.xml");
            return true;
        });
    };
    EXPECT_EXIT(load(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace velmora::test
