// Index files read as documents.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "common/FileStream.h"
#include "index/IndexItem.h"
#include "index/IndexPersistence.h"
#include "persistence/IndexTags.h"
#include "platform/Xml.h"
#include "tests/persistence/DocumentFolder.h"
#include "tests/support/Captured.h"

namespace velmora::test {
namespace {

constexpr char kXmlVersionKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";

std::string OldFile(const std::string& lastUid, const std::string& elements)
{
    return "<BASEELEMENT LASTUID=\"" + lastUid + "\">" + elements + "</BASEELEMENT>";
}

class DocumentLoad : public DocumentFolder {};

TEST_F(DocumentLoad, LastUidHasThreeForms)
{
    struct Case {
        const char* text;
        uint32_t lastUid;
        bool rewrites;
    };
    for (const Case& c : {Case{"1234", 1234, true}, Case{"0123", 0x123, true}, Case{"0x1F", 31, true}, Case{"x0000001f", 31, false},
                          Case{"x1F", 31, false}, Case{"1", 1, true}, Case{"2147483648", 2147483648u, true},
                          Case{"4294967294", 4294967294u, true}, Case{"99999999999", 4294967295u, true}}) {
        for (const Reader reader : kReaders) {
            Write(OldFile(c.text, Element("a", 1)));
            ASSERT_EQ(Load(table_, reader), 3) << c.text;
            EXPECT_EQ(table_.LastUID, c.lastUid) << c.text;
            EXPECT_EQ(table_.RewriteRequired, c.rewrites ? 1 : 0) << c.text;
        }
    }
}

TEST_F(DocumentLoad, WithoutALastUidItIsTheNumberOfElements)
{
    Write(
        "<BASEELEMENT>\r\n <!-- c --><ELEMENT ID=\"a\"/> <?pi x?>\n<ELEMENT ID=\"--\" UID=\"-\"/><ELEMENT ID=\"b\" UID=\"1\"/> "
        "</BASEELEMENT>");
    EXPECT_EQ(Load(table_), 3);
    // Of three; the item that bears no UID gets the next one.
    EXPECT_EQ(table_.LastUID, 4u);
    EXPECT_EQ(FindLoadedItem(table_, "a")->Uid(), 4u);
    EXPECT_EQ(table_.RewriteRequired, 0);
    Write("<BASEELEMENT><ELEMENT ID=\"a\" UID=\"1\"/><ELEMENT ID=\"b\" UID=\"2\"/><ELEMENT ID=\"c\" UID=\"3\"/></BASEELEMENT>");
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(table_.LastUID, 3u);
}

TEST_F(DocumentLoad, ALargerUidRaisesTheLastUid)
{
    Write(OldFile("3", Element("a", 9)));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(table_.LastUID, 9u);
}

TEST_F(DocumentLoad, TheLevelAndTheSelectionAreIgnored)
{
    Write(IndexFile(9, Element("a", 1, {{"TO", "x"}}) + Element("b", 2)));
    for (const int32_t level : {1, 2, 3}) {
        table_.LoadSelection = "b";
        EXPECT_EQ(Load(table_, Reader::Document, level), 3);
        EXPECT_EQ(IdsByUid(table_), "a b");
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "TO"), "x");
        // All of the file is in memory, so a save may stand for it.
        EXPECT_EQ(table_.LoadSelection, "");
    }
}

TEST_F(DocumentLoad, ATombstoneIsPassedOverAndUsesNoIndexNumber)
{
    Write(IndexFile(9, Element("a", 1) + Element("-----", "--") + "<ELEMENT ID=\"\" UID=\"5\"></ELEMENT>" +
                           "<ELEMENT ID=\"c\" UID=\"3\" TO=\"-\"></ELEMENT>" + Element("b", 4)));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(IdsByUid(table_), "a b");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "b"), kIdx), "2");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "b"), kSeq), "2");
}

TEST_F(DocumentLoad, AnElementThatIsRefusedUsesAnIndexNumber)
{
    Write(IndexFile(9, Element("a", 1) + Element("a", 2) + Element("b", 1) + Element("c", 3)));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(IdsByUid(table_), "a c");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "c"), kIdx), "4");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "c"), kSeq), "2");
}

TEST_F(DocumentLoad, ElementsMayStandInAnyOrderUnderAnyName)
{
    Write(
        "<?xml version=\"1.0\"?><!-- by hand -->\n<ROOT LASTUID='x9'>\n  <ITEM UID='7' ID='b'>\n    <TO>x<b>y</b></TO>\n  </ITEM>\n"
        "  <ELEMENT ID='a' UID='2'><SUBJECT><![CDATA[a<b]]></SUBJECT><FLAGS/></ELEMENT>\n</ROOT>\n");
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(IdsInSequence(table_), "a b");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "b"), "TO"), "xy");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "SUBJECT"), "a<b");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a"), "FLAGS"), "");
    EXPECT_EQ(table_.LastUID, 9u);
}

TEST_F(DocumentLoad, AnItemWhoseFileIsGoneIsPassedOverWhenFilesAreCheckedFor)
{
    Write("", "a.MAI");
    Write("", "dir.MAI.x");
    Write(IndexFile(9, Element("gone.MAI", 1) + Element("a.MAI", 2) + Element("A.mai", 3)));
    EXPECT_EQ(Load(table_, Reader::Document, 3, 1), 3);
    EXPECT_EQ(IdsByUid(table_), "a.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a.MAI"), kIdx), "1");
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(ItemCountOf(table_), 3u);
}

TEST_F(DocumentLoad, TheTimeOfTheFileIsNotedAndItsSizeIsNot)
{
    Write(IndexFile(9, Element("a", 1)));
    table_.IndexFileSize = 7;
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(table_.IndexFileTime, ReadFileStamp(File().string()).lastWrite);
    EXPECT_EQ(table_.IndexFileSize, 7u);
}

TEST_F(DocumentLoad, AStreamSaveBehindItWritesTheWholeFile)
{
    Write(IndexFile(9, Element("a", 1) + Element("-----", "--") + Element("b", 2)));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(Save(table_, Form::Stream), 1u);
    EXPECT_TRUE(log_.HasTrace("Index file has changed: " + Folder() +
                              ". Cached offset information is now inaccurate. Index will be rewritten in full.\n"));
    EXPECT_EQ(Bytes(), IndexFile(9, Element("a", 1, {{"READ", "0"}}) + Element("b", 2, {{"READ", "0"}})));
    EXPECT_FALSE(IsMarked());
}

TEST_F(DocumentLoad, ADamagedFileIsTracedAndPrinted)
{
    Write(IndexFile(9, Element("a", 1)).substr(0, 60));
    Add(table_, "before");
    const std::string out = CaptureStdout([&] { EXPECT_EQ(Load(table_), 0); });
    EXPECT_TRUE(out.starts_with("Error:\nCode = 0x")) << out;
    EXPECT_NE(out.find("\nSource = Line : 1; Char : "), std::string::npos) << out;
    EXPECT_NE(out.find("\nError Description = "), std::string::npos) << out;
    EXPECT_TRUE(log_.HasTrace("Failed to load DOM: " + Folder() + "\\_index.xml"));
    EXPECT_EQ(table_.IndexFileTime, 0u);
    EXPECT_EQ(IdsByUid(table_), "");
}

TEST_F(DocumentLoad, OfADamagedFileANumberThatNobodyWroteSoIsNotBelieved)
{
    for (const auto& [root, lastUid] : {std::pair<const char*, uint32_t>{"<BASEELEMENT LASTUID=\"33\">", 33},
                                        {"<BASEELEMENT LASTUID='2147483647'>", 0},
                                        {"<BASEELEMENT A=\"b\" LASTUID=\"2147483647\">", 0},
                                        {"<BASEELEMENT LASTUID=\"4294967295\">", 0}}) {
        Write(std::string(root) + "<ELEMENT ID");
        CaptureStdout([&] { EXPECT_EQ(Load(table_), 0); });
        EXPECT_EQ(table_.LastUID, lastUid) << root;
    }
}

class RaisingDocument : public platform::XmlDocument {
public:
    static std::unique_ptr<platform::XmlDocument> Make() { return std::make_unique<RaisingDocument>(); }
    bool LoadBytes(std::string_view) override { return true; }
    platform::XmlNode DocumentElement() const override { throw ComError{0x80004005, "Unspecified error", "facility", "told"}; }
    platform::XmlNode CreateRoot(const char*) override { return {}; }
    std::string ToBytes() const override { return {}; }

protected:
    void Clear() override {}
};

TEST_F(DocumentLoad, AnErrorOfTheFacilityIsPrintedAndEmptiesTheTable)
{
    Write(IndexFile(9, Element("a", 1)));
    Add(table_, "before");
    MSXMLStoreIndexSerialiser serialiser(RaisingDocument::Make);
    const std::string out = CaptureStdout([&] { EXPECT_EQ(serialiser.Deserialise(table_, Folder(), 0, "po", "box", 3, 0, 0), 0); });
    EXPECT_EQ(out, "Error:\nCode = 80004005\nCode meaning = Unspecified error\nSource = facility\nError Description = told\n");
    EXPECT_TRUE(log_.HasTrace("Failed to load DOM: " + Folder() + "\\_index.xml"));
    EXPECT_EQ(IdsByUid(table_), "");
    EXPECT_FALSE(serialiser.OpenedFile());
    EXPECT_EQ(Bytes(), IndexFile(9, Element("a", 1)));
}

// A document that loads, and fails when it is asked for its root the second time, for the LASTUID, or from the third time on.
template <int First, int Last>
class LateRaisingDocument : public RaisingDocument {
public:
    static std::unique_ptr<platform::XmlDocument> Make() { return std::make_unique<LateRaisingDocument>(); }
    bool LoadBytes(std::string_view bytes) override { return inner_->LoadBytes(bytes); }
    platform::XmlNode DocumentElement() const override
    {
        ++asked_;
        return asked_ < First || asked_ > Last ? inner_->DocumentElement() : RaisingDocument::DocumentElement();
    }

private:
    std::unique_ptr<platform::XmlDocument> inner_ = platform::XmlDocument::Create();
    mutable int asked_ = 0;
};

TEST_F(DocumentLoad, ALastUidThatTheFacilityCannotGiveIsZeroAndGivesNoUidAgain)
{
    Write(OldFile("9", Element("a", 1)));
    MSXMLStoreIndexSerialiser serialiser(LateRaisingDocument<2, 2>::Make);
    const std::string out = CaptureStdout([&] { table_.LoadLevel = serialiser.Deserialise(table_, Folder(), 0, "po", "box", 3, 0, 0); });
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(out, "");
    EXPECT_EQ(table_.LastUID, 1u) << "raised by the item alone";
    EXPECT_EQ(table_.IndexFileTime, 0u);
    EXPECT_EQ(Add(table_, "new")->Uid(), 2u);
    EXPECT_EQ(MSXMLStoreIndexSerialiser().Serialise(table_, Folder(), 0), 1u);
    EXPECT_EQ(FindLoadedItem(table_, "new")->Uid(), 10u) << "behind those of removed items";
}

TEST_F(DocumentLoad, AnErrorBehindTheLastUidEndsTheLoad)
{
    Write(OldFile("9", Element("a", 1)));
    MSXMLStoreIndexSerialiser serialiser(LateRaisingDocument<3, 99>::Make);
    const std::string out = CaptureStdout([&] { EXPECT_EQ(serialiser.Deserialise(table_, Folder(), 0, "po", "box", 3, 0, 0), 0); });
    EXPECT_TRUE(out.starts_with("Error:\nCode = 80004005\n")) << out;
    EXPECT_TRUE(log_.Traces().empty());
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_FALSE(serialiser.OpenedFile());
}

TEST_F(DocumentLoad, EveryReaderHasTheSameNamesOfForeignColumns)
{
    for (const Reader reader : kReaders) {
        Write(OldFile("9", "<ELEMENT ID=\"a\" UID=\"1\"><\xC5\xA0>s</\xC5\xA0><\xC3\xA9>e</\xC3\xA9><\xD0\x96>z</\xD0\x96></ELEMENT>"));
        TestTable table;
        ASSERT_EQ(Load(table, reader), 3);
        const IndexItemPropertyContainer& item = *FindLoadedItem(table, "a");
        EXPECT_EQ(TextOf(item, "\x8A"), "s");
        EXPECT_EQ(TextOf(item, "\xE9"), "e");
        EXPECT_EQ(TextOf(item, "\xD0\x96"), "z");
    }
}

TEST_F(DocumentLoad, WithoutADocumentTheTableIsEmptied)
{
    store_.SetText("XML Version", "4", kXmlVersionKey);
    Add(table_, "before");
    EXPECT_EQ(Load(table_), 0);
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_EQ(table_.LastUID, 0u);
}

// Nobody gave it, and without its sign hardly a UID would be left.
TEST_F(DocumentLoad, ANumberBelowZeroCountsAsNone)
{
    for (const char* const text : {"-5", "x-5", " -5", "nonsense", "x"}) {
        for (const Reader reader : kReaders) {
            Write(OldFile(text, Element("a", 3)));
            ASSERT_EQ(Load(table_, reader), 3) << text;
            EXPECT_EQ(table_.LastUID, 3u) << text;
        }
    }
}

TEST_F(DocumentLoad, TextAndCommentsInAnElementAreNoColumns)
{
    Write(
        "<BASEELEMENT LASTUID=\"9\"><ELEMENT ID=\"a\" UID=\"1\">text<!-- c --><?pi x?> <TO>x<!-- c -->y</TO>tail<![CDATA[z]]>"
        "</ELEMENT></BASEELEMENT>");
    ASSERT_EQ(Load(table_), 3);
    std::map<std::string, std::string> columns;
    FindLoadedItem(table_, "a")->CopyTo(columns);
    EXPECT_EQ(columns,
              (std::map<std::string, std::string>{{"ID", "a"}, {"UID", "1"}, {"READ", "0"}, {"TO", "xy"}, {"IDX", "1"}, {"SEQ", "1"}}));
}

TEST_F(DocumentLoad, AnElementWithoutAnIdIsAnItemThatNoSaveWrites)
{
    Write("<BASEELEMENT LASTUID=\"9\"><ELEMENT UID=\"3\"><TO>x</TO></ELEMENT><ELEMENT ID=\"a\" UID=\"4\"/></BASEELEMENT>");
    ASSERT_EQ(Load(table_), 3);
    ASSERT_EQ(ItemCountOf(table_), 2u);
    EXPECT_EQ(ContentOf(table_).Sequence.front()->Id(), "");
    EXPECT_EQ(TextOf(*ContentOf(table_).Sequence.front(), "TO"), "x");
    ASSERT_EQ(Save(table_), 1u);
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"9\"><ELEMENT ID=\"a\" UID=\"4\"><READ>0</READ></ELEMENT></BASEELEMENT>");
}

// However much stands in front of its root.
TEST_F(DocumentLoad, ALongPrologHidesNoLastUid)
{
    for (const size_t size : {900u, 1010u, 1025u, 2049u, 70000u}) {
        const std::string prolog = "<?xml version=\"1.0\"?>\r\n<!--" + std::string(size, 'c') + "-->\n";
        Write(prolog + OldFile("1234", Element("a", 1)));
        ASSERT_EQ(Load(table_), 3);
        EXPECT_EQ(table_.LastUID, 1234u);
        // Of a file that takes its place behind the load.
        Write(prolog + OldFile("2345", Element("theirs", 2345)));
        ASSERT_EQ(Save(table_), 1u);
        EXPECT_EQ(LastUidOfRoot(Bytes()), 2345u) << size;
        EXPECT_TRUE(IsMarked());
        // Of a damaged one.
        Write(prolog + OldFile("3456", Element("a", 1)).substr(0, 60));
        CaptureStdout([&] { EXPECT_EQ(Load(table_), 0); });
        EXPECT_EQ(table_.LastUID, 3456u) << size;
    }
    Write("<!--" + std::string(5000, 'c') + OldFile("1234", ""));
    CaptureStdout([&] { EXPECT_EQ(Load(table_), 0); });
    EXPECT_EQ(table_.LastUID, 0u);
}

// A single wide item makes no other one wide.
TEST_F(DocumentLoad, AnItemHasRoomForItsOwnColumnsAndFewMore)
{
    PropertyList wide;
    for (int number = 0; number < 300; ++number) wide.push_back({"WIDE" + std::to_string(number), "x"});
    std::string elements = Element("wide", 1, wide);
    for (uint32_t uid = 2; uid <= 1000; ++uid) elements += Element(std::to_string(uid), uid, {{"SUBJECT", "x"}});
    Write(IndexFile(1000, elements));
    for (const Reader reader : kReaders) {
        ASSERT_EQ(Load(table_, reader), 3);
        ASSERT_EQ(ItemCountOf(table_), 1000u);
        uint64_t used = 0;
        uint64_t room = 0;
        for (const IndexItemPropertyContainer* const item : ContentOf(table_).Sequence) {
            used += item->Width();
            room += item->Room();
        }
        EXPECT_GT(FindLoadedItem(table_, "wide")->Width(), 300u);
        EXPECT_LE(room, used + 12 * 1024);
    }
}

TEST_F(DocumentLoad, AnItemIsFoundByTheFileThatItsIdNamesByteForByte)
{
    const std::string id = "R&amp;D caf\xC3\xA9.MAI";
    Write("", id.c_str());
    Write(IndexFile(9, Element(id, 5, {{"FLAGSTATUS", "\\SEEN"}})));
    for (const Reader reader : kReaders) {
        ASSERT_EQ(Load(table_, reader, 3, 1), 3);
        ASSERT_NE(FindLoadedItem(table_, id), nullptr);
        EXPECT_EQ(FindLoadedItem(table_, id)->Uid(), 5u);
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, id), "FLAGSTATUS"), "\\SEEN");
    }
}

// One that somebody else made of the writer's header, with tags that only a document can have.
TEST_F(DocumentLoad, AForeignFileWithTheWritersHeaderStillLoads)
{
    Write(IndexFile(9, "<ELEMENT ID=\"caf\xC3\xA9\" UID=\"1\"><TO a=\"b\">x</TO ><SUBJECT>y</SUBJECT></ELEMENT>"));
    EXPECT_EQ(Load(table_), 3);
    ASSERT_EQ(ItemCountOf(table_), 1u);
    EXPECT_EQ(TextOf(*ContentOf(table_).Sequence.front(), "TO"), "x");
    EXPECT_EQ(TextOf(*ContentOf(table_).Sequence.front(), "SUBJECT"), "y");
}

TEST_F(DocumentLoad, WhatIsNotWellFormedIsDamaged)
{
    for (const char* bytes :
         {"", " ", "no markup", "<BASEELEMENT", "<BASEELEMENT>", "<a/><b/>", "<a>&b</a>", "<a b='1' b='2'/>", "<a/>x"}) {
        Write(bytes);
        CaptureStdout([&] { EXPECT_EQ(Load(table_), 0) << bytes; });
    }
}

TEST_F(DocumentLoad, WithAVersionThatIsNotThereEveryLoadAndSaveFailsWithoutAWord)
{
    for (const char* version : {"4", "6.0"}) {
        store_.SetText("XML Version", version, kXmlVersionKey);
        Write(IndexFile(9, Element("a", 1)));
        const std::string out = CaptureStdout([&] {
            EXPECT_EQ(Load(table_), 0);
            table_.LoadLevel = 3;
            EXPECT_EQ(Save(table_), 0u);
        });
        EXPECT_EQ(out, "");
        EXPECT_TRUE(log_.Events().empty());
        EXPECT_TRUE(log_.Traces().empty());
        EXPECT_EQ(Bytes(), IndexFile(9, Element("a", 1)));
    }
    store_.SetText("XML Version", "3", kXmlVersionKey);
    EXPECT_EQ(Load(table_), 3);
}

TEST_F(DocumentLoad, GroupsAreReadFromTheirOwnFile)
{
    Write("rubbish");
    Write(OldFile("9", Element("g.GRP", 1)), "_groups.xml");
    EXPECT_EQ(MSXMLStoreIndexSerialiser().Deserialise(table_, Folder(), 54, "", "", 3, 0, 0), 3);
    EXPECT_EQ(IdsInSequence(table_), "g.GRP");
}

TEST_F(DocumentLoad, AHundredThousandItemsLoadInOneBreath)
{
    std::string elements;
    for (uint32_t number = 1; number <= 100000; ++number)
        elements += Element(std::to_string(number) + ".MAI", number, {{"SUBJECT", "mail " + std::to_string(number)}, {"READ", "1"}});
    Write(OldFile("100000", elements));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(ItemCountOf(table_), 100000u);
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "77777.MAI"), "SUBJECT"), "mail 77777");
}

}  // namespace
}  // namespace velmora::test
