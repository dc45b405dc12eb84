#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/Text.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemOperations.h"
#include "items/ColumnValue.h"
#include "items/PropertyConversion.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

struct Freed {
    void operator()(void* value) const { std::free(value); }
};
using Owned = std::unique_ptr<void, Freed>;

// ---- Through the back-end ----

class MailItem : public testing::Test {
protected:
    MailItem()
    {
        index_.Table.LoadLevel = 3;
        auto item = std::make_unique<IndexItemPropertyContainer>();
        item->SetText("ID", "a.MAI");
        item->SetText("SUBJECT", "Hello");
        item->SetText("SENSITIVITY", "2");
        item->SetText("MODIFIEDDATE", "1044860928");
        item->SetText("FLAGSTATUS", "\\RECENT");
        item->SetText("SIZE", "345");
        item->SetNumber("READ", 1);
        handle_.Item = item.get();
        EXPECT_TRUE(InsertItem(index_.Table, item.get()));
        item.release();
        handle_.Class = kKindMail;
        CopyBounded(handle_.Mailbox, "box");
        CopyBounded(handle_.Folder, "Inbox");
        CopyBounded(handle_.FolderPath, "\\po\\MAILROOT\\box\\Inbox");
    }
    ~MailItem() override
    {
        UnInit(index_.Table);
        delete index_.Table.Content;
    }

    std::string Text(const char* name)
    {
        void* value = this;
        uint64_t size = 99;
        const uint64_t status = ReadItemProperty(&handle_, name, &value, &size);
        if (status != 2) {
            EXPECT_EQ(status, kNoProperty);
            EXPECT_EQ(value, nullptr);
            EXPECT_EQ(size, 0u);
            return "(none)";
        }
        const Owned owner(value);
        EXPECT_EQ(size, std::strlen(static_cast<const char*>(value)) + 1);
        return static_cast<const char*>(value);
    }
    int32_t Number(const char* name)
    {
        void* value = nullptr;
        uint64_t size = 0;
        EXPECT_EQ(ReadItemProperty(&handle_, name, &value, &size), 2u);
        const Owned owner(value);
        EXPECT_EQ(size, 4u);
        int32_t number = -99;
        if (value) std::memcpy(&number, value, sizeof number);
        return number;
    }
    uint64_t Set(const char* id, const char* name, const char* value)
    {
        return BackendFor(kKindMail).setProperty(&index_, handle_, id, name, value);
    }
    std::string Column(const char* column)
    {
        std::string text = "(none)";
        handle_.Item->GetText(column, text);
        return text;
    }

    STOREINDEXTYPE index_;
    STOREITEMTYPE handle_;
};

TEST_F(MailItem, ColumnsAreReadByTheirPublicNames)
{
    EXPECT_EQ(Text("PR_SUBJECT"), "Hello");
    EXPECT_EQ(Text("pr_subject"), "Hello");
    EXPECT_EQ(Text("VL_ITEM_ID"), "a.MAI");
    EXPECT_EQ(Text("PR_VL_SIZE"), "345");
    EXPECT_EQ(Text("PR_VL_READ"), "1");
    EXPECT_EQ(Text("PR_VL_MODIFIEDDATE"), "1044860928");
}

TEST_F(MailItem, NumbersAreReadAsFourBytes)
{
    EXPECT_EQ(Number("PR_SENSITIVITY"), 2);
    EXPECT_EQ(Number("VL_ITEM_MODIFIEDDATE"), 1044860928);
    EXPECT_EQ(Number("VL_ITEM_CLASS"), 0);
}

TEST_F(MailItem, AColumnThatIsNotThereHasNoProperty)
{
    EXPECT_EQ(Text("PR_VL_CC"), "(none)");
    EXPECT_EQ(Text("SUBJECT"), "(none)");
    EXPECT_EQ(Text("PR_NICKNAME"), "(none)");
    EXPECT_EQ(Text(""), "(none)");
    EXPECT_EQ(Text(nullptr), "(none)");
}

TEST_F(MailItem, AnEmptyColumnIsAnEmptyText)
{
    handle_.Item->SetText("CC", "");
    EXPECT_EQ(Text("PR_VL_CC"), "");
}

TEST_F(MailItem, WithoutAnItemOnlyTheContextAnswers)
{
    handle_.Item = nullptr;
    EXPECT_EQ(Text("PR_SUBJECT"), "(none)");
    EXPECT_EQ(Text("VL_ITEM_ID"), "(none)");
    EXPECT_EQ(Text("VL_ITEM_CLASS"), "(none)");
    EXPECT_EQ(Text("VL_FOLDER"), "Inbox");
}

TEST_F(MailItem, NamesThatTheTableMissesFallBackToTheContext)
{
    EXPECT_EQ(Text("VL_MAILBOX"), "box");
    EXPECT_EQ(Text("vl_folder_path"), "\\po\\MAILROOT\\box\\Inbox");
    EXPECT_EQ(Text("VL_POSTOFFICE"), "(none)");
}

TEST_F(MailItem, AValueEndsAtAZeroByte)
{
    handle_.Item->SetText("SUBJECT", std::string_view("ab\0cd", 5));
    EXPECT_EQ(Text("PR_SUBJECT"), "ab");
}

TEST_F(MailItem, TextOfAFixedSizeFillsItsField)
{
    for (const int32_t stored : {PropText, PropString}) {
        for (const size_t length : {5u, 1023u, 1024u, 5000u}) {
            handle_.Item->SetText("SUBJECT", std::string(length, 's'));
            void* value = nullptr;
            uint64_t size = 0;
            ASSERT_EQ(GetColumnValue(handle_, {"SUBJECT", 0, PropText, stored}, &value, &size), 2u);
            const Owned owner(value);
            ASSERT_EQ(size, 1024u);
            std::string expected(std::min<size_t>(length, 1023), 's');
            expected.resize(1024, '\0');
            EXPECT_EQ(std::string(static_cast<const char*>(value), 1024), expected) << stored << " " << length;
        }
    }
}

TEST_F(MailItem, ALongSubjectIsReadWhole)
{
    handle_.Item->SetText("SUBJECT", std::string(100000, 's'));
    EXPECT_EQ(Text("PR_SUBJECT"), std::string(100000, 's'));
}

TEST_F(MailItem, ASetWritesTextIntoTheColumn)
{
    EXPECT_EQ(Set(nullptr, "pr_vl_from", "someone"), 1u);
    EXPECT_EQ(Text("PR_VL_FROM"), "someone");
    EXPECT_EQ(Set("a.MAI", "PR_SENSITIVITY", "3"), 1u);
    EXPECT_EQ(Number("PR_SENSITIVITY"), 3);
    EXPECT_EQ(index_.Changed, 1u);
    EXPECT_EQ(Column("VL_STATUS"), "1");
}

TEST_F(MailItem, ASetByNameMakesAnItemThatDoesNotExist)
{
    EXPECT_EQ(Set("new.MAI", "PR_SUBJECT", "fresh"), 1u);
    EXPECT_EQ(Text("VL_ITEM_ID"), "new.MAI");
    EXPECT_EQ(Text("PR_SUBJECT"), "fresh");
    EXPECT_EQ(ItemCountOf(index_.Table), 2u);
}

TEST_F(MailItem, ASetThroughAnUnknownNameIsRefused)
{
    EXPECT_EQ(Set(nullptr, "SUBJECT", "x"), 0u);
    EXPECT_EQ(Set(nullptr, nullptr, "x"), 0u);
    EXPECT_EQ(Set(nullptr, "PR_SUBJECT", nullptr), 0u);
    EXPECT_EQ(index_.Changed, 0u);
    EXPECT_EQ(Text("PR_SUBJECT"), "Hello");
}

TEST_F(MailItem, TheComputedClassCannotBeSet)
{
    EXPECT_EQ(Set(nullptr, "VL_ITEM_CLASS", "2"), 0u);
    EXPECT_EQ(Column("!CLASS"), "(none)");
}

TEST_F(MailItem, FlagsThatAHostWritesLeaveReadAlone)
{
    EXPECT_EQ(Set(nullptr, "PR_VL_FLAGSTATUS", "\\FLAGGED"), 1u);
    EXPECT_EQ(Column("FLAGSTATUS"), "\\FLAGGED");
    EXPECT_EQ(Column("READ"), "1");
}

// ---- Files of items ----

TEST_F(MailItem, DeletesTheFileOfItsItem)
{
    const TempDirectory directory;
    CopyBounded(handle_.FolderPath, directory.Str());
    WriteFileBytes(directory / "a.MAI", "x");
    WriteFileBytes(directory / "b.MAI", "x");
    EXPECT_TRUE(BackendFor(kKindMail).deleteItemFile(handle_, "b.MAI"));
    EXPECT_EQ(FileNames(directory.Path()), std::vector<std::string>{"b.MAI"});
    EXPECT_TRUE(BackendFor(kKindMail).deleteItemFile(handle_, "b.MAI"));
    handle_.Item = nullptr;
    EXPECT_TRUE(BackendFor(kKindMail).deleteItemFile(handle_, "b.MAI"));
    EXPECT_TRUE(FileNames(directory.Path()).empty());
}

TEST_F(MailItem, AnIdThatNamesAnotherDirectoryDeletesNothing)
{
    const TempDirectory directory;
    std::filesystem::create_directory(directory / "in");
    WriteFileBytes(directory / "precious", "x");
    CopyBounded(handle_.FolderPath, directory.Str() + "/in");
    handle_.Item = nullptr;
    for (const char* id : {"..\\precious", "../precious", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(BackendFor(kKindMail).deleteItemFile(handle_, id));
    EXPECT_TRUE(FileExists(directory / "precious"));
}

// ---- The table of back-ends ----

TEST(Backends, MailReadsMaiFiles)
{
    EXPECT_STREQ(BackendFor(kKindMail).extension, "MAI");
    EXPECT_FALSE(BackendFor(kKindMail).stampsFromFile);
    STOREITEMTYPE handle;
    EXPECT_EQ(BackendFor(kKindMail).saveItem(nullptr, handle), 1u);
}

TEST(Backends, AKindWithoutItsFilesHasNoPropertyThatIsNotInTheIndex)
{
    for (const uint32_t kind : {kKindContacts, kKindCalendar, kKindTasks, kKindFiles, kKindCalendarDocument, kKindGroups, 7u, UINT32_MAX}) {
        const ItemBackend& backend = BackendFor(kind);
        EXPECT_STREQ(backend.extension, "") << kind;
        STOREITEMTYPE handle;
        IndexItemPropertyContainer item;
        item.SetText("ID", "x");
        handle.Item = &item;
        void* value = &handle;
        uint64_t size = 5;
        // A class above the files has no properties at all, so its answer does not send the caller on to the folder's.
        EXPECT_EQ(backend.getProperty(handle, "PR_SUBJECT", &value, &size), kind > kKindFiles ? 0 : kNoProperty) << kind;
        EXPECT_EQ(value, nullptr) << kind;
        EXPECT_EQ(backend.saveItem(nullptr, handle), 1u) << kind;
        EXPECT_FALSE(backend.deleteItemFile(handle, "x")) << kind;
    }
}

TEST(Backends, KindsWithTheirOwnNamesRefuseAndTheOthersTakeTheNameAsTheColumn)
{
    const auto set = [](uint32_t kind) {
        STOREITEMTYPE handle;
        IndexItemPropertyContainer item;
        item.SetText("ID", "x");
        handle.Item = &item;
        const uint64_t answer = BackendFor(kind).setProperty(nullptr, handle, nullptr, "ANYTHING", "value");
        std::string text;
        item.GetText("ANYTHING", text);
        EXPECT_EQ(text, answer == 1 ? "value" : "") << kind;
        return answer;
    };
    EXPECT_EQ(set(kKindContacts), 0u);
    for (const uint32_t kind : {kKindCalendar, kKindTasks}) EXPECT_EQ(set(kind), kNoProperty) << kind;
    for (const uint32_t kind : {kKindFiles, kKindGroups, 7u}) EXPECT_EQ(set(kind), 1u) << kind;
}

TEST(Backends, OnlyKnownKindsCanBeRebuilt)
{
    for (const uint32_t kind : {kKindMail, kKindContacts, kKindCalendar, kKindTasks, kKindGroups})
        EXPECT_NE(BackendFor(kind).rebuild, nullptr) << kind;
    for (const uint32_t kind : {kKindFiles, kKindCalendarDocument, 7u}) EXPECT_EQ(BackendFor(kind).rebuild, nullptr) << kind;
}

TEST_F(MailItem, ARebuiltGroupsIndexIsEmpty)
{
    BackendFor(kKindGroups).rebuild(&index_, index_.Table, "unused");
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
    EXPECT_EQ(index_.Table.LoadLevel, 3);
    handle_.Item = nullptr;
}

TEST_F(MailItem, AnAbsentKindKeepsItsItemsThroughScanAndRebuild)
{
    for (const uint32_t kind : {kKindContacts, kKindCalendar, kKindTasks}) {
        BackendFor(kind).rebuild(&index_, index_.Table, "unused");
        BackendFor(kind).scan(&index_, index_.Table, "unused", kScanCallerHolds, 0);
        EXPECT_EQ(ItemCountOf(index_.Table), 1u) << kind;
    }
    EXPECT_EQ(BackendFor(kKindTasks).scan(&index_, index_.Table, "unused", kScanCallerHolds, 0), 1u);
}

}  // namespace
}  // namespace velmora::test
