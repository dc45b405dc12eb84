// What the command line takes, and what a wrong one is answered with.

#include <sstream>

#include "tests/tool/CommandLineFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

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

TEST_F(CommandLine, HelpNamesTheVerbsOfEveryNoun)
{
    const std::string help = Tool({"--help"}).out;
    for (const char* noun : {"store", "settings", "mailbox", "item", "folder", "share", "index", "property"}) {
        SCOPED_TRACE(noun);
        const std::string own = Tool({noun, "--help"}).out, heading = "\nSubcommands:\n";
        size_t at = own.find(heading);
        ASSERT_NE(at, std::string::npos) << own;
        std::istringstream lines(own.substr(at + heading.size()));
        std::string verbs;
        for (std::string line, verb; std::getline(lines, line) && std::istringstream(line) >> verb;)
            verbs += (verbs.empty() ? "" : ", ") + verb;
        EXPECT_FALSE(verbs.empty());
        EXPECT_NE(help.find(": " + verbs + "\n"), std::string::npos) << verbs;
    }
    EXPECT_NE(help.find("\"vlstore NOUN --help\""), std::string::npos);
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

TEST_F(CommandLine, AMovedStoreIsTheOneThatIsAskedFor)
{
    MakeStore();
    ImportSubjects({"one"});
    fs::path moved = Directory().Path() / "moved";
    fs::copy(Root(), moved, fs::copy_options::recursive);
    Outcome run = Tool({"--store", moved.string(), "item", "set", kInbox, "00000001.MAI", "PR_SUBJECT", "changed"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "vlstore: note: the settings of " + moved.string() + " name another mail root, " +
                           (Root() / "POSTOFFICES").generic_string() + "; used is " + (moved / "POSTOFFICES").string() + "\n");
    EXPECT_EQ(InStore({"item", "get", kInbox, "00000001.MAI", "PR_SUBJECT"}).out, "one\n");
    EXPECT_EQ(ReadFileBytes(moved / "registry.reg"), ReadFileBytes(SettingsPath()));

    // The settings can be made to say so, and then there is nothing to note.
    fs::remove_all(Root());
    EXPECT_EQ(Tool({"--store", moved.string(), "item", "get", kInbox, "00000001.MAI", "PR_SUBJECT"}).out, "changed\n");
    EXPECT_EQ(Tool({"--store", moved.string(), "settings", "set", "Mail Root", (moved / "POSTOFFICES").string()}).exitCode, 0);
    EXPECT_EQ(Tool({"--store", moved.string(), "item", "list", kInbox}).err, "");
}

TEST_F(CommandLine, AMovedStoreLeavesNothingAmongTheTemporaryFiles)
{
    MakeStore();
    fs::rename(Root(), Directory().Path() / "moved");
    fs::path temporary = Directory().Path() / "temporary";
    fs::create_directory(temporary);
    for (const char* name : {"TMPDIR", "TMP", "TEMP"}) SetVariable(name, temporary.string().c_str());
    EXPECT_EQ(Tool({"--store", (Directory().Path() / "moved").string(), "item", "list", kInbox}).exitCode, 0);
    EXPECT_EQ(Tool({"--store", (Directory().Path() / "moved").string(), "item", "list", "po/box/Nope"}).exitCode, 66);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(CommandLine, AMovedStoreWhoseSettingsHaveAFaultIsNotTakenForAnother)
{
    MakeStore();
    WriteFileBytes(SettingsPath(), ReadFileBytes(SettingsPath()) + "this is no line\r\n");
    EXPECT_EQ(InStore({"item", "list", kInbox}).exitCode, 0);
    fs::path moved = Directory().Path() / "moved";
    fs::copy(Root(), moved, fs::copy_options::recursive);
    Outcome run = Tool({"--store", moved.string(), "item", "list", kInbox});
    EXPECT_EQ(run.exitCode, 65);
    EXPECT_EQ(run.err, "vlstore: " + (moved / "registry.reg").string() + ":7: not a line of a settings file\n");
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

TEST_F(CommandLine, AFaultLineHasNoControlCharacters)
{
    Outcome run = Tool({"import", "/nowhere", "--to", kInbox, "--store", "/no\npe\x1B[2J\xC2\x9B gr\xC3\xBC\xC3\x9F\x7F"});
    EXPECT_EQ(run.err, "vlstore: no such store: /no pe\\x1B[2J\\x9B gr\xC3\xBC\xC3\x9F\\x7F\n");
}

TEST_F(CommandLine, LinesEndWithALineFeedOnEverySystem)
{
    MakeStore();
    ImportSubjects({"one"});
    for (const char* format : {"table", "tab", "json"}) {
        EXPECT_EQ(InStore({"--format", format, "item", "list", kInbox}).out.find('\r'), std::string::npos) << format;
    }
    EXPECT_EQ(Tool({"--help"}).out.find('\r'), std::string::npos);
    EXPECT_EQ(InStore({"item", "list", "po/box/Nope"}, 66).err, "vlstore: no such folder: po/box/Nope\n");
}

TEST_F(CommandLine, NamesAndPathsAreUtf8OnEverySystem)
{
    MakeStore();
    std::string name =
        "Gr\xC3\xBC\xC3\x9F"
        "e \xE6\xAC\xA1";
    fs::path directory = FolderPath("") / fs::path(u8"Gr\u00FC\u00DFe \u6B21");
    fs::create_directory(directory);
    fs::path file = Directory().Path() / fs::path(u8"b\u00FC.eml");
    WriteFileBytes(file, "Subject: one\n\n");
    nlohmann::json imported = JsonInStore({"import", file.string(), "--to", "po/box/" + name});
    ASSERT_EQ(imported.size(), 1u);
    EXPECT_EQ(imported[0].at("source"), file.string());
    EXPECT_EQ(JsonInStore({"item", "list", "po/box/" + name}).size(), 1u);
    EXPECT_TRUE(fs::exists(directory / "_index.xml"));
    EXPECT_TRUE(JsonInStore({"folder", "status", "po/box/" + name})[0].at("VL_FOLDER_PATH").get<std::string>().ends_with(name));

    // The directory of a store too, and one that is made.
    std::string root = (Directory().Path() / fs::path(u8"\u00E9t\u00E9")).string();
    ASSERT_EQ(Tool({"store", "init", root}).exitCode, 0);
    ASSERT_EQ(Tool({"--store", root, "mailbox", "add", name, "box"}).exitCode, 0);
    EXPECT_EQ(Tool({"--store", root, "import", file.string(), "--to", name + "/box/Inbox"}).exitCode, 0);
    EXPECT_TRUE(
        fs::exists(Directory().Path() / fs::path(u8"\u00E9t\u00E9/POSTOFFICES/Gr\u00FC\u00DFe \u6B21/MAILROOT/box/Inbox/00000001.MAI")));
}

TEST_F(CommandLine, TheProgramRunsAloneAndSaysThatTheLibraryIsMissing)
{
    MakeStore();
    fs::path program = CopyProgram();
    Outcome run = RunProgram(program, {"--store", Root().string(), "item", "list", kInbox}, Directory());
    ExpectOneLine(run, 69);
    EXPECT_NE(run.err.find("cannot load the store library: "), std::string::npos) << run.err;
    EXPECT_EQ(RunProgram(program, {"--store", Root().string(), "settings", "list"}, Directory()).exitCode, 0);
}

TEST_F(CommandLine, AnotherLibraryUnderTheNameIsNamedByWhatItLacks)
{
    MakeStore();
    fs::path program = CopyProgram();
    fs::path library(VLSTORE_LIBRARY);
    fs::path place = program.parent_path() / fs::path(library).lexically_relative(ToolPath().parent_path());
    fs::create_directories(place.lexically_normal().parent_path());
    fs::copy_file(VLSTORE_OTHER_LIBRARY, place.lexically_normal());
    Outcome run = RunProgram(program, {"--store", Root().string(), "item", "list", kInbox}, Directory());
    ExpectOneLine(run, 69);
    EXPECT_EQ(run.err, "vlstore: " + library.filename().string() + " has no function StoreFolder_Open\n");
}

}  // namespace velmora::test
