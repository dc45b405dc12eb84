#include "index/CachedDetails.h"

#include <gtest/gtest.h>

#include <cstring>

#include "common/Text.h"
#include "frame/ProcessState.h"
#include "tests/items/HookedSeam.h"
#include "tests/support/TestStore.h"
#include "velmora/status.h"

namespace velmora::test {
namespace {

using Details = uint32_t[kDetailWords];

std::vector<uint32_t> Words(const Details& details) { return {details, details + kDetailWords}; }

TEST(CachedDetails, FiveWordsAreLoweredToTheItemCount)
{
    Details details = {9, 9, 9, 9, 9, 9, 5, 9, 9, 9, 9, 9, 9};
    ClampDetails(details);
    EXPECT_EQ(Words(details), (std::vector<uint32_t>{9, 5, 9, 5, 9, 9, 5, 5, 5, 5, 9, 9, 9}));
}

TEST(CachedDetails, WordsCompareAsSigned)
{
    const auto minusOne = static_cast<uint32_t>(-1);
    Details below = {0, 0, 0, minusOne, 0, 0, 5, minusOne, 0, 0, 0, 0, 0};
    ClampDetails(below);
    EXPECT_EQ(below[3], minusOne);
    EXPECT_EQ(below[7], minusOne);
    Details above = {0, 0, 0, 3, 0, 0, minusOne, 0, 0, 0, 0, 0, 0};
    ClampDetails(above);
    EXPECT_EQ(above[1], minusOne);
    EXPECT_EQ(above[3], minusOne);
}

TEST(CachedDetails, TheFileIs52LittleEndianBytes)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "/_FOLDER.DAT";
    Details details = {};
    for (unsigned i = 0; i < kDetailWords; ++i) details[i] = 0x01020300u + i;
    details[6] = 0x01020304u;
    ASSERT_TRUE(WriteCachedDetails(path, details));
    const std::string bytes = ReadFileBytes(path);
    ASSERT_EQ(bytes.size(), 52u);
    EXPECT_EQ(bytes.substr(0, 4), std::string("\x00\x03\x02\x01", 4));
    EXPECT_EQ(bytes.substr(28, 4), std::string("\x04\x03\x02\x01", 4));  // lowered to word 6
    EXPECT_EQ(bytes.substr(48, 4), std::string("\x0C\x03\x02\x01", 4));
    EXPECT_EQ(details[7], 0x01020304u);
}

TEST(CachedDetails, WriteReplacesALongerFileAndAShorterOne)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "/_FOLDER.DAT";
    for (const size_t before : {100u, 3u, 52u}) {
        WriteFileBytes(path, std::string(before, 'x'));
        Details details = {};
        details[6] = 7;
        ASSERT_TRUE(WriteCachedDetails(path, details));
        EXPECT_EQ(ReadFileBytes(path), std::string(24, '\0') + '\x07' + std::string(27, '\0')) << before;
    }
    Details details = {};
    EXPECT_FALSE(WriteCachedDetails(directory.Str() + "/none/_FOLDER.DAT", details));
}

TEST(CachedDetails, AShortFileLeavesTheWordsItDoesNotHave)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "/_FOLDER.DAT";
    WriteFileBytes(path, std::string(24, '\0') + std::string("\x05\0\0\0\x02\0\0\0", 8));
    Details details = {1, 1, 1, 1, 1, 1, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_TRUE(ReadCachedDetails(path, details));
    EXPECT_EQ(Words(details), (std::vector<uint32_t>{0, 0, 0, 0, 0, 0, 5, 2, 5, 5, 9, 9, 9}));
}

TEST(CachedDetails, AFileThatEndsInsideAWordGivesTheBytesThatItHas)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "/_FOLDER.DAT";
    // Seven words and the two low bytes of the eighth.
    WriteFileBytes(path, std::string(24, '\0') + std::string("\xFF\xFF\xFF\x7F\x22\x11", 6));
    Details details = {};
    details[7] = 0x44339999u;
    details[8] = 8;
    EXPECT_TRUE(ReadCachedDetails(path, details));
    EXPECT_EQ(Words(details), (std::vector<uint32_t>{0, 0, 0, 0, 0, 0, 0x7FFFFFFFu, 0x44331122u, 8, 0, 0, 0, 0}));
}

TEST(CachedDetails, WithoutAFileTheWordsAreTheCallersClamped)
{
    const TempDirectory directory;
    Details details = {1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1};
    EXPECT_FALSE(ReadCachedDetails(directory.Str() + "/none", details));
    EXPECT_EQ(Words(details), (std::vector<uint32_t>{1, 0, 1, 0, 1, 1, 0, 0, 0, 0, 1, 1, 1}));
    WriteFileBytes(directory / "empty", "");
    EXPECT_FALSE(ReadCachedDetails(directory.Str() + "/empty", details));
}

class CachedStatus : public testing::Test {
protected:
    CachedStatus()
    {
        folder_ = store_.MakeFolder("Inbox");
        CopyBounded(Process().MailRoot, store_.MailRoot().string());
    }
    TestStore store_;
    std::filesystem::path folder_;
};

TEST_F(CachedStatus, IsWrittenAndReadByTheFoldersNames)
{
    Details details = {};
    details[6] = 3;
    details[7] = 8;
    EXPECT_EQ(SetCachedStatus("po", "box", "Inbox", details), 1u);
    EXPECT_EQ(details[7], 3u);
    EXPECT_EQ(ReadFileBytes(folder_ / "_FOLDER.DAT").size(), 52u);
    Details read = {};
    EXPECT_EQ(GetCachedStatus("po", "box", "Inbox", read), 1u);
    EXPECT_EQ(Words(read), Words(details));
}

TEST_F(CachedStatus, OfTheMailboxItselfIsReadAndNeverWritten)
{
    WriteFileBytes(folder_.parent_path() / "_FOLDER.DAT", std::string(24, '\0') + '\x04' + std::string(27, '\0'));
    Details details = {};
    EXPECT_EQ(GetCachedStatus("po", "box", "", details), 1u);
    EXPECT_EQ(details[6], 4u);
    EXPECT_EQ(SetCachedStatus("po", "box", "", details), 0u);
    EXPECT_EQ(SetCachedStatus("po", "", "Inbox", details), 0u);
    EXPECT_EQ(SetCachedStatus("", "box", "Inbox", details), 0u);
}

TEST_F(CachedStatus, OfTheMailboxItselfHasOneSeparatorBeforeTheFile)
{
    std::vector<std::string> asked;
    const HookedSeam seam([&](platform::FileOperation, std::string_view path, uint64_t) {
        if (!path.empty()) asked.emplace_back(path);
        return platform::FileVerdict();
    });
    Details details = {};
    const std::string box = store_.MailRoot().string() + "\\po\\MAILROOT\\box";
    GetCachedStatus("po", "box", "", details);
    EXPECT_EQ(asked, (std::vector<std::string>{box + "\\_FOLDER.DAT"}));
    asked.clear();
    GetCachedStatus("po", "box", "Inbox", details);
    EXPECT_EQ(asked, (std::vector<std::string>{box + "\\Inbox\\_FOLDER.DAT"}));
}

TEST_F(CachedStatus, OfAMissingFolderKeepsTheCallersWords)
{
    Details details = {5, 5, 5, 5, 5, 5, 2, 5, 5, 5, 5, 5, 5};
    EXPECT_EQ(GetCachedStatus("po", "box", "Nowhere", details), 0u);
    EXPECT_EQ(details[0], 5u);
    EXPECT_EQ(details[7], 2u);
    EXPECT_EQ(SetCachedStatus("po", "box", "Nowhere", details), 0u);
}

TEST_F(CachedStatus, NullPointersAnswerZero)
{
    Details details = {};
    EXPECT_EQ(GetCachedStatus(nullptr, "box", "Inbox", details), 0u);
    EXPECT_EQ(GetCachedStatus("po", "box", nullptr, details), 0u);
    EXPECT_EQ(GetCachedStatus("po", "box", "Inbox", nullptr), 0u);
    EXPECT_EQ(SetCachedStatus("po", nullptr, "Inbox", details), 0u);
    EXPECT_EQ(SetCachedStatus("po", "box", "Inbox", nullptr), 0u);
}

}  // namespace
}  // namespace velmora::test
