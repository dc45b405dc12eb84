// import, where the sources are called or made as only POSIX has it, and where the test stops, starves or watches the tool.

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>

#include "tests/tool/ImportFixture.h"
#include "tests/tool/PosixTerminal.h"

namespace velmora::test {

namespace fs = std::filesystem;

TEST_F(Import, EverythingThatIsLeftOutOfADirectoryIsNamed)
{
    fs::path in = Directory().Path() / "in";
    MakeFile("in/a.eml", Mail("a"));
    MakeFile("in/nothing", "");
    MakeFile("in/picture.gif", "GIF89a");
    fs::create_directory(in / ".hidden directory");
    fs::create_symlink("/nowhere/at/all", in / "broken");
    ASSERT_EQ(::mkfifo((in / "fifo").c_str(), 0600), 0);
    Outcome run = InStore({"import", in.string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 1 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(SortedLines(run.err), (std::set<std::string>{
                                        "vlstore: skipped, a directory: " + (in / ".hidden directory").string(),
                                        "vlstore: skipped, a link to nothing: " + (in / "broken").string(),
                                        "vlstore: skipped, empty: " + (in / "nothing").string(),
                                        "vlstore: skipped, not a file: " + (in / "fifo").string(),
                                        "vlstore: skipped, not a message: " + (in / "picture.gif").string(),
                                    }));
}

TEST_F(Import, AMessageThatCannotBeReadIsNamedAndTheOthersCome)
{
    MakeFile("md/cur/a", Mail("a"));
    MakeFile("md/cur/c", Mail("c"));
    // A process's memory is a plain file whose first byte nobody can read, whoever asks.
    fs::path broken = Directory().Path() / "md/cur/b";
    fs::create_symlink("/proc/self/mem", broken);
    Outcome run = InStore({"import", (Directory().Path() / "md").string(), "--to", kInbox}, 66);
    EXPECT_EQ(run.out, "imported 2 of 3 messages into po/box/Inbox\n");
    EXPECT_TRUE(run.err.starts_with("vlstore: not imported: " + broken.string() + ": ")) << run.err;
    EXPECT_TRUE(run.err.ends_with("vlstore: imported only 2 of 3 messages into po/box/Inbox\n")) << run.err;
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"a", "c"}));
}

TEST_F(Import, WhatASourceIsCalledNeverReachesTheStore)
{
    MakeFile("in/a \"quoted\".eml", Mail("quoted"));
    MakeFile("in/less < more > &.eml", Mail("brackets"));
    MakeFile("in/" + std::string(150, 'x') + ".eml", Mail("long"));
    EXPECT_EQ(ImportJson(Directory().Path() / "in").size(), 3u);
    EXPECT_EQ(ItemFiles(), (std::vector<std::string>{"00000001.MAI", "00000002.MAI", "00000003.MAI"}));
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"quoted", "brackets", "long"}));
}

TEST_F(Import, ALockThatIsTakenMeanwhileIsNoReasonToTryAgain)
{
    std::unique_ptr<HeldBlock> block;
    Outcome run = InStoreWith({.meanwhile =
                                   [&](ChildProcess& process) {
                                       pid_t child = static_cast<pid_t>(process.Id());
                                       AwaitTrue([this] { return fs::exists(FolderPath() / "00000001.MAI"); });
                                       ::kill(child, SIGSTOP);
                                       int status = 0;
                                       ASSERT_EQ(::waitpid(child, &status, WUNTRACED), child);
                                       ASSERT_TRUE(WIFSTOPPED(status)) << "it came to its end before it could be stopped";
                                       block = std::make_unique<HeldBlock>(FolderPath());
                                       ::kill(child, SIGCONT);
                                   }},
                              {"--format", "tab", "import", ManyMessages().string(), "--to", kInbox});
    EXPECT_EQ(run.exitCode, 74);
    std::string count = std::to_string(kManyMessages);
    EXPECT_TRUE(run.err.ends_with("\nvlstore: " + count + " written, not checked: folder is busy (lock held): po/box/Inbox\n"));
    EXPECT_TRUE(run.err.starts_with("vlstore: written, not checked: 00000001.MAI from ")) << run.err.substr(0, 200);
    EXPECT_NE(run.out.find("00000001.MAI\t"), std::string::npos);
    block.reset();
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), static_cast<size_t>(kManyMessages));
}

TEST_F(Import, AnIndexThatAFullDiskDoesNotTakeIsAnError)
{
    fs::path disk = FolderPath();
    if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=256k") != 0) GTEST_SKIP() << "no file system can be mounted here";
    struct Unmount {
        fs::path at;
        ~Unmount() { ::umount2(at.c_str(), MNT_DETACH); }
    } unmount{disk};

    // The directory entries of a tmpfs take no room: what a message, the flag file and the new index take is cut short.
    fs::path file = MakeFile("a.eml", Mail("a"));
    std::error_code error;
    uintmax_t page = static_cast<uintmax_t>(::sysconf(_SC_PAGESIZE));
    fs::path filler = disk / "filler";
    WriteFileBytes(filler, std::string(fs::space(disk, error).available - 2 * page, 'x'));
    Outcome run = InStore({"import", file.string(), "--to", kInbox}, 74);
    EXPECT_NE(run.err.find("vlstore: the index could not be saved: po/box/Inbox\n"), std::string::npos) << run.err;
    EXPECT_EQ(ItemFiles(), std::vector<std::string>{"00000001.MAI"});

    fs::remove(filler);
    EXPECT_EQ(Subjects(), std::vector<std::string>{"a"});
    EXPECT_FALSE(fs::exists(disk / "_CHANGE.DTY"));
}

TEST_F(Import, AFaultStandsInALineOfItsOwnOnATerminal)
{
    MakeFile("md/cur/a", Mail("a"));
    fs::path broken = Directory().Path() / "md/cur/b";
    fs::create_symlink("/proc/self/mem", broken);
    Terminal terminal;
    InStoreWith({.stderrPath = terminal.Path()}, {"import", (Directory().Path() / "md").string(), "--to", kInbox});
    std::string shown = terminal.Read();
    EXPECT_NE(shown.find("1 of 2\r\x1b[Kvlstore: not imported: " + broken.string()), std::string::npos) << shown;
}

// In a test of its own for the colon, which not every file system takes.
TEST_F(Import, TheFlagsOfAMaildirStandBehindAColon)
{
    MakeFile("md/cur/1.host:2,S", Mail("seen"));
    ImportJson(Directory().Path() / "md");
    EXPECT_EQ(JsonInStore({"item", "list", kInbox})[0].at("PR_VL_FLAGSTATUS"), "\\SEEN");
}

}  // namespace velmora::test
