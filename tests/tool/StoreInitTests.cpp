// store init and mailbox add.

#include "tests/tool/ToolRun.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class StoreInit : public ToolTest {};
class MailboxAdd : public ToolTest {};

// As a text stands between quotes in a settings file.
std::string Escaped(const fs::path& path)
{
    std::string escaped;
    for (char c : path.string()) escaped += c == '\\' ? "\\\\" : std::string(1, c);
    return escaped;
}

std::string Heading() { return std::string("Windows Registry Editor Version 5.00\r\n\r\n[") + kBaseKey + "]\r\n"; }

}  // namespace

TEST_F(StoreInit, WritesTheMailRootAndTurnsTheStreamReaderAndWriterOn)
{
    ASSERT_EQ(Tool({"store", "init", Root().string()}).exitCode, 0);
    EXPECT_TRUE(fs::is_directory(Root() / "POSTOFFICES"));
    EXPECT_EQ(ReadFileBytes(SettingsPath()), Heading() + "\"Mail Root\"=\"" + Escaped(Root() / "POSTOFFICES") +
                                                 "\"\r\n"
                                                 "\"Use XML Stream Index Deserialisation\"=dword:00000001\r\n"
                                                 "\"Use XML Stream Index Serialisation\"=dword:00000001\r\n");
}

TEST_F(StoreInit, DefaultsSetNothingButTheMailRoot)
{
    ASSERT_EQ(Tool({"store", "init", Root().string(), "--defaults"}).exitCode, 0);
    EXPECT_EQ(ReadFileBytes(SettingsPath()), Heading() + "\"Mail Root\"=\"" + Escaped(Root() / "POSTOFFICES") + "\"\r\n");
}

TEST_F(StoreInit, SettingsThatLeaveNoIndexWriterAreNoted)
{
    const std::vector<std::string> version = {"settings", "set", "XML Version", "4", "--key", "Providers\\Store"};
    EXPECT_EQ(Tool({"store", "init", Root().string(), "--defaults"}).err, "");
    std::string note = InStore(version).err;
    EXPECT_TRUE(note.starts_with("vlstore: note: this store saves no indexes")) << note;
    EXPECT_EQ(InStore({"settings", "set", "Use XML Stream Index Serialisation", "1"}).err, "");
    EXPECT_EQ(InStore(version).err, "");
    EXPECT_EQ(InStore({"settings", "set", "Use XML Stream Index Serialisation", "0"}).err, note);
}

TEST_F(StoreInit, WithNoSettingsTheDirectoriesMakeTheStore)
{
    ASSERT_EQ(Tool({"store", "init", Root().string(), "--no-settings"}).exitCode, 0);
    EXPECT_EQ(FileNames(Root()), std::vector<std::string>{"POSTOFFICES"});
    InStore({"mailbox", "add", "po", "box"});
    fs::path file = MakeFile("a.eml", "Subject: kept\nFrom: a@b\n\nbody\n");
    Outcome run = InStore({"import", file.string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 1 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(run.err, "");
    InStore({"item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "1"});
    EXPECT_EQ(InStore({"item", "get", kInbox, "00000001.MAI", "PR_VL_READ"}).out, "1\n");
    EXPECT_EQ(JsonInStore({"index", "check", kInbox}).at(0).at("form"), "dom-old");
    EXPECT_EQ(FileNames(Root()), std::vector<std::string>{"POSTOFFICES"});
    Outcome again = Tool({"store", "init", Root().string(), "--no-settings"});
    EXPECT_EQ(again.exitCode, 73);
    EXPECT_EQ(again.err, "vlstore: there is a store already: " + (Root() / "POSTOFFICES").string() + "\n");
}

TEST_F(StoreInit, RefusesARootThatOtherPlatformsCannotName)
{
    for (const char* name : {"a*", "a?b", "a\"b", "a<b", "a>b", "a|b", "a:b", "a\nb", "a\x7F", "a*/below"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Tool({"store", "init", Directory().Str() + "/" + name}).exitCode, 64);
        EXPECT_EQ(FileNames(Directory().Path()), (std::vector<std::string>{"stderr.txt", "stdout.txt"}));
    }
}

TEST_F(StoreInit, RefusesAStoreThatIsThere)
{
    MakeStore();
    std::map<std::string, std::string> before = TreeOf(Root());
    Outcome run = Tool({"store", "init", Root().string()});
    EXPECT_EQ(run.exitCode, 73);
    EXPECT_EQ(run.err, "vlstore: there is a store already: " + SettingsPath().string() + "\n");
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(StoreInit, RefusesAFileAsRoot)
{
    fs::path file = MakeFile("file", "x");
    EXPECT_EQ(Tool({"store", "init", file.string()}).exitCode, 73);
    EXPECT_EQ(ReadFileBytes(file), "x");
}

TEST_F(StoreInit, ARelativeRootBecomesAnAbsoluteMailRoot)
{
    fs::current_path(Directory().Path());
    ASSERT_EQ(Tool({"store", "init", "./store/"}).exitCode, 0);
    Outcome run = InStore({"settings", "get", "Mail Root"});
    EXPECT_EQ(run.out, (fs::current_path() / "store" / "POSTOFFICES").string() + "\n");
}

TEST_F(MailboxAdd, MakesTheTenWellKnownFolders)
{
    MakeStore();
    std::vector<std::string> expected = {"Calendar", "Contacts", "Deleted Items", "Drafts",     "Inbox",
                                         "Journal",  "Notes",    "Outbox",        "Sent Items", "Tasks"};
    EXPECT_EQ(FileNames(FolderPath("")), expected);
    for (const std::string& folder : expected) EXPECT_TRUE(fs::is_empty(FolderPath(folder)));
}

TEST_F(MailboxAdd, SaysWhatItMade)
{
    ASSERT_EQ(Tool({"store", "init", Root().string()}).exitCode, 0);
    nlohmann::json rows = JsonInStore({"mailbox", "add", "po", "box"});
    ASSERT_EQ(rows.size(), 10u);
    EXPECT_EQ(rows[0],
              nlohmann::json(
                  {{"VL_POSTOFFICE", "po"}, {"VL_MAILBOX", "box"}, {"VL_FOLDER", "Inbox"}, {"VL_FOLDER_PATH", FolderPath().string()}}));
}

TEST_F(MailboxAdd, RefusesAMailboxThatIsThereInAnyCase)
{
    MakeStore();
    ExpectRefusal({"mailbox", "add", "PO", "BOX"}, 73, "there is a mailbox already: PO/BOX");
}

TEST_F(MailboxAdd, TakesAPostOfficeThatIsThereInAnotherCase)
{
    MakeStore();
    InStore({"mailbox", "add", "PO", "second"});
    EXPECT_EQ(FileNames(Root() / "POSTOFFICES"), std::vector<std::string>{"po"});
    EXPECT_TRUE(fs::is_directory(Root() / "POSTOFFICES" / "po" / "MAILROOT" / "second" / "Inbox"));
}

TEST_F(MailboxAdd, RefusesNamesThatAreNoDirectoryNames)
{
    MakeStore();
    std::map<std::string, std::string> before = TreeOf(Root());
    for (const char* name : {"", ".", "..", "a/b", "a\\b", "a*", "a?", "a\"b", "a<b", "a>b", "a|b", "a:b", "a\nb", "a\x7F", "a ", "a."}) {
        SCOPED_TRACE(name);
        InStore({"mailbox", "add", "po", name}, 64);
        InStore({"mailbox", "add", name, "box"}, 64);
    }
    EXPECT_EQ(TreeOf(Root()), before);
}

}  // namespace velmora::test
