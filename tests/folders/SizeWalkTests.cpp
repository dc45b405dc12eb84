// The size of a folder with all folders below it.
#include "folders/SizeWalk.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "frame/Settings.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"
#include "tests/counts/CountedFiles.h"
#include "tests/folders/FolderTree.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

constexpr char kProviderKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";
constexpr uint32_t kLargest = 0xFFFFFFFF;

class FolderSize : public FolderTree {
protected:
    static void WriteIndex(const fs::path& directory, const std::string& elements)
    {
        WriteFileBytes(directory / "_index.xml", "<BASEELEMENT LASTUID=\"x00000009\">" + elements + "</BASEELEMENT>");
    }
    static std::string Item(const std::string& id, const std::string& size)
    {
        return "<ELEMENT ID=\"" + id + "\" UID=\"1\"><SIZE>" + size + "</SIZE></ELEMENT>";
    }
    fs::path MakeSized(std::string_view folder, const std::string& size)
    {
        const fs::path directory = Make(folder);
        WriteIndex(directory, Item("1.MAI", size));
        return directory;
    }
    static void PutMail(const fs::path& directory, const std::string& name, size_t bytes)
    {
        std::string text = "Subject: s\r\n\r\n";
        text.resize(bytes, 'x');
        WriteFileBytes(directory / name, text);
    }

    static uint32_t SizeOf(std::string_view folderPath, uint32_t mode = 0)
    {
        StoreFolderRecord record = RecordOf(folderPath);
        record.FolderSize = 12345;
        EXPECT_EQ(StoreFolderGet_Ex(&record, mode), 1u);
        return record.FolderSize;
    }
};

// ---- One folder ----

TEST_F(FolderSize, IsTheSumOfTheSizesOfItsItems)
{
    WriteIndex(Make("a"), Item("1.MAI", "100") + Item("2.MAI", "23"));
    EXPECT_EQ(SizeOf("/a"), 123u);
}

TEST_F(FolderSize, CountsNoItemWithADashInItsIdAndNoneWithoutASize)
{
    WriteIndex(Make("a"), Item("1.MAI", "1") + Item("1-2", "10") + Item("-----", "100") + "<ELEMENT ID=\"3.MAI\"><X>5</X></ELEMENT>" +
                              Item("4.MAI", "") + "<ELEMENT UID=\"5\"><SIZE>1000</SIZE></ELEMENT>" +
                              "<OTHER ID=\"6.MAI\"><SIZE>7</SIZE></OTHER>");
    EXPECT_EQ(SizeOf("/a"), 1u);
}

TEST_F(FolderSize, ReadsTheFirstSizeOfAnItemAndItsLeadingNumber)
{
    WriteIndex(Make("a"), "<ELEMENT ID=\"1\"><A>3</A><SIZE> 12x4</SIZE><SIZE>500</SIZE></ELEMENT>" + Item("2", "none"));
    EXPECT_EQ(SizeOf("/a"), 12u);
}

TEST_F(FolderSize, OfAnIndexOfAnotherShapeIsZero)
{
    WriteFileBytes(Make("a") / "_index.xml", "<OTHER>" + Item("1", "5") + "</OTHER>");
    WriteFileBytes(Make("b") / "_index.xml", "<BASEELEMENT><LIST>" + Item("1", "5") + "</LIST></BASEELEMENT>");
    EXPECT_EQ(SizeOf("/a"), 0u);
    EXPECT_EQ(SizeOf("/b"), 0u);
}

TEST_F(FolderSize, OfADamagedIndexIsZeroAndNoFailure)
{
    MakeSized("a/below", "7");
    WriteFileBytes(mailbox / "a" / "_index.xml", "<BASEELEMENT>" + Item("1", "5"));
    EXPECT_EQ(SizeOf("/a"), 7u);
}

TEST_F(FolderSize, OfAFolderThatIsNotThereIsZeroAndMakesNothing)
{
    EXPECT_EQ(SizeOf("/nowhere"), 0u);
    EXPECT_FALSE(FileExists(mailbox / "nowhere"));
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(FolderSize, WithANegativeSumCountsNothing)
{
    MakeSized("a", "-5000");
    MakeSized("b", "300");
    EXPECT_EQ(SizeOf("/a"), 0u);
    EXPECT_EQ(SizeOf("/a", 1), 0u);
    EXPECT_EQ(SizeOf("/"), 300u);
    WriteIndex(mailbox / "b", Item("1", "300") + Item("2", "-100"));
    EXPECT_EQ(SizeOf("/b"), 200u) << "within a folder a negative size takes away";
}

TEST_F(FolderSize, IsHeldAtItsLargestNumber)
{
    MakeSized("a", "4294967296");
    EXPECT_EQ(SizeOf("/a"), kLargest);
    MakeSized("b", "9223372036854775807");
    WriteIndex(mailbox / "b", Item("1", "9223372036854775807") + Item("2", "9223372036854775807"));
    EXPECT_EQ(SizeOf("/b"), kLargest);
    EXPECT_EQ(SizeOf("/b", 1), kLargest);
    MakeSized("c", "4294967295");
    EXPECT_EQ(SizeOf("/c"), kLargest);
    MakeSized("d", "4294967294");
    EXPECT_EQ(SizeOf("/d"), kLargest - 1);
}

// ---- A tree ----

TEST_F(FolderSize, OfATreeIsTheSumOfItsFolders)
{
    MakeSized("a", "1");
    MakeSized("a/x", "10");
    MakeSized("a/x/y", "100");
    MakeSized("b", "1000");
    EXPECT_EQ(SizeOf("/"), 1111u);
    EXPECT_EQ(SizeOf("/a"), 111u);
    EXPECT_EQ(SizeOf("a\\x"), 110u);
}

TEST_F(FolderSize, OfATreeIsHeldAtItsLargestNumberOnTheWayUp)
{
    MakeSized("a/x", "4294967000");
    MakeSized("a/y", "4294967000");
    MakeSized("a", "1");
    MakeSized("b", "5");
    EXPECT_EQ(SizeOf("/a"), kLargest);
    EXPECT_EQ(SizeOf("/"), kLargest);
}

TEST_F(FolderSize, InKilobytesIsTruncatedFolderByFolder)
{
    MakeSized("a", "2047");
    MakeSized("a/x", "1023");
    MakeSized("a/y", "1023");
    EXPECT_EQ(SizeOf("/a", 0), 4093u);
    EXPECT_EQ(SizeOf("/a", 1), 1u);
    EXPECT_EQ(SizeOf("/a", 2), 4093u) << "any other mode is bytes";
}

TEST_F(FolderSize, IsAllThatChangesInTheRecord)
{
    MakeSized("a/x", "3");
    StoreFolderRecord record = RecordOf("/a", "my own");
    StoreFolderRecord expected = record;
    expected.FolderSize = 3;
    EXPECT_EQ(StoreFolderGet(&record), 1u);
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
    record.FolderSize = 0;
    EXPECT_EQ(StoreFolderGetSize(&record), 1u);
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
}

TEST_F(FolderSize, OfNoRecordIsAFailure)
{
    EXPECT_EQ(StoreFolderGet(nullptr), 0u);
    EXPECT_EQ(StoreFolderGet_Ex(nullptr, 1), 0u);
    EXPECT_EQ(StoreFolderGetSize(nullptr), 0u);
}

TEST_F(FolderSize, OfFieldsWithoutAnEndReadsNothingBehindThem)
{
    StoreFolderRecord record;
    std::memset(&record, 'x', sizeof record);
    EXPECT_EQ(StoreFolderGet(&record), 1u);
    EXPECT_EQ(record.FolderSize, 0u);
}

TEST_F(FolderSize, DoesNotLeaveTheFolderByNamesThatAreNone)
{
    MakeSized("a", "1");
    MakeSized("b", "10");
    WriteList(mailbox / "a", {"..", ".", "../b", "..\\b", "x/../../b", "", "/b"});
    EXPECT_EQ(SizeOf("/a"), 1u);
}

TEST_F(FolderSize, OfAListedFolderThatIsNotThereIsZero)
{
    MakeSized("a", "1");
    WriteList(mailbox / "a", {"gone", "x"});
    MakeSized("a/x", "2");
    EXPECT_EQ(SizeOf("/a"), 3u);
    EXPECT_FALSE(FileExists(mailbox / "a" / "gone"));
}

TEST_F(FolderSize, OfAnUnchangedTreeListsNoDirectory)
{
    for (const char* name : {"a", "a/x", "a/y", "b", "Calendar"}) MakeSized(name, "10");
    ASSERT_EQ(SizeOf("/"), 50u);
    const CountedFiles files("box");
    EXPECT_EQ(SizeOf("/"), 50u);
    EXPECT_EQ(files.Cost().listings, 0u) << files.Cost();
    EXPECT_EQ(files.Cost().Of(platform::FileOperation::Write), 0u);
    EXPECT_EQ(files.Cost().Of(platform::FileOperation::Move), 0u);
}

// The list is made anew in front of the flag.
TEST_F(FolderSize, IsWholeThoughTheFlagOfAListCannotBeTakenAway)
{
    MakeSized("a/x", "10");
    MakeSized("b", "100");
    WriteFileBytes(mailbox / "a" / "_folder.xml", "<folderindex></folderindex>");
    for (const uint32_t error : {32u, 5u}) {
        Flag(mailbox / "a");
        const FailingFiles stuck(platform::FileOperation::Delete, "_folder.dty", error);
        EXPECT_EQ(SizeOf("/"), 110u) << error;
        EXPECT_GT(stuck.Failed(), 0u);
        EXPECT_TRUE(FileExists(mailbox / "a" / "_folder.dty"));
        EXPECT_FALSE(FileExists(mailbox / "a" / "_index.blk"));
    }
}

TEST_F(FolderSize, EndsWhereAListIsDamagedUntilItIsMadeAnew)
{
    MakeSized("a", "1");
    MakeSized("a/x", "10");
    MakeSized("b", "100");
    WriteFileBytes(mailbox / "a" / "_folder.xml", "<folderindex><folder>");
    EXPECT_EQ(SizeOf("/"), 101u);
    EXPECT_FALSE(FileExists(mailbox / "a" / "_folder.xml"));
    EXPECT_EQ(SizeOf("/"), 111u);
}

TEST_F(FolderSize, EndsWhereAListCannotBeWritten)
{
    MakeSized("a", "1");
    MakeSized("a/x", "10");
    ASSERT_EQ(SizeOf("/b"), 0u);
    {
        const FailingFiles denied(platform::FileOperation::Open, "_folder.xml", 5);
        EXPECT_EQ(SizeOf("/a"), 1u);
        EXPECT_GT(denied.Failed(), 0u);
    }
    EXPECT_EQ(SizeOf("/a"), 11u);
}

// At every level the list would double the ways to the folders below.
TEST_F(FolderSize, EntersADirectoryOnceWhateverTheListCallsIt)
{
    std::string folder;
    for (int level = 0; level < 24; ++level) {
        WriteList(Make(folder), {"A", "a", "a ", "a."});
        folder += folder.empty() ? "a" : "/a";
        MakeSized(folder, "1");
    }
    EXPECT_EQ(SizeOf("/"), 24u);
}

// Whatever stands behind these names, the path is that of the one directory.
TEST_F(FolderSize, EntersADirectoryOnceThoughItsChildrenResolveToItself)
{
    for (const auto& [root, path] : {std::pair{"VCFROOT", "$VCFROOTX"}, {"PUBROOT", "xPublic/news"}}) {
        const fs::path top = store.MailRoot() / "po" / root;
        for (const char* name : {"", "p", "q", "r"}) fs::create_directories(top / name);
        WriteIndex(top, Item("1.MAI", "7"));
        EXPECT_EQ(SizeOf(path), 7u) << path;
    }
}

TEST_F(FolderSize, OfAListedFileIsZero)
{
    MakeSized("a", "1");
    WriteFileBytes(mailbox / "a" / "file", "no folder");
    WriteList(mailbox / "a", {"file"});
    EXPECT_EQ(SizeOf("/a"), 1u);
}

// Each allocation of the walk fails once: what is answered with 1 is the whole size.
TEST_F(FolderSize, WithoutMemoryIsAFailureAndNeverTooSmall)
{
    MakeSized("a", "1");
    MakeSized("a/x", "10");
    MakeSized("b", "100");
    ASSERT_EQ(SizeOf("/"), 111u);
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 5000u);
        StoreFolderRecord record = RecordOf("/");
        record.FolderSize = 99;
        uint64_t answer = 0;
        uint32_t hits = 0;
        CaptureStdout([&] {
            const AllocationFault fault(n, FaultSpan::Once);
            answer = StoreFolderGet(&record);
            hits = AllocationFault::Hits();
        });
        EXPECT_EQ(record.FolderSize, answer == 1 ? 111u : 0u) << n;
        if (answer != 1) ++failures;
        if (hits == 0) {
            EXPECT_EQ(answer, 1u);
            break;
        }
    }
    EXPECT_GT(failures, 10u);
    EXPECT_EQ(SizeOf("/"), 111u);
}

TEST_F(FolderSize, WithNoDocumentFacilityTellsTheErrorAndIsZero)
{
    MakeSized("a", "10");
    store.SetText("XML Version", "4", kProviderKey);
    uint32_t size = 1;
    const std::string said = CaptureStdout([&] { size = SizeOf("/a"); });
    EXPECT_EQ(size, 0u);
    EXPECT_NE(said.find("Error:\nCode = 80004003\n"), std::string::npos) << said;
}

// ---- Bringing folders up to date ----

TEST_F(FolderSize, ScansAFolderThatHasNoIndex)
{
    const fs::path a = Make("a");
    PutMail(a, "1.MAI", 500);
    PutMail(a, "2.MAI", 70);
    EXPECT_EQ(SizeOf("/a"), 570u);
    EXPECT_TRUE(FileExists(a / "_index.xml"));
    EXPECT_FALSE(FileExists(a / "_index.blk"));
}

TEST_F(FolderSize, ScansAFlaggedFolderAndTakesItsFlagsAway)
{
    const fs::path a = Make("a");
    PutMail(a, "1.MAI", 500);
    ASSERT_EQ(SizeOf("/a"), 500u);
    PutMail(a, "2.MAI", 70);
    EXPECT_EQ(SizeOf("/a"), 500u) << "nobody has said that it changed";
    WriteFileBytes(a / "_CHANGE.DTY", "");
    EXPECT_EQ(SizeOf("/"), 570u);
    EXPECT_FALSE(FileExists(a / "_CHANGE.DTY"));
}

TEST_F(FolderSize, IsThatOfTheIndexAsItStandsWhileSomebodyElseHoldsTheFolder)
{
    const fs::path a = MakeSized("a", "9");
    WriteFileBytes(a / "_CHANGE.DTY", "");
    PutMail(a, "1.MAI", 500);
    const std::string block = (a / "_index.blk").string();
    const HANDLE holder = CreateFileA(block.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_EQ(SizeOf("/a"), 9u);
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(FileExists(block));
    EXPECT_TRUE(FileExists(a / "_CHANGE.DTY"));
    CloseHandle(holder);
    EXPECT_EQ(SizeOf("/a"), 9u) << "an orphan holds it as well";
    EXPECT_TRUE(FileExists(block));
}

TEST_F(FolderSize, NeverScansTheRootButItsChildren)
{
    WriteFileBytes(mailbox / "_CHANGE.DTY", "");
    PutMail(mailbox, "1.MAI", 500);
    PutMail(Make("a"), "2.MAI", 70);
    EXPECT_EQ(SizeOf("/"), 70u);
    EXPECT_FALSE(FileExists(mailbox / "_index.xml"));
    EXPECT_TRUE(FileExists(mailbox / "_CHANGE.DTY"));
}

TEST_F(FolderSize, ScansTheRootUnderItsOtherName)
{
    PutMail(mailbox, "1.MAI", 500);
    EXPECT_EQ(SizeOf("\\"), 500u);
}

TEST_F(FolderSize, NeverScansTheCalendarBelowTheRoot)
{
    const fs::path calendar = Make("calendar");
    WriteFileBytes(calendar / "_CHANGE.DTY", "");
    PutMail(calendar, "1.MAI", 500);
    EXPECT_EQ(SizeOf("/"), 0u);
    EXPECT_EQ(SizeOf("//cALENDAR"), 0u);
    EXPECT_TRUE(FileExists(calendar / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(calendar / "_index.xml"));
    EXPECT_EQ(SizeOf("/Calendar"), 500u) << "by another spelling it is a folder like any other";
}

// Nobody here can scan contacts yet.
TEST_F(FolderSize, TakesContactsByTheirIndexAndLeavesTheirFlag)
{
    const fs::path contacts = MakeSized("Contacts", "30");
    WriteFileBytes(contacts / "_CHANGE.DTY", "");
    PutMail(contacts, "1.MAI", 500);
    EXPECT_EQ(SizeOf("/"), 30u);
    EXPECT_TRUE(FileExists(contacts / "_CHANGE.DTY"));
}

TEST_F(FolderSize, DoesNotScanAFolderWhoseIndexReachesTheLimit)
{
    store.SetNumber("Index Injection Size Limit", 2, kProviderKey);
    const fs::path a = Make("a");
    PutMail(a, "1.MAI", 500);
    std::string index = "<BASEELEMENT LASTUID=\"x00000001\">" + Item("0.MAI", "9") + "</BASEELEMENT>";
    index.resize(2048, ' ');
    WriteFileBytes(a / "_index.xml", index);
    WriteFileBytes(a / "_CHANGE.DTY", "");
    EXPECT_EQ(SizeOf("/a"), 9u);
    EXPECT_TRUE(FileExists(a / "_CHANGE.DTY"));
    index.resize(2047);
    WriteFileBytes(a / "_index.xml", index);
    EXPECT_EQ(SizeOf("/a"), 509u);
    EXPECT_FALSE(FileExists(a / "_CHANGE.DTY"));
}

TEST_F(FolderSize, ReadsTheLimitOnceAProcess)
{
    store.SetNumber("Index Injection Size Limit", 1, kProviderKey);
    const fs::path a = Make("a");
    PutMail(a, "1.MAI", 500);
    EXPECT_EQ(SizeOf("/a"), 500u);
    // As an administrator changes it, while the process runs.
    const fs::path settings = store.Directory() / "registry.reg";
    std::string text = ReadFileBytes(settings);
    const size_t at = text.find("dword:", text.find("Index Injection Size Limit"));
    ASSERT_NE(at, std::string::npos);
    WriteFileBytes(settings, text.replace(at, 14, "dword:000000ff"));
    std::string index = "<BASEELEMENT LASTUID=\"x00000001\">" + Item("0.MAI", "9") + "</BASEELEMENT>";
    index.resize(1024, ' ');
    WriteFileBytes(a / "_index.xml", index);
    WriteFileBytes(a / "_CHANGE.DTY", "");
    EXPECT_EQ(SizeOf("/a"), 9u);
    ForgetCachedSettings();
    EXPECT_EQ(SizeOf("/a"), 509u);
}

TEST_F(FolderSize, TakesTheFlagOfCachedTransactionsAwayWhenTheyAreOn)
{
    const fs::path a = MakeSized("a", "9");
    WriteFileBytes(a / "_CACHED.DTY", "");
    EXPECT_EQ(SizeOf("/a"), 9u);
    EXPECT_TRUE(FileExists(a / "_CACHED.DTY")) << "they are off";
    Switches().CachedTransactionsEnabled = 1;
    EXPECT_EQ(SizeOf("/a"), 9u);
    Switches() = FlagSwitches();
    EXPECT_FALSE(FileExists(a / "_CACHED.DTY"));
}

TEST_F(FolderSize, OfAScanThatRaisesIsAFailureAndLeavesTheFlagAndNoBlock)
{
    const fs::path a = MakeSized("a", "9");
    WriteFileBytes(a / "_CHANGE.DTY", "");
    {
        const RaisingFiles broken("*.MAI");
        StoreFolderRecord record = RecordOf("/a");
        record.FolderSize = 99;
        EXPECT_EQ(StoreFolderGet(&record), 0u);
        EXPECT_EQ(record.FolderSize, 0u);
    }
    EXPECT_TRUE(log.HasEvent("out of order"));
    EXPECT_TRUE(FileExists(a / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(a / "_index.blk"));
}

TEST_F(FolderSize, TakesALimitOfZeroForTheDefault)
{
    store.SetNumber("Index Injection Size Limit", 0, kProviderKey);
    EXPECT_EQ(SettingValue(Setting::IndexInjectionSizeLimit), 3072u);
    PutMail(Make("a"), "1.MAI", 500);
    EXPECT_EQ(SizeOf("/a"), 500u);
}

TEST_F(FolderSize, WaitsForABlockThatCannotBeDeletedAndGivesUp)
{
    MakeSized("a", "9");
    uint32_t size = 0;
    std::string said;
    {
        const FailingFiles stuck(platform::FileOperation::Delete, "_index.blk", 5);
        said = CaptureStdout([&] { size = SizeOf("/a"); });
        EXPECT_EQ(stuck.Failed(), 81u);
    }
    EXPECT_EQ(size, 9u);
    EXPECT_EQ(clock.Sleeps(), std::vector<uint32_t>(81, 1000));
    EXPECT_EQ(said, "ScanFoldersOrdered::Unable to remove blocking file");
}

// Each would cost its wait, and be left as well.
TEST_F(FolderSize, TakesNoMoreBlocksBehindOneThatCouldNotBeDeleted)
{
    for (const char* name : {"a", "a/b", "c", "d"}) MakeSized(name, "9");
    WriteFileBytes(mailbox / "d/_CHANGE.DTY", "");
    {
        const FailingFiles stuck(platform::FileOperation::Delete, "_index.blk", 5);
        CaptureStdout([&] { EXPECT_EQ(SizeOf("/"), 36u); });
        EXPECT_EQ(stuck.Failed(), 81u);
    }
    EXPECT_EQ(clock.Sleeps().size(), 81u);
    EXPECT_TRUE(FileExists(mailbox / "a/_index.blk"));
    for (const char* name : {"a/b", "c", "d"}) EXPECT_FALSE(FileExists(mailbox / name / "_index.blk")) << name;
    EXPECT_TRUE(FileExists(mailbox / "d/_CHANGE.DTY")) << "nobody has scanned it";
}

TEST_F(FolderSize, TakesTheNextBlocksBehindOneThatWasGone)
{
    for (const char* name : {"a", "b"}) MakeSized(name, "9");
    WriteFileBytes(mailbox / "b/_CHANGE.DTY", "");
    const FailingFiles gone(platform::FileOperation::Delete, "a\\_index.blk", 2);
    CaptureStdout([&] { SizeOf("/"); });
    EXPECT_EQ(gone.Failed(), 1u);
    EXPECT_FALSE(FileExists(mailbox / "b/_CHANGE.DTY"));
}

TEST_F(FolderSize, GoesOnAsSoonAsTheBlockCanBeDeleted)
{
    MakeSized("a", "9");
    const FailingFiles stuck(platform::FileOperation::Delete, "_index.blk", 32, 3);
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(SizeOf("/a"), 9u); }), "");
    EXPECT_EQ(clock.Sleeps(), std::vector<uint32_t>(3, 1000));
}

TEST_F(FolderSize, DoesNotWaitForABlockThatIsGone)
{
    MakeSized("a", "9");
    const FailingFiles gone(platform::FileOperation::Delete, "_index.blk", 2);
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(SizeOf("/a"), 9u); }), "ScanFoldersOrdered::Unable to remove blocking file");
    EXPECT_TRUE(clock.Sleeps().empty());
}

TEST_F(FolderSize, LeavesAFlagForWhatTheScanCouldNotSave)
{
    const fs::path a = Make("a");
    PutMail(a, "1.MAI", 500);
    {
        const FailingFiles full(platform::FileOperation::Open, "_index.xml", 5);
        EXPECT_EQ(SizeOf("/a"), 0u);
    }
    EXPECT_TRUE(FileExists(a / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(a / "_index.blk"));
    EXPECT_EQ(SizeOf("/a"), 500u);
}

}  // namespace
}  // namespace velmora::test
