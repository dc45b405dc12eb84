// The verbs of folders on a terminal, and where links lead around.

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

TEST_F(FolderLinks, ALinkIsListedAndNotGoneInto)
{
    MakeFolders();
    fs::create_directory_symlink(FolderPath(), FolderPath("Inbox/Letters/Loop"));
    InStore({"folder", "reindex", kInbox, "--recursive"});
    EXPECT_LE(Listed("po/box", true).size(), 14u);
    InStore({"folder", "size", kInbox, "--recursive"});
}

}  // namespace velmora::test
