// What a user without rights is told: one line, at once, and what it is that may not be read or written.

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "tests/tool/ToolRun.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

constexpr int kNoPermission = 77;

class Permission : public ToolTest {
protected:
    void SetUp() override
    {
        MakeStore();
        ImportSubjects({"one"});
        fs::permissions(Directory().Path(), fs::perms(0755));
        if (Restricted({"--version"}).exitCode != 0) GTEST_SKIP() << "no other user may run the program where it lies";
    }
    // All of it may be removed again, whoever runs the tests.
    void TearDown() override
    {
        for (const fs::path& path : closed_) fs::permissions(path, fs::perms(0755));
    }

    void SetMode(const fs::path& path, unsigned mode)
    {
        fs::permissions(path, fs::perms(mode));
        closed_.insert(closed_.begin(), path);
    }
    Outcome Restricted(const std::vector<std::string>& arguments) const { return InStoreWith({.asNobody = ::geteuid() == 0}, arguments); }
    void ExpectNoPermission(const std::vector<std::string>& arguments, const std::string& line) const
    {
        auto begin = std::chrono::steady_clock::now();
        Outcome run = Restricted(arguments);
        EXPECT_EQ(run.exitCode, kNoPermission);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "vlstore: " + line + ": Permission denied\n");
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    }

private:
    std::vector<fs::path> closed_;
};

}  // namespace

TEST_F(Permission, AFolderThatMayNotBeWrittenIsSaidAtOnce)
{
    fs::path file = MakeFile("a.eml", "Subject: a\n\n");
    std::string line = "the folder's directory must be open to reading and writing, to lock it: " + FolderPath().string();
    SetMode(FolderPath(), 0555);
    ExpectNoPermission({"item", "list", kInbox}, line);
    ExpectNoPermission({"--wait", "item", "list", kInbox}, line);
    ExpectNoPermission({"import", file.string(), "--to", kInbox}, line);
    EXPECT_FALSE(fs::exists(FolderPath() / "00000002.MAI"));
}

TEST_F(Permission, ADirectoryThatMayNotBeReadIsNotCalledMissing)
{
    fs::path mailbox = FolderPath().parent_path();
    SetMode(mailbox, 0);
    ExpectNoPermission({"item", "list", kInbox}, "cannot read " + (mailbox / "Inbox").string());
    ExpectNoPermission({"folder", "status", kInbox}, "cannot read " + (mailbox / "Inbox").string());
}

TEST_F(Permission, ASettingsFileThatMayNotBeReadIsNotCalledMissing)
{
    SetMode(SettingsPath(), 0);
    for (const char* noun : {"settings", "item"}) {
        std::vector<std::string> arguments = {noun, "list"};
        if (arguments[0] == "item") arguments.emplace_back(kInbox);
        ExpectNoPermission(arguments, "cannot read the settings file " + SettingsPath().string());
    }
    SetMode(Root(), 0);
    ExpectNoPermission({"settings", "list"}, "cannot read " + SettingsPath().string());
}

TEST_F(Permission, ASettingsFileKeepsItsModeWhenItIsSet)
{
    ASSERT_EQ(::chmod(SettingsPath().c_str(), 0600), 0);
    InStore({"settings", "set", "A", "1"});
    struct stat info {};
    ASSERT_EQ(::stat(SettingsPath().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(Permission, SourcesThatMayNotBeReadAreNamed)
{
    SetMode(FolderPath(), 0777);
    MakeFile("in/a.eml", "Subject: a\n\n");
    fs::path in = Directory().Path() / "in", md = Directory().Path() / "md";
    SetMode(MakeFile("in/b", "Subject: b\n\n"), 0);
    Outcome run = Restricted({"import", in.string(), "--to", kInbox, "--dry-run"});
    EXPECT_EQ(run.out, "would import 2 messages into po/box/Inbox\n");
    MakeFile("md/cur/a", "Subject: a\n\n");
    SetMode(md / "cur", 0);
    ExpectNoPermission({"import", md.string(), "--to", kInbox}, "cannot read " + (md / "cur").string());
    SetMode(md, 0);
    ExpectNoPermission({"import", md.string(), "--to", kInbox}, "cannot read " + (md / "cur").string());
    SetMode(in, 0);
    ExpectNoPermission({"import", in.string(), "--to", kInbox}, "cannot read " + (in / "cur").string());
    ExpectNoPermission({"import", (in / "a.eml").string(), "--to", kInbox}, "cannot read " + (in / "a.eml").string());
}

TEST_F(Permission, ABlockFileThatMayNotBeReadIsNotCalledHeld)
{
    fs::path block = FolderPath() / "_index.blk";
    WriteFileBytes(block, "");
    SetMode(block, 0);
    EXPECT_NE(Restricted({"--format", "tab", "folder", "status", kInbox}).out.find("block\tunknown\n"), std::string::npos);
    SetMode(block, 0222);
    EXPECT_NE(Restricted({"--format", "tab", "folder", "status", kInbox}).out.find("block\tleft behind\n"), std::string::npos);
}

}  // namespace velmora::test
