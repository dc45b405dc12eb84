// Blocks that many processes fight for, and the ways in which they are made.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "platform/posix/OpenFiles.h"
#include "tests/platform/PlatformTest.h"
#include "tests/platform/PosixProcess.h"
#include "tests/platform/PosixSystemCalls.h"

namespace velmora::test {

namespace {

using platform::Birth;
using platform::Descriptor;
using platform::PathText;

class PosixBlockFiles : public PlatformTest {};

struct SharedCounts {
    std::atomic<int> holders;
    std::atomic<int> taken;
    std::atomic<int> twoAtOnce;
    std::atomic<int> lostWhileHeld;
};

// Every process takes the block over and over, and in between tries to delete it while others hold it.
int Contend(const std::string& path, SharedCounts& counts, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        const HANDLE block = CreateBlock(path);
        if (block == INVALID_HANDLE_VALUE) {
            DeleteFileA(path.c_str());  // takes only what nobody holds
            continue;
        }
        if (counts.holders.fetch_add(1) != 0) counts.twoAtOnce.fetch_add(1);
        struct stat info;
        std::string native = path;
        for (char& c : native) c = c == '\\' ? '/' : c;
        if (stat(native.c_str(), &info) != 0) counts.lostWhileHeld.fetch_add(1);
        counts.taken.fetch_add(1);
        counts.holders.fetch_sub(1);
        CloseHandle(block);
        DeleteFileA(path.c_str());
    }
    return 0;
}

// Several processes contend for the block at `path`.
void ExpectOneHolderAtATime(const std::string& path)
{
    void* memory = mmap(nullptr, sizeof(SharedCounts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    auto& counts = *new (memory) SharedCounts{};
    constexpr int kProcesses = 4;
    constexpr int kRounds = 3000;
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i) children.push_back(StartProcess([&] { return Contend(path, counts, kRounds); }));
    for (pid_t child : children) EXPECT_EQ(ExitStatus(child), 0);
    EXPECT_EQ(counts.twoAtOnce, 0);
    EXPECT_EQ(counts.lostWhileHeld, 0);
    EXPECT_GT(counts.taken, kRounds / 10);
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), kDidNotFail) << "none is left behind";
    munmap(memory, sizeof(SharedCounts));
}

TEST_F(PosixBlockFiles, ManyProcessesNeverHoldOneBlockAtOnceNorLoseIt) { ExpectOneHolderAtATime(At("_index.blk")); }

TEST_F(PosixBlockFiles, ManyProcessesNeverHoldOneBlockAtOnceWhereItIsLinkedFromANeighbour)
{
    SystemCalls calls;
    calls.refuseUnnamedFiles = EOPNOTSUPP;
    ExpectOneHolderAtATime(At("_index.blk"));
    EXPECT_EQ(calls.Count("linkat"), 0u);
    EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", "..", "_index.blk"})) << "no neighbour is left behind";
}

class PosixBirths : public PlatformTest, public testing::WithParamInterface<Birth> {
protected:
    PathText Native(const std::string& path)
    {
        PathText native;
        EXPECT_EQ(platform::ToSystemPath(path.c_str(), native), 0u);
        return native;
    }
};

TEST_P(PosixBirths, AFileIsBornLockedOnceAndLeavesNothingElse)
{
    const PathText path = Native(At("_block"));
    Descriptor first, second;
    EXPECT_EQ(platform::CreateLocked(path, GetParam(), first), 0u);
    EXPECT_EQ(platform::CreateLocked(path, GetParam(), second), ERROR_FILE_EXISTS);
    EXPECT_FALSE(second.IsOpen());
    EXPECT_EQ(ErrorOf(DeleteFileA(At("_block").c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", "..", "_block"}));
    first.Close();
    EXPECT_TRUE(DeleteFileA(At("_block").c_str()));
}

TEST_P(PosixBirths, AMissingDirectoryIsMissing)
{
    Descriptor made;
    EXPECT_EQ(platform::CreateLocked(Native(At("no\\_block")), GetParam(), made), ERROR_FILE_NOT_FOUND);
}

TEST_F(PosixBlockFiles, WhereUnnamedFilesAreRefusedABlockIsLinkedFromANeighbour)
{
    // What file systems without them answer, and an old kernel.
    for (const int refusal : {EOPNOTSUPP, EISDIR, EINVAL}) {
        const std::string path = At("_index.blk");
        SystemCalls calls;
        calls.refuseUnnamedFiles = refusal;
        Opened block(CreateBlock(path));
        ASSERT_TRUE(block.IsOpen()) << refusal << " " << GetLastError();
        EXPECT_EQ(calls.Count("link"), 1u);
        EXPECT_EQ(calls.Count("linkat"), 0u);
        EXPECT_TRUE(WriteText(block.Get(), "text"));
        EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), ERROR_FILE_EXISTS);
        EXPECT_EQ(ErrorOf(DeleteFileA(path.c_str())), ERROR_SHARING_VIOLATION);
        EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", "..", "_index.blk"})) << "the neighbour is gone";
        block.Close();
        EXPECT_EQ(Contents(path), "text");
        EXPECT_TRUE(DeleteFileA(path.c_str()));
    }
    SystemCalls calls;
    Opened block(CreateBlock(At("_index.blk")));
    EXPECT_EQ(calls.Count("link"), 0u) << "where they are had, nothing is linked from a neighbour";
    EXPECT_EQ(calls.Count("linkat"), 1u);
}

INSTANTIATE_TEST_SUITE_P(Ways, PosixBirths, testing::Values(Birth::Unnamed, Birth::NamedThenLinked),
                         [](const auto& way) { return std::string(way.param == Birth::Unnamed ? "Unnamed" : "NamedThenLinked"); });

TEST_F(PosixBlockFiles, DescriptorsDoNotReachAProgramThatIsStarted)
{
    Opened block(CreateBlock(At("_block")));
    Opened file(OpenToRead(MakeFile("f")));
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("*").c_str(), &found);
    int inheriting = 0;
    for (int fd = 3; fd < 64; ++fd) {
        char link[64], target[4096];
        std::snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
        const ssize_t length = readlink(link, target, sizeof(target));
        if (length <= 0) continue;
        const std::string path(target, static_cast<size_t>(length));
        if (path.find("velmora-platform-") == std::string::npos) continue;
        if ((fcntl(fd, F_GETFD) & FD_CLOEXEC) == 0) ++inheriting;
    }
    FindClose(search);
    EXPECT_EQ(inheriting, 0);
}

TEST_F(PosixBlockFiles, APipeIsNeitherWaitedForNorOpened)
{
    std::string path = At("pipe");
    for (char& c : path) c = c == '\\' ? '/' : c;
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(ErrorOfHandle(OpenToRead(path)), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOfHandle(OpenToUpdate(path)), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(DeleteFileA(path.c_str()));
}

TEST_F(PosixBlockFiles, ALinkThatLeadsNowhereIsMissingAndCanBeDeleted)
{
    std::string path = At("Link");
    for (char& c : path) c = c == '\\' ? '/' : c;
    ASSERT_EQ(symlink("nowhere", path.c_str()), 0);
    EXPECT_EQ(ErrorOfHandle(OpenToRead(path)), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", "..", "Link"}));
    EXPECT_TRUE(DeleteFileA(path.c_str()));
    EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", ".."}));
}

TEST_F(PosixBlockFiles, ALinkToADirectoryIsMarkedAndRemovedItself)
{
    MakeDirectory("target");
    MakeFile("target\\kept", "text");
    MakeFile("file");
    std::string link = At("Link");
    std::string linkToFile = At("file-link");
    for (std::string* path : {&link, &linkToFile})
        for (char& c : *path) c = c == '\\' ? '/' : c;
    ASSERT_EQ(symlink("target", link.c_str()), 0);
    ASSERT_EQ(symlink("file", linkToFile.c_str()), 0);

    constexpr DWORD kBoth = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const auto attributesFound = [](const std::string& pattern) {
        WIN32_FIND_DATAA found{};
        const HANDLE search = FindFirstFileA(pattern.c_str(), &found);
        EXPECT_NE(search, INVALID_HANDLE_VALUE) << pattern;
        FindClose(search);
        return found.dwFileAttributes;
    };
    EXPECT_EQ(attributesFound(At("link")) & kBoth, kBoth) << "by its name, in any case";
    EXPECT_EQ(attributesFound(At("lin*")) & kBoth, kBoth) << "in a listing";
    EXPECT_EQ(GetFileAttributesA(At("LINK").c_str()) & kBoth, kBoth);
    EXPECT_EQ(attributesFound(At("target")) & kBoth, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(attributesFound(At("tar*")) & kBoth, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(GetFileAttributesA(At("target").c_str()) & kBoth, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(attributesFound(At("link\\kept")) & kBoth, 0u) << "what is reached through it bears no mark";
    EXPECT_EQ(attributesFound(At("file-link")) & kBoth, 0u) << "a link to a file is a file";

    EXPECT_EQ(ErrorOf(RemoveDirectoryA(At("file-link").c_str())), ERROR_DIRECTORY);
    EXPECT_TRUE(RemoveDirectoryA(At("LINK").c_str())) << GetLastError();
    EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", "..", "file", "file-link", "target"}));
    EXPECT_EQ(Contents(At("target\\kept")), "text");
    EXPECT_EQ(ErrorOf(RemoveDirectoryA(At("target").c_str())), ERROR_DIR_NOT_EMPTY);
}

TEST_F(PosixBlockFiles, AFullDiskIs112)
{
    Opened full(CreateFileA("/dev/full", GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(full.IsOpen()) << GetLastError();
    DWORD done = 7;
    EXPECT_EQ(ErrorOf(WriteFile(full.Get(), "text", 4, &done, nullptr)), ERROR_DISK_FULL);
    EXPECT_EQ(done, 0u);
}

}  // namespace

}  // namespace velmora::test
