// Rebuilds and scans in a store of documents: what a damaged file still tells is kept, and a file that nobody could look into is
// never replaced.
#include <gtest/gtest.h>

#include <string>

#include "index/IndexPersistence.h"
#include "items/MailScan.h"
#include "locks/FlagFiles.h"
#include "persistence/IndexTags.h"
#include "tests/persistence/DocumentFolder.h"
#include "tests/persistence/FileFaults.h"
#include "velmora/folder.h"

namespace velmora::test {
namespace {

using platform::FileOperation;
using platform::FileVerdict;

constexpr char kXmlVersionKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";

const std::string kKnown =
    "<BASEELEMENT LASTUID=\"31\"><ELEMENT ID=\"1.MAI\" UID=\"4\"><LABEL>mine</LABEL></ELEMENT>"
    "<ELEMENT ID=\"gone.MAI\" UID=\"5\"></ELEMENT></BASEELEMENT>";
const std::string kDamaged = kKnown.substr(0, kKnown.size() - 20);

class DocumentRebuild : public DocumentFolder {
protected:
    DocumentRebuild() { store_.Attach(); }

    void WriteTwoMessages() const
    {
        Write("Subject: one\r\n\r\n", "1.MAI");
        Write("Subject: two\r\n\r\n", "2.MAI");
    }
    IndexLoadArguments Arguments(bool checkDirty = true, uint32_t kind = 0)
    {
        IndexLoadArguments arguments;
        arguments.FolderPath = Folder();
        arguments.IndexKind = kind;
        arguments.NoBlock = 1;
        arguments.CheckDirty = checkDirty ? 1 : 0;
        return arguments;
    }
    bool LoadByTheRules(bool checkDirty = true)
    {
        bool loaded = false;
        CaptureStdout([&] { loaded = LoadIndex(table_, Arguments(checkDirty), 3); });
        return loaded;
    }
    void ExpectInFile(const std::string& idsById)
    {
        TestTable fresh;
        ASSERT_EQ(Load(fresh), 3);
        EXPECT_EQ(IdsById(fresh), idsById);
    }
};

TEST_F(DocumentRebuild, OfAnEmptyFolderWritesAnEmptyIndex)
{
    EXPECT_EQ(UnindexedStoreIndexSerialiser(nullptr).Deserialise(table_, Folder(), 0, "po", "box", 1, 0, 0), 3);
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"0\"/>");
}

TEST_F(DocumentRebuild, OfGroupsIsAlwaysEmpty)
{
    Write("group", "x.GRP");
    Write(IndexFile(9, Element("x.GRP", 1)), "_groups.xml");
    Write(kKnown);
    UnindexedStoreIndexSerialiser unindexed(std::make_unique<MSXMLStoreIndexSerialiser>());
    EXPECT_EQ(unindexed.Deserialise(table_, Folder(), 54, "po", "box", 3, 0, 0), 3);
    EXPECT_EQ(ItemCountOf(table_), 0u);
    EXPECT_TRUE(Bytes("_groups.xml").ends_with("/>")) << Bytes("_groups.xml");
    EXPECT_EQ(LastUidOfRoot(Bytes("_groups.xml")), 9u);
    EXPECT_EQ(Bytes(), kKnown);
}

TEST_F(DocumentRebuild, OfAnUnknownKindWritesNothing)
{
    UnindexedStoreIndexSerialiser unindexed(std::make_unique<MSXMLStoreIndexSerialiser>());
    Write(kKnown);
    EXPECT_EQ(unindexed.Deserialise(table_, Folder(), 7, "po", "box", 3, 0, 0), 0);
    EXPECT_EQ(table_.RewriteRequired, 1);
    EXPECT_EQ(Bytes(), kKnown);
}

TEST_F(DocumentRebuild, KeepsWhatTheIndexKnowsAndDropsItemsWithNoFile)
{
    WriteTwoMessages();
    Write(kKnown);
    MarkFolderDirty(Folder().c_str());
    EXPECT_TRUE(LoadByTheRules());
    EXPECT_EQ(IdsById(table_), "1.MAI 2.MAI");
    EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine");
    EXPECT_EQ(FindLoadedItem(table_, "2.MAI")->Uid(), 32u);
    EXPECT_FALSE(IsMarked());
    ExpectInFile("1.MAI 2.MAI");
}

TEST_F(DocumentRebuild, OfADamagedFileIsCompleteAndGivesNoUidAgain)
{
    WriteTwoMessages();
    Write(kDamaged);
    EXPECT_FALSE(LoadByTheRules(false));
    EXPECT_EQ(table_.LoadLevel, 0);
    EXPECT_TRUE(log_.HasEvent("Failed to deserialise index: " + Folder() + "\n"));
    EXPECT_EQ(Bytes(), kDamaged);
    MarkFolderDirty(Folder().c_str());
    EXPECT_TRUE(LoadByTheRules());
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 32u);
    EXPECT_EQ(FindLoadedItem(table_, "2.MAI")->Uid(), 33u);
    EXPECT_FALSE(IsMarked());
    ExpectInFile("1.MAI 2.MAI");
    EXPECT_EQ(LastUidOfRoot(Bytes()), 33u);
}

TEST_F(DocumentRebuild, OfADamagedFileBelievesNoNumberThatNobodyWroteSo)
{
    for (const char* const root : {"<BASEELEMENT A=\"b\" LASTUID=\"x7ffffffe\">", "<BASEELEMENT LASTUID='2147483646'>"}) {
        WriteTwoMessages();
        Write(std::string(root) + "<ELEMENT ID");
        MarkFolderDirty(Folder().c_str());
        EXPECT_TRUE(LoadByTheRules());
        EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 1u) << root;
        EXPECT_EQ(LastUidOfRoot(Bytes()), 2u) << root;
        EXPECT_FALSE(IsMarked());
    }
}

// One scan is enough.
TEST_F(DocumentRebuild, OfAFileWithNoRootMarksNothing)
{
    for (const char* const bytes : {"", "rubbish", "<other", "<BASEELEMENT><ELEMENT ID"}) {
        WriteTwoMessages();
        Write(bytes);
        MarkFolderDirty(Folder().c_str());
        EXPECT_TRUE(LoadByTheRules());
        EXPECT_FALSE(IsMarked()) << bytes;
        ExpectInFile("1.MAI 2.MAI");
        Write(bytes);
        CaptureStdout([&] { EXPECT_EQ(ScanFoldersOrdered(nullptr, table_, Folder(), 99, 0), 1u); });
        EXPECT_FALSE(IsMarked()) << bytes;
        ExpectInFile("1.MAI 2.MAI");
    }
}

// The file that was damaged is there no more: what others write behind it counts again.
TEST_F(DocumentRebuild, OfADamagedFileGivesNoUidTwiceBehindItsSave)
{
    for (const Form form : kForms) {
        for (const char* const name : {"_CHANGE.DTY", "theirs.MAI", "ours.MAI"}) std::filesystem::remove(File(name));
        WriteTwoMessages();
        Write(kDamaged);
        MarkFolderDirty(Folder().c_str());
        EXPECT_TRUE(LoadByTheRules());
        EXPECT_FALSE(ContentOf(table_).DamagedFile);
        TestTable other;
        ASSERT_EQ(Load(other), 3);
        EXPECT_EQ(Add(other, "theirs.MAI")->Uid(), 34u);
        ASSERT_EQ(Save(other, form), 1u);
        EXPECT_FALSE(IsMarked());
        EXPECT_EQ(Add(table_, "ours.MAI")->Uid(), 34u);
        table_.RewriteRequired = 1;
        ASSERT_EQ(Save(table_, form), 1u);
        EXPECT_EQ(FindLoadedItem(table_, "ours.MAI")->Uid(), 35u);
        EXPECT_TRUE(IsMarked());
    }
}

TEST_F(DocumentRebuild, AScanOfADamagedFileDoesTheSame)
{
    WriteTwoMessages();
    Write(kDamaged);
    CaptureStdout([&] { EXPECT_EQ(ScanFoldersOrdered(nullptr, table_, Folder(), 99, 0), 1u); });
    ExpectInFile("1.MAI 2.MAI");
    EXPECT_EQ(LastUidOfRoot(Bytes()), 33u);
    EXPECT_FALSE(IsMarked());
}

// The number that a stream reader's quarantine has put aside, whoever wrote it.
TEST_F(DocumentRebuild, OfADocumentThatWasPutAsideGoesOnFromItsNumber)
{
    store_.SetNumber("Use XML Stream Index Deserialisation", 1);
    store_.SetNumber("Backup Index", 1);
    for (const char* root : {"<BASEELEMENT LASTUID=\"31\">", "<BASEELEMENT LASTUID=\"x0000001f\">"}) {
        for (const char* name : {"_index.xml.bak", "_index.xml.bad", "_CHANGE.DTY"}) std::filesystem::remove(File(name));
        WriteTwoMessages();
        Write(root + Element("1.MAI", 4));
        EXPECT_FALSE(LoadByTheRules());
        EXPECT_FALSE(Exists("_index.xml"));
        EXPECT_TRUE(LoadByTheRules());
        EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 32u);
        EXPECT_EQ(FindLoadedItem(table_, "2.MAI")->Uid(), 33u);
    }
}

TEST_F(DocumentRebuild, NothingTouchesACopyWhateverTheSettingSays)
{
    store_.SetNumber("Backup Index", 1);
    WriteTwoMessages();
    Write(kDamaged);
    Write("backup", "_index.xml.bak");
    EXPECT_FALSE(LoadByTheRules(false));
    MarkFolderDirty(Folder().c_str());
    EXPECT_TRUE(LoadByTheRules());
    EXPECT_TRUE(LoadByTheRules());
    EXPECT_EQ(Bytes("_index.xml.bak"), "backup");
    EXPECT_FALSE(Exists("_index.xml.bad"));
}

TEST_F(DocumentRebuild, AFileThatCannotBeReadNowIsNoDamagedOne)
{
    WriteTwoMessages();
    for (const FileOperation operation : {FileOperation::Open, FileOperation::Read}) {
        Write(kKnown);
        MarkFolderDirty(Folder().c_str());
        {
            bool ofIndex = false;
            FileFaults faults([&](FileOperation asks, int, std::string_view path, uint64_t) {
                FileVerdict verdict;
                if (asks == FileOperation::Open) ofIndex = path.ends_with("_index.xml");
                if (asks == operation && ofIndex) verdict.fail = 32;
                return verdict;
            });
            EXPECT_FALSE(LoadByTheRules());
            EXPECT_GE(faults.Failed(), 1);
        }
        EXPECT_EQ(Bytes(), kKnown);
        EXPECT_TRUE(IsMarked());
        EXPECT_TRUE(LoadByTheRules());
        EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 4u);
        EXPECT_EQ(FindLoadedItem(table_, "2.MAI")->Uid(), 32u);
    }
}

TEST_F(DocumentRebuild, EachOperationThatFailsLeavesTheUidsOfTheFile)
{
    for (const FileOperation operation : {FileOperation::Open, FileOperation::Read, FileOperation::Search, FileOperation::Write,
                                          FileOperation::Move, FileOperation::Seek, FileOperation::Delete}) {
        for (int nth = 1; nth < 60; ++nth) {
            WriteTwoMessages();
            Write(kKnown);
            MarkFolderDirty(Folder().c_str());
            bool met = false;
            {
                FileFaults faults(FileFaults::Nth(operation, nth, 1117));
                LoadByTheRules();
                met = faults.Failed() > 0;
            }
            if (!met) break;
            for (int round = 0; round < 2; ++round) LoadByTheRules();
            ASSERT_EQ(table_.LoadLevel, 3);
            // The item of the file that is gone stays where its file could not be asked for.
            ASSERT_TRUE(IdsById(table_).starts_with("1.MAI 2.MAI")) << static_cast<uint32_t>(operation) << " " << nth;
            EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 4u) << static_cast<uint32_t>(operation) << " " << nth;
            EXPECT_EQ(TextOf(*FindLoadedItem(table_, "1.MAI"), "LABEL"), "mine") << static_cast<uint32_t>(operation) << " " << nth;
            EXPECT_GT(FindLoadedItem(table_, "2.MAI")->Uid(), 31u) << static_cast<uint32_t>(operation) << " " << nth;
        }
    }
}

// A file that nobody here can read is not a damaged one.
TEST_F(DocumentRebuild, WithAVersionThatIsNotThereFileAndFlagStay)
{
    WriteTwoMessages();
    Write(kKnown);
    MarkFolderDirty(Folder().c_str());
    store_.SetText("XML Version", "6", kXmlVersionKey);
    EXPECT_FALSE(LoadByTheRules());
    EXPECT_TRUE(IsMarked());
    EXPECT_EQ(ScanFoldersOrdered(nullptr, table_, Folder(), 99, 0), 1u);
    EXPECT_EQ(Bytes(), kKnown);
    EXPECT_TRUE(IsMarked());
    store_.SetText("XML Version", "3", kXmlVersionKey);
    EXPECT_TRUE(LoadByTheRules());
    EXPECT_EQ(FindLoadedItem(table_, "1.MAI")->Uid(), 4u);
}

TEST_F(DocumentRebuild, ThatCannotBeSavedLeavesTheFolderDirty)
{
    WriteTwoMessages();
    {
        FileFaults faults(FileFaults::FullDisk());
        EXPECT_TRUE(LoadByTheRules());
    }
    EXPECT_TRUE(IsMarked());
    EXPECT_TRUE(LoadByTheRules());
    EXPECT_FALSE(IsMarked());
    ExpectInFile("1.MAI 2.MAI");
}

}  // namespace
}  // namespace velmora::test
