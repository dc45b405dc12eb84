// What the command line takes, and what a wrong one is answered with.

#include <dlfcn.h>
#include <link.h>

#include "tests/tool/ToolRun.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class CommandLine : public ToolTest {};

// One line on standard error, nothing on standard output.
void ExpectOneLine(const Outcome& run, int exitCode)
{
    EXPECT_EQ(run.exitCode, exitCode);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("vlstore: ")) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
}

}  // namespace

TEST_F(CommandLine, NothingAtAllIsAUsageError) { ExpectOneLine(Tool({}), 64); }

TEST_F(CommandLine, AnUnknownNounIsAUsageError) { ExpectOneLine(Tool({"bogus"}), 64); }

TEST_F(CommandLine, ANounWithoutAVerbIsAUsageError) { ExpectOneLine(Tool({"item"}), 64); }

TEST_F(CommandLine, AMissingArgumentIsAUsageError) { ExpectOneLine(Tool({"item", "get", kInbox}), 64); }

TEST_F(CommandLine, AnUnknownFormatIsAUsageError) { ExpectOneLine(Tool({"--format", "xml", "item", "list", kInbox}), 64); }

TEST_F(CommandLine, HelpGoesToStandardOutput)
{
    Outcome run = Tool({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("import"), std::string::npos);
    EXPECT_EQ(run.err, "");
}

TEST_F(CommandLine, VersionNamesTheProgram)
{
    Outcome run = Tool({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.starts_with("vlstore ")) << run.out;
}

TEST_F(CommandLine, AFolderHasThreePartsAndNoneThatLeadsElsewhere)
{
    MakeStore();
    for (const char* folder : {"Inbox", "po/box", "po//Inbox", "/po/box/Inbox", "po/box/Inbox/", "po/../Inbox", "po/box/..", "po/box/a/./b",
                               "po/box/a\\..\\b", ""}) {
        SCOPED_TRACE(folder);
        ExpectOneLine(InStore({"item", "list", folder}, 64), 64);
    }
}

TEST_F(CommandLine, ANameThatTheLibraryWouldCutIsAUsageError)
{
    MakeStore();
    ExpectOneLine(InStore({"item", "list", "po/box/" + std::string(2000, 'x')}, 64), 64);
    std::map<std::string, std::string> before = TreeOf(Root());
    std::string deep = "po/box";
    for (int i = 0; i < 60; ++i) deep += "/0123456789";
    InStore({"item", "list", deep}, 66);
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(CommandLine, TheToolsOwnOptionsMayStandBehindAVerb)
{
    MakeStore();
    std::vector<std::string> ids = ImportSubjects({"one"});
    Outcome run = Tool({"item", "list", kInbox, "--store", Root().string(), "--format", "json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(nlohmann::json::parse(run.out).at(0).at("VL_ITEM_ID"), ids[0]);
    // An argument that is called as a noun is none.
    EXPECT_EQ(Tool({"item", "set", kInbox, ids[0], "PR_SUBJECT", "import", "--store", Root().string()}).out, "import\n");
}

TEST_F(CommandLine, AFaultLineHasNoControlBytes)
{
    Outcome run = Tool({"import", "/no\nwhere\x1B[2J\xC2\x9B\x9B gr\xC3\xBC\xC3\x9F\x7F", "--to", kInbox, "--store", "/nope\x1B[2J"});
    EXPECT_EQ(run.err, "vlstore: no such store: /nope\\x1B[2J\n");
    MakeStore();
    ExpectRefusal({"import", "/no\nwhere\x1B[2J\xC2\x9B\x9B gr\xC3\xBC\xC3\x9F\x7F", "--to", kInbox}, 66,
                  "no such file or directory: /no where\\x1B[2J\\x9B\\x9B gr\xC3\xBC\xC3\x9F\\x7F");
}

TEST_F(CommandLine, ASettingsFileThatIsNotThereIsOneLine)
{
    for (const char* verb : {"list", "get"}) {
        std::vector<std::string> arguments = {"settings", verb};
        if (arguments[1] == "get") arguments.emplace_back("Mail Root");
        ExpectRefusal(arguments, 66, "no such store: " + Root().string());
        ExpectOneLine(Tool(arguments), 66);
        EXPECT_EQ(Tool(arguments).err, std::string("vlstore: no such settings file: ") + std::getenv("VELMORA_REGISTRY") + "\n");
    }
    EXPECT_EQ(Tool({"item", "list", kInbox}).err, std::string("vlstore: no such settings file: ") + std::getenv("VELMORA_REGISTRY") + "\n");
}

TEST_F(CommandLine, AMailRootOutsideTheStoreIsNoted)
{
    MakeStore();
    fs::path elsewhere = Directory().Path() / "elsewhere";
    fs::rename(Root() / "POSTOFFICES", elsewhere);
    EXPECT_EQ(InStore({"settings", "set", "Mail Root", elsewhere.string()}).err, "");
    Outcome run = InStore({"item", "list", kInbox});
    EXPECT_EQ(run.err, "vlstore: note: the mail root of " + Root().string() + " lies outside it: " + elsewhere.string() + "\n");
}

TEST_F(CommandLine, AStoreThatIsNotThereIsOneLine)
{
    ExpectRefusal({"item", "list", kInbox}, 66, "no such store: " + Root().string());
    EXPECT_FALSE(fs::exists(Root()));
}

TEST_F(CommandLine, AStoreWhoseMailRootIsGoneIsOneLine)
{
    MakeStore();
    fs::remove_all(Root() / "POSTOFFICES");
    ExpectRefusal({"item", "list", kInbox}, 66, "no such store: the mail root " + (Root() / "POSTOFFICES").string() + " is not there");
    EXPECT_FALSE(fs::exists(Root() / "POSTOFFICES"));
}

TEST_F(CommandLine, WithoutStoreTheEnvironmentNamesTheSettingsFile)
{
    // TempDirectory points VELMORA_REGISTRY at a file of its own.
    MakeStore();
    fs::copy_file(SettingsPath(), std::getenv("VELMORA_REGISTRY"));
    Outcome run = Tool({"--format", "json", "folder", "status", kInbox});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(nlohmann::json::parse(run.out).at(0).at("VL_FOLDER_PATH"), FolderPath().string());
}

TEST_F(CommandLine, OutputThatCannotBeWrittenIsAnError)
{
    MakeStore();
    Outcome run = RunProgram(ToolPath(), {"--store", Root().string(), "settings", "list"}, Directory(), {.stdoutPath = "/dev/full"});
    EXPECT_EQ(run.exitCode, 74);
    EXPECT_EQ(run.err, "vlstore: cannot write to standard output\n");
}

TEST_F(CommandLine, WithoutTheLibraryOneLineSaysSo)
{
    MakeStore();
    fs::create_directories(Directory().Path() / "alone" / "bin");
    fs::path program = Directory().Path() / "alone" / "bin" / "vlstore";
    fs::copy_file(ToolPath(), program);
    Outcome run = RunProgram(program, {"--store", Root().string(), "item", "list", kInbox}, Directory());
    ExpectOneLine(run, 69);
    EXPECT_NE(run.err.find("cannot load the store library"), std::string::npos) << run.err;
    EXPECT_EQ(RunProgram(program, {"--store", Root().string(), "settings", "list"}, Directory()).exitCode, 0);
}

TEST_F(CommandLine, AnotherLibraryUnderTheNameIsNamedByWhatItLacks)
{
    MakeStore();
    std::string other;
    auto remember = [](dl_phdr_info* info, size_t, void* found) {
        std::string name = info->dlpi_name;
        if (name.find("/libm.so") != std::string::npos) *static_cast<std::string*>(found) = name;
        return 0;
    };
    dl_iterate_phdr(remember, &other);
    ASSERT_NE(other, "");
    fs::create_directories(Directory().Path() / "alone" / "bin");
    fs::create_directories(Directory().Path() / "alone" / "lib");
    fs::path program = Directory().Path() / "alone" / "bin" / "vlstore";
    fs::copy_file(ToolPath(), program);
    fs::copy_file(other, Directory().Path() / "alone" / "lib" / "libvlaisp.so");
    Outcome run = RunProgram(program, {"--store", Root().string(), "item", "list", kInbox}, Directory());
    ExpectOneLine(run, 69);
    EXPECT_EQ(run.err, "vlstore: libvlaisp.so has no function StoreFolder_Open\n");
}

}  // namespace velmora::test
