// The seam under file operations: it sees each, and can make it fail.
#include "platform/FileSeam.h"

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

using platform::FileOperation;
using platform::FileVerdict;

struct Seen {
    FileOperation operation;
    std::string path;
    uint64_t bytes;
};

class Observer : public platform::FileSeam {
public:
    Observer() : before_(platform::ReplaceFileSeam(this)) {}
    ~Observer() override { platform::ReplaceFileSeam(before_); }
    FileVerdict Before(FileOperation operation, const char* path, uint64_t bytes) override
    {
        seen.push_back({operation, path, bytes});
        return verdict;
    }
    bool Saw(FileOperation operation, const std::string& path, uint64_t bytes = 0) const
    {
        for (const Seen& one : seen) {
            if (one.operation == operation && one.path == path && one.bytes == bytes) return true;
        }
        return false;
    }
    std::vector<Seen> seen;
    FileVerdict verdict;

private:
    platform::FileSeam* before_;
};

class FileSeam : public PlatformTest {};

TEST_F(FileSeam, EachOperationIsSeenWithItsPathAsSpelled)
{
    MakeFile("f", "0123456789");
    Observer observer;
    const std::string path = At("F");
    {
        Opened file(OpenToUpdate(path));
        char buffer[4];
        DWORD done = 0;
        EXPECT_TRUE(ReadFile(file.Get(), buffer, 4, &done, nullptr));
        EXPECT_TRUE(WriteText(file.Get(), "abc"));
        EXPECT_TRUE(SetEndOfFile(file.Get()));
        EXPECT_TRUE(SetFilePointerEx(file.Get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN));
    }
    EXPECT_TRUE(IsThere(path));
    EXPECT_TRUE(CopyFileA(path.c_str(), At("g").c_str(), TRUE));
    EXPECT_TRUE(MoveFileA(At("g").c_str(), At("h").c_str()));
    EXPECT_TRUE(DeleteFileA(At("h").c_str()));
    EXPECT_TRUE(CreateDirectoryA(At("d").c_str(), nullptr));
    EXPECT_TRUE(RemoveDirectoryA(At("d").c_str()));
    EXPECT_EQ(_mkdir(At("m").c_str()), 0);
    EXPECT_TRUE(MoveFileExA(At("m").c_str(), At("n").c_str(), MOVEFILE_REPLACE_EXISTING));
    EXPECT_EQ(Search(At("*")).size(), 4u);
    EXPECT_EQ(observer.seen.size(), 14u);
    EXPECT_TRUE(observer.Saw(FileOperation::Open, path));
    EXPECT_TRUE(observer.Saw(FileOperation::Read, "", 4));
    EXPECT_TRUE(observer.Saw(FileOperation::Write, "", 3));
    EXPECT_TRUE(observer.Saw(FileOperation::Resize, ""));
    EXPECT_TRUE(observer.Saw(FileOperation::Seek, ""));
    EXPECT_TRUE(observer.Saw(FileOperation::Search, path));
    EXPECT_TRUE(observer.Saw(FileOperation::Copy, path));
    EXPECT_TRUE(observer.Saw(FileOperation::Move, At("g")));
    EXPECT_TRUE(observer.Saw(FileOperation::Delete, At("h")));
    EXPECT_TRUE(observer.Saw(FileOperation::MakeDirectory, At("d")));
    EXPECT_TRUE(observer.Saw(FileOperation::Delete, At("d")));
    EXPECT_TRUE(observer.Saw(FileOperation::MakeDirectory, At("m")));
    EXPECT_TRUE(observer.Saw(FileOperation::Move, At("m")));
    EXPECT_TRUE(observer.Saw(FileOperation::Search, At("*")));
}

TEST_F(FileSeam, AFailedOperationDoesNothing)
{
    const std::string path = MakeFile("f", "text");
    MakeDirectory("d");
    Opened file(OpenToUpdate(path));
    {
        Observer observer;
        observer.verdict.fail = ERROR_ACCESS_DENIED;
        char byte = 0;
        DWORD done = 7;
        EXPECT_EQ(ErrorOfHandle(CreateBlock(At("new"))), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(ReadFile(file.Get(), &byte, 1, &done, nullptr)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(done, 0u);
        EXPECT_EQ(ErrorOf(WriteFile(file.Get(), "x", 1, &done, nullptr)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(SetEndOfFile(file.Get())), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(SetFilePointerEx(file.Get(), LARGE_INTEGER{}, nullptr, FILE_BEGIN)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(DeleteFileA(path.c_str())), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(MoveFileA(path.c_str(), At("g").c_str())), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(MoveFileExA(path.c_str(), At("g").c_str(), MOVEFILE_REPLACE_EXISTING)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(CopyFileA(path.c_str(), At("g").c_str(), TRUE)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(CreateDirectoryA(At("e").c_str(), nullptr)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_mkdir(At("e").c_str()), -1);
        DWORD searchError = 0;
        EXPECT_TRUE(Search(At("*"), &searchError).empty());
        EXPECT_EQ(searchError, ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOf(RemoveDirectoryA(At("d").c_str())), ERROR_ACCESS_DENIED);
        EXPECT_EQ(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES);
        EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    }
    file.Close();
    EXPECT_EQ(Search(At("*")), (std::vector<std::string>{".", "..", "d", "f"}));
    EXPECT_EQ(Contents(path), "text");
}

TEST_F(FileSeam, AWriteLimitGivesAShortWriteAndAFullDisk)
{
    const std::string path = At("f");
    {
        Opened file(CreateBlock(path));
        Observer observer;
        observer.verdict.writeLimit = 3;
        DWORD done = 0;
        EXPECT_EQ(ErrorOf(WriteFile(file.Get(), "012345", 6, &done, nullptr)), ERROR_DISK_FULL);
        EXPECT_EQ(done, 3u);
        EXPECT_TRUE(WriteFile(file.Get(), "abc", 3, &done, nullptr));
        observer.verdict.writeLimit = 0;
        EXPECT_EQ(ErrorOf(WriteFile(file.Get(), "x", 1, &done, nullptr)), ERROR_DISK_FULL);
        EXPECT_EQ(done, 0u);
    }
    EXPECT_EQ(Contents(path), "012abc");
}

}  // namespace

}  // namespace velmora::test
