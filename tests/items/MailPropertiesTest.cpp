#include "items/MailProperties.h"

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

// ---- Names ----

TEST(MailTable, KnowsEveryNameInAnyCase)
{
    const std::pair<const char*, const char*> expected[] = {
        {"PR_VL_MODIFIEDDATE", "MODIFIEDDATE"},
        {"PR_VL_MESSAGEDATE", "MESSAGEDATE"},
        {"PR_VL_IMPORTANCE", "IMPORTANCE"},
        {"PR_SENSITIVITY", "SENSITIVITY"},
        {"PR_VL_FLAGSTATUS", "FLAGSTATUS"},
        {"PR_VL_ATTACHMENTS", "ATTACHMENTS"},
        {"PR_VL_FROM", "FROM"},
        {"PR_VL_TO", "TO"},
        {"PR_VL_CC", "CC"},
        {"PR_SUBJECT", "SUBJECT"},
        {"PR_VL_RECEIVED", "RECEIVED"},
        {"PR_VL_READ", "READ"},
        {"PR_VL_STATE", "STATE"},
        {"PR_VL_SIZE", "SIZE"},
        {"PR_VL_CLASS", "CLASS"},
        {"VL_ITEM_ID", "@ID"},
        {"VL_ITEM_CLASS", "!CLASS"},
        {"VL_ITEM_MODIFIEDDATE", "MODIFIEDDATE"},
    };
    for (const auto& [name, column] : expected) {
        PropertyBinding binding;
        ASSERT_TRUE(ResolveMailProperty(name, binding)) << name;
        EXPECT_STREQ(binding.Column, column) << name;
        EXPECT_EQ(binding.Position, 1) << name;
        EXPECT_EQ(binding.Storage, PropertyStorage::Column) << name;
        std::string lower = name;
        for (char& c : lower) c = LowerAscii(c);
        EXPECT_TRUE(ResolveMailProperty(lower, binding)) << lower;
    }
}

TEST(MailTable, GivesTextOnBothSidesButForFourNames)
{
    const auto types = [](const char* name) {
        PropertyBinding binding;
        EXPECT_TRUE(ResolveMailProperty(name, binding));
        return std::pair{binding.ClientType, binding.StoredType};
    };
    for (const char* name : {"PR_SUBJECT", "PR_VL_SIZE", "PR_VL_READ", "VL_ITEM_ID"}) EXPECT_EQ(types(name), (std::pair{8, 8})) << name;
    EXPECT_EQ(types("PR_SENSITIVITY"), (std::pair{7, 8}));
    EXPECT_EQ(types("VL_ITEM_CLASS"), (std::pair{7, 1}));
    EXPECT_EQ(types("VL_ITEM_MODIFIEDDATE"), (std::pair{7, 1}));
}

TEST(MailTable, AnUnknownNameHasNoColumnAndKeepsThePosition)
{
    for (const char* name : {"PR_NICKNAME", "SUBJECT", "", "PR_SUBJECTX", "VL_MAILBOX"}) {
        PropertyBinding binding;
        binding.Column = "before";
        EXPECT_FALSE(ResolveMailProperty(name, binding)) << name;
        EXPECT_STREQ(binding.Column, "") << name;
        EXPECT_EQ(binding.Position, 1) << name;
    }
}

TEST(ItemTable, LeavesThePositionToTheCaller)
{
    PropertyBinding binding;
    binding.Position = 5;
    ASSERT_TRUE(ResolveItemBinding("vl_item_class", binding));
    EXPECT_EQ(binding.Position, 5);
    EXPECT_STREQ(binding.Column, "!CLASS");
    EXPECT_FALSE(ResolveItemBinding("PR_SUBJECT", binding));
    EXPECT_STREQ(binding.Column, "!CLASS");
}

// ---- Conversion ----

TEST(PropertyTypes, HaveTheirSizes)
{
    const int32_t expected[] = {0, 1024, 1024, 8, 1024, 1024, 1024, 4, -1, 8, 4, 0, 4, 0, -1, -1, -1};
    for (int32_t type = 0; type <= 16; ++type) EXPECT_EQ(PropertyValueSize(type), expected[type]) << type;
    for (const int32_t type : {-1, 17, INT32_MAX, INT32_MIN}) EXPECT_EQ(PropertyValueSize(type), 0) << type;
}

struct Freed {
    void operator()(void* value) const { std::free(value); }
};
using Owned = std::unique_ptr<void, Freed>;

int32_t NumberFrom(int32_t from, int32_t to, const char* text)
{
    void* value = nullptr;
    EXPECT_EQ(ConvertPropertyValue(from, to, text, &value), Conversion::NewValue);
    const Owned owner(value);
    int32_t number = -99;
    if (value) std::memcpy(&number, value, sizeof number);
    return number;
}

TEST(PropertyConversion, TextPassesThroughItself)
{
    const char text[] = "same";
    void* value = nullptr;
    EXPECT_EQ(ConvertPropertyValue(1, 1, text, &value), Conversion::SameValue);
    EXPECT_EQ(value, text);
    EXPECT_EQ(ConvertPropertyValue(8, 1, text, &value), Conversion::SameValue);
    EXPECT_EQ(value, text);
}

TEST(PropertyConversion, AStringIsCopied)
{
    for (const int32_t to : {8, 14}) {
        void* value = nullptr;
        EXPECT_EQ(ConvertPropertyValue(8, to, "copied", &value), Conversion::NewValue);
        const Owned owner(value);
        EXPECT_STREQ(static_cast<const char*>(value), "copied");
    }
}

TEST(PropertyConversion, TextToANumberIsReadAsAtolDoes)
{
    for (const int32_t from : {1, 8}) {
        EXPECT_EQ(NumberFrom(from, 7, "42"), 42);
        EXPECT_EQ(NumberFrom(from, 7, " -7x"), -7);
        EXPECT_EQ(NumberFrom(from, 7, "99999999999"), INT32_MAX);
        EXPECT_EQ(NumberFrom(from, 7, "none"), 0);
    }
}

TEST(PropertyConversion, TheWordTrueAndTheDigitOneAreTrue)
{
    EXPECT_EQ(NumberFrom(1, 10, "TRUE"), 1);
    EXPECT_EQ(NumberFrom(1, 10, "true"), 1);
    EXPECT_EQ(NumberFrom(1, 10, "1"), 1);
    for (const char* text : {"", "0", "yes", "11", "TRUE "}) EXPECT_EQ(NumberFrom(1, 10, text), 0) << text;
}

TEST(PropertyConversion, SensitivityComparesExactly)
{
    EXPECT_EQ(NumberFrom(1, 12, "PUBLIC"), 0);
    EXPECT_EQ(NumberFrom(1, 12, "PRIVATE"), 2);
    EXPECT_EQ(NumberFrom(1, 12, "CONFIDENTIAL"), 3);
    for (const char* text : {"", "private", "PRIVATE ", "1"}) EXPECT_EQ(NumberFrom(1, 12, text), 0) << text;
}

TEST(PropertyConversion, PairsWithoutARuleAreRefused)
{
    for (const auto& [from, to] : {std::pair{0, 8}, {17, 8}, {8, 11}, {8, 13}, {1, 3}, {1, 2}, {2, 8}, {12, 12}, {14, 8}, {-1, 8}}) {
        void* value = &value;
        EXPECT_EQ(ConvertPropertyValue(from, to, "x", &value), Conversion::None) << from << " to " << to;
        EXPECT_EQ(value, nullptr);
    }
}

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
        const uint64_t status = StoreIndex_GetItemPropertyItem(&handle_, name, &value, &size);
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
        EXPECT_EQ(StoreIndex_GetItemPropertyItem(&handle_, name, &value, &size), 2u);
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

TEST(Backends, AnAbsentKindHasNoFilesAndNoProperties)
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
    for (const uint32_t kind : {kKindContacts, kKindCalendar, kKindTasks}) EXPECT_EQ(set(kind), 0u) << kind;
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
