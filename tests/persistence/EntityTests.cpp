// Escaping of property values, byte by byte and rule by rule.
#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <string>

#include "persistence/Entities.h"
#include "tests/index/Dice.h"
#include "tests/persistence/PlainReader.h"

namespace velmora::test {
namespace {

std::string Encoded(std::string text)
{
    EncodeEntities(text);
    return text;
}

std::string Decoded(std::string text)
{
    DecodeEntities(text);
    return text;
}

TEST(Entities, EveryByteIsEncodedByItsValue)
{
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        std::string expected = text;
        if (byte == '&') expected = "&amp;";
        if (byte == '<') expected = "&lt;";
        if (byte == '>') expected = "&gt;";
        const bool kept = byte == 9 || byte == 10 || byte == 13 || (byte >= 32 && byte <= 127);
        if (!kept) {
            char reference[8];
            std::snprintf(reference, sizeof reference, "&#x%x;", static_cast<unsigned>(byte));
            expected = reference;
        }
        EXPECT_EQ(Encoded(text), expected) << byte;
        EXPECT_EQ(Decoded(expected), text) << byte;
        std::string appended = "before";
        AppendEncoded(appended, text);
        EXPECT_EQ(appended, "before" + expected) << byte;
    }
}

TEST(Entities, ReferencesHaveLowerCaseDigitsAndNoLeadingZero)
{
    EXPECT_EQ(Encoded("\xE9"), "&#xe9;");
    EXPECT_EQ(Encoded("\x01"), "&#x1;");
    EXPECT_EQ(Encoded(std::string(1, '\0')), "&#x0;");
}

TEST(Entities, TheAmpersandIsEncodedFirst) { EXPECT_EQ(Encoded("&lt; <&>"), "&amp;lt; &lt;&amp;&gt;"); }

TEST(Entities, LineBreaksAndQuotesStayRaw) { EXPECT_EQ(Encoded("a\r\nb\t\"'\x7f"), "a\r\nb\t\"'\x7f"); }

TEST(Entities, AnEncodedEntityDecodesToTheEntityNotToItsCharacter)
{
    EXPECT_EQ(Decoded("&amp;lt;"), "&lt;");
    EXPECT_EQ(Decoded("&amp;amp;"), "&amp;");
    EXPECT_EQ(Decoded("&amp;gt;"), "&gt;");
}

TEST(Entities, AReferenceMayBeHexadecimalOrDecimal)
{
    EXPECT_EQ(Decoded("&#x41;&#65;&#x4a;&#x4A;"), "AAJJ");
    EXPECT_EQ(Decoded("a&#233;b"),
              "a\xE9"
              "b");
    EXPECT_EQ(Decoded("&#x0x41;"), "A");
    EXPECT_EQ(Decoded("&# 65;"), "A");
}

TEST(Entities, OnlyASmallXMeansHexadecimal) { EXPECT_EQ(Decoded("&#X41;"), std::string(1, '\0')); }

TEST(Entities, AReferenceKeepsTheLowEightBitsOfItsNumber)
{
    EXPECT_EQ(Decoded("&#x141;"), "A");
    EXPECT_EQ(Decoded("&#321;"), "A");
    EXPECT_EQ(Decoded("&#-1;"), "\xFF");
    EXPECT_EQ(Decoded("&#x20ac;"), "\xAC");
}

TEST(Entities, NumbersAreHeldAtTheEndsOfTheirRange)
{
    EXPECT_EQ(Decoded("&#x100000041;"), "\xFF");  // held at 2^32 - 1
    EXPECT_EQ(Decoded("&#x99999999999999999;"), "\xFF");
    EXPECT_EQ(Decoded("&#99999999999;"), "\xFF");  // held at 2^31 - 1
    EXPECT_EQ(Decoded("&#-99999999999;"), std::string(1, '\0'));
}

TEST(Entities, AReferenceWithNoDigitsIsAZeroByte)
{
    EXPECT_EQ(Decoded("a&#;b"), std::string("a\0b", 3));
    EXPECT_EQ(Decoded("a&#x;b"), std::string("a\0b", 3));
    EXPECT_EQ(Decoded("a&#nonsense;b"), std::string("a\0b", 3));
}

TEST(Entities, AReferenceEndsAtTheNextSemicolonWhateverLiesBetween)
{
    EXPECT_EQ(Decoded("&#65 and more &lt; text;"), "A text;");
    EXPECT_EQ(Decoded("&#&#65;"), std::string(1, '\0'));
}

TEST(Entities, AReferenceWithNoSemicolonStaysAndEndsTheDecodingOfReferences)
{
    EXPECT_EQ(Decoded("&#"), "&#");
    EXPECT_EQ(Decoded("&#x"), "&#x");
    EXPECT_EQ(Decoded("&#65"), "&#65");
    EXPECT_EQ(Decoded("&#65;&#66"), "A&#66");
    EXPECT_EQ(Decoded("&lt;&#65"), "<&#65");
}

TEST(Entities, TheScanForReferencesStartsAgainAfterEachOne)
{
    EXPECT_EQ(Decoded("&#38;#60;"), "<");
    EXPECT_EQ(Decoded("&&#35;65;"), "A");
    EXPECT_EQ(Decoded("&#38;#38;#65;"), "A");
    EXPECT_EQ(Decoded("&#38;lt;"), "<");
}

TEST(Entities, NamedEntitiesAreReplacedInTheirOrderAndNotTwice)
{
    EXPECT_EQ(Decoded("&lt;&gt;&amp;"), "<>&");
    EXPECT_EQ(Decoded("&&lt;lt;"), "&<lt;");
    EXPECT_EQ(Decoded("&am&amp;p;"), "&am&p;");
    EXPECT_EQ(Decoded("&LT;&quot;&apos;&lt"), "&LT;&quot;&apos;&lt");
}

TEST(Entities, ZeroBytesAreKept)
{
    const std::string text("a\0&lt;\0", 7);
    EXPECT_EQ(Decoded(text), std::string("a\0<\0", 4));
}

TEST(Entities, DecodingInABufferGivesTheNewLengthAndTheSameBytes)
{
    std::string text = "a&amp;b&#x41;&lt;";
    const size_t size = DecodeEntitiesInPlace(text.data(), text.size());
    EXPECT_EQ(text.substr(0, size), "a&bA<");
    EXPECT_EQ(DecodeEntitiesInPlace(text.data(), 0), 0u);
}

TEST(Entities, AnyBytesComeBackAfterEncodingAndDecoding)
{
    Dice dice(1);
    const std::string special = "&<>;#xltgamp0123456789";
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (uint32_t size = dice.Below(60); text.size() < size;) text += dice.OneIn(2) ? special[dice.Below(special.size())] : dice.Byte();
        ASSERT_EQ(Decoded(Encoded(text)), text) << round;
    }
}

TEST(Entities, AnyTextDecodesAsByThePlainRules)
{
    Dice dice(2);
    const char* const parts[] = {"&", "#",   ";",    "&#", "x",     "&lt;", "&gt;",       "&amp;", "lt;", "amp;", "&#x",
                                 "4", "1",   "38",   "35", "&#38;", "#60;", "9999999999", "-",     " ",   "+",    "&&",
                                 "z", "&#0", "\x80", "0x", "gt;",   "a",    "F",          "&#x26", "60",  "g"};
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (uint32_t count = dice.Below(12); count > 0; --count) text += parts[dice.Below(std::size(parts))];
        ASSERT_EQ(Decoded(text), PlainDecode(text)) << "of " << text;
        std::string inPlace = text;
        inPlace.resize(DecodeEntitiesInPlace(inPlace.data(), inPlace.size()));
        ASSERT_EQ(inPlace, PlainDecode(text)) << "of " << text;
    }
}

TEST(Entities, MegabytesOfReferencesTakeNoQuadraticTime)
{
    std::string chained = "&#38;";
    while (chained.size() < 2000000) chained += "#38;";
    EXPECT_EQ(Decoded(chained), "&");
    std::string plain;
    while (plain.size() < 4000000) plain += "&#x41;&amp;&lt;";
    const std::string decoded = Decoded(plain);
    EXPECT_EQ(decoded.substr(0, 6), "A&<A&<");
    EXPECT_EQ(decoded.size(), (plain.size() / 15) * 3);
    const std::string open(3000000, '&');
    EXPECT_EQ(Decoded(open), open);
    std::string openReferences;
    while (openReferences.size() < 3000000) openReferences += "&#";
    EXPECT_EQ(Decoded(openReferences), openReferences);
}

}  // namespace
}  // namespace velmora::test
