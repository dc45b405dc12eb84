// Which strategy is chosen, and what loads and saves do around it.
#include <gtest/gtest.h>

#include <string>

#include "common/FileStream.h"
#include "index/IndexPersistence.h"
#include "locks/FlagFiles.h"
#include "persistence/LIBStoreIndexSerialisation.h"
#include "platform/FileSeam.h"
#include "tests/index/TestTable.h"
#include "tests/persistence/FileFaults.h"
#include "tests/persistence/IndexBytes.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

constexpr uint64_t kMinute = 600000000;  // in FILETIME units

// "Stream", "Document", "Null", "Unindexed(Stream)", ...
std::string NameOf(const StoreIndexSerialiser* serialiser)
{
    if (!serialiser) return "-";
    if (dynamic_cast<const StreamXMLStoreIndexSerialiser*>(serialiser)) return "Stream";
    if (dynamic_cast<const MSXMLStoreIndexSerialiser*>(serialiser)) return "Document";
    if (dynamic_cast<const NullStoreIndexDeserialiser*>(serialiser)) return "Null";
    if (const auto* unindexed = dynamic_cast<const UnindexedStoreIndexSerialiser*>(serialiser))
        return "Unindexed(" + NameOf(unindexed->Inner()) + ")";
    return "?";
}

class Framework : public testing::Test {
protected:
    Framework() : folder_(store_.MakeFolder("Inbox")) { record_.IndexKind = 0; }
    ~Framework() override { UnInit(record_.Table); }

    std::string Folder() const { return folder_.string(); }
    void WriteIndex(std::string_view bytes) { WriteFileBytes(folder_ / "_index.xml", bytes); }
    IndexLoadArguments Arguments(STOREINDEXTYPE* owner = nullptr)
    {
        IndexLoadArguments arguments;
        arguments.Owner = owner;
        arguments.FolderPath = Folder();
        arguments.NoBlock = 1;
        arguments.CheckDirty = 0;
        return arguments;
    }

    TestStore store_;
    std::filesystem::path folder_;
    STOREINDEXTYPE record_;
    TestTable table_;
    CapturedLog log_;
};

// --- choice --------------------------------------------------------------------------------------------------------

TEST_F(Framework, TheDeserialiserFollowsTheFileTheFlagAndTheSettings)
{
    struct Case {
        bool file, dirtyFlag, checkDirty, force;
        uint32_t kind, calendarMode;
        const char* chosen;  // with the stream reader on
    };
    const Case cases[] = {
        {true, false, false, false, 0, 0, "Stream"},
        {true, false, true, false, 0, 0, "Stream"},
        {true, true, false, false, 0, 0, "Stream"},
        {true, true, true, false, 0, 0, "Unindexed(Stream)"},
        {true, false, false, true, 0, 0, "Unindexed(Stream)"},
        {true, true, true, true, 0, 0, "Unindexed(Stream)"},
        {true, false, false, false, 2, 0, "Stream"},
        {true, false, false, false, 2, 1, "Unindexed(Stream)"},
        {true, false, false, false, 2, 7, "Unindexed(Stream)"},
        {true, false, false, false, 3, 1, "Stream"},
        {true, false, false, false, 0, 1, "Stream"},
        {false, false, false, false, 0, 0, "Null"},
        {false, true, false, false, 0, 0, "Null"},
        {false, false, true, false, 0, 0, "Unindexed(-)"},
        {false, true, true, false, 0, 0, "Unindexed(-)"},
        {false, false, false, true, 0, 0, "Unindexed(Null)"},
        {false, false, true, true, 0, 0, "Unindexed(-)"},
        {false, false, true, true, 2, 0, "Unindexed(-)"},
        {false, false, true, true, 2, 1, "Unindexed(Unindexed(-))"},
        {false, false, false, false, 2, 1, "Unindexed(Null)"},
        {false, false, true, false, 2, 1, "Unindexed(Unindexed(-))"},
        {false, false, true, false, 2, 0, "Unindexed(-)"},
        {false, false, false, false, 54, 0, "Null"},
        {false, false, true, false, 54, 0, "Unindexed(-)"},
    };
    int number = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(number++);
        std::filesystem::remove(folder_ / "_index.xml");
        std::filesystem::remove(folder_ / "_change.dty");
        if (c.file) WriteIndex("any bytes");
        if (c.dirtyFlag) WriteFileBytes(folder_ / "_change.dty", "");
        store_.SetNumber("Calendar ReIndex Mode", c.calendarMode);
        for (const uint32_t stream : {1u, 0u, 2u}) {
            store_.SetNumber("Use XML Stream Index Deserialisation", stream);
            std::string expected = c.chosen;
            // A boolean setting is on with exactly 1.
            if (stream != 1 && expected.find("Stream") != std::string::npos) expected.replace(expected.find("Stream"), 6, "Document");
            EXPECT_EQ(NameOf(ChooseDeserialiser(Folder(), c.kind, c.checkDirty, c.force).get()), expected);
        }
    }
}

TEST_F(Framework, TheDirtyFlagIsFoundInAnyOfItsSpellings)
{
    WriteIndex(IndexFile(1, ""));
    WriteFileBytes(folder_ / "_CHANGE.DTY", "");
    EXPECT_EQ(NameOf(ChooseDeserialiser(Folder(), 0, true, false).get()), "Unindexed(Stream)");
}

TEST_F(Framework, GroupsAreChosenByTheirOwnFile)
{
    WriteFileBytes(folder_ / "_groups.xml", IndexFile(1, ""));
    EXPECT_EQ(NameOf(ChooseDeserialiser(Folder(), 54, false, false).get()), "Stream");
    EXPECT_EQ(NameOf(ChooseDeserialiser(Folder(), 0, false, false).get()), "Null");
}

TEST_F(Framework, TheSaverFollowsItsSettingAlone)
{
    for (const uint32_t reader : {0u, 1u}) {
        store_.SetNumber("Use XML Stream Index Deserialisation", reader);
        for (const uint32_t writer : {0u, 1u, 2u}) {
            store_.SetNumber("Use XML Stream Index Serialisation", writer);
            EXPECT_EQ(NameOf(ChooseSerialiser().get()), writer == 1 ? "Stream" : "Document");
            EXPECT_EQ(RequiresFullLoad(), writer != 1);
        }
    }
    store_.RemoveSetting("Use XML Stream Index Serialisation");
    EXPECT_EQ(NameOf(ChooseSerialiser().get()), "Document");
}

TEST_F(Framework, EachStrategySaysWhatItCanDo)
{
    StreamXMLStoreIndexSerialiser stream;
    MSXMLStoreIndexSerialiser document;
    UnindexedStoreIndexSerialiser unindexed(nullptr);
    NullStoreIndexDeserialiser null;
    EXPECT_FALSE(stream.RequiresFullLoad());
    EXPECT_TRUE(document.RequiresFullLoad());
    EXPECT_TRUE(unindexed.RequiresFullLoad());
    EXPECT_TRUE(null.RequiresFullLoad());
    EXPECT_TRUE(stream.SupportsBackup());
    EXPECT_FALSE(document.SupportsBackup());
    EXPECT_FALSE(unindexed.SupportsBackup());
    EXPECT_FALSE(null.SupportsBackup());
    WriteFileBytes(folder_ / "_index.xml.bak", "backup");
    EXPECT_TRUE(stream.HasBackup(Folder()));
    EXPECT_TRUE(document.HasBackup(Folder()));
    for (StoreIndexSerialiser* other : {static_cast<StoreIndexSerialiser*>(&unindexed), static_cast<StoreIndexSerialiser*>(&null)}) {
        EXPECT_FALSE(other->HasBackup(Folder()));
        EXPECT_FALSE(other->RestoreBackup(Folder()));
        EXPECT_FALSE(other->QuarantineIndex(Folder()));
        EXPECT_EQ(other->BackupAgeMinutes(Folder()), 0u);
        other->BackupIndex(Folder());
        other->DeleteBackup(Folder());
        EXPECT_EQ(other->Serialise(table_, Folder(), 0), 0u);
    }
    EXPECT_EQ(FileNames(folder_), std::vector<std::string>{"_index.xml.bak"});
}

TEST_F(Framework, TheDocumentStrategysOldFormIsOnByDefault)
{
    EXPECT_TRUE(MSXMLStoreIndexSerialiser().ProducesOldFormat());
    store_.SetNumber("MSXML Index Serialisation Produces Old Format", 0);
    EXPECT_FALSE(MSXMLStoreIndexSerialiser().ProducesOldFormat());
}

// --- loading -------------------------------------------------------------------------------------------------------

TEST_F(Framework, NoFileAndNoDirtyCheckIsAnEmptyIndexInFullAndNothingIsRebuilt)
{
    WriteFileBytes(folder_ / "1.MAI", "Subject: x\r\n\r\n");
    EXPECT_TRUE(LoadIndex(table_, Arguments(), 1));
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_FALSE(FileExists(folder_ / "_index.xml"));
}

TEST_F(Framework, NoFileAndADirtyCheckIsARebuildFromTheItemFiles)
{
    store_.Attach();
    WriteFileBytes(folder_ / "1.MAI", "Subject: one\r\n\r\n");
    WriteFileBytes(folder_ / "2.MAI", "Subject: two\r\n\r\n");
    WriteFileBytes(folder_ / "_change.dty", "");
    IndexLoadArguments arguments = Arguments();
    arguments.CheckDirty = 1;
    EXPECT_TRUE(LoadIndex(table_, arguments, 1));
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
    EXPECT_TRUE(FileExists(folder_ / "_index.xml"));
    EXPECT_FALSE(FileExists(folder_ / "_change.dty"));
}

// A message that is delivered while another process loads the folder.
TEST_F(Framework, AFlagThatIsSetDuringALoadStays)
{
    store_.Attach();
    WriteFileBytes(folder_ / "1.MAI", "Subject: one\r\n\r\n");
    WriteIndex(IndexFile(20, Element("1.MAI", 5)));
    IndexLoadArguments arguments = Arguments();
    arguments.CheckDirty = 1;
    for (const bool flagged : {false, true}) {
        if (flagged) WriteFileBytes(folder_ / "_CHANGE.DTY", "");
        {
            FileFaults during([&](platform::FileOperation operation, int nth, std::string_view, uint64_t) {
                if (operation == platform::FileOperation::Read && nth == 1) WriteFileBytes(folder_ / "_CHANGE.DTY", "later");
                return platform::FileVerdict();
            });
            EXPECT_TRUE(LoadIndex(table_, arguments, 3));
        }
        EXPECT_TRUE(FileExists(folder_ / "_CHANGE.DTY")) << "flagged before: " << flagged;
        EXPECT_TRUE(LoadIndex(table_, arguments, 3));
        EXPECT_FALSE(FileExists(folder_ / "_CHANGE.DTY"));
    }
    EXPECT_FALSE(FileExists(folder_ / "_CHANGE.TKN"));
}

// The flag that a load has noted is known by its time, which nobody else may move on.
TEST_F(Framework, ALoadThatCannotHaveTheBlockLeavesTheFlagAsItStands)
{
    store_.Attach();
    WriteFileBytes(folder_ / "1.MAI", "Subject: one\r\n\r\n");
    WriteIndex(IndexFile(20, Element("1.MAI", 5)));
    WriteFileBytes(folder_ / "_CHANGE.DTY", "");
    const uint64_t noted = NoteDirtyMark(Folder().c_str());
    WriteFileBytes(folder_ / "_index.blk", "");
    IndexLoadArguments arguments = Arguments(&record_);
    arguments.NoBlock = 0;
    arguments.CheckDirty = 1;
    EXPECT_FALSE(LoadIndex(record_.Table, arguments, 3));
    std::filesystem::remove(folder_ / "_index.blk");
    DropNotedMark(Folder().c_str(), noted);
    EXPECT_FALSE(FileExists(folder_ / "_CHANGE.DTY"));
}

TEST_F(Framework, ALoadRecordsItsArgumentsAndPlacesItsOwner)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    IndexLoadArguments arguments = Arguments(&record_);
    arguments.Postoffice = "po";
    arguments.Mailbox = "box";
    arguments.VerifyItemFiles = 0;
    EXPECT_TRUE(LoadIndex(record_.Table, arguments, 2));
    EXPECT_EQ(record_.Table.LoadLevel, 2);
    EXPECT_EQ(record_.Table.LastLoad.FolderPath, Folder());
    EXPECT_EQ(record_.Table.LastLoad.Postoffice, "po");
    EXPECT_EQ(record_.Table.LastLoad.Mailbox, "box");
    EXPECT_EQ(record_.Table.LastLoad.Owner, &record_);
    EXPECT_STREQ(record_.Path, Folder().c_str());
}

TEST_F(Framework, ATableThatIsLoadedMayBeLeftAlone)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    IndexLoadArguments arguments = Arguments();
    ASSERT_TRUE(LoadIndex(table_, arguments, 1));
    arguments.SkipIfLoaded = 1;
    EXPECT_TRUE(LoadIndex(table_, arguments, 3));  // true although the level is not reached
    EXPECT_EQ(table_.LoadLevel, 1);
    UnInit(table_);
    EXPECT_TRUE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(table_.LoadLevel, 3);
}

TEST_F(Framework, RaisingTheLevelRepeatsTheRecordedLoad)
{
    WriteIndex(IndexFile(9, Element("a", 1, {{"TO", "x"}}) + Element("b", 2)));
    ASSERT_TRUE(LoadIndex(table_, Arguments(), 1));
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_TRUE(EnsureLoadLevel(table_, 2));
    EXPECT_EQ(table_.LoadLevel, 2);
    EXPECT_EQ(ItemCountOf(table_), 2u);
    IndexItemPropertyContainer* item = FindItem(table_, "a");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(TextOf(*item, "TO"), "x");
}

TEST_F(Framework, ALevelThatIsHadTouchesNoFile)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    ASSERT_TRUE(LoadIndex(table_, Arguments(), 3));
    struct Seam : platform::FileSeam {
        platform::FileVerdict Before(platform::FileOperation, const char*, uint64_t) override
        {
            ++operations;
            return {};
        }
        int operations = 0;
    } seam;
    platform::FileSeam* const before = platform::ReplaceFileSeam(&seam);
    EXPECT_TRUE(EnsureLoadLevel(table_, 3));
    EXPECT_TRUE(EnsureLoadLevel(table_, 1));
    platform::ReplaceFileSeam(before);
    EXPECT_EQ(seam.operations, 0);
}

TEST_F(Framework, AnOpenRaisesTheLevelToWhatTheSaverNeeds)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    EXPECT_TRUE(OpenIndexForLoad(table_, Arguments(), 0));
    EXPECT_EQ(table_.LoadLevel, 1);
    EXPECT_TRUE(OpenIndexForLoad(table_, Arguments(), 2));
    EXPECT_EQ(table_.LoadLevel, 2);
    store_.SetNumber("Use XML Stream Index Serialisation", 0);
    EXPECT_TRUE(OpenIndexForLoad(table_, Arguments(), 1));
    EXPECT_EQ(table_.LoadLevel, 3);
}

TEST_F(Framework, ADamagedFileIsAFailedLoad)
{
    WriteIndex("<BASEELEMENT");
    EXPECT_FALSE(LoadIndex(table_, Arguments(), 1));
    EXPECT_EQ(table_.LoadLevel, 0);
}

// --- the block -----------------------------------------------------------------------------------------------------

TEST_F(Framework, ALoadTakesTheBlockAndGivesItBack)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    struct Seam : platform::FileSeam {
        explicit Seam(std::filesystem::path path) : block(std::move(path)), before(platform::ReplaceFileSeam(this)) {}
        ~Seam() override { platform::ReplaceFileSeam(before); }
        platform::FileVerdict Before(platform::FileOperation operation, const char*, uint64_t) override
        {
            if (operation == platform::FileOperation::Read && FileExists(block)) ++readsUnderBlock;
            return {};
        }
        std::filesystem::path block;
        platform::FileSeam* before;
        int readsUnderBlock = 0;
    } seam(folder_ / "_index.blk");
    IndexLoadArguments arguments = Arguments(&record_);
    arguments.NoBlock = 0;
    EXPECT_TRUE(LoadIndex(record_.Table, arguments, 3));
    EXPECT_GT(seam.readsUnderBlock, 0);
    EXPECT_FALSE(FileExists(folder_ / "_index.blk"));
    EXPECT_EQ(record_.BlockFileHandle, nullptr);
}

TEST_F(Framework, ALoadThatDoesNotGetTheBlockFailsAtOnceAndLeavesTheTable)
{
    FakeClock clock;
    WriteIndex(IndexFile(9, Element("a", 1)));
    ASSERT_TRUE(LoadIndex(record_.Table, Arguments(&record_), 1));
    WriteFileBytes(folder_ / "_index.blk", "");
    IndexLoadArguments arguments = Arguments(&record_);
    arguments.NoBlock = 0;
    EXPECT_FALSE(LoadIndex(record_.Table, arguments, 3));
    EXPECT_EQ(record_.Table.LoadLevel, 1);
    EXPECT_EQ(record_.Table.LastUID, 9u);
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(FileExists(folder_ / "_index.blk"));
}

TEST_F(Framework, ATableWithNoOwnerCannotTakeTheBlock)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    IndexLoadArguments arguments = Arguments();
    arguments.NoBlock = 0;
    EXPECT_FALSE(LoadIndex(table_, arguments, 1));
    EXPECT_FALSE(FileExists(folder_ / "_index.blk"));
}

// --- saving --------------------------------------------------------------------------------------------------------

TEST_F(Framework, ASaveThatWentWellClearsTheMarks)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    ASSERT_TRUE(LoadIndex(table_, Arguments(), 3));
    Add(table_, "b");
    table_.RewriteRequired = 1;
    EXPECT_EQ(SaveIndex(table_, Folder().c_str(), 0), 1u);
    EXPECT_EQ(table_.FirstDirtyUID, 0);
    EXPECT_EQ(table_.RewriteRequired, 0);
}

TEST_F(Framework, ASaveThatFailedLeavesTheMarks)
{
    WriteIndex(IndexFile(9, Element("a", 1)));
    ASSERT_TRUE(LoadIndex(table_, Arguments(), 1));
    Add(table_, "b");
    WriteIndex(IndexFile(9, ""));
    EXPECT_EQ(SaveIndex(table_, Folder().c_str(), 0), 0u);
    EXPECT_EQ(table_.FirstDirtyUID, 10);
}

// --- the unindexed strategy ----------------------------------------------------------------------------------------

TEST_F(Framework, ARebuildOfAnEmptyFolderWritesAnEmptyIndex)
{
    store_.Attach();
    UnindexedStoreIndexSerialiser unindexed(nullptr);
    EXPECT_EQ(unindexed.Deserialise(table_, Folder(), 0, "po", "box", 1, 0, 0), 3);
    EXPECT_EQ(ReadFileBytes(folder_ / "_index.xml"), IndexFile(0, ""));
}

TEST_F(Framework, RebuiltGroupsAreAlwaysEmpty)
{
    store_.Attach();
    WriteFileBytes(folder_ / "x.GRP", "group");
    WriteFileBytes(folder_ / "_groups.xml", IndexFile(9, Element("x.GRP", 1)));
    const std::string index = IndexFile(9, Element("a", 1));
    WriteIndex(index);
    UnindexedStoreIndexSerialiser unindexed(std::make_unique<StreamXMLStoreIndexSerialiser>());
    EXPECT_EQ(unindexed.Deserialise(table_, Folder(), 54, "po", "box", 3, 0, 0), 3);
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_EQ(ReadFileBytes(folder_ / "_groups.xml").size(), 49u);
    EXPECT_EQ(ReadFileBytes(folder_ / "_index.xml"), index);
}

TEST_F(Framework, AKindThatCannotBeRebuiltWritesNothing)
{
    store_.Attach();
    UnindexedStoreIndexSerialiser unindexed(nullptr);
    table_.LoadSelection = "a";
    EXPECT_EQ(unindexed.Deserialise(table_, Folder(), 7, "po", "box", 3, 0, 0), 0);
    EXPECT_EQ(table_.RewriteRequired, 1);
    EXPECT_EQ(table_.LoadSelection, "");
    EXPECT_TRUE(FileNames(folder_).empty());
}

TEST_F(Framework, ARebuildKeepsWhatTheIndexKnowsAndDropsItemsWithNoFile)
{
    store_.Attach();
    WriteFileBytes(folder_ / "1.MAI", "Subject: one\r\n\r\n");
    WriteFileBytes(folder_ / "3.MAI", "Subject: three\r\n\r\n");
    WriteIndex(IndexFile(20, Element("1.MAI", 5, {{"LABEL", "mine"}}) + Element("2.MAI", 6)));
    WriteFileBytes(folder_ / "_change.dty", "");
    IndexLoadArguments arguments = Arguments();
    arguments.CheckDirty = 1;
    EXPECT_TRUE(LoadIndex(table_, arguments, 3));
    EXPECT_EQ(IdsById(table_), "1.MAI 3.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 5u);
    EXPECT_EQ(FindLoadedItem(table_, "3.MAI")->Uid(), 21u);
    EXPECT_FALSE(FileExists(folder_ / "_change.dty"));
    TestTable fresh;
    EXPECT_TRUE(LoadIndex(fresh, Arguments(), 3));
    EXPECT_EQ(IdsByUid(fresh), "1.MAI 3.MAI");
}

// --- the age of a backup -------------------------------------------------------------------------------------------

TEST(BackupAge, TheDifferenceIsReadAsADateSince1601)
{
    const uint64_t base = 133000000000000000u;
    const auto age = [&](uint64_t minutes, uint64_t units = 0) { return AgeInMinutes(base, base + minutes * kMinute + units); };
    const uint64_t day = 24 * 60;
    EXPECT_EQ(age(0), 0u);
    EXPECT_EQ(age(0, kMinute - 1), 0u);
    EXPECT_EQ(age(1), 1u);
    EXPECT_EQ(age(59), 59u);
    EXPECT_EQ(age(60), 60u);
    EXPECT_EQ(age(370), 370u);
    EXPECT_EQ(age(day), day);
    EXPECT_EQ(age(30 * day), 30 * day);  // January 31st
    EXPECT_EQ(age(31 * day), 30 * day);  // February 1st: a month of 30
    EXPECT_EQ(age(31 * day + 61), 30 * day + 61);
    EXPECT_EQ(age(59 * day), 60 * day);                                   // March 1st
    EXPECT_EQ(age(364 * day), (11 * 30 + 30) * day);                      // December 31st
    EXPECT_EQ(age(365 * day), 365 * day);                                 // January 1st, a year on
    EXPECT_EQ(age(3 * 365 * day + 59 * day), (3 * 365 + 30 + 28) * day);  // February 29th of a leap year
    EXPECT_EQ(age((4 * 365 + 1) * day), 4 * 365 * day);
}

TEST(BackupAge, ATimeThatIsNotInThePastIsNotOld)
{
    EXPECT_EQ(AgeInMinutes(1000 * kMinute, 999 * kMinute), 0u);
    EXPECT_EQ(AgeInMinutes(UINT64_MAX, 0), 0u);
    EXPECT_EQ(AgeInMinutes(5, 5), 0u);
}

TEST(BackupAge, ADifferenceBeyondTheCalendarIsNotOld) { EXPECT_EQ(AgeInMinutes(0, UINT64_MAX), 0u); }

}  // namespace
}  // namespace velmora::test
