// settings get, set and list.

#include <chrono>
#include <fstream>
#include <memory>
#include <thread>

#include "tests/tool/ToolRun.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class Settings : public ToolTest {
protected:
    // A settings file with these lines behind the heading.
    void WriteSettings(const std::string& lines) const
    {
        fs::create_directories(Root());
        WriteFileBytes(SettingsPath(), "Windows Registry Editor Version 5.00\r\n\r\n" + lines);
    }
    std::string Written() const { return ReadFileBytes(SettingsPath()).substr(40); }
};

const std::string kKeyLine = std::string("[") + kBaseKey + "]\r\n";

}  // namespace

TEST_F(Settings, ATextComesBackAsItWasSet)
{
    MakeStore();
    for (const char* text : {"plain", "C:\\Mail\\Root\\", "say \"so\"", "", "\\", "ends with \\\\", "gr\xC3\xBC\xC3\x9F"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(InStore({"settings", "set", "Bad Mail Directory", text}).out, std::string(text) + "\n");
        EXPECT_EQ(InStore({"settings", "get", "bad mail directory"}).out, std::string(text) + "\n");
    }
}

TEST_F(Settings, AKnownNumberIsWrittenAsANumber)
{
    WriteSettings(kKeyLine);
    InStore({"settings", "set", "Maximum Index Rows", "200000"});
    InStore({"settings", "set", "backup index interval", "0x10"});
    EXPECT_EQ(Written(), kKeyLine + "\"Maximum Index Rows\"=dword:00030d40\r\n\"backup index interval\"=dword:00000010\r\n");
    EXPECT_EQ(InStore({"settings", "get", "Maximum Index Rows"}).out, "200000\n");
}

TEST_F(Settings, AnUnknownNameIsTextUnlessATypeIsGiven)
{
    WriteSettings(kKeyLine);
    InStore({"settings", "set", "Mine", "1"});
    InStore({"settings", "set", "Other", "1", "--type", "dword"});
    InStore({"settings", "set", "Other", "2"});
    EXPECT_EQ(Written(), kKeyLine + "\"Mine\"=\"1\"\r\n\"Other\"=dword:00000002\r\n");
}

TEST_F(Settings, WhatIsNoNumberIsRefused)
{
    MakeStore();
    std::string before = ReadFileBytes(SettingsPath());
    for (const char* text : {"many", "", "4294967296", "-1", "1 ", "0x", "1.5"}) {
        SCOPED_TRACE(text);
        InStore({"settings", "set", "--", "Maximum Index Rows", text}, 64);
    }
    EXPECT_EQ(ReadFileBytes(SettingsPath()), before);
}

TEST_F(Settings, AnotherKeyIsTakenBelowTheBaseOrWhole)
{
    WriteSettings(kKeyLine);
    InStore({"settings", "set", "Index Unblock Mode", "1", "--key", "Providers"});
    std::string key = std::string(kBaseKey) + "\\Providers";
    EXPECT_EQ(Written(), kKeyLine + "\r\n[" + key + "]\r\n\"Index Unblock Mode\"=dword:00000001\r\n");
    EXPECT_EQ(InStore({"settings", "get", "Index Unblock Mode", "--key", key}).out, "1\n");
    EXPECT_EQ(InStore({"settings", "get", "Index Unblock Mode", "--key", key.substr(19)}).out, "1\n");
    InStore({"settings", "get", "Index Unblock Mode"}, 66);
}

TEST_F(Settings, EmptyPartsOfAKeyDoNotCount)
{
    WriteSettings("");
    for (const char* key : {"HKEY_LOCAL_MACHINE\\SOFTWARE\\\\X\\", "software\\\\X"}) InStore({"settings", "set", "A", key, "--key", key});
    InStore({"settings", "set", "B", "1", "--key", "\\"});
    EXPECT_EQ(Written(), "\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\X]\r\n\"A\"=\"software\\\\\\\\X\"\r\n\r\n" + kKeyLine + "\"B\"=\"1\"\r\n");
}

TEST_F(Settings, ASettingThatTheStoreDoesNotReadIsNotShown)
{
    WriteSettings(kKeyLine + "\"A\"=\"1\" ; why\r\n\"B\"=\"2\"\r\n\"b\"=-\r\n[X]\r\n\"C\"=\"3\"\r\n[-X]\r\n\"D\"=\"4\"\r\n");
    EXPECT_EQ(JsonInStore({"settings", "list"}).size(), 1u);
    EXPECT_EQ(InStore({"settings", "get", "A"}).out, "1\n");
    InStore({"settings", "get", "B"}, 66);
    InStore({"settings", "get", "D", "--key", "HKEY_X"}, 66);
}

TEST_F(Settings, AFileThatIsTooLargeForTheStoreIsRefused)
{
    std::string comment = ";" + std::string(16 * 1024 * 1024, ' ') + "\n";
    WriteSettings(comment);
    ExpectRefusal({"settings", "set", "A", "1"}, 65, SettingsPath().string() + ": a settings file has 16 MB at most");
    WriteSettings(comment.substr(1000));
    InStore({"settings", "list"});
}

TEST_F(Settings, AMailRootThatIsTooLongForTheStoreDoesNotCount)
{
    MakeStore();
    InStore({"settings", "set", "Mail Root Directory", "--key", "Services\\MAPI", std::string(1024, 'x')});
    EXPECT_EQ(InStore({"item", "list", kInbox}).err, "") << "the next setting counts, and names the store's own";
    InStore({"settings", "set", "Mail Root Directory", "--key", "Services\\MAPI", std::string(1023, 'x')});
    EXPECT_NE(InStore({"item", "list", kInbox}).err, "");
}

TEST_F(Settings, AValueUnderAKeyWhereTheStoreDoesNotLookIsNoted)
{
    MakeStore();
    EXPECT_EQ(InStore({"settings", "set", "Index Unblock Mode", "1"}).err,
              "vlstore: note: the store reads \"Index Unblock Mode\" under --key 'Providers'\n");
    EXPECT_EQ(InStore({"settings", "set", "Index Unblock Mode", "1", "--key", "Providers"}).err, "");
}

TEST_F(Settings, AnUnknownSettingIsOneLine)
{
    MakeStore();
    ExpectRefusal({"settings", "get", "Nope"}, 66, std::string("no such setting: \"Nope\" in ") + kBaseKey);
}

TEST_F(Settings, AChangeTouchesItsOwnLineAlone)
{
    std::string before = kKeyLine +
                         "; a comment\r\n"
                         "\"Bytes\"=hex:01,02,\\\r\n  03,04\r\n"
                         "\"Maximum Index Rows\"=dword:00000001\r\n"
                         "@=\"default\"\r\n"
                         "\r\n"
                         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\r\n"
                         "\"Maximum Index Rows\"=dword:00000007\r\n"
                         "\"Wide\"=hex(2):41,00,\\\r\n  00,00\r\n";
    WriteSettings(before);
    InStore({"settings", "set", "maximum index rows", "2"});
    std::string expected = before;
    std::string line = "\"Maximum Index Rows\"=dword:00000001";
    expected.replace(expected.find(line), line.size(), "\"Maximum Index Rows\"=dword:00000002");
    EXPECT_EQ(Written(), expected);
}

TEST_F(Settings, ANewValueStandsBehindTheLastOneOfItsKey)
{
    WriteSettings(kKeyLine + "\"A\"=\"1\"\r\n\r\n; of the next key\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\r\n\"B\"=\"2\"\r\n");
    InStore({"settings", "set", "C", "3"});
    EXPECT_EQ(Written(),
              kKeyLine + "\"A\"=\"1\"\r\n\"C\"=\"3\"\r\n\r\n; of the next key\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\r\n\"B\"=\"2\"\r\n");
}

TEST_F(Settings, OfTwoEqualValuesTheLaterOneCounts)
{
    WriteSettings(kKeyLine + "\"A\"=\"1\"\r\n\"a\"=\"2\"\r\n");
    EXPECT_EQ(InStore({"settings", "get", "A"}).out, "2\n");
    InStore({"settings", "set", "A", "3"});
    EXPECT_EQ(InStore({"settings", "get", "A"}).out, "3\n");
}

TEST_F(Settings, UnixLineEndsStay)
{
    fs::create_directories(Root());
    WriteFileBytes(SettingsPath(), std::string("Windows Registry Editor Version 5.00\n\n[") + kBaseKey + "]\n\"A\"=\"1\"");
    InStore({"settings", "set", "B", "2"});
    EXPECT_EQ(ReadFileBytes(SettingsPath()),
              std::string("Windows Registry Editor Version 5.00\n\n[") + kBaseKey + "]\n\"A\"=\"1\"\n\"B\"=\"2\"\n");
}

TEST_F(Settings, AUtf16ExportIsReadAndStaysUtf16)
{
    auto utf16 = [](const std::u16string& text) {
        std::string bytes = "\xFF\xFE";
        for (char16_t unit : text) {
            bytes += static_cast<char>(static_cast<unsigned char>(unit & 0xFF));
            bytes += static_cast<char>(static_cast<unsigned char>(unit >> 8));
        }
        return bytes;
    };
    std::u16string head = u"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Velmora\\Velmora]\r\n";
    fs::create_directories(Root());
    WriteFileBytes(SettingsPath(), utf16(head + u"\"A\"=\"\u00e9\u20ac\U0001F4EC\"\r\n"));
    // As the store reads it: what Windows-1252 has is one byte.
    EXPECT_EQ(InStore({"settings", "get", "A"}).out, "\xE9\x80\xF0\x9F\x93\xAC\n");
    InStore({"settings", "set", "B", "\xC3\xBC\xD0\x9F"});
    EXPECT_EQ(InStore({"settings", "get", "B"}).out, "\xC3\xBC\xD0\x9F\n");
    EXPECT_EQ(ReadFileBytes(SettingsPath()), utf16(head + u"\"A\"=\"\u00e9\u20ac\U0001F4EC\"\r\n\"B\"=\"\u00c3\u00bc\u041f\"\r\n"));
}

TEST_F(Settings, AFileWithAFaultIsListedUpToItAndNotWritten)
{
    WriteSettings(kKeyLine + "\"A\"=\"1\"\r\nthis is no line\r\n\"B\"=\"2\"\r\n");
    std::string before = ReadFileBytes(SettingsPath());
    Outcome run = InStore({"--format", "tab", "settings", "list"});
    EXPECT_EQ(run.out,
              std::string("name\tvalue\ttype\tkey\nA\t1\ttext\tHKEY_LOCAL_MACHINE\\\\SOFTWARE\\\\Wow6432Node\\\\Velmora\\\\Velmora\n"));
    EXPECT_EQ(run.err, "vlstore: " + SettingsPath().string() + ":5: not a line of a settings file; nothing behind it counts\n");
    ExpectRefusal({"settings", "set", "C", "3"}, 65, SettingsPath().string() + ":5: not a line of a settings file");
    EXPECT_EQ(ReadFileBytes(SettingsPath()), before);
}

TEST_F(Settings, ListShowsAllKeysOrOne)
{
    WriteSettings(kKeyLine + "\"A\"=\"1\"\r\n\"N\"=dword:ffffffff\r\n\"Bytes\"=hex:01\r\n[" + kBaseKey + "\\Providers]\r\n\"P\"=\"2\"\r\n");
    nlohmann::json all = JsonInStore({"settings", "list"});
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0], nlohmann::json({{"name", "A"}, {"value", "1"}, {"type", "text"}, {"key", kBaseKey}}));
    EXPECT_EQ(all[1].at("value"), 4294967295u);
    EXPECT_EQ(all[2].at("type"), "other");
    nlohmann::json one = JsonInStore({"settings", "list", "--key", "providers"});
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(one[0].at("name"), "P");
}

TEST_F(Settings, ASetLeavesNoOtherFile)
{
    WriteSettings(kKeyLine);
    InStore({"settings", "set", "A", "1"});
    EXPECT_EQ(FileNames(Root()), std::vector<std::string>{"registry.reg"});
}

TEST_F(Settings, AReaderOnlyDelaysASet)
{
    MakeStore();
    auto reader = std::make_unique<std::ifstream>(SettingsPath());
    Outcome run = InStoreWith({.meanwhile =
                                   [&reader](ChildProcess&) {
                                       std::this_thread::sleep_for(std::chrono::milliseconds(300));
                                       reader.reset();
                                   }},
                              {"settings", "set", "A", "1"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(InStore({"settings", "get", "A"}).out, "1\n");
    EXPECT_EQ(FileNames(Root()), (std::vector<std::string>{"POSTOFFICES", "registry.reg"}));
}

TEST_F(Settings, AFileThatIsNamedByTheEnvironmentIsMadeByTheFirstSet)
{
    ASSERT_EQ(Tool({"settings", "set", "Maximum Index Rows", "5"}).exitCode, 0);
    EXPECT_EQ(ReadFileBytes(std::getenv("VELMORA_REGISTRY")),
              "Windows Registry Editor Version 5.00\r\n\r\n" + kKeyLine + "\"Maximum Index Rows\"=dword:00000005\r\n");
}

TEST_F(Settings, ANameOrValueOfTwoLinesIsRefused)
{
    MakeStore();
    std::string before = ReadFileBytes(SettingsPath());
    InStore({"settings", "set", "A", "1\r\n\"B\"=\"2"}, 64);
    InStore({"settings", "set", "A\nB", "1"}, 64);
    InStore({"settings", "set", "A", "1", "--key", "x]\r\n[y"}, 64);
    EXPECT_EQ(ReadFileBytes(SettingsPath()), before);
}

}  // namespace velmora::test
