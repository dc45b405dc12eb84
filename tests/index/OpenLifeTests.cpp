// When an open reads the file, scans the folder or answers from memory: by mode, flag, file time and kind of folder.
#include "index/StoreIndexLife.h"
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

constexpr uint32_t kAllModes[] = {0, 1, 2, 3, 4, 5, 6, 7, 200, 0xFFFFFFFFu};
constexpr uint32_t kCheckingModes[] = {1, 4, 6};
constexpr uint32_t kCacheModes[] = {0, 3, 7, 200, 0xFFFFFFFFu};

TEST_F(OpenLife, ANullRecordIsReportedAndFails)
{
    for (const uint32_t mode : kAllModes) EXPECT_EQ(StoreIndex_Open(nullptr, mode), 0u);
    ASSERT_EQ(log.Lines().size(), std::size(kAllModes));
    EXPECT_EQ(log.Lines()[0].second, "StoreIndex_Open::WARNING!: StoreIndex is NULL when passed to StoreIndex_Open");
}

TEST_F(OpenLife, ABlankFolderNameFailsAndTouchesNoFile)
{
    Attach();
    for (const uint32_t mode : {1u, 4u, 5u, 6u}) {
        STOREINDEXTYPE record;
        StoreIndex_Init(&record);
        WatchedFiles files;
        EXPECT_EQ(StoreIndex_Open(&record, mode), 0u);
        EXPECT_EQ(files.count, 0u) << mode;
        EXPECT_EQ(record.Table.LoadLevel, 0);
    }
    EXPECT_TRUE(HasLineAt(9, "StoreIndex_Open:: (Error) Attempted to open a blank folder name\n"));
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(OpenLife, AFolderWithNoIndexIsScannedSavedAndLoaded)
{
    inbox = store.MakeFolder("INBOX");
    PutMail(inbox, "1.MAI");
    PutMail(inbox, "2.MAI");
    Attach();
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(record->ItemCount, 2u);
    EXPECT_EQ(record->LoadedLastUID, 2u);
    EXPECT_EQ(record->Table.LoadLevel, 3);
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_EQ(static_cast<uintmax_t>(record->IndexFileBytes), fs::file_size(inbox / "_index.xml"));
    EXPECT_TRUE(HasLineAt(8, CheckDirtyLine(record)));
    EXPECT_TRUE(HasLineAt(9, "StoreIndex_Open::Loaded index for folder " + record.Path()));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(OpenLife, TheSecondOpenAnswersFromMemoryAndKeepsAllItems)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    const IndexItemPropertyContainer* const first = record.Item("1.MAI");
    record->Changed = 1;
    for (const uint32_t mode : kCheckingModes) {
        EXPECT_EQ(StoreIndex_Open(&record, mode), 2u);
        EXPECT_EQ(record.Item("1.MAI"), first);
    }
    EXPECT_EQ(record->Changed, 1u) << "a change that is still in memory stays one";
    EXPECT_TRUE(HasLineAt(9, "StoreIndex_Open::Using cached index for folder " + record.Path()));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(OpenLife, AnIndexFileThatWentIsNotAnsweredFromMemory)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    fs::remove(inbox / "_index.xml");
    EXPECT_EQ(StoreIndex_Open(&record, 3), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
}

TEST_F(OpenLife, AnOpenAfterTheOwnCommitReloads)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    record.Change("1.MAI", "SUBJECT", "changed");
    GiveMutex(*record);
    ASSERT_EQ(StoreIndex_Commit(&record), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    ASSERT_NE(record.Item("1.MAI"), nullptr);
    EXPECT_EQ(record.Item("1.MAI")->View("SUBJECT"), "changed");
    Age(inbox / "_index.xml");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
}

TEST_F(OpenLife, AnUnsavedChangeIsLostAtAReload)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    record.Change("1.MAI", "SUBJECT", "unsaved");
    Age(inbox / "_index.xml", 2);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record->Changed, 0u);
    EXPECT_EQ(record.Item("1.MAI")->View("SUBJECT"), "s");
}

TEST_F(OpenLife, WhatAnotherRecordSavedIsSeenAtTheNextOpenAndNotBefore)
{
    MakeIndexedInbox();
    HostRecord reader("INBOX");
    ASSERT_EQ(StoreIndex_Open(&reader, 1), 1u);
    HostRecord writer("INBOX");
    ASSERT_EQ(StoreIndex_Open(&writer, 1), 1u);
    writer.Change("2.MAI", "SUBJECT", "theirs");
    ASSERT_EQ(StoreIndex_Save(&writer), 1u);
    EXPECT_EQ(reader.Item("2.MAI")->View("SUBJECT"), "s");
    EXPECT_EQ(StoreIndex_Open(&reader, 1), 1u);
    EXPECT_EQ(reader.Item("2.MAI")->View("SUBJECT"), "theirs");
}

TEST_F(OpenLife, ADirtyFlagRescansTheFolderAndGoes)
{
    MakeIndexedInbox();
    for (const uint32_t mode : kCheckingModes) {
        HostRecord record("INBOX");
        ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
        const uint32_t before = record.Count();
        PutMail(inbox, "new" + std::to_string(mode) + ".MAI");
        WriteFileBytes(inbox / "_change.dty", "");
        EXPECT_EQ(StoreIndex_Open(&record, mode), 1u);
        EXPECT_EQ(record.Count(), before + 1);
        EXPECT_FALSE(FileExists(inbox / "_change.dty"));
        EXPECT_TRUE(HasLineAt(8, CheckDirtyLine(record)));
    }
}

TEST_F(OpenLife, ANewMessageWithoutAFlagIsNotLookedFor)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

TEST_F(OpenLife, TheCachedTransactionsFlagStays)
{
    MakeIndexedInbox();
    WriteFileBytes(inbox / "_CACHED.DTY", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_TRUE(FileExists(inbox / "_CACHED.DTY"));
}

TEST_F(OpenLife, ModeTwoScansAndReloadsUnconditionally)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(StoreIndex_Open(&record, 2), 1u);
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_TRUE(HasLineAt(8, "StoreIndex_Open::Performing StoreIndex_Scan(VL_STOREINDEX_REINDEX) on folder " + record.Path() + "\n"));
    Age(inbox / "_index.xml");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 2), 1u) << "not 2: the copy in memory is not asked";
}

TEST_F(OpenLife, ModeFiveReloadsAtOnceWithoutTheDirtyCheck)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(OpenLife, ModeFiveOfAFolderWithNoIndexIsEmptyAndWritesNone)
{
    inbox = store.MakeFolder("INBOX");
    PutMail(inbox, "1.MAI");
    Attach();
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(record.Count(), 0u);
    EXPECT_EQ(record->IndexFileBytes, 0);
    EXPECT_EQ(record->Table.LoadLevel, 3);
    EXPECT_FALSE(FileExists(inbox / "_index.xml"));
}

TEST_F(OpenLife, AnyOtherModeOnlyTestsTheCache)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    WriteFileBytes(inbox / "_index.blk", "");
    for (const uint32_t mode : kCacheModes) EXPECT_EQ(StoreIndex_Open(&record, mode), 2u) << mode;
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_TRUE(FileExists(inbox / "_index.blk"));
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(OpenLife, AnyOtherModeReloadsWithTheDirtyFlagWhenTheCacheFails)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 3), 1u);
    EXPECT_EQ(record.Count(), 3u) << "the load itself heeds the flag";
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

TEST_F(OpenLife, CalendarAndTaskFoldersAreNeverScannedByAnOpen)
{
    const std::pair<const char*, uint32_t> kinds[] = {{"Calendar", 2}, {"Tasks", 3}};
    for (const auto& [name, kind] : kinds) {
        const fs::path folder = store.MakeFolder(name);
        PutIndex(folder, 1, Element("a", 1));
        WriteFileBytes(folder / "a", "an item's own file");
        PutMail(folder, "1.MAI");  // what a scan as of mail would bring in
    }
    Attach();
    for (const auto& [name, kind] : kinds) {
        const fs::path folder = store.MakeFolder(name);
        WriteFileBytes(folder / "_CHANGE.DTY", "");
        for (const uint32_t mode : kCheckingModes) {
            HostRecord record(name, kind);
            EXPECT_EQ(StoreIndex_Open(&record, mode), 1u);
            EXPECT_EQ(record->IndexKind, kind);
            EXPECT_EQ(record.Count(), 1u) << name;
            EXPECT_NE(record.Item("a"), nullptr) << name;
        }
        EXPECT_FALSE(FileExists(folder / "_CHANGE.DTY")) << name << ": the load itself takes the flag";
    }
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

TEST_F(OpenLife, TheFlagOfACalendarOrTasksFolderStaysWhileTheCopyInMemoryIsGood)
{
    const std::pair<const char*, uint32_t> kinds[] = {{"Calendar", 2}, {"Tasks", 3}};
    for (const auto& [name, kind] : kinds) PutIndex(store.MakeFolder(name), 1, Element("a", 1));
    Attach();
    for (const auto& [name, kind] : kinds) {
        const fs::path folder = store.MakeFolder(name);
        Age(folder / "_index.xml");
        HostRecord record(name, kind);
        ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
        WriteFileBytes(folder / "_CHANGE.DTY", "");
        for (const uint32_t mode : kCheckingModes) EXPECT_EQ(StoreIndex_Open(&record, mode), 2u) << name;
        EXPECT_TRUE(FileExists(folder / "_CHANGE.DTY")) << name;
    }
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

TEST_F(OpenLife, AContactsFolderWithAFlagIsLoadedAndNotOverwrittenFromMemory)
{
    inbox = store.MakeFolder("Contacts");
    for (const char* const name : {"a.vcf", "b.vcf"}) WriteFileBytes(inbox / name, "BEGIN:VCARD\r\nEND:VCARD\r\n");
    PutIndex(inbox, 1, Element("a.vcf", 1));
    Age(inbox / "_index.xml", 3);
    Attach();
    HostRecord stale("Contacts", 1);
    ASSERT_EQ(StoreIndex_Open(&stale, 1), 1u);
    PutIndex(inbox, 2, Element("a.vcf", 1) + Element("b.vcf", 2));
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    EXPECT_EQ(StoreIndex_Open(&stale, 1), 1u);
    EXPECT_EQ(stale.Count(), 2u);
    EXPECT_NE(ReadFileBytes(inbox / "_index.xml").find("b.vcf"), std::string::npos);
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(OpenLife, GroupItemsHaveAFileOfTheirOwn)
{
    inbox = store.MakeFolder("Lists");
    PutIndex(inbox, 3, Element("1.MAI", 3));
    PutIndex(inbox, 9, Element("a.GRP", 8) + Element("b.GRP", 9), "_groups.xml");
    Age(inbox / "_groups.xml");
    Age(inbox / "_index.xml", 2);
    Attach();
    HostRecord record("Lists", 54);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record->IndexKind, 54u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(record->LoadedLastUID, 9u);
    EXPECT_EQ(static_cast<uintmax_t>(record->IndexFileBytes), fs::file_size(inbox / "_index.xml")) << "_index.xml is measured";
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u) << "the time of _groups.xml is compared";
}

TEST_F(OpenLife, AGroupsRecordThatIsScannedBecomesMail)
{
    inbox = store.MakeFolder("Lists");
    PutMail(inbox, "1.MAI");
    PutIndex(inbox, 8, Element("a.GRP", 8), "_groups.xml");
    Attach();
    HostRecord record("Lists", 54);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record->IndexKind, 0u);
    EXPECT_NE(record.Item("1.MAI"), nullptr);
    EXPECT_EQ(record.Item("a.GRP"), nullptr);
}

}  // namespace
}  // namespace velmora::test
