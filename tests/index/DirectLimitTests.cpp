// What a sender, a careless agent or a damaged file can put into a direct call: sizes, names and counts beyond their bounds.
#include "index/DirectorySize.h"
#include "tests/index/DirectFixture.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class DirectLimit : public Direct {
protected:
    void SetUp() override
    {
        Direct::SetUp();
        PutTwoItems();
        mailboxFile = inbox.parent_path() / "_DIRSIZE.TMP";
        folderFile = inbox / "_DIRSIZE.TMP";
        WriteFileBytes(mailboxFile, "500000");
        WriteFileBytes(folderFile, "500000");
        PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    }
    void ExpectSizes(const char* kilobytes) const
    {
        EXPECT_EQ(ReadFileBytes(mailboxFile), kilobytes);
        EXPECT_EQ(ReadFileBytes(folderFile), kilobytes);
    }

    fs::path mailboxFile;
    fs::path folderFile;
};

// ---- Sizes ----

TEST_F(DirectLimit, ASenderCannotEmptyTheSizes)
{
    WriteFileBytes(inbox / "3.MAI", "X-VLTempFlags: SIZE=-2147483000\r\nSubject: s\r\n\r\n");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    ExpectSizes("500000");
    EXPECT_EQ(Column("3.MAI", kSize), "0");
}

TEST_F(DirectLimit, AnAgentsNegativeSizeIsNone)
{
    PutMail(inbox, "3.MAI");
    PutMail(inbox, "4.MAI");
    EXPECT_EQ(InsertEx("3.MAI,4.MAI", "SIZE=-10240,SIZE=2048"), 1u);
    ExpectSizes("500002");
}

TEST_F(DirectLimit, RemovingANegativeSizeRaisesNothing)
{
    ASSERT_EQ(Update("1.MAI", "SIZE=-10240"), 1u);
    EXPECT_EQ(Remove("1.MAI,2.MAI"), 1u);
    ExpectSizes("499996");
}

TEST_F(DirectLimit, ASizeBeyondAllNumbersIsTheLargest)
{
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertEx("3.MAI", "SIZE=99999999999999999999"), 1u);
    EXPECT_EQ(Column("3.MAI", kSize), "2147483647");
    ExpectSizes("2597152");
}

// The body is a hole in the file, and nobody reads it.
TEST_F(DirectLimit, AMessageOfMoreThanTwoGigabytesHasTheLargestSize)
{
    WriteFileBytes(inbox / "3.MAI", "Subject: s\r\n\r\n");
    fs::resize_file(inbox / "3.MAI", uint64_t{3} << 30);
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(Column("3.MAI", kSize), "2147483647");
    ExpectSizes("2597152");
}

// ---- Names ----

class DirectNames : public DirectLimit, public testing::WithParamInterface<std::string> {};

// No scan would take such a message either, so there is nothing to count and nothing to look for.
TEST_P(DirectNames, ThatNoItemCanHaveCountForNothingAndUndoNothing)
{
    const std::string& id = GetParam();
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI," + id), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 3, 1, 1, 1, 1, 3, 0}));
    ExpectTidy();

    const std::string before = IndexBytes();
    EXPECT_EQ(Insert(id), 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_EQ(FolderCounts()[kItemsWord], 3);
    ExpectTidy();
}

INSTANTIATE_TEST_SUITE_P(All, DirectNames,
                         testing::Values(std::string(60, 'n') + ".MAI", std::string("a\".MAI"), std::string("a>.MAI"), std::string("---"),
                                         std::string("deep\\a.MAI"), std::string("../a.MAI"), std::string("_index.xml"),
                                         std::string(".MAI")));

TEST_F(DirectLimit, ANameOf63BytesIsAnItemsAndOneMoreIsNot)
{
    const std::string longest = std::string(59, 'n') + ".MAI";
    const std::string longer = "n" + longest;
    PutMail(inbox, longest);
    PutMail(inbox, longer);
    EXPECT_EQ(Insert(longest + "," + longer), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", longest}));
    // As every scan has it.
    PutMail(inbox, "1.MAI");
    PutMail(inbox, "2.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_NE(record.Item(longest), nullptr);
}

// What can be an item and is not now is another matter: its file may be there the next time.
TEST_F(DirectLimit, ANameOfNoItemBehindAFailureDoesNotCommit)
{
    PutMail(inbox, "3.MAI");
    const std::string before = IndexBytes();
    EXPECT_EQ(Insert("3.MAI,gone.MAI,a\".MAI"), 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_TRUE(IsMarked());
}

TEST_F(DirectLimit, ANameOfNoGroupIsLeftOutToo)
{
    PutIndex(inbox, 1, Element("old.GRP", 1), "_groups.xml");
    WriteFileBytes(inbox / "a.GRP", "NAME:Board\r\n");
    EXPECT_EQ(InsertEx("a.GRP,b\".GRP", "$VLGROUP"), 1u);
    EXPECT_EQ(Ids("INBOX", 54), (std::vector<std::string>{"old.GRP", "a.GRP"}));
    EXPECT_EQ(FolderCounts()[kItemsWord], 3) << "one more than the messages";
}

// An entry is cut at 255 bytes, in an insertion, in a removal and in what a removal loads.
TEST_F(DirectLimit, AnEntryThatIsCutIsTheSameItemThroughout)
{
    const fs::path calendar = store.MakeFolder("Calendar");
    const std::string cut(255, 'c');
    const std::string whole = cut + "rest";
    const auto insert = [&](const std::string& ids) { return Direct_StoreIndex_InsertItem("po", "box", "Calendar", ids.c_str()); };
    const auto remove = [&](const std::string& ids) { return Direct_StoreIndex_RemoveItem("po", "box", "Calendar", ids.c_str()); };
    EXPECT_EQ(insert(whole + ",other"), 1u);
    EXPECT_EQ(Ids("Calendar", 2), (std::vector<std::string>{cut, "other"}));
    EXPECT_EQ(remove(whole), 1u);
    EXPECT_EQ(Ids("Calendar", 2), (std::vector<std::string>{"other"}));
}

// ---- Counts ----

TEST_F(DirectLimit, AFailureAloneKeepsTheLastUid)
{
    EXPECT_EQ(Insert("gone.MAI,"), 1u) << "the empty entry is a good one, so the counts are written";
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 3, 1, 1, 1, 1, 2, 0}));
    EXPECT_TRUE(IsMarked());
}

TEST_F(DirectLimit, CountsStayWithinTheirNumbers)
{
    PutCounts({0, 0, 0, INT32_MAX, INT32_MAX, 1, INT32_MAX, INT32_MAX, 0, INT32_MAX, INT32_MAX, 2, 0});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertEx("3.MAI", "\\SEEN"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, INT32_MAX, INT32_MAX, 1, INT32_MAX, INT32_MAX, 0, INT32_MAX, INT32_MAX, 3, 0}));
    EXPECT_EQ(Update("3.MAI", "+FLAGGED +ANSWERED"), 1u);
    EXPECT_EQ(FolderCounts()[kFlaggedWord], INT32_MAX);
    EXPECT_EQ(FolderCounts()[kAnsweredWord], INT32_MAX);
    PutCounts({0, 0, 0, 0, INT32_MIN, 1, 2, 1, 0, 0, 0, 2, 0});
    EXPECT_EQ(Update("3.MAI", "-FLAGGED"), 1u);
    EXPECT_EQ(FolderCounts()[kFlaggedWord], INT32_MIN);
}

TEST_F(DirectLimit, CountsThatCannotBeReadNeverStartFromZero)
{
    const Counts counts = {0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0};
    // The open to read is the first of the two.
    const auto unread = [](const std::function<uint64_t()>& call) {
        int opens = 0;
        WatchedFiles files;
        files.fail = [&](FileOperation operation, std::string_view path) -> uint32_t {
            return operation == FileOperation::Open && path.ends_with("_FOLDER.DAT") && ++opens == 1 ? ERROR_ACCESS_DENIED : 0;
        };
        EXPECT_EQ(call(), 1u);
        EXPECT_GE(opens, 1);
    };
    PutCounts(counts);
    unread([&] { return Update("1.MAI", "+FLAGGED"); });
    EXPECT_EQ(FolderCounts(), counts) << "left alone";
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    std::filesystem::remove(inbox / "_CHANGE.DTY");

    PutMail(inbox, "3.MAI");
    unread([&] { return Insert("3.MAI"); });
    EXPECT_EQ(FolderCounts()[kItemsWord], 3) << "counted anew";
    EXPECT_EQ(FolderCounts()[kLastUidWord], 3);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
}

// ---- The files of sizes ----

// Whatever stops a file from being written whole, what is left of it must not pass for a size.
TEST_F(DirectLimit, ASizeThatCannotBeReadOrWrittenIsDropped)
{
    class SizeFault : public platform::FileSeam {
    public:
        SizeFault(FileOperation hit, platform::FileVerdict verdict) : hit_(hit), verdict_(verdict), before_(platform::ReplaceFileSeam(this))
        {
        }
        ~SizeFault() override { platform::ReplaceFileSeam(before_); }
        platform::FileVerdict Before(FileOperation operation, const char*, uint64_t) override
        {
            if (operation != hit_) return {};
            ++hits;
            return verdict_;
        }
        int hits = 0;

    private:
        const FileOperation hit_;
        const platform::FileVerdict verdict_;
        platform::FileSeam* const before_;
    };
    const struct {
        const char* size;
        FileOperation operation;
        platform::FileVerdict verdict;
        int64_t kilobytes;
    } faults[] = {
        {"50000", FileOperation::Read, {1, UINT64_MAX}, 4},  {"50000", FileOperation::Seek, {1, UINT64_MAX}, 4},
        {"50000", FileOperation::Write, {5, UINT64_MAX}, 4}, {"50000", FileOperation::Write, {0, 2}, 5},
        {"100", FileOperation::Resize, {5, UINT64_MAX}, -1},
    };
    for (const auto& fault : faults) {
        WriteFileBytes(mailboxFile, fault.size);
        {
            SizeFault fails(fault.operation, fault.verdict);
            AdjustDirectorySize("po", "box", fault.kilobytes, nullptr);
            EXPECT_EQ(fails.hits, 1);
        }
        EXPECT_FALSE(FileExists(mailboxFile)) << static_cast<int>(fault.operation);
    }
    EXPECT_EQ(AdjustDirectorySize("po", "box", 7, nullptr), 0u) << "and is not made here";
    EXPECT_FALSE(FileExists(mailboxFile));
}

}  // namespace
}  // namespace velmora::test
