#include "items/MailScan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "common/Text.h"
#include "frame/Settings.h"
#include "index/CachedDetails.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "items/MessageBranding.h"
#include "platform/win32.h"
#include "tests/items/HookedSeam.h"
#include "tests/items/MailScanFixture.h"
#include "tests/items/Messages.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {
namespace {

// ---- The listing ----

TEST_F(MailScan, ListsMessagesByNameWithoutCase)
{
    for (const char* name : {"b.MAI", "A.mai", "c.Mai", "[.MAI", "note.txt", "a.MAI.bak"}) Deliver(name);
    EXPECT_EQ(Listed(), (Names{"[.MAI", "A.mai", "b.MAI", "c.Mai"}));
}

TEST_F(MailScan, LeavesOutDirectoriesAndPrivateAndLongNames)
{
    Deliver("_a.MAI");
    Deliver(".a.MAI");
    std::filesystem::create_directory(folder_ / "dir.MAI");
    Deliver(std::string(59, 'x') + ".MAI");  // 63 characters
    Deliver(std::string(60, 'y') + ".MAI");  // 64 characters
    EXPECT_EQ(Listed(), Names{std::string(59, 'x') + ".MAI"});
}

TEST_F(MailScan, ARowLimitOfTenLooksAtNine)
{
    for (int i = 0; i < 12; ++i) Deliver(FormatText("%02d.MAI", i));
    EXPECT_EQ(Listed(10).size(), 9u);
    SetLimit(10);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Ids().size(), 9u);
    // A listing that was cut is no overflow.
    EXPECT_FALSE(Has("_CHANGE.DTY"));
    EXPECT_TRUE(Has("_index.xml"));
}

TEST_F(MailScan, EntriesThatAreLeftOutCountAgainstTheLimit)
{
    for (const char* name : {"a.MAI", "_1.MAI", "_2.MAI", "_3.MAI"}) Deliver(name);
    EXPECT_EQ(Listed(5), Names{"a.MAI"});
    std::filesystem::create_directory(folder_ / "0.MAI");
    EXPECT_EQ(Listed(2), Names{});
}

TEST_F(MailScan, ARowLimitOfZeroOrOneListsNothing)
{
    Deliver("a.MAI");
    EXPECT_TRUE(Listed(0).empty());
    EXPECT_TRUE(Listed(1).empty());
    EXPECT_EQ(Listed(2), Names{"a.MAI"});
}

TEST_F(MailScan, TheListingOfAMissingFolderIsEmpty)
{
    MessageListing listing;
    listing.Read(Path() + "/none", 100);
    EXPECT_EQ(listing.Count(), 0u);
}

// ---- The folder's id and its size ----

TEST_F(MailScan, TheFolderIdIsTheLowHalfOfItsCreationTime)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA((Path() + "\\.").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    FindClose(search);
    EXPECT_EQ(GetFolderUniqueId(Path()), found.ftCreationTime.dwLowDateTime);
    EXPECT_EQ(GetFolderUniqueId(Path() + "/none"), 0u);
    EXPECT_EQ(GetFolderUniqueId(std::string(5000, 'x')), 0u);
}

TEST_F(MailScan, TheDirectorySizeIsDecimalText)
{
    EXPECT_EQ(WriteDirectorySize(Path(), 123), 0u);
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "123");
    EXPECT_EQ(WriteDirectorySize(Path(), 4), 0u);
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "4");
    EXPECT_EQ(WriteDirectorySize(Path() + "/none", 1), 1u);
}

TEST_F(MailScan, ADirectorySizeThatDoesNotFitOnTheDiskIsNoFault)
{
    const HookedSeam seam([](platform::FileOperation operation, std::string_view, uint64_t) {
        return platform::FileVerdict{operation == platform::FileOperation::Write ? 112u : 0u, UINT64_MAX};
    });
    EXPECT_EQ(WriteDirectorySize(Path(), 123), 0u);
}

TEST_F(MailScan, TheDirectorySizeCountsWholeKilobytesOfAllFiles)
{
    Deliver("a.MAI", "Subject: a\r\n\r\n" + std::string(1500 - 14, 'x'));
    Deliver("b.MAI", "Subject: b\r\n\r\n" + std::string(1571 - 14, 'x'));
    Scan();
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "2");
}

TEST_F(MailScan, AListingThatFailsLeavesTheDirectorySizeAsItIs)
{
    Deliver("a.MAI", std::string(5000, 'x'));
    Scan();
    ASSERT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "4");
    const HookedSeam seam(FailOn(platform::FileOperation::Search, "*.MAI", 5));
    Scan();
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "4");
    RebuildFromMessages(table_, Path());
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "4");
}

TEST_F(MailScan, ATotalBeyond31BitsCountsAsNothing)
{
    StoreScanResult(table_, Path(), kKindMail, {0x80000000u, false});
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "0");
    StoreScanResult(table_, Path(), kKindMail, {0x7FFFFFFFu, false});
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "2097151");
}

// ---- New messages ----

TEST_F(MailScan, AddsEveryNewMessageInTheOrderOfNames)
{
    Deliver("b.MAI", "From: B\r\nSubject: two\r\n\r\n");
    Deliver("A.MAI", "From: A\r\nSubject: one\r\n\r\n");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Ids(), (Names{"A.MAI", "b.MAI"}));
    EXPECT_EQ(Column("A.MAI", "UID"), "1");
    EXPECT_EQ(Column("b.MAI", "UID"), "2");
    EXPECT_EQ(Column("b.MAI", "FROM"), "B");
    EXPECT_EQ(Column("b.MAI", "SUBJECT"), "two");
    EXPECT_EQ(Column("b.MAI", "SIZE"), "25");
    EXPECT_EQ(Column("b.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(table_.LastUID, 2u);
}

TEST_F(MailScan, WhatWasScannedIsInTheIndexFile)
{
    Deliver("a.MAI", "Subject: kept\r\n\r\n");
    Scan();
    UnInit(table_);
    IndexLoadArguments arguments;
    arguments.FolderPath = Path();
    arguments.NoBlock = 1;
    arguments.CheckDirty = 0;
    ASSERT_TRUE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "kept");
}

TEST_F(MailScan, NewUidsGoOnBehindTheLastOne)
{
    Deliver("b.MAI");
    Scan();
    Deliver("a.MAI");
    Scan();
    EXPECT_EQ(Column("b.MAI", "UID"), "1");
    EXPECT_EQ(Column("a.MAI", "UID"), "2");
}

TEST_F(MailScan, AnEmptyFolderHasAnEmptyIndexAtFullLevel)
{
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Ids().empty());
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(ReadFileBytes(folder_ / "_DIRSIZE.TMP"), "0");
    EXPECT_EQ(ReadFileBytes(folder_ / "_FOLDER.DAT"), std::string(52, '\0'));
}

TEST_F(MailScan, AnEmptyPathIsRefused)
{
    EXPECT_EQ(ScanFoldersOrdered(nullptr, table_, "", kScanTakesBlock, 0), 0u);
    EXPECT_EQ(table_.LoadLevel, 0);
}

TEST_F(MailScan, AMessageThatCannotBeReadIsLeftOutAndTheRestGoesOn)
{
    for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) Deliver(name);
    EXPECT_EQ(ScanUnder(FailOn(platform::FileOperation::Open, "b.MAI", 2)), 1u);
    EXPECT_EQ(Ids(), (Names{"a.MAI", "c.MAI"}));
    EXPECT_EQ(Column("c.MAI", "UID"), "2");
    Scan();
    EXPECT_EQ(Column("b.MAI", "UID"), "3");
}

TEST_F(MailScan, AMessageThatFailsWhileItIsReadIsLeftOutUntilItCanBe)
{
    Deliver("a.MAI", "Subject: one\r\n\r\n");
    Deliver("b.MAI", "Subject: two\r\n\r\n");
    EXPECT_EQ(ScanUnder(FailReadsOf("a.MAI")), 1u);
    EXPECT_EQ(Ids(), Names{"b.MAI"});
    EXPECT_EQ(Column("b.MAI", "UID"), "1");
    Scan();
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "one");
    EXPECT_EQ(Column("a.MAI", "UID"), "2");
}

TEST_F(MailScan, AKnownMessageThatFailsWhileItIsReadKeepsItsColumnsUntilItCanBe)
{
    Deliver("a.MAI", "Subject: old\r\n\r\n");
    Scan();
    Deliver("a.MAI", "Subject: newer\r\n\r\n");
    EXPECT_EQ(ScanUnder(FailReadsOf("a.MAI")), 1u);
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "old");
    EXPECT_EQ(Column("a.MAI", "SIZE"), "16");
    Scan();
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "newer");
    EXPECT_EQ(Column("a.MAI", "SIZE"), "18");
}

TEST_F(MailScan, WhatCannotBeReadNowMarksTheFolder)
{
    Deliver("a.MAI", "Subject: old\r\n\r\n");
    Scan();
    Deliver("a.MAI", "Subject: newer\r\n\r\n");
    Deliver("b.MAI");
    for (const char* name : {"a.MAI", "b.MAI"}) {
        std::filesystem::remove(folder_ / "_CHANGE.DTY");
        const HookedSeam seam(FailOn(platform::FileOperation::Open, name, 32));
        EXPECT_EQ(Scan(), 1u);
        EXPECT_TRUE(Has("_CHANGE.DTY")) << name;
        EXPECT_FALSE(RebuildFromMessages(table_, Path())) << name;
        std::filesystem::remove(folder_ / "_index.xml");
    }
    std::filesystem::remove(folder_ / "_CHANGE.DTY");
    const HookedSeam gone(FailOn(platform::FileOperation::Open, "b.MAI", 2));
    Scan();
    EXPECT_FALSE(Has("_CHANGE.DTY"));
}

TEST_F(MailScan, AFolderWhoseUidsAreUsedUpTakesNoMore)
{
    Deliver("a.MAI");
    uint32_t nextUid = UINT32_MAX;
    EXPECT_EQ(AddMessageItem(table_, Path(), {"a.MAI", 1, 1}, 0, nextUid), MessageRead::NoMessage);
    EXPECT_EQ(nextUid, UINT32_MAX);
    EXPECT_TRUE(Ids().empty());
}

TEST_F(MailScan, OnlyTheHeaderOfAPlainMessageIsRead)
{
    Deliver("a.MAI", "Subject: s\r\n\r\n" + std::string(1u << 20, 'x'));
    uint32_t nextUid = 0;
    std::map<platform::FileOperation, uint32_t> count;
    uint64_t asked = 0;
    const HookedSeam seam([&](platform::FileOperation operation, std::string_view, uint64_t bytes) {
        ++count[operation];
        if (operation == platform::FileOperation::Read) asked += bytes;
        return platform::FileVerdict{};
    });
    EXPECT_EQ(AddMessageItem(table_, Path(), {"a.MAI", 1u << 20, 1}, 0, nextUid), MessageRead::Whole);
    EXPECT_EQ(count[platform::FileOperation::Open], 1u);
    EXPECT_EQ(count[platform::FileOperation::Read], 1u);
    EXPECT_EQ(asked, 8192u);
    EXPECT_EQ(count[platform::FileOperation::Search], 0u);
}

TEST_F(MailScan, HostileFilesAreIndexedOnceOrLeftOut)
{
    std::string noise;
    uint32_t state = 12345;
    for (int i = 0; i < 300000; ++i) noise += static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
    Deliver("long.MAI", std::string(3u << 20, 'x'));
    Deliver("mixed.MAI", "Content-Type: multipart/mixed\r\n\r\n" + noise);
    Deliver("noise.MAI", noise);
    Deliver("zeros.MAI", std::string(100000, '\0'));
    Deliver("empty.MAI", "");
    std::filesystem::create_directory(folder_ / "directory.MAI");
    const Names expected = {"empty.MAI", "long.MAI", "mixed.MAI", "noise.MAI", "zeros.MAI"};
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Scan(), 1u);
        EXPECT_EQ(Ids(), expected);
        EXPECT_EQ(table_.LastUID, 5u);
    }
}

// ---- Known messages ----

TEST_F(MailScan, AKnownMessageIsNotOpenedAgain)
{
    Deliver("a.MAI");
    Scan();
    uint32_t opens = 0;
    const HookedSeam seam(CountMessageOpens(opens));
    Scan();
    EXPECT_EQ(opens, 0u);
    EXPECT_EQ(Ids(), Names{"a.MAI"});
}

TEST_F(MailScan, AMessageOfAnotherSizeIsReadAgain)
{
    Deliver("a.MAI", "Subject: old\r\nTo: old\r\nFrom: old\r\nCC: old\r\nX-VL-Class: old\r\nX-Priority: 1\r\n\r\n");
    Scan();
    EXPECT_EQ(Column("a.MAI", "ATTACHMENTS"), "0");
    const auto stamp = std::filesystem::last_write_time(folder_ / "a.MAI");
    SetItemProperty(*FindLoadedItem(table_, "a.MAI"), kFlagStatus, "\\FLAGGED");
    ASSERT_EQ(SaveIndex(table_, Path().c_str(), kKindMail), 1u);
    const std::string newer =
        "X-Read: 1\r\nX-VLTempFlags: \\DRAFT\r\nSubject: newer\r\nTo: newer\r\nFrom: newer\r\nCC: newer\r\nX-VL-Class: newer\r\n"
        "X-Priority: 5\r\nContent-Disposition: attachment\r\nDate: Mon, 7 Feb 2011 10:00:00 +0000\r\n\r\n";
    Deliver("a.MAI", newer);
    std::filesystem::last_write_time(folder_ / "a.MAI", stamp);
    Scan();
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "newer");
    EXPECT_EQ(Column("a.MAI", "SIZE"), std::to_string(newer.size()));
    EXPECT_EQ(Column("a.MAI", "ATTACHMENTS"), "1");
    // READ follows the file, also against flags that say otherwise.
    EXPECT_EQ(Column("a.MAI", "READ"), "1");
    EXPECT_EQ(Column("a.MAI", "MESSAGEDATE"), "2011-02-07T10:00:00");
    EXPECT_EQ(Column("a.MAI", "RECEIVED"), "2011-02-07T10:00:00");
    // The rest stays as the index has it.
    for (const char* column : {"TO", "FROM", "CC", "CLASS"}) EXPECT_EQ(Column("a.MAI", column), "old") << column;
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "\\FLAGGED");
    EXPECT_EQ(Column("a.MAI", "IMPORTANCE"), "1");
    EXPECT_EQ(Column("a.MAI", "UID"), "1");
}

TEST_F(MailScan, AMessageOfAnotherTimeIsReadAgain)
{
    Deliver("a.MAI", "Subject: old\r\n\r\n");
    Scan();
    const std::string before = Column("a.MAI", "MODIFIEDDATE");
    Deliver("a.MAI", "Subject: new\r\n\r\n");
    std::filesystem::last_write_time(folder_ / "a.MAI", std::filesystem::file_time_type::clock::now() - std::chrono::hours(30));
    Scan();
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "new");
    EXPECT_NE(Column("a.MAI", "MODIFIEDDATE"), before);
    uint32_t opens = 0;
    const HookedSeam seam(CountMessageOpens(opens));
    Scan();
    EXPECT_EQ(opens, 0u);
}

TEST_F(MailScan, ARefreshThatCannotReadTheFileChangesNothing)
{
    Deliver("a.MAI", "Subject: old\r\n\r\n");
    Scan();
    IndexItemPropertyContainer& item = *FindLoadedItem(table_, "a.MAI");
    EXPECT_EQ(RefreshMessageItem(item, Path(), {"gone.MAI", 77, 77}, 0), MessageRead::NoMessage);
    EXPECT_EQ(Column("a.MAI", "SUBJECT"), "old");
    EXPECT_EQ(Column("a.MAI", "SIZE"), "16");
}

TEST_F(MailScan, AnItemWhoseFileIsGoneStays)
{
    Deliver("a.MAI");
    Deliver("b.MAI");
    Scan();
    std::filesystem::remove(folder_ / "a.MAI");
    Scan();
    EXPECT_EQ(Ids(), (Names{"a.MAI", "b.MAI"}));
    Scan(kScanTakesBlock, 1);
    EXPECT_EQ(Ids(), Names{"b.MAI"});
}

TEST_F(MailScan, ASelectionLeftInTheTableDoesNotMakeKnownMessagesNew)
{
    Deliver("a.MAI");
    Deliver("b.MAI");
    Scan();
    table_.LoadSelection = "a.MAI";
    Scan();
    EXPECT_EQ(Column("b.MAI", "UID"), "2");
    EXPECT_EQ(Ids(), (Names{"a.MAI", "b.MAI"}));
}

// ---- Saving ----

TEST_F(MailScan, TheFolderDetailsAreWritten)
{
    Deliver("a.MAI", "X-Read: 1\r\n\r\n");
    Deliver("b.MAI", "X-VLTempFlags: \\FLAGGED\r\n\r\n");
    Scan();
    const std::string bytes = ReadFileBytes(folder_ / "_FOLDER.DAT");
    ASSERT_EQ(bytes.size(), 52u);
    const unsigned char expected[13] = {0, 0, 0, 0, 1, 1, 2, 1, 1, 0, 0, 2, 0};
    for (size_t word = 0; word < 13; ++word) EXPECT_EQ(static_cast<unsigned char>(bytes[word * 4]), expected[word]) << word;
}

TEST_F(MailScan, AnOverflowIsNotSavedAndMarksTheFolder)
{
    for (int i = 0; i < 10; ++i) Deliver(FormatText("%02d.MAI", i));
    MessageListing files;
    files.Read(Path(), 100);
    const ReconcileResult result = ReconcileMessages(table_, Path(), files, 5);
    EXPECT_TRUE(result.overflow);
    EXPECT_EQ(ItemCountOf(table_), 4u);
    table_.LoadLevel = 3;
    StoreScanResult(table_, Path(), kKindMail, result);
    EXPECT_TRUE(Has("_CHANGE.DTY"));
    EXPECT_TRUE(Has("_DIRSIZE.TMP"));
    EXPECT_FALSE(Has("_index.xml"));
    EXPECT_FALSE(Has("_FOLDER.DAT"));
}

TEST_F(MailScan, WhatCannotBeSavedMarksTheFolder)
{
    store_.SetNumber("Use XML Stream Index Serialisation", 0);
    // A version that is not there.
    store_.SetText("XML Version", "4", "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store");
    ForgetCachedSettings();
    Deliver("a.MAI");
    EXPECT_EQ(Scan(), 1u);
    EXPECT_TRUE(Has("_CHANGE.DTY"));
    EXPECT_FALSE(Has("_index.xml"));
}

TEST_F(MailScan, ARebuildFillsTheTableAndLeavesTheIndexFileToItsCaller)
{
    Deliver("a.MAI");
    table_.LoadLevel = 3;
    RebuildFromMessages(table_, Path());
    EXPECT_EQ(Ids(), Names{"a.MAI"});
    EXPECT_TRUE(Has("_FOLDER.DAT"));
    EXPECT_TRUE(Has("_DIRSIZE.TMP"));
    EXPECT_FALSE(Has("_index.xml"));
}

// ---- The block file ----

// What a scan's block file is while the scan runs.
struct BlockState {
    bool stands = false;
    bool deletable = false;
};
HookedSeam::Hook LookAtBlock(const std::filesystem::path& folder, BlockState& state)
{
    return [folder, &state](platform::FileOperation operation, std::string_view path, uint64_t) {
        if (operation == platform::FileOperation::Open && path.ends_with("_DIRSIZE.TMP")) {
            state.stands = FileExists(folder / "_index.blk");
            state.deletable = DeleteFileA((folder.string() + "\\_index.blk").c_str()) != 0;
        }
        return platform::FileVerdict{};
    };
}

TEST_F(MailScan, HoldsTheBlockByHandleInModeOne)
{
    BlockState block;
    const HookedSeam seam(LookAtBlock(folder_, block));
    EXPECT_EQ(Scan(kScanTakesBlock), 1u);
    EXPECT_TRUE(block.stands);
    EXPECT_FALSE(block.deletable);
    EXPECT_FALSE(Has("_index.blk"));
}

TEST_F(MailScan, HoldsTheBlockByNameInModeZero)
{
    BlockState block;
    const HookedSeam seam(LookAtBlock(folder_, block));
    EXPECT_EQ(Scan(0), 1u);
    EXPECT_TRUE(block.stands);
    EXPECT_TRUE(block.deletable);
    EXPECT_FALSE(Has("_index.blk"));
}

TEST_F(MailScan, LeavesTheBlockToItsCallerInMode99)
{
    WriteFileBytes(folder_ / "_index.blk", "");
    Deliver("a.MAI");
    EXPECT_EQ(Scan(kScanCallerHolds), 1u);
    EXPECT_EQ(Ids(), Names{"a.MAI"});
    EXPECT_TRUE(Has("_index.blk"));
}

TEST_F(MailScan, ABusyBlockAnswersOneWithNothingDone)
{
    WriteFileBytes(folder_ / "_index.blk", "");
    Deliver("a.MAI");
    FakeClock clock;
    for (const uint32_t mode : {0u, kScanTakesBlock}) EXPECT_EQ(Scan(mode), 1u);
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_EQ(table_.LoadLevel, 0);
    EXPECT_FALSE(Has("_index.xml"));
    EXPECT_TRUE(Has("_index.blk"));
}

TEST_F(MailScan, ABlockThatCannotBeRemovedIsTriedForAndReported)
{
    const HookedSeam seam(FailOn(platform::FileOperation::Delete, "_index.blk", 32));
    FakeClock clock;
    uint64_t answer = 0;
    const std::string said = CaptureStdout([&] { answer = Scan(); });
    EXPECT_EQ(answer, 1u);
    EXPECT_EQ(said, "ScanFoldersOrdered::Unable to remove blocking file");
    EXPECT_EQ(clock.Sleeps(), std::vector<uint32_t>(81, 1000));
}

TEST_F(MailScan, ABlockThatSomebodyElseRemovedIsNoFault)
{
    const HookedSeam seam(FailOn(platform::FileOperation::Delete, "_index.blk", 2));
    FakeClock clock;
    EXPECT_EQ(CaptureStdout([&] { Scan(); }), "");
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(MailScan, ASizeInTheTemporaryFlagsDoesNotCountInAScan)
{
    Deliver("a.MAI", "X-VLTempFlags: SIZE=123\r\n\r\n");
    Scan();
    EXPECT_EQ(Column("a.MAI", "SIZE"), "27");
    EXPECT_EQ(Column("a.MAI", "FLAGSTATUS"), "SIZE=123 \\RECENT");
}

}  // namespace
}  // namespace velmora::test
