// What it costs to ask for the folders of a mailbox: a step of an enumeration asks whether anything has changed and reads no
// file, and neither it nor a size walk lists a directory of which the list is good.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Text.h"
#include "tests/counts/CountedFiles.h"
#include "tests/counts/GrownFolder.h"
#include "tests/support/OwnList.h"
#include "velmora/folders.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

constexpr uint32_t kFewFolders = 20;
constexpr uint32_t kManyFolders = 200;
constexpr uint64_t kItemSize = 4096;
constexpr uint32_t kItemsOfEach = 3;

StoreFolderRecord RootOf(const std::string& mailbox)
{
    StoreFolderRecord record{};
    CopyBounded(record.Postoffice, "po");
    CopyBounded(record.Mailbox, mailbox);
    CopyBounded(record.FolderPath, "/");
    return record;
}

// A mailbox of that many folders, each with an index and nothing that asks for a scan.
class GrownMailbox {
public:
    GrownMailbox(TestStore& store, uint32_t folders) : name_("Mailbox" + FormatHex8(folders)), folders_(folders)
    {
        for (uint32_t folder = 0; folder < folders; ++folder) {
            const auto path = store.MakeFolder("Folder" + FormatHex8(folder), name_);
            WriteFileBytes(path / "_index.xml", GrownIndex(kItemsOfEach));
            path_ = path.parent_path();
        }
    }

    const std::string& Name() const { return name_; }
    uint32_t Folders() const { return folders_; }
    const std::filesystem::path& Path() const { return path_; }

private:
    std::string name_;
    uint32_t folders_;
    std::filesystem::path path_;
};

// The list stays initialised, with what it has parsed. How many children there are.
uint32_t Walk(const GrownMailbox& mailbox, TLSFolderList* list)
{
    StoreFolderRecord record = RootOf(mailbox.Name());
    uint32_t children = 0;
    for (uint64_t more = TLS_StoreFolderFindFirst(&record, list); more == 1; more = TLS_StoreFolderFindNext(&record, list)) ++children;
    return children;
}

class FolderListCost : public testing::Test {
protected:
    FolderListCost() : few_(store_, kFewFolders), many_(store_, kManyFolders) { store_.Attach(); }

    template <typename Action>
    static FileCost CostOf(const GrownMailbox& mailbox, Action action)
    {
        const CountedFiles files(mailbox.Name());
        action();
        return files.Cost();
    }

    TestStore store_;
    GrownMailbox few_, many_;
};

TEST_F(FolderListCost, AStepOfAnUnchangedListAsksForTheFlagTheListAndItsTime)
{
    for (const GrownMailbox* const mailbox : {&few_, &many_}) {
        const OwnList list;
        ASSERT_EQ(Walk(*mailbox, list), mailbox->Folders());
        const FileCost cost = CostOf(*mailbox, [&] { EXPECT_EQ(Walk(*mailbox, list), mailbox->Folders()); });
        // The first and the one that finds the end are steps as well.
        EXPECT_EQ(cost.Of(FileOperation::Search), 3u * (mailbox->Folders() + 1)) << cost;
        EXPECT_EQ(cost.Operations(), cost.Of(FileOperation::Search)) << cost;
        EXPECT_EQ(cost.listings, 0u);
    }
}

// The measure itself: where there is no list, or a flag, the directory is listed.
TEST_F(FolderListCost, AListThatHasToBeMadeListsTheDirectory)
{
    const OwnList list;
    const FileCost first = CostOf(few_, [&] { Walk(few_, list); });
    EXPECT_GE(first.listings, 1u);
    EXPECT_GT(first.bytesWritten, 0u);
    WriteFileBytes(few_.Path() / "_folder.dty", "DIRTY");
    const FileCost marked = CostOf(few_, [&] { EXPECT_EQ(Walk(few_, list), kFewFolders); });
    EXPECT_GE(marked.listings, 1u);
}

// Each list that a thread has is read once, by whatever number of steps.
TEST_F(FolderListCost, ANewListIsReadOnceAndListsNothing)
{
    for (const GrownMailbox* const mailbox : {&few_, &many_}) {
        {
            const OwnList maker;
            Walk(*mailbox, maker);
        }
        const OwnList list;
        const FileCost cost = CostOf(*mailbox, [&] { EXPECT_EQ(Walk(*mailbox, list), mailbox->Folders()); });
        EXPECT_EQ(cost.Of(FileOperation::Open), 1u) << cost;
        EXPECT_EQ(cost.bytesWritten, 0u) << cost;
        EXPECT_EQ(cost.listings, 0u) << cost;
    }
}

TEST_F(FolderListCost, ASizeWalkOfAnUnchangedTreeListsNoDirectoryAndWritesNothing)
{
    // The first one makes the list of every folder.
    const auto walk = [](const GrownMailbox& mailbox) {
        StoreFolderRecord record = RootOf(mailbox.Name());
        EXPECT_EQ(StoreFolderGetSize(&record), 1u);
        EXPECT_EQ(record.FolderSize, mailbox.Folders() * kItemsOfEach * kItemSize);
    };
    for (const GrownMailbox* const mailbox : {&few_, &many_}) walk(*mailbox);
    const FileCost few = CostOf(few_, [&] { walk(few_); });
    const FileCost many = CostOf(many_, [&] { walk(many_); });
    for (const FileCost& cost : {few, many}) {
        EXPECT_EQ(cost.listings, 0u) << cost;
        EXPECT_EQ(cost.bytesWritten, 0u) << cost;
        EXPECT_EQ(cost.Of(FileOperation::Move) + cost.Of(FileOperation::Copy) + cost.Of(FileOperation::MakeDirectory), 0u) << cost;
    }
    // A folder costs what every other one costs: its block, its list and its index.
    const uint64_t ofOne = (many.Operations() - few.Operations()) / (kManyFolders - kFewFolders);
    EXPECT_EQ(many.Operations() - few.Operations(), ofOne * (kManyFolders - kFewFolders)) << "few: " << few << "\nmany: " << many;
    EXPECT_LE(ofOne, 16u) << many;
    EXPECT_EQ(many.Of(FileOperation::Delete), uint64_t{kManyFolders}) << "the blocks of all but the root: " << many;
}

// The index that is larger than the limit is read and not scanned, whatever asks for a scan.
TEST_F(FolderListCost, ASizeWalkLeavesALargeFolderUnscanned)
{
    store_.SetNumber("Index Injection Size Limit", 1, "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store");
    const auto folder = many_.Path() / "Folder00000000";
    WriteFileBytes(folder / "_index.xml", GrownIndex(20));
    ASSERT_GE(std::filesystem::file_size(folder / "_index.xml"), 1024u);
    WriteFileBytes(folder / "_CHANGE.DTY", "changed");
    StoreFolderRecord record = RootOf(many_.Name());
    CopyBounded(record.FolderPath, "/Folder00000000");
    EXPECT_EQ(StoreFolderGetSize(&record), 1u);
    const FileCost cost = CostOf(many_, [&] { EXPECT_EQ(StoreFolderGetSize(&record), 1u); });
    EXPECT_EQ(record.FolderSize, 20 * kItemSize);
    EXPECT_EQ(cost.listings, 0u) << cost;
    EXPECT_TRUE(FileExists(folder / "_CHANGE.DTY"));
}

}  // namespace
}  // namespace velmora::test
