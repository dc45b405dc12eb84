// The backup copy, what happens to a damaged file, and exceptions that meet the dispatchers.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "common/FileStream.h"
#include "index/IndexPersistence.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "tests/persistence/RecoveryFixture.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {
namespace {

constexpr uint64_t kMinute = 600000000;  // in FILETIME units

// --- keeping the backup --------------------------------------------------------------------------------------------

TEST_F(Recovery, AFullLoadKeepsACopyOfTheFile)
{
    Write("_index.xml", kGood);
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(Read("_index.xml.bak"), kGood);
    EXPECT_TRUE(log_.Events().empty());
}

TEST_F(Recovery, ALoadBelowFullKeepsNoCopy)
{
    Write("_index.xml", kGood);
    EXPECT_EQ(Load(1), 1);
    EXPECT_EQ(Load(2), 2);
    EXPECT_FALSE(Exists("_index.xml.bak"));
}

TEST_F(Recovery, WithTheSettingOffThereIsNoCopy)
{
    store_.SetNumber("Backup Index", 0);
    Write("_index.xml", kGood);
    EXPECT_EQ(Load(), 3);
    EXPECT_FALSE(Exists("_index.xml.bak"));
    store_.SetNumber("Backup Index", 2);
    EXPECT_EQ(Load(), 3);
    EXPECT_FALSE(Exists("_index.xml.bak"));
}

TEST_F(Recovery, TheCopyIsReplacedOneMinuteAfterTheInterval)
{
    FakeClock clock;
    Write("_index.xml.bak", kOther);
    Write("_index.xml", kGood);
    const uint64_t written = ReadFileStamp((folder_ / "_index.xml.bak").string()).lastWrite;
    clock.SetNow(written + 369 * kMinute);
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(Read("_index.xml.bak"), kOther);
    clock.SetNow(written + 371 * kMinute - 1);  // 370 whole minutes: exactly the interval
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(Read("_index.xml.bak"), kOther);
    clock.SetNow(written + 371 * kMinute);
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(Read("_index.xml.bak"), kGood);
}

TEST_F(Recovery, TheIntervalIsASetting)
{
    FakeClock clock;
    store_.SetNumber("Backup Index Interval", 5);
    Write("_index.xml.bak", kOther);
    Write("_index.xml", kGood);
    clock.SetNow(ReadFileStamp((folder_ / "_index.xml.bak").string()).lastWrite + 6 * kMinute);
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(Read("_index.xml.bak"), kGood);
}

TEST_F(Recovery, ACopyFromTheFutureStays)
{
    FakeClock clock;
    Write("_index.xml.bak", kOther);
    Write("_index.xml", kGood);
    clock.SetNow(ReadFileStamp((folder_ / "_index.xml.bak").string()).lastWrite - 10000 * kMinute);
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(Read("_index.xml.bak"), kOther);
}

TEST_F(Recovery, AFullLoadThatLooksForTheDirtyFlagTakesItAway)
{
    Write("_index.xml", kGood);
    Write("_change.dty", "");
    EXPECT_EQ(Load(3, 0, false), 3);
    EXPECT_TRUE(Exists("_change.dty"));
    EXPECT_EQ(Load(2, 0, true), 2);
    EXPECT_TRUE(Exists("_change.dty"));
    EXPECT_EQ(Load(3, 0, true), 3);
    EXPECT_FALSE(Exists("_change.dty"));
    EXPECT_EQ(Load(3, 0, true), 3);
}

// --- a damaged file ------------------------------------------------------------------------------------------------

TEST_F(Recovery, WithTheSettingOffTheDamagedFileStaysAndEachLoadFailsTheSameWay)
{
    store_.SetNumber("Backup Index", 0);
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kGood);
    for (int round = 1; round <= 2; ++round) {
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(Read("_index.xml"), kCut);
        EXPECT_FALSE(Exists("_index.xml.bad"));
        const std::vector<std::string> events = Events();
        ASSERT_EQ(events.size(), 2u * static_cast<size_t>(round));
        EXPECT_EQ(events[events.size() - 2], Malformed("Did not find root element end tag"));
        EXPECT_EQ(events.back(), Failed("\n"));
    }
    EXPECT_TRUE(log_.HasTrace(Failed("\n")));
}

TEST_F(Recovery, WithNoBackupTheDamagedFileIsPutAside)
{
    Write("_index.xml", kCut);
    EXPECT_EQ(Load(2), 0);
    EXPECT_EQ(table_.LoadLevel, 0);
    EXPECT_FALSE(Exists("_index.xml"));
    EXPECT_EQ(Read("_index.xml.bad"), kCut);
    const std::string message = Failed(". Unable to find recovery index. Recovering Index (there may be some flag loss)\n");
    EXPECT_EQ(Events(), (std::vector<std::string>{Malformed("Did not find root element end tag"), message}));
    EXPECT_TRUE(log_.HasTrace(message));
}

TEST_F(Recovery, AfterADamagedFileWasPutAsideTheNextLoadRebuilds)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    Write("_index.xml", kCut);
    IndexLoadArguments arguments;
    arguments.FolderPath = Folder();
    arguments.NoBlock = 1;
    arguments.CheckDirty = 1;
    EXPECT_FALSE(LoadIndex(table_, arguments, 3));
    EXPECT_TRUE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(IdsByUid(table_), "1.MAI");
    EXPECT_TRUE(Exists("_index.xml"));
}

TEST_F(Recovery, ABackupIsRestoredCheckedAgainstTheFilesCompletedAndSaved)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    Write("later.MAI", "Subject: later\r\n\r\n");
    Write("_index.xml", kCut);
    Write("_index.xml.bak", kGood);
    Write("_change.dty", "");
    EXPECT_EQ(Load(2), 3);
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(IdsById(table_), "1.MAI later.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    EXPECT_EQ(Read("_index.xml.bad"), kCut);
    EXPECT_EQ(Read("_index.xml.bak"), kGood);
    EXPECT_FALSE(Exists("_change.dty"));
    const std::string message = Failed(". Successfully loaded recovery index.\n");
    EXPECT_EQ(Events(), (std::vector<std::string>{Malformed("Did not find root element end tag"), message}));
    EXPECT_TRUE(log_.HasTrace(message));
    ExpectInFile("1.MAI later.MAI");
}

TEST_F(Recovery, ADamagedBackupEndsTheRecoveryAfterOneLevel)
{
    Write("1.MAI", "Subject: one\r\n\r\n");
    const std::string otherCut = kOther.substr(0, 60);
    Write("_index.xml", kCut);
    Write("_index.xml.bak", otherCut);
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(table_.LoadLevel, 0);
    EXPECT_FALSE(Exists("_index.xml.bak"));
    EXPECT_EQ(Read("_index.xml.bad"), kCut);
    EXPECT_EQ(Read("_index.xml"), otherCut);
    EXPECT_TRUE(Exists("1.MAI"));
    const std::string message = Failed(". Backup Index is also corrupt.\n");
    const std::vector<std::string> events = Events();
    // The reports of the calls inside come first: the backup's own load, and the rebuild around it.
    const std::string fault = Malformed("Did not find root element end tag");
    EXPECT_EQ(events, (std::vector<std::string>{fault, fault, Failed("\n"), Failed("\n"), message}));
    EXPECT_EQ(log_.Traces().back(), message);

    // With the backup gone the next load puts the file aside, and the one after that rebuilds.
    EXPECT_EQ(Load(), 0);
    EXPECT_FALSE(Exists("_index.xml"));
}

TEST_F(Recovery, DamagedGroupsWithNoBackupPutTheIndexBesideThemAside)
{
    Write("_groups.xml", kCut);
    Write("_index.xml", kGood);
    EXPECT_EQ(Load(3, 54), 0);
    EXPECT_EQ(Read("_groups.xml"), kCut);
    EXPECT_FALSE(Exists("_index.xml"));
    EXPECT_EQ(Read("_index.xml.bad"), kGood);
}

TEST_F(Recovery, DamagedGroupsRestoreTheBackupOfTheIndexBesideThem)
{
    Write("_groups.xml", kCut);
    Write("_index.xml", kGood);
    Write("_index.xml.bak", kOther);
    EXPECT_EQ(Load(3, 54), 0);
    EXPECT_EQ(Read("_groups.xml"), kCut);
    EXPECT_EQ(Read("_index.xml"), kOther);
    EXPECT_EQ(Read("_index.xml.bad"), kGood);
    EXPECT_FALSE(Exists("_index.xml.bak"));
}

TEST_F(Recovery, ALaterFailureOverwritesTheFilePutAside)
{
    Write("_index.xml", kCut);
    EXPECT_EQ(Load(), 0);
    const std::string other = "<other damage>" + std::string(20, '.');
    Write("_index.xml", other);
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(Read("_index.xml.bad"), other);
}

TEST_F(Recovery, AFileThatEndsInItsHeaderDoesNotTakeThePlaceOfOneThatTellsTheLastUid)
{
    for (const bool withBackup : {false, true}) {
        Write("_index.xml.bad", kCut);
        for (const char* const stub : {"", "<BASEELEMENT LASTUID=\"x000000"}) {
            Write("_index.xml", stub);
            if (withBackup) Write("_index.xml.bak", "<damage>");
            EXPECT_EQ(Load(), 0);
            EXPECT_EQ(Read("_index.xml.bad"), kCut);
            EXPECT_EQ(Exists("_index.xml"), withBackup);
        }
    }
    Write("_index.xml.bad", "<damage>");
    Write("_index.xml", "<other");
    std::filesystem::remove(folder_ / "_index.xml.bak");
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(Read("_index.xml.bad"), "<other");
}

TEST_F(Recovery, AQuarantineLeavesAFlagWhereTheFilesCanMakeTheIndexAgain)
{
    for (const uint32_t kind : {0u, 54u}) {
        Write("_index.xml", kCut);
        Write("_groups.xml", kCut);
        std::filesystem::remove(folder_ / "_CHANGE.DTY");
        EXPECT_EQ(Load(3, kind), 0);
        EXPECT_FALSE(Exists("_index.xml"));
        EXPECT_EQ(Exists("_CHANGE.DTY"), kind == 0);
    }
}

TEST_F(Recovery, WhatADeathLeftOfACopyGoesWithTheNextCopy)
{
    StreamXMLStoreIndexSerialiser serialiser;
    for (const bool restores : {false, true}) {
        Write("_index.xml", kGood);
        Write("_index.xml.bak", kGood);
        Write("_index.xml.tmp", "left");
        Write("_index.xml.bak.tmp", "left");
        if (restores)
            EXPECT_TRUE(serialiser.RestoreBackup(Folder()));
        else
            serialiser.BackupIndex(Folder());
        EXPECT_FALSE(Exists("_index.xml.tmp"));
        EXPECT_FALSE(Exists("_index.xml.bak.tmp"));
    }
}

TEST_F(Recovery, ARebuildWithTheSettingOffKeepsWhatTheFailedPassInserted)
{
    store_.SetNumber("Backup Index", 0);
    WriteTwoMessages();
    Write("_index.xml", Header(30) + Element("1.MAI", 4, {{"LABEL", "mine"}}) + "<ELEMENT ID=\"2.M");
    IndexLoadArguments arguments;
    arguments.FolderPath = Folder();
    arguments.NoBlock = 1;
    arguments.CheckDirty = 0;
    arguments.ForceRebuild = 1;
    EXPECT_TRUE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    EXPECT_EQ(FindLoadedItem(table_, "2.MAI")->Uid(), 31u);
}

TEST_F(Recovery, AFileCutAtEveryOffsetLosesNoItem)
{
    WriteTwoMessages();
    const std::string whole = IndexFile(9, Element("1.MAI", 4, {{"SUBJECT", "one"}}) + Element("2.MAI", 5, {{"SUBJECT", "two"}}));
    IndexLoadArguments arguments;
    arguments.FolderPath = Folder();
    arguments.NoBlock = 1;
    arguments.CheckDirty = 1;
    for (size_t size = 0; size < whole.size(); size += 3) {
        for (const char* name : {"_index.xml", "_index.xml.bak", "_index.xml.bad"}) std::filesystem::remove(folder_ / name);
        Write("_index.xml", whole.substr(0, size));
        if (size % 2 == 0) Write("_index.xml.bak", whole);
        TestTable table;
        if (!LoadIndex(table, arguments, 3)) {
            EXPECT_TRUE(LoadIndex(table, arguments, 3)) << size;
        }
        ASSERT_EQ(IdsById(table), "1.MAI 2.MAI") << "cut at " << size;
    }
}

// --- exceptions ----------------------------------------------------------------------------------------------------

enum class Raise { Com, Standard, OfOurs, Other, Nothing };

void RaiseIt(Raise what)
{
    switch (what) {
        case Raise::Com:
            throw ComError{0x8000FFFFu, "meaning", "source", "description"};
        case Raise::Standard:
            throw std::runtime_error("the reason");
        case Raise::OfOurs:
            throw Exception("the message", "Place", 7);
        case Raise::Other:
            throw 5;
        case Raise::Nothing:
            break;
    }
}

// Raises in one place, and answers `result` where it does not.
class RaisingSerialiser : public StreamXMLStoreIndexSerialiser {
public:
    uint64_t Serialise(SORTEDSTOREINDEXTYPE&, const std::string&, uint32_t) override
    {
        RaiseIt(inSerialise);
        return 1;
    }
    int32_t Deserialise(SORTEDSTOREINDEXTYPE&, const std::string&, uint32_t, const std::string&, const std::string&, int32_t, uint32_t,
                        uint32_t) override
    {
        RaiseIt(inDeserialise);
        return result;
    }
    void BackupIndex(const std::string&) override { RaiseIt(inBackup); }
    bool QuarantineIndex(const std::string&) override
    {
        RaiseIt(inQuarantine);
        return true;
    }

    Raise inSerialise = Raise::Nothing;
    Raise inDeserialise = Raise::Nothing;
    Raise inBackup = Raise::Nothing;
    Raise inQuarantine = Raise::Nothing;
    int32_t result = 3;
};

struct Report {
    Raise raise;
    std::string text;  // behind the name
    bool isEvent;
};

std::vector<Report> Reports()
{
    return {
        {Raise::Com, " handled a COM error.\nCode = 0x8000ffff\nCode meaning = meaning\nSource = source\nEror Description = description\n",
         false},
        {Raise::Standard, " handled an exception; session will be dropped.\nThe exception was: the reason\n", true},
        {Raise::OfOurs, " handled an exception; session will be dropped.\nThe exception was: the message (Place:7)\n", true},
        {Raise::Other, " raised an exception\n", false},
    };
}

TEST_F(Recovery, AnExceptionInALoadIsReportedByItsKindAndIsAFailure)
{
    for (const Report& report : Reports()) {
        CapturedLog log;
        RaisingSerialiser serialiser;
        serialiser.inDeserialise = report.raise;
        table_.LoadLevel = 3;
        EXPECT_EQ(DispatchDeserialise(serialiser, table_, Folder(), 0, "", "", 3, 0, 0, 0), 0);
        EXPECT_EQ(table_.LoadLevel, 0);
        const std::string text = "StoreIndexSerialiser::Deserialise" + report.text;
        EXPECT_EQ(log.Traces(), std::vector<std::string>{text});
        EXPECT_EQ(log.Events(), report.isEvent ? std::vector<std::string>{text} : std::vector<std::string>{});
    }
}

TEST_F(Recovery, AnExceptionInASaveIsReportedByItsKindAndIsAFailure)
{
    for (const Report& report : Reports()) {
        CapturedLog log;
        RaisingSerialiser serialiser;
        serialiser.inSerialise = report.raise;
        table_.FirstDirtyUID = 4;
        EXPECT_EQ(DispatchSerialise(serialiser, table_, Folder(), 0), 0u);
        EXPECT_EQ(table_.FirstDirtyUID, 4);
        const std::string text = "StoreIndexSerialiser::Serialise" + report.text;
        EXPECT_EQ(log.Traces(), std::vector<std::string>{text});
        EXPECT_EQ(log.Events(), report.isEvent ? std::vector<std::string>{text} : std::vector<std::string>{});
    }
}

TEST_F(Recovery, AnExceptionWhileBackingUpIsPrintedAndTheLoadStillCounts)
{
    for (const Raise raise : {Raise::Com, Raise::Standard, Raise::OfOurs, Raise::Other}) {
        RaisingSerialiser serialiser;
        serialiser.inBackup = raise;
        const std::string printed =
            CaptureStdout([&] { EXPECT_EQ(DispatchDeserialise(serialiser, table_, Folder(), 0, "", "", 3, 0, 0, 0), 3); });
        EXPECT_EQ(printed, "Exception occured when backing up\n");
        EXPECT_EQ(table_.LoadLevel, 3);
    }
    EXPECT_TRUE(log_.Traces().empty());
}

TEST_F(Recovery, AnExceptionInARecoveryLandsInTheSameReports)
{
    RaisingSerialiser serialiser;
    serialiser.result = 0;
    serialiser.inQuarantine = Raise::Standard;
    EXPECT_EQ(DispatchDeserialise(serialiser, table_, Folder(), 0, "", "", 3, 0, 0, 0), 0);
    EXPECT_EQ(table_.LoadLevel, 0);
    EXPECT_EQ(log_.Traces(), std::vector<std::string>{"StoreIndexSerialiser::Deserialise handled an exception; session will be dropped.\n"
                                                      "The exception was: the reason\n"});
}

}  // namespace
}  // namespace velmora::test
