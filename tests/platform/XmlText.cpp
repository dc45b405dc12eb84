// Text on its way into a document, to its bytes, and back.
#include <gtest/gtest.h>

#include "platform/Xml.h"

namespace velmora::test {

namespace {

using platform::XmlDocument;
using platform::XmlNode;

// The value as it comes back as an element's text and as an attribute's, through the bytes of a document.
void ExpectKept(const std::string& value)
{
    const auto written = XmlDocument::Create();
    XmlNode root = written->CreateRoot("r");
    EXPECT_EQ(root.AppendElement("t", value).Text(), value);
    root.SetAttribute("a", value);
    EXPECT_EQ(root.Attribute("a"), value);
    const std::string bytes = written->ToBytes();
    for (const char c : bytes) EXPECT_TRUE(c >= ' ' && c <= '~') << static_cast<int>(c);

    const auto read = XmlDocument::Create();
    ASSERT_TRUE(read->LoadBytes(bytes)) << read->ParseError().reason << " in " << bytes.substr(0, 200);
    EXPECT_EQ(read->DocumentElement().FirstElement().Text(), value);
    EXPECT_EQ(read->DocumentElement().Attribute("a"), value);
    // An element that was made empty on purpose is not told from a bare one any more.
    if (!value.empty()) {
        EXPECT_EQ(read->ToBytes(), bytes);
    }
}

TEST(XmlText, EveryByteIsKept)
{
    for (int byte = 1; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const char c = static_cast<char>(byte);
        ExpectKept(std::string(1, c));
        ExpectKept(std::string("a") + c + c + "b");
    }
}

TEST(XmlText, AllBytesTogetherAreKept)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
    ExpectKept(all);
    ExpectKept(std::string(all.rbegin(), all.rend()));
}

TEST(XmlText, ValuesThatAProcessorCouldChangeAreKept)
{
    for (const char* const value : {"",
                                    " ",
                                    "   ",
                                    "\t",
                                    "\n",
                                    "\r",
                                    "\r\n",
                                    "\n\r",
                                    " \r\n\t ",
                                    "  lead",
                                    "trail  ",
                                    " \t both \n",
                                    "]]>",
                                    "<![CDATA[x]]>",
                                    "&amp;",
                                    "&#38;#60;",
                                    "&#1;",
                                    "<!-- -->",
                                    "<?xml version=\"1.0\"?>",
                                    "\"quoted\" 'twice'",
                                    "a\x7F\x80",
                                    "\xEF\xBB\xBF",
                                    "\xC3\xA4",
                                    "-",
                                    "\xEE\x80\x81",
                                    "\xFF\xFE"}) {
        SCOPED_TRACE(value);
        ExpectKept(value);
    }
}

TEST(XmlText, AHundredKilobytesAreKept)
{
    std::string large;
    for (size_t i = 0; large.size() < 100 * 1024; ++i) large.push_back(static_cast<char>(1 + i * 31 % 255));
    ExpectKept(large);
    ExpectKept(std::string(100 * 1024, ' '));
}

TEST(XmlText, BytesLeaveAsReferencesOfTheirNumbers)
{
    const auto document = XmlDocument::Create();
    document->CreateRoot("r").AppendElement("t", "\x01\t\n\r ~\x7F\x80\xE4\xFF");
    EXPECT_EQ(document->ToBytes(), "<r><t>&#x1;&#x9;&#xa;&#xd; ~&#x7f;&#x80;&#xe4;&#xff;</t></r>");
}

TEST(XmlText, TextEndsAtAZeroByte)
{
    const auto document = XmlDocument::Create();
    XmlNode root = document->CreateRoot("r");
    root.SetAttribute("a", std::string_view("x\0y", 3));
    root.AppendElement("t", std::string_view("\0y", 2));
    EXPECT_EQ(document->ToBytes(), "<r a=\"x\"><t></t></r>");
}

}  // namespace

}  // namespace velmora::test
