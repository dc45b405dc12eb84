// No UID is given twice in a folder's life: what an index that is rewritten, restored, put aside or made anew has given, its
// successor does not give, wherever the process that did it has died.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "common/FileStream.h"
#include "index/IndexPersistence.h"
#include "index/ItemBackend.h"
#include "items/MailScan.h"
#include "persistence/IndexTags.h"
#include "tests/persistence/CutOff.h"
#include "tests/persistence/FileFaults.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/persistence/RecoveryFixture.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {
namespace {

using platform::FileOperation;
using platform::FileVerdict;

constexpr uint32_t kSharingViolation = 32;
constexpr uint32_t kGiven = 0x1F;  // the highest UID of the folder; no item bears it any more

const std::map<std::string, uint32_t> kKnown = {{"1.MAI", 4}, {"2.MAI", 7}};
const std::string kLong(200, 'x');
const std::string kIndex = IndexFile(kGiven, Element("1.MAI", 4, {{"SUBJECT", kLong}}) + Element("2.MAI", 7, {{"SUBJECT", kLong}}));
const std::string kOlder = IndexFile(4, Element("1.MAI", 4, {{"SUBJECT", kLong}}));
const std::string kDamaged = kIndex.substr(0, kIndex.size() - 20);

class LastUid : public Recovery {
protected:
    IndexLoadArguments Arguments(bool checkDirty = true)
    {
        IndexLoadArguments arguments;
        arguments.FolderPath = Folder();
        arguments.NoBlock = 1;
        arguments.CheckDirty = checkDirty ? 1 : 0;
        return arguments;
    }
    void LoadByTheRules() { LoadIndex(table_, Arguments(), 3); }
    // As an undisturbed process finds the folder, some loads later.
    void ExpectNoUidTwice(const std::string& where)
    {
        TestTable fresh;
        bool loaded = false;
        for (int round = 0; round < 3 && !loaded; ++round) loaded = LoadIndex(fresh, Arguments(), 3);
        ASSERT_TRUE(loaded) << where;
        for (const auto& [name, known] : kKnown) {
            const IndexItemPropertyContainer* const item = FindLoadedItem(fresh, name);
            // A damaged index may have been restored from a backup without the newest item, until the next flag.
            if (item) {
                EXPECT_TRUE(item->Uid() == known || item->Uid() > kGiven) << where << ": " << name << " has " << item->Uid();
            }
        }
        EXPECT_GE(fresh.LastUID, kGiven) << where;
        const IndexItemPropertyContainer* const added = Add(fresh, "added.MAI");
        ASSERT_TRUE(added) << where;
        EXPECT_GT(added->Uid(), kGiven) << where;
    }
    // Runs `act` to its end, and to each death on the way. `make` makes the folder beforehand.
    void DiesAnywhere(const std::function<void()>& make, const std::function<void()>& act)
    {
        for (const uint32_t sixteenths : {0u, 1u, 8u, 15u}) {
            bool happened = true;
            int nth = 1;
            for (; happened && nth < 200; ++nth) {
                for (const std::string& name : FileNames(folder_)) std::filesystem::remove(folder_ / name);
                for (const auto& [name, uid] : kKnown) Write(name.c_str(), "Subject: x\r\n\r\n");
                make();
                UnInit(table_);
                table_.LoadSelection.clear();
                {
                    CutOff death(nth, sixteenths);
                    act();
                    happened = death.Happened();
                }
                ExpectNoUidTwice("death " + std::to_string(nth) + " at " + std::to_string(sixteenths) + "/16");
                if (HasFatalFailure()) return;
            }
            EXPECT_GT(nth, 3);
            EXPECT_FALSE(happened);
        }
    }

    FakeClock clock_;
};

// --- deaths --------------------------------------------------------------------------------------------------------

TEST_F(LastUid, ADeathInAFullRewriteGivesNoUidAgain)
{
    DiesAnywhere([&] { Write("_index.xml", kIndex); },
                 [&] {
                     LoadByTheRules();
                     table_.RewriteRequired = 1;
                     Add(table_, "3.MAI");
                     SaveIndex(table_, Folder().c_str(), 0);
                 });
}

TEST_F(LastUid, ADeathInARewriteBehindADamageGivesNoUidAgain)
{
    DiesAnywhere(
        [&] {
            store_.SetNumber("Backup Index", 0);
            Write("_index.xml", kDamaged);
            MarkFolderDirty(Folder().c_str());
        },
        [&] { LoadByTheRules(); });
}

TEST_F(LastUid, ADeathInASaveInPlaceGivesNoUidAgain)
{
    for (const bool shrinks : {false, true})
        DiesAnywhere([&] { Write("_index.xml", kIndex); },
                     [&] {
                         LoadByTheRules();
                         if (IndexItemPropertyContainer* const first = FindLoadedItem(table_, "1.MAI"); first && shrinks)
                             SetItemKeyProperty(*first, "SUBJECT", "");
                         if (!shrinks) Add(table_, "3.MAI");
                         SaveIndex(table_, Folder().c_str(), 0);
                     });
}

TEST_F(LastUid, ADeathInARestoreGivesNoUidAgain)
{
    DiesAnywhere(
        [&] {
            Write("_index.xml", kDamaged);
            Write("_index.xml.bak", kOlder);
        },
        [&] { LoadByTheRules(); });
}

TEST_F(LastUid, ADeathInTheRestoreOfABackupOfAnotherFormGivesNoUidAgain)
{
    DiesAnywhere(
        [&] {
            Write("_index.xml", kDamaged);
            Write("_index.xml.bak", "<BASEELEMENT LASTUID=\"4\">" + Element("1.MAI", 4) + kRootEnd);
        },
        [&] { LoadByTheRules(); });
}

TEST_F(LastUid, ADeathBehindAQuarantineGivesNoUidAgain)
{
    DiesAnywhere([&] { Write("_index.xml", kDamaged); },
                 [&] {
                     LoadByTheRules();
                     LoadByTheRules();
                 });
}

TEST_F(LastUid, ADeathBehindTheQuarantineOfAFlaggedLoadGivesNoUidAgain)
{
    DiesAnywhere(
        [&] {
            Write("_index.xml", kDamaged);
            MarkFolderDirty(Folder().c_str());
        },
        [&] { LoadByTheRules(); });
}

TEST_F(LastUid, ADeathInAScanBehindAQuarantineGivesNoUidAgain)
{
    DiesAnywhere([&] { Write("_index.xml.bad", kDamaged); }, [&] { ScanFoldersOrdered(nullptr, table_, Folder(), kScanCallerHolds, 0); });
    DiesAnywhere([&] { Write("_index.xml", kDamaged); }, [&] { ScanFoldersOrdered(nullptr, table_, Folder(), kScanCallerHolds, 0); });
}

TEST_F(LastUid, ADeathInADeliveryBehindAQuarantineGivesNoUidAgain)
{
    DiesAnywhere([&] { Write("_index.xml.bad", kDamaged); },
                 [&] {
                     if (!LoadIndex(table_, Arguments(false), 1)) return;
                     Add(table_, "3.MAI");
                     SaveIndex(table_, Folder().c_str(), 0);
                 });
}

TEST_F(LastUid, ADeathInTheRecoveryOfGroupItemsGivesNoUidOfTheIndexBesideThemAgain)
{
    for (const bool withBackup : {false, true})
        DiesAnywhere(
            [&] {
                Write("_groups.xml", kDamaged);
                Write("_index.xml", kIndex);
                if (withBackup) Write("_index.xml.bak", kOlder);
            },
            [&] {
                Load(3, 54);
                UnInit(table_);
                LoadByTheRules();
            });
}

// --- restores ------------------------------------------------------------------------------------------------------

TEST_F(LastUid, ARestoredBackupHasTheNumberOfTheFileThatItReplaces)
{
    StreamXMLStoreIndexSerialiser serialiser;
    Write("_index.xml", kDamaged);
    Write("_index.xml.bak", kOlder);
    const uint64_t hourAgo = ReadFileStamp((folder_ / "_index.xml.bak").string()).lastWrite - 36000000000;
    std::filesystem::last_write_time(folder_ / "_index.xml.bak", std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_TRUE(serialiser.RestoreBackup(Folder()));
    EXPECT_EQ(Read("_index.xml"), Header(kGiven) + kOlder.substr(33));
    // Who has loaded the backup's bytes before must not take these for them.
    EXPECT_GT(ReadFileStamp((folder_ / "_index.xml").string()).lastWrite, hourAgo + 18000000000);
    EXPECT_EQ(Read("_index.xml.bak"), kOlder);
}

TEST_F(LastUid, ARestoredBackupOfAnotherFormKeepsItsForm)
{
    StreamXMLStoreIndexSerialiser serialiser;
    const std::string rest = Element("1.MAI", 4) + kRootEnd;
    for (const char* const root :
         {"<BASEELEMENT>", "<BASEELEMENT LASTUID=\"4\">", "<BASEELEMENT LASTUID=\"x4\">", "<BASEELEMENT LASTUID=\"99\">"}) {
        Write("_index.xml", kDamaged);
        Write("_index.xml.bak", root + rest);
        EXPECT_TRUE(serialiser.RestoreBackup(Folder()));
        const bool higher = std::string_view(root).find("99") != std::string_view::npos;
        EXPECT_EQ(Read("_index.xml"), (higher ? root : "<BASEELEMENT LASTUID=\"0x0000001f\">") + rest);
        EXPECT_EQ(Load(), 3);
        EXPECT_EQ(table_.LastUID, higher ? 99u : kGiven);
    }
}

TEST_F(LastUid, ARestoredBackupBehindADeclarationGetsTheNumberToo)
{
    StreamXMLStoreIndexSerialiser serialiser;
    const std::string declaration = "<?xml version=\"1.0\"?>\n<!-- > -->";
    const std::string rest = Element("1.MAI", 4) + kRootEnd;
    Write("_index.xml", kDamaged);
    Write("_index.xml.bak", declaration + "<BASEELEMENT LASTUID=\"4\">" + rest);
    EXPECT_TRUE(serialiser.RestoreBackup(Folder()));
    EXPECT_EQ(Read("_index.xml"), declaration + "<BASEELEMENT LASTUID=\"0x0000001f\">" + rest);
    EXPECT_EQ(LastUidToldBy(Read("_index.xml")), kGiven);
}

TEST_F(LastUid, ANumberThatLeavesNoUidIsNotHandedOn)
{
    StreamXMLStoreIndexSerialiser serialiser;
    Write("_index.xml", Header(UINT32_MAX) + "<damage>");
    Write("_index.xml.bak", kOlder);
    EXPECT_TRUE(serialiser.RestoreBackup(Folder()));
    EXPECT_EQ(Read("_index.xml"), kOlder);
    EXPECT_TRUE(TakeOverLastUid(table_, Folder(), 0));
    EXPECT_EQ(table_.LastUID, 0u);
}

TEST_F(LastUid, NothingIsRestoredWhileTheNumberCannotBeRead)
{
    StreamXMLStoreIndexSerialiser serialiser;
    Write("_index.xml", kDamaged);
    Write("_index.xml.bak", kOlder);
    {
        FileFaults faults(FileFaults::On({FileOperation::Open}, "_index.xml.bad", kSharingViolation));
        EXPECT_FALSE(serialiser.RestoreBackup(Folder()));
    }
    EXPECT_EQ(Read("_index.xml"), kDamaged);
    std::filesystem::remove(folder_ / "_index.xml");
    for (const bool checkDirty : {false, true}) {
        FileFaults faults(FileFaults::On({FileOperation::Open}, "_index.xml.bad", kSharingViolation));
        EXPECT_FALSE(LoadIndex(table_, Arguments(checkDirty), 3));
        EXPECT_FALSE(Exists("_index.xml"));
    }
    {
        FileFaults faults(FileFaults::On({FileOperation::Open}, "_index.xml.bad", kSharingViolation));
        ScanFoldersOrdered(nullptr, table_, Folder(), kScanCallerHolds, 0);
        EXPECT_FALSE(Exists("_index.xml"));
    }
    EXPECT_TRUE(Exists("_CHANGE.DTY"));
    ExpectNoUidTwice("when it can be read");
}

TEST_F(LastUid, GroupItemsTakeNothingFromTheIndexBesideThem)
{
    Write("_index.xml.bad", kDamaged);
    EXPECT_TRUE(LoadIndex(
        table_,
        [&] {
            IndexLoadArguments arguments = Arguments(false);
            arguments.IndexKind = 54;
            return arguments;
        }(),
        3));
    EXPECT_EQ(table_.LastUID, 0u);
}

TEST_F(LastUid, AReaderOfTheDamagedFilePutsTheRestoreOff)
{
    Write("1.MAI", "Subject: x\r\n\r\n");
    Write("_index.xml", kDamaged);
    Write("_index.xml.bak", kOlder);
    {
        FileStream reader;
        ASSERT_TRUE(reader.OpenRead((folder_ / "_index.xml").string()));
        EXPECT_EQ(Load(), 0);
    }
    EXPECT_EQ(Read("_index.xml"), kDamaged);
    EXPECT_EQ(Read("_index.xml.bak"), kOlder);
    EXPECT_FALSE(Exists("_index.xml.tmp"));
    EXPECT_EQ(Load(), 3);
    EXPECT_EQ(table_.LastUID, kGiven);
}

// --- the header ----------------------------------------------------------------------------------------------------

TEST(HeaderBytes, DigitsThatAreWrittenInPartAreNeverBelowTheOldOnes)
{
    const std::vector<uint32_t> numbers = {0, 1, 9, 0x0F, 0x10, 0x1F, 0xFF, 0x100, 0x0FFF, 0xFFFF, 0x10000, 0x12345678, 0x7FFFFFFF};
    for (const uint32_t before : numbers)
        for (const uint32_t after : numbers)
            for (size_t written = 0; written <= 33 && after >= before; ++written) {
                const std::string torn = Header(after).substr(0, written) + Header(before).substr(written);
                EXPECT_GE(LastUidToldBy(torn), before) << before << " " << after << " " << written;
            }
}

TEST(HeaderBytes, OfADamagedFileOnlyTheWritersHeaderIsBelieved)
{
    EXPECT_EQ(LastUidToldBy(Header(31)), 31u);
    EXPECT_EQ(LastUidToldBy(Header(31) + "<ELEMENT"), 31u);
    EXPECT_EQ(LastUidToldBy(Header(UINT32_MAX)), 0u);
    EXPECT_EQ(LastUidToldBy(Header(31).substr(0, 32)), 0u);
    EXPECT_EQ(LastUidToldBy("x" + Header(31)), 0u);
    EXPECT_EQ(LastUidToldBy("<BASEELEMENT LASTUID=\"x0000001F\">"), 0u);
    EXPECT_EQ(LastUidToldBy("<BASEELEMENT A=\"b\" LASTUID=\"x0000001f\">"), 0u);
    EXPECT_EQ(LastUidToldBy(""), 0u);
}

TEST(HeaderBytes, OfADamagedDocumentOnlyTheHeadersThatAreWrittenAreBelieved)
{
    for (const char* head :
         {"<BASEELEMENT LASTUID=\"42\"><ELEMENT ID", "<BASEELEMENT LASTUID=\"42\"/>", "<BASEELEMENT LASTUID=\"x0000002a\"/>",
          "<BASEELEMENT LASTUID=\"0x0000002a\">", "<?xml version=\"1.0\"?>\r\n<!-- c -->\n<BASEELEMENT LASTUID=\"42\">"})
        EXPECT_EQ(LastUidToldBy(head), 42u) << head;
    EXPECT_EQ(LastUidToldBy("<BASEELEMENT LASTUID=\"3000000000\">"), 3000000000u);
    EXPECT_EQ(LastUidToldBy(Header(42)), 42u);
    for (const char* head : {"<BASEELEMENT LASTUID=\"042\">", "<BASEELEMENT LASTUID=\"42 \">", "<BASEELEMENT LASTUID='42'>",
                             "<BASEELEMENT  LASTUID=\"42\">", "<BASEELEMENT LASTUID=\"x2a\">", "<BASEELEMENT LASTUID=\"0x0000002A\">",
                             "<BASEELEMENT LASTUID=\"-42\">", "<BASEELEMENT LASTUID=\"4294967295\">",
                             "<BASEELEMENT LASTUID=\"0xffffffff\">", "<BASEELEMENT LASTUID=\"42", "<ROOT LASTUID=\"42\">"})
        EXPECT_EQ(LastUidToldBy(head), 0u) << head;
}

TEST(HeaderBytes, OfASoundFileAnyRootTagIsBelieved)
{
    EXPECT_EQ(LastUidOfRoot(Header(31)), 31u);
    EXPECT_EQ(LastUidOfRoot(Header(UINT32_MAX)), 0u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT LASTUID=\"31\"><ELEMENT ID=\"a\">"), 31u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT LASTUID=\"x1f\"/>"), 31u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT LASTUID=\"-5\">"), 0u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT LASTUID=\"3000000000\">"), 3000000000u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT LASTUID=\"4294967295\">"), 0u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT><ELEMENT LASTUID=\"31\">"), 0u);
    EXPECT_EQ(LastUidOfRoot("<BASEELEMENT LASTUID=\"31\""), 0u);
    EXPECT_EQ(LastUidOfRoot("<other LASTUID=\"31\">"), 0u);
    EXPECT_EQ(LastUidOfRoot(""), 0u);
}

}  // namespace
}  // namespace velmora::test
