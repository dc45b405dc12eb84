#include "items/CalendarDecoding.h"

#include <gtest/gtest.h>

#include <string>

#include "items/QuotedPrintable.h"

namespace velmora::test {
namespace {

// ---- Quoted-printable ----

TEST(QuotedPrintableDecoding, MakesBytesOfHexadecimalDigits)
{
    EXPECT_EQ(QuotedPrintableDecode("Gr=C3=BC=c3=9fe"),
              "Gr\xC3\xBC\xC3\x9F"
              "e");
    EXPECT_EQ(QuotedPrintableDecode("=41"), "A");
    EXPECT_EQ(QuotedPrintableDecode("=00x").size(), 2u);
    EXPECT_EQ(QuotedPrintableDecode("plain_text?"), "plain_text?");
    EXPECT_EQ(QuotedPrintableDecode(""), "");
}

TEST(QuotedPrintableDecoding, DropsAnEqualsSignThatNoDigitsFollow)
{
    EXPECT_EQ(QuotedPrintableDecode("a=G1b"), "aG1b");
    EXPECT_EQ(QuotedPrintableDecode("a=4Gb"), "a4Gb");
    EXPECT_EQ(QuotedPrintableDecode("a==41b"), "aAb");
    EXPECT_EQ(QuotedPrintableDecode("a=\r\nb"), "a\r\nb");
}

TEST(QuotedPrintableDecoding, LeavesTheLastTwoBytesAsTheyAre)
{
    EXPECT_EQ(QuotedPrintableDecode("ab=4"), "ab=4");
    EXPECT_EQ(QuotedPrintableDecode("abc="), "abc=");
    EXPECT_EQ(QuotedPrintableDecode("=="), "==");
    EXPECT_EQ(QuotedPrintableDecode("=41=4"), "A=4");
}

// ---- Whole texts ----

TEST(CalendarDecoding, ATextWithNothingEncodedIsCopied)
{
    for (const std::string text :
         {"", "no colon", "A:b", "A:b=\r\n c\n\n", "A;ENCODING=BASE64:YQ==\r\n", "a;encoding=quoted-printable:=41"})
        EXPECT_EQ(DecodeCalendarText(text), text);
}

TEST(CalendarDecoding, AnEncodedValueIsDecodedAndItsParameterGoes)
{
    EXPECT_EQ(DecodeCalendarText("BEGIN:VEVENT\r\nSUMMARY;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:Gr=C3=BC=C3=9Fe\r\nEND:VEVENT\r\n"),
              "BEGIN:VEVENT\r\nSUMMARY;CHARSET=UTF-8:Gr\xC3\xBC\xC3\x9F"
              "e\r\nEND:VEVENT\r\n");
}

TEST(CalendarDecoding, OneParameterGoesOfTwo)
{
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;ENCODING=QUOTED-PRINTABLE;B:=41\r\n"), "A;ENCODING=QUOTED-PRINTABLE;B:A\r\n");
}

TEST(CalendarDecoding, AParameterInLastPlaceStays)
{
    EXPECT_EQ(DecodeCalendarText("A;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=41\r\n"), "A;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:A\r\n");
}

TEST(CalendarDecoding, SoftBreaksAreJoinedWhateverFollowsThem)
{
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:one=\r\ntwo=\r\n\t three=20\r\nC:d\r\n"), "A;B:onetwothree \r\nC:d\r\n");
    // Of an encoded word they are a part.
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:=?UTF-8?Q?x?=\r\nC:d\r\n"), "A;B:?UTF-8?Q?x?=\r\nC:d\r\n");
}

TEST(CalendarDecoding, LineBreaksInAValueBecomeFolds)
{
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:one=0D=0Atwo=0D=0A=0D=0A\r\n"),
              "A;B:one\\n\r\n\ttwo\\n\r\n\t\\n\r\n\t\r\n");
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:one=0D=0Atwo\n"), "A;B:one\\n\n\ttwo\n");
}

TEST(CalendarDecoding, ValuesBesideAnEncodedOneAreUnfoldedAndNothingElse)
{
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:x\r\nC: one\\n=41=\r\n  two\r\n\tthree\r\nD:e\r\n"),
              "A;B:x\r\nC:one\\n=41=twothree\r\nD:e\r\n");
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:x\r\nC;ENCODING=BASE64:YQ==\r\n\r\nD:e\r\n"),
              "A;B:x\r\nC;ENCODING=BASE64:YQ==\r\n\r\nD:e\r\n");
}

TEST(CalendarDecoding, TheFirstLineEndIsThatOfAll)
{
    EXPECT_EQ(DecodeCalendarText("A:b\nC;ENCODING=QUOTED-PRINTABLE;D:e\r\nF:g"), "A:b\nC;D:e\nF:g\n");
    EXPECT_EQ(DecodeCalendarText("A:b\r\nC;ENCODING=QUOTED-PRINTABLE;D:e\nF:g"), "A:b\r\nC;D:e\r\nF:g\r\n");
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:c"), "A;B:c\r\n");
    EXPECT_EQ(DecodeCalendarText("\nA;ENCODING=QUOTED-PRINTABLE;B:c\r\n"), "\nA;B:c\n");
}

TEST(CalendarDecoding, TheTextEndsWithTheLastColon)
{
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:c\r\nrest"), "A;B:c\r\n");
    EXPECT_EQ(DecodeCalendarText("nothing;ENCODING=QUOTED-PRINTABLE"), "");
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:"), "A;B:\r\n");
}

TEST(CalendarDecoding, ASoftBreakAtTheEndOfTheTextIsText)
{
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:c="), "A;B:c=\r\n");
    EXPECT_EQ(DecodeCalendarText("A;ENCODING=QUOTED-PRINTABLE;B:c=\r\n"), "A;B:c\r\n");
}

}  // namespace
}  // namespace velmora::test
