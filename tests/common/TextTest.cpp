#include "common/Text.h"

#include <gtest/gtest.h>

#include <cstring>

namespace velmora {
namespace {

TEST(Text, CaseFoldingIsAsciiAlone)
{
    EXPECT_TRUE(EqualsNoCase("InBox\\x", "iNbOX\\X"));
    EXPECT_FALSE(EqualsNoCase("\xC4", "\xE4"));
    EXPECT_FALSE(EqualsNoCase("[", "{"));
    EXPECT_FALSE(EqualsNoCase("ab", "abc"));
    EXPECT_TRUE(EqualsNoCase("", ""));
}

TEST(Text, BeginsNoCaseWantsTheWholePrefix)
{
    EXPECT_TRUE(BeginsNoCase("$vcfroot/x", "$VCFROOT"));
    EXPECT_FALSE(BeginsNoCase("$VCF", "$VCFROOT"));
    EXPECT_TRUE(BeginsNoCase("x", ""));
}

TEST(Text, CompareNoCaseOrdersByLoweredUnsignedBytes)
{
    EXPECT_EQ(CompareNoCase("ABC", "abc"), 0);
    EXPECT_LT(CompareNoCase("ab", "abc"), 0);
    EXPECT_GT(CompareNoCase("abc", "AB"), 0);
    EXPECT_LT(CompareNoCase("_", "A"), 0);  // "_" lies before the lower-case letters
    EXPECT_GT(CompareNoCase("\xFF", "z"), 0);
}

TEST(Text, FindNoCaseGivesTheFirstHit)
{
    EXPECT_EQ(FindNoCase("\\Answered \\SEEN \\seen", "\\Seen"), 10u);
    EXPECT_EQ(FindNoCase("aab", "AB"), 1u);
    EXPECT_EQ(FindNoCase("abc", ""), 0u);
    EXPECT_EQ(FindNoCase("", ""), 0u);
    EXPECT_EQ(FindNoCase("ab", "abc"), std::string_view::npos);
    EXPECT_EQ(FindNoCase("", "a"), std::string_view::npos);
    EXPECT_FALSE(ContainsNoCase("\\SEE N", "\\SEEN"));
}

TEST(Text, CopyBoundedCutsAndReportsTheCut)
{
    char field[4] = {'x', 'x', 'x', 'x'};
    EXPECT_TRUE(CopyBounded(field, "abc"));
    EXPECT_STREQ(field, "abc");
    EXPECT_FALSE(CopyBounded(field, "abcd"));
    EXPECT_STREQ(field, "abc");
    EXPECT_TRUE(CopyBounded(field, ""));
    EXPECT_STREQ(field, "");
}

TEST(Text, CopyBoundedOfNoSizeWritesNothing)
{
    char byte = 'x';
    EXPECT_FALSE(CopyBounded(&byte, 0, ""));
    EXPECT_EQ(byte, 'x');
}

TEST(Text, AppendBoundedCutsAndReportsTheCut)
{
    char field[6] = "ab";
    EXPECT_TRUE(AppendBounded(field, "cd"));
    EXPECT_STREQ(field, "abcd");
    EXPECT_FALSE(AppendBounded(field, "ef"));
    EXPECT_STREQ(field, "abcde");
}

TEST(Text, AppendBoundedToAFieldWithNoEndWritesNothing)
{
    char field[3] = {'a', 'b', 'c'};
    EXPECT_FALSE(AppendBounded(field, "d"));
    EXPECT_EQ(std::memcmp(field, "abc", 3), 0);
}

TEST(Text, ParseLongReadsBlanksSignAndDigits)
{
    EXPECT_EQ(ParseLong(" \t\r\n\v\f42abc"), 42);
    EXPECT_EQ(ParseLong("-7"), -7);
    EXPECT_EQ(ParseLong("+7"), 7);
    EXPECT_EQ(ParseLong("+-7"), 0);
    EXPECT_EQ(ParseLong("- 7"), 0);
    EXPECT_EQ(ParseLong("abc"), 0);
    EXPECT_EQ(ParseLong(""), 0);
    EXPECT_EQ(ParseLong("0x10"), 0);
    EXPECT_EQ(ParseLong("007"), 7);
}

TEST(Text, ParseLongClampsAtThirtyTwoBits)
{
    EXPECT_EQ(ParseLong("2147483647"), INT32_MAX);
    EXPECT_EQ(ParseLong("2147483648"), INT32_MAX);
    EXPECT_EQ(ParseLong("-2147483648"), INT32_MIN);
    EXPECT_EQ(ParseLong("-2147483649"), INT32_MIN);
    EXPECT_EQ(ParseLong("99999999999999999999999999"), INT32_MAX);
    EXPECT_EQ(ParseLong("-99999999999999999999999999"), INT32_MIN);
}

TEST(Text, ParseLong64ClampsAtSixtyFourBits)
{
    EXPECT_EQ(ParseLong64("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(ParseLong64("9223372036854775808"), INT64_MAX);
    EXPECT_EQ(ParseLong64("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(ParseLong64("-9223372036854775809"), INT64_MIN);
    EXPECT_EQ(ParseLong64("4294967296"), int64_t{1} << 32);
}

TEST(Text, ParseUnsignedClampsAndNegatesModuloThirtyTwoBits)
{
    EXPECT_EQ(ParseUnsigned("4294967295", 10), UINT32_MAX);
    EXPECT_EQ(ParseUnsigned("4294967296", 10), UINT32_MAX);
    EXPECT_EQ(ParseUnsigned("-1", 10), UINT32_MAX);
    EXPECT_EQ(ParseUnsigned("-4294967295", 10), 1u);
    EXPECT_EQ(ParseUnsigned("-4294967296", 10), UINT32_MAX);
    EXPECT_EQ(ParseUnsigned("", 10), 0u);
}

TEST(Text, ParseUnsignedReadsHexadecimalWithAndWithoutPrefix)
{
    EXPECT_EQ(ParseUnsigned("fF;", 16), 255u);
    EXPECT_EQ(ParseUnsigned(" 0X1a", 16), 26u);
    EXPECT_EQ(ParseUnsigned("0x", 16), 0u);
    EXPECT_EQ(ParseUnsigned("0xg", 16), 0u);
    EXPECT_EQ(ParseUnsigned("100000000", 16), UINT32_MAX);
    EXPECT_EQ(ParseUnsigned("FFFFFFFF", 16), UINT32_MAX);
}

TEST(Text, FormatsAreDecimalAndEightHexDigits)
{
    EXPECT_EQ(FormatSigned(-5), "-5");
    EXPECT_EQ(FormatSigned(INT64_MIN), "-9223372036854775808");
    EXPECT_EQ(FormatHex8(0x80004005u), "80004005");
    EXPECT_EQ(FormatHex8(0xAB), "000000ab");
    EXPECT_EQ(FormatText("%s-%d", "a", 3), "a-3");
    EXPECT_EQ(FormatText("%s", std::string(5000, 'x').c_str()).size(), 5000u);
    EXPECT_EQ(FormatText("%s", ""), "");
}

TEST(Text, NullPointerIsAnEmptyText)
{
    EXPECT_EQ(TextOrEmpty(nullptr), "");
    EXPECT_EQ(TextOrEmpty("a"), "a");
}

}  // namespace
}  // namespace velmora
