#include "frame/ProcessState.h"
#include "index/StoreIndexLife.h"
#include "locks/BlockFile.h"
#include "tests/index/LifeFixture.h"
#include "velmora/locks.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

constexpr uint32_t kAllModes[] = {0, 1, 2, 3, 4, 5, 6, 7, 200, 0xFFFFFFFFu};
constexpr uint32_t kCheckingModes[] = {1, 4, 6};
constexpr uint32_t kCacheModes[] = {0, 3, 7, 200, 0xFFFFFFFFu};

class OpenLife : public Life {
protected:
    // An INBOX of two messages with an index made by an open, whose file time is an hour old.
    void MakeIndexedInbox()
    {
        inbox = store.MakeFolder("INBOX");
        PutMail(inbox, "1.MAI");
        PutMail(inbox, "2.MAI");
        Attach();
        HostRecord maker("INBOX");
        ASSERT_EQ(StoreIndex_Open(&maker, 1), 1u);
        Age(inbox / "_index.xml");
        ForgetLines();
    }
    std::string CheckDirtyLine(const HostRecord& record) const
    {
        return "StoreIndex_Open::Performing StoreIndex_Scan(VL_STOREINDEX_CHECKDIRTY) on folder " + record.Path();
    }
    fs::path inbox;
};

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

TEST_F(OpenLife, ModeTwoDoesNotWaitForABlock)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_index.blk", "");
    EXPECT_EQ(StoreIndex_Open(&record, 2), 0u) << "neither the scan nor the load gets the block";
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(log.HasTrace("StoreIndex_Open::Error opening store index in: " + record.Path() + "\n"));
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

// The flag is taken before the scan that it asks for, so a scan that cannot list the folder sets another.
TEST_F(OpenLife, AScanThatCannotListTheFolderAsksForAnother)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX");
    {
        WatchedFiles files;
        files.fail = [](FileOperation operation, std::string_view path) {
            return operation == FileOperation::Search && path.ends_with("*.MAI") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    }
    EXPECT_TRUE(HasLineAt(8, CheckDirtyLine(record)));
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    ForgetLines();
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_TRUE(HasLineAt(8, CheckDirtyLine(record)));
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
}

// A message that nobody may read, in an inbox of three.
class UnreadMessage : public OpenLife {
protected:
    UnreadMessage()
    {
        MakeIndexedInbox();
        PutMail(inbox, "3.MAI");
        WriteFileBytes(inbox / "_CHANGE.DTY", "");
        files.fail = [this](FileOperation operation, std::string_view path) {
            if (operation == FileOperation::Search && path.ends_with("*.MAI")) ++listings;
            const bool refused = operation == FileOperation::Open && path.ends_with("3.MAI");
            opens += refused;
            return refused ? uint32_t{5} : 0u;
        };
    }
    WatchedFiles files;
    uint32_t listings = 0;
    uint32_t opens = 0;
};

TEST_F(UnreadMessage, CostsOneScanAnOpenAndNoRewrite)
{
    for (const uint32_t mode : {1u, 1u, 2u, 1u}) {
        HostRecord record("INBOX");
        // A scan of mode 2 does not take the flag, and a load that meets one scans again.
        if (mode == 2) fs::remove(inbox / "_CHANGE.DTY");
        listings = opens = 0;
        EXPECT_EQ(StoreIndex_Open(&record, mode), 1u);
        EXPECT_EQ(listings, 1u) << mode;
        EXPECT_EQ(opens, 1u) << mode;
        EXPECT_EQ(record.Count(), 2u);
        EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY")) << "a later open looks again";
    }
    files.fail = nullptr;
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(UnreadMessage, MarksTheFolderBehindAScanOfTheHosts)
{
    HostRecord record("INBOX");
    fs::remove(inbox / "_CHANGE.DTY");
    EXPECT_EQ(StoreIndex_Scan(&record), 1u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(OpenLife, ADiskThatFillsUpBehindTheScanLosesNoIndex)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    {
        HostRecord record("INBOX");
        WatchedFiles files;
        bool full = false;
        files.fail = [&](FileOperation operation, std::string_view path) {
            // The last file of a scan.
            if (operation == FileOperation::Open && path.ends_with("_FOLDER.DAT")) full = true;
            return full && operation == FileOperation::Write ? uint32_t{112} : 0u;
        };
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
        EXPECT_TRUE(full);
        EXPECT_EQ(record.Count(), 3u);
    }
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u);
}

TEST_F(OpenLife, ADamagedFileLeavesTheRecordUnloaded)
{
    inbox = store.MakeFolder("INBOX");
    PutIndex(inbox, 2, Element("1.MAI", 1) + "<ELEMENT ID=\"2.MAI\" UID=");
    Attach();
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 5), 0u);
    EXPECT_EQ(record->Table.LoadLevel, 0);
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

TEST_F(OpenLife, GroupItemsAreCheckedUnderABlockOfTheirOwn)
{
    inbox = store.MakeFolder("Lists");
    PutIndex(inbox, 0, "");
    PutIndex(inbox, 8, Element("a.GRP", 8), "_groups.xml");
    Age(inbox / "_groups.xml");
    Attach();
    HostRecord record("Lists", 54);
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    WriteFileBytes(inbox / "_groups.blk", "");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_FALSE(FileExists(inbox / "_groups.blk"));
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

TEST_F(OpenLife, ALeftoverBlockCostsAMinute)
{
    MakeIndexedInbox();
    WriteFileBytes(inbox / "_index.blk", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(clock.Sleeps(), Seconds(61));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(OpenLife, ALeftoverBlockCostsASecondInUnblockMode)
{
    store.SetNumber("Index Unblock Mode", 1, "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers");
    MakeIndexedInbox();
    WriteFileBytes(inbox / "_index.blk", "");
    HostRecord record("INBOX");
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&record, 1), 1u); });
    EXPECT_EQ(printed, "deleted orphan\n");
    EXPECT_EQ(clock.Sleeps(), Seconds(1));
}

TEST_F(OpenLife, WithoutTheBlockAnOpenAnswersFromMemory)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    const std::string block = record.Path() + "\\_index.blk";
    void* held = nullptr;
    ASSERT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &held), 1u);
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    EXPECT_EQ(clock.Sleeps(), Seconds(61 + 81));
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY")) << "the dirty check needs the block";
    EXPECT_TRUE(FileExists(inbox / "_index.blk"));
    EXPECT_EQ(UnBlockIndexFileAccessEx(block.c_str(), 1, &held), 1u);
}

TEST_F(OpenLife, WithoutTheBlockAndWithNothingInMemoryAnOpenFails)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    const std::string block = record.Path() + "\\_index.blk";
    void* held = nullptr;
    ASSERT_EQ(WaitForAccessToIndexFileEx(block.c_str(), 1, &held), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 0u);
    EXPECT_EQ(record->Table.LoadLevel, 0);
    EXPECT_TRUE(log.HasTrace("StoreIndex_Open::Error opening store index in: " + record.Path() + "\n"));
    EXPECT_EQ(UnBlockIndexFileAccessEx(block.c_str(), 1, &held), 1u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
}

TEST_F(OpenLife, AFolderThatDoesNotExistFailsAtOnce)
{
    store.MakeFolder("INBOX");
    Attach();
    HostRecord record("nowhere");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 0u);
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(log.HasTrace("StoreIndex_Open::Error opening store index in: " + record.Path() + "\n"));
}

TEST_F(OpenLife, ABlockThatCannotBeGivenBackIsReported)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    WatchedFiles files;
    files.fail = [](FileOperation operation, std::string_view path) {
        return operation == FileOperation::Delete && ContainsNoCase(path, "_index.blk") ? uint32_t{32} : 0u;
    };
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&record, 1), 2u); });
    EXPECT_EQ(printed, "ScanFoldersOrdered::Unable to remove blocking file");
    EXPECT_EQ(clock.Sleeps(), Seconds(81));
}

TEST_F(OpenLife, ABlockThatWentMeanwhileIsReportedWithoutAWait)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    WatchedFiles files;
    files.fail = [](FileOperation operation, std::string_view path) {
        return operation == FileOperation::Delete && ContainsNoCase(path, "_index.blk") ? uint32_t{2} : 0u;
    };
    const std::string printed = CaptureStdout([&] { EXPECT_EQ(StoreIndex_Open(&record, 1), 2u); });
    EXPECT_EQ(printed, "ScanFoldersOrdered::Unable to remove blocking file");
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(OpenLife, TheWaitDoesNotHoldTheMutexAndTheReleaseDoes)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    GiveMutex(*record);
    const auto isFree = [&] {
        bool free = false;
        std::thread([&] {
            free = WaitForSingleObject(record->Mutex, 0) == WAIT_OBJECT_0;
            if (free) ReleaseMutex(record->Mutex);
        }).join();
        return free;
    };
    std::vector<bool> freeWhileAsleep;
    clock.onSleep = [&](size_t) { freeWhileAsleep.push_back(isFree()); };
    size_t deletes = 0;
    WatchedFiles files;
    files.fail = [&](FileOperation operation, std::string_view path) {
        return operation == FileOperation::Delete && ContainsNoCase(path, "_index.blk") && ++deletes == 2 ? uint32_t{32} : 0u;
    };
    // One pause for each of 61 failed attempts, the break of the leftover, and one failed delete at the release.
    WriteFileBytes(inbox / "_index.blk", "");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
    std::vector<bool> expected(61, true);
    expected.push_back(false);
    EXPECT_EQ(freeWhileAsleep, expected);
}

TEST_F(OpenLife, AnExceptionIsReportedAndGoesOnToTheCaller)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    GiveAbandonedMutex(*record);
    EXPECT_THROW(StoreIndex_Open(&record, 5), Exception);
    ASSERT_FALSE(log.Traces().empty());
    EXPECT_EQ(log.Traces().back().rfind("StoreIndex_Open handled an exception; session will be dropped.\nThe exception was: ", 0), 0u);
    EXPECT_TRUE(log.HasEvent("StoreIndex_Open handled an exception; session will be dropped.\n"));
}

TEST_F(OpenLife, AnExceptionInTheDirtyCheckLetsTheBlockGo)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    GiveAbandonedMutex(*record);
    EXPECT_THROW(StoreIndex_Open(&record, 1), Exception);
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(OpenLife, NotificationModeFourAnnouncesTheOpen)
{
    store.SetNumber("Store Event Notification Mode", 4);
    MakeIndexedInbox();
    HostRecord record("INBOX");
    NoticeLog notices;
    const std::string mailbox = record.Path().substr(0, record.Path().size() - std::string("\\INBOX").size());
    const NoticeLog::Notice notice{mailbox, "INBOX", "COMMIT", 1023u};
    StoreIndex_Open(&record, 1);
    EXPECT_EQ(notices.Seen(), (std::vector{notice}));
    StoreIndex_Open(&record, 6);
    EXPECT_EQ(notices.Seen(), (std::vector{notice, notice}));
    for (const uint32_t mode : {0u, 2u, 3u, 4u, 5u, 7u}) StoreIndex_Open(&record, mode);
    EXPECT_EQ(notices.Seen().size(), 2u) << "only the modes 1 and 6 announce";
}

TEST_F(OpenLife, WithoutNotificationModeFourNothingIsAnnounced)
{
    store.SetNumber("Store Event Notification Mode", 3);
    MakeIndexedInbox();
    HostRecord record("INBOX");
    NoticeLog notices;
    StoreIndex_Open(&record, 1);
    EXPECT_TRUE(notices.Seen().empty());
}

TEST_F(OpenLife, AFolderOutsideTheMailboxesIsNotAnnounced)
{
    store.SetNumber("Store Event Notification Mode", 4);
    store.MakeFolder("INBOX");
    Attach();
    HostRecord record("$VCFROOT");
    NoticeLog notices;
    StoreIndex_Open(&record, 1);
    EXPECT_TRUE(notices.Seen().empty());
}

TEST_F(OpenLife, AnOpenOfAPlacedInboxLeavesTheNewMailCounters)
{
    MakeIndexedInbox();
    WriteFileBytes(inbox.parent_path() / "_5.NEW", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_TRUE(FileExists(inbox.parent_path() / "_5.NEW"));
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

TEST_F(OpenLife, ABareInboxPathHasNoMailboxWhoseCountersCouldBeTaken)
{
    MakeIndexedInbox();
    const fs::path box = inbox.parent_path();
    WriteFileBytes(box / "_5.NEW", "");
    const fs::path before = fs::current_path();
    fs::current_path(box);
    for (const char* const path : {"INBOX", "Inbox"}) {
        HostRecord record("INBOX");
        CopyBounded(record->Path, path);
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
        EXPECT_EQ(record.Count(), 2u);
    }
    fs::current_path(before);
    EXPECT_TRUE(FileExists(box / "_5.NEW"));
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

// ---- StoreIndex_Get ----

TEST_F(OpenLife, GetOfANullRecordIsReported)
{
    uint64_t result = 1;
    const std::string printed = CaptureStdout([&] { result = StoreIndex_Get(nullptr); });
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(printed, "WARNING!: StoreIndex is NULL when passed to StoreIndex_Get\n");
}

TEST_F(OpenLife, GetOfAMailFolderIsAnOpenInModeFive)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_TRUE(HasLineAt(9, "StoreIndex_Open::Loaded index for folder " + record.Path()));
}

TEST_F(OpenLife, GetOfAContactsFolderLoadsEveryTimeWithoutTheDirtyCheck)
{
    inbox = store.MakeFolder("Contacts");
    PutIndex(inbox, 1, Element("a.vcf", 1));
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    Attach();
    HostRecord record("Contacts", 1);
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(HasLinePart("StoreIndex_Open::")) << "no open is involved";
    PutIndex(inbox, 2, Element("a.vcf", 1) + Element("b.vcf", 2));
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
    EXPECT_EQ(record.Count(), 2u);
}

TEST_F(OpenLife, GetOfACalendarOrTasksFolderLoadsOnce)
{
    const std::pair<const char*, uint32_t> kinds[] = {{"Calendar", 2}, {"Tasks", 3}};
    for (const auto& [name, kind] : kinds) {
        inbox = store.MakeFolder(name);
        PutIndex(inbox, 1, Element("a", 1));
    }
    Attach();
    for (const auto& [name, kind] : kinds) {
        inbox = store.MakeFolder(name);
        HostRecord record(name, kind);
        EXPECT_EQ(StoreIndex_Get(&record), 1u);
        EXPECT_EQ(record.Count(), 1u) << name;
        PutIndex(inbox, 2, Element("a", 1) + Element("b", 2));
        EXPECT_EQ(StoreIndex_Get(&record), 1u);
        EXPECT_EQ(record.Count(), 1u) << name << ": what is loaded stays";
    }
    EXPECT_FALSE(HasLinePart("StoreIndex_Open::"));
}

TEST_F(OpenLife, GetAnswersOneWhateverTheLoadDid)
{
    store.MakeFolder("INBOX");
    Attach();
    const std::pair<const char*, uint32_t> kinds[] = {{"x", 0}, {"Contacts", 1}, {"Calendar", 2}, {"Tasks", 3}, {"y", 54}};
    for (const auto& [name, kind] : kinds) {
        HostRecord record(name, kind);
        EXPECT_EQ(StoreIndex_Get(&record), 1u);
        EXPECT_EQ(record->Table.LoadLevel, 0) << name;
    }
    HostRecord record("x");
    GiveAbandonedMutex(*record);
    EXPECT_EQ(StoreIndex_Get(&record), 1u);
}

}  // namespace
}  // namespace velmora::test
