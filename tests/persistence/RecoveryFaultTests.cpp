// Reads, copies and saves that fail while a file is loaded or recovered: a good file is never taken for a damaged one, and
// nothing goes that has not been copied.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/FileStream.h"
#include "index/IndexPersistence.h"
#include "locks/FlagFiles.h"
#include "tests/persistence/FileFaults.h"
#include "tests/persistence/RecoveryFixture.h"
#include "velmora/folder.h"

namespace velmora::test {
namespace {

using platform::FileOperation;
using platform::FileVerdict;

constexpr uint32_t kDataError = 23;
constexpr uint32_t kSharingViolation = 32;
constexpr uint32_t kDiskFull = 112;

const std::string kNotTried = "\n";
const char* const kCorrupt = ". Backup Index is also corrupt.\n";

class RecoveryFaults : public Recovery {
protected:
    IndexLoadArguments Arguments()
    {
        IndexLoadArguments arguments;
        arguments.FolderPath = Folder();
        arguments.NoBlock = 1;
        arguments.CheckDirty = 1;
        return arguments;
    }
    // Both messages are listed behind it, and the first has kept its label.
    void RebuildByForce()
    {
        IndexLoadArguments arguments = Arguments();
        arguments.ForceRebuild = 1;
        EXPECT_TRUE(LoadIndex(table_, arguments, 3));
        EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    }
};

// --- reads that fail -----------------------------------------------------------------------------------------------

TEST_F(RecoveryFaults, AReadThatFailsOnceLeavesTheFileAndItsBackupAlone)
{
    for (const bool withBackup : {false, true}) {
        for (const int32_t level : {1, 2, 3}) {
            Write("_index.xml", kGood);
            std::filesystem::remove(folder_ / "_index.xml.bak");
            if (withBackup) Write("_index.xml.bak", kOther);
            const std::vector<std::string> names = FileNames(folder_);
            {
                FileFaults faults(FileFaults::Nth(FileOperation::Read, 1, kDataError));
                EXPECT_EQ(Load(level), 0);
                EXPECT_EQ(faults.Failed(), 1);
            }
            EXPECT_EQ(table_.LoadLevel, 0);
            EXPECT_EQ(Read("_index.xml"), kGood);
            EXPECT_EQ(FileNames(folder_), names);
            EXPECT_EQ(Load(), 3);
            EXPECT_EQ(IdsByUid(table_), "1.MAI gone.MAI");
        }
    }
}

TEST_F(RecoveryFaults, AReadThatFailsIsReportedAsAnException)
{
    Write("_index.xml", kGood);
    FileFaults faults(FileFaults::Nth(FileOperation::Read, 1, kDataError));
    EXPECT_EQ(Load(), 0);
    ASSERT_EQ(log_.Traces().size(), 1u);
    EXPECT_TRUE(
        log_.Traces()[0].starts_with("StoreIndexSerialiser::Deserialise handled an exception; session will be dropped.\n"
                                     "The exception was: An index file could not be read"));
    EXPECT_FALSE(log_.HasEvent("Failed to deserialise index: "));
    EXPECT_FALSE(log_.HasEvent("Malformed index detected: "));
}

TEST_F(RecoveryFaults, AReadThatFailsDuringARecoveryKeepsTheBackup)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    int failures = 0;
    for (int nth = 1; nth <= 12; ++nth) {
        Write("_index.xml", kCut);
        Write("_index.xml.bak", kGood);
        {
            FileFaults faults(FileFaults::Nth(FileOperation::Read, nth, kDataError));
            failures += Load() == 0;
        }
        EXPECT_EQ(Read("_index.xml.bak"), kGood) << nth;
        EXPECT_EQ(Load(), 3) << nth;
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine") << nth;
    }
    // The first read of the damaged file and the first of the restored one, at least.
    EXPECT_GE(failures, 2);
    EXPECT_FALSE(log_.HasEvent(kCorrupt));
}

TEST_F(RecoveryFaults, AFileThatCannotBeOpenedAtAllStaysAsItIs)
{
    for (const bool withBackup : {false, true}) {
        Write("_index.xml", kGood);
        std::filesystem::remove(folder_ / "_index.xml.bad");
        if (withBackup) Write("_index.xml.bak", kOther);
        {
            FileFaults faults(FileFaults::On({FileOperation::Open, FileOperation::Copy}, "_index.xml", kSharingViolation));
            EXPECT_EQ(Load(), 0);
            EXPECT_GE(faults.Failed(), 1);
        }
        EXPECT_EQ(Read("_index.xml"), kGood);
        EXPECT_FALSE(Exists("_index.xml.bad"));
        EXPECT_EQ(Load(), 3);
        EXPECT_EQ(IdsByUid(table_), "1.MAI gone.MAI");
    }
}

TEST_F(RecoveryFaults, AFileThatCouldNotBeOpenedOnceIsNoDamagedOne)
{
    for (const bool withBackup : {false, true}) {
        Write("_index.xml", kGood);
        std::filesystem::remove(folder_ / "_index.xml.bak");
        if (withBackup) Write("_index.xml.bak", kOther);
        const std::vector<std::string> names = FileNames(folder_);
        CapturedLog log;
        {
            FileFaults faults(FileFaults::Nth(FileOperation::Open, 1, kSharingViolation));
            EXPECT_EQ(Load(), 0);
            EXPECT_EQ(faults.Failed(), 1);
        }
        EXPECT_TRUE(log.HasEvent(Malformed("Did not find root element start tag")));
        EXPECT_TRUE(log.HasEvent(Failed(kNotTried)));
        EXPECT_EQ(table_.IndexFileTime, 0u);
        EXPECT_EQ(FileNames(folder_), names);
        EXPECT_EQ(Load(), 3);
        EXPECT_EQ(IdsByUid(table_), "1.MAI gone.MAI");
    }
}

// The rebuild that a flag asks for completes what the file holds, so it waits for a file that can be read.
TEST_F(RecoveryFaults, AFlaggedLoadOfAFileThatCannotBeReadNowLeavesFileAndFlag)
{
    const std::string good = IndexFile(9, Element("1.MAI", 4, {{"LABEL", "mine"}}) + Element("2.MAI", 7));
    for (const uint32_t backup : {1u, 0u}) {
        store_.SetNumber("Backup Index", backup);
        for (const char* name : {"1.MAI", "2.MAI"}) Write(name, "Subject: x\r\n\r\n");
        for (const FileOperation operation : {FileOperation::Open, FileOperation::Read}) {
            Write("_index.xml", good);
            MarkFolderDirty(Folder().c_str());
            {
                bool ofIndex = false;
                int asked = 0;
                FileFaults faults([&](FileOperation asks, int, std::string_view path, uint64_t) {
                    FileVerdict verdict;
                    if (asks == FileOperation::Open) ofIndex = path.ends_with("_index.xml");
                    if (asks == operation && ofIndex && ++asked == 1)
                        verdict.fail = asks == FileOperation::Open ? kSharingViolation : kDataError;
                    return verdict;
                });
                EXPECT_FALSE(LoadIndex(table_, Arguments(), 3));
                EXPECT_EQ(faults.Failed(), 1);
            }
            EXPECT_EQ(Read("_index.xml"), good);
            EXPECT_TRUE(Exists("_CHANGE.DTY"));
            EXPECT_FALSE(Exists("_index.xml.bad"));
            EXPECT_TRUE(LoadIndex(table_, Arguments(), 3));
            EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 4u);
            EXPECT_EQ(FindLoadedItem(table_, "2.MAI")->Uid(), 7u);
            EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
            EXPECT_FALSE(Exists("_CHANGE.DTY"));
        }
    }
}

TEST_F(RecoveryFaults, AFlaggedLoadWhoseBackupCannotBeReadNowWaitsToo)
{
    for (const char* name : {"1.MAI", "2.MAI"}) Write(name, "Subject: x\r\n\r\n");
    const std::string backup = IndexFile(9, Element("1.MAI", 4, {{"LABEL", "mine"}}));
    for (const FileOperation operation : {FileOperation::Copy, FileOperation::Read, FileOperation::Open}) {
        SCOPED_TRACE(static_cast<uint32_t>(operation));
        Write("_index.xml", "<damage>");
        Write("_index.xml.bak", backup);
        MarkFolderDirty(Folder().c_str());
        {
            bool moved = false;
            bool refused = false;
            bool ofIndex = false;
            FileFaults faults([&](FileOperation asks, int, std::string_view path, uint64_t) {
                FileVerdict verdict;
                if (asks == FileOperation::Open) ofIndex = path.ends_with("_index.xml");
                const bool now = operation == FileOperation::Copy || (moved && ofIndex);
                if (asks == operation && now && !refused) {
                    refused = true;
                    verdict.fail = kSharingViolation;
                }
                if (asks == FileOperation::Move && path.ends_with(".tmp")) moved = true;
                return verdict;
            });
            EXPECT_FALSE(LoadIndex(table_, Arguments(), 3));
            EXPECT_EQ(faults.Failed(), 1);
        }
        EXPECT_EQ(Read("_index.xml.bak"), backup);
        EXPECT_TRUE(Exists("_CHANGE.DTY"));
        EXPECT_TRUE(LoadIndex(table_, Arguments(), 3));
        EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
        EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 4u);
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    }
}

TEST_F(RecoveryFaults, AFileThatCannotBeAskedForIsNotReplacedByAnEmptyOne)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    for (const bool checkDirty : {false, true}) {
        Write("_index.xml", kGood);
        IndexLoadArguments arguments = Arguments();
        arguments.CheckDirty = checkDirty ? 1 : 0;
        {
            FileFaults faults(FileFaults::On({FileOperation::Search}, "_index.xml", kSharingViolation));
            EXPECT_TRUE(LoadIndex(table_, arguments, 3));
            EXPECT_GE(faults.Failed(), 1);
        }
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
        EXPECT_EQ(Read("_index.xml"), kGood);
    }
}

TEST_F(RecoveryFaults, ABackupThatCannotBeAskedForIsNotGivenUp)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kGood);
    {
        FileFaults faults(FileFaults::On({FileOperation::Search, FileOperation::Copy}, "_index.xml.bak", kSharingViolation));
        EXPECT_EQ(Load(), 0);
        EXPECT_GE(faults.Failed(), 1);
    }
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
}

TEST_F(RecoveryFaults, AnItemWhoseFileCannotBeAskedForStays)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kGood);
    FileFaults faults(FileFaults::On({FileOperation::Search}, "\\1.MAI", kSharingViolation));
    EXPECT_EQ(Load(), 3);
    EXPECT_GE(faults.Failed(), 1);
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    EXPECT_EQ(IdsById(table_), "1.MAI");
}

TEST_F(RecoveryFaults, ARecoveryThatBreaksOffBehindTheRestoreIsEndedByTheNextOpen)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    Write("2.MAI", "Subject: newer than the backup\r\n\r\n");
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kGood);
    {
        // The first read behind the move is of the restored file.
        bool moved = false;
        bool failed = false;
        FileFaults faults([&](FileOperation operation, int, std::string_view path, uint64_t) {
            FileVerdict verdict;
            if (operation == FileOperation::Move && path.ends_with("_index.xml.tmp")) moved = true;
            if (operation == FileOperation::Read && moved && !failed) {
                failed = true;
                verdict.fail = kDataError;
            }
            return verdict;
        });
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(faults.Failed(), 1);
    }
    EXPECT_EQ(Read("_index.xml"), kGood);
    EXPECT_TRUE(Exists("_CHANGE.DTY"));
    EXPECT_TRUE(LoadIndex(table_, Arguments(), 3));
    EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    EXPECT_FALSE(Exists("_CHANGE.DTY"));
}

// --- copies that fail ----------------------------------------------------------------------------------------------

TEST_F(RecoveryFaults, ACopyThatFailsInARestoreKeepsBothFilesForTheNextLoad)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    for (const FileOperation operation : {FileOperation::Copy, FileOperation::Move}) {
        for (int nth = 1; nth <= (operation == FileOperation::Copy ? 2 : 1); ++nth) {
            Write("_index.xml", kCut);
            Write("_index.xml.bak", kGood);
            CapturedLog log;
            {
                FileFaults faults(FileFaults::Nth(operation, nth, kDiskFull));
                EXPECT_EQ(Load(), 0);
                EXPECT_EQ(faults.Failed(), 1);
            }
            EXPECT_EQ(Read("_index.xml"), kCut);
            EXPECT_EQ(Read("_index.xml.bak"), kGood);
            EXPECT_FALSE(Exists("_index.xml.tmp"));
            EXPECT_FALSE(log.HasEvent(kCorrupt));
            EXPECT_TRUE(log.HasEvent(Failed(kNotTried)));
            EXPECT_EQ(Load(), 3);
            EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
        }
    }
}

TEST_F(RecoveryFaults, ACopyThatFailsInAQuarantineDeletesNothing)
{
    Write("_index.xml", kCut);
    {
        FileFaults faults(FileFaults::Nth(FileOperation::Copy, 1, kDiskFull));
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(faults.Failed(), 1);
    }
    EXPECT_EQ(Read("_index.xml"), kCut);
    EXPECT_FALSE(Exists("_index.xml.bad"));
}

TEST_F(RecoveryFaults, ACopyThatFailsInABackupKeepsTheOldOne)
{
    StreamXMLStoreIndexSerialiser serialiser;
    Write("_index.xml", kGood);
    Write("_index.xml.bak", kOther);
    for (const FileOperation operation : {FileOperation::Copy, FileOperation::Move}) {
        FileFaults faults(FileFaults::Nth(operation, 1, kDiskFull));
        serialiser.BackupIndex(Folder());
        EXPECT_EQ(faults.Failed(), 1);
        EXPECT_EQ(Read("_index.xml.bak"), kOther);
        EXPECT_EQ(FileNames(folder_), (std::vector<std::string>{"_index.xml", "_index.xml.bak"}));
    }
    serialiser.BackupIndex(Folder());
    EXPECT_EQ(Read("_index.xml.bak"), kGood);
    EXPECT_EQ(FileNames(folder_), (std::vector<std::string>{"_index.xml", "_index.xml.bak"}));
}

// --- a rebuild that cannot be saved --------------------------------------------------------------------------------

TEST_F(RecoveryFaults, ARebuildThatCannotBeSavedLeavesTheFolderDirtyUntilOneCan)
{
    WriteTwoMessages();
    for (const bool flagged : {false, true}) {
        std::filesystem::remove(folder_ / "_index.xml");
        if (flagged) MarkFolderDirty(Folder().c_str());
        {
            FileFaults faults(FileFaults::FullDisk());
            EXPECT_TRUE(LoadIndex(table_, Arguments(), 3));
        }
        EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
        EXPECT_TRUE(Exists("_CHANGE.DTY") || Exists("_change.dty"));
        TestTable next;
        EXPECT_TRUE(LoadIndex(next, Arguments(), 3));
        EXPECT_EQ(IdsById(next), "1.MAI 2.MAI");
        EXPECT_FALSE(Exists("_CHANGE.DTY") || Exists("_change.dty"));
        ExpectInFile("1.MAI 2.MAI");
    }
}

TEST_F(RecoveryFaults, AnOpenOnAFullDiskLeavesTheFolderToBeListedWhenThereIsSpaceAgain)
{
    WriteTwoMessages();
    for (const uint32_t backup : {1u, 0u}) {
        SCOPED_TRACE(backup);
        store_.SetNumber("Backup Index", backup);
        for (const char* name : {"_index.xml", "_index.xml.bak", "_index.xml.bad", "_CHANGE.DTY"}) std::filesystem::remove(folder_ / name);
        {
            FileFaults faults(FileFaults::FullDisk());
            StoreFolder_Open("po", "box", "Inbox", 0, 0);
            StoreFolder_Close();
        }
        EXPECT_TRUE(Exists("_CHANGE.DTY"));
        EXPECT_EQ(StoreFolder_Open("po", "box", "Inbox", 0, 0), 1u);
        StoreFolder_Close();
        ExpectInFile("1.MAI 2.MAI");
    }
}

// --- what else meets a damaged file --------------------------------------------------------------------------------

TEST_F(RecoveryFaults, ADocumentStrategyTouchesNoCopyWhateverTheSettingSays)
{
    store_.SetNumber("Use XML Stream Index Deserialisation", 0);
    store_.SetNumber("Use XML Stream Index Serialisation", 0);
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kOther);
    Write("_index.xml.bad", "older damage");
    IndexLoadArguments arguments = Arguments();
    arguments.CheckDirty = 0;
    EXPECT_FALSE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(Read("_index.xml"), kCut);
    EXPECT_EQ(Read("_index.xml.bak"), kOther);
    EXPECT_EQ(Read("_index.xml.bad"), "older damage");
    EXPECT_TRUE(log_.HasEvent(Failed("\n")));
}

TEST_F(RecoveryFaults, AKindThatCannotBeRebuiltEndsItsRecoveryAsCorrupt)
{
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kGood);
    EXPECT_EQ(Load(3, 7), 0);
    EXPECT_FALSE(Exists("_index.xml.bak"));
    EXPECT_EQ(Read("_index.xml"), kGood);
    EXPECT_EQ(Read("_index.xml.bad"), kCut);
    EXPECT_EQ(Events(), (std::vector<std::string>{Malformed("Did not find root element end tag"), Failed("\n"), Failed(kCorrupt)}));
}

// A rebuild of group items empties them, so nothing of a recovery may ask for one.
TEST_F(RecoveryFaults, ARecoveryOfGroupItemsDoesNotAskForTheRebuildThatWouldEmptyThem)
{
    Write("_index.xml", kGood);
    Write("_index.xml.bak", kGood);
    Write("_groups.xml", kCut);
    IndexLoadArguments arguments = Arguments();
    arguments.IndexKind = 54;
    for (int round = 0; round < 3; ++round) {
        EXPECT_FALSE(LoadIndex(table_, arguments, 3));
        EXPECT_FALSE(Exists("_CHANGE.DTY"));
        EXPECT_EQ(Read("_groups.xml"), kCut);
    }
}

TEST_F(RecoveryFaults, AForcedRebuildOfADamagedIndexWithNoBackupPutsItAsideAndLosesNoItem)
{
    WriteTwoMessages();
    Write("_index.xml", kCut);
    RebuildByForce();
    EXPECT_EQ(Read("_index.xml.bad"), kCut);
    ExpectInFile("1.MAI 2.MAI");
}

TEST_F(RecoveryFaults, AForcedRebuildOfADamagedIndexRestoresItsBackupFirst)
{
    WriteTwoMessages();
    Write("_index.xml", "<damage>");
    Write("_index.xml.bak", kGood);
    RebuildByForce();
    EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 4u);
    EXPECT_EQ(Read("_index.xml.bad"), "<damage>");
    EXPECT_EQ(Read("_index.xml.bak"), kGood);
    ExpectInFile("1.MAI 2.MAI");
}

}  // namespace
}  // namespace velmora::test
