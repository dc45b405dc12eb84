// Moves, copies, and making and removing directories.
#include "tests/platform/PlatformTest.h"
#include "tests/support/Wine.h"

namespace velmora::test {

namespace {

class Moves : public PlatformTest {};
class Copies : public PlatformTest {};
class Directories : public PlatformTest {};

BOOL Move(const std::string& from, const std::string& to) { return MoveFileA(from.c_str(), to.c_str()); }

BOOL Replace(const std::string& from, const std::string& to) { return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING); }

BOOL Copy(const std::string& from, const std::string& to, bool failIfExists) { return CopyFileA(from.c_str(), to.c_str(), failIfExists); }

TEST_F(Moves, AMoveNeverReplaces)
{
    const std::string from = MakeFile("from", "new");
    const std::string to = MakeFile("to", "old");
    EXPECT_EQ(ErrorOf(Move(from, to)), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(Contents(to), "old");
    EXPECT_EQ(Contents(from), "new");
    const std::string directory = MakeDirectory("d");
    EXPECT_EQ(ErrorOf(Move(from, directory)), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ErrorOf(Move(directory, to)), ERROR_ALREADY_EXISTS);
}

TEST_F(Moves, AMoveOfAMissingFileIs2AndIntoAMissingDirectory3)
{
    EXPECT_EQ(ErrorOf(Move(At("missing"), At("to"))), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(Move(At("no\\missing"), At("to"))), ERROR_PATH_NOT_FOUND);
    const std::string from = MakeFile("from", "text");
    EXPECT_EQ(ErrorOf(Move(from, At("no\\to"))), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOf(Replace(from, At("no\\_to"))), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Contents(from), "text");
}

TEST_F(Moves, AMoveToAForbiddenNameLeavesTheFile)
{
    const std::string from = MakeFile("from", "text");
    EXPECT_EQ(ErrorOf(Move(from, At("a?b"))), ERROR_INVALID_NAME);
    EXPECT_FALSE(Move(from, At(std::string(300, 'x'))));
    EXPECT_EQ(Contents(from), "text");
}

TEST_F(Moves, AMoveKeepsContentsAndTimes)
{
    const std::string from = MakeFile("from", "text");
    const uint64_t written = LastWriteOf(from);
    MakeDirectory("d");
    EXPECT_TRUE(Move(from, At("d\\to")));
    EXPECT_FALSE(IsThere(from));
    EXPECT_EQ(Contents(At("d\\to")), "text");
    EXPECT_EQ(LastWriteOf(At("d\\to")), written);
}

TEST_F(Moves, ADirectoryMovesWithWhatIsInIt)
{
    MakeDirectory("d");
    MakeFile("d\\f", "text");
    EXPECT_TRUE(Move(At("D"), At("e")));
    EXPECT_FALSE(IsThere(At("d")));
    EXPECT_EQ(Contents(At("e\\f")), "text");
}

TEST_F(Moves, AMoveOntoItselfInOtherLettersRespellsIt)
{
    // Wine sees that both names are one file and leaves it as it is.
    if (RunsUnderWine()) GTEST_SKIP() << "Wine keeps the old spelling";
    MakeFile("name.txt", "text");
    EXPECT_TRUE(Move(At("name.txt"), At("NAME.Txt")));
    EXPECT_EQ(Search(At("*.txt")), std::vector<std::string>{"NAME.Txt"});
    EXPECT_TRUE(Move(At("name.txt"), At("NAME.Txt")));
    EXPECT_EQ(Contents(At("name.txt")), "text");
}

TEST_F(Moves, AMoveOntoItselfLeavesIt)
{
    const std::string path = MakeFile("name.txt", "text");
    EXPECT_TRUE(Move(path, path));
    EXPECT_TRUE(Move(path, At("NAME.TXT")));
    EXPECT_EQ(Contents(path), "text");
    EXPECT_EQ(Search(At("*.txt")).size(), 1u);
}

TEST_F(Moves, AReplacingMoveReplaces)
{
    const std::string from = MakeFile("from", "new");
    MakeFile("to", "old");
    EXPECT_TRUE(Replace(from, At("TO")));
    EXPECT_FALSE(IsThere(from));
    EXPECT_EQ(Contents(At("to")), "new");
    EXPECT_TRUE(Replace(At("to"), At("fresh")));
    EXPECT_EQ(Contents(At("fresh")), "new");
}

TEST_F(Moves, AReplacingMoveDoesNotReplaceADirectory)
{
    const std::string from = MakeFile("from", "new");
    const std::string to = MakeDirectory("to");
    EXPECT_EQ(ErrorOf(Replace(from, to)), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(IsThere(from));
}

TEST_F(Moves, AReplacingMoveDoesNotReplaceAFileThatIsHeld)
{
    const std::string from = MakeFile("from", "new");
    const std::string to = MakeFile("to", "old");
    Opened holder(OpenToRead(to));
    EXPECT_FALSE(Replace(from, to));
    holder.Close();
    EXPECT_EQ(Contents(to), "old");
    EXPECT_EQ(Contents(from), "new");
}

TEST_F(Copies, ACopyCarriesTheLastWriteTimeOver)
{
    const std::string from = MakeFile("from", "text");
    {
        Opened file(OpenToUpdate(from));
        const FILETIME old = FileTime(132223104001234500);
        ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &old));
    }
    EXPECT_TRUE(Copy(from, At("to"), true));
    EXPECT_EQ(Contents(At("to")), "text");
    EXPECT_EQ(LastWriteOf(At("to")), 132223104001234500u);
    EXPECT_TRUE(IsThere(from));
}

TEST_F(Copies, ACopyReplacesOnlyWhenItMay)
{
    const std::string from = MakeFile("from", "new");
    const std::string to = MakeFile("to", "old and longer");
    EXPECT_EQ(ErrorOf(Copy(from, to, true)), ERROR_FILE_EXISTS);
    EXPECT_EQ(Contents(to), "old and longer");
    EXPECT_TRUE(Copy(from, to, false));
    EXPECT_EQ(Contents(to), "new");
}

TEST_F(Copies, ACopyOfAMissingFileOrIntoAMissingDirectoryFails)
{
    EXPECT_EQ(ErrorOf(Copy(At("missing"), At("to"), true)), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(Copy(At("no\\missing"), At("to"), true)), ERROR_PATH_NOT_FOUND);
    EXPECT_FALSE(IsThere(At("to")));
    const std::string from = MakeFile("from");
    EXPECT_EQ(ErrorOf(Copy(from, At("no\\to"), true)), ERROR_PATH_NOT_FOUND);
}

TEST_F(Copies, ACopyOntoAFileThatIsHeldLeavesIt)
{
    const std::string from = MakeFile("from", "new");
    const std::string to = MakeFile("to", "old");
    Opened holder(OpenToRead(to, FILE_SHARE_READ));
    EXPECT_EQ(ErrorOf(Copy(from, to, false)), ERROR_SHARING_VIOLATION);
    holder.Close();
    EXPECT_EQ(Contents(to), "old");
}

TEST_F(Copies, ACopyOntoItselfLeavesIt)
{
    const std::string from = MakeFile("from", "text");
    EXPECT_EQ(ErrorOf(Copy(from, from, false)), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(Contents(from), "text");
}

TEST_F(Copies, ALargeFileIsCopiedWhole)
{
    std::string bytes(3'000'001, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(static_cast<unsigned char>(i * 2654435761u >> 24));
    const std::string from = MakeFile("from", bytes);
    EXPECT_TRUE(Copy(from, At("to"), true));
    Opened copy(OpenToRead(At("to")));
    std::string read(bytes.size() + 1, '\0');
    DWORD done = 0;
    ASSERT_TRUE(ReadFile(copy.Get(), read.data(), static_cast<DWORD>(read.size()), &done, nullptr));
    read.resize(done);
    EXPECT_TRUE(read == bytes);
}

TEST_F(Directories, OneThatIsThereIs183AndOneWithoutParent3)
{
    MakeDirectory("d");
    MakeFile("f");
    EXPECT_EQ(ErrorOf(CreateDirectoryA(At("d").c_str(), nullptr)), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ErrorOf(CreateDirectoryA(At("f").c_str(), nullptr)), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ErrorOf(CreateDirectoryA(At("no\\d").c_str(), nullptr)), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOf(CreateDirectoryA(At("a?").c_str(), nullptr)), ERROR_INVALID_NAME);
    EXPECT_EQ(ErrorOf(CreateDirectoryA(At(std::string(300, 'd')).c_str(), nullptr)), ERROR_FILENAME_EXCED_RANGE);
}

TEST_F(Directories, ATrailingSeparatorIsPassedOver)
{
    EXPECT_TRUE(CreateDirectoryA(At("d\\").c_str(), nullptr));
    EXPECT_TRUE(IsThere(At("d")));
    EXPECT_TRUE(RemoveDirectoryA(At("d\\").c_str()));
    EXPECT_FALSE(IsThere(At("d")));
}

TEST_F(Directories, AFullOneIs145AndAMissingOne2)
{
    MakeDirectory("d");
    MakeFile("d\\f");
    EXPECT_EQ(ErrorOf(RemoveDirectoryA(At("d").c_str())), ERROR_DIR_NOT_EMPTY);
    EXPECT_TRUE(DeleteFileA(At("d\\f").c_str()));
    EXPECT_TRUE(RemoveDirectoryA(At("D").c_str()));
    EXPECT_EQ(ErrorOf(RemoveDirectoryA(At("d").c_str())), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOf(RemoveDirectoryA(At("no\\d").c_str())), ERROR_PATH_NOT_FOUND);
}

TEST_F(Directories, AFileIsNotRemovedAsADirectory)
{
    const std::string path = MakeFile("f");
    EXPECT_EQ(ErrorOf(RemoveDirectoryA(path.c_str())), ERROR_DIRECTORY);
    EXPECT_TRUE(IsThere(path));
}

TEST_F(Directories, MkdirAnswersAsTheCLibraryDoes)
{
    EXPECT_EQ(_mkdir(At("d").c_str()), 0);
    EXPECT_EQ(_mkdir(At("d").c_str()), -1);
}

}  // namespace

}  // namespace velmora::test
