// What must not grow with the folder, counted at 100 and at 100,000 items: file operations of each kind, and bytes up to the
// digits of the one number that is written.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "index/IndexItem.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/StoreIndexLife.h"
#include "tests/counts/CountedFiles.h"
#include "tests/counts/GrownFolder.h"
#include "velmora/index_records.h"
#include "velmora/vlaisp.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

constexpr uint64_t kReadBuffer = 8192;
const std::string kNewItem = GrownItemName(0x00FFFFFF);

// A record of a host's own, placed on the folder.
class PlacedRecord {
public:
    explicit PlacedRecord(const GrownFolder& folder)
    {
        StoreIndex_Init(&record_);
        folder.Path().copy(record_.Path, sizeof record_.Path - 1);
    }
    ~PlacedRecord() { StoreIndex_Release(&record_); }
    PlacedRecord(const PlacedRecord&) = delete;
    PlacedRecord& operator=(const PlacedRecord&) = delete;
    STOREINDEXTYPE& operator*() { return record_; }
    STOREINDEXTYPE* operator->() { return &record_; }

private:
    STOREINDEXTYPE record_;
};

void LoadTo(STOREINDEXTYPE& record, int32_t level)
{
    IndexLoadArguments arguments;
    arguments.Owner = &record;
    arguments.FolderPath = record.Path;
    arguments.NoBlock = 1;
    arguments.CheckDirty = 0;
    ASSERT_TRUE(LoadIndex(record.Table, arguments, level));
}

// As a delivery does it: nobody has the folder open, the header is read, one element is written, the counts are raised.
void AppendOne(const GrownFolder& folder)
{
    auto record = std::make_unique<STOREINDEXTYPE>();
    StoreIndex_Init(record.get());
    void* block = nullptr;
    ASSERT_EQ(StoreIndex_BeginTransaction(*record, "po", "box", folder.Name().c_str(), 1, block, 1), 1u);
    auto item = std::make_unique<IndexItemPropertyContainer>();
    item->SetText(kId, kNewItem);
    item->SetText("SUBJECT", "the new one");
    ASSERT_TRUE(InsertItem(record->Table, item.get()));
    item.release();
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    ASSERT_EQ(GetCachedStatus("po", "box", folder.Name().c_str(), details), 1u);
    ++details[VELMORA_STATUS_ITEMS];
    ASSERT_EQ(StoreIndex_SaveAndClose(*record, true, 1, block, &details), 1u);
    StoreIndex_Release(record.get());
}

class FolderCost : public testing::Test {
protected:
    FolderCost()
    {
        store_.Attach();
        few_ = std::make_unique<GrownFolder>(store_, kFewItems);
        many_ = std::make_unique<GrownFolder>(store_, kManyItems);
    }

    using Action = std::function<void(const GrownFolder&)>;

    static FileCost CostOf(const GrownFolder& folder, const Action& action)
    {
        CountedFiles files(folder.Name());
        action(folder);
        return files.Cost();
    }

    // `moreBytes` is what the large folder writes beyond the small one.
    static void ExpectEqual(const FileCost& few, const FileCost& many, uint64_t moreBytes = 0)
    {
        EXPECT_EQ(few.operations, many.operations) << "few: " << few << "\nmany: " << many;
        EXPECT_EQ(few.bytesRead, many.bytesRead);
        EXPECT_EQ(few.bytesWritten + moreBytes, many.bytesWritten);
        // Neither says how much it handles, and either could hide a growth.
        EXPECT_EQ(many.Of(FileOperation::Copy), 0u);
        EXPECT_EQ(many.listings, 0u);
    }

    // Both costs, compared; returns the one in the large folder. The first call of anything in a process reads settings and
    // learns names, so it is made beforehand, on a folder of its own.
    FileCost ExpectTheSameCost(const Action& action, uint64_t moreBytes = 0)
    {
        action(GrownFolder(store_, 1));
        const FileCost few = CostOf(*few_, action);
        const FileCost many = CostOf(*many_, action);
        ExpectEqual(few, many, moreBytes);
        return many;
    }

    TestStore store_;
    std::unique_ptr<GrownFolder> few_, many_;
};

// The measure itself: where the whole file is read, the count says so.
TEST_F(FolderCost, AFullLoadGrowsWithTheFolder)
{
    const Action load = [](const GrownFolder& folder) {
        PlacedRecord record(folder);
        LoadTo(*record, 3);
        EXPECT_EQ(ItemCountOf(record->Table), folder.Items());
    };
    const FileCost few = CostOf(*few_, load);
    const FileCost many = CostOf(*many_, load);
    EXPECT_GE(many.bytesRead, std::filesystem::file_size(many_->IndexFile()));
    EXPECT_GT(many.Operations(), few.Operations());
}

// And where a directory is listed.
TEST_F(FolderCost, AScanListsTheFolder)
{
    const FileCost cost = CostOf(*few_, [](const GrownFolder& folder) {
        PlacedRecord record(folder);
        EXPECT_EQ(StoreIndex_Scan(&*record), 1u);
    });
    EXPECT_GE(cost.listings, 1u);
}

// The parser's share: with neither block nor dirty check.
TEST_F(FolderCost, ALoadOfTheHeaderAloneReadsOneBuffer)
{
    const FileCost cost = ExpectTheSameCost([](const GrownFolder& folder) {
        PlacedRecord record(folder);
        LoadTo(*record, 1);
        EXPECT_EQ(record->Table.LastUID, folder.Items());
        EXPECT_EQ(record->Table.LoadLevel, 1);
    });
    EXPECT_EQ(cost.Of(FileOperation::Read), 1u);
    EXPECT_LE(cost.bytesRead, kReadBuffer);
    EXPECT_EQ(cost.bytesWritten, 0u);
}

// The whole road of an open on the header: block, dirty check, header, and the way back.
TEST_F(FolderCost, AHeaderOnlyOpenByATransactionThatIsGivenUpWritesNothing)
{
    const FileCost cost = ExpectTheSameCost([](const GrownFolder& folder) {
        STOREINDEXTYPE record;
        StoreIndex_Init(&record);
        void* block = nullptr;
        EXPECT_EQ(StoreIndex_BeginTransaction(record, "po", "box", folder.Name().c_str(), 1, block, 1), 1u);
        EXPECT_EQ(record.Table.LastUID, folder.Items());
        EXPECT_EQ(StoreIndex_SaveAndClose(record, false, 1, block, nullptr), 1u);
        StoreIndex_Release(&record);
    });
    EXPECT_LE(cost.bytesRead, kReadBuffer);
    EXPECT_EQ(cost.bytesWritten, 0u);
}

TEST_F(FolderCost, AnAppendWritesItsElementAndNoOther)
{
    const auto uidDigits = [](const GrownFolder& folder) { return std::to_string(folder.Items() + 1).size(); };
    const FileCost cost = ExpectTheSameCost(AppendOne, uidDigits(*many_) - uidDigits(*few_));
    EXPECT_GT(cost.bytesWritten, 0u);
    EXPECT_LE(cost.bytesWritten, 512u);
    EXPECT_LE(cost.bytesRead, 2 * kReadBuffer);

    const std::string bytes = ReadFileBytes(many_->IndexFile());
    const std::string element = "<ELEMENT ID=\"" + kNewItem + "\" UID=\"" + std::to_string(kManyItems + 1) + "\">";
    EXPECT_NE(bytes.rfind(element), std::string::npos);
    PlacedRecord record(*many_);
    LoadTo(*record, 3);
    EXPECT_EQ(ItemCountOf(record->Table), kManyItems + 1);
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    EXPECT_EQ(GetCachedStatus("po", "box", many_->Name().c_str(), details), 1u);
    EXPECT_EQ(details[VELMORA_STATUS_ITEMS], kManyItems + 1);
}

TEST_F(FolderCost, AnAppendLeavesNeitherAMarkNorABlock)
{
    AppendOne(*many_);
    EXPECT_FALSE(FileExists(many_->Path() + "/_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(many_->Path() + "/_index.blk"));
}

TEST_F(FolderCost, TheCachedCountsAreOneSmallFile)
{
    const FileCost read = ExpectTheSameCost([](const GrownFolder& folder) {
        uint32_t details[VELMORA_STATUS_WORDS] = {};
        EXPECT_EQ(GetCachedStatus("po", "box", folder.Name().c_str(), details), 1u);
        EXPECT_EQ(details[VELMORA_STATUS_ITEMS], folder.Items());
    });
    EXPECT_EQ(read.Of(FileOperation::Open), 1u);
    EXPECT_LE(read.bytesRead, kReadBuffer);
    EXPECT_EQ(read.bytesWritten, 0u);

    const FileCost written = ExpectTheSameCost([](const GrownFolder& folder) {
        uint32_t details[VELMORA_STATUS_WORDS] = {};
        details[VELMORA_STATUS_ITEMS] = folder.Items();
        EXPECT_EQ(SetCachedStatus("po", "box", folder.Name().c_str(), details), 1u);
    });
    EXPECT_EQ(written.bytesWritten, 52u);
    EXPECT_EQ(written.bytesRead, 0u);
}

// An open folder as hosts hold it: the mark of a change is not set, and nothing on disk is looked at.
TEST_F(FolderCost, ASaveOfAnUnchangedOpenFolderTouchesNoFile)
{
    for (const GrownFolder* const folder : {few_.get(), many_.get()}) {
        ASSERT_EQ(StoreFolder_Open("po", "box", folder->Name().c_str(), 0, VELMORA_OPEN_NORMAL), 1u);
        const FileCost cost = CostOf(*folder, [](const GrownFolder&) {
            EXPECT_EQ(StoreFolder_Save(0), 1u);
            EXPECT_EQ(Store_Save(0), 1u);
        });
        EXPECT_EQ(cost.Operations(), 0u) << cost;
        EXPECT_EQ(StoreFolder_Close(), 1u);
    }
}

// The save that is always asked for takes the block, sees that no item is dirty and writes nothing.
TEST_F(FolderCost, ASaveOfAnUnchangedIndexReadsAndWritesNothing)
{
    const auto costOfASave = [&](const GrownFolder& folder) {
        PlacedRecord record(folder);
        LoadTo(*record, 3);
        const std::string before = ReadFileBytes(folder.IndexFile());
        const FileCost cost = CostOf(folder, [&](const GrownFolder&) { EXPECT_EQ(StoreIndex_Save(&*record), 1u); });
        EXPECT_EQ(ReadFileBytes(folder.IndexFile()), before);
        return cost;
    };
    costOfASave(GrownFolder(store_, 1));
    const FileCost few = costOfASave(*few_);
    const FileCost many = costOfASave(*many_);
    ExpectEqual(few, many);
    EXPECT_GT(many.Operations(), 0u);
    EXPECT_EQ(many.bytesRead + many.bytesWritten, 0u);
}

// The open of a folder that is in memory already: a look at the marks and at the index file's time.
TEST_F(FolderCost, AReopenReadsNoFile)
{
    const auto costOfAReopen = [&](const GrownFolder& folder) {
        PlacedRecord record(folder);
        EXPECT_EQ(StoreIndex_Open(&*record, 1), 1u);
        EXPECT_EQ(ItemCountOf(record->Table), folder.Items());
        return CostOf(folder, [&](const GrownFolder&) { EXPECT_EQ(StoreIndex_Open(&*record, 1), 2u); });
    };
    const FileCost few = costOfAReopen(*few_);
    const FileCost many = costOfAReopen(*many_);
    ExpectEqual(few, many);
    EXPECT_GT(many.Operations(), 0u);
    EXPECT_EQ(many.bytesRead + many.bytesWritten, 0u);
}

}  // namespace
}  // namespace velmora::test
