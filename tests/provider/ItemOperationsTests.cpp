// Items of an index that a caller holds for itself.
#include "index/ItemOperations.h"

#include <cstdlib>
#include <utility>

#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "locks/FlagFiles.h"
#include "tests/provider/ProviderFixture.h"

namespace velmora::test {
namespace {

class ItemOperations : public testing::Test {
protected:
    void SetUp() override
    {
        StoreIndex_Init(&index);
        index.Table.LoadLevel = 3;
        Add("a");
        Add("b");
    }
    void TearDown() override { StoreIndex_Release(&index); }
    IndexItemPropertyContainer* Add(std::string_view id)
    {
        auto* const item = new IndexItemPropertyContainer;
        item->SetText(kId, id);
        EXPECT_TRUE(InsertItem(index.Table, item));
        return item;
    }
    std::string Text(const char* name)
    {
        std::string text = "(none)";
        if (handle.Item) handle.Item->GetText(name, text);
        return text;
    }

    STOREINDEXTYPE index;
    STOREITEMTYPE handle;
};

TEST_F(ItemOperations, AnExistingItemIsSelectedAndNoUidIsGiven)
{
    EXPECT_EQ(SelectOrCreateItem(index, handle, "a"), 1u);
    EXPECT_EQ(handle.Item->Id(), "a");
    EXPECT_EQ(index.Table.LastUID, 2u);
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
}

TEST_F(ItemOperations, AMissingItemIsMadeWithTheNextUid)
{
    EXPECT_EQ(SelectOrCreateItem(index, handle, "c"), 1u);
    EXPECT_EQ(handle.Item->Id(), "c");
    EXPECT_EQ(handle.Item->Uid(), 3u);
    EXPECT_EQ(ItemCountOf(index.Table), 3u);
}

TEST_F(ItemOperations, AnEmptyIdAnswersOneWithNoItem)
{
    handle.Item = FindLoadedItem(index.Table, "a");
    EXPECT_EQ(SelectOrCreateItem(index, handle, ""), 1u);
    EXPECT_EQ(handle.Item, nullptr);
    EXPECT_EQ(SelectOrCreateItem(index, handle, nullptr), 1u);
    EXPECT_EQ(handle.Item, nullptr);
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
}

TEST_F(ItemOperations, WithNothingLoadedNoItemIsMade)
{
    STOREINDEXTYPE empty;
    StoreIndex_Init(&empty);
    EXPECT_EQ(SelectOrCreateItem(empty, handle, "c"), 0u);
    EXPECT_EQ(handle.Item, nullptr);
    EXPECT_FALSE(SelectItem(handle, empty, "c"));
}

TEST_F(ItemOperations, WhenTheUidsAreUsedUpNoItemIsMade)
{
    index.Table.LastUID = 0xFFFFFFFFu;
    EXPECT_EQ(SelectOrCreateItem(index, handle, "c"), 0u);
    EXPECT_EQ(handle.Item, nullptr);
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
}

TEST_F(ItemOperations, AMissedSelectionNullsTheHandle)
{
    EXPECT_TRUE(SelectItem(handle, index, "b"));
    EXPECT_FALSE(SelectItem(handle, index, "z"));
    EXPECT_EQ(handle.Item, nullptr);
    EXPECT_FALSE(SelectItem(handle, index, nullptr));
}

TEST_F(ItemOperations, AWalkStepsThroughItsListAndStaysAtTheEnd)
{
    ItemWalk walk;
    ListByUID(index.Table, walk.Items);
    WalkFirst(walk, handle);
    EXPECT_EQ(handle.Item->Id(), "a");
    WalkNext(walk, handle);
    EXPECT_EQ(handle.Item->Id(), "b");
    WalkNext(walk, handle);
    EXPECT_EQ(handle.Item, nullptr);
    WalkNext(walk, handle);
    EXPECT_EQ(handle.Item, nullptr);
    WalkFirst(walk, handle);
    EXPECT_EQ(handle.Item->Id(), "a");
    walk.Reset();
    WalkNext(walk, handle);
    EXPECT_EQ(handle.Item, nullptr);
}

// ---- Context properties ----

TEST_F(ItemOperations, ContextPropertiesAnswerInAnyCaseWithANewCopy)
{
    CopyBounded(handle.Mailbox, "box");
    void* value = nullptr;
    uint64_t size = 0;
    EXPECT_EQ(GetContextProperty(&handle, "vl_mailbox", &value, &size), 2u);
    EXPECT_EQ(size, 4u);
    EXPECT_STREQ(static_cast<const char*>(value), "box");
    EXPECT_NE(value, static_cast<void*>(handle.Mailbox));
    std::free(value);
}

TEST_F(ItemOperations, AnEmptyFieldAnUnknownNameAndNoHandleAreNoProperty)
{
    for (const char* const name : {"VL_FOLDER", "VL_FOLDERS", "", static_cast<const char*>(nullptr)}) {
        void* value = this;
        uint64_t size = 7;
        EXPECT_EQ(GetContextProperty(&handle, name, &value, &size), kNoProperty);
        EXPECT_EQ(value, nullptr);
        EXPECT_EQ(size, 0u);
    }
    void* value = this;
    uint64_t size = 7;
    EXPECT_EQ(GetContextProperty(nullptr, "VL_FOLDER", &value, &size), kNoProperty);
    EXPECT_EQ(StoreIndex_GetItemPropertyItem(nullptr, "VL_FOLDER", &value, &size), kNoProperty);
    EXPECT_EQ(kNoProperty, 0xFFFFFFFFull);
}

TEST_F(ItemOperations, WhatTheBackEndCannotAnswerTheContextIsAskedFor)
{
    handle.Class = kKindMail;
    CopyBounded(handle.Folder, "Inbox");
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    handle.Item->SetText("SUBJECT", "hello");
    void* value = nullptr;
    uint64_t size = 0;
    ASSERT_NE(StoreIndex_GetItemPropertyItem(&handle, "PR_SUBJECT", &value, &size), kNoProperty);
    EXPECT_STREQ(static_cast<const char*>(value), "hello");
    std::free(value);
    ASSERT_EQ(StoreIndex_GetItemPropertyItem(&handle, "VL_FOLDER", &value, &size), 2u);
    EXPECT_STREQ(static_cast<const char*>(value), "Inbox");
    std::free(value);
    EXPECT_EQ(StoreIndex_GetItemPropertyItem(&handle, "PR_VL_CC", &value, &size), kNoProperty);
    EXPECT_EQ(value, nullptr);
}

// ---- Writing columns ----

TEST_F(ItemOperations, AWrittenColumnMarksTheRecordAndTheItem)
{
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "SUBJECT", "s"), 1u);
    EXPECT_EQ(Text("SUBJECT"), "s");
    EXPECT_EQ(Text("VL_STATUS"), "1");
    EXPECT_EQ(index.Changed, 1u);
}

TEST_F(ItemOperations, WithNoRecordNothingIsMadeAndNothingIsMarked)
{
    EXPECT_EQ(WriteColumnValue(nullptr, handle, "c", "SUBJECT", "s"), 0u);
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    EXPECT_EQ(WriteColumnValue(nullptr, handle, "b", "SUBJECT", "s"), 1u) << "the handle's item, whatever the id says";
    EXPECT_EQ(handle.Item->Id(), "a");
    EXPECT_EQ(Text("SUBJECT"), "s");
    EXPECT_EQ(Text("VL_STATUS"), "1");
    EXPECT_EQ(index.Changed, 0u);
}

TEST_F(ItemOperations, WithNoIdAndNoItemNothingIsWritten)
{
    EXPECT_EQ(WriteColumnValue(&index, handle, "", "SUBJECT", "s"), 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, nullptr, "SUBJECT", "s"), 0u);
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
}

TEST_F(ItemOperations, AWriteThatIsRefusedMakesNoItem)
{
    for (const char* const column : {"A>B", "", "@", "@UID", "UID"}) {
        EXPECT_EQ(WriteColumnValue(&index, handle, "c", column, "9"), 0u) << column;
        EXPECT_EQ(handle.Item, nullptr) << column;
    }
    EXPECT_EQ(WriteColumnValue(&index, handle, "c", nullptr, "9"), 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "c", "@ID", "another"), 0u);
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
    EXPECT_EQ(index.Table.LastUID, 2u);
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "c", "@ID", "c"), 1u) << "the ID that the new item has anyway";
    EXPECT_EQ(ItemCountOf(index.Table), 3u);
}

TEST_F(ItemOperations, AWriteIsNotedInTheFolderWhenTransactionsAreCached)
{
    const TempDirectory directory;
    CopyBounded(index.Path, directory.Str());
    const uint32_t before = std::exchange(Switches().CachedTransactionsEnabled, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "SUBJECT", "s"), 1u);
    EXPECT_FALSE(FileExists(directory / "_CACHED.DTY"));
    Switches().CachedTransactionsEnabled = 1;
    EXPECT_EQ(WriteColumnValue(nullptr, handle, "a", "SUBJECT", "s"), 1u);
    EXPECT_FALSE(FileExists(directory / "_CACHED.DTY")) << "no record, no folder";
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "SUBJECT", "s"), 1u);
    EXPECT_TRUE(FileExists(directory / "_CACHED.DTY"));
    Switches().CachedTransactionsEnabled = before;
}

TEST_F(ItemOperations, AKeyColumnIsNamedBehindAnAt)
{
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@SUBJECT", "s"), 1u);
    EXPECT_EQ(Text("SUBJECT"), "s");
}

TEST_F(ItemOperations, FlagsWrittenByNameDoNotMoveTheReadMark)
{
    const std::string flags = "FLAGSTATUS";
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", flags.c_str(), "\\SEEN"), 1u);
    EXPECT_EQ(handle.Item->GetNumber("READ"), 0);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", kFlagStatus, "\\SEEN"), 1u);
    EXPECT_EQ(handle.Item->GetNumber("READ"), 1) << "inside the library the column's own name moves it";
}

TEST_F(ItemOperations, WhatAnItemIsFoundByCannotBeWrittenOver)
{
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@ID", "z"), 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "ID", "z"), 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "UID", "99"), 0u);
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@ID", "a"), 1u) << "the value that it has is no change";
    EXPECT_NE(FindLoadedItem(index.Table, "a"), nullptr);
    EXPECT_EQ(FindLoadedItem(index.Table, "z"), nullptr);
    EXPECT_EQ(handle.Item->Uid(), 1u);
}

TEST_F(ItemOperations, AColumnThatAnIndexFileCannotCarryIsRefused)
{
    const std::string tooLong(1001, 'X');
    for (const char* const name : {"", "@", "A>B", "<A", "A B", "A/", "!CLASS", "?x", "A\r\n", "A\"", "A=1", "&amp;", tooLong.c_str()})
        EXPECT_EQ(WriteColumnValue(&index, handle, "a", name, "v"), 0u) << name;
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", nullptr, "v"), 0u);
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", tooLong.substr(1).c_str(), nullptr), 1u);
}

}  // namespace
}  // namespace velmora::test
