// Properties of calendar entries, tasks, files and contacts, through the back-ends: columns, item files, the place in the
// store.
#include "items/ItemProperties.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "common/Text.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemOperations.h"
#include "items/CalendarProperties.h"
#include "items/ColumnValue.h"
#include "items/ContactProperties.h"
#include "items/DateForms.h"
#include "items/FileProperties.h"
#include "items/ItemBody.h"
#include "platform/win32.h"
#include "tests/index/TestTable.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

struct Freed {
    void operator()(void* value) const { std::free(value); }
};
using Owned = std::unique_ptr<void, Freed>;

constexpr uint32_t kAllKinds[] = {kKindMail, kKindContacts, kKindCalendar, kKindTasks, kKindFiles};

class ItemOfKind : public testing::Test {
protected:
    ItemOfKind()
    {
        index_.Table.LoadLevel = 3;
        auto item = std::make_unique<IndexItemPropertyContainer>();
        item->SetText("ID", "a.itm");
        handle_.Item = item.get();
        EXPECT_TRUE(InsertItem(index_.Table, item.get()));
        item.release();
        CopyBounded(handle_.FolderPath, "\\po\\MAILROOT\\box\\Folder");
    }
    ~ItemOfKind() override
    {
        UnInit(index_.Table);
        delete index_.Table.Content;
    }

    // The bytes of a property, or "(none)".
    std::string Bytes(uint32_t kind, const char* name)
    {
        handle_.Class = kind;
        void* value = this;
        uint64_t size = 99;
        const uint64_t status = ReadItemProperty(&handle_, name, &value, &size);
        if (status != 2) {
            EXPECT_EQ(status, kNoProperty) << name;
            EXPECT_EQ(value, nullptr) << name;
            EXPECT_EQ(size, 0u) << name;
            return "(none)";
        }
        const Owned owner(value);
        return {static_cast<const char*>(value), static_cast<size_t>(size)};
    }
    template <typename Value>
    Value Number(uint32_t kind, const char* name)
    {
        const std::string bytes = Bytes(kind, name);
        Value value{};
        EXPECT_EQ(bytes.size(), sizeof value) << name;
        if (bytes.size() == sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    std::string Text(uint32_t kind, const char* name)
    {
        const std::string bytes = Bytes(kind, name);
        if (bytes == "(none)") return bytes;
        EXPECT_EQ(bytes.size(), std::strlen(bytes.c_str()) + 1) << name;
        return bytes.c_str();
    }

    uint64_t SetBytes(uint32_t kind, const char* name, const void* value, const char* id = nullptr)
    {
        handle_.Class = kind;
        return BackendFor(kind).setProperty(&index_, handle_, id, name, value);
    }
    template <typename Value>
    uint64_t Set(uint32_t kind, const char* name, Value value)
    {
        return SetBytes(kind, name, &value);
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

// ---- Columns ----

TEST_F(ItemOfKind, TheSensitivityOfACalendarEntryIsStoredAsItsNumber)
{
    for (const uint32_t kind : {kKindCalendar, kKindTasks}) {
        EXPECT_EQ(Set(kind, "PR_SENSITIVITY", int32_t{2}), 1u);
        EXPECT_EQ(Column("SENSITIVITY"), "2");
        EXPECT_EQ(Number<int32_t>(kind, "pr_sensitivity"), 2);
    }
}

TEST_F(ItemOfKind, ThePercentageOfATaskHasTwoPlacesAndIsAlignedToTheRight)
{
    EXPECT_EQ(Set(kKindTasks, "PR_BNP_PercentComplete", 0.5), 1u);
    EXPECT_EQ(Column("PERCCOMP"), "      0.50");
    EXPECT_EQ(Number<double>(kKindTasks, "PR_BNP_PercentComplete"), 0.5);
}

TEST_F(ItemOfKind, TheStartOfACalendarEntryIsStoredInUnixSeconds)
{
    EXPECT_EQ(Set(kKindCalendar, "PR_BNP_Start", UnixTimeToFileTime(10)), 1u);
    EXPECT_EQ(Column("STARTIME"), "10");
    EXPECT_EQ(Number<uint64_t>(kKindCalendar, "PR_START_DATE"), UnixTimeToFileTime(10));
    EXPECT_EQ(Set(kKindTasks, "PR_BNP_DueDate", UnixTimeToFileTime(-10)), 1u);
    EXPECT_EQ(Column("DUEDATE"), "-10");
    EXPECT_EQ(Number<uint64_t>(kKindTasks, "PR_BNP_DueDate"), UnixTimeToFileTime(-10));
}

TEST_F(ItemOfKind, AnEmptyBirthdayReadsAsTheMomentThatStandsForNone)
{
    handle_.Item->SetText("BDAY", "");
    PropertyBinding binding;
    ASSERT_TRUE(ResolveContactProperty("PR_BIRTHDAY", binding));
    void* value = nullptr;
    uint64_t size = 0;
    ASSERT_EQ(GetColumnValue(handle_, binding, &value, &size, "pr_birthday"), 2u);
    const Owned owner(value);
    ASSERT_EQ(size, 8u);
    uint64_t moment = 0;
    std::memcpy(&moment, value, sizeof moment);
    EXPECT_EQ(moment, 0x01E9FD1ED4A5E980ull);
    // Under another name an empty text is no date.
    EXPECT_EQ(GetColumnValue(handle_, binding, &value, &size, "PR_OTHER"), kNoProperty);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST_F(ItemOfKind, AFlagIsStoredAsADigitAndReadInEitherForm)
{
    EXPECT_EQ(Set(kKindCalendar, "PR_BNP_AllDayEvent", int32_t{-1}), 1u);
    EXPECT_EQ(Column("ALLDAYEVENT"), "1");
    EXPECT_EQ(Number<int32_t>(kKindCalendar, "PR_BNP_AllDayEvent"), 1);
    for (const char* text : {"TRUE", "true", "True"}) {
        handle_.Item->SetText("ALLDAYEVENT", text);
        EXPECT_EQ(Number<int32_t>(kKindCalendar, "PR_BNP_AllDayEvent"), 1) << text;
    }
    for (const char* text : {"yes", "FALSE", "0", ""}) {
        handle_.Item->SetText("ALLDAYEVENT", text);
        EXPECT_EQ(Number<int32_t>(kKindCalendar, "PR_BNP_AllDayEvent"), 0) << text;
    }
}

TEST_F(ItemOfKind, TextIsStoredAsItIs)
{
    for (const uint32_t kind : {kKindCalendar, kKindTasks}) {
        const std::string subject(3000, 's');
        EXPECT_EQ(SetBytes(kind, "PR_SUBJECT", subject.c_str()), 1u);
        EXPECT_EQ(Text(kind, "PR_SUBJECT"), subject);
    }
    EXPECT_EQ(Text(kKindFiles, "PR_SUBJECT"), std::string(3000, 's'));
}

TEST_F(ItemOfKind, AColumnOfAFixedSizeIsCutToIt)
{
    // The field of 1,024 bytes holds 1,023 and its end, so the digit behind them is not read.
    handle_.Item->SetText("SENSITIVITY", std::string(1022, ' ') + "12");
    EXPECT_EQ(Number<int32_t>(kKindCalendar, "PR_SENSITIVITY"), 1);
}

TEST_F(ItemOfKind, NumbersInTheirOwnFormAreReadToTheirFullWidth)
{
    handle_.Item->SetText("SHORT", "ab");
    void* value = nullptr;
    uint64_t size = 0;
    // A column of fewer bytes than the number that is asked for.
    ASSERT_EQ(GetColumnValue(handle_, {"SHORT", 0, PropDouble, PropDouble}, &value, &size), 2u);
    const Owned owner(value);
    EXPECT_EQ(std::string(static_cast<const char*>(value), 8), std::string("ab\0\0\0\0\0\0", 8));
    // A type that has no size holds nothing.
    EXPECT_EQ(GetColumnValue(handle_, {"SHORT", 0, PropFileTime, PropCalendarText}, &value, &size), kNoProperty);
}

TEST_F(ItemOfKind, AReadTakesNoPlaceForItsColumn)
{
    const auto names = IndexPropertyTable::Count();
    void* value = nullptr;
    uint64_t size = 0;
    EXPECT_EQ(GetColumnValue(handle_, {"NOBODY_WROTE_IT"}, &value, &size), kNoProperty);
    EXPECT_EQ(GetColumnValue(handle_, {"@NOBODY_WROTE_IT"}, &value, &size), kNoProperty);
    EXPECT_EQ(IndexPropertyTable::Count(), names);
    handle_.Item->SetText("NOBODY_WROTE_IT", "");
    EXPECT_EQ(IndexPropertyTable::Count(), names + 1);
}

TEST_F(ItemOfKind, WideTextCountsItsBytes)
{
    handle_.Item->SetText("NAME", "h\xFC");
    void* value = nullptr;
    uint64_t size = 0;
    ASSERT_EQ(GetColumnValue(handle_, {"NAME", 0, PropWideString, PropString}, &value, &size), 2u);
    const Owned owner(value);
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(std::u16string(static_cast<const char16_t*>(value)), u"h\u00FC");
}

TEST_F(ItemOfKind, AnItemKnowsItsClass)
{
    for (const uint32_t kind : kAllKinds) EXPECT_EQ(Number<int32_t>(kind, "VL_ITEM_CLASS"), static_cast<int32_t>(kind));
    for (const uint32_t kind : {kKindCalendar, kKindTasks}) {
        EXPECT_EQ(Set(kind, "VL_ITEM_CLASS", int32_t{1}), 0u) << kind;
        EXPECT_EQ(Column("!CLASS"), "(none)") << kind;
    }
    EXPECT_EQ(index_.Changed, 0u);
}

TEST_F(ItemOfKind, AKeyIsReadByItsPublicName)
{
    for (const uint32_t kind : kAllKinds) EXPECT_EQ(Text(kind, "vl_item_id"), "a.itm") << kind;
}

TEST_F(ItemOfKind, AnItemKnowsItsLastChange)
{
    for (const uint32_t kind : kAllKinds) EXPECT_EQ(Bytes(kind, "VL_ITEM_MODIFIEDDATE"), "(none)") << kind;
    handle_.Item->SetText("MODIFIEDDATE", "1055212345");
    for (const uint32_t kind : kAllKinds) EXPECT_EQ(Number<int32_t>(kind, "vl_item_modifieddate"), 1055212345) << kind;
}

TEST_F(ItemOfKind, AMissingItemHasNoPropertyAndIsNotMade)
{
    handle_.Item->SetText("SUBJECT", "there");
    handle_.Item = nullptr;
    for (const uint32_t kind : kAllKinds)
        for (const char* name : {"PR_SUBJECT", "PR_BODY", "PR_CREATED_DATE", "PR_FILE_TYPE", "VL_ITEM_ID", "VL_ITEM_CLASS"})
            EXPECT_EQ(Bytes(kind, name), "(none)") << kind << " " << name;
    EXPECT_EQ(ItemCountOf(index_.Table), 1u);
}

// ---- Writing ----

TEST_F(ItemOfKind, AWriteMarksTheFolderAndTheItem)
{
    EXPECT_EQ(Set(kKindTasks, "PR_BNP_Status", int32_t{3}), 1u);
    EXPECT_EQ(Column("STATUS"), "3");
    EXPECT_EQ(index_.Changed, 1u);
    EXPECT_EQ(Column("VL_STATUS"), "1");
}

TEST_F(ItemOfKind, AWriteByIdMakesTheItem)
{
    EXPECT_EQ(SetBytes(kKindCalendar, "PR_SUBJECT", "fresh", "new.CAL"), 1u);
    EXPECT_EQ(ItemCountOf(index_.Table), 2u);
    EXPECT_EQ(Text(kKindCalendar, "VL_ITEM_ID"), "new.CAL");
    EXPECT_EQ(Text(kKindCalendar, "PR_SUBJECT"), "fresh");
}

TEST_F(ItemOfKind, AnUnknownNameIsRefusedByEachKindInItsOwnWay)
{
    EXPECT_EQ(SetBytes(kKindMail, "PR_NOBODY_KNOWS", "x"), 0u);
    EXPECT_EQ(SetBytes(kKindContacts, "PR_NOBODY_KNOWS", "x"), 0u);
    EXPECT_EQ(SetBytes(kKindCalendar, "PR_NOBODY_KNOWS", "x"), kNoProperty);
    EXPECT_EQ(SetBytes(kKindTasks, "PR_NOBODY_KNOWS", "x"), kNoProperty);
    EXPECT_EQ(SetBytes(kKindTasks, nullptr, "x"), kNoProperty);
    EXPECT_EQ(index_.Changed, 0u);
    EXPECT_EQ(ItemCountOf(index_.Table), 1u);
}

TEST_F(ItemOfKind, NoValueIsNotStored)
{
    for (const uint32_t kind : {kKindCalendar, kKindTasks}) {
        EXPECT_EQ(SetBytes(kind, "PR_SUBJECT", nullptr), 0u);
        EXPECT_EQ(SetBytes(kind, "PR_SENSITIVITY", nullptr), 0u);
    }
    EXPECT_EQ(index_.Changed, 0u);
}

TEST_F(ItemOfKind, AValueWithoutAConversionIsReported)
{
    uint64_t answer = 99;
    const std::string printed = CaptureStdout([&] { answer = SetBytes(kKindCalendar, "PR_BNP_vCalendar_UNICODE", "BEGIN:VCALENDAR\r\n"); });
    EXPECT_EQ(printed, "No Conversion Available");
    // It belongs into the item's file, and nobody writes one.
    EXPECT_EQ(answer, 0u);
    EXPECT_EQ(Column("VCALENDAR"), "(none)");
    EXPECT_EQ(CaptureStdout([&] { SetBytes(kKindCalendar, "PR_SUBJECT", "quiet"); }), "");
}

std::string writtenId;
std::string writtenColumn;
std::string writtenText;

bool WriteBody(STOREITEMTYPE& handle, const char* column, const char* text)
{
    writtenId = handle.Item->Id();
    writtenColumn = column;
    writtenText = text;
    return true;
}

bool WriteNothing(STOREITEMTYPE&, const char*, const char*) { return false; }

class BodyOfKind : public ItemOfKind {
protected:
    BodyOfKind()
    {
        writtenId = writtenColumn = writtenText = "(none)";
        EXPECT_NE(Add(index_.Table, "b.itm"), nullptr);
    }

    uint64_t Write(const char* name, const void* value, const char* id = nullptr, ItemBodyWriter writer = WriteBody)
    {
        return SetPropertyByTable(ResolveCalendarProperty, &index_, handle_, id, name, value, writer);
    }
};

TEST_F(BodyOfKind, GoesToItsColumnOfTheItemsFile)
{
    EXPECT_EQ(Write("PR_BODY", "the notes"), 1u);
    EXPECT_EQ(writtenColumn, "BODY");
    EXPECT_EQ(writtenText, "the notes");
    EXPECT_EQ(Write("PR_BNP_vCalendar", "BEGIN:VCALENDAR"), 1u);
    EXPECT_EQ(writtenColumn, "VCALENDAR");
    EXPECT_EQ(writtenText, "BEGIN:VCALENDAR");
    EXPECT_EQ(writtenId, "a.itm");
    EXPECT_EQ(Write("PR_BODY", "the notes", nullptr, WriteNothing), 0u);
}

TEST_F(BodyOfKind, WithoutAConversionArrivesAsItIs)
{
    constexpr const char* kCalendar = "BEGIN:VCALENDAR\r\nSUMMARY;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:=41\r\n";
    uint64_t answer = 99;
    EXPECT_EQ(CaptureStdout([&] { answer = Write("PR_BNP_vCalendar_UNICODE", kCalendar); }), "No Conversion Available");
    EXPECT_EQ(answer, 1u);
    EXPECT_EQ(writtenColumn, "VCALENDAR");
    EXPECT_EQ(writtenText, kCalendar);
}

TEST_F(BodyOfKind, GoesToTheItemThatIsNamedAndSelectsIt)
{
    EXPECT_EQ(Write("PR_BODY", "of another", "b.itm"), 1u);
    EXPECT_EQ(writtenId, "b.itm");
    EXPECT_EQ(writtenText, "of another");
    EXPECT_EQ(Text(kKindCalendar, "VL_ITEM_ID"), "b.itm");
    EXPECT_EQ(Write("PR_BODY", "of the selected", ""), 1u);
    EXPECT_EQ(writtenId, "b.itm");
    // With no index it is always the handle's item.
    EXPECT_EQ(SetPropertyByTable(ResolveCalendarProperty, nullptr, handle_, "a.itm", "PR_BODY", "mine", WriteBody), 1u);
    EXPECT_EQ(writtenId, "b.itm");
}

TEST_F(BodyOfKind, OfAnItemThatIsNotThereIsNotWritten)
{
    EXPECT_EQ(Write("PR_BODY", "of nobody", "c.itm"), 0u);
    EXPECT_EQ(ItemCountOf(index_.Table), 2u);
    EXPECT_EQ(Write("PR_BODY", "of nobody"), 0u);
    EXPECT_EQ(writtenId, "(none)");
}

TEST_F(ItemOfKind, AValueOfTheItemFileIsNoColumn)
{
    EXPECT_EQ(SetBytes(kKindCalendar, "PR_BODY", "notes"), 0u);
    EXPECT_EQ(SetBytes(kKindTasks, "PR_BNP_vCalendar", "BEGIN:VCALENDAR"), 0u);
    EXPECT_EQ(Column("BODY"), "(none)");
    EXPECT_EQ(Column("VCALENDAR"), "(none)");
    EXPECT_EQ(index_.Changed, 0u);
    handle_.Item->SetText("BODY", "a column of that name");
    for (const uint32_t kind : {kKindCalendar, kKindTasks, kKindFiles}) EXPECT_EQ(Bytes(kind, "PR_BODY"), "(none)") << kind;
}

TEST_F(ItemOfKind, FilesAreWrittenByTheNameOfTheColumn)
{
    EXPECT_EQ(SetBytes(kKindFiles, "SUBJECT", "a file"), 1u);
    EXPECT_EQ(Text(kKindFiles, "PR_SUBJECT"), "a file");
    // Kept: the public name is a column of its own there.
    EXPECT_EQ(SetBytes(kKindFiles, "PR_SUBJECT", "elsewhere"), 1u);
    EXPECT_EQ(Text(kKindFiles, "PR_SUBJECT"), "a file");
    EXPECT_EQ(Column("PR_SUBJECT"), "elsewhere");
}

// ---- The place in the store ----

TEST_F(ItemOfKind, TheFolderOfAnyItemCanBeRead)
{
    CopyBounded(handle_.Mailbox, "box");
    CopyBounded(handle_.Folder, "Folder");
    for (const uint32_t kind : kAllKinds) {
        EXPECT_EQ(Text(kind, "VL_FOLDER_PATH"), "\\po\\MAILROOT\\box\\Folder") << kind;
        EXPECT_EQ(Text(kind, "vl_mailbox"), "box") << kind;
        EXPECT_EQ(Text(kind, "VL_FOLDER"), "Folder") << kind;
        EXPECT_EQ(Text(kind, "VL_POSTOFFICE"), "(none)") << kind;
    }
}

TEST_F(ItemOfKind, AnUnknownNameWithNoPlaceInTheStoreHasNoProperty)
{
    handle_.FolderPath[0] = '\0';
    for (const uint32_t kind : kAllKinds)
        for (const char* name : {"PR_NOBODY_KNOWS", "SUBJECT", "", "VL_MAILBOX", "VL_FOLDER"})
            EXPECT_EQ(Bytes(kind, name), "(none)") << kind << " " << name;
}

// ---- Item files ----

std::string readPath;
std::string readName;
std::string body;

bool ReadBody(const std::string& path, std::string_view name, std::string& text)
{
    readPath = path;
    readName = name;
    text = body;
    return true;
}

bool ReadNothing(const std::string&, std::string_view, std::string&) { return false; }

class ItemBodyOfKind : public ItemOfKind {
protected:
    std::string Body(const char* name, MessageBodyReader reader = ReadBody)
    {
        PropertyBinding binding;
        EXPECT_TRUE(ResolveCalendarProperty(name, binding));
        void* value = this;
        uint64_t size = 99;
        const uint64_t status = GetItemBodyProperty(handle_, binding, name, &value, &size, reader);
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
};

TEST_F(ItemBodyOfKind, IsReadFromTheFileOfTheItem)
{
    body = "the notes";
    EXPECT_EQ(Body("PR_BODY"), "the notes");
    EXPECT_EQ(readPath, "\\po\\MAILROOT\\box\\Folder\\a.itm");
    EXPECT_EQ(readName, "PR_BODY");
}

TEST_F(ItemBodyOfKind, IsReadWhole)
{
    body = std::string(32768, 'x');
    EXPECT_EQ(Body("PR_BODY"), body);
    EXPECT_EQ(Body("PR_BNP_vCalendar_UNICODE"), body);
}

TEST_F(ItemBodyOfKind, IsDecodedForThoseWhoAskForIt)
{
    body = "SUMMARY;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:=41\r\n";
    EXPECT_EQ(Body("PR_BNP_vCalendar"), body);
    EXPECT_EQ(Body("PR_BNP_vCalendar_UNICODE"), "SUMMARY;CHARSET=UTF-8:A\r\n");
}

TEST_F(ItemBodyOfKind, ThatCannotBeReadIsNoProperty) { EXPECT_EQ(Body("PR_BODY", ReadNothing), "(none)"); }

TEST_F(ItemBodyOfKind, OfAnItemThatNamesNoFileOfTheFolderIsNotLookedFor)
{
    IndexItemPropertyContainer item;
    handle_.Item = &item;
    readPath.clear();
    EXPECT_EQ(Body("PR_BODY"), "(none)");
    for (const char* id : {"", "..\\a.itm", "../a.itm"}) {
        item.SetText("ID", id);
        EXPECT_EQ(Body("PR_BODY"), "(none)") << id;
    }
    handle_.Item = nullptr;
    EXPECT_EQ(Body("PR_BODY"), "(none)");
    EXPECT_EQ(readPath, "");
}

class ItemFileOfKind : public ItemOfKind {
protected:
    ItemFileOfKind() { store_.Attach(); }

    TestStore store_;
};

TEST_F(ItemFileOfKind, IsFoundAlsoBehindAPlainSelection)
{
    const std::filesystem::path folder = store_.MakeFolder("Calendar");
    CopyBounded(handle_.Postoffice, "po");
    CopyBounded(handle_.Mailbox, "box");
    CopyBounded(handle_.Folder, "Calendar");
    handle_.FolderPath[0] = '\0';
    handle_.Class = kKindFiles;
    WriteFileBytes(folder / "a.itm", "x");
    EXPECT_EQ(Bytes(kKindFiles, "PR_LAST_MODIFIED_DATE").size(), 8u);
    EXPECT_NE(handle_.FolderPath[0], '\0');
}

TEST_F(ItemFileOfKind, TellsItsTimes)
{
    const TempDirectory& directory = store_.Directory();
    CopyBounded(handle_.FolderPath, directory.Str());
    WriteFileBytes(directory / "a.itm", "x");
    const std::string path = directory.Str() + "\\a.itm";
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    const FILETIME accessed = FileTimeFromValue(UnixTimeToFileTime(1200000000));
    const FILETIME written = FileTimeFromValue(UnixTimeToFileTime(1100000000));
    ASSERT_TRUE(SetFileTime(file, nullptr, &accessed, &written));
    CloseHandle(file);
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);

    EXPECT_EQ(Number<uint64_t>(kKindFiles, "PR_LAST_MODIFIED_DATE"), UnixTimeToFileTime(1100000000));
    EXPECT_EQ(Number<uint64_t>(kKindFiles, "PR_LAST_ACCESSED_DATE"), UnixTimeToFileTime(1200000000));
    EXPECT_EQ(Number<uint64_t>(kKindFiles, "PR_CREATED_DATE"), FileTimeValue(found.ftCreationTime));
    EXPECT_NE(FileTimeValue(found.ftCreationTime), UnixTimeToFileTime(1200000000));
    if (FileTimeValue(found.ftCreationTime) == FileTimeValue(found.ftLastWriteTime))
        GTEST_SKIP() << "the file system keeps no time of creation, so the last write stands for it";
    EXPECT_NE(Number<uint64_t>(kKindFiles, "PR_CREATED_DATE"), Number<uint64_t>(kKindFiles, "PR_LAST_MODIFIED_DATE"));
}

TEST_F(ItemFileOfKind, ThatIsNotThereHasNoTimes)
{
    CopyBounded(handle_.FolderPath, store_.Directory().Str());
    for (const char* name : {"PR_LAST_MODIFIED_DATE", "PR_CREATED_DATE", "PR_LAST_ACCESSED_DATE"})
        EXPECT_EQ(Bytes(kKindFiles, name), "(none)") << name;
}

TEST_F(ItemFileOfKind, TimesAreThoseOfTheVeryFile)
{
    const TempDirectory& directory = store_.Directory();
    std::filesystem::create_directory(directory / "below");
    WriteFileBytes(directory / "below/other", "x");
    WriteFileBytes(directory / "other", "x");
    CopyBounded(handle_.FolderPath, directory.Str());
    IndexItemPropertyContainer item;
    handle_.Item = &item;
    for (const char* id : {"", "*", "oth??", "below", ".", "..", "below\\other", "below/other", "..\\other"}) {
        item.SetText("ID", id);
        EXPECT_EQ(Bytes(kKindFiles, "PR_LAST_MODIFIED_DATE"), "(none)") << id;
    }
    item.SetText("ID", "OTHER");
    EXPECT_EQ(Bytes(kKindFiles, "PR_LAST_MODIFIED_DATE").size(), 8u);
    handle_.Item = nullptr;
}

TEST_F(ItemOfKind, TheTypeOfAFileIsAWordThatReadsAsZero)
{
    EXPECT_EQ(Number<int32_t>(kKindFiles, "PR_FILE_TYPE"), 0);
    handle_.Item->SetText("SIZE", "345");
    EXPECT_EQ(Number<int32_t>(kKindFiles, "PR_MESSAGE_SIZE"), 345);
    handle_.Item->SetNumber("READ", 1);
    EXPECT_EQ(Number<int32_t>(kKindFiles, "PR_VL_ReadStatus"), 1);
}

// ---- Contacts ----

TEST_F(ItemOfKind, ContactsAnswerNothingOfTheirOwnWithoutTheirFiles)
{
    handle_.Item->SetText("FN", "Somebody");
    EXPECT_EQ(Bytes(kKindContacts, "PR_DISPLAY_NAME"), "(none)");
    EXPECT_EQ(SetBytes(kKindContacts, "PR_DISPLAY_NAME", "Another"), 0u);
    EXPECT_EQ(Column("FN"), "Somebody");
    EXPECT_EQ(index_.Changed, 0u);
}

TEST_F(ItemFileOfKind, TheColumnWithAnEqualsSignComesBackFromTheIndexFile)
{
    PropertyBinding binding;
    ASSERT_TRUE(ResolveContactProperty("PR_ICQ", binding));
    ASSERT_EQ(WriteColumnValue(&index_, handle_, nullptr, binding.Column, "12345"), 1u);
    ASSERT_EQ(WriteColumnValue(&index_, handle_, nullptr, "FN", "Somebody"), 1u);
    const std::string folder = store_.MakeFolder("Contacts").string();
    ASSERT_EQ(SaveIndex(index_.Table, folder.c_str(), kKindContacts), 1u);

    TestTable loaded;
    IndexLoadArguments arguments;
    arguments.FolderPath = folder;
    arguments.IndexKind = kKindContacts;
    arguments.NoBlock = 1;
    arguments.CheckDirty = 0;
    ASSERT_TRUE(LoadIndex(loaded, arguments, 3));
    STOREITEMTYPE handle;
    handle.Item = FindLoadedItem(loaded, "a.itm");
    ASSERT_NE(handle.Item, nullptr);
    void* value = nullptr;
    uint64_t size = 0;
    ASSERT_EQ(GetColumnValue(handle, binding, &value, &size), 2u);
    const Owned owner(value);
    EXPECT_STREQ(static_cast<const char*>(value), "12345");
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(TextOf(*handle.Item, "FN"), "Somebody");
}

}  // namespace
}  // namespace velmora::test
