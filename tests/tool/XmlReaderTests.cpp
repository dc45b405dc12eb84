// The tool's own readers of XML, of indexes and of shares, on bytes.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/vlstore/IndexReader.h"
#include "tools/vlstore/ShareReader.h"
#include "tools/vlstore/XmlScanner.h"

namespace velmora::test {

using namespace vlstore;
using namespace std::string_literals;

namespace {

// "12: WHAT" of the first fault; empty when there is none.
std::string Scanned(const std::string& bytes)
{
    XmlScanner scan(bytes);
    while (scan.Next()) {
    }
    return scan.Fault() ? std::to_string(scan.Fault()->offset) + ": " + scan.Fault()->what : std::string();
}

std::string FaultOf(const std::string& bytes)
{
    const IndexFile index = ReadIndex(bytes);
    return index.fault ? std::to_string(index.fault->offset) + ": " + index.fault->what : std::string();
}

std::string StreamFaultOf(const std::string& bytes)
{
    const IndexFile index = ReadIndex(bytes);
    EXPECT_FALSE(index.fault) << index.fault->what;
    return index.streamFault ? std::to_string(index.streamFault->offset) + ": " + index.streamFault->what : std::string();
}

const std::string kHead = "<BASEELEMENT LASTUID=\"x00000009\">", kTail = "</BASEELEMENT>\r\n";
std::string InRoot(const std::string& elements) { return kHead + elements + kTail; }
const std::string kOne = "<ELEMENT ID=\"a\" UID=\"1\"><A>1</A></ELEMENT>";

std::vector<std::string> Shares(const std::string& bytes)
{
    std::optional<XmlFault> fault;
    return SharedFolders(bytes, fault);
}
std::vector<std::string> Users(const std::string& bytes)
{
    std::optional<XmlFault> fault;
    return UsersOf(bytes, fault);
}

}  // namespace

TEST(XmlScanner, TakesWhatIsWellFormed)
{
    for (const std::string bytes :
         {"<a/>", "<a></a>", "<a b='1' c=\"2\"/>", "<a\n b = '1'\t/>\n", "\xEF\xBB\xBF<a/>", "<?xml version='1.0' encoding='utf-8'?><a/>",
          "<?xml version='1.0' standalone='yes'?>\n<!-- x - y --><a/><!----><?go on?>",
          "<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x41;&#1;&#x10FFFF;</a>", "<a><![CDATA[<&]]]]></a>", "<a>\xC3\xA9</a>", "<a>]] ></a>",
          "<a b=\">\"/>", "<_a-b.c:d/>"}) {
        EXPECT_EQ(Scanned(bytes), "") << bytes;
    }
}

TEST(XmlScanner, NamesTheFirstFaultWithItsOffset)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", "0: there is no root element"},
        {" \r\n", "3: there is no root element"},
        {"x<a/>", "0: text before the root element"},
        {"<a/> x", "5: text behind the root element"},
        {"<a/><b/>", "4: a second root element"},
        {"<a><b></a></b>", "6: </a> closes <b>"},
        {"</a>", "0: </a> closes nothing"},
        {"<a>", "3: the file ends within <a>"},
        {"<a", "2: the file ends within a tag"},
        {"<a x", "4: the file ends within a tag"},
        {"<ab></a", "7: the file ends within a tag"},
        {"<a x/>", "4: an attribute without a value"},
        {"<a x=1/>", "5: the value of an attribute without quotes"},
        {"<a x=\"1/>", "5: the value of an attribute without an end"},
        {"<a x=\"1\"y=\"2\"/>", "8: a blank is missing in front of an attribute"},
        {"<a x=\"1\" x=\"2\"/>", "9: the attribute x stands twice"},
        {"<a x=\"<\"/>", "6: \"<\" in the value of an attribute"},
        {"<a x=\"&\"/>", "6: a \"&\" that begins no reference"},
        {"<a>&</a>", "3: a \"&\" that begins no reference"},
        {"<a>&nbsp;</a>", "3: a \"&\" that begins no reference"},
        {"<a>&#0;</a>", "3: a \"&\" that begins no reference"},
        {"<a>&#xD800;</a>", "3: a \"&\" that begins no reference"},
        {"<a>&#x110000;</a>", "3: a \"&\" that begins no reference"},
        {"<a>&#99999999999;</a>", "3: a \"&\" that begins no reference"},
        {"<a>&#;</a>", "3: a \"&\" that begins no reference"},
        {"<a>&#-1;</a>", "3: a \"&\" that begins no reference"},
        {"<a>\x01&</a>", "3: a control byte"},
        {"<a>x]]></a>", "4: \"]]>\" in a text"},
        {"<a>\xE9</a>", "3: a byte that is not UTF-8"},
        {"<a>\xC0\x80</a>", "3: a byte that is not UTF-8"},
        {"<a>\xEF\xBF\xBF</a>", "3: a byte that is not UTF-8"},
        {"<a/ >", "3: a tag without its \">\""},
        {"<1/>", "1: a name is missing"},
        {"<a\xC3\xA9/>", "2: a name with a byte above 127"},
        {"<?xml version='1.2'?><a/>", "6: a version of XML that there is not"},
        {"<?xml version='1.0' standalone='maybe'?><a/>", "20: an XML declaration that is not one"},
        {"<a></a x>", "7: a tag without its \">\""},
        {"<!DOCTYPE a><a/>", "0: a document type, which no index has"},
        {"<a><![CDATA[x</a>", "3: a CDATA section without an end"},
        {"<![CDATA[x]]><a/>", "0: text outside the root element"},
        {"<a><!-- x -- y --></a>", "10: \"--\" in a comment"},
        {"<a><!-- x</a>", "3: a comment without an end"},
        {" <?xml version='1.0'?><a/>", "1: an XML declaration that is not at the start of the file"},
        {"<?xml encoding='utf-8'?><a/>", "22: an XML declaration without a version"},
        {"<?xml version='1.0' encoding='koi8-r'?><a/>", "20: an encoding that is not read here: koi8-r"},
        {"<?go", "0: an instruction without an end"},
        {"\xFF\xFE<", "0: UTF-16 is not read here"},
        {"<a>"s + '\0' + "</a>", "3: a control byte"},
    };
    for (const auto& [bytes, fault] : cases) EXPECT_EQ(Scanned(bytes), fault) << bytes;
}

TEST(XmlScanner, LevelsAndAttributesAreBounded)
{
    std::string deep, closed;
    for (size_t i = 0; i < kXmlDeepest; ++i) {
        deep += "<a>";
        closed += "</a>";
    }
    EXPECT_EQ(Scanned(deep + closed), "");
    EXPECT_EQ(Scanned(deep + "<a>"), std::to_string(deep.size()) + ": more levels than 256");
    std::string many = "<a";
    for (size_t i = 0; i < kXmlMostAttributes; ++i) many += " a" + std::to_string(i) + "=\"\"";
    EXPECT_EQ(Scanned(many + "/>"), "");
    EXPECT_EQ(Scanned(many + " b=\"\"/>"), std::to_string(many.size() + 1) + ": more attributes than 64");
}

TEST(XmlScanner, TextsAreDecodedAsEachReaderDoes)
{
    const std::string raw = "a&amp;&lt;&#xE9;&#x80;&#x20AC;&#x100;\xC3\xA9\r\n\r&quot;";
    EXPECT_EQ(DecodeXmlText(raw, XmlReading::Document), "a&<\xE9\x80\x80\xC4\x80\xE9\n\n\"");
    EXPECT_EQ(DecodeXmlText("&#xE9;\xC3\xA9\r\n\r&amp;lt;", XmlReading::Stream), "\xE9\xC3\xA9\r\n\r&lt;");
}

TEST(IndexReader, TellsTheForms)
{
    EXPECT_EQ(ReadIndex(InRoot(kOne)).form, IndexForm::Stream);
    EXPECT_EQ(ReadIndex(InRoot("")).form, IndexForm::Stream);
    // A name with an "&" stands in the stream form as it is.
    EXPECT_EQ(ReadIndex(InRoot("<ELEMENT ID=\"R&D<\xE9\" UID=\"1\"></ELEMENT>")).elements.at(0).id, "R&D<\xE9");
    EXPECT_EQ(ReadIndex(kHead + kOne + "</BASEELEMENT>").form, IndexForm::DomNew);
    EXPECT_EQ(ReadIndex(InRoot(kOne + "\r\n")).form, IndexForm::DomNew);
    EXPECT_EQ(ReadIndex("<BASEELEMENT LASTUID=\"x00000000\"/>").form, IndexForm::DomNew);
    EXPECT_EQ(ReadIndex("<BASEELEMENT LASTUID=\"9\">" + kOne + "</BASEELEMENT>").form, IndexForm::DomOld);
    EXPECT_EQ(ReadIndex("<BASEELEMENT>" + kOne + "</BASEELEMENT>").form, IndexForm::DomOld);
}

TEST(IndexReader, LastUidHasThreeFormsAndMayBeMissing)
{
    EXPECT_EQ(ReadIndex("<BASEELEMENT LASTUID=\"x00000010\"/>").lastUid, 16u);
    EXPECT_EQ(ReadIndex("<BASEELEMENT LASTUID=\"010\"/>").lastUid, 16u);
    EXPECT_EQ(ReadIndex("<BASEELEMENT LASTUID=\"10\"/>").lastUid, 10u);
    EXPECT_EQ(ReadIndex("<BASEELEMENT>" + kOne + "<ELEMENT ID=\"-\" UID=\"-\"/></BASEELEMENT>").lastUid, 2u);
    EXPECT_EQ(ReadIndex("<BASEELEMENT LASTUID=\"0\">" + kOne + "</BASEELEMENT>").lastUid, 1u);
    EXPECT_EQ(FaultOf("<BASEELEMENT LASTUID=\"ten\"/>"), "13: LASTUID is no number: ten");
    EXPECT_EQ(FaultOf("<BASEELEMENT LASTUID=\"\"/>"), "13: LASTUID is no number: ");
    EXPECT_EQ(FaultOf("<BASEELEMENT LASTUID=\"x00000000\">" + kOne + "</BASEELEMENT>"), "0: LASTUID 0 is below the UID 1");
}

TEST(IndexReader, GivesItemsWithTheirPlacesAndValues)
{
    const std::string gone = "<ELEMENT ID=\"---\" UID=\"-\"><A>x</A></ELEMENT>";
    const std::string bytes = InRoot(kOne + gone + "<ELEMENT ID=\"b\" UID=\"3\"><A>&lt;&#xe9;</A><B></B><A>2\r\n</A></ELEMENT>");
    const IndexFile index = ReadIndex(bytes);
    EXPECT_FALSE(index.FirstFault());
    ASSERT_EQ(index.elements.size(), 3u);
    EXPECT_EQ(bytes.substr(index.elements[0].offset, index.elements[0].length), kOne);
    EXPECT_EQ(bytes.substr(index.elements[1].offset, index.elements[1].length), gone);
    EXPECT_TRUE(index.elements[1].tombstone);
    EXPECT_EQ(index.Tombstones(), 1u);
    EXPECT_EQ(index.elements[2].uid, 3u);
    EXPECT_EQ(PropertiesOf(index, index.elements[2]), (std::map<std::string, std::string>{{"A", "2\r\n"}, {"B", ""}}));
    EXPECT_EQ(PropertiesOf(index, index.elements[0]), (std::map<std::string, std::string>{{"A", "1"}}));
    EXPECT_EQ(bytes.substr(index.endOffset), kTail);
}

TEST(IndexReader, NamesTheFirstFaultOfAnIndex)
{
    const std::pair<std::string, std::string> cases[] = {
        {"<INDEX/>", "0: the root is <INDEX> and not <BASEELEMENT>"},
        {InRoot("<ITEM/>"), "33: <ITEM> in the place of <ELEMENT>"},
        {InRoot("<ELEMENT UID=\"1\"></ELEMENT>"), "33: an element without an ID"},
        {InRoot("<ELEMENT ID=\"a\"></ELEMENT>"), "33: an element without a UID"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"0\"></ELEMENT>"), "49: not a UID: 0"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1x\"></ELEMENT>"), "49: not a UID: 1x"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"4294967296\"></ELEMENT>"), "49: not a UID: 4294967296"},
        {InRoot(kOne + "<ELEMENT ID=\"a\" UID=\"2\"></ELEMENT>"), "84: the ID a a second time"},
        {InRoot(kOne + "<ELEMENT ID=\"b\" UID=\"1\"></ELEMENT>"), "91: the UID 1 a second time"},
        {InRoot("text" + kOne), "33: text outside a property"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"> x</ELEMENT>"), "58: text outside a property"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A><B/></A></ELEMENT>"), "60: <B> within the property A"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><UID>1</UID></ELEMENT>"), "57: a property with the name of a key: UID"},
        {kHead + kOne, "75: the file ends within <BASEELEMENT>"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A>1</B></ELEMENT>"), "61: </B> closes <A>"},
    };
    for (const auto& [bytes, fault] : cases) EXPECT_EQ(FaultOf(bytes), fault) << bytes;
}

TEST(IndexReader, NamesWhatTheStreamReaderAloneRefuses)
{
    const std::string refuses = ", which the stream reader refuses";
    const std::pair<std::string, std::string> cases[] = {
        {"<?xml version=\"1.0\"?>" + InRoot(kOne), "0: a comment, a declaration or an instruction"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"/>"), "33: an element that closes itself"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A/></ELEMENT>"), "57: a property that closes itself"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A ></A></ELEMENT>"), "57: a property's tag with more than its name"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A></A ></ELEMENT>"), "60: blanks in an end tag"},
        {InRoot("<ELEMENT ID='a' UID=\"1\"></ELEMENT>"), "42: an attribute that is not written NAME=\"VALUE\" behind one blank"},
        {InRoot("<ELEMENT ID=\"a>\" UID=\"1\"></ELEMENT>"), "42: a \">\" in the value of an attribute"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A><![CDATA[x]]></A></ELEMENT>"), "60: a CDATA section"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"1\"><ELEMENTAL></ELEMENTAL></ELEMENT>"),
         "57: a property with a name that begins like a tag of the format"},
        {InRoot("<ELEMENT ID=\"a\" UID=\"2\"></ELEMENT><ELEMENT ID=\"b\" UID=\"1\"></ELEMENT>"), "83: the UID 1 behind a higher one"},
        {InRoot("<ELEMENT ID=\"" + std::string(1020, 'a') + "\" UID=\"1\"></ELEMENT>"), "33: a tag of more than 1,023 bytes"},
    };
    for (const auto& [bytes, fault] : cases) EXPECT_EQ(StreamFaultOf(bytes), fault + refuses) << bytes;
    EXPECT_EQ(PropertiesOf(ReadIndex(InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A>1&lt;<![CDATA[&lt;]]>3</A></ELEMENT>")),
                           ReadIndex(InRoot("<ELEMENT ID=\"a\" UID=\"1\"><A>1&lt;<![CDATA[&lt;]]>3</A></ELEMENT>")).elements.at(0))
                  .at("A"),
              "1<&lt;3");
}

TEST(ShareReader, GivesTheFoldersAndUsersThatTheFilesName)
{
    EXPECT_EQ(Shares("<SHARES><SHARE><RESOURCE>/a&amp;b</RESOURCE></SHARE><SHARE/><X><RESOURCE>no</RESOURCE></X>"
                     "<SHARE><NOTE>n</NOTE>\n<RESOURCE><![CDATA[/c]]></RESOURCE></SHARE></SHARES>"),
              (std::vector<std::string>{"/a&b", "/c"}));
    EXPECT_EQ(Shares("<ROOT><SHARES><SHARE><RESOURCE>/a</RESOURCE></SHARE></SHARES></ROOT>"), std::vector<std::string>{"/a"});
    EXPECT_EQ(Users("<LIST><ITEM USER=\"a/b\"/><ITEM/><USER USER=\"no\"/><ITEM X=\"1\" USER='&#x41;'>x</ITEM></LIST>"),
              (std::vector<std::string>{"a/b", "A"}));
}

}  // namespace velmora::test
