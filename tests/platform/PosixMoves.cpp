// Moves to another device, where a file is copied whole and then deleted, and to names that are too long.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

class PosixMoves : public PlatformTest {
protected:
    void SetUp() override
    {
        struct stat here, there;
        std::string native = Root();
        for (char& c : native) c = c == '\\' ? '/' : c;
        ASSERT_EQ(stat(native.c_str(), &here), 0);
        // One of the two is on memory, the other is not, wherever the temporary directory is.
        for (const char* candidate : {"/dev/shm", "/var/tmp"}) {
            if (stat(candidate, &there) == 0 && there.st_dev != here.st_dev) {
                other_ = std::string(candidate) + "/velmora-moves-" + std::to_string(getpid());
            }
        }
        ASSERT_FALSE(other_.empty()) << "no second file system to move to";
        ASSERT_TRUE(CreateDirectoryA(other_.c_str(), nullptr));
    }
    void TearDown() override
    {
        for (const std::string& name : Search(other_ + "\\*")) DeleteFileA((other_ + "\\" + name).c_str());
        RemoveDirectoryA(other_.c_str());
    }
    std::vector<std::string> Arrived() { return Search(other_ + "\\*"); }

    std::string other_;
};

using Names = std::vector<std::string>;

TEST_F(PosixMoves, AFileMovesToAnotherDeviceWithItsTime)
{
    const std::string from = MakeFile("from", "text");
    const uint64_t written = LastWriteOf(from);
    EXPECT_TRUE(MoveFileA(from.c_str(), (other_ + "\\to").c_str())) << GetLastError();
    EXPECT_FALSE(IsThere(from));
    EXPECT_EQ(Arrived(), (Names{".", "..", "to"}));
    EXPECT_EQ(Contents(other_ + "\\to"), "text");
    EXPECT_EQ(LastWriteOf(other_ + "\\to"), written);
}

TEST_F(PosixMoves, AMoveToANameOf300BytesIs206)
{
    const std::string from = MakeFile("from", "text");
    EXPECT_EQ(ErrorOf(MoveFileA(from.c_str(), At(std::string(300, 'x')).c_str())), ERROR_FILENAME_EXCED_RANGE);
    EXPECT_EQ(Contents(from), "text");
}

TEST_F(PosixMoves, WhatMayNotBeReplacedOrCopiedStays)
{
    const std::string to = other_ + "\\to";
    const std::string from = MakeFile("from", "new");
    const std::string directory = MakeDirectory("d");
    EXPECT_TRUE(CopyFileA(MakeFile("old", "old").c_str(), to.c_str(), TRUE));
    EXPECT_EQ(ErrorOf(MoveFileA(from.c_str(), to.c_str())), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ErrorOf(MoveFileExA(from.c_str(), (other_ + "\\new").c_str(), 0)), ERROR_NOT_SAME_DEVICE);
    EXPECT_EQ(ErrorOf(MoveFileA(directory.c_str(), (other_ + "\\new").c_str())), ERROR_NOT_SAME_DEVICE);
    EXPECT_EQ(Contents(to), "old");
    EXPECT_TRUE(MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)) << GetLastError();
    EXPECT_EQ(Contents(to), "new");
    EXPECT_EQ(Arrived(), (Names{".", "..", "to"})) << "nothing else is left";
    EXPECT_FALSE(IsThere(from));
}

}  // namespace

}  // namespace velmora::test
