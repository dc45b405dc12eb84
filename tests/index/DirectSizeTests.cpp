#include "index/DirectorySize.h"

#include "tests/index/DirectFixture.h"
#include "velmora/status.h"

namespace velmora::test {
namespace {

class DirectSize : public Direct {
protected:
    void SetUp() override
    {
        Direct::SetUp();
        mailboxFile = inbox.parent_path() / "_DIRSIZE.TMP";
        folderFile = inbox / "_DIRSIZE.TMP";
    }
    static uint64_t Adjust(int64_t kilobytes, const char* folder = "INBOX") { return AdjustDirectorySize("po", "box", kilobytes, folder); }

    fs::path mailboxFile;
    fs::path folderFile;
};

TEST_F(DirectSize, ADeliveryAddsItsSizeToMailboxAndFolder)
{
    WriteFileBytes(mailboxFile, "95");
    WriteFileBytes(folderFile, "7");
    for (const char* const id : {"a.MAI", "b.MAI", "c.MAI"}) PutMail(inbox, id);
    EXPECT_EQ(InsertEx("a.MAI,b.MAI,c.MAI", "SIZE=2047 \\FLAGGED,SIZE=512,SIZE=511"), 1u);
    EXPECT_EQ(ReadFileBytes(mailboxFile), "98");
    EXPECT_EQ(ReadFileBytes(folderFile), "10");
    EXPECT_EQ(Column("a.MAI", kSize), "2047");
    EXPECT_EQ(Column("a.MAI", kFlagStatus), "\\RECENT") << "flags behind the size go with it";
}

TEST_F(DirectSize, ASizeThatTheMessageGivesCountsToo)
{
    WriteFileBytes(folderFile, "1");
    WriteFileBytes(inbox / "a.MAI", "X-VLTempFlags: SIZE=10240\r\nSubject: s\r\n\r\n");
    EXPECT_EQ(Insert("a.MAI"), 1u);
    EXPECT_EQ(ReadFileBytes(folderFile), "11");
}

// The message is in the folder, and a scan finds it by the mark.
TEST_F(DirectSize, EntriesInFrontOfAFailureCountWhereNothingIsCommitted)
{
    PutTwoItems();
    WriteFileBytes(mailboxFile, "10");
    WriteFileBytes(folderFile, "10");
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertEx("3.MAI,gone.MAI", "SIZE=4096,SIZE=4096"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI"}));
    EXPECT_EQ(ReadFileBytes(mailboxFile), "14");
    EXPECT_EQ(ReadFileBytes(folderFile), "14");
}

TEST_F(DirectSize, KilobytesAreRoundedToTheNearest)
{
    EXPECT_EQ(RoundedKilobytes(0), 0);
    EXPECT_EQ(RoundedKilobytes(511), 0);
    EXPECT_EQ(RoundedKilobytes(512), 1);
    EXPECT_EQ(RoundedKilobytes(1535), 1);
    EXPECT_EQ(RoundedKilobytes(1536), 2);
    EXPECT_EQ(RoundedKilobytes(INT32_MAX), 2097152);
    EXPECT_EQ(RoundedKilobytes(-513), 0);
    EXPECT_EQ(RoundedKilobytes(INT32_MIN), 0);
}

TEST_F(DirectSize, AFileThatIsNotThereIsNotMade)
{
    EXPECT_EQ(Adjust(5), 0u);
    EXPECT_TRUE(FileNames(inbox).empty());
    WriteFileBytes(mailboxFile, "1");
    EXPECT_EQ(Adjust(5), 0u) << "the answer is the folder's";
    EXPECT_EQ(ReadFileBytes(mailboxFile), "6");
    WriteFileBytes(folderFile, "1");
    fs::remove(mailboxFile);
    EXPECT_EQ(Adjust(5), 1u);
    EXPECT_EQ(ReadFileBytes(folderFile), "6");
    EXPECT_FALSE(FileExists(mailboxFile));
}

TEST_F(DirectSize, AFileThatCannotBeOpenedIsDropped)
{
    WriteFileBytes(mailboxFile, "1");
    WriteFileBytes(folderFile, "1");
    {
        WatchedFiles files;
        files.fail = [&](platform::FileOperation operation, std::string_view path) {
            return operation == platform::FileOperation::Open && path.ends_with("INBOX\\_DIRSIZE.TMP") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(Adjust(5), 0u);
    }
    EXPECT_EQ(ReadFileBytes(mailboxFile), "6");
    EXPECT_FALSE(FileExists(folderFile));
}

TEST_F(DirectSize, AFileThatSomebodyHasOpenStaysAsItIs)
{
    WriteFileBytes(mailboxFile, "1");
    WriteFileBytes(folderFile, "1");
    const HANDLE reader =
        CreateFileA(folderFile.string().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Adjust(5), 0u);
    EXPECT_TRUE(CloseHandle(reader));
    EXPECT_EQ(ReadFileBytes(mailboxFile), "6");
    EXPECT_EQ(ReadFileBytes(folderFile), "1");
}

TEST_F(DirectSize, SizesDoNotGoBelowZeroAndTheNumberIsCutWhereItGotShorter)
{
    const struct {
        const char* before;
        int64_t kilobytes;
        const char* after;
    } cases[] = {{"100", -1, "99"}, {"100", -101, "0"}, {"9", 1, "10"},
                 {"-5", 2, "0"},    {"", 4, "4"},       {" 12\r\n", 1, "13"},
                 {"kilo", 3, "3"},  {"7x", 1, "8"},     {"2147483647", 9, "2147483647"}};
    for (const auto& one : cases) {
        WriteFileBytes(mailboxFile, one.before);
        Adjust(one.kilobytes, nullptr);
        EXPECT_EQ(ReadFileBytes(mailboxFile), one.after) << one.before;
    }
    WriteFileBytes(mailboxFile, "5" + std::string(300, ' '));
    EXPECT_EQ(Adjust(1, nullptr), 1u);
    EXPECT_EQ(ReadFileBytes(mailboxFile), "6");
}

TEST_F(DirectSize, NothingToAddTouchesNothing)
{
    WatchedFiles files;
    EXPECT_EQ(Adjust(0), 0u);
    EXPECT_EQ(files.count, 0u);
}

TEST_F(DirectSize, WithoutAFolderTheMailboxAloneIsAdjusted)
{
    WriteFileBytes(mailboxFile, "1");
    WriteFileBytes(folderFile, "1");
    EXPECT_EQ(Adjust(5, nullptr), 1u);
    EXPECT_EQ(ReadFileBytes(mailboxFile), "6");
    EXPECT_EQ(ReadFileBytes(folderFile), "1");
    EXPECT_EQ(AdjustDirectorySize(nullptr, nullptr, 5, nullptr), 0u);
}

TEST_F(DirectSize, AnEmptyFolderIsTheMailboxOnceMore)
{
    WriteFileBytes(mailboxFile, "1");
    EXPECT_EQ(Adjust(5, ""), 1u);
    EXPECT_EQ(ReadFileBytes(mailboxFile), "11");
}

TEST_F(DirectSize, ALeadingSeparatorIsNotDoubled)
{
    WriteFileBytes(folderFile, "1");
    std::vector<std::string> asked;
    WatchedFiles files;
    files.fail = [&](platform::FileOperation, std::string_view path) {
        if (!path.empty()) asked.emplace_back(path);
        return 0u;
    };
    EXPECT_EQ(Adjust(5, "\\INBOX"), 1u);
    EXPECT_EQ(ReadFileBytes(folderFile), "6");
    ASSERT_FALSE(asked.empty());
    EXPECT_EQ(asked.back(), store.MailRoot().string() + "\\po\\MAILROOT\\box\\INBOX\\_DIRSIZE.TMP");
}

TEST_F(DirectSize, FilesHaveOneSizeForTheMailbox)
{
    const fs::path files = store.MailRoot() / "po" / "FILEROOT" / "box";
    fs::create_directories(files);
    WriteFileBytes(files / "_DIRSIZE.TMP", "1");
    WriteFileBytes(mailboxFile, "1");
    EXPECT_EQ(Adjust(5, "\\$fileroot\\deep"), 1u);
    EXPECT_EQ(ReadFileBytes(files / "_DIRSIZE.TMP"), "6");
    EXPECT_EQ(ReadFileBytes(mailboxFile), "1");
}

using DirectStatus = Direct;

TEST_F(DirectStatus, ANullFolderIsTheMailboxItself)
{
    const fs::path file = inbox.parent_path() / "_FOLDER.DAT";
    PutCounts(file, {0, 0, 0, 0, 0, 0, 4, 9, 0, 0, 0, 0, 0});
    uint32_t details[13] = {};
    EXPECT_EQ(GetCachedStatus("po", "box", nullptr, details), 1u);
    EXPECT_EQ(details[kItemsWord], 4u);
    EXPECT_EQ(details[kSeenWord], 4u);
    EXPECT_EQ(SetCachedStatus("po", "box", nullptr, details), 0u);
    EXPECT_EQ(SetCachedStatus("po", "box", "", details), 0u);
    EXPECT_EQ(CountsIn(file)[kSeenWord], 9);
}

TEST_F(DirectStatus, AShortFileGivesTheWordsThatItHas)
{
    PutCounts({0, 0, 0, 0, 0, 0, 4, 3});
    uint32_t details[13] = {};
    details[kLastUidWord] = 77;
    details[kNewWord] = 9;
    EXPECT_EQ(GetCachedStatus("po", "box", "INBOX", details), 1u);
    EXPECT_EQ(details[kSeenWord], 3u);
    EXPECT_EQ(details[kNewWord], 4u);
    EXPECT_EQ(details[kLastUidWord], 77u);
}

TEST_F(DirectStatus, ADeliveryGoesOnFromTheWordsThatAShortFileHas)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 0, 2, 1});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 0, 3, 1, 0, 1, 1, 3, 0}));
}

}  // namespace
}  // namespace velmora::test
