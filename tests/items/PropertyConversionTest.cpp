// Every pair of types: whether there is a way from the one to the other, and what it makes of a value.
#include "items/PropertyConversion.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "items/DateForms.h"

namespace velmora::test {
namespace {

using namespace std::string_literals;

struct Freed {
    void operator()(void* value) const { std::free(value); }
};
using Owned = std::unique_ptr<void, Freed>;

constexpr int32_t kTypes = 16;
constexpr uint64_t kNoBirthday = 0x01E9FD1ED4A5E980ull;

// Bytes of values as they lie in memory.
template <typename Value>
std::string Bytes(Value value)
{
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}
std::string Text(std::string text) { return text + '\0'; }
std::string Wide(const std::u16string& text)
{
    std::string bytes;
    for (const char16_t unit : text) bytes += Bytes(unit);
    return bytes + Bytes(char16_t{0});
}
std::string Field(std::string text, size_t size)
{
    text.resize(size, '\0');
    return text;
}
// A number whose bytes are that text.
std::string Packed(std::string text, size_t size) { return Field(std::move(text), size); }

std::string Moment(int64_t unixSeconds) { return Bytes(UnixTimeToFileTime(unixSeconds)); }

// The answer as a letter: "." none, "1" the caller's value, "2" a new one.
struct Answer {
    char status = '?';
    std::string bytes;
};

// Converts a value that ends where its memory ends; `size` bytes of a new result are looked at.
Answer Convert(int32_t from, int32_t to, const std::string& value, size_t size, std::string_view name = {})
{
    const std::unique_ptr<char[]> exact(new char[value.size()]);
    std::memcpy(exact.get(), value.data(), value.size());
    void* result = &result;
    Answer answer;
    switch (ConvertPropertyValue(from, to, exact.get(), &result, name)) {
        case Conversion::None:
            EXPECT_EQ(result, nullptr) << from << " to " << to;
            answer.status = '.';
            break;
        case Conversion::SameValue:
            EXPECT_EQ(result, exact.get()) << from << " to " << to;
            answer.status = '1';
            break;
        case Conversion::NewValue: {
            const Owned owner(result);
            EXPECT_NE(result, exact.get()) << from << " to " << to;
            answer.status = '2';
            if (result) answer.bytes.assign(static_cast<const char*>(result), size);
            break;
        }
    }
    return answer;
}

// A row for each source, a column for each target, both from 1 to 16.
constexpr const char* kStatuses[kTypes] = {
    "1.....2.22.2..2.",  // 1
    ".1..............",  // 2
    "..12.2..........",  // 3
    "..21............",  // 4
    "....1...........",  // 5
    "..2..1..........",  // 6
    "2.....2222.2.222",  // 7
    "1.....2222.2.222",  // 8
    "2.....2222.2.222",  // 9
    "2.....2222.2.222",  // 10
    "..2.............",  // 11
    "................",  // 12
    "................",  // 13
    "................",  // 14
    "................",  // 15
    "1.....2.22.2..22",  // 16
};

// A value of each type that every conversion from it can read.
std::string SampleOf(int32_t type)
{
    switch (type) {
        case PropFileTime:
            return Moment(1297072800);
        case PropDateText:
            return Text("2011-02-07T10:00:00");
        case PropInt32:
        case PropBool:
        case PropSensitivity:
            return Bytes(int32_t{1});
        case PropDouble:
            return Bytes(0.5);
        case PropCalendarText:
            return Text("20110207T100000Z");
        case PropWideString:
            return Wide(u"1");
        default:
            return Text("1");
    }
}

TEST(PropertyConversion, EveryPairOfTypesHasItsAnswer)
{
    for (int32_t from = 1; from <= kTypes; ++from) {
        std::string statuses;
        for (int32_t to = 1; to <= kTypes; ++to) statuses += Convert(from, to, SampleOf(from), 0).status;
        EXPECT_EQ(statuses, kStatuses[from - 1]) << "from " << from;
    }
}

TEST(PropertyConversion, CodesThatAreNoTypesHaveNoConversion)
{
    for (const int32_t other : {INT32_MIN, -1, 0, 17, 1000, INT32_MAX}) {
        for (int32_t type = 0; type <= kTypes + 1; ++type) {
            EXPECT_EQ(Convert(other, type, Bytes(uint64_t{0}), 0).status, '.') << other << " to " << type;
            EXPECT_EQ(Convert(type, other, Bytes(uint64_t{0}), 0).status, '.') << type << " to " << other;
        }
    }
}

TEST(PropertyConversion, EveryPairMakesWhatItsRuleSays)
{
    struct Pair {
        int32_t from, to;
        std::string value, result;
    };
    const Pair pairs[] = {
        {1, 7, Text(" -42x"), Bytes(int32_t{-42})},
        {1, 9, Text(" -0.25x"), Bytes(-0.25)},
        {1, 10, Text("true"), Bytes(int32_t{1})},
        {1, 12, Text("PRIVATE"), Bytes(int32_t{2})},
        {1, 15, Text("A:b"), Text("A:b")},
        {3, 4, Moment(1297072800), Field("2011-02-07T10:00:00", 1024)},
        {3, 6, Moment(1297072800), Field("1297072800", 1024)},
        {4, 3, Text("2011-02-07T10:00:00"), Moment(1297072800)},
        {6, 3, Text("1297072800"), Moment(1297072800)},
        {7, 1, Bytes(int32_t{-5}), Field("-5", 1024)},
        {7, 7, Bytes(int32_t{-5}), Bytes(int32_t{-5})},
        {7, 8, Bytes(INT32_MIN), Field("-2147483648", 64)},
        // The bytes of a number, with four more that are 0.
        {7, 9, Bytes(int32_t{-5}), Bytes(int32_t{-5}) + Bytes(int32_t{0})},
        // From here the bytes of a number are read as text.
        {7, 10, Packed("1", 4), Bytes(int32_t{1})},
        {7, 12, Packed("PRIV", 4), Bytes(int32_t{0})},
        {7, 14, Packed("abcd", 4), Text("abcd")},
        {7, 15, Packed("A:bc", 4), Text("A:bc")},
        {7, 16, Packed("abcd", 4), Wide(u"abcd")},
        {8, 7, Text("42"), Bytes(int32_t{42})},
        {8, 8, Text("copied"), Text("copied")},
        {8, 9, Text("1e3"), Bytes(1000.0)},
        {8, 10, Text("1"), Bytes(int32_t{1})},
        {8, 12, Text("CONFIDENTIAL"), Bytes(int32_t{3})},
        {8, 14, Text("copied"), Text("copied")},
        {8, 15, Text("A;ENCODING=QUOTED-PRINTABLE;B:=41"), Text("A;B:A\r\n")},
        {8, 16, Text("h\xFC\xFF"), Wide(u"h\u00FC\u00FF")},
        {9, 1, Bytes(0.5), Field("      0.50", 1024)},
        {9, 7, Packed("12345678", 8), Bytes(int32_t{12345678})},
        {9, 8, Packed("12345678", 8), Text("12345678")},
        {9, 9, Bytes(-1.75), Bytes(-1.75)},
        {9, 10, Packed("TRUE", 8), Bytes(int32_t{1})},
        {9, 12, Packed("PRIVATE", 8), Bytes(int32_t{2})},
        {9, 14, Packed("abc", 8), Text("abc")},
        {9, 15, Packed("A:bcdefg", 8), Text("A:bcdefg")},
        {9, 16, Packed("abcdefgh", 8), Wide(u"abcdefgh")},
        {10, 1, Bytes(int32_t{-5}), Field("1", 1024)},
        {10, 7, Bytes(int32_t{-5}), Bytes(int32_t{-5})},
        {10, 8, Bytes(int32_t{-5}), Field("-5", 64)},
        {10, 9, Bytes(int32_t{-5}), Bytes(int32_t{-5}) + Bytes(int32_t{0})},
        {10, 10, Bytes(int32_t{-5}), Bytes(int32_t{-5})},
        {10, 12, Bytes(int32_t{2}), Bytes(int32_t{0})},
        {10, 14, Packed("ab", 4), Text("ab")},
        {10, 15, Packed("ab", 4), Text("ab")},
        {10, 16, Packed("ab", 4), Wide(u"ab")},
        {11, 3, Text("20110207T100000Z"), Moment(1297072800)},
        // The bytes of wide text are read as text, up to the first that is 0.
        {16, 7, Wide(u"78"), Bytes(int32_t{7})},
        {16, 9, Wide(u"5.25"), Bytes(5.0)},
        {16, 10, Wide(u"1"), Bytes(int32_t{1})},
        {16, 12, Wide(u"\u5250\u5649\u5441E"), Bytes(int32_t{2})},
        {16, 15, Wide(u"AB"), Text("A")},
        {16, 16, Wide(u"wide \u5250\u00FC"), Wide(u"wide \u5250\u00FC")},
    };
    std::bitset<(kTypes + 1) * (kTypes + 1)> seen;
    for (const Pair& pair : pairs) {
        const Answer answer = Convert(pair.from, pair.to, pair.value, pair.result.size());
        EXPECT_EQ(answer.status, '2') << pair.from << " to " << pair.to;
        EXPECT_EQ(answer.bytes, pair.result) << pair.from << " to " << pair.to;
        seen.set(static_cast<size_t>(pair.from * (kTypes + 1) + pair.to));
    }
    for (int32_t from = 1; from <= kTypes; ++from)
        for (int32_t to = 1; to <= kTypes; ++to)
            EXPECT_EQ(seen.test(static_cast<size_t>(from * (kTypes + 1) + to)), kStatuses[from - 1][to - 1] == '2') << from << " to " << to;
}

TEST(PropertyConversion, AFlagIsOneForEveryNumberButZero)
{
    for (const int32_t number : {1, 2, -1, INT32_MIN}) EXPECT_EQ(Convert(10, 1, Bytes(number), 2).bytes, "1\0"s) << number;
    EXPECT_EQ(Convert(10, 1, Bytes(int32_t{0}), 2).bytes, "0\0"s);
}

TEST(PropertyConversion, ANumberOnItsWayToTextIsItsBytes)
{
    // The number 1 is no "1", and 0x31 is one.
    EXPECT_EQ(Convert(7, 10, Bytes(int32_t{1}), 4).bytes, Bytes(int32_t{0}));
    EXPECT_EQ(Convert(7, 10, Bytes(int32_t{0x31}), 4).bytes, Bytes(int32_t{1}));
    EXPECT_EQ(Convert(9, 7, Bytes(42.0), 4).bytes, Bytes(int32_t{0}));
}

TEST(PropertyConversion, WideTextWithoutAZeroByteEndsAtItsEnd)
{
    EXPECT_EQ(Convert(16, 15, Wide(u"\u4142\u4344"), 5).bytes, "BADC\0"s);
    EXPECT_EQ(Convert(16, 16, Wide(u""), 2).bytes, "\0\0"s);
}

TEST(PropertyConversion, TextToANumberIsReadAsAtolDoes)
{
    for (const int32_t from : {1, 8}) {
        EXPECT_EQ(Convert(from, 7, Text("99999999999"), 4).bytes, Bytes(INT32_MAX));
        EXPECT_EQ(Convert(from, 7, Text("none"), 4).bytes, Bytes(int32_t{0}));
        EXPECT_EQ(Convert(from, 7, Text(""), 4).bytes, Bytes(int32_t{0}));
    }
}

TEST(PropertyConversion, TextToAnAmountIsReadAsAtofDoes)
{
    const auto amount = [](const char* text) {
        double value = -99;
        std::memcpy(&value, Convert(1, 9, Text(text), sizeof value).bytes.data(), sizeof value);
        return value;
    };
    EXPECT_EQ(amount("      0.50"), 0.5);
    EXPECT_EQ(amount("\t\r\n\v\f +1.5e2%"), 150.0);
    EXPECT_EQ(amount("-.5"), -0.5);
    EXPECT_EQ(amount("7."), 7.0);
    // A comma is no point; CommaLocaleTest.cpp asks under a host's language that has one.
    EXPECT_EQ(amount("0,5"), 0.0);
    for (const char* text : {"", "none", "-", "-none", "--5", "+-5", "-+5", "++5", ".", "-.", "e5"}) {
        EXPECT_EQ(amount(text), 0.0) << text;
        EXPECT_FALSE(std::signbit(amount(text))) << text;
    }
    for (const char* text : {"-0", "-0.0", "-0x", "-0xg", "-1e-999"}) {
        EXPECT_EQ(amount(text), 0.0) << text;
        EXPECT_TRUE(std::signbit(amount(text))) << text;
    }
    EXPECT_EQ(amount("1e999"), HUGE_VAL);
    EXPECT_EQ(amount("-1e999"), -HUGE_VAL);
    EXPECT_EQ(amount((std::string(400, '9') + "x").c_str()), HUGE_VAL);
    EXPECT_EQ(amount(("0." + std::string(400, '0') + "1e800").c_str()), HUGE_VAL);
    EXPECT_EQ(amount("1e-999"), 0.0);
    EXPECT_EQ(amount(("0." + std::string(400, '0') + "1").c_str()), 0.0);
    EXPECT_EQ(amount(("1" + std::string(400, '0') + "e-900").c_str()), 0.0);
    // What stands behind the number says nothing about it.
    EXPECT_EQ(amount((std::string(400, '9') + "e -900").c_str()), HUGE_VAL);
    EXPECT_EQ(amount((std::string(400, '9') + "e").c_str()), HUGE_VAL);
    EXPECT_EQ(amount(("0." + std::string(400, '0') + "1e 900").c_str()), 0.0);
}

TEST(PropertyConversion, TextToAnAmountKnowsHexadecimalNumbers)
{
    const auto amount = [](const std::string& text) {
        double value = -99;
        std::memcpy(&value, Convert(1, 9, Text(text), sizeof value).bytes.data(), sizeof value);
        return value;
    };
    EXPECT_EQ(amount("0x10"), 16.0);
    EXPECT_EQ(amount(" -0X1.8P1x"), -3.0);
    EXPECT_EQ(amount("+0x1p3"), 8.0);
    EXPECT_EQ(amount("0xfF"), 255.0);
    EXPECT_EQ(amount("0x.8"), 0.5);
    EXPECT_EQ(amount("0x1p-1074"), std::numeric_limits<double>::denorm_min());
    // Without a digit the number is the "0", and without one behind the mark it has no exponent.
    for (const char* text : {"0x", "0xg", "0x.", "0x.g", "0x-1", "0x 1", "00x1"}) EXPECT_EQ(amount(text), 0.0) << text;
    EXPECT_EQ(amount("0x3p"), 3.0);
    EXPECT_EQ(amount("0x1p99999"), HUGE_VAL);
    EXPECT_EQ(amount("-0x1p1024"), -HUGE_VAL);
    EXPECT_EQ(amount("0x1p-99999"), 0.0);
    EXPECT_EQ(amount("0x" + std::string(400, 'f')), HUGE_VAL);
    EXPECT_EQ(amount("0x" + std::string(400, 'f') + "p-9999"), 0.0);
    EXPECT_EQ(amount("0x." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(amount("0x." + std::string(400, '0') + "1p9999"), HUGE_VAL);
}

TEST(PropertyConversion, AnAmountThatIsNoNumberIsWrittenAndReadByItsName)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    const auto text = [](double value) { return std::string(Convert(9, 1, Bytes(value), 1024).bytes.c_str()); };
    EXPECT_EQ(text(kInfinity), "       inf");
    EXPECT_EQ(text(-kInfinity), "      -inf");
    EXPECT_EQ(text(kNoNumber), "       nan");
    EXPECT_EQ(Convert(1, 9, Text("       inf"), 8).bytes, Bytes(kInfinity));
    EXPECT_EQ(Convert(1, 9, Text("-INFINITY"), 8).bytes, Bytes(-kInfinity));
    double value = 0;
    std::memcpy(&value, Convert(1, 9, Text("       nan"), sizeof value).bytes.data(), sizeof value);
    EXPECT_TRUE(std::isnan(value));
}

TEST(PropertyConversion, AnAmountHasTwoPlacesAndTenBytesAtLeast)
{
    const auto text = [](double value) { return std::string(Convert(9, 1, Bytes(value), 1024).bytes.c_str()); };
    EXPECT_EQ(text(0), "      0.00");
    EXPECT_EQ(text(-0.5), "     -0.50");
    EXPECT_EQ(text(1234567.891), "1234567.89");
    EXPECT_EQ(text(12345678.5), "12345678.50");
    EXPECT_EQ(text(0.125), "      0.12");
    // The largest double fits its field.
    EXPECT_EQ(text(-1.7976931348623157e308).size(), 1u + 309 + 3);
}

TEST(PropertyConversion, TheWordTrueAndTheDigitOneAreTrue)
{
    const auto flag = [](const char* text) { return Convert(1, 10, Text(text), 4).bytes == Bytes(int32_t{1}); };
    for (const char* text : {"TRUE", "true", "True", "1"}) EXPECT_TRUE(flag(text)) << text;
    for (const char* text : {"", "0", "yes", "2", "11", "1 ", " 1", "TRUE ", "-1", "FALSE"}) EXPECT_FALSE(flag(text)) << text;
}

TEST(PropertyConversion, SensitivityComparesExactly)
{
    EXPECT_EQ(ParseSensitivity("PUBLIC"), 0);
    EXPECT_EQ(ParseSensitivity("PRIVATE"), 2);
    EXPECT_EQ(ParseSensitivity("CONFIDENTIAL"), 3);
    for (const char* text : {"", "private", "PRIVATE ", "Confidential", "1", "2", "PERSONAL"}) EXPECT_EQ(ParseSensitivity(text), 0) << text;
}

TEST(PropertyConversion, ABooleanTextIsTrueOrANumber)
{
    EXPECT_EQ(ParseBooleanText(""), 0);
    for (const char* text : {"TRUE", "true", "tRuE", "1"}) EXPECT_EQ(ParseBooleanText(text), 1) << text;
    EXPECT_EQ(ParseBooleanText("-1"), -1);
    EXPECT_EQ(ParseBooleanText(" 7x"), 7);
    for (const char* text : {"FALSE", "yes", "TRUE ", "0"}) EXPECT_EQ(ParseBooleanText(text), 0) << text;
}

// ---- Dates ----

TEST(PropertyConversion, ADateThatIsNoneHasNoConversion)
{
    for (const char* text : {"", "2011-02-07", "2011-02-30T10:00:00", "2011-02-07T10:00:00Z", "none"}) {
        EXPECT_EQ(Convert(4, 3, Text(text), 0).status, '.') << text;
        EXPECT_EQ(Convert(4, 3, Text(text), 0, "PR_START_DATE").status, '.') << text;
    }
    for (const char* text : {"", "2011", "20110230", "none of it"}) EXPECT_EQ(Convert(11, 3, Text(text), 0).status, '.') << text;
    EXPECT_EQ(Convert(3, 4, Bytes(UINT64_MAX), 0).status, '.');
}

TEST(PropertyConversion, SecondsBeyondThirtyTwoBitsWrap)
{
    const auto seconds = [](int64_t unixSeconds) { return std::string(Convert(3, 6, Moment(unixSeconds), 1024).bytes.c_str()); };
    EXPECT_EQ(seconds(0), "0");
    EXPECT_EQ(seconds(-1), "-1");
    EXPECT_EQ(seconds(INT32_MAX), "2147483647");
    EXPECT_EQ(seconds(int64_t{INT32_MAX} + 1), "-2147483648");
    EXPECT_EQ(seconds(int64_t{1} << 32), "0");
    // On the way back the text is held to 32 bits.
    EXPECT_EQ(Convert(6, 3, Text("99999999999"), 8).bytes, Moment(INT32_MAX));
    EXPECT_EQ(Convert(6, 3, Text("-10"), 8).bytes, Moment(-10));
    EXPECT_EQ(Convert(6, 3, Text(""), 8).bytes, Moment(0));
}

TEST(PropertyConversion, AnEmptyBirthdayIsTheLastMomentOfThirtyTwoBits)
{
    for (const char* name : {"PR_BIRTHDAY", "pr_birthday", "Pr_Birthday"}) {
        EXPECT_EQ(Convert(4, 3, Text(""), 8, name).bytes, Bytes(kNoBirthday)) << name;
        EXPECT_EQ(Convert(3, 4, Bytes(kNoBirthday), 1024, name).bytes, Field("", 1024)) << name;
        // A part of a second does not make it a date.
        EXPECT_EQ(Convert(3, 4, Bytes(kNoBirthday + 9999999), 1024, name).bytes, Field("", 1024)) << name;
        EXPECT_EQ(Convert(3, 4, Bytes(kNoBirthday - 1), 1024, name).bytes, Field("2038-01-19T03:14:06", 1024)) << name;
        EXPECT_EQ(Convert(3, 4, Bytes(kNoBirthday + 10000000), 1024, name).bytes, Field("2038-01-19T03:14:08", 1024)) << name;
        EXPECT_EQ(Convert(4, 3, Text("2011-02-07T10:00:00"), 8, name).bytes, Moment(1297072800)) << name;
        EXPECT_EQ(Convert(4, 3, Text("none"), 0, name).status, '.') << name;
    }
    EXPECT_EQ(kNoBirthday, UnixTimeToFileTime(0x7FFFFFFF));
}

TEST(PropertyConversion, OtherDatesKnowNoSuchMoment)
{
    for (const char* name : {"", "PR_BIRTHDAYS", "PR_START_DATE"}) {
        EXPECT_EQ(Convert(4, 3, Text(""), 0, name).status, '.') << name;
        EXPECT_EQ(Convert(3, 4, Bytes(kNoBirthday), 1024, name).bytes, Field("2038-01-19T03:14:07", 1024)) << name;
    }
}

// ---- Edges ----

TEST(PropertyConversion, ADecodedTextTellsItsLength)
{
    void* result = nullptr;
    uint64_t size = 99;
    ASSERT_EQ(ConvertPropertyValue(1, 15, "A;ENCODING=QUOTED-PRINTABLE;B:=41", &result, {}, &size), Conversion::NewValue);
    const Owned owner(result);
    EXPECT_EQ(size, std::strlen("A;B:A\r\n"));
    uint64_t untouched = 99;
    ASSERT_EQ(ConvertPropertyValue(1, 1, "text", &result, {}, &untouched), Conversion::SameValue);
    EXPECT_EQ(untouched, 99u);
}

TEST(PropertyConversion, NoValueIsAnEmptyTextAndNothingElse)
{
    for (int32_t from = 1; from <= kTypes; ++from) {
        for (int32_t to = 1; to <= kTypes; ++to) {
            void* result = &result;
            const Conversion conversion = ConvertPropertyValue(from, to, nullptr, &result);
            const Owned owner(conversion == Conversion::NewValue ? result : nullptr);
            const bool text = from == PropText || from == PropString;
            EXPECT_EQ(conversion == Conversion::None, !text || kStatuses[from - 1][to - 1] == '.') << from << " to " << to;
            if (conversion != Conversion::NewValue) {
                EXPECT_EQ(result, nullptr) << from << " to " << to;
            }
        }
    }
    void* result = nullptr;
    ASSERT_EQ(ConvertPropertyValue(8, 8, nullptr, &result), Conversion::NewValue);
    const Owned owner(result);
    EXPECT_STREQ(static_cast<const char*>(result), "");
}

TEST(PropertyConversion, AValueMayLieAtAnyAddress)
{
    for (const auto& [from, to] : {std::pair{3, 6}, {7, 1}, {9, 1}, {10, 1}, {16, 16}}) {
        const std::string value = SampleOf(from);
        alignas(8) char memory[32];
        std::memcpy(memory + 1, value.data(), value.size());
        void* result = nullptr;
        ASSERT_EQ(ConvertPropertyValue(from, to, memory + 1, &result), Conversion::NewValue) << from;
        const Owned owner(result);
        EXPECT_EQ(std::string(static_cast<const char*>(result), 4), Convert(from, to, value, 4).bytes) << from;
    }
}

TEST(PropertyTypes, HaveTheirSizes)
{
    const int32_t expected[] = {0, 1024, 1024, 8, 1024, 1024, 1024, 4, -1, 8, 4, 0, 4, 0, -1, -1, -1};
    for (int32_t type = 0; type <= 16; ++type) EXPECT_EQ(PropertyValueSize(type), expected[type]) << type;
    for (const int32_t type : {-1, 17, INT32_MAX, INT32_MIN}) EXPECT_EQ(PropertyValueSize(type), 0) << type;
}

}  // namespace
}  // namespace velmora::test
