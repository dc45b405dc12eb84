// Items of the open folder.
#include "index/IndexItem.h"
#include "tests/provider/ProviderFixture.h"

namespace velmora::test {
namespace {

class ItemApi : public Provider {
protected:
    void OpenInbox() { ASSERT_EQ(Open("INBOX"), 1u); }
    static IndexItemPropertyContainer* Item(std::string_view id) { return FindLoadedItem(CurrentContext()->Index->Table, id); }
    static uint32_t Changed() { return CurrentContext()->Index->Changed; }
};

TEST_F(ItemApi, WithoutAFolderEveryCallAnswersZeroAndTouchesNothing)
{
    int mark = 0;
    void* value = &mark;
    uint64_t size = 77;
    EXPECT_EQ(StoreItem_GetProperty("PR_SUBJECT", &value, &size), 0u);
    EXPECT_EQ(value, &mark);
    EXPECT_EQ(size, 77u);
    EXPECT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", "x"), 0u);
    EXPECT_EQ(StoreFolder_SelectItem("1.MAI"), 0u);
    EXPECT_EQ(StoreFolder_FindFirstItem(), 0u);
    EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
    EXPECT_EQ(StoreFolder_FindClose(), 1u);
    EXPECT_EQ(StoreFolder_CreateItem("new"), 0u);
    EXPECT_EQ(StoreFolder_DeleteItem("1.MAI"), 0u);
    EXPECT_EQ(StoreFolder_DeleteItem(""), 0u);
    EXPECT_EQ(StoreFolder_SelectItemByField("SUBJECT", "one"), 0u);
    EXPECT_EQ(StoreFolder_SelectItemByField_Ex("SUBJECT", "one", 1), 0u);
    EXPECT_EQ(StoreItem_SaveToStore(), 1u);
    EXPECT_EQ(StoreItem_FreeProperty(nullptr), 1u);
}

TEST_F(ItemApi, ANullValueIsNotStored)
{
    OpenInbox();
    EXPECT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", nullptr), 1u);
    EXPECT_EQ(Changed(), 0u);
    ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "one");
    EXPECT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", ""), 1u);
    EXPECT_EQ(Changed(), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "") << "an empty text is";
}

TEST_F(ItemApi, AWalkGoesThroughAllItemsInTheOrderOfTheirUids)
{
    OpenInbox();
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "2.MAI", "3.MAI"}));
}

TEST_F(ItemApi, BehindTheEndAWalkStaysAtItsEnd)
{
    OpenInbox();
    Walk();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
        EXPECT_EQ(CurrentContext()->CurrentFolderItem.Item, nullptr);
    }
    EXPECT_EQ(StoreFolder_FindFirstItem(), 1u) << "it can begin again";
}

TEST_F(ItemApi, AWalkDoesNotSeeWhatIsInsertedDuringIt)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_FindFirstItem(), 1u);
    ASSERT_EQ(StoreItem_SetProperty("new", "PR_SUBJECT", "x"), 1u);
    EXPECT_EQ(StoreFolder_FindNextItem(), 1u);
    EXPECT_EQ(StoreFolder_FindNextItem(), 1u);
    EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
    EXPECT_EQ(Walk().size(), 4u);
}

TEST_F(ItemApi, AnItemThatIsRemovedDuringAWalkIsStillWalked)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_FindFirstItem(), 1u);
    ASSERT_EQ(RemoveItems(CurrentContext()->Index->Table, "2.MAI"), 1u);
    ASSERT_EQ(StoreFolder_FindNextItem(), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "two");
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "3.MAI"}));
}

TEST_F(ItemApi, AnEmptyFolderHasNoFirstItem)
{
    store.MakeFolder("Empty");
    ASSERT_EQ(Open("Empty"), 1u);
    EXPECT_EQ(StoreFolder_FindFirstItem(), 0u);
}

TEST_F(ItemApi, ASelectedItemIsReadByItsPropertyNames)
{
    OpenInbox();
    EXPECT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "two");
    EXPECT_EQ(Property("pr_subject"), "two");
    EXPECT_EQ(Property("PR_VL_FROM"), "a@example.org");
    EXPECT_EQ(Property("PR_NOBODY_KNOWS"), std::nullopt);
    EXPECT_EQ(Property(nullptr), std::nullopt);
}

TEST_F(ItemApi, AMissLeavesNoItemCurrent)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(StoreFolder_SelectItem("2.mai"), 0u) << "IDs are compared byte by byte";
    EXPECT_EQ(CurrentContext()->CurrentFolderItem.Item, nullptr);
    EXPECT_EQ(StoreFolder_SelectItem(""), 0u);
    EXPECT_EQ(StoreFolder_SelectItem(nullptr), 0u);
}

TEST_F(ItemApi, WithNoItemSelectedTheFolderAnswersForItselfAndAColumnIsNotThere)
{
    OpenInbox();
    EXPECT_EQ(Property("VL_FOLDER"), "INBOX");
    EXPECT_EQ(Property("vl_mailbox"), "box");
    EXPECT_EQ(Property("Vl_PostOffice"), "po");
    EXPECT_EQ(Property("VL_FOLDER_PATH"), std::string(CurrentContext()->Index->Path));
    void* value = &value;
    uint64_t size = 77;
    EXPECT_EQ(StoreItem_GetProperty("PR_SUBJECT", &value, &size), 0xFFFFFFFFu);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(ItemApi, TheFoldersDirectoryIsKnownBehindASelectionToo)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(Property("VL_FOLDER_PATH"), std::string(CurrentContext()->Index->Path));
}

TEST_F(ItemApi, AContextPropertyAnswersTwoAndItsSizeCountsTheTerminator)
{
    OpenInbox();
    void* value = nullptr;
    uint64_t size = 0;
    EXPECT_EQ(StoreItem_GetProperty("VL_FOLDER", &value, &size), 2u);
    EXPECT_EQ(size, 6u);
    EXPECT_STREQ(static_cast<const char*>(value), "INBOX");
    EXPECT_EQ(StoreItem_FreeProperty(value), 1u);
}

TEST_F(ItemApi, AHostWithNoPlaceForTheValueGetsTheStatusAlone)
{
    OpenInbox();
    EXPECT_EQ(StoreItem_GetProperty("VL_FOLDER", nullptr, nullptr), 2u);
    EXPECT_EQ(StoreItem_GetProperty("PR_SUBJECT", nullptr, nullptr), 0xFFFFFFFFu);
}

TEST_F(ItemApi, ASetWithAnIdMakesThatItemCurrentAndChangesIt)
{
    OpenInbox();
    EXPECT_EQ(StoreItem_SetProperty("3.MAI", "PR_SUBJECT", "changed"), 1u);
    EXPECT_EQ(Property("VL_ITEM_ID"), "3.MAI");
    EXPECT_EQ(Property("PR_SUBJECT"), "changed");
    EXPECT_EQ(Changed(), 1u);
    EXPECT_EQ(Item("3.MAI")->View("VL_STATUS"), "1");
}

TEST_F(ItemApi, ASetOfAnItemThatDoesNotExistMakesIt)
{
    OpenInbox();
    const uint32_t lastUid = CurrentContext()->Index->Table.LastUID;
    EXPECT_EQ(StoreItem_SetProperty("draft", "PR_SUBJECT", "new"), 1u);
    ASSERT_NE(Item("draft"), nullptr);
    EXPECT_EQ(Item("draft")->Uid(), lastUid + 1);
    EXPECT_EQ(Property("PR_SUBJECT"), "new");
}

TEST_F(ItemApi, ASetWithNoIdWritesToTheCurrentItem)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(StoreItem_SetProperty("", "PR_SUBJECT", "a"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "a");
    EXPECT_EQ(StoreItem_SetProperty(nullptr, "PR_SUBJECT", "b"), 1u);
    EXPECT_EQ(Item("2.MAI")->View("SUBJECT"), "b");
}

TEST_F(ItemApi, ASetWithNoIdAndNoCurrentItemMakesNoneAndAnswersOne)
{
    OpenInbox();
    EXPECT_EQ(StoreItem_SetProperty("", "PR_SUBJECT", "x"), 1u);
    EXPECT_EQ(StoreItem_SetProperty(nullptr, "PR_SUBJECT", "x"), 1u);
    EXPECT_EQ(ItemCountOf(CurrentContext()->Index->Table), 3u);
    EXPECT_EQ(Changed(), 0u);
}

TEST_F(ItemApi, AnUnknownNameInAMailFolderIsSilentlyNotStored)
{
    OpenInbox();
    EXPECT_EQ(StoreItem_SetProperty("1.MAI", "SUBJECT", "x"), 1u);
    EXPECT_EQ(StoreItem_SetProperty("fresh", nullptr, "x"), 1u);
    EXPECT_EQ(Item("1.MAI")->View("SUBJECT"), "one");
    EXPECT_EQ(Item("fresh"), nullptr);
    EXPECT_EQ(Changed(), 0u);
}

TEST_F(ItemApi, FlagsThatAHostWritesLeaveTheReadMarkAlone)
{
    OpenInbox();
    const int32_t read = Item("1.MAI")->GetNumber("READ");
    ASSERT_EQ(StoreItem_SetProperty("1.MAI", "PR_VL_FLAGSTATUS", read == 0 ? "\\SEEN" : ""), 1u);
    EXPECT_EQ(Item("1.MAI")->GetNumber("READ"), read);
}

TEST_F(ItemApi, TheReadMarkIsSavedAndSeenAtTheNextOpen)
{
    OpenInbox();
    Age(inbox);
    ASSERT_EQ(StoreItem_SetProperty("1.MAI", "PR_VL_READ", "1"), 1u);
    ASSERT_EQ(StoreFolder_Save(0), 1u);
    StoreFolder_Close();
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
    EXPECT_EQ(Property("PR_VL_READ"), "1");
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(Property("PR_VL_READ"), "0");
}

TEST_F(ItemApi, ASaveWithNothingChangedWritesNothing)
{
    OpenInbox();
    const std::string before = ReadFileBytes(inbox / "_index.xml");
    const auto time = fs::last_write_time(inbox / "_index.xml");
    EXPECT_EQ(StoreFolder_Save(0), 1u);
    EXPECT_EQ(ReadFileBytes(inbox / "_index.xml"), before);
    EXPECT_EQ(fs::last_write_time(inbox / "_index.xml"), time);
}

TEST_F(ItemApi, ASelectionDoesNotSurviveAClose)
{
    OpenInbox();
    CaptureStdout([&] { ASSERT_EQ(Open("INBOX"), 2u); });
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    StoreFolder_Close();
    EXPECT_EQ(CurrentContext()->CurrentFolderItem.Item, nullptr);
    EXPECT_EQ(Property("PR_SUBJECT"), std::nullopt);
    EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
}

}  // namespace
}  // namespace velmora::test
