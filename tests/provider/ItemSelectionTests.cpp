// Items of the open folder that are made, searched for and deleted.
#include "index/IndexItem.h"
#include "tests/items/HookedSeam.h"
#include "tests/provider/ProviderFixture.h"

namespace velmora::test {
namespace {

class ItemSelection : public Provider {
protected:
    void OpenInbox(uint32_t kind = 0) { ASSERT_EQ(StoreFolder_Open("po", "box", "INBOX", kind, 0), 1u); }
    static STOREITEMTYPE& Handle() { return CurrentContext()->CurrentFolderItem; }
    static SORTEDSTOREINDEXTYPE& Table() { return CurrentContext()->Index->Table; }
    static uint32_t Changed() { return CurrentContext()->Index->Changed; }
    static std::string CurrentId() { return Handle().Item ? std::string(Handle().Item->Id()) : "(none)"; }
};

// ---- Search ----

TEST_F(ItemSelection, ASearchByFieldTakesAnyCaseAndTheExactFormDoesNot)
{
    OpenInbox();
    EXPECT_EQ(StoreFolder_SelectItemByField("SUBJECT", "TWO"), 1u);
    EXPECT_EQ(CurrentId(), "2.MAI");
    EXPECT_EQ(StoreFolder_SelectItemByField_Ex("SUBJECT", "THREE", 0), 1u);
    EXPECT_EQ(CurrentId(), "3.MAI");
    EXPECT_EQ(StoreFolder_SelectItemByField_Ex("SUBJECT", "ONE", 1), 0u);
    EXPECT_EQ(CurrentId(), "3.MAI") << "a miss leaves the item that was current";
    EXPECT_EQ(StoreFolder_SelectItemByField_Ex("SUBJECT", "one", 1), 1u);
    EXPECT_EQ(CurrentId(), "1.MAI");
    EXPECT_EQ(Property("VL_FOLDER"), "INBOX");
}

TEST_F(ItemSelection, ASearchFindsTheFirstInTheOrderOfUids)
{
    OpenInbox();
    EXPECT_EQ(StoreFolder_SelectItemByField("FROM", "a@example.org"), 1u);
    EXPECT_EQ(CurrentId(), "1.MAI");
}

TEST_F(ItemSelection, ASearchForWhatNobodyHasMisses)
{
    OpenInbox();
    EXPECT_EQ(StoreFolder_SelectItemByField("PR_SUBJECT", "one"), 0u) << "fields are columns";
    EXPECT_EQ(StoreFolder_SelectItemByField(nullptr, "one"), 0u);
    EXPECT_EQ(StoreFolder_SelectItemByField("SUBJECT", nullptr), 0u);
    EXPECT_EQ(CurrentId(), "(none)");
}

TEST_F(ItemSelection, ASearchOfAColumnThatNoItemHasGoesThroughTheWholeFolder)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(StoreFolder_SelectItemByField("CC", "one"), 0u);
    EXPECT_EQ(CurrentId(), "2.MAI") << "a miss leaves the item that was current";
    EXPECT_EQ(Table().LoadLevel, 3) << "all items were there to be looked at";
    // The last item in the order of UIDs is looked at as well.
    STOREITEMTYPE& item = Handle();
    ASSERT_EQ(StoreFolder_SelectItem("3.MAI"), 1u);
    ASSERT_TRUE(SetItemProperty(*item.Item, "CC", "one"));
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(StoreFolder_SelectItemByField("CC", "one"), 1u);
    EXPECT_EQ(CurrentId(), "3.MAI");
}

TEST_F(ItemSelection, AnotherFolderEndsTheSelectionAndTheWalk)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_FindFirstItem(), 1u);
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    CaptureStdout([&] { ASSERT_EQ(Open("Sent"), 1u); });
    EXPECT_EQ(CurrentId(), "(none)");
    EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
    EXPECT_EQ(Property("PR_SUBJECT"), std::nullopt);
    EXPECT_EQ(Property("VL_FOLDER"), "Sent");
}

// ---- Making ----

TEST_F(ItemSelection, AnItemThatIsMadeIsCurrentAndHasTheNextUid)
{
    OpenInbox();
    const uint32_t lastUid = Table().LastUID;
    EXPECT_EQ(StoreFolder_CreateItem("draft"), 1u);
    EXPECT_EQ(CurrentId(), "draft");
    EXPECT_EQ(Handle().Item->Uid(), lastUid + 1);
    EXPECT_EQ(Changed(), 0u) << "what is set of it is what a save sees";
    EXPECT_EQ(StoreItem_SetProperty("", "PR_SUBJECT", "fresh"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "fresh");
    EXPECT_EQ(Changed(), 1u);
}

TEST_F(ItemSelection, AnItemThatExistsIsSelectedAndNoUidIsGiven)
{
    OpenInbox();
    const uint32_t lastUid = Table().LastUID;
    EXPECT_EQ(StoreFolder_CreateItem("2.MAI"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "two");
    EXPECT_EQ(Table().LastUID, lastUid);
    EXPECT_EQ(ItemCountOf(Table()), 3u);
}

TEST_F(ItemSelection, WithNoIdNoItemIsMade)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
    EXPECT_EQ(StoreFolder_CreateItem(""), 1u);
    EXPECT_EQ(CurrentId(), "(none)");
    EXPECT_EQ(StoreFolder_CreateItem(nullptr), 1u);
    EXPECT_EQ(StoreFolder_CreateItem("a>b"), 0u) << "no index can hold that";
    EXPECT_EQ(ItemCountOf(Table()), 3u);
}

TEST_F(ItemSelection, AFolderThatIsOpenAndNotLoadedMakesNone)
{
    ASSERT_EQ(Open("INBOX", VELMORA_OPEN_UNLOADED), 2u);
    EXPECT_EQ(StoreFolder_CreateItem("draft"), 0u);
    EXPECT_EQ(StoreFolder_DeleteItem("1.MAI"), 0u);
    EXPECT_TRUE(FileExists(inbox / "1.MAI"));
}

// ---- Deleting ----

TEST_F(ItemSelection, ADeletionTakesTheFileAndTheItem)
{
    OpenInbox();
    Age(inbox);
    EXPECT_EQ(StoreFolder_DeleteItem("2.MAI"), 1u);
    EXPECT_FALSE(FileExists(inbox / "2.MAI"));
    EXPECT_EQ(CurrentId(), "(none)");
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "3.MAI"}));
    EXPECT_EQ(StoreFolder_SelectItem("2.MAI"), 0u);
    ASSERT_EQ(StoreFolder_Save(0), 1u);
    StoreFolder_Close();
    OpenInbox();
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "3.MAI"}));
}

TEST_F(ItemSelection, ADeletionWithNoIdAnswersOneAndTheNextSaveRuns)
{
    for (const char* const none : {"", static_cast<const char*>(nullptr)}) {
        OpenInbox();
        ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
        EXPECT_EQ(StoreFolder_DeleteItem(none), 1u);
        EXPECT_EQ(Changed(), 1u);
        EXPECT_EQ(ItemCountOf(Table()), 3u);
        EXPECT_EQ(CurrentId(), "1.MAI");
        EXPECT_EQ(StoreFolder_Save(0), 1u);
        EXPECT_EQ(Changed(), 0u);
        StoreFolder_Close();
    }
}

TEST_F(ItemSelection, ADeletionOfWhatIsNotThereAnswersZeroAndTheNextSaveRuns)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
    EXPECT_EQ(StoreFolder_DeleteItem("9.MAI"), 0u);
    EXPECT_EQ(Changed(), 1u);
    EXPECT_EQ(CurrentId(), "(none)");
    EXPECT_EQ(ItemCountOf(Table()), 3u);
}

TEST_F(ItemSelection, AnItemWhoseFileIsGoneIsDeletedAllTheSame)
{
    OpenInbox();
    fs::remove(inbox / "2.MAI");
    EXPECT_EQ(StoreFolder_DeleteItem("2.MAI"), 1u);
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "3.MAI"}));
}

TEST_F(ItemSelection, AnItemWhoseFileCannotBeDeletedComesBackWithTheNextScan)
{
    OpenInbox();
    Age(inbox);
    {
        const HookedSeam seam(FailOn(platform::FileOperation::Delete, "2.MAI", 32));
        EXPECT_EQ(StoreFolder_DeleteItem("2.MAI"), 1u);
    }
    EXPECT_TRUE(FileExists(inbox / "2.MAI"));
    ASSERT_EQ(StoreFolder_Save(0), 1u);
    StoreFolder_Close();
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    OpenInbox();
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "3.MAI", "2.MAI"}));
}

TEST_F(ItemSelection, AnIdThatLeadsElsewhereDeletesNoFile)
{
    OpenInbox();
    for (const char* const id : {"..\\Sent\\9.MAI", "../Sent/9.MAI"}) {
        ASSERT_EQ(StoreFolder_CreateItem(id), 1u);
        EXPECT_EQ(StoreFolder_DeleteItem(id), 1u);
        EXPECT_TRUE(FileExists(sent / "9.MAI")) << id;
        EXPECT_EQ(StoreFolder_SelectItem(id), 0u) << "the item is gone";
    }
}

TEST_F(ItemSelection, AnIdThatIsAFileOfTheFolderItselfDeletesNoFile)
{
    OpenInbox();
    for (const char* const id : {"_index.xml", "_FOLDER.DAT", "_index.blk", "_CHANGE.DTY", ".hidden"}) {
        WriteFileBytes(inbox / id, FileExists(inbox / id) ? ReadFileBytes(inbox / id) : "x");
        ASSERT_EQ(StoreFolder_CreateItem(id), 1u) << id;
        EXPECT_EQ(StoreFolder_DeleteItem(id), 1u) << id;
        EXPECT_TRUE(FileExists(inbox / id)) << id;
        EXPECT_EQ(StoreFolder_SelectItem(id), 0u) << "the item is gone";
    }
    fs::remove(inbox / "_index.blk");
}

// Systems take each of these for 1.MAI, some of them here and the others there.
TEST_F(ItemSelection, AnIdThatIsAnotherSpellingOfAFileDeletesNoFile)
{
    OpenInbox();
    for (const char* const id : {"1.mai", "1.MAI.", "1.MAI ", "1.MAI::$DATA", "?.MAI"}) {
        ASSERT_EQ(StoreFolder_CreateItem(id), 1u) << id;
        EXPECT_EQ(StoreFolder_DeleteItem(id), 1u) << id;
        EXPECT_TRUE(FileExists(inbox / "1.MAI")) << id;
        EXPECT_EQ(StoreFolder_SelectItem(id), 0u) << "the item is gone";
    }
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "2.MAI", "3.MAI"}));
}

TEST_F(ItemSelection, ADirectoryOfThatNameIsNotDeleted)
{
    OpenInbox();
    fs::create_directory(inbox / "d.MAI");
    ASSERT_EQ(StoreFolder_CreateItem("d.MAI"), 1u);
    EXPECT_EQ(StoreFolder_DeleteItem("d.MAI"), 1u);
    EXPECT_TRUE(FileExists(inbox / "d.MAI"));
}

TEST_F(ItemSelection, AnIdThatLooksLikeAListDeletesItselfAlone)
{
    OpenInbox();
    for (const char* const id : {"1.MAI,2.MAI", "*"}) {
        ASSERT_EQ(StoreFolder_CreateItem(id), 1u);
        EXPECT_EQ(StoreFolder_DeleteItem(id), 1u);
    }
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "2.MAI", "3.MAI"}));
}

TEST_F(ItemSelection, ADeletedItemIsStillWalked)
{
    OpenInbox();
    ASSERT_EQ(StoreFolder_FindFirstItem(), 1u);
    ASSERT_EQ(StoreFolder_DeleteItem("2.MAI"), 1u);
    ASSERT_EQ(StoreFolder_FindNextItem(), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "two");
}

TEST_F(ItemSelection, WhatADeletionTakesIsUpToTheKind)
{
    struct Case {
        uint32_t kind;
        bool takesFile, takesItem;
    };
    for (const Case& c : {Case{1, true, true}, Case{2, false, true}, Case{3, false, true}, Case{4, false, false}}) {
        OpenInbox(c.kind);
        ASSERT_EQ(CurrentContext()->Index->IndexKind, c.kind);
        WriteFileBytes(inbox / "a.ITM", "x");
        ASSERT_EQ(StoreFolder_CreateItem("a.ITM"), 1u) << c.kind;
        EXPECT_EQ(StoreFolder_DeleteItem("a.ITM"), 1u) << c.kind;
        EXPECT_EQ(FileExists(inbox / "a.ITM"), !c.takesFile) << c.kind;
        EXPECT_EQ(CurrentId(), c.takesItem ? "(none)" : "a.ITM") << c.kind;
        EXPECT_EQ(StoreFolder_SelectItem("a.ITM"), c.takesItem ? 0u : 1u) << c.kind;
        EXPECT_EQ(Changed(), 1u) << c.kind;
        StoreFolder_Close();
    }
}

TEST_F(ItemSelection, KindsWithoutDeletionKeepItemAndFile)
{
    OpenInbox(54);
    WriteFileBytes(inbox / "a.GRP", "x");
    ASSERT_EQ(StoreFolder_CreateItem("a.GRP"), 1u);
    EXPECT_EQ(StoreFolder_DeleteItem("a.GRP"), 1u);
    EXPECT_TRUE(FileExists(inbox / "a.GRP"));
    EXPECT_EQ(CurrentId(), "a.GRP");
}

// ---- Saving one item, types ----

TEST_F(ItemSelection, ASaveOfOneItemAnswersOneAndWritesNoIndex)
{
    OpenInbox();
    EXPECT_EQ(StoreItem_SaveToStore(), 1u);
    ASSERT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", "changed"), 1u);
    const std::string before = ReadFileBytes(inbox / "_index.xml");
    const std::string message = ReadFileBytes(inbox / "1.MAI");
    EXPECT_EQ(StoreItem_SaveToStore(), 1u);
    EXPECT_EQ(ReadFileBytes(inbox / "_index.xml"), before);
    EXPECT_EQ(ReadFileBytes(inbox / "1.MAI"), message);
    EXPECT_EQ(Changed(), 1u);
}

TEST_F(ItemSelection, AnotherIdMovesTheItemAndIsSaved)
{
    OpenInbox();
    Age(inbox);
    fs::rename(inbox / "2.MAI", inbox / "8.MAI");
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    const uint32_t uid = Handle().Item->Uid();
    ASSERT_EQ(StoreItem_SetProperty("", "VL_ITEM_ID", "1.MAI"), 1u);
    EXPECT_EQ(Property("VL_ITEM_ID"), "2.MAI") << "that name is taken";
    EXPECT_EQ(Changed(), 0u);
    ASSERT_EQ(StoreItem_SetProperty("", "VL_ITEM_ID", "8.MAI"), 1u);
    EXPECT_EQ(Property("VL_ITEM_ID"), "8.MAI");
    ASSERT_EQ(StoreFolder_Save(0), 1u);
    StoreFolder_Close();
    OpenInbox();
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "8.MAI", "3.MAI"}));
    ASSERT_EQ(StoreFolder_SelectItem("8.MAI"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "two");
    EXPECT_EQ(Handle().Item->Uid(), uid);
}

TEST_F(ItemSelection, ARenamedItemThatIsDeletedIsStruckOut)
{
    OpenInbox();
    Age(inbox);
    ASSERT_EQ(StoreItem_SetProperty("2.MAI", "VL_ITEM_ID", "8.MAI"), 1u);
    ASSERT_EQ(StoreFolder_DeleteItem("8.MAI"), 1u);
    fs::remove(inbox / "2.MAI");
    ASSERT_EQ(StoreFolder_Save(0), 1u);
    StoreFolder_Close();
    OpenInbox();
    EXPECT_EQ(Walk(), (Ids{"1.MAI", "3.MAI"}));
}

TEST(ItemPropertyType, AnUnknownNameIsATextOfAKnownClassAndNothingOfAnother)
{
    EXPECT_EQ(StoreItemProperty_GetType("PR_NOBODY_KNOWS", 7), 0u);
    for (const uint32_t known : {0u, 1u, 2u, 3u, 4u}) EXPECT_EQ(StoreItemProperty_GetType("PR_NOBODY_KNOWS", known), 1u) << known;
    EXPECT_EQ(StoreItemProperty_GetType(nullptr, 7), 0u);
}

TEST(ItemPropertyType, ANameHasTheTypeThatAGetHandsOut)
{
    EXPECT_EQ(StoreItemProperty_GetType("PR_SUBJECT", 0), 8u);
    EXPECT_EQ(StoreItemProperty_GetType("pr_sensitivity", 0), 7u);
    EXPECT_EQ(StoreItemProperty_GetType("PR_BNP_Start", 2), 3u);
    EXPECT_EQ(StoreItemProperty_GetType("PR_BNP_Start", 7), 3u) << "mail and contacts do not know it";
    EXPECT_EQ(StoreItemProperty_GetType("PR_BIRTHDAY", 7), 3u);
}

}  // namespace
}  // namespace velmora::test
