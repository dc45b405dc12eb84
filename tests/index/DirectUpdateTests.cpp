#include <stdexcept>

#include "tests/index/DirectFixture.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class DirectUpdate : public Direct {
protected:
    void SetUp() override
    {
        Direct::SetUp();
        PutTwoItems();
    }
};
using DirectRemoval = DirectUpdate;

TEST_F(DirectUpdate, FlagsChangeAndReadFollows)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    EXPECT_EQ(Update("2.MAI", "+SEEN +FLAGGED,-RECENT"), 1u);
    EXPECT_EQ(Column("2.MAI", kFlagStatus), "\\SEEN \\FLAGGED");
    EXPECT_EQ(Column("2.MAI", kRead), "1");
    EXPECT_EQ(Column("2.MAI", kVlStatus), "none");
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\SEEN");
    ExpectTidy();
    EXPECT_EQ(Update("2.MAI", "-SEEN"), 1u);
    EXPECT_EQ(Column("2.MAI", kFlagStatus), "\\FLAGGED");
    EXPECT_EQ(Column("2.MAI", kRead), "0");
}

TEST_F(DirectUpdate, CountersFollowTheTextWhetherOrNotTheFlagsChanged)
{
    PutCounts({0, 0, 0, 0, 0, 1, 9, 1, 1, 0, 0, 2, 0});
    EXPECT_EQ(Update("1.MAI,2.MAI", "+seen +FLAGGED,+ANSWERED"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 2, 2, 1, 9, 3, 1, 0, 0, 2, 0})) << "1.MAI was seen before";
    EXPECT_EQ(Update("1.MAI", "-ANSWERED +SEEN"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 1, 2, 1, 9, 2, 1, 0, 0, 2, 0})) << "a minus anywhere makes all of them go down";
}

TEST_F(DirectUpdate, TheSeenCountGoesBelowZero)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0});
    EXPECT_EQ(Update("2.MAI", "-SEEN"), 1u);
    EXPECT_EQ(FolderCounts()[kSeenWord], -1);
}

TEST_F(DirectUpdate, CountersAreLoweredToTheItems)
{
    PutCounts({0, 0, 0, 2, 2, 1, 2, 2, 0, 0, 0, 2, 0});
    EXPECT_EQ(Update("2.MAI", "+SEEN +FLAGGED,+ANSWERED"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 2, 3, 1, 2, 2, 0, 0, 0, 2, 0})) << "but for the flagged ones";
}

TEST_F(DirectUpdate, ASizeChangesTheSizeAlone)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    const Counts before = FolderCounts();
    WriteFileBytes(inbox / "_DIRSIZE.TMP", "10");
    WriteFileBytes(inbox.parent_path() / "_DIRSIZE.TMP", "10");
    EXPECT_EQ(Update("1.MAI", "SIZE=2048000"), 1u);
    EXPECT_EQ(Column("1.MAI", kSize), "2048000");
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\SEEN");
    EXPECT_EQ(FolderCounts(), before);
    EXPECT_EQ(ReadFileBytes(inbox / "_DIRSIZE.TMP"), "10");
    EXPECT_EQ(ReadFileBytes(inbox.parent_path() / "_DIRSIZE.TMP"), "10");
    EXPECT_EQ(Update("1.MAI", "SIZE=SEEN -FLAGGED"), 1u);
    EXPECT_EQ(Column("1.MAI", kSize), "SEEN -FLAGGED") << "whatever stands behind the sign";
    EXPECT_EQ(FolderCounts(), before);
    // Only in front: behind something else it is a flag.
    EXPECT_EQ(Update("1.MAI", "+SIZE=7"), 1u);
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\SEEN \\SIZE=7");
    EXPECT_EQ(Update("1.MAI", "size=7"), 1u);
    EXPECT_EQ(Column("1.MAI", kSize), "SEEN -FLAGGED") << "in small letters it is a flag";
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\size=7");
}

TEST_F(DirectUpdate, AnEmptyChangeLeavesTheFlags)
{
    for (const char* const change : {"", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Update("1.MAI", change), 1u);
        EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\SEEN");
    }
    ExpectTidy();
}

TEST_F(DirectUpdate, APlainListReplacesTheFlags)
{
    EXPECT_EQ(Update("1.MAI", "\\ANSWERED \\FLAGGED"), 1u);
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\ANSWERED \\FLAGGED");
    EXPECT_EQ(Column("1.MAI", kRead), "0");
}

TEST_F(DirectUpdate, AnItemThatIsNotThereIsLeftOut)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    EXPECT_EQ(Update("0.MAI,2.MAI,zz.MAI", "+SEEN"), 1u);
    EXPECT_EQ(Column("2.MAI", kFlagStatus), "\\RECENT \\SEEN");
    EXPECT_EQ(FolderCounts()[kSeenWord], 2) << "once, for the one that was found";
}

TEST_F(DirectUpdate, WithNoItemFoundTheIndexStaysAndTheCountsAreWrittenAgain)
{
    PutCounts({0, 5, 0, 0, 0, 1, 2, 9, 1, 0, 0, 2, 0});
    const std::string before = IndexBytes();
    const std::string lists[] = {"gone.MAI", "", ",,"};
    for (const std::string& list : lists) {
        EXPECT_EQ(Update(list, "+SEEN"), 1u);
        EXPECT_EQ(IndexBytes(), before);
    }
    EXPECT_EQ(FolderCounts(), (Counts{0, 2, 0, 0, 0, 1, 2, 2, 1, 0, 0, 2, 0}));
    ExpectTidy();
}

TEST_F(DirectUpdate, AStarIsNoItem)
{
    const std::string before = IndexBytes();
    EXPECT_EQ(Update("*", "+FLAGGED"), 1u);
    EXPECT_EQ(IndexBytes(), before);
}

TEST_F(DirectUpdate, CountsThatHaveNoFileStartFromZeroOrFromAllItems)
{
    EXPECT_EQ(Update("2.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
    fs::remove(inbox / "_FOLDER.DAT");
    // With nothing chosen everything is loaded.
    EXPECT_EQ(Update("", "+FLAGGED"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 1, 1, 2, 1, 1, 0, 0, 2, 0}));
}

TEST_F(DirectUpdate, AllItemsOfALongListAreChanged)
{
    std::string elements, ids;
    for (uint32_t uid = 1; uid <= 1100; ++uid) {
        elements += Element(std::to_string(uid) + ".MAI", uid);
        ids += std::to_string(uid) + ".MAI,";
    }
    PutIndex(inbox, 1100, elements);
    EXPECT_EQ(Update(ids, "+ANSWERED"), 1u);
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\ANSWERED");
    EXPECT_EQ(Column("1100.MAI", kFlagStatus), "\\ANSWERED");
}

TEST_F(DirectUpdate, AFolderThatSomebodyHoldsAnswersZeroAndIsNotMarked)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    const Counts counts = FolderCounts();
    const std::string before = IndexBytes();
    const HeldFolder held(inbox);
    EXPECT_EQ(Update("1.MAI", "+FLAGGED"), 0u);
    EXPECT_EQ(Remove("1.MAI"), 0u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_EQ(FolderCounts(), counts);
    EXPECT_FALSE(IsMarked());
    EXPECT_TRUE(FileExists(inbox / "_index.blk"));
}

TEST_F(DirectUpdate, AnIndexThatCannotBeLoadedAnswersZero)
{
    WriteFileBytes(inbox / "_index.xml", "no index");
    EXPECT_EQ(Update("1.MAI", "+FLAGGED"), 0u);
    EXPECT_EQ(Remove("1.MAI"), 0u);
    EXPECT_FALSE(IsMarked());
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
}

TEST_F(DirectUpdate, ASaveThatFailsLeavesAMark)
{
    const std::string before = IndexBytes();
    for (const bool removes : {false, true}) {
        int opens = 0;
        {
            WatchedFiles files;
            files.fail = [&](FileOperation operation, std::string_view path) {
                return operation == FileOperation::Open && path.ends_with("_index.xml") && ++opens > 3 ? uint32_t{5} : 0u;
            };
            PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
            EXPECT_EQ(removes ? Remove("1.MAI") : Update("1.MAI", "+FLAGGED"), 1u);
        }
        EXPECT_EQ(IndexBytes(), before);
        EXPECT_TRUE(IsMarked());
        EXPECT_EQ(FolderCounts()[kItemsWord], removes ? 1 : 2) << "the counts are written nonetheless, until a scan counts";
        EXPECT_EQ(FolderCounts()[kFlaggedWord], removes ? 0 : 1);
        EXPECT_FALSE(FileExists(inbox / "_index.blk"));
        fs::remove(inbox / "_CHANGE.DTY");
    }
}

TEST_F(DirectUpdate, AnExceptionAnywhereAnswersZeroAndLeavesNoBlock)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    for (const char* const place : {"_index.blk", "_index.xml", "_FOLDER.DAT"}) {
        for (const bool removes : {false, true}) {
            bool thrown = false;
            {
                WatchedFiles files;
                files.fail = [&](FileOperation, std::string_view path) -> uint32_t {
                    if (!path.ends_with(place) || thrown) return 0;
                    thrown = true;
                    throw std::runtime_error("no luck");
                };
                EXPECT_EQ(removes ? Remove("1.MAI") : Update("1.MAI", "+FLAGGED"), 0u) << place;
            }
            EXPECT_TRUE(thrown) << place;
            EXPECT_FALSE(FileExists(inbox / "_index.blk")) << place;
        }
    }
}

TEST_F(DirectUpdate, CountsAreWrittenWhileTheBlockIsHeld)
{
    WriteFileBytes(inbox / "_DIRSIZE.TMP", "10");
    PutMail(inbox, "3.MAI");
    int looks = 0;
    WatchedFiles files;
    files.fail = [&](FileOperation operation, std::string_view path) {
        if (operation == FileOperation::Open && (path.ends_with("_FOLDER.DAT") || path.ends_with("_DIRSIZE.TMP"))) {
            ++looks;
            EXPECT_TRUE(FileExists(inbox / "_index.blk")) << path;
        }
        return 0u;
    };
    EXPECT_EQ(InsertEx("3.MAI", "SIZE=9000"), 1u);
    EXPECT_EQ(Update("3.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(Remove("3.MAI"), 1u);
    EXPECT_GE(looks, 9);
}

TEST_F(DirectUpdate, TheBlockIsHeldByNameAlone)
{
    bool deleted = false;
    {
        WatchedFiles files;
        files.fail = [&](FileOperation operation, std::string_view path) {
            if (operation == FileOperation::Open && path.ends_with("_FOLDER.DAT") && !deleted)
                deleted = DeleteFileA((inbox / "_index.blk").string().c_str()) != 0;
            return 0u;
        };
        EXPECT_EQ(Update("1.MAI", "+FLAGGED"), 1u);
    }
    EXPECT_TRUE(deleted);
    EXPECT_EQ(Column("1.MAI", kFlagStatus), "\\SEEN \\FLAGGED");
}

TEST_F(DirectUpdate, AnInsertionAndARemovalHoldTheBlockByItsHandle)
{
    PutMail(inbox, "3.MAI");
    int attempts = 0;
    WatchedFiles files;
    files.fail = [&](FileOperation operation, std::string_view path) {
        if (operation == FileOperation::Open && path.ends_with("_FOLDER.DAT")) {
            ++attempts;
            EXPECT_FALSE(DeleteFileA((inbox / "_index.blk").string().c_str()));
            EXPECT_TRUE(FileExists(inbox / "_index.blk"));
        }
        return 0u;
    };
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(Remove("3.MAI"), 1u);
    EXPECT_EQ(attempts, 5);
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(DirectUpdate, ClientsAreToldOfAChangeAndOfARemoval)
{
    const NoticeLog::Notice notice{store.MailRoot().string() + "\\po\\MAILROOT\\box", "INBOX", "COMMIT", 255u};
    const NoticeLog notices;
    EXPECT_EQ(Update("1.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(NoticeLog::Seen(), std::vector{notice});
    EXPECT_EQ(Remove("1.MAI"), 1u);
    EXPECT_EQ(NoticeLog::Seen(), (std::vector{notice, notice}));
}

TEST_F(DirectUpdate, AHostThatHasTheFolderOpenSeesTheChangeAtItsNextOpen)
{
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(Update("2.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(record.Item("2.MAI")->View(kFlagStatus), "\\RECENT");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Item("2.MAI")->View(kFlagStatus), "\\RECENT \\FLAGGED");
    Age(inbox / "_index.xml");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(Remove("2.MAI"), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 1u);
}

TEST_F(DirectRemoval, TheItemLeavesTheIndexAndItsFileStays)
{
    PutMail(inbox, "1.MAI");
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 1, 1, 2, 0});
    const size_t size = IndexBytes().size();
    EXPECT_EQ(Remove("1.MAI"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"2.MAI"}));
    EXPECT_EQ(IndexBytes().size(), size) << "struck out where it stood";
    EXPECT_TRUE(FileExists(inbox / "1.MAI"));
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 1, 0, 1, 1, 1, 2, 0})) << "the position of the first seen item stays";
    ExpectTidy();
}

TEST_F(DirectRemoval, ARecentItemTakesItsNewCountsAlong)
{
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 1, 1, 2, 0});
    EXPECT_EQ(Remove("2.MAI"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 2, 0}));
}

TEST_F(DirectRemoval, TheSizesGoDownByTheRoundedSizeOfEachEntry)
{
    WriteFileBytes(inbox / "_DIRSIZE.TMP", "100");
    WriteFileBytes(inbox.parent_path() / "_DIRSIZE.TMP", "1000");
    EXPECT_EQ(Remove("1.MAI,gone.MAI,,2.MAI"), 1u);
    EXPECT_EQ(ReadFileBytes(inbox / "_DIRSIZE.TMP"), "94") << "2 for 2,048 bytes and 4 for 4,000";
    EXPECT_EQ(ReadFileBytes(inbox.parent_path() / "_DIRSIZE.TMP"), "994");
    EXPECT_TRUE(Ids().empty());
}

TEST_F(DirectRemoval, AListOf1001IdsRemovesOnly1000)
{
    std::string elements, ids;
    for (uint32_t uid = 1; uid <= 1001; ++uid) {
        elements += Element(std::to_string(uid) + ".MAI", uid);
        ids += std::to_string(uid) + ".MAI,";
    }
    PutIndex(inbox, 1001, elements);
    EXPECT_EQ(Remove(ids), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1001.MAI"}));
}

TEST_F(DirectRemoval, AStarEmptiesTheFolder)
{
    EXPECT_EQ(Remove("*"), 1u);
    EXPECT_TRUE(Ids().empty());
    ExpectTidy();
}

TEST_F(DirectRemoval, AnEmptyListRemovesNothing)
{
    const std::string before = IndexBytes();
    EXPECT_EQ(Remove(""), 1u);
    EXPECT_EQ(Direct_StoreIndex_RemoveItem("po", "box", "INBOX", nullptr), 1u);
    EXPECT_EQ(Remove("gone.MAI"), 1u);
    EXPECT_EQ(IndexBytes(), before);
    ExpectTidy();
}

}  // namespace
}  // namespace velmora::test
