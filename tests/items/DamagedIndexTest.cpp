// Scans of a mail folder whose index file is damaged.
#include <gtest/gtest.h>

#include <algorithm>

#include "index/IndexPersistence.h"
#include "tests/items/MailScanFixture.h"

namespace velmora::test {
namespace {

class DamagedIndex : public MailScan {
protected:
    static std::string Header(const char* lastUid) { return std::string("<BASEELEMENT LASTUID=\"x") + lastUid + "\">"; }
    static std::string Element(const std::string& id, int uid, const std::string& values)
    {
        return "<ELEMENT ID=\"" + id + "\" UID=\"" + std::to_string(uid) + "\">" + values + "</ELEMENT>";
    }
    std::string Bytes() const { return ReadFileBytes(folder_ / "_index.xml"); }
    void PutIndex(const std::string& bytes) { WriteFileBytes(folder_ / "_index.xml", bytes); }
    // Puts `to` in the place of the first `from` of the index file.
    void Spoil(const std::string& from, const std::string& to)
    {
        std::string bytes = Bytes();
        const size_t at = bytes.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        PutIndex(bytes.replace(at, from.size(), to));
    }
    void Set(const char* id, const char* column, const char* value) { SetItemProperty(*FindLoadedItem(table_, id), column, value); }
    void Save() { ASSERT_EQ(SaveIndex(table_, Path().c_str(), kKindMail), 1u); }
    Names SortedIds()
    {
        Names ids = Ids();
        std::sort(ids.begin(), ids.end());
        return ids;
    }
    // a.MAI to c.MAI, each with its name as subject.
    void DeliverThree()
    {
        for (const char* name : {"a.MAI", "b.MAI", "c.MAI"})
            Deliver(name, std::string("From: x@y\r\nImportance: high\r\nSubject: ") + name + "\r\n\r\n");
    }
};

TEST_F(DamagedIndex, IsCompletedAndWrittenAnew)
{
    DeliverThree();
    Scan();
    PutIndex(Bytes().substr(0, Bytes().find("<ELEMENT ID=\"b.MAI\"") + 12));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(SortedIds(), (Names{"a.MAI", "b.MAI", "c.MAI"}));
    Scan();
    EXPECT_EQ(Ids().size(), 3u);
    EXPECT_TRUE(Bytes().ends_with("</BASEELEMENT>\r\n"));
}

TEST_F(DamagedIndex, AnElementThatIsDamagedIsReadFromItsMessageAgain)
{
    DeliverThree();
    PutIndex(Header("00000004") + Element("b.MAI", 2, "<FLAGSTATUS>\\FLAGGED</FLAGSTATUS><FR</FROM><TO>not its own</TO>") +
             Element("c", 3, "<SUBJECT>of an ID that was cut</SUBJECT>"));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(SortedIds(), (Names{"a.MAI", "b.MAI", "c.MAI"}));
    EXPECT_EQ(Column("c.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(Column("b.MAI", "UID"), "2");
    EXPECT_EQ(Column("b.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(Column("b.MAI", "TO"), "");
    EXPECT_EQ(Column("b.MAI", "FROM"), "x@y");
    EXPECT_EQ(Column("b.MAI", "SUBJECT"), "b.MAI");
}

TEST_F(DamagedIndex, AnElementThatIsSoundIsLeftAsItIsAndItsMessageNotOpened)
{
    DeliverThree();
    Scan();
    for (const auto& [column, value] : {std::pair("IMPORTANCE", "5"), {"STATE", "7"}, {"SUBJECT", "host's"}, {"FLAGSTATUS", "\\FLAGGED"}})
        Set("a.MAI", column, value);
    Save();
    Spoil("</BASEELEMENT>\r\n", "");
    uint32_t opens = 0;
    const HookedSeam seam(CountMessageOpens(opens));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(opens, 0u);
    EXPECT_EQ(Column("a.MAI", "IMPORTANCE"), "5");
    EXPECT_EQ(Column("a.MAI", "STATE"), "7");
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "host's");
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "\\FLAGGED");
    EXPECT_TRUE(Bytes().ends_with("</BASEELEMENT>\r\n"));
}

TEST_F(DamagedIndex, AUidOutOfOrderCostsNoItemItsFlags)
{
    DeliverThree();
    Scan();
    for (const char* id : {"a.MAI", "b.MAI", "c.MAI"}) Set(id, kFlagStatus, "\\FLAGGED");
    Save();
    Spoil("UID=\"1\"", "UID=\"9\"");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Column("a.MAI", "UID"), "9");
    for (const char* id : {"a.MAI", "b.MAI", "c.MAI"}) EXPECT_EQ(Column(id, "FLAGSTATUS"), "\\FLAGGED") << id;
}

TEST_F(DamagedIndex, APhantomThatLooksLikeAListTakesNobodyWithIt)
{
    DeliverThree();
    Scan();
    Spoil("</BASEELEMENT>\r\n", Element("x,b.MAI", 7, "") + Element("x,*", 8, "") + Element("*", 9, ""));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(SortedIds(), (Names{"a.MAI", "b.MAI", "c.MAI"}));
    for (const auto& [id, uid] : {std::pair("a.MAI", "1"), {"b.MAI", "2"}, {"c.MAI", "3"}}) EXPECT_EQ(Column(id, "UID"), uid);
}

TEST_F(DamagedIndex, APhantomOfAnyShapeGoes)
{
    DeliverThree();
    Scan();
    std::filesystem::create_directory(folder_ / "sub");
    WriteFileBytes(folder_ / "sub" / "d.MAI", "");
    const std::string shapes[] = {"?.MAI",
                                  "*.MAI",
                                  ".",
                                  "..",
                                  "sub",
                                  "sub\\d.MAI",
                                  "sub/d.MAI",
                                  "sub|x",
                                  "a\x01"
                                  "b.MAI",
                                  "A.MAI",
                                  "a.MAI ",
                                  "a.M<ELE",
                                  "CON\\x",
                                  std::string(300, 'n'),
                                  ""};
    std::string elements;
    int uid = 10;
    for (const std::string& shape : shapes) elements += Element(shape, uid++, "<SUBJECT>never was</SUBJECT>");
    Spoil("</BASEELEMENT>\r\n", elements);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(SortedIds(), (Names{"a.MAI", "b.MAI", "c.MAI"}));
}

TEST_F(DamagedIndex, APhantomThatCannotBeAskedForNowStays)
{
    DeliverThree();
    Scan();
    Spoil("</BASEELEMENT>\r\n", Element("d.eml", 7, "<SUBJECT>s</SUBJECT>"));
    const HookedSeam seam(FailOn(platform::FileOperation::Search, "d.eml", 5));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Column("d.eml", "UID"), "7");
}

TEST_F(DamagedIndex, ARepairThatIsInterruptedIsFinishedByALaterScan)
{
    DeliverThree();
    Scan();
    Spoil("</BASEELEMENT>\r\n", "");
    Spoil("<SUBJECT>b.MAI</SUBJECT>", "<SUBJECT>c.MAI</SUBJE<TO>not its own</TO>");
    for (const auto& hook : {FailOn(platform::FileOperation::Open, "b.MAI", 32), FailReadsOf("b.MAI")}) {
        const HookedSeam seam(hook);
        EXPECT_EQ(Scan(), 1u);
        EXPECT_EQ(Column("b.MAI", "SUBJECT"), "(no column)");
        EXPECT_EQ(Column("b.MAI", "TO"), "(no column)");
        EXPECT_TRUE(Has("_CHANGE.DTY"));
    }
    EXPECT_TRUE(Bytes().ends_with("</BASEELEMENT>\r\n"));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Column("b.MAI", "UID"), "2");
    EXPECT_EQ(Column("b.MAI", "SUBJECT"), "b.MAI");
    EXPECT_EQ(Column("b.MAI", "FROM"), "x@y");
    EXPECT_EQ(Column("b.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_NE(Column("b.MAI", "IMPORTANCE"), "(no column)");
    uint32_t opens = 0;
    const HookedSeam seam(CountMessageOpens(opens));
    Scan();
    EXPECT_EQ(opens, 0u);
}

}  // namespace
}  // namespace velmora::test
