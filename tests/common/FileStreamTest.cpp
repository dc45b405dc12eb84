#include "common/FileStream.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "platform/FileSeam.h"
#include "platform/win32.h"
#include "tests/support/TestStore.h"

namespace velmora {
namespace {

using test::ReadFileBytes;
using test::WriteFileBytes;

// Counts operations and lets writes fail behind a number of bytes.
class WriteSeam : public platform::FileSeam {
public:
    WriteSeam() : before_(platform::ReplaceFileSeam(this)) {}
    ~WriteSeam() override { platform::ReplaceFileSeam(before_); }
    platform::FileVerdict Before(platform::FileOperation operation, const char*, uint64_t bytes) override
    {
        platform::FileVerdict verdict;
        if (operation == failing) verdict.fail = ERROR_IO_DEVICE;
        if (operation != platform::FileOperation::Write) return verdict;
        ++writes;
        verdict.writeLimit = room;
        room -= std::min(room, bytes);
        return verdict;
    }
    uint64_t room = UINT64_MAX;
    int writes = 0;
    platform::FileOperation failing = platform::FileOperation::Count_;

private:
    platform::FileSeam* before_;
};

class FileStreamTest : public testing::Test {
protected:
    std::string Path(const char* name = "file") { return (directory_ / name).string(); }
    test::TempDirectory directory_;
};

TEST_F(FileStreamTest, ReadsUpToTheEndWhichFailsTheStream)
{
    WriteFileBytes(Path(), "0123456789");
    FileStream file;
    ASSERT_TRUE(file.OpenRead(Path()));
    char buffer[8];
    EXPECT_EQ(file.Read(buffer, 8), 8u);
    EXPECT_EQ(std::string(buffer, 8), "01234567");
    EXPECT_EQ(file.Position(), 8u);
    EXPECT_FALSE(file.Failed());
    EXPECT_EQ(file.Read(buffer, 8), 2u);
    EXPECT_EQ(std::string(buffer, 2), "89");
    EXPECT_TRUE(file.Failed());
    EXPECT_FALSE(file.Bad());
}

TEST_F(FileStreamTest, FailedStreamDoesNothingUntilItsStateIsCleared)
{
    WriteFileBytes(Path(), "0123456789");
    FileStream file;
    ASSERT_TRUE(file.OpenUpdate(Path()));
    char buffer[11];
    file.Read(buffer, 11);
    ASSERT_TRUE(file.Failed());
    EXPECT_EQ(file.Position(), UINT64_MAX);
    file.SeekTo(0);
    file.Write("xx");
    EXPECT_EQ(file.Read(buffer, 1), 0u);
    file.ClearState();
    EXPECT_EQ(file.Position(), 10u);
    file.SeekTo(3);
    EXPECT_EQ(file.Read(buffer, 1), 1u);
    EXPECT_EQ(buffer[0], '3');
    EXPECT_FALSE(file.Close()) << "what was written to the failed stream is lost";
    EXPECT_EQ(ReadFileBytes(Path()), "0123456789");
}

TEST_F(FileStreamTest, OpenTruncateMakesOrEmptiesTheFile)
{
    FileStream file;
    ASSERT_TRUE(file.OpenTruncate(Path()));
    file.Write("abc");
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "abc");
    ASSERT_TRUE(file.OpenTruncate(Path()));
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "");
}

TEST_F(FileStreamTest, OpenUpdateWritesInPlaceAndWantsAFile)
{
    FileStream file;
    EXPECT_FALSE(file.OpenUpdate(Path()));
    EXPECT_TRUE(file.Failed());
    EXPECT_EQ(file.LastError(), ERROR_FILE_NOT_FOUND);
    WriteFileBytes(Path(), "0123456789");
    ASSERT_TRUE(file.OpenUpdate(Path()));
    EXPECT_FALSE(file.Failed());
    file.SeekTo(4);
    file.Write("ab");
    EXPECT_EQ(file.Position(), 6u);
    file.SeekToEnd();
    EXPECT_EQ(file.Position(), 10u);
    file.Write("end");
    EXPECT_EQ(file.Position(), 13u);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "0123ab6789end");
}

TEST_F(FileStreamTest, ReadAfterWriteSeesTheFileAtTheCommonPosition)
{
    WriteFileBytes(Path(), "0123456789");
    FileStream file;
    ASSERT_TRUE(file.OpenUpdate(Path()));
    file.Write("ab");
    char buffer[2];
    EXPECT_EQ(file.Read(buffer, 2), 2u);
    EXPECT_EQ(std::string(buffer, 2), "23");
    file.SeekTo(0);
    EXPECT_EQ(file.Read(buffer, 2), 2u);
    EXPECT_EQ(std::string(buffer, 2), "ab");
}

TEST_F(FileStreamTest, SmallWritesShareOneSystemCall)
{
    WriteSeam seam;
    FileStream file;
    ASSERT_TRUE(file.OpenTruncate(Path()));
    for (int i = 0; i < 1000; ++i) file.Write("0123456789");
    EXPECT_EQ(seam.writes, 0);
    file.Flush();
    EXPECT_EQ(seam.writes, 1);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(seam.writes, 1);
    EXPECT_EQ(ReadFileBytes(Path()).size(), 10000u);
}

TEST_F(FileStreamTest, BytesArriveInOrderWhateverTheSizesOfTheWrites)
{
    std::string expected;
    FileStream file;
    ASSERT_TRUE(file.OpenTruncate(Path()));
    for (const size_t size : std::array<size_t, 9>{1, 131071, 131072, 3, 131073, 70000, 70000, 400000, 5}) {
        const std::string piece(size, static_cast<char>('a' + size % 26));
        file.Write(piece);
        expected += piece;
        EXPECT_EQ(file.Position(), expected.size());
    }
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(ReadFileBytes(Path()) == expected);
}

TEST_F(FileStreamTest, AWriteThatDoesNotFitMakesTheStreamBadAndCloseTellsIt)
{
    WriteSeam seam;
    seam.room = 4;
    FileStream file;
    ASSERT_TRUE(file.OpenTruncate(Path()));
    file.Write("0123456789");
    EXPECT_FALSE(file.Failed());
    file.Flush();
    EXPECT_TRUE(file.Bad());
    EXPECT_EQ(file.LastError(), ERROR_DISK_FULL);
    file.ClearState();
    EXPECT_FALSE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "0123");
}

TEST_F(FileStreamTest, CloseTellsOfBytesWrittenToAStreamThatHadFailed)
{
    for (const size_t size : {size_t{2}, size_t{200000}}) {
        WriteFileBytes(Path(), "0123456789");
        WriteSeam seam;
        FileStream file;
        ASSERT_TRUE(file.OpenUpdate(Path()));
        seam.failing = platform::FileOperation::Seek;
        file.SeekTo(4);
        EXPECT_TRUE(file.Failed());
        file.Write("");
        EXPECT_FALSE(file.LostBytes());
        file.Write(std::string(size, 'x'));
        EXPECT_TRUE(file.LostBytes());
        seam.failing = platform::FileOperation::Count_;
        file.ClearState();
        EXPECT_FALSE(file.Close());
        EXPECT_EQ(ReadFileBytes(Path()), "0123456789");
    }
}

TEST_F(FileStreamTest, OpenAlwaysKeepsWhatIsThereAndMakesWhatIsNot)
{
    FileStream file;
    ASSERT_TRUE(file.OpenAlways(Path(), FileStream::Sharing::None));
    file.Write("0123456789");
    EXPECT_TRUE(file.Close());
    ASSERT_TRUE(file.OpenAlways(Path()));
    char buffer[2];
    EXPECT_EQ(file.Read(buffer, 2), 2u);
    EXPECT_EQ(std::string(buffer, 2), "01");
    file.Write("ab");
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "01ab456789");
}

TEST_F(FileStreamTest, TruncateCutsAtThePositionBehindWhatWasWritten)
{
    WriteFileBytes(Path(), "0123456789");
    FileStream file;
    EXPECT_FALSE(file.Truncate());
    ASSERT_TRUE(file.OpenUpdate(Path()));
    file.SeekTo(2);
    file.Write("ab");
    EXPECT_TRUE(file.Truncate());
    EXPECT_EQ(file.Position(), 4u);
    file.Write("c");
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "01abc");

    WriteSeam seam;
    ASSERT_TRUE(file.OpenUpdate(Path()));
    seam.failing = platform::FileOperation::Resize;
    EXPECT_FALSE(file.Truncate());
    EXPECT_TRUE(file.Bad());
    EXPECT_EQ(file.LastError(), ERROR_IO_DEVICE);
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(ReadFileBytes(Path()), "01abc");
}

TEST_F(FileStreamTest, StampOfAnOpenFileIsItsOwn)
{
    FileStream file;
    EXPECT_EQ(file.Stamp().lastWrite, 0u);
    WriteFileBytes(Path(), "0123456789");
    const FileStamp before = ReadFileStamp(Path());
    ASSERT_TRUE(file.OpenUpdate(Path(), FileStream::Sharing::None));
    EXPECT_EQ(file.Stamp().lastWrite, before.lastWrite);
    EXPECT_EQ(file.Stamp().size, 10u);
    file.SeekToEnd();
    file.Write("ab");
    EXPECT_EQ(file.Stamp().size, 10u);
    file.Flush();
    EXPECT_EQ(file.Stamp().size, 12u);
}

TEST_F(FileStreamTest, CloseTellsOfBytesThatItCouldNotFlush)
{
    WriteSeam seam;
    seam.room = 0;
    FileStream file;
    ASSERT_TRUE(file.OpenTruncate(Path()));
    file.Write("x");
    EXPECT_FALSE(file.Close());
    EXPECT_FALSE(file.IsOpen());
}

TEST_F(FileStreamTest, AReadThatFailsMakesTheStreamBad)
{
    WriteFileBytes(Path(), "0123456789");
    WriteSeam seam;
    FileStream file;
    ASSERT_TRUE(file.OpenRead(Path()));
    seam.failing = platform::FileOperation::Read;
    char buffer[4];
    EXPECT_EQ(file.Read(buffer, 4), 0u);
    EXPECT_TRUE(file.Bad());
    EXPECT_EQ(file.LastError(), ERROR_IO_DEVICE);
}

TEST_F(FileStreamTest, AStreamWithNoFileFailsAtItsFirstUse)
{
    FileStream file;
    EXPECT_FALSE(file.IsOpen());
    char buffer[4];
    EXPECT_EQ(file.Read(buffer, 4), 0u);
    EXPECT_TRUE(file.Bad());
    file.ClearState();
    file.Write("x");
    EXPECT_TRUE(file.Bad());
    file.ClearState();
    file.SeekTo(5);
    EXPECT_TRUE(file.Failed());
    EXPECT_TRUE(file.Close());
}

TEST_F(FileStreamTest, ExclusiveSharingKeepsOthersOut)
{
    WriteFileBytes(Path(), "x");
    FileStream first;
    ASSERT_TRUE(first.OpenUpdate(Path(), FileStream::Sharing::None));
    FileStream second;
    EXPECT_FALSE(second.OpenRead(Path()));
    EXPECT_EQ(second.LastError(), ERROR_SHARING_VIOLATION);
    first.Close();
    EXPECT_TRUE(second.OpenRead(Path()));
    FileStream third;
    EXPECT_TRUE(third.OpenUpdate(Path()));
    EXPECT_FALSE(first.OpenUpdate(Path(), FileStream::Sharing::None));
}

TEST_F(FileStreamTest, OpeningAgainClosesWhatWasOpen)
{
    FileStream file;
    ASSERT_TRUE(file.OpenTruncate(Path("one")));
    file.Write("1");
    ASSERT_TRUE(file.OpenTruncate(Path("two")));
    file.Write("2");
    file.Close();
    EXPECT_EQ(ReadFileBytes(Path("one")), "1");
    EXPECT_EQ(ReadFileBytes(Path("two")), "2");
}

TEST_F(FileStreamTest, ReadWholeFileGivesAllBytes)
{
    std::string bytes = "before";
    EXPECT_FALSE(ReadWholeFile(Path(), bytes));
    const std::string content = std::string("a\0b\r\n", 5) + std::string(300000, 'x');
    WriteFileBytes(Path(), content);
    EXPECT_TRUE(ReadWholeFile(Path(), bytes));
    EXPECT_TRUE(bytes == content);
    WriteFileBytes(Path(), "");
    EXPECT_TRUE(ReadWholeFile(Path(), bytes));
    EXPECT_EQ(bytes, "");
}

TEST_F(FileStreamTest, StampHasTimeAndSize)
{
    WriteFileBytes(Path(), "0123456789");
    const FileStamp stamp = ReadFileStamp(Path());
    EXPECT_EQ(stamp.size, 10u);
    WIN32_FIND_DATAA found = {};
    HANDLE search = FindFirstFileA(Path().c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    EXPECT_EQ(stamp.lastWrite, uint64_t{found.ftLastWriteTime.dwHighDateTime} << 32 | found.ftLastWriteTime.dwLowDateTime);
    EXPECT_NE(stamp.lastWrite, 0u);
}

TEST_F(FileStreamTest, StampOfAFileThatAnotherWritesIsThatOfTheFile)
{
    WriteFileBytes(Path(), "0123456789");
    FileStream writer;
    ASSERT_TRUE(writer.OpenUpdate(Path()));
    writer.SeekToEnd();
    writer.Write("ab");
    writer.Flush();
    // The directory may tell of the write only when the writer has closed the file.
    EXPECT_EQ(ReadFileStamp(Path()).size, 12u);
}

TEST_F(FileStreamTest, StampOfAFileThatIsNotThereIsZero)
{
    const FileStamp stamp = ReadFileStamp(Path());
    EXPECT_EQ(stamp.lastWrite, 0u);
    EXPECT_EQ(stamp.size, 0u);
    EXPECT_EQ(ReadFileStamp(Path("no/such/file")).lastWrite, 0u);
}

TEST_F(FileStreamTest, ALastWriteIsMovedOnByAMicrosecondAndNothingElseChanges)
{
    WriteFileBytes(Path(), "0123456789");
    const uint64_t before = ReadFileStamp(Path()).lastWrite;
    MoveLastWriteOn(Path(), before);
    EXPECT_EQ(ReadFileStamp(Path()).lastWrite, before + 10);
    EXPECT_EQ(ReadFileBytes(Path()), "0123456789");
    MoveLastWriteOn(Path("missing"), before);
    EXPECT_EQ(ReadFileStamp(Path("missing")).lastWrite, 0u);
}

TEST_F(FileStreamTest, StampOfAFileThatIsHeldComesFromTheDirectory)
{
    WriteFileBytes(Path(), "0123456789");
    FileStream holder;
    ASSERT_TRUE(holder.OpenUpdate(Path(), FileStream::Sharing::None));
    const FileStamp stamp = ReadFileStamp(Path());
    EXPECT_EQ(stamp.size, 10u);
    EXPECT_NE(stamp.lastWrite, 0u);
}

}  // namespace
}  // namespace velmora
