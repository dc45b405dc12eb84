#include "index/FolderKind.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

using RecordLife = Life;

TEST(FolderKind, TheThreeNamesCountInAnyCaseBehindLeadingSeparators)
{
    EXPECT_EQ(ClassifyFolderName("CALENDAR"), kKindCalendar);
    EXPECT_EQ(ClassifyFolderName("Tasks"), kKindTasks);
    EXPECT_EQ(ClassifyFolderName("contacts"), kKindContacts);
    EXPECT_EQ(ClassifyFolderName("/Contacts"), kKindContacts);
    EXPECT_EQ(ClassifyFolderName("\\//\\cAlEnDaR"), kKindCalendar);
}

TEST(FolderKind, AnythingElseIsMail)
{
    for (const char* const name : {"", "/", "INBOX", "Contacts/Work", "Contacts/", "CALENDARS", "Calendar ", " TASKS", "TASK", "x/TASKS"})
        EXPECT_EQ(ClassifyFolderName(name), kKindMail) << name;
}

TEST(FolderKind, NoNameAtAllIsACalendar) { EXPECT_EQ(ClassifyFolderName(nullptr), kKindCalendar); }

TEST_F(RecordLife, InitOfANullRecordIsReported)
{
    uint64_t result = 1;
    const std::string printed = CaptureStdout([&] { result = StoreIndex_Init(nullptr); });
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(printed, "WARNING!: StoreIndex is NULL when passed to StoreIndex_Init\n");
}

TEST_F(RecordLife, InitEmptiesEveryField)
{
    Attach();
    STOREINDEXTYPE record;
    for (char* const text : {record.Postoffice, record.Mailbox, record.Folder, record.Path, record.InsertItem.Postoffice,
                             record.InsertItem.Mailbox, record.InsertItem.Folder, record.InsertItem.FolderPath})
        text[0] = 'x';
    auto* const item = new IndexItemPropertyContainer;
    item->SetText(kId, "1.MAI");
    ASSERT_TRUE(InsertItem(record.Table, item));
    record.InsertItem.Item = item;
    record.Table.LoadLevel = 3;
    record.IndexKind = 54;
    record.Changed = 1;
    record.LoadedLastUID = 7;
    record.IndexFileBytes = 8;
    record.RefCount = 9;

    EXPECT_EQ(StoreIndex_Init(&record), 1u);

    for (const char* const text : {record.Postoffice, record.Mailbox, record.Folder, record.Path, record.InsertItem.Postoffice,
                                   record.InsertItem.Mailbox, record.InsertItem.Folder, record.InsertItem.FolderPath})
        EXPECT_STREQ(text, "");
    EXPECT_EQ(ItemCountOf(record.Table), 0u);
    EXPECT_EQ(record.Table.LoadLevel, 0);
    EXPECT_EQ(record.Table.LastUID, 0u);
    EXPECT_EQ(record.InsertItem.Item, nullptr);
    EXPECT_EQ(record.IndexKind, 0u);
    EXPECT_EQ(record.Changed, 0u);
    EXPECT_EQ(record.LoadedLastUID, 0u);
    EXPECT_EQ(record.IndexFileBytes, 0);
    EXPECT_EQ(record.RefCount, 0u);
    EXPECT_EQ(record.Mutex, nullptr);
}

TEST_F(RecordLife, InitForgetsTheMutexWithoutClosingIt)
{
    STOREINDEXTYPE record;
    const HANDLE mutex = CreateMutexA(nullptr, 0, nullptr);
    record.Mutex = mutex;
    EXPECT_EQ(StoreIndex_Init(&record), 1u);
    EXPECT_EQ(record.Mutex, nullptr);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    CloseHandle(mutex);
}

TEST_F(RecordLife, ReleaseOfANullRecordIsZeroWithoutAWord)
{
    EXPECT_EQ(StoreIndex_Release(nullptr), 0u);
    EXPECT_TRUE(log.Lines().empty());
}

TEST_F(RecordLife, ReleaseEmptiesTheTableAndGivesTheMutexBack)
{
    Attach();
    HostRecord record("INBOX");
    record.Add("1.MAI");
    GiveMutex(*record);
    EXPECT_EQ(StoreIndex_Release(&record), 1u);
    EXPECT_EQ(record->Mutex, nullptr);
    EXPECT_EQ(record.Count(), 0u);
    EXPECT_STREQ(record->Folder, "INBOX");
    EXPECT_FALSE(record.Path().empty());
    EXPECT_EQ(StoreIndex_Release(&record), 1u) << "a second release finds nothing and is a success";
}

TEST_F(RecordLife, ResetOfANullRecordNamesTheReleaseInItsLine)
{
    EXPECT_EQ(StoreIndex_Reset(nullptr), 0u);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].second, "StoreIndex_Release::WARNING!: StoreIndex is NULL when passed to StoreIndex_Release\n");
}

TEST_F(RecordLife, ResetDropsItemsAndTheirPointersAndKeepsTheRest)
{
    Attach();
    HostRecord record("INBOX");
    record.Add("1.MAI");
    record->InsertItem.Item = record.Item("1.MAI");
    record->IndexFileBytes = 5;
    record->Changed = 1;
    record->Table.LoadSelection = "1.MAI";
    EXPECT_EQ(StoreIndex_Reset(&record), 1u);
    EXPECT_EQ(record->InsertItem.Item, nullptr);
    EXPECT_EQ(record.Count(), 0u);
    EXPECT_EQ(record->IndexFileBytes, 0);
    EXPECT_EQ(record->Changed, 1u);
    EXPECT_EQ(record->Table.LoadSelection, "1.MAI");
    EXPECT_EQ(StoreIndex_Reset(&record), 1u);
}

TEST_F(RecordLife, TheLargestNewMailCounterIsTakenAndAllGo)
{
    const fs::path box = store.MakeFolder("INBOX").parent_path();
    for (const char* const name : {"_3.NEW", "_12.NEW", "_007.new", "_5.old.NEW", "_x.NEW", "_-4.NEW", "_0.NEW", "_.NEW"})
        WriteFileBytes(box / name, "");
    WriteFileBytes(box / "9.NEW", "");
    WriteFileBytes(box / "_13.OLD", "");
    fs::create_directory(box / "_99.NEW");
    EXPECT_EQ(TakeNewMailCounter(box.string().c_str()), 12u);
    EXPECT_EQ(FileNames(box), (std::vector<std::string>{"9.NEW", "INBOX", "_13.OLD", "_99.NEW"}));
}

TEST_F(RecordLife, AMailboxWithoutCountersHasNoNewMail)
{
    const fs::path box = store.MakeFolder("INBOX").parent_path();
    EXPECT_EQ(TakeNewMailCounter(box.string().c_str()), 0u);
    EXPECT_EQ(TakeNewMailCounter((box / "gone").string().c_str()), 0u);
    EXPECT_EQ(TakeNewMailCounter(nullptr), 0u);
}

TEST_F(RecordLife, ACounterBeyondTheNumbersIsTheLargestNumber)
{
    const fs::path box = store.MakeFolder("INBOX").parent_path();
    WriteFileBytes(box / "_99999999999999999999.NEW", "");
    EXPECT_EQ(TakeNewMailCounter(box.string().c_str()), 0x7FFFFFFFu);
    EXPECT_EQ(FileNames(box), (std::vector<std::string>{"INBOX"}));
}

}  // namespace
}  // namespace velmora::test
