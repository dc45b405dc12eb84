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

// ---- Searching ----

TEST_F(ItemOperations, ASearchFindsTheFirstInTheOrderOfUids)
{
    FindLoadedItem(index.Table, "b")->SetText("SUBJECT", "Same");
    FindLoadedItem(index.Table, "a")->SetText("SUBJECT", "same");
    EXPECT_TRUE(SelectItemByField(handle, index, "SUBJECT", "SAME", 0));
    EXPECT_EQ(handle.Item->Id(), "a");
    EXPECT_TRUE(SelectItemByField(handle, index, "SUBJECT", "Same", 1));
    EXPECT_EQ(handle.Item->Id(), "b");
    EXPECT_TRUE(SelectItemByField(handle, index, "UID", "2", 7)) << "numbers compare as their text";
    EXPECT_EQ(handle.Item->Id(), "b");
}

TEST_F(ItemOperations, ASearchThatMissesLeavesTheHandleAsItWas)
{
    FindLoadedItem(index.Table, "a")->SetText("SUBJECT", "same");
    ASSERT_TRUE(SelectItem(handle, index, "b"));
    EXPECT_FALSE(SelectItemByField(handle, index, "SUBJECT", "SAME", 1));
    EXPECT_FALSE(SelectItemByField(handle, index, "SUBJECT", "sam", 0));
    EXPECT_FALSE(SelectItemByField(handle, index, "NOBODY_HAS_THIS", "", 0)) << "an item without the column is passed over";
    EXPECT_FALSE(SelectItemByField(handle, index, nullptr, "same", 0));
    EXPECT_FALSE(SelectItemByField(handle, index, "SUBJECT", nullptr, 0));
    EXPECT_EQ(handle.Item->Id(), "b");
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

TEST_F(ItemOperations, TheDirectoryIsResolvedWhenItIsAskedForAndNotKnownYet)
{
    void* value = nullptr;
    uint64_t size = 0;
    EXPECT_EQ(GetContextProperty(&handle, "VL_FOLDER_PATH", &value, &size), kNoProperty) << "a handle that names no folder";
    CopyBounded(handle.Postoffice, "po");
    CopyBounded(handle.Mailbox, "box");
    CopyBounded(handle.Folder, "Sent");
    ASSERT_EQ(GetContextProperty(&handle, "vl_folder_path", &value, &size), 2u);
    EXPECT_STREQ(static_cast<const char*>(value), handle.FolderPath);
    EXPECT_TRUE(std::string(handle.FolderPath).ends_with("\\po\\MAILROOT\\box\\Sent"));
    std::free(value);
}

TEST_F(ItemOperations, AnUnknownClassAnswersAGetWithZero)
{
    handle.Class = 77;
    CopyBounded(handle.Folder, "Inbox");
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    void* value = this;
    uint64_t size = 7;
    EXPECT_EQ(StoreIndex_GetItemPropertyItem(&handle, "VL_FOLDER", &value, &size), 0u);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(ItemOperations, EveryKindWithPropertiesAsksTheContextForTheRest)
{
    CopyBounded(handle.Folder, "Inbox");
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    for (const uint32_t kind : {kKindMail, kKindContacts, kKindCalendar, kKindTasks, kKindFiles}) {
        handle.Class = kind;
        void* value = nullptr;
        uint64_t size = 0;
        ASSERT_EQ(StoreIndex_GetItemPropertyItem(&handle, "vl_folder", &value, &size), 2u) << kind;
        EXPECT_STREQ(static_cast<const char*>(value), "Inbox") << kind;
        std::free(value);
    }
    for (const uint32_t kind : {kKindCalendarDocument, kKindGroups, 6u, kUnknownItemClass}) {
        handle.Class = kind;
        void* value = this;
        uint64_t size = 7;
        EXPECT_EQ(StoreIndex_GetItemPropertyItem(&handle, "VL_FOLDER", &value, &size), 0u) << kind;
        EXPECT_EQ(value, nullptr) << kind;
        EXPECT_EQ(size, 0u) << kind;
    }
}

TEST_F(ItemOperations, AHostWithNoPlaceForTheAnswerGetsItsStatus)
{
    CopyBounded(handle.Folder, "Inbox");
    handle.Class = kKindMail;
    EXPECT_EQ(StoreIndex_GetItemPropertyItem(&handle, "VL_FOLDER", nullptr, nullptr), 2u);
    EXPECT_EQ(StoreIndex_GetItemPropertyItem(&handle, nullptr, nullptr, nullptr), kNoProperty);
}

TEST_F(ItemOperations, ASetOfAHandlesItemMakesNoItemAndMarksNoRecord)
{
    handle.Class = kKindMail;
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(&handle, "a", "PR_SUBJECT", "s"), 0u) << "the id selects nothing";
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(&handle, "b", "PR_SUBJECT", "s"), 1u);
    EXPECT_EQ(FindLoadedItem(index.Table, "a")->View("SUBJECT"), "s");
    EXPECT_EQ(Text("VL_STATUS"), "1");
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(&handle, nullptr, "SUBJECT", "t"), 0u) << "no name of a mail property";
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(&handle, nullptr, "PR_SUBJECT", nullptr), 0u);
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(&handle, nullptr, nullptr, "t"), 0u);
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(nullptr, "a", "PR_SUBJECT", "s"), 0u);
    handle.Class = 77;
    EXPECT_EQ(StoreIndex_SetItemPropertyItem(&handle, nullptr, "SUBJECT", "t"), 1u) << "other classes take the name as the column";
    EXPECT_EQ(Text("SUBJECT"), "t");
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
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
    for (const char* const taken : {"a", "", "a>b", "--"}) EXPECT_EQ(WriteColumnValue(&index, handle, "c", "@ID", taken), 0u) << taken;
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

TEST_F(ItemOperations, AnotherIdMovesTheItemToIt)
{
    for (const char* const column : {"@ID", "ID"}) {
        ASSERT_EQ(WriteColumnValue(&index, handle, "a", column, "z"), 1u);
        EXPECT_EQ(FindLoadedItem(index.Table, "a"), nullptr);
        EXPECT_EQ(FindLoadedItem(index.Table, "z"), handle.Item);
        EXPECT_EQ(handle.Item->Uid(), 1u);
        EXPECT_EQ(Text("ID"), "z");
        EXPECT_EQ(Text("VL_STATUS"), "1");
        EXPECT_EQ(index.Changed, 1u);
        ASSERT_EQ(WriteColumnValue(&index, handle, "z", column, "a"), 1u) << "and back";
    }
    EXPECT_EQ(ItemCountOf(index.Table), 2u);
    EXPECT_EQ(index.Table.RewriteRequired, 0u) << "neither name is in a file";
}

TEST_F(ItemOperations, AnIdThatIsNotFreeIsRefused)
{
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    for (const char* const taken : {"b", "", "a>b", "a\"b", "--"}) {
        EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@ID", taken), 0u) << taken;
        EXPECT_EQ(WriteColumnValue(nullptr, handle, "", "ID", taken), 0u) << taken;
    }
    EXPECT_EQ(handle.Item->Id(), "a");
    EXPECT_EQ(FindLoadedItem(index.Table, "a"), handle.Item);
    EXPECT_EQ(FindLoadedItem(index.Table, "b")->Uid(), 2u);
    EXPECT_EQ(Text("VL_STATUS"), "(none)");
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@ID", "a"), 1u) << "the value that it has is no change";
}

TEST_F(ItemOperations, WithAPartOfTheFolderInMemoryNoIdIsKnownToBeFree)
{
    index.Table.LoadSelection = "a";
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@ID", "z"), 0u);
    EXPECT_EQ(handle.Item, nullptr);
    EXPECT_NE(FindLoadedItem(index.Table, "a"), nullptr);
    EXPECT_EQ(index.Changed, 0u);
}

TEST_F(ItemOperations, ARemovedItemKeepsTheIdThatItIsStruckOutBy)
{
    ASSERT_TRUE(SelectItem(handle, index, "a"));
    ASSERT_EQ(RemoveItems(index.Table, "a"), 1u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "", "@ID", "z"), 0u);
    EXPECT_EQ(handle.Item->Id(), "a");
    EXPECT_EQ(FindLoadedItem(index.Table, "z"), nullptr);
}

TEST_F(ItemOperations, AnItemThatIsMadeForAnotherIdHasThatOne)
{
    EXPECT_EQ(WriteColumnValue(&index, handle, "c", "@ID", "z"), 1u);
    EXPECT_EQ(FindLoadedItem(index.Table, "c"), nullptr);
    EXPECT_EQ(FindLoadedItem(index.Table, "z"), handle.Item);
    EXPECT_EQ(handle.Item->Uid(), 3u);
}

TEST_F(ItemOperations, TheUidOfAnItemCannotBeWrittenOver)
{
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "UID", "99"), 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "@UID", "99"), 0u);
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", "UID", "1"), 1u) << "the value that it has is no change";
    EXPECT_EQ(handle.Item->Uid(), 1u);
}

TEST_F(ItemOperations, AColumnThatAnIndexFileCannotCarryIsRefused)
{
    const std::string tooLong(1001, 'X');
    for (const char* const name : {"", "@", "A>B", "<A", "A B", "A/", "!CLASS", "?x", "A\r\n", "A\"", "&amp;", "ELEMENT", "ELEMENTS",
                                   "BASEELEMENT", tooLong.c_str()})
        EXPECT_EQ(WriteColumnValue(&index, handle, "a", name, "v"), 0u) << name;
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", nullptr, "v"), 0u);
    EXPECT_EQ(index.Changed, 0u);
    EXPECT_EQ(WriteColumnValue(&index, handle, "a", tooLong.substr(1).c_str(), nullptr), 1u);
}

}  // namespace
}  // namespace velmora::test
