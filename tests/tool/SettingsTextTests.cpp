// The tool's own reader and writer of settings files against what the store reads.
#include <gtest/gtest.h>

#include "platform/shared/RegistryFile.h"
#include "tests/tool/SettingsAgreement.h"
#include "tools/vlstore/RegistryText.h"

namespace velmora::test {

namespace {

using vlstore::RegistryText;
using vlstore::RegistryValue;

const std::string kHead = "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\A]\n";
constexpr const char* kKey = "HKEY_LOCAL_MACHINE\\A";

RegistryText Parse(const std::string& lines)
{
    EXPECT_EQ(ReadingDisagreement(kHead + lines), "");
    return RegistryText::Parse(kHead + lines);
}

RegistryValue ValueOf(const RegistryText& settings, const char* name)
{
    const RegistryValue* value = settings.Find(kKey, name);
    return value ? *value : RegistryValue::OfText("(none)");
}

std::string TextOf(const RegistryText& settings, const char* name) { return ValueOf(settings, name).Text(); }

// The lines behind the head when a text has been set.
std::string AfterSet(const std::string& lines, const char* name, const char* text)
{
    RegistryText settings = Parse(lines);
    EXPECT_EQ(settings.FirstFault(), 0u);
    settings.Set(kKey, name, RegistryValue::OfText(text));
    EXPECT_EQ(ReadingDisagreement(settings.Serialise()), "");
    EXPECT_EQ(TextOf(settings, name), text);
    return settings.Serialise().substr(kHead.size());
}

std::string Wide(std::u16string_view text)
{
    std::string bytes;
    for (char16_t unit : text) {
        bytes += static_cast<char>(static_cast<unsigned char>(unit & 0xFF));
        bytes += static_cast<char>(static_cast<unsigned char>(unit >> 8));
    }
    return bytes;
}

const std::u16string kWideHead = u"\uFEFFWindows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\A]\r\n";

}  // namespace

TEST(SettingsText, ACommentMayStandBehindATextOrANumber)
{
    RegistryText settings = Parse("\"t\"=\"x\" ; why\n\"n\"=dword:a;b\n\"z\"=\"last\"\n");
    EXPECT_EQ(settings.FirstFault(), 0u);
    EXPECT_EQ(TextOf(settings, "t"), "x");
    EXPECT_EQ(ValueOf(settings, "n").Number(), 10u);
    EXPECT_EQ(TextOf(settings, "z"), "last");
}

TEST(SettingsText, ABackslashTakesTheNextByteAsItIs)
{
    EXPECT_EQ(TextOf(Parse("\"t\"=\"a\\x\\\\y\\\"\"\n"), "t"), "ax\\y\"");
    EXPECT_EQ(TextOf(Parse("\"\\t\"=\"x\"\n"), "T"), "x");
}

TEST(SettingsText, WhatIsTakenAwayIsNeitherFoundNorListed)
{
    RegistryText settings =
        Parse("\"a\"=\"1\"\n\"b\"=\"2\"\n\"A\"=-\n[HKEY_LOCAL_MACHINE\\A\\B]\n\"c\"=\"3\"\n[-HKEY_LOCAL_MACHINE\\a\\b]\n\"d\"=\"4\"\n");
    EXPECT_EQ(TextOf(settings, "a"), "(none)");
    ASSERT_EQ(settings.Entries().size(), 1u);
    EXPECT_EQ(settings.Entries()[0].name, "b");
    EXPECT_EQ(Parse("\"a\"=\"1\"\n[HKEY_LOCAL_MACHINE\\AB]\n@=\"2\"\n[-hkey_local_machine\\a\\]\n").Entries().size(), 1u);
}

TEST(SettingsText, OnlyBytesGoOnInTheNextLine)
{
    RegistryText settings = Parse("; ends in \\\n\"a\"=\"1\"\n\"b\"=hex:1,\\\n  2,\\\n  3\n\"c\"=\"2\"\n");
    EXPECT_EQ(settings.Entries().size(), 3u);
    EXPECT_EQ(ValueOf(settings, "b").data, "\1\2\3");
    EXPECT_EQ(Parse("\"a\"=\"1\"\\\n\"b\"=\"2\"\n").FirstFault(), 4u);
    EXPECT_EQ(Parse("\"b\"=hex:1,\\\n  2,\\\n  x\n").FirstFault(), 6u) << "a fault is in the line where it stands";
}

TEST(SettingsText, AFileWithoutAHeadingIsFaulty)
{
    for (const char* bytes : {"[HKEY_LOCAL_MACHINE\\A]\n", "\n\n\"a\"=\"1\"\n", "; x\nREGEDIT4\n", "regedit4\n"}) {
        EXPECT_EQ(ReadingDisagreement(bytes), "");
        EXPECT_NE(RegistryText::Parse(bytes).FirstFault(), 0u) << bytes;
    }
    EXPECT_EQ(RegistryText::Parse("\n \nREGEDIT4\n").FirstFault(), 0u);
    EXPECT_EQ(RegistryText::Parse("\n\n").FirstFault(), 0u);
}

TEST(SettingsText, WhatIsNoStatementIsAFaultInItsLine)
{
    for (const char* line : {"nonsense",
                             "\"open=1",
                             "\"ends in\\",
                             "\"n\"",
                             "\"n\"=",
                             "\"n\"=1",
                             "\"n\"=\"open",
                             "\"n\"=\"t\" more",
                             "\"n\"=- ; x",
                             "\"n\"=dword:",
                             "\"n\"=dword:0x1",
                             "\"n\"=dword:123456789",
                             "\"n\"=hex",
                             "\"n\"=hex:1,zz",
                             "\"n\"=hex:100",
                             "\"n\"=hex:1,,2",
                             "\"n\"=hex(:1",
                             "\"n\"=hex():1",
                             "\"n\"=hex:1 ; x",
                             "[HKEY_LOCAL_MACHINE\\A] ; x",
                             "[open",
                             "[]",
                             "[-]",
                             "[\\\\]",
                             "\"n\"=\"t\"\r\r"}) {
        SCOPED_TRACE(line);
        RegistryText settings = Parse(std::string("\"a\"=\"1\"\n") + line + "\n\"b\"=\"2\"\n");
        EXPECT_EQ(settings.FirstFault(), 5u);
        EXPECT_EQ(settings.Entries().size(), 1u);
    }
}

TEST(SettingsText, TypesOfBytesAreTextsAndNumbersAsTheStoreTakesThem)
{
    RegistryText settings = Parse(
        "\"t\"=hex(1):41,00,ac,20,00,00\n\"n\"=hex(4):01,02,00,00\n\"short\"=hex(4):05\n\"long\"=hex(4):1,2,3,4,5\n"
        "\"wide\"=hex(2):25,00,00,00\n\"bytes\"=hex:07\n");
    EXPECT_EQ(ValueOf(settings, "t").GetType(), RegistryValue::Type::Text);
    EXPECT_EQ(TextOf(settings, "t"), "A\x80");
    EXPECT_EQ(ValueOf(settings, "n").GetType(), RegistryValue::Type::Number);
    EXPECT_EQ(ValueOf(settings, "n").Number(), 0x201u);
    EXPECT_EQ(ValueOf(settings, "short").Number(), 5u);
    EXPECT_EQ(ValueOf(settings, "long").GetType(), RegistryValue::Type::Other);
    EXPECT_EQ(ValueOf(settings, "wide").GetType(), RegistryValue::Type::Other);
    EXPECT_EQ(ValueOf(settings, "wide").data, std::string("%\0", 2));
    EXPECT_EQ(ValueOf(settings, "wide").written, "hex(2):25,00,00,00");
    EXPECT_EQ(ValueOf(settings, "bytes").Number(), 7u) << "the store asks for the bytes, not for the type";
}

TEST(SettingsText, AChangeLeavesWhatStandsAroundTheValue)
{
    EXPECT_EQ(AfterSet("  \"Name\" = \"old\" ; why \r\n\"b\"=\"2\"\n", "name", "new"), "  \"Name\" = \"new\" ; why \r\n\"b\"=\"2\"\n");
    EXPECT_EQ(AfterSet("@=hex:01,\\\r\n  02\t\r\n; end", "", "new"), "@=\"new\"\t\r\n; end");
    EXPECT_EQ(AfterSet("\"n\"=dword:1 ; one\n", "n", "new"), "\"n\"=\"new\" ; one\n");
}

TEST(SettingsText, ANewValueStandsWhereNothingTakesItAway)
{
    EXPECT_EQ(AfterSet("\"a\"=\"1\"\n\"b\"=-\n\n; c\n[X]\n", "b", "2"), "\"a\"=\"1\"\n\"b\"=-\n\"b\"=\"2\"\n\n; c\n[X]\n");
    EXPECT_EQ(AfterSet("[-HKEY_LOCAL_MACHINE\\A]\n\"b\"=\"1\"\n", "b", "2"),
              "[-HKEY_LOCAL_MACHINE\\A]\n\"b\"=\"1\"\n\n[HKEY_LOCAL_MACHINE\\A]\n\"b\"=\"2\"\n");
    EXPECT_EQ(AfterSet("[X]\n[hkey_local_machine\\a\\]\n[Y]\n", "b", "2"), "[X]\n[hkey_local_machine\\a\\]\n\"b\"=\"2\"\n[Y]\n");
}

TEST(SettingsText, ALastLineWithoutItsEndIsEnded)
{
    EXPECT_EQ(AfterSet("\"a\"=\"1\"", "b", "2"), "\"a\"=\"1\"\n\"b\"=\"2\"\n");
    RegistryText settings = RegistryText::Parse("REGEDIT4\r\n[K]\r\n\"a\"=\"1\"\r");
    settings.Set("K", "b", RegistryValue::OfText("2"));
    EXPECT_EQ(settings.Serialise(), "REGEDIT4\r\n[K]\r\n\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n") << "a second CR would be a fault";
    EXPECT_EQ(AfterSet("\n; a comment", "b", "2"), "\"b\"=\"2\"\n\n; a comment") << "nothing stands behind it";
}

TEST(SettingsText, AFileOfBlanksGetsAHeading)
{
    RegistryText settings = RegistryText::Parse("\xEF\xBB\xBF \n");
    settings.Set("K", "a", RegistryValue::OfNumber(1));
    EXPECT_EQ(settings.Serialise(), "\xEF\xBB\xBF \nWindows Registry Editor Version 5.00\n\n[K]\n\"a\"=dword:00000001\n");
    EXPECT_EQ(ReadingDisagreement(settings.Serialise()), "");
}

TEST(SettingsText, Utf16KeepsEveryUnitThatIsNotChanged)
{
    // A euro as a character and as the byte of its number, half a pair, an odd byte at the end.
    std::u16string before = kWideHead + u"\"\u20AC\"=\"\u0080\" ; ";
    before += char16_t{0xD83D};
    before += u"\r\n\"\u041F\"=\"x\"";
    std::string bytes = Wide(before) + "\x0A";
    EXPECT_EQ(ReadingDisagreement(bytes), "");
    RegistryText settings = RegistryText::Parse(bytes);
    settings.Set(kKey, "\xD0\x9F", RegistryValue::OfText("y"));
    settings.Set(kKey, "b", RegistryValue::OfNumber(1));
    std::u16string after = before.substr(0, before.size() - 2) + u"y\"\r\n\"b\"=dword:00000001\r\n";
    EXPECT_EQ(settings.Serialise(), Wide(after) + "\x0A");
}

TEST(SettingsText, TheStoreReadsFromUtf16TheBytesThatWereSet)
{
    for (const char* text : {"\xC3\xBC", "\xFC", "\xE2\x82\xAC", "\x80", "\xD0\x9F", "\xF0\x9F\x98\x80", "\xED\xA0\xBD", "\xD0"}) {
        SCOPED_TRACE(text);
        RegistryText settings = RegistryText::Parse(Wide(kWideHead));
        settings.Set(kKey, text, RegistryValue::OfText(text));
        platform::RegistryContents store = platform::ParseRegistryFile(settings.Serialise());
        EXPECT_EQ(store.keys[kKey][text].data, std::string(text) + '\0');
    }
}

TEST(SettingsText, ManyKeysAndRemovalsAreReadAtOnce)
{
    std::string bytes = kHead;
    for (int i = 0; i < 50'000; ++i) bytes += "[K" + std::to_string(i) + "]\n";
    for (int i = 0; i < 50'000; ++i) bytes += "[-X]\n";
    EXPECT_EQ(ReadingDisagreement(bytes), "");
}

TEST(SettingsAgreement, AnyFileIsReadAsTheStoreReadsIt)
{
    size_t sound = 0;
    for (uint64_t seed = 0; seed < 30'000; ++seed) {
        SeededChoices choices(seed);
        std::string bytes = RandomSettingsFile(choices);
        ASSERT_EQ(ReadingDisagreement(bytes), "") << "seed " << seed;
        if (RegistryText::Parse(bytes).FirstFault() == 0) ++sound;
    }
    EXPECT_GT(sound, 3'000u);
    EXPECT_LT(sound, 27'000u);
}

TEST(SettingsAgreement, AnyValueThatIsSetIsReadByTheStore)
{
    for (uint64_t seed = 0; seed < 30'000; ++seed) {
        SeededChoices choices(seed);
        std::string bytes = RandomSettingsFile(choices);
        ASSERT_EQ(SettingDisagreement(bytes, choices), "") << "seed " << seed;
    }
}

}  // namespace velmora::test
