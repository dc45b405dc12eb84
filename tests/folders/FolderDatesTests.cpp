// When folders were changed last, and how many messages were delivered.
#include <gtest/gtest.h>

#include "common/FileStream.h"
#include "folders/DosStamp.h"
#include "tests/folders/FolderFiles.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class FolderDates : public FolderFiles {
protected:
    static uint64_t Hierarchy(std::string_view path)
    {
        StoreFolderRecord record = Record(path, "not looked at");
        return StoreFolder_GetHierarchyModificationDate(&record);
    }
    static uint64_t Contents(std::string_view path)
    {
        StoreFolderRecord record = Record(path, "not looked at");
        return StoreFolder_GetContentsModificationDate(&record);
    }
    static uint64_t Delivered()
    {
        StoreFolderRecord record = Record("not looked at", "nor this");
        return StoreGetDeliveredMessageCount(&record);
    }
};

TEST_F(FolderDates, TheHierarchyHasTheDateOfItsListInUtcAndInStepsOfTwoSeconds)
{
    Make("a");
    Put("_folder.xml", "");
    Put("a/_folder.xml", "");
    SetLastWrite("_folder.xml", At(18));
    SetLastWrite("a/_folder.xml", At(21));
    EXPECT_EQ(Hierarchy("/"), StampAt(18));
    EXPECT_EQ(Hierarchy("/a"), StampAt(20));
}

TEST_F(FolderDates, AHierarchyWithNoListHasNone)
{
    EXPECT_EQ(Hierarchy("/"), 0u);
    EXPECT_EQ(Hierarchy("/missing"), 0u);
}

TEST_F(FolderDates, AFileThatCannotBeOpenedIsLookedFor)
{
    Put("_folder.xml", "");
    SetLastWrite("_folder.xml", At(18));
    FileStream held;
    ASSERT_TRUE(held.OpenUpdate((box / "_folder.xml").string(), FileStream::Sharing::None));
    EXPECT_EQ(Hierarchy("/"), StampAt(18));
}

TEST_F(FolderDates, TheContentsHaveTheDateOfTheIndex)
{
    Make("a");
    Put("a/_index.xml", "");
    SetLastWrite("a/_index.xml", At(7));
    EXPECT_EQ(Contents("/a"), StampAt(6));
}

TEST_F(FolderDates, TheContentsOfAFolderThatIsFlaggedHaveNone)
{
    Make("a");
    Put("a/_index.xml", "");
    Put("a/_CHANGE.DTY", "");
    EXPECT_EQ(Contents("/a"), 0u);
    fs::remove(box / "a/_CHANGE.DTY");
    EXPECT_NE(Contents("/a"), 0u);
}

// A date before 1980 has no DOS form, and is a flag all the same.
TEST_F(FolderDates, AFlagOfAnyDateCounts)
{
    Put("_index.xml", "");
    Put("_CHANGE.DTY", "");
    SYSTEMTIME old = At(0);
    old.wYear = 1975;
    SetLastWrite("_CHANGE.DTY", old);
    EXPECT_EQ(Contents("/"), 0u);
}

TEST_F(FolderDates, AFlagThatCannotBeAskedForCounts)
{
    Put("_index.xml", "");
    ASSERT_NE(Contents("/"), 0u);
    for (const uint32_t error : {5u, 32u, 8u}) {
        const WatchedFiles files(
            [&](FileOperation, std::string_view path) -> uint32_t { return path.ends_with("_CHANGE.DTY") ? error : 0; });
        EXPECT_EQ(Contents("/"), 0u) << error;
    }
    EXPECT_NE(Contents("/"), 0u);
}

TEST_F(FolderDates, ADateWithoutADosFormIsUnknown)
{
    Put("_folder.xml", "");
    SYSTEMTIME old = At(0);
    old.wYear = 1975;
    SetLastWrite("_folder.xml", old);
    EXPECT_EQ(Hierarchy("/"), 0u);
    EXPECT_EQ(DosStampOf(Dir("_folder.xml")), 0u);
}

TEST_F(FolderDates, TheContentsOfAFolderWithNoIndexHaveNone)
{
    EXPECT_EQ(Contents("/"), 0u);
    EXPECT_EQ(Contents("/missing"), 0u);
}

TEST_F(FolderDates, TheLargestCounterIsGivenOnceAndAllGo)
{
    Put("_3.NEW", "");
    Put("_7.NEW", "");
    EXPECT_EQ(Delivered(), 7u);
    EXPECT_EQ(FileNames(box), Names{});
    EXPECT_EQ(Delivered(), 0u);
}

TEST_F(FolderDates, CountersAreThoseOfTheMailboxAlone)
{
    Make("INBOX");
    Put("INBOX/_5.NEW", "");
    Put("5.NEW", "");
    EXPECT_EQ(Delivered(), 0u);
    EXPECT_TRUE(Has("INBOX/_5.NEW"));
    EXPECT_TRUE(Has("5.NEW"));
}

TEST_F(FolderDates, CountersThatAreNoNumbersCountForNothingAndGo)
{
    for (const char* name : {"_.NEW", "_x.NEW", "_-4.NEW", "_0.NEW", "_2.1.NEW"}) Put(name, "");
    EXPECT_EQ(Delivered(), 2u);
    EXPECT_EQ(FileNames(box), Names{});
}

TEST_F(FolderDates, ACounterThatCannotBeDeletedIsGivenAgain)
{
    for (const char* name : {"_3.NEW", "_7.NEW", "_5.NEW"}) Put(name, "");
    {
        const WatchedFiles files([](FileOperation operation, std::string_view path) -> uint32_t {
            return operation == FileOperation::Delete && !path.ends_with("_5.NEW") ? ERROR_ACCESS_DENIED : 0;
        });
        EXPECT_EQ(Delivered(), 7u);
    }
    EXPECT_EQ(FileNames(box), (Names{"_3.NEW", "_7.NEW"}));
    EXPECT_EQ(Delivered(), 7u);
    EXPECT_EQ(Delivered(), 0u);
}

// Each allocation fails once.
TEST_F(FolderDates, WithoutMemoryNoCounterIsLostAndNoSearchLeftOpen)
{
    const uint32_t open = OpenHandleCount();
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 500u);
        // Longer than a text that needs no memory.
        for (const char* name : {"_00000000000000000003.NEW", "_00000000000000000007.NEW"}) Put(name, "");
        uint64_t told = 0;
        uint32_t hits = 0;
        {
            const AllocationFault fault(n, FaultSpan::Once);
            told = Delivered();
            hits = AllocationFault::Hits();
        }
        EXPECT_EQ(OpenHandleCount(), open) << n;
        EXPECT_TRUE(told == 7 || Delivered() == 7) << n;
        if (hits == 0) {
            EXPECT_EQ(told, 7u);
            break;
        }
        if (told == 0) ++failures;
    }
    EXPECT_GT(failures, 2u);
}

TEST_F(FolderDates, ANullRecordHasNoDatesAndNoMessages)
{
    EXPECT_EQ(StoreFolder_GetHierarchyModificationDate(nullptr), 0u);
    EXPECT_EQ(StoreFolder_GetContentsModificationDate(nullptr), 0u);
    EXPECT_EQ(StoreGetDeliveredMessageCount(nullptr), 0u);
}

}  // namespace
}  // namespace velmora::test
