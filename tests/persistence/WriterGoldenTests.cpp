// The bytes of an index of three items after each kind of save.
#include <gtest/gtest.h>

#include <string>

#include "tests/persistence/IndexFolder.h"

namespace velmora::test {
namespace {

const std::string kHead = "<BASEELEMENT LASTUID=\"x00000015\">";
const std::string kA = "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>";
const std::string kB = "<ELEMENT ID=\"b.MAI\" UID=\"20\"><READ>0</READ><SUBJECT>b &amp; c</SUBJECT></ELEMENT>";
const std::string kC = "<ELEMENT ID=\"c.MAI\" UID=\"21\"><READ>0</READ><SUBJECT></SUBJECT></ELEMENT>";
const std::string kTail = "</BASEELEMENT>\r\n";
const std::string kThree = kHead + kA + kB + kC + kTail;

class WriterGolden : public testing::Test {
protected:
    WriterGolden() { folder_.Write(kThree); }

    // Saves, expects these bytes, and that a fresh load agrees with what memory holds of the file.
    void SaveGives(SORTEDSTOREINDEXTYPE& table, const std::string& expected)
    {
        ASSERT_EQ(folder_.Save(table), 1u);
        ASSERT_EQ(folder_.Bytes(), expected);
        LoadedTable fresh(folder_);
        ASSERT_EQ(fresh.LoadLevel, 3);
        ContentOf(table).ByUID.ForEach([&](uint32_t, IndexItemPropertyContainer* item) {
            const auto& same = fresh[item->Id()];
            EXPECT_EQ(item->FileOffset, same.FileOffset) << item->Id();
            EXPECT_EQ(item->FileLength, same.FileLength) << item->Id();
        });
    }

    IndexFolder folder_;
};

TEST_F(WriterGolden, AFullRewriteOfANewFolder)
{
    IndexFolder empty;
    TestTable table;
    const auto add = [&](const char* id, uint32_t uid) {
        auto* item = Add(table, id, uid);
        return item;
    };
    auto* c = add("c.MAI", 21);
    c->SetText("SUBJECT", "");
    auto* a = add("2011A.MAI", 17);
    a->SetText("SIZE", "2048");
    a->SetText("FLAGS", "SEEN");
    a->SetNumber(kRead, 1);
    add("b.MAI", 20)->SetText("SUBJECT", "b & c");
    ASSERT_EQ(empty.Save(table), 1u);
    EXPECT_EQ(empty.Bytes(), kThree);
    EXPECT_EQ(a->FileOffset, 33u);
    EXPECT_EQ(a->FileLength, kA.size());
    EXPECT_EQ(c->FileOffset, 33u + kA.size() + kB.size());
}

TEST_F(WriterGolden, AFullRewriteOfALoadedFileGivesTheSameBytes)
{
    LoadedTable table(folder_);
    table.RewriteRequired = 1;
    SaveGives(table, kThree);
}

TEST_F(WriterGolden, AnEmptyIndexHas49Bytes)
{
    IndexFolder empty;
    TestTable table;
    ASSERT_EQ(empty.Save(table), 1u);
    EXPECT_EQ(empty.Bytes(), "<BASEELEMENT LASTUID=\"x00000000\"></BASEELEMENT>\r\n");
    EXPECT_EQ(empty.Bytes().size(), 49u);
}

TEST_F(WriterGolden, AnAppendGoesOverTheOldEndTag)
{
    LoadedTable table(folder_);
    Add(table, "d.MAI")->SetText("SUBJECT", "new");
    SaveGives(table, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + kB + kC +
                         "<ELEMENT ID=\"d.MAI\" UID=\"22\"><READ>0</READ><SUBJECT>new</SUBJECT></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, AnAppendWithOnlyTheHeaderLoaded)
{
    LoadedTable table(folder_, 1);
    ASSERT_EQ(table.LoadLevel, 1);
    Add(table, "d.MAI")->SetText("SUBJECT", "new");
    Add(table, "e.MAI");
    SaveGives(table, "<BASEELEMENT LASTUID=\"x00000017\">" + kA + kB + kC +
                         "<ELEMENT ID=\"d.MAI\" UID=\"22\"><READ>0</READ><SUBJECT>new</SUBJECT></ELEMENT>"
                         "<ELEMENT ID=\"e.MAI\" UID=\"23\"><READ>0</READ></ELEMENT>" +
                         kTail);
}

TEST_F(WriterGolden, AnAppendToAnEmptyIndex)
{
    folder_.Write("<BASEELEMENT LASTUID=\"x00000000\"></BASEELEMENT>\r\n");
    LoadedTable table(folder_, 1);
    Add(table, "d.MAI");
    SaveGives(table, "<BASEELEMENT LASTUID=\"x00000001\"><ELEMENT ID=\"d.MAI\" UID=\"1\"><READ>0</READ></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, AChangeOfTheFirstItemThatGrows)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["2011A.MAI"], "FLAGS",
                       "SEEN ANSWERED FLAGGED and a long text that reaches far beyond the item behind this one");
    SaveGives(
        table,
        kHead +
            "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN ANSWERED FLAGGED and a long text that reaches far beyond the item behind "
            "this one</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
            kB + kC + kTail);
}

TEST_F(WriterGolden, AChangeOfTheFirstItemThatShrinksTrimsTheFile)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["2011A.MAI"], "FLAGS", "");
    SaveGives(table,
              kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS></FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" + kB + kC + kTail);
}

TEST_F(WriterGolden, AChangeOfTheMiddleItem)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b.MAI"], "SUBJECT", "<\xE9\x01>\r\n");
    SaveGives(table, kHead + kA + "<ELEMENT ID=\"b.MAI\" UID=\"20\"><READ>0</READ><SUBJECT>&lt;&#xe9;&#x1;&gt;\r\n</SUBJECT></ELEMENT>" +
                         kC + kTail);
}

TEST_F(WriterGolden, AChangeOfTheLastItemLeavesWhatStandsBeforeIt)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["c.MAI"], kRead, "1");
    SaveGives(table, kHead + kA + kB + "<ELEMENT ID=\"c.MAI\" UID=\"21\"><READ>1</READ><SUBJECT></SUBJECT></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, AChangeOfTheSameLength)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["b.MAI"], kRead, "1");
    SaveGives(table, kHead + kA + "<ELEMENT ID=\"b.MAI\" UID=\"20\"><READ>1</READ><SUBJECT>b &amp; c</SUBJECT></ELEMENT>" + kC + kTail);
}

TEST_F(WriterGolden, ARemovalIsStruckOutAndMovesNothing)
{
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "b.MAI"), 1u);
    SaveGives(table, kHead + kA + "<ELEMENT ID=\"-----\" UID=\"--\"><READ>0</READ><SUBJECT>b &amp; c</SUBJECT></ELEMENT>" + kC + kTail);
}

TEST_F(WriterGolden, AnIdOfTwelveBytesAndAUidOfThreeDigits)
{
    const std::string before = "<BASEELEMENT LASTUID=\"x00000100\">";
    folder_.Write(before + "<ELEMENT ID=\"12345678.MAI\" UID=\"123\"><READ>0</READ></ELEMENT>" + kTail);
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "12345678.MAI"), 1u);
    SaveGives(table, before + "<ELEMENT ID=\"------------\" UID=\"---\"><READ>0</READ></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, RemovalsOfAllItems)
{
    LoadedTable table(folder_, 2);
    ASSERT_EQ(RemoveItems(table, "*"), 1u);
    SaveGives(table, kHead + "<ELEMENT ID=\"---------\" UID=\"--\"><FLAGS>SEEN</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
                         "<ELEMENT ID=\"-----\" UID=\"--\"><READ>0</READ><SUBJECT>b &amp; c</SUBJECT></ELEMENT>" +
                         "<ELEMENT ID=\"-----\" UID=\"--\"><READ>0</READ><SUBJECT></SUBJECT></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, ARemovalBeforeAChangeStaysAsATombstone)
{
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "2011A.MAI"), 1u);
    SetItemKeyProperty(table["b.MAI"], "SUBJECT", "");
    SaveGives(table, kHead + "<ELEMENT ID=\"---------\" UID=\"--\"><FLAGS>SEEN</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
                         "<ELEMENT ID=\"b.MAI\" UID=\"20\"><READ>0</READ><SUBJECT></SUBJECT></ELEMENT>" + kC + kTail);
}

TEST_F(WriterGolden, ARemovalBehindAChangeVanishesWithTheRewriteOfWhatFollows)
{
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "b.MAI"), 1u);
    SetItemKeyProperty(table["2011A.MAI"], kRead, "0");
    SaveGives(table,
              kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN</FLAGS><READ>0</READ><SIZE>2048</SIZE></ELEMENT>" + kC + kTail);
}

TEST_F(WriterGolden, AChangeAndAnAppendInOneSave)
{
    LoadedTable table(folder_);
    SetItemKeyProperty(table["c.MAI"], "SUBJECT", "much longer than it was before");
    Add(table, "d.MAI", 300);
    SaveGives(table, "<BASEELEMENT LASTUID=\"x0000012c\">" + kA + kB +
                         "<ELEMENT ID=\"c.MAI\" UID=\"21\"><READ>0</READ><SUBJECT>much longer than it was before</SUBJECT></ELEMENT>" +
                         "<ELEMENT ID=\"d.MAI\" UID=\"300\"><READ>0</READ></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, ADirtyMarkWithNoItemBehindItRewritesFromTheFirstItem)
{
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "c.MAI"), 1u);
    table.FirstDirtyUID = 21;
    SaveGives(table, kHead + kA + kB + kTail);
}

TEST_F(WriterGolden, AnEmptyTableInPlaceTrimsTheFileTo49Bytes)
{
    LoadedTable table(folder_);
    ASSERT_EQ(RemoveItems(table, "*"), 1u);
    table.FirstDirtyUID = 21;
    SaveGives(table, kHead + kTail);
    EXPECT_EQ(folder_.Bytes().size(), 49u);
}

TEST_F(WriterGolden, OnlyTheHighestUidChanged)
{
    // A UID that was given and refused: the next save carries it in the header alone, when it saves at all.
    LoadedTable table(folder_);
    EXPECT_EQ(Add(table, "b.MAI"), nullptr);
    ASSERT_EQ(RemoveItems(table, "c.MAI"), 1u);
    SaveGives(table, "<BASEELEMENT LASTUID=\"x00000016\">" + kA + kB +
                         "<ELEMENT ID=\"-----\" UID=\"--\"><READ>0</READ><SUBJECT></SUBJECT></ELEMENT>" + kTail);
}

// --- a part of the file in memory ----------------------------------------------------------------------------------

TEST_F(WriterGolden, AGapIsCarriedBehindAnItemThatGrows)
{
    LoadedTable table(folder_, 3, "2011A.MAI");
    SetItemKeyProperty(table["2011A.MAI"], "FLAGS", "SEEN ANSWERED");
    SaveGives(table, kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN ANSWERED</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
                         kB + kC + kTail);
}

TEST_F(WriterGolden, AGapIsCarriedBehindAnItemThatShrinks)
{
    LoadedTable table(folder_, 3, "2011A.MAI");
    SetItemKeyProperty(table["2011A.MAI"], "SIZE", "");
    SaveGives(table,
              kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN</FLAGS><READ>1</READ><SIZE></SIZE></ELEMENT>" + kB + kC + kTail);
}

TEST_F(WriterGolden, AGapBetweenTwoLoadedItems)
{
    LoadedTable table(folder_, 3, "2011A.MAI,c.MAI");
    SetItemKeyProperty(table["2011A.MAI"], "FLAGS", "SEEN ANSWERED");
    SetItemKeyProperty(table["c.MAI"], "SUBJECT", "c");
    SaveGives(table, kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN ANSWERED</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
                         kB + "<ELEMENT ID=\"c.MAI\" UID=\"21\"><READ>0</READ><SUBJECT>c</SUBJECT></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, AnAppendBehindAGap)
{
    LoadedTable table(folder_, 3, "2011A.MAI");
    SetItemKeyProperty(table["2011A.MAI"], "FLAGS", "");
    Add(table, "d.MAI");
    SaveGives(
        table,
        "<BASEELEMENT LASTUID=\"x00000016\"><ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS></FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
            kB + kC + "<ELEMENT ID=\"d.MAI\" UID=\"22\"><READ>0</READ></ELEMENT>" + kTail);
}

TEST_F(WriterGolden, AnItemRemovedFromAPartIsATombstoneInTheGap)
{
    LoadedTable table(folder_, 3, "2011A.MAI,b.MAI,c.MAI");
    ASSERT_EQ(RemoveItems(table, "b.MAI"), 1u);
    SetItemKeyProperty(table["2011A.MAI"], "FLAGS", "SEEN ANSWERED");
    SaveGives(table, kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN ANSWERED</FLAGS><READ>1</READ><SIZE>2048</SIZE></ELEMENT>" +
                         "<ELEMENT ID=\"-----\" UID=\"--\"><READ>0</READ><SUBJECT>b &amp; c</SUBJECT></ELEMENT>" + kC + kTail);
}

TEST_F(WriterGolden, TombstonesLieInGapsToo)
{
    const std::string tombstone = "<ELEMENT ID=\"-\" UID=\"--\"><READ>0</READ></ELEMENT>";
    folder_.Write(kHead + kA + tombstone + kC + kTail);
    LoadedTable table(folder_, 3, "2011A.MAI");
    SetItemKeyProperty(table["2011A.MAI"], kRead, "0");
    SaveGives(table, kHead + "<ELEMENT ID=\"2011A.MAI\" UID=\"17\"><FLAGS>SEEN</FLAGS><READ>0</READ><SIZE>2048</SIZE></ELEMENT>" +
                         tombstone + kC + kTail);
}

}  // namespace
}  // namespace velmora::test
