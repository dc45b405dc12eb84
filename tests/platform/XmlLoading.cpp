// What is a document and what is none, with the place of the fault.
#include <gtest/gtest.h>

#include "platform/Xml.h"
#include "tests/platform/XmlCases.h"
#include "tests/support/Wine.h"

namespace velmora::test {

namespace {

using platform::XmlDocument;
using platform::XmlNode;

std::string Repeated(std::string_view text, size_t count)
{
    std::string all;
    for (size_t i = 0; i < count; ++i) all += text;
    return all;
}

TEST(XmlLoading, WhatIsNotWellFormedIsRefusedWithItsPlace)
{
    const auto document = XmlDocument::Create();
    for (const XmlCase& one : kRefused) {
        EXPECT_FALSE(document->LoadBytes(one.bytes)) << one.bytes;
        EXPECT_NE(document->ParseError().code, 0u) << one.bytes;
        EXPECT_EQ(document->ParseError().line, one.line) << one.bytes;
        EXPECT_EQ(document->ParseError().column, one.column) << one.bytes;
        EXPECT_FALSE(document->ParseError().reason.empty()) << one.bytes;
        EXPECT_FALSE(document->DocumentElement()) << one.bytes;
        EXPECT_EQ(document->ToBytes(), "") << one.bytes;
    }
}

TEST(XmlLoading, WhatIsWellFormedIsTaken)
{
    const auto document = XmlDocument::Create();
    for (const XmlCase& one : kTaken) {
        EXPECT_TRUE(document->LoadBytes(one.bytes)) << one.bytes << ": " << document->ParseError().reason;
        EXPECT_EQ(document->ParseError().code, 0u) << one.bytes;
        EXPECT_EQ(document->ParseError().line, 0) << one.bytes;
        EXPECT_EQ(document->ParseError().column, 0) << one.bytes;
        EXPECT_EQ(document->ParseError().reason, "") << one.bytes;
        EXPECT_TRUE(document->DocumentElement()) << one.bytes;
    }
}

// Whatever a document is cut to is none: the fault is at the end or where the cut made one.
TEST(XmlLoading, ACutDocumentIsRefusedWhereverItIsCut)
{
    const std::string whole =
        "<?xml version='1.0' encoding='utf-8'?><!-- c --><?p q?><a b='1&amp;' c=\"2\"><b>x&#65;\xC3\xA4</b><![CDATA[]]x]]><c/></a>";
    const auto document = XmlDocument::Create();
    ASSERT_TRUE(document->LoadBytes(whole)) << document->ParseError().reason;
    for (size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(document->LoadBytes(whole.substr(0, size))) << size;
        EXPECT_EQ(document->ParseError().line, 1) << size;
    }
}

TEST(XmlLoading, TheSameElementMayStandInAThousandLevelsAndNoMore)
{
    if (RunsUnderWine()) GTEST_SKIP() << "its parser takes 256 levels";
    const auto document = XmlDocument::Create();
    EXPECT_TRUE(document->LoadBytes(Repeated("<a>", 1000) + Repeated("</a>", 1000))) << document->ParseError().reason;
}

TEST(XmlLoading, WhatIsNestedTooDeepIsRefusedAtOnce)
{
    const auto document = XmlDocument::Create();
    EXPECT_TRUE(document->LoadBytes(Repeated("<a>", 250) + Repeated("</a>", 250))) << document->ParseError().reason;
    EXPECT_FALSE(document->LoadBytes(Repeated("<a>", 1001) + Repeated("</a>", 1001)));
    EXPECT_EQ(document->ParseError().column, 3001);
    EXPECT_FALSE(document->LoadBytes(Repeated("<a>", 1000) + "<a/>" + Repeated("</a>", 1000)));
    EXPECT_EQ(document->ParseError().column, 3001);
    EXPECT_FALSE(document->LoadBytes(Repeated("<a>", 3000000)));
    EXPECT_EQ(document->ParseError().column, 3001);
}

TEST(XmlLoading, ManyAttributesAreComparedWithoutLosingTime)
{
    std::string many = "<a";
    for (int i = 0; i < 5000; ++i) many += " a" + std::to_string(i) + "=''";
    const auto document = XmlDocument::Create();
    EXPECT_TRUE(document->LoadBytes(many + "/>")) << document->ParseError().reason;
    EXPECT_EQ(document->DocumentElement().Attributes().size(), 5000u);
    EXPECT_FALSE(document->LoadBytes(many + " a7=''/>"));
    EXPECT_EQ(document->ParseError().column, static_cast<int32_t>(many.size()) + 2);
}

TEST(XmlLoading, AFailedLoadLeavesNothingOfTheDocumentBefore)
{
    const auto document = XmlDocument::Create();
    ASSERT_TRUE(document->LoadBytes("<?xml version='1.0' standalone='yes'?><a><b/></a>"));
    EXPECT_FALSE(document->LoadBytes("<a>"));
    EXPECT_FALSE(document->DocumentElement());
    EXPECT_EQ(document->ToBytes(), "");
    ASSERT_TRUE(document->LoadBytes("<c/>"));
    EXPECT_EQ(document->ParseError().code, 0u);
    EXPECT_EQ(document->ToBytes(), "<c/>");
}

TEST(XmlLoading, ReferencesInWhatIsNoTextStayAsTheyAre)
{
    const auto document = XmlDocument::Create();
    ASSERT_TRUE(document->LoadBytes("<a><!--&#1;--><?p &#13;?><![CDATA[&#1;&#65;]]></a>"));
    EXPECT_EQ(document->DocumentElement().Text(), "&#1;&#65;");
    EXPECT_EQ(document->ToBytes(), "<a><!--&#1;--><?p &#13;?><![CDATA[&#1;&#65;]]></a>");
}

TEST(XmlLoading, LineEndsComeAsLineFeedsUnlessTheyAreReferences)
{
    const auto document = XmlDocument::Create();
    ASSERT_TRUE(document->LoadBytes("<a b='1\r\n2\r3\n4\t5&#13;&#10;&#9;6'>1\r\n2\r3\n4\t&#13;&#10;&#xD;<![CDATA[\r\n]]></a>"));
    EXPECT_EQ(document->DocumentElement().Text(), "1\n2\n3\n4\t\r\n\r\n");
    EXPECT_EQ(document->DocumentElement().Attribute("b"), "1 2 3 4 5\r\n\t6");
}

TEST(XmlLoading, EncodingsGiveTheSameText)
{
    const auto document = XmlDocument::Create();
    const auto textOf = [&](std::string_view bytes) {
        EXPECT_TRUE(document->LoadBytes(bytes)) << document->ParseError().reason;
        return document->DocumentElement().Text();
    };
    EXPECT_EQ(textOf("<a>\xC3\xA4\xE2\x82\xAC\xE4\xB8\xAD\xF0\x9F\x98\x80</a>"), "\xE4\x80\xE4\xB8\xAD\xF0\x9F\x98\x80");
    EXPECT_EQ(textOf("<a>&#228;&#8364;&#x4e2d;&#x1F600;</a>"), "\xE4\x80\xE4\xB8\xAD\xF0\x9F\x98\x80");
    EXPECT_EQ(textOf("\xFF\xFE<\0a\0>\0\xE4\0\xAC\x20=\xD8\0\xDE<\0/\0a\0>\0"sv), "\xE4\x80\xF0\x9F\x98\x80");
    EXPECT_EQ(textOf("\xFE\xFF\0<\0a\0>\0\xE4\x20\xAC\0<\0/\0a\0>"sv), "\xE4\x80");
    EXPECT_EQ(textOf("<?xml version='1.0' encoding='windows-1252'?><a>\xE4\x80\x81\x9F</a>"), "\xE4\x80\x81\x9F");
    EXPECT_EQ(textOf("<?xml version='1.0' encoding='iso-8859-1'?><a>\xE4\x80\x81\x9F</a>"), "\xE4\x80\x81\x9F");
    // The 27 letters of Windows-1252, and the numbers that they have there.
    EXPECT_EQ(textOf("<a>\xC2\x80\xC2\x9F\xC5\xB8\xE2\x80\x99</a>"), "\x80\x9F\x9F\x92");
}

TEST(XmlLoading, CodePointsThatTheWindowsSideUsesForItselfAreText)
{
    const auto document = XmlDocument::Create();
    const std::string all = "<a b='\xEE\x80\x80&#xE001;\xEE\x80\xA0'>\xEE\x80\x81&#xE020;&#xE020;\xEE\x80\xA1<![CDATA[\xEE\x80\x8D]]></a>";
    ASSERT_TRUE(document->LoadBytes(all)) << document->ParseError().reason;
    EXPECT_EQ(document->DocumentElement().Attribute("b"), "\xEE\x80\x80\xEE\x80\x81\xEE\x80\xA0");
    EXPECT_EQ(document->DocumentElement().Text(), "\xEE\x80\x81\xEE\x80\xA0\xEE\x80\xA0\xEE\x80\xA1\xEE\x80\x8D");
    EXPECT_EQ(document->ToBytes(), "<a b=\"&#xe000;&#xe001;&#xe020;\">&#xe001;&#xe020;&#xe020;&#xe021;<![CDATA[\xEE\x80\x8D]]></a>");
}

}  // namespace

}  // namespace velmora::test
