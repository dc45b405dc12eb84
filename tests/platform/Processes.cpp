// Files between processes: a block has one holder, is not deleted while it is held, and is free when its holder is dead.
#include "tests/platform/SecondProcess.h"

namespace velmora::test {

namespace {

class Processes : public PlatformTest {};

TEST_F(Processes, ALiveHoldersBlockCannotBeDeletedAndAKilledOnesCan)
{
    const std::string path = At("_index.blk");
    SecondProcess holder;
    EXPECT_EQ(holder.HoldBlock(path), kDidNotFail);
    EXPECT_EQ(ErrorOf(DeleteFileA(path.c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOf(MoveFileA(path.c_str(), At("away").c_str())), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOfHandle(OpenToRead(path)), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), ERROR_FILE_EXISTS);
    holder.KillNow();
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), ERROR_FILE_EXISTS) << "the name stays until somebody deletes it";
    EXPECT_TRUE(DeleteFileA(path.c_str())) << GetLastError();
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), kDidNotFail);
}

TEST_F(Processes, ABlockIsTakenByOneOfTwo)
{
    const std::string path = At("_index.blk");
    SecondProcess other;
    Opened mine(CreateBlock(path));
    EXPECT_EQ(other.HoldBlock(path), ERROR_FILE_EXISTS);
    EXPECT_EQ(other.Delete(path), ERROR_SHARING_VIOLATION);
    mine.Close();
    EXPECT_EQ(other.Delete(path), kDidNotFail);
    EXPECT_EQ(other.HoldBlock(path), kDidNotFail);
    EXPECT_EQ(ErrorOfHandle(CreateBlock(path)), ERROR_FILE_EXISTS);
}

TEST_F(Processes, AnOpenFileOfAnotherProcessConflicts)
{
    const std::string path = MakeFile("f", "text");
    SecondProcess other;
    Opened mine(OpenToRead(path));
    EXPECT_EQ(other.Delete(path), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(other.OpenAlone(path), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(other.OpenToUpdate(path), kDidNotFail);
    mine.Close();
    EXPECT_EQ(other.OpenAlone(path), kDidNotFail);
    EXPECT_EQ(other.Delete(path), kDidNotFail);
}

}  // namespace

}  // namespace velmora::test
