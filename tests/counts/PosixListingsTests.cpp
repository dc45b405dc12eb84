// That no directory is listed by a name that is not there, on the roads that every access to a folder takes. Such a listing
// is made below the seam, where CountedFiles does not see it, and would cost as much as the folder is large.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/Text.h"
#include "index/IndexItem.h"
#include "index/IndexTable.h"
#include "index/StoreIndexLife.h"
#include "platform/posix/DirectoryNames.h"
#include "platform/win32.h"
#include "tests/counts/GrownFolder.h"
#include "velmora/folders.h"
#include "velmora/index_records.h"
#include "velmora/vlaisp.h"

namespace velmora::test {
namespace {

using platform::DirectoryListings;

constexpr uint32_t kMessages = 1000;

// A folder with a file for each of its items. Nothing has been looked up in this process, so no listing is kept that could
// stand in for one.
class PosixListings : public testing::Test {
protected:
    PosixListings() : folder_(store_, kMessages)
    {
        for (uint32_t uid = 1; uid <= kMessages; ++uid) WriteFileBytes(folder_.Path() + "/" + GrownItemName(uid), "Subject: s\r\n\r\n");
        store_.Attach();
    }

    // Begins a transaction on the header; `record` is to be given to End.
    void Begin(STOREINDEXTYPE& record)
    {
        StoreIndex_Init(&record);
        ASSERT_EQ(StoreIndex_BeginTransaction(record, "po", "box", folder_.Name().c_str(), 1, block_, 1), 1u);
        ASSERT_EQ(record.Table.LastUID, kMessages);
        ASSERT_EQ(record.Table.LoadLevel, 1);
    }
    void End(STOREINDEXTYPE& record, bool commit, uint32_t (*details)[VELMORA_STATUS_WORDS] = nullptr)
    {
        EXPECT_EQ(StoreIndex_SaveAndClose(record, commit, 1, block_, details), 1u);
        StoreIndex_Release(&record);
    }

    void ReadCounts(uint32_t (&details)[VELMORA_STATUS_WORDS]) const
    {
        EXPECT_EQ(GetCachedStatus("po", "box", folder_.Name().c_str(), details), 1u);
        EXPECT_EQ(details[VELMORA_STATUS_ITEMS], kMessages);
    }

    TestStore store_;
    GrownFolder folder_;

private:
    void* block_ = nullptr;
};

// The measure itself.
TEST_F(PosixListings, AMissOnTheNameOfAMessageListsTheFolder)
{
    const uint64_t before = DirectoryListings();
    EXPECT_EQ(GetFileAttributesA((folder_.Path() + "\\" + GrownItemName(0xFFFF)).c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(DirectoryListings(), before + 1);
}

TEST_F(PosixListings, AHeaderOnlyOpenByATransactionListsNothing)
{
    const uint64_t before = DirectoryListings();
    STOREINDEXTYPE record;
    Begin(record);
    End(record, false);
    EXPECT_EQ(DirectoryListings(), before);
}

TEST_F(PosixListings, AnAppendListsNothing)
{
    const uint64_t before = DirectoryListings();
    STOREINDEXTYPE record;
    Begin(record);
    auto item = std::make_unique<IndexItemPropertyContainer>();
    item->SetText(kId, GrownItemName(kMessages + 1));
    ASSERT_TRUE(InsertItem(record.Table, item.get()));
    item.release();
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    ReadCounts(details);
    ++details[VELMORA_STATUS_ITEMS];
    End(record, true, &details);
    EXPECT_EQ(DirectoryListings(), before);
    EXPECT_NE(ReadFileBytes(folder_.IndexFile()).find(GrownItemName(kMessages + 1)), std::string::npos);
}

TEST_F(PosixListings, TheCachedCountsListNothing)
{
    const uint64_t before = DirectoryListings();
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    ReadCounts(details);
    EXPECT_EQ(SetCachedStatus("po", "box", folder_.Name().c_str(), details), 1u);
    EXPECT_EQ(DirectoryListings(), before);
}

TEST_F(PosixListings, ADeliveryAFlagAndARemovalListNothing)
{
    const std::string id = GrownItemName(kMessages + 1);
    WriteFileBytes(folder_.Path() + "/" + id, "Subject: s\r\n\r\n");
    const uint64_t before = DirectoryListings();
    // Neither the folder nor the mailbox has a file of sizes: they are looked for all the same.
    EXPECT_EQ(Direct_StoreIndex_InsertItemEx("po", "box", folder_.Name().c_str(), id.c_str(), "SIZE=4096"), 1u);
    EXPECT_EQ(Direct_StoreIndex_UpdateItem("po", "box", folder_.Name().c_str(), id.c_str(), "+FLAGGED"), 1u);
    EXPECT_EQ(Direct_StoreIndex_RemoveItem("po", "box", folder_.Name().c_str(), id.c_str()), 1u);
    EXPECT_EQ(DirectoryListings(), before);
    EXPECT_EQ(ReadFileBytes(folder_.IndexFile()).find(id), std::string::npos) << "struck out";
}

// A folder is first opened without its counts and its mark as well: they are looked for all the same.
TEST_F(PosixListings, CachedCountsThatAreNotThereListNothing)
{
    ASSERT_TRUE(std::filesystem::remove(folder_.Path() + "/_FOLDER.DAT"));
    const uint64_t before = DirectoryListings();
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    EXPECT_EQ(GetCachedStatus("po", "box", folder_.Name().c_str(), details), 0u);
    EXPECT_EQ(DirectoryListings(), before);
}

TEST_F(PosixListings, ASaveWithNothingChangedListsNothing)
{
    ASSERT_EQ(StoreFolder_Open("po", "box", folder_.Name().c_str(), 0, VELMORA_OPEN_NORMAL), 1u);
    STOREINDEXTYPE record;
    StoreIndex_Init(&record);
    folder_.Path().copy(record.Path, sizeof record.Path - 1);
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    const uint64_t before = DirectoryListings();
    EXPECT_EQ(StoreFolder_Save(0), 1u);
    EXPECT_EQ(Store_Save(0), 1u);
    EXPECT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(DirectoryListings(), before);
    StoreIndex_Release(&record);
    EXPECT_EQ(StoreFolder_Close(), 1u);
}

TEST_F(PosixListings, AnOpenAndAReopenListNothing)
{
    const uint64_t before = DirectoryListings();
    STOREINDEXTYPE record;
    StoreIndex_Init(&record);
    folder_.Path().copy(record.Path, sizeof record.Path - 1);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(ItemCountOf(record.Table), kMessages);
    EXPECT_EQ(DirectoryListings(), before);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    EXPECT_EQ(DirectoryListings(), before);
    StoreIndex_Release(&record);
}

// The list of a folder's children and the flag beside it are looked for at every step.
TEST_F(PosixListings, ChildFoldersAndTheirSizesListNothing)
{
    store_.MakeFolder(folder_.Name() + "/Child");
    StoreFolderRecord record{};
    CopyBounded(record.Postoffice, "po");
    CopyBounded(record.Mailbox, "box");
    CopyBounded(record.FolderPath, "/" + folder_.Name());
    const auto walk = [&] {
        uint32_t children = 0;
        for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) ++children;
        StoreFolderFindClose(&record);
        EXPECT_EQ(children, 1u);
        EXPECT_EQ(StoreFolderGetSize(&record), 1u);
        EXPECT_EQ(record.FolderSize, kMessages * 4096u);
    };
    walk();
    const uint64_t before = DirectoryListings();
    walk();
    EXPECT_EQ(DirectoryListings(), before);
}

}  // namespace
}  // namespace velmora::test
