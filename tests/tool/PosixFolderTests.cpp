// The verbs of folders on a terminal, where links lead around, and among directories that the store has no path or no name for.

#include <algorithm>

#include "tests/tool/FolderFixture.h"
#include "tests/tool/PosixTerminal.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class FolderOnTerminal : public FolderVerb {
protected:
    Outcome Run(Terminal& terminal, const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> words = {"-c", "exec \"$@\" <\"$0\"", terminal.Path(), ToolPath().string(), "--store", Root().string()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return RunProgram("/bin/sh", words, Directory());
    }
};
class FolderLinks : public FolderVerb {};

// Folders in Inbox that a system allows and the store cannot name, among others that it can.
class FolderWithOddOnes : public FolderVerb {
protected:
    void SetUp() override
    {
        FolderVerb::SetUp();
        MakeFolders();
    }
    // More levels than a path of the store holds, each with a name of 60 bytes; in the order of names before all others.
    void MakeDeep() const
    {
        fs::path deep = FolderPath() / "Deep";
        for (int level = 0; level < 20; ++level) deep /= std::string(60, 'd');
        fs::create_directories(deep);
    }
    nlohmann::json Rows(std::vector<std::string> arguments, std::string& err) const
    {
        arguments.insert(arguments.begin(), {"--format", "json"});
        Outcome run = InStore(std::move(arguments), 74);
        err = run.err;
        return nlohmann::json::parse(run.out);
    }
    // That one of the rows is of the folder.
    static bool Has(const nlohmann::json& rows, const char* column, const std::string& folder)
    {
        return std::any_of(rows.begin(), rows.end(), [&](const nlohmann::json& row) { return row.at(column) == folder; });
    }
};

}  // namespace

TEST_F(FolderOnTerminal, ARemovalIsAskedFor)
{
    MakeFolders();
    for (const char* answer : {"n\n", "\n", "x\n", "\x04"}) {
        SCOPED_TRACE(answer);
        Terminal terminal;
        terminal.Type(answer);
        Outcome run = Run(terminal, {"folder", "remove", "po/box/Inbox/Projects"});
        EXPECT_EQ(run.exitCode, 64);
        EXPECT_EQ(run.err,
                  "Remove po/box/Inbox/Projects, with 1 folder, 1 item file and 0 shares in it? [y/N] vlstore: nothing was removed\n");
        EXPECT_TRUE(fs::exists(FolderPath("Inbox/Projects/2026")));
    }
    Terminal terminal;
    terminal.Type("y\n");
    EXPECT_EQ(Run(terminal, {"folder", "remove", "po/box/Inbox/Projects"}).exitCode, 0);
    EXPECT_FALSE(fs::exists(FolderPath("Inbox/Projects")));
}

TEST_F(FolderOnTerminal, AMeasurementAndAReindexCountTheirFolders)
{
    MakeFolders();
    for (const char* const verb : {"size", "reindex"}) {
        Terminal terminal;
        EXPECT_EQ(InStoreWith({.stderrPath = terminal.Path()}, {"folder", verb, kInbox, "--recursive"}).exitCode, 0);
        const std::string shown = terminal.Read();
        EXPECT_TRUE(shown.starts_with("\r\x1b[Kfolder 1\r\x1b[K")) << verb << shown;
        EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << verb << shown;
    }
}

TEST_F(FolderLinks, ALinkIsListedAndNotGoneInto)
{
    MakeFolders();
    fs::create_directory_symlink(FolderPath(), FolderPath("Inbox/Letters/Loop"));
    InStore({"folder", "reindex", kInbox, "--recursive"});
    EXPECT_LE(Listed("po/box", true).size(), 14u);
    InStore({"folder", "size", kInbox, "--recursive"});
}

TEST_F(FolderWithOddOnes, TooDeepAListGoesOnWithTheOthers)
{
    MakeDeep();
    std::string err;
    const nlohmann::json rows = Rows({"folder", "list", "po/box", "--recursive"}, err);
    for (const char* folder : {"Inbox/Deep", "Inbox/Projects/2026", "Tasks"}) EXPECT_TRUE(Has(rows, "VL_FOLDER", folder)) << folder;
    EXPECT_TRUE(err.starts_with("vlstore: note: passed over: po/box/Inbox/Deep/dd")) << err;
    EXPECT_TRUE(err.ends_with("d: its path is too long for the store\nvlstore: incomplete: 1 folder passed over\n")) << err;
    EXPECT_EQ(Lines(err).size(), 2u) << err;
}

TEST_F(FolderWithOddOnes, TooDeepASizeGoesOnWithTheOthers)
{
    MakeDeep();
    std::string err;
    const nlohmann::json rows = Rows({"folder", "size", kInbox, "--recursive"}, err);
    for (const char* folder : {"po/box/Inbox/Deep", "po/box/Inbox/Projects", "po/box/Inbox/Projects/2026"})
        EXPECT_TRUE(Has(rows, "folder", folder)) << folder;
    EXPECT_TRUE(err.ends_with("d: its path is too long for the store\nvlstore: incomplete: 1 folder passed over\n")) << err;
}

TEST_F(FolderWithOddOnes, TooDeepAReindexGoesOnWithTheOthers)
{
    MakeDeep();
    std::string err;
    const nlohmann::json rows = Rows({"folder", "reindex", "po/box", "--recursive"}, err);
    for (const char* folder : {"po/box/Inbox/Deep", "po/box/Inbox/Projects/2026", "po/box/Tasks"})
        EXPECT_TRUE(Has(rows, "folder", folder)) << folder;
    EXPECT_TRUE(fs::exists(FolderPath("Inbox/Projects/_folder.xml")));
    EXPECT_EQ(Lines(err).size(), 2u) << err;
    EXPECT_TRUE(err.ends_with("\nvlstore: incomplete: 1 folder passed over\n")) << err;
}

TEST_F(FolderWithOddOnes, WhatIsPassedOverStandsInALineOfItsOwnOnATerminal)
{
    MakeDeep();
    for (const char* verb : {"size", "reindex"}) {
        Terminal terminal;
        EXPECT_EQ(InStoreWith({.stderrPath = terminal.Path()}, {"folder", verb, kInbox, "--recursive"}).exitCode, 74);
        const std::string shown = terminal.Read();
        EXPECT_NE(shown.find("\r\x1b[Kfolder 1\r\x1b[K"), std::string::npos) << shown;
        EXPECT_NE(shown.find("\r\x1b[Kvlstore: note: passed over: "), std::string::npos) << shown;
    }
}

TEST_F(FolderWithOddOnes, NamesThatAreNoneArePassedOver)
{
    // Before all others, by their order.
    for (const char* name : {"  ", "A\nb", "B\\c"}) fs::create_directory(FolderPath() / name);
    const std::string incomplete = "vlstore: incomplete: ";
    std::string err;
    nlohmann::json rows = Rows({"folder", "list", "po/box", "--recursive"}, err);
    for (const char* folder : {"Inbox/A\nb", "Inbox/Letters", "Inbox/Projects/2026", "Tasks"})
        EXPECT_TRUE(Has(rows, "VL_FOLDER", folder)) << folder;
    EXPECT_TRUE(err.starts_with("vlstore: note: passed over: po/box/Inbox/A b: ")) << err;
    EXPECT_TRUE(err.ends_with(incomplete + "1 folder passed over\n")) << err;

    rows = Rows({"folder", "size", kInbox, "--recursive"}, err);
    for (const char* folder : {"po/box/Inbox/Letters", "po/box/Inbox/Projects/2026"}) EXPECT_TRUE(Has(rows, "folder", folder)) << folder;
    EXPECT_TRUE(err.ends_with(incomplete + "1 folder passed over\n")) << err;

    rows = Rows({"folder", "reindex", kInbox, "--recursive"}, err);
    for (const char* folder : {"po/box/Inbox/Letters", "po/box/Inbox/Projects/2026"}) EXPECT_TRUE(Has(rows, "folder", folder)) << folder;
    EXPECT_EQ(rows.size(), 4u) << rows;
    EXPECT_NE(err.find("vlstore: note: passed over: po/box/Inbox/  : "), std::string::npos) << err;
    EXPECT_NE(err.find("vlstore: note: passed over: po/box/Inbox/B\\c: "), std::string::npos) << err;
    EXPECT_TRUE(err.ends_with(incomplete + "3 folders passed over\n")) << err;
}

}  // namespace velmora::test
