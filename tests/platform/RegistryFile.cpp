// The parser of settings files: bytes in, keys and the first fault out.
#include "platform/shared/RegistryFile.h"

#include <gtest/gtest.h>

namespace velmora::test {

namespace {

using platform::ParseRegistryFile;
using platform::RegistryContents;
using platform::RegistryValue;

const std::string kHeader = "Windows Registry Editor Version 5.00\n\n";
const std::string kKey = kHeader + "[HKEY_LOCAL_MACHINE\\Software\\Key]\n";

std::string Wide(std::string_view text)
{
    std::string bytes = "\xFF\xFE";
    for (char c : text) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

// The data of a value in the key above; "(none)" when it is not there.
std::string Data(const RegistryContents& contents, std::string_view name, DWORD* type = nullptr)
{
    const auto key = contents.keys.find(std::string_view("HKEY_LOCAL_MACHINE\\Software\\Key"));
    if (key == contents.keys.end()) return "(no key)";
    const auto value = key->second.find(name);
    if (value == key->second.end()) return "(none)";
    if (type) *type = value->second.type;
    return value->second.data;
}

std::string Bytes(std::initializer_list<int> list)
{
    std::string bytes;
    for (int byte : list) bytes += static_cast<char>(static_cast<unsigned char>(byte));
    return bytes;
}

std::string Text(std::string_view text) { return std::string(text) + '\0'; }

TEST(RegistryFile, TextsNumbersBytesAndTheDefaultValue)
{
    const RegistryContents contents = ParseRegistryFile(kKey +
                                                        "@=\"the default\"\r\n"
                                                        "\"Path\"=\"C:\\\\Mail\\\\\\\"Root\\\"\"\n"
                                                        "  \"Number\" = dword:0000000a ; ten\n"
                                                        "\"Large\"=DWORD:FFFFFFFF\n"
                                                        "\"Bytes\"=hex:01,02,\\\n  fE,ff\n"
                                                        "\"NoBytes\"=hex:\n"
                                                        "\"Expand\"=hex(2):25,00,41,00,25,00,00,00\n"
                                                        "\"Multi\"=hex(7):61,00,00,00,62,00,00,00,00,00\n"
                                                        "\"Long\"=hex(b):01,00,00,00,00,00,00,80\n");
    ASSERT_FALSE(contents.fault) << contents.fault->line << " " << contents.fault->reason;
    DWORD type = 0;
    EXPECT_EQ(Data(contents, "", &type), Text("the default"));
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(Data(contents, "PATH"), Text("C:\\Mail\\\"Root\""));
    EXPECT_EQ(Data(contents, "number", &type), Bytes({10, 0, 0, 0}));
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(Data(contents, "Large"), Bytes({255, 255, 255, 255}));
    EXPECT_EQ(Data(contents, "Bytes", &type), Bytes({1, 2, 254, 255}));
    EXPECT_EQ(type, REG_BINARY);
    EXPECT_EQ(Data(contents, "NoBytes"), "");
    EXPECT_EQ(Data(contents, "Expand", &type), Text("%A%"));
    EXPECT_EQ(type, REG_EXPAND_SZ);
    EXPECT_EQ(Data(contents, "Multi", &type), Bytes({'a', 0, 'b', 0, 0}));
    EXPECT_EQ(type, REG_MULTI_SZ);
    EXPECT_EQ(Data(contents, "Long", &type), Bytes({1, 0, 0, 0, 0, 0, 0, 128}));
    EXPECT_EQ(type, REG_QWORD);
}

TEST(RegistryFile, TheLastOfTwoValuesCountsAndAMinusTakesOneAway)
{
    const RegistryContents contents = ParseRegistryFile(kKey +
                                                        "\"A\"=\"one\"\n\"a\"=\"two\"\n\"B\"=dword:1\n\"b\"=-\n"
                                                        "[-HKEY_LOCAL_MACHINE\\Software\\Gone]\n\"C\"=dword:1\n"
                                                        "[hkey_local_machine\\SOFTWARE\\key]\n\"D\"=dword:2\n");
    ASSERT_FALSE(contents.fault);
    EXPECT_EQ(Data(contents, "A"), Text("two"));
    EXPECT_EQ(Data(contents, "B"), "(none)");
    EXPECT_EQ(Data(contents, "C"), "(none)") << "values below a removed key go nowhere";
    EXPECT_EQ(Data(contents, "D"), Bytes({2, 0, 0, 0})) << "one key in two spellings is one key";
}

TEST(RegistryFile, ARemovedKeyGoesWithItsSubKeysButNotWithItsNeighbours)
{
    const RegistryContents contents = ParseRegistryFile(kHeader +
                                                        "[HKEY_LOCAL_MACHINE\\A]\n[HKEY_LOCAL_MACHINE\\A\\B]\n[HKEY_LOCAL_MACHINE\\AB]\n"
                                                        "[-HKEY_LOCAL_MACHINE\\a]\n");
    EXPECT_EQ(contents.keys.size(), 1u);
    EXPECT_TRUE(HasRegistryKey(contents.keys, "HKEY_LOCAL_MACHINE\\ab"));
}

TEST(RegistryFile, AKeyIsThereWhenOneBelowItIs)
{
    const RegistryContents contents = ParseRegistryFile(kKey);
    EXPECT_TRUE(HasRegistryKey(contents.keys, "hkey_local_machine\\software"));
    EXPECT_TRUE(HasRegistryKey(contents.keys, "HKEY_LOCAL_MACHINE"));
    EXPECT_FALSE(HasRegistryKey(contents.keys, "HKEY_LOCAL_MACHINE\\Soft"));
    EXPECT_FALSE(HasRegistryKey(contents.keys, "HKEY_LOCAL_MACHINE\\Software\\Key\\More"));
}

TEST(RegistryFile, Utf16IsReadAsRegeditWritesIt)
{
    std::string bytes = Wide(kKey + "\"Name\"=\"m");
    bytes += Bytes({0xFC, 0x00, 0xAC, 0x20, 0x1F, 0x04, 0x3D, 0xD8, 0x00, 0xDE});  // u umlaut, euro, a Cyrillic letter, a smiley
    bytes += Wide("\"\n").substr(2);
    const RegistryContents contents = ParseRegistryFile(bytes);
    ASSERT_FALSE(contents.fault) << contents.fault->reason;
    EXPECT_EQ(Data(contents, "Name"), Text("m\xFC\x80\xD0\x9F\xF0\x9F\x98\x80"));
}

TEST(RegistryFile, AUtf8MarkIsPassedOverAndBytesStayBytes)
{
    const RegistryContents contents = ParseRegistryFile("\xEF\xBB\xBF" + kKey + "\"Name\"=\"m\xC3\xBCll\"\n");
    ASSERT_FALSE(contents.fault);
    EXPECT_EQ(Data(contents, "Name"), Text("m\xC3\xBCll"));
}

TEST(RegistryFile, AnEmptyFileHasNoKeysAndNoFault)
{
    for (const char* text : {"", "\n\n", "\xEF\xBB\xBF", "\xFF\xFE"}) {
        const RegistryContents contents = ParseRegistryFile(text);
        EXPECT_TRUE(contents.keys.empty());
        EXPECT_FALSE(contents.fault);
    }
}

TEST(RegistryFile, TheFirstFaultIsToldByItsLineAndWhatStandsBeforeCounts)
{
    const struct {
        const char* line;
        const char* reason;
    } kBad[] = {
        {"nonsense", "a value's name is not in quotes"},
        {"\"open=1", "a value's name is not in quotes"},
        {"\"ends in\\", "a value's name is not in quotes"},
        {"\"Name\"", "a value has no \"=\""},
        {"\"Name\"=", "a value is neither text nor dword nor hex"},
        {"\"Name\"=1", "a value is neither text nor dword nor hex"},
        {"\"Name\"=\"open", "a text has no closing quote at the end of its line"},
        {"\"Name\"=\"text\" more", "a text has no closing quote at the end of its line"},
        {"\"Name\"=dword:", "a dword is not one to eight hexadecimal digits"},
        {"\"Name\"=dword:123456789", "a dword is not one to eight hexadecimal digits"},
        {"\"Name\"=dword:xyz", "a dword is not one to eight hexadecimal digits"},
        {"\"Name\"=hex:1,zz", "a hex value is not a list of bytes"},
        {"\"Name\"=hex:100", "a hex value is not a list of bytes"},
        {"\"Name\"=hex(:1", "a hex value is not a list of bytes"},
        {"\"Name\"=hex", "a hex value is not a list of bytes"},
        {"[HKEY_LOCAL_MACHINE\\Open", "a key has no \"]\""},
        {"[]", "a key has no \"]\""},
        {"[-]", "a key has no name"},
        {"[\\\\]", "a key has no name"},
    };
    for (const auto& bad : kBad) {
        const RegistryContents contents = ParseRegistryFile(kKey + "\"Before\"=dword:1\n" + bad.line + "\n\"After\"=dword:2\n");
        ASSERT_TRUE(contents.fault) << bad.line;
        EXPECT_EQ(contents.fault->line, 5u) << bad.line;
        EXPECT_EQ(contents.fault->reason, bad.reason) << bad.line;
        EXPECT_EQ(Data(contents, "Before"), Bytes({1, 0, 0, 0}));
        EXPECT_EQ(Data(contents, "After"), "(none)") << bad.line;
    }
}

TEST(RegistryFile, AFileWithoutItsFirstLineIsRefused)
{
    const RegistryContents contents = ParseRegistryFile("\n[HKEY_LOCAL_MACHINE\\A]\n");
    ASSERT_TRUE(contents.fault);
    EXPECT_EQ(contents.fault->line, 2u);
    EXPECT_TRUE(contents.keys.empty());
    const RegistryContents early = ParseRegistryFile(kHeader + "\"A\"=dword:1\n");
    ASSERT_TRUE(early.fault);
    EXPECT_EQ(early.fault->reason, "a value stands before the first key");
}

TEST(RegistryFile, AFileCutAnywhereGivesKeysOrAFault)
{
    const std::string whole = kKey + "\"Text\"=\"a\\\\b\"\n\"Bytes\"=hex(2):41,00,\\\n 42,00,00,00\n";
    for (size_t length = 0; length <= whole.size(); ++length) {
        const RegistryContents contents = ParseRegistryFile(std::string_view(whole).substr(0, length));
        EXPECT_LE(contents.keys.size(), 1u);
    }
    const std::string wide = Wide(whole);
    for (size_t length = 0; length <= wide.size(); ++length) {
        EXPECT_LE(ParseRegistryFile(std::string_view(wide).substr(0, length)).keys.size(), 1u);
    }
}

}  // namespace

}  // namespace velmora::test
