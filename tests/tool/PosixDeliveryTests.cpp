// item deliver, flag and remove, on terminals, on full disks, and where the test stops or robs the tool.

#include <sys/mount.h>

#include "tests/tool/DeliveryFixture.h"
#include "tests/tool/PosixTerminal.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

// The tool with a terminal for its input.
class OnTerminal : public Delivery {
protected:
    Outcome Run(Terminal& terminal, const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> words = {"-c", "exec \"$@\" <\"$0\"", terminal.Path(), ToolPath().string(), "--store", Root().string()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return RunProgram("/bin/sh", words, Directory());
    }
};

}  // namespace

TEST_F(OnTerminal, ARemovalIsAskedFor)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    for (const char* answer : {"n\n", "\n", "x\n", "\x04"}) {
        SCOPED_TRACE(answer);
        Terminal terminal;
        terminal.Type(answer);
        Outcome run = Run(terminal, {"item", "remove", kInbox, ids[0], ids[1]});
        EXPECT_EQ(run.exitCode, 64);
        EXPECT_EQ(run.err, "Remove 2 items from po/box/Inbox? [y/N] vlstore: nothing was removed\n");
        EXPECT_EQ(Messages(), ids);
    }
    Terminal terminal;
    terminal.Type("y\n");
    Outcome run = Run(terminal, {"item", "remove", kInbox, ids[0]});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "Remove 1 item from po/box/Inbox? [y/N] ");
    EXPECT_EQ(Messages(), std::vector<std::string>{ids[1]});
}

TEST_F(OnTerminal, ADeliveryCountsItsMessages)
{
    std::vector<std::string> arguments = {"item", "deliver", kInbox};
    for (const char* name : {"a", "b"}) arguments.push_back(MakeFile(std::string(name) + ".eml", MessageOf(name)).string());
    Terminal terminal;
    EXPECT_EQ(InStoreWith({.stderrPath = terminal.Path()}, arguments).exitCode, 0);
    EXPECT_NE(terminal.Read().find("1 of 2"), std::string::npos);
}

TEST_F(OnTerminal, ARemovalCountsItsItems)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    Terminal terminal;
    EXPECT_EQ(InStoreWith({.stderrPath = terminal.Path()}, {"item", "remove", kInbox, ids[0], ids[1], "--yes"}).exitCode, 0);
    const std::string shown = terminal.Read();
    EXPECT_TRUE(shown.starts_with("\r\x1b[K1 of 2\r\x1b[K")) << shown;
    EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << shown;
}

TEST_F(OnTerminal, AFlagCountsTheItemsThatItIsSetOf)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two", "three"});
    InStore({"item", "flag", kInbox, "+SEEN", ids[0]});
    Terminal terminal;
    EXPECT_EQ(InStoreWith({.stderrPath = terminal.Path()}, {"item", "flag", kInbox, "+SEEN", ids[0], ids[1], ids[2]}).exitCode, 0);
    EXPECT_EQ(terminal.Read(), "\r\x1b[K2 of 2\r\x1b[K");
}

TEST_F(Delivery, AFullDiskTakesNoHalfMessage)
{
    fs::path disk = FolderPath();
    if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=256k") != 0) GTEST_SKIP() << "no file system can be mounted here";
    struct Unmount {
        fs::path at;
        ~Unmount() { ::umount2(at.c_str(), MNT_DETACH); }
    } unmount{disk};
    DeliverOne("first");
    fs::path file = MakeFile("large.eml", MessageOf("large") + std::string(512 * 1024, 'x'));
    std::vector<std::string> before = FileNames(disk);
    Outcome run = InStore({"--format", "tab", "item", "deliver", kInbox, file.string()}, 74);
    EXPECT_EQ(run.out, "VL_ITEM_ID\tsource\n");
    EXPECT_TRUE(run.err.starts_with("vlstore: not delivered: cannot write a message into " + disk.string() + ": ")) << run.err;
    EXPECT_EQ(FileNames(disk), before);
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
}

TEST_F(Delivery, AFileThatBreaksOffIsNotDelivered)
{
    // A process's memory is a plain file whose first byte nobody can read, whoever asks.
    fs::path broken = Directory().Path() / "broken.eml";
    fs::create_symlink("/proc/self/mem", broken);
    Outcome run = InStore({"item", "deliver", kInbox, broken.string()}, 66);
    EXPECT_TRUE(run.err.starts_with("vlstore: not delivered: cannot read " + broken.string() + ": ")) << run.err;
    EXPECT_EQ(Messages(), std::vector<std::string>{});
}

}  // namespace velmora::test
