// Another strict parser, for a second opinion on what is a document and what it says.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>

#include "platform/Xml.h"
#include "tests/platform/XmlCases.h"

namespace velmora::test {

namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

Document Read(std::string_view bytes)
{
    constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;
    return {xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "", nullptr, kOptions), xmlFreeDoc};
}

TEST(PosixXmlOpinion, WhatTheFacilityRefusesIsRefused)
{
    for (const XmlCase& one : kRefused) {
        if (one.others != Opinion::Varies) {
            EXPECT_EQ(Read(one.bytes) != nullptr, one.others == Opinion::TakesIt) << one.bytes;
        }
    }
}

TEST(PosixXmlOpinion, WhatTheFacilityTakesIsTaken)
{
    for (const XmlCase& one : kTaken) {
        if (one.others != Opinion::Varies) {
            EXPECT_EQ(Read(one.bytes) != nullptr, one.others != Opinion::RefusesIt) << one.bytes;
        }
    }
}

TEST(PosixXmlOpinion, WhatIsWrittenIsReadAsMeant)
{
    const auto document = platform::XmlDocument::Create();
    platform::XmlNode root = document->CreateRoot("r");
    std::string expected;
    std::string text;
    for (int byte = 9; byte < 256; ++byte) {
        if (byte < 32 && byte != 9 && byte != 10 && byte != 13) continue;
        text.push_back(static_cast<char>(byte));
        if (byte < 128) {
            expected.push_back(static_cast<char>(byte));
        } else {
            expected.push_back(static_cast<char>(0xC0 | (byte >> 6)));
            expected.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
        }
    }
    root.AppendElement("t", text);
    const Document read = Read(document->ToBytes());
    ASSERT_TRUE(read);
    xmlChar* const content = xmlNodeGetContent(xmlDocGetRootElement(read.get()));
    EXPECT_EQ(reinterpret_cast<const char*>(content), expected);
    xmlFree(content);
}

}  // namespace

}  // namespace velmora::test
