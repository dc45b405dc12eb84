// Index files written as documents: their form, and that no save gives a UID again or loses a file.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "common/FileStream.h"
#include "index/IndexPersistence.h"
#include "persistence/IndexTags.h"
#include "platform/Xml.h"
#include "tests/persistence/DocumentFolder.h"
#include "tests/persistence/FileFaults.h"
#include "tests/persistence/FolderModel.h"

namespace velmora::test {
namespace {

using platform::FileOperation;
using platform::FileVerdict;

constexpr Form kDocumentForms[] = {Form::OldDocument, Form::NewDocument};

class DocumentSave : public DocumentFolder {
protected:
    // a has the higher UID, so the two orders differ.
    void FillTwo()
    {
        Add(table_, "b.MAI", 3)->SetText("TO", "x & y");
        Add(table_, "a.MAI", 7)->SetText("SUBJECT", "");
        table_.LastUID = 1234;
    }
};

TEST_F(DocumentSave, TheOldFormHasThePlainNumberAndItsItemsById)
{
    FillTwo();
    EXPECT_EQ(Save(table_, Form::OldDocument), 1u);
    EXPECT_EQ(Bytes(),
              "<BASEELEMENT LASTUID=\"1234\"><ELEMENT ID=\"a.MAI\" UID=\"7\"><READ>0</READ><SUBJECT></SUBJECT></ELEMENT>"
              "<ELEMENT ID=\"b.MAI\" UID=\"3\"><READ>0</READ><TO>x &amp; y</TO></ELEMENT></BASEELEMENT>");
}

TEST_F(DocumentSave, TheNewFormHasEightDigitsAndItsItemsByUid)
{
    FillTwo();
    EXPECT_EQ(Save(table_, Form::NewDocument), 1u);
    EXPECT_EQ(Bytes(),
              "<BASEELEMENT LASTUID=\"x000004d2\"><ELEMENT ID=\"b.MAI\" UID=\"3\"><READ>0</READ><TO>x &amp; y</TO></ELEMENT>"
              "<ELEMENT ID=\"a.MAI\" UID=\"7\"><READ>0</READ><SUBJECT></SUBJECT></ELEMENT></BASEELEMENT>");
}

TEST_F(DocumentSave, TheRootOfAnEmptyIndexIsSelfClosed)
{
    EXPECT_EQ(Save(table_, Form::OldDocument), 1u);
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"0\"/>");
    EXPECT_EQ(Save(table_, Form::NewDocument), 1u);
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"x00000000\"/>");
}

TEST_F(DocumentSave, TheNumberOfTheOldFormHasNoSign)
{
    table_.LastUID = 3000000000u;
    EXPECT_EQ(Save(table_), 1u);
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"3000000000\"/>");
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(table_.LastUID, 3000000000u);
}

TEST_F(DocumentSave, SequenceAndIndexNumbersStayInMemory)
{
    Write(IndexFile(9, Element("a", 1, {{"TO", "x"}})));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(Save(table_), 1u);
    EXPECT_EQ(Bytes().find("<SEQ>"), std::string::npos);
    EXPECT_EQ(Bytes().find("<IDX>"), std::string::npos);
}

TEST_F(DocumentSave, AnIdThatNeedsAReferenceMakesTheRootOneOfTheOldForm)
{
    Add(table_, "R&D.VCF", 3);
    Add(table_, "a.VCF", 5);
    EXPECT_EQ(Save(table_, Form::NewDocument), 1u);
    EXPECT_TRUE(Bytes().starts_with("<BASEELEMENT LASTUID=\"5\"><ELEMENT ID=\"R&amp;D.VCF\" UID=\"3\">")) << Bytes();
}

TEST_F(DocumentSave, AStreamFilesTombstonesGoWithTheNextSave)
{
    Write(IndexFile(9, Element("a", 1) + Element("-----", "--") + Element("b", 2)));
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(Save(table_), 1u);
    EXPECT_EQ(Bytes(),
              "<BASEELEMENT LASTUID=\"9\"><ELEMENT ID=\"a\" UID=\"1\"><READ>0</READ></ELEMENT>"
              "<ELEMENT ID=\"b\" UID=\"2\"><READ>0</READ></ELEMENT></BASEELEMENT>");
}

TEST_F(DocumentSave, WhatNoReaderCouldReadBackIsLeftOut)
{
    TestTable table;
    for (const char* id : {"a\"b", "a>b", "---", ""}) {
        auto item = NewItem(id);
        ASSERT_TRUE(InsertLoadedItem(table, item.get()));
        ContentOf(table).Sequence.push_back(item.release());
    }
    Add(table, "good.MAI");
    EXPECT_EQ(Save(table), 1u);
    for (const Reader reader : kReaders) {
        EXPECT_EQ(Load(table_, reader), 3);
        EXPECT_EQ(IdsByUid(table_), "good.MAI");
    }
}

// What is in no file is nobody's new item.
TEST_F(DocumentSave, AnItemThatNoDocumentCanHoldKeepsItsUidThroughEverySave)
{
    for (const Form form : kDocumentForms) {
        std::filesystem::remove(File());
        TestTable table;
        const std::string id(200, '\xE9');
        ASSERT_NE(Add(table, id, 5), nullptr);
        Add(table, "good.MAI", 7);
        for (int round = 0; round < 4; ++round) {
            ASSERT_EQ(Save(table, form), 1u);
            EXPECT_EQ(FindLoadedItem(table, id)->Uid(), 5u);
            EXPECT_EQ(table.LastUID, 7u);
            EXPECT_FALSE(IsMarked());
        }
        // The flat form has room for it.
        ASSERT_EQ(Save(table, Form::Stream), 1u);
        ASSERT_EQ(Load(table_), 3);
        ASSERT_NE(FindLoadedItem(table_, id), nullptr);
        EXPECT_EQ(FindLoadedItem(table_, id)->Uid(), 5u);
        EXPECT_FALSE(IsMarked());
    }
}

// The tag is as long as it is written, references and all.
TEST_F(DocumentSave, AnIdWhoseReferencesMakeTheTagTooLongIsLeftOut)
{
    for (const Form form : kDocumentForms) {
        int kept = 0;
        for (size_t size = 160; size < 175; ++size) {
            for (const std::string& id : {std::string(size, '\xE9'), std::string(size, '\t') + "x", std::string(5 * size / 4, '&'),
                                          std::string(3 * size / 2, '<')}) {
                std::filesystem::remove(File());
                TestTable table;
                ASSERT_NE(Add(table, id, 5), nullptr);
                Add(table, "good.MAI", 7);
                ASSERT_EQ(Save(table, form), 1u);
                TestTable read[2];
                for (const Reader reader : kReaders) {
                    TestTable& into = read[static_cast<size_t>(reader)];
                    ASSERT_EQ(Load(into, reader), 3) << size;
                    EXPECT_NE(FindLoadedItem(into, "good.MAI"), nullptr);
                }
                EXPECT_EQ(IdsByUid(read[0]), IdsByUid(read[1]));
                kept += static_cast<int>(ItemCountOf(read[0])) - 1;
            }
        }
        EXPECT_GT(kept, 15);
        EXPECT_LT(kept, 60);
    }
}

TEST_F(DocumentSave, AColumnOfTheLibraryThatIsNoElementNameIsPrintedAndLost)
{
    Add(table_, "a.VCF")->SetText("IM_TYPE=ICQ", "12345");
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(Save(table_), 1u); }),
              "MSXMLStoreIndexSerialiser::SaveToNode->createElement Failed: -2147024809\n");
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"1\"><ELEMENT ID=\"a.VCF\" UID=\"1\"><READ>0</READ></ELEMENT></BASEELEMENT>");
}

// A tag that is closed at once stays open for the flat reader.
TEST_F(DocumentSave, AnItemWithoutColumnsHasAnEndTag)
{
    for (const Form form : kForms) {
        std::filesystem::remove(File());
        TestTable table;
        Add(table, "a.MAI", 3)->ResetKeepingKeys();
        Add(table, "b.MAI", 4)->SetText("TO", "x");
        ASSERT_EQ(Save(table, form), 1u);
        EXPECT_NE(Bytes().find("<ELEMENT ID=\"a.MAI\" UID=\"3\"></ELEMENT>"), std::string::npos) << Bytes();
        for (const Reader reader : kReaders) {
            TestTable read;
            ASSERT_EQ(Load(read, reader), 3) << Bytes();
            EXPECT_EQ(IdsByUid(read), "a.MAI b.MAI");
        }
    }
}

// All that XML takes for the name of an element, which is one byte for each letter up to 255.
TEST_F(DocumentSave, ColumnsWithForeignLettersAndColonsComeBack)
{
    for (const char* const column : {"a:b", ":", "Gr\xFC\xDF", "\xC9t\xE9", "\xC3", "x\xB7y", "x\xC3:\xC3"}) {
        for (const Form form : kForms) {
            std::filesystem::remove(File());
            TestTable table;
            Add(table, "a.MAI", 9)->SetText(column, "x");
            Add(table, "b.MAI", 3)->SetText("TO", "y");
            ASSERT_EQ(CaptureStdout([&] { EXPECT_EQ(Save(table, form), 1u); }), "");
            for (const Reader reader : kReaders) {
                TestTable read;
                ASSERT_EQ(Load(read, reader), 3) << Bytes();
                EXPECT_EQ(IdsByUid(read), "b.MAI a.MAI");
                EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), column), "x") << Bytes();
                EXPECT_EQ(TextOf(*FindLoadedItem(read, "b.MAI"), "TO"), "y");
            }
        }
    }
}

TEST_F(DocumentSave, AColumnOfUtf8ThatIsNoElementNameIsPrintedAndLost)
{
    Add(table_, "a.MAI")->SetText("caf\xC3\xA9", "x");
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(Save(table_), 1u); }),
              "MSXMLStoreIndexSerialiser::SaveToNode->createElement Failed: -2147024809\n");
    EXPECT_EQ(Bytes(), "<BASEELEMENT LASTUID=\"1\"><ELEMENT ID=\"a.MAI\" UID=\"1\"><READ>0</READ></ELEMENT></BASEELEMENT>");
}

TEST_F(DocumentSave, AZeroByteEndsAValueForADocument)
{
    for (const Form form : kForms) {
        std::filesystem::remove(File());
        TestTable table;
        Add(table, "a.MAI")->SetText("SUBJECT", std::string_view("one\0two\r<&>", 12));
        FindLoadedItem(table, "a.MAI")->SetText("TO", std::string_view("\r\0\0", 3));
        FindLoadedItem(table, "a.MAI")->SetText("X", "&#x0;y");
        Add(table, "b.MAI")->SetText("SUBJECT", "plain");
        ASSERT_EQ(Save(table, form), 1u);
        TestTable read;
        ASSERT_EQ(Load(read), 3) << Bytes();
        EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), "SUBJECT"), "one");
        EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), "TO"), "\r");
        EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), "X"), "&#x0;y");
        EXPECT_EQ(TextOf(*FindLoadedItem(read, "b.MAI"), "SUBJECT"), "plain");
    }
}

TEST_F(DocumentSave, AnApostropheNeedsNoReference)
{
    Add(table_, "it's.VCF", 3);
    EXPECT_EQ(Save(table_, Form::NewDocument), 1u);
    EXPECT_TRUE(Bytes().starts_with("<BASEELEMENT LASTUID=\"x00000003\"><ELEMENT ID=\"it's.VCF\" UID=\"3\">")) << Bytes();
}

TEST_F(DocumentSave, AColumnThatIsNoElementNameIsPrintedAndLeftOut)
{
    IndexItemPropertyContainer* const item = Add(table_, "a.MAI");
    item->SetText("1st column", "x");
    item->SetText("ELEMENTS", "x");
    item->SetText("TO", "kept");
    const std::string out = CaptureStdout([&] { EXPECT_EQ(Save(table_), 1u); });
    EXPECT_EQ(out, "MSXMLStoreIndexSerialiser::SaveToNode->createElement Failed: -2147024809\n");
    for (const Reader reader : kReaders) {
        EXPECT_EQ(Load(table_, reader), 3);
        EXPECT_EQ(TextOf(*FindLoadedItem(table_, "a.MAI"), "TO"), "kept");
    }
}

// A part of a folder, or a table of one item that a host has opened.
TEST_F(DocumentSave, APartOfTheFolderDoesNotTakeThePlaceOfTheWhole)
{
    const std::string whole = IndexFile(9, Element("a", 1) + Element("b", 2));
    Write(whole);
    Add(table_, "a", 1);
    table_.LoadSelection = "a";
    EXPECT_EQ(Save(table_), 0u);
    table_.LoadSelection.clear();
    for (const int32_t level : {0, 1, 2}) {
        table_.LoadLevel = level;
        EXPECT_EQ(Save(table_), 0u);
    }
    EXPECT_EQ(Bytes(), whole);
}

TEST_F(DocumentSave, AnOpenForItLoadsTheWholeFolderWhateverWasChosen)
{
    store_.SetNumber("Use XML Stream Index Deserialisation", 1);
    Write(IndexFile(9, Element("a", 1) + Element("b", 2)));
    IndexLoadArguments arguments;
    arguments.FolderPath = Folder();
    arguments.NoBlock = 1;
    arguments.CheckDirty = 0;
    table_.LoadSelection = "b";
    EXPECT_TRUE(OpenIndexForLoad(table_, arguments, 1));
    EXPECT_EQ(table_.LoadLevel, 3);
    EXPECT_EQ(IdsByUid(table_), "a b");
    EXPECT_EQ(SaveIndex(table_, Folder().c_str(), 0), 1u);
    EXPECT_EQ(Load(table_), 3);
    EXPECT_EQ(IdsByUid(table_), "a b");
}

// --- UIDs ----------------------------------------------------------------------------------------------------------

TEST_F(DocumentSave, NeverLowersTheNumberOfTheFileThatItReplaces)
{
    for (const char* root :
         {"<BASEELEMENT LASTUID=\"x000004d2\"/>", "<BASEELEMENT LASTUID=\"x000004d2\"><ELEMENT ID=\"z\" UID=\"1\"/></BASEELEMENT>",
          "<BASEELEMENT LASTUID=\"1234\"/>", "<BASEELEMENT LASTUID=\"04d2\"/>", "<BASEELEMENT A='b' LASTUID = '1234' />",
          "<?xml version=\"1.0\"?>\r\n<!-- c --><BASEELEMENT LASTUID=\"1234\"></BASEELEMENT>",
          "\xEF\xBB\xBF<BASEELEMENT LASTUID=\"1234\"/>"}) {
        for (const Form form : {Form::Stream, Form::OldDocument, Form::NewDocument}) {
            TestTable table;
            Add(table, "a.MAI", 5);
            table.RewriteRequired = 1;
            Write(root);
            ASSERT_EQ(Save(table, form), 1u) << root;
            EXPECT_EQ(table.LastUID, 1234u + 1) << root;  // one more: the new item's UID had been given
            EXPECT_EQ(LastUidOfRoot(Bytes()), 1235u) << root;
        }
    }
}

TEST_F(DocumentSave, OverAnotherOnesItemsGivesNoUidAgainAndMarksTheFolder)
{
    for (const Form form : kDocumentForms) {
        std::filesystem::remove(File("_CHANGE.DTY"));
        TestTable first;
        Add(first, "a.MAI", 1);
        std::filesystem::remove(File());
        ASSERT_EQ(Save(first, form), 1u);
        EXPECT_FALSE(IsMarked());
        ASSERT_EQ(Load(table_), 3);
        // Another process delivers.
        TestTable other;
        ASSERT_EQ(Load(other), 3);
        EXPECT_EQ(Add(other, "theirs.MAI")->Uid(), 2u);
        ASSERT_EQ(Save(other, form), 1u);
        EXPECT_FALSE(IsMarked());

        EXPECT_EQ(Add(table_, "ours.MAI")->Uid(), 2u);
        EXPECT_EQ(Save(table_, form), 1u);
        EXPECT_TRUE(IsMarked());
        EXPECT_EQ(FindLoadedItem(table_, "a.MAI")->Uid(), 1u);
        EXPECT_EQ(FindLoadedItem(table_, "ours.MAI")->Uid(), 3u);
        EXPECT_EQ(table_.LastUID, 3u);
    }
}

// Between the look at the file and the move that replaces it.
TEST_F(DocumentSave, AFileWrittenByAnotherDuringTheSaveIsLookedAtAgain)
{
    for (const Form form : kDocumentForms) {
        std::filesystem::remove(File("_CHANGE.DTY"));
        Write(IndexFile(9, Element("a.MAI", 1)));
        TestTable table;
        ASSERT_EQ(Load(table), 3);
        EXPECT_EQ(Add(table, "ours.MAI")->Uid(), 10u);
        int written = 0;
        {
            FileFaults others([&](FileOperation operation, int, std::string_view path, uint64_t) {
                // The new bytes are about to be written beside the file.
                if (operation == FileOperation::Open && path.ends_with(".tmp") && written++ == 0)
                    Write(IndexFile(10, Element("a.MAI", 1) + Element("theirs.MAI", 10)));
                return FileVerdict();
            });
            EXPECT_EQ(Save(table, form), 1u);
        }
        EXPECT_EQ(written, 2);
        EXPECT_EQ(FindLoadedItem(table, "ours.MAI")->Uid(), 11u);
        EXPECT_EQ(LastUidOfRoot(Bytes()), 11u);
        EXPECT_TRUE(IsMarked());
        EXPECT_FALSE(Exists("_index.xml.tmp"));
    }
}

TEST_F(DocumentSave, AFileThatIsWrittenAgainAndAgainIsNotReplaced)
{
    FillTwo();
    Write(IndexFile(9, Element("z", 1)));
    uint32_t written = 0;
    {
        FileFaults others([&](FileOperation operation, int, std::string_view path, uint64_t) {
            if (operation == FileOperation::Open && path.ends_with(".tmp")) Write(IndexFile(9, Element(std::string(++written, 'z'), 1)));
            return FileVerdict();
        });
        EXPECT_EQ(Save(table_), 0u);
    }
    EXPECT_EQ(written, 3u);
    EXPECT_EQ(Bytes(), IndexFile(9, Element("zzz", 1)));
    EXPECT_FALSE(Exists("_index.xml.tmp"));
}

// Their next load would empty them.
TEST_F(DocumentSave, OfGroupItemsNeverMarksTheFolder)
{
    for (const char* const others : {"<BASEELEMENT LASTUID=\"90\"/>", "<BASEELEMENT/>", "rubbish"}) {
        TestTable table;
        Add(table, "a.GRP", 1);
        Write(others, "_groups.xml");
        ASSERT_EQ(Save(table, Form::OldDocument, 54), 1u);
        EXPECT_FALSE(IsMarked()) << others;
    }
}

TEST_F(DocumentSave, KnownItemsKeepTheirUidsThroughAnyWriter)
{
    for (const Form before : kForms) {
        for (const Form after : kForms) {
            for (const Reader reader : kReaders) {
                std::filesystem::remove(File());
                TestTable made;
                Add(made, "a.MAI", 4);
                Add(made, "b.MAI", 9);
                ASSERT_EQ(Save(made, before), 1u);
                for (int round = 0; round < 3; ++round) {
                    TestTable table;
                    ASSERT_EQ(Load(table, reader), 3);
                    EXPECT_EQ(Add(table, "new" + std::to_string(round))->Uid(), 10u + static_cast<uint32_t>(round));
                    ASSERT_EQ(Save(table, after), 1u);
                    ASSERT_EQ(Save(table, after), 1u);
                    EXPECT_EQ(FindLoadedItem(table, "a.MAI")->Uid(), 4u);
                }
                TestTable table;
                ASSERT_EQ(Load(table, reader), 3);
                EXPECT_EQ(IdsByUid(table), "a.MAI b.MAI new0 new1 new2");
                EXPECT_EQ(table.LastUID, 12u);
                EXPECT_FALSE(IsMarked());
            }
        }
    }
}

TEST_F(DocumentSave, TwoSavesInOneTickOfTheClockDifferInTheirLastWriteTime)
{
    Add(table_, "a.MAI");
    ASSERT_EQ(Save(table_), 1u);
    for (int round = 0; round < 200; ++round) {
        const uint64_t before = ReadFileStamp(File().string()).lastWrite;
        ASSERT_EQ(Save(table_), 1u);
        ASSERT_GT(ReadFileStamp(File().string()).lastWrite, before);
    }
}

// --- saves that fail -----------------------------------------------------------------------------------------------

TEST_F(DocumentSave, AFileThatCannotBeReadNowIsNotReplaced)
{
    FillTwo();
    Write(IndexFile(9, Element("z", 1)));
    for (const FileOperation operation : {FileOperation::Open, FileOperation::Read}) {
        FileFaults faults(FileFaults::Nth(operation, 1, 32));
        EXPECT_EQ(Save(table_), 0u);
        EXPECT_EQ(faults.Failed(), 1);
    }
    EXPECT_EQ(Bytes(), IndexFile(9, Element("z", 1)));
}

// Each operation of a save fails in its turn: the answer tells, the file is the old one or the new one, and another save
// goes through.
TEST_F(DocumentSave, WhereverItFailsTheFileIsWhole)
{
    TestTable expected;
    Add(expected, "a.MAI", 4)->SetText("TO", "old");
    ASSERT_EQ(Save(expected), 1u);
    const std::string before = Bytes();
    int failed = 0;
    for (const FileOperation operation : {FileOperation::Open, FileOperation::Read, FileOperation::Write, FileOperation::Move,
                                          FileOperation::Search, FileOperation::Resize}) {
        for (int nth = 1; nth < 20; ++nth) {
            Write(before);
            TestTable table;
            ASSERT_EQ(Load(table), 3);
            FindLoadedItem(table, "a.MAI")->SetText("TO", "new");
            uint64_t saved = 0;
            bool met = false;
            {
                FileFaults faults(FileFaults::Nth(operation, nth, 112));
                saved = DispatchSerialise(*std::make_unique<MSXMLStoreIndexSerialiser>(), table, Folder(), 0);
                met = faults.Failed() > 0;
            }
            if (!met) break;
            TestTable read;
            ASSERT_EQ(Load(read), 3) << static_cast<uint32_t>(operation) << " " << nth << "\n" << Bytes();
            const std::string to = TextOf(*FindLoadedItem(read, "a.MAI"), "TO");
            EXPECT_EQ(to, saved == 1 ? "new" : "old") << static_cast<uint32_t>(operation) << " " << nth;
            EXPECT_EQ(read.LastUID, 4u);
            failed += saved == 0;
            ASSERT_EQ(Save(table), 1u);
            ASSERT_EQ(Load(read), 3);
            EXPECT_EQ(TextOf(*FindLoadedItem(read, "a.MAI"), "TO"), "new");
        }
    }
    EXPECT_GE(failed, 3);
}

// A document whose facility raises in one of its calls.
class RaisingDocument : public platform::XmlDocument {
public:
    bool LoadBytes(std::string_view bytes) override { return inner_->LoadBytes(bytes); }
    platform::XmlNode DocumentElement() const override { return inner_->DocumentElement(); }
    platform::XmlNode CreateRoot(const char* name) override
    {
        if (raisesAtRoot) Raise();
        return inner_->CreateRoot(name);
    }
    std::string ToBytes() const override { Raise(); }
    static inline bool raisesAtRoot = false;

protected:
    void Clear() override {}

private:
    [[noreturn]] static void Raise() { throw ComError{0x80004005, "Unspecified error", "facility", "told"}; }
    std::unique_ptr<platform::XmlDocument> inner_ = platform::XmlDocument::Create();
};

TEST_F(DocumentSave, AnErrorOfTheFacilityLeavesTheFileAndWhatIsToBeSaved)
{
    const std::string before = IndexFile(9, Element("a", 1));
    for (const bool atRoot : {true, false}) {
        RaisingDocument::raisesAtRoot = atRoot;
        Write(before);
        TestTable table;
        ASSERT_EQ(Load(table), 3);
        ASSERT_NE(Add(table, "b", 10), nullptr);
        MSXMLStoreIndexSerialiser serialiser(
            []() -> std::unique_ptr<platform::XmlDocument> { return std::make_unique<RaisingDocument>(); });
        CaptureStdout([&] { EXPECT_EQ(DispatchSerialise(serialiser, table, Folder(), 0), 0u); });
        EXPECT_EQ(Bytes(), before);
        EXPECT_EQ(FileNames(folder_), std::vector<std::string>{"_index.xml"});
        EXPECT_EQ(table.RewriteRequired, 1);
        EXPECT_EQ(FindLoadedItem(table, "b")->FileOffset, 0u);
        ASSERT_EQ(Save(table), 1u);
        ASSERT_EQ(Load(table_), 3);
        EXPECT_EQ(IdsByUid(table_), "a b");
    }
}

TEST_F(DocumentSave, OnAFullDiskFails)
{
    FillTwo();
    ASSERT_EQ(Save(table_), 1u);
    const std::string before = Bytes();
    {
        FileFaults faults(FileFaults::FullDisk());
        EXPECT_EQ(SaveIndex(table_, Folder().c_str(), 0), 0u);
    }
    EXPECT_EQ(Bytes(), before);
    EXPECT_EQ(table_.RewriteRequired, 1);
    EXPECT_EQ(FileNames(folder_), std::vector<std::string>{"_index.xml"});
}

}  // namespace
}  // namespace velmora::test
