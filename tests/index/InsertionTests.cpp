// New items into an open index, removals with their counts, and items as flat records.
#include "index/ItemInsertion.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <utility>

#include "index/IndexPersistence.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "tests/index/LifeFixture.h"
#include "velmora/vlaisp.h"

namespace velmora::test {
namespace {

class Insertion : public OpenLife {
protected:
    void SetUp() override { MakeIndexedInbox(); }
    static std::string TextOf(const IndexItemPropertyContainer* item, const char* column)
    {
        std::string text = "(none)";
        if (item) item->GetText(column, text);
        return text;
    }
    static std::string NullLine(const char* function) { return FormatText("WARNING!: StoreIndex is NULL when passed to %s\n", function); }
    // A record whose table a test fills by itself.
    static void CountAsLoaded(HostRecord& record) { record->Table.LoadLevel = 3; }
};

// ---- Insert ----

TEST_F(Insertion, AMessageIsInsertedWithTheNextUid)
{
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    record->Changed = 0;
    PutMail(inbox, "3.MAI", "third");
    EXPECT_EQ(StoreIndex_InsertItem(&record, "3.MAI", 1), 1u);
    ASSERT_NE(record.Item("3.MAI"), nullptr);
    EXPECT_EQ(record.Item("3.MAI")->Uid(), 3u);
    EXPECT_EQ(TextOf(record.Item("3.MAI"), "SUBJECT"), "third");
    EXPECT_EQ(record->LoadedLastUID, 3u);
    EXPECT_EQ(record->InsertItem.Item, record.Item("3.MAI"));
    EXPECT_EQ(record->Changed, 0u) << "the caller saves";
}

TEST_F(Insertion, AnEmptyIdDoesNothingAndAnswersOne)
{
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(StoreIndex_InsertItem(&record, "", 1), 1u);
    EXPECT_EQ(StoreIndex_InsertItem(&record, nullptr, 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(record->InsertItem.FolderPath[0], '\0');
}

TEST_F(Insertion, AnItemThatIsThereAlreadyIsDroppedAndAnswersOne)
{
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    const IndexItemPropertyContainer* const before = record.Item("2.MAI");
    EXPECT_EQ(StoreIndex_InsertItem(&record, "2.MAI", 1), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(record.Item("2.MAI"), before);
    EXPECT_EQ(record->InsertItem.Item, nullptr);
    EXPECT_EQ(record->LoadedLastUID, 3u) << "its UID is skipped for good";
}

TEST_F(Insertion, ANullRecordIsNamedInAWarning)
{
    EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(StoreIndex_InsertItem(nullptr, "3.MAI", 1), 0u); }), NullLine("StoreIndex_InsertItem"));
    const std::string removal = NullLine("RemoveStoreItemByMessageID");
    EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(StoreIndex_RemoveItem(nullptr, "3.MAI", 0), 0u); }), removal);
    EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(StoreIndex_RemoveItem(nullptr, "", 0), 0u); }), removal);
    auto out = std::make_unique<StoreMessageRecord>();
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(GetStoreItemByMessageID(nullptr, "3.MAI", 1, out.get()), 0u); }),
              NullLine("GetStoreItemByMessageID"));
}

TEST_F(Insertion, TheFilesDirectoryComesFromTheRecordsNamesAndThenStays)
{
    HostRecord record("INBOX");
    CountAsLoaded(record);
    PutMail(store.MakeFolder("Sent"), "s.MAI", "sent");
    CopyBounded(record->InsertItem.FolderPath, (store.MailRoot() / "po/MAILROOT/box/Sent").string());
    EXPECT_EQ(StoreIndex_InsertItem(&record, "s.MAI", 1), 1u);
    EXPECT_EQ(TextOf(record.Item("s.MAI"), "SUBJECT"), "sent");
    EXPECT_EQ(record->InsertItem.Folder[0], '\0');
    record->InsertItem.FolderPath[0] = '\0';
    EXPECT_EQ(StoreIndex_InsertItem(&record, "1.MAI", 1), 1u);
    EXPECT_STREQ(record->InsertItem.Folder, "INBOX");
    EXPECT_EQ(std::string(record->InsertItem.FolderPath), record.Path());
}

TEST_F(Insertion, WithTheHeaderAloneLoadedAnInsertMakesOneItemAndReadsNoMoreOfTheIndex)
{
    PutIndex(inbox, 900, Element("1.MAI", 1) + Element("2.MAI", 900));
    Age(inbox / "_index.xml");
    PutMail(inbox, "3.MAI");
    STOREINDEXTYPE index;
    StoreIndex_Init(&index);
    void* handle = nullptr;
    ASSERT_EQ(StoreIndex_BeginTransaction(index, "po", "box", "INBOX", 1, handle, 1), 1u);
    ASSERT_EQ(index.Table.LoadLevel, 1);
    InsertionHeader header;
    {
        WatchedFiles files;
        size_t indexOpens = 0;
        files.fail = [&](platform::FileOperation operation, std::string_view path) {
            if (operation == platform::FileOperation::Open && path.find("_index") != std::string_view::npos) ++indexOpens;
            return 0u;
        };
        EXPECT_EQ(InsertItemFromFile(index, "3.MAI", 1, true, header), 1u);
        EXPECT_EQ(indexOpens, 0u);
    }
    EXPECT_EQ(index.Table.LoadLevel, 1);
    EXPECT_EQ(ItemCountOf(index.Table), 1u);
    EXPECT_EQ(index.InsertItem.Item->Uid(), 901u);
    EXPECT_EQ(index.LoadedLastUID, 901u);
    EXPECT_EQ(StoreIndex_SaveAndClose(index, true, 1, handle, nullptr), 1u);
    StoreIndex_Release(&index);
    HostRecord reader("INBOX");
    ASSERT_EQ(StoreIndex_Open(&reader, 5), 1u);
    EXPECT_EQ(reader.Count(), 3u);
}

TEST_F(Insertion, KindsWithoutAReaderGetTheirIdAloneAndTheirFileStays)
{
    for (const uint32_t kind : {1u, 2u, 3u, 4u, 5u, 77u}) {
        HostRecord record("INBOX", kind);
        CountAsLoaded(record);
        WriteFileBytes(inbox / "x.VCF", "BEGIN:VCARD\r\n");
        InsertionHeader header;
        header.Size = 7;
        EXPECT_EQ(InsertItemFromFile(*record, "x.VCF", 1, true, header), 1u) << kind;
        ASSERT_NE(record.Item("x.VCF"), nullptr) << kind;
        EXPECT_EQ(TextOf(record.Item("x.VCF"), "SUBJECT"), "(none)");
        EXPECT_EQ(record->InsertItem.Class, kind);
        EXPECT_EQ(header.Size, 0);
        EXPECT_EQ(ReadFileBytes(inbox / "x.VCF"), "BEGIN:VCARD\r\n") << kind;
    }
}

TEST_F(Insertion, AnInsertForAMissingFileOfSuchAKindStillMakesTheItem)
{
    HostRecord record("INBOX", 1);
    CountAsLoaded(record);
    EXPECT_EQ(StoreIndex_InsertItem(&record, "gone.VCF", 1), 1u);
    EXPECT_NE(record.Item("gone.VCF"), nullptr);
    EXPECT_FALSE(FileExists(inbox / "gone.VCF"));
}

// ---- Remove ----

class Removal : public Insertion {
protected:
    void SetUp() override
    {
        Insertion::SetUp();
        CountAsLoaded(record);
        Put("a", "100", "\\SEEN");
        Put("b", "20", "\\Recent");
        Put("c", "3", "\\SEEN \\RECENT");
        Put("d", nullptr, nullptr);
    }
    void Put(const char* id, const char* size, const char* flags)
    {
        record.Add(id);
        if (size) record.Item(id)->SetText("SIZE", size);
        if (flags) record.Item(id)->SetText("FLAGSTATUS", flags);
    }
    uint64_t Remove(const char* ids) { return RemoveStoreItemByMessageID(&record, ids, 1, header, &details); }
    using Words = std::vector<uint32_t>;
    // Items, seen, new, added.
    Words Counts() const { return {details[6], details[7], details[9], details[10]}; }

    HostRecord record{"INBOX"};
    InsertionHeader header;
    uint32_t details[13] = {0, 0, 0, 0, 0, 1, 10, 10, 10, 10, 10, 4, 0};
};

TEST_F(Removal, ARemovalLowersTheCountsByWhatTheItemsWere)
{
    EXPECT_EQ(Remove("a,b,c"), 1u);
    EXPECT_EQ(header.Size, 123);
    EXPECT_EQ(Counts(), (Words{7, 8, 8, 8}));
    EXPECT_EQ(details[5], 1u) << "what only a full count sets stays";
    EXPECT_EQ(details[8], 10u);
    EXPECT_EQ(record.Count(), 1u);
}

TEST_F(Removal, AnIdThatIsListedTwiceCountsOnce)
{
    EXPECT_EQ(Remove("a,,a,a,"), 1u);
    EXPECT_EQ(header.Size, 100);
    EXPECT_EQ(Counts(), (Words{9, 9, 10, 10}));
    EXPECT_EQ(record.Count(), 3u);
}

TEST_F(Removal, AnAbsentIdRemovesTheOthersAndCountsNothing)
{
    header.Size = 55;
    EXPECT_EQ(Remove("z,d,A"), 1u);
    EXPECT_EQ(header.Size, 0);
    EXPECT_EQ(Counts(), (Words{9, 10, 10, 10}));
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_EQ(record.Item("d"), nullptr);
}

TEST_F(Removal, NoCountGoesBelowZeroAndANegativeOneStays)
{
    details[6] = 1;
    details[7] = 0;
    details[9] = 0xFFFFFFFFu;
    details[10] = 1;
    EXPECT_EQ(Remove("a,b,c"), 1u);
    EXPECT_EQ(Counts(), (Words{0, 0, 0xFFFFFFFFu, 0}));
}

TEST_F(Removal, WithNoCountsOnlyTheSizeIsToldBack)
{
    EXPECT_EQ(RemoveStoreItemByMessageID(&record, "b", 1, header, nullptr), 1u);
    EXPECT_EQ(header.Size, 20);
    EXPECT_EQ(record.Item("b"), nullptr);
}

TEST_F(Removal, AStarEmptiesTheIndexAndCountsNothing)
{
    EXPECT_EQ(Remove("*"), 1u);
    EXPECT_EQ(record.Count(), 0u);
    EXPECT_EQ(header.Size, 0);
    EXPECT_EQ(Counts(), (Words{10, 10, 10, 10}));
}

TEST_F(Removal, TheExportRemovesTheItemsOfAList)
{
    EXPECT_EQ(StoreIndex_RemoveItem(&record, "a,c", 0), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(StoreIndex_RemoveItem(&record, "", 0), 1u);
    EXPECT_EQ(StoreIndex_RemoveItem(&record, nullptr, 0), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(record->Table.LastUID, 4u);
}

TEST_F(Removal, AnIndexThatIsNotLoadedAnswersZero)
{
    HostRecord empty("INBOX");
    EXPECT_EQ(StoreIndex_RemoveItem(&empty, "a", 0), 0u);
}

// ---- Records ----

TEST_F(Removal, AnIndexThatSomebodyHoldsIsAskedForOnceForTheWholeList)
{
    HostRecord barely("INBOX");
    IndexLoadArguments arguments = LoadArgumentsOf(*barely);
    ASSERT_TRUE(OpenIndexForLoad(barely->Table, arguments, 1));
    WatchedFiles files;
    int attempts = 0;
    files.fail = [&](platform::FileOperation operation, std::string_view path) {
        if (operation != platform::FileOperation::Open || !path.ends_with("_index.blk")) return 0u;
        ++attempts;
        return uint32_t{80};
    };
    EXPECT_EQ(StoreIndex_RemoveItem(&barely, "1.MAI,2.MAI,3.MAI", 0), 0u);
    EXPECT_EQ(attempts, 1);
}

class MessageRecord : public Insertion {
protected:
    void SetUp() override
    {
        Insertion::SetUp();
        CountAsLoaded(record);
        record.Add("x");
        record.Add("a");
        // What the host left there shows what a call did not write.
        std::memset(static_cast<void*>(out.get()), '#', sizeof *out);
    }
    bool IsUntouched(const char* field, size_t size) const { return std::string(field, size) == std::string(size, '#'); }
    void FillItem()
    {
        IndexItemPropertyContainer& item = *record.Item("a");
        for (const auto& [column, value] : std::initializer_list<std::pair<const char*, const char*>>{{"SUBJECT", "s"},
                                                                                                      {"FLAGSTATUS", "\\SEEN"},
                                                                                                      {"FROM", "f"},
                                                                                                      {"TO", "t"},
                                                                                                      {"CC", "c"},
                                                                                                      {"SIZE", "12"},
                                                                                                      {"ATTACHMENTS", "1"},
                                                                                                      {"RECEIVED", "r"},
                                                                                                      {"MESSAGEDATE", "m"},
                                                                                                      {"IMPORTANCE", "5"},
                                                                                                      {"IDX", "9"}})
            item.SetText(column, value);
    }
    uint64_t Read(const char* id, uint32_t mode) { return GetStoreItemByMessageID(&record, id, mode, out.get()); }

    HostRecord record{"INBOX"};
    std::unique_ptr<StoreMessageRecord> out = std::make_unique<StoreMessageRecord>();
};

TEST_F(MessageRecord, IsLaidOutAsHostsKnowIt)
{
    EXPECT_EQ(offsetof(StoreMessageRecord, FlagStatus), 4096u);
    EXPECT_EQ(offsetof(StoreMessageRecord, From), 5120u);
    EXPECT_EQ(offsetof(StoreMessageRecord, To), 5632u);
    EXPECT_EQ(offsetof(StoreMessageRecord, Cc), 29632u);
    EXPECT_EQ(offsetof(StoreMessageRecord, Size), 53632u);
    EXPECT_EQ(offsetof(StoreMessageRecord, Attachments), 53764u);
    EXPECT_EQ(offsetof(StoreMessageRecord, Received), 53768u);
    EXPECT_EQ(offsetof(StoreMessageRecord, Uid), 53896u);
    EXPECT_EQ(offsetof(StoreMessageRecord, Importance), 53908u);
    EXPECT_EQ(sizeof(StoreMessageRecord), 53912u);
}

TEST_F(MessageRecord, InModeOneHasEveryColumn)
{
    FillItem();
    ASSERT_EQ(Read("a", 1), 1u);
    EXPECT_STREQ(out->Subject, "s");
    EXPECT_STREQ(out->FlagStatus, "\\SEEN");
    EXPECT_STREQ(out->From, "f");
    EXPECT_STREQ(out->To, "t");
    EXPECT_STREQ(out->Cc, "c");
    EXPECT_EQ(out->Size, 12u);
    EXPECT_TRUE(IsUntouched(out->Reserved, sizeof out->Reserved));
    EXPECT_EQ(out->Attachments, 1u);
    EXPECT_STREQ(out->Received, "r");
    EXPECT_STREQ(out->MessageDate, "m");
    EXPECT_EQ(out->Uid, 2u);
    EXPECT_EQ(out->Seq, 2u);
    EXPECT_EQ(out->Idx, 9u);
    EXPECT_EQ(out->Importance, 5u);
}

TEST_F(MessageRecord, HasEmptyTextsAndZerosForWhatIsMissing)
{
    ASSERT_EQ(Read("a", 1), 1u);
    for (const char* const text : {out->Subject, out->FlagStatus, out->From, out->To, out->Cc, out->Received, out->MessageDate})
        EXPECT_STREQ(text, "");
    EXPECT_EQ(out->Size, 0u);
    EXPECT_EQ(out->Attachments, 0u);
    EXPECT_EQ(out->Importance, 0u);
    EXPECT_EQ(out->Idx, 0u);
}

TEST_F(MessageRecord, CutsTextsAtTheirFields)
{
    IndexItemPropertyContainer& item = *record.Item("a");
    for (const char* const column : {"SUBJECT", "FLAGSTATUS", "FROM", "TO", "CC", "RECEIVED", "MESSAGEDATE"})
        item.SetText(column, std::string(50000, 'x'));
    ASSERT_EQ(Read("a", 1), 1u);
    EXPECT_EQ(std::strlen(out->Subject), 4095u);
    EXPECT_EQ(std::strlen(out->FlagStatus), 1023u);
    EXPECT_EQ(std::strlen(out->From), 511u);
    EXPECT_EQ(std::strlen(out->To), 23999u);
    EXPECT_EQ(std::strlen(out->Cc), 23999u);
    EXPECT_EQ(std::strlen(out->Received), 63u);
    EXPECT_EQ(std::strlen(out->MessageDate), 63u);
}

TEST_F(MessageRecord, InModeZeroHasTheNumbersAndTheFlags)
{
    FillItem();
    ASSERT_EQ(Read("a", 0), 1u);
    EXPECT_EQ(out->Uid, 2u);
    EXPECT_EQ(out->Seq, 2u);
    EXPECT_EQ(out->Idx, 9u);
    EXPECT_STREQ(out->FlagStatus, "\\SEEN");
    EXPECT_TRUE(IsUntouched(out->Subject, sizeof out->Subject));
    EXPECT_TRUE(IsUntouched(out->Received, sizeof out->Received));
    EXPECT_EQ(out->Size, 0x23232323u);
}

TEST_F(MessageRecord, InModeTwoHasTheThreeNumbersAndNothingElse)
{
    FillItem();
    ASSERT_EQ(Read("a", 2), 1u);
    EXPECT_EQ(out->Uid, 2u);
    EXPECT_EQ(out->Seq, 2u);
    EXPECT_EQ(out->Idx, 9u);
    EXPECT_TRUE(IsUntouched(out->FlagStatus, sizeof out->FlagStatus));
    EXPECT_TRUE(IsUntouched(out->Subject, sizeof out->Subject));
    EXPECT_EQ(out->Importance, 0x23232323u);
}

TEST_F(MessageRecord, OfAnItemThatIsNotThereStaysAsItWas)
{
    EXPECT_EQ(Read("A", 1), 0u);
    EXPECT_EQ(Read("", 1), 0u);
    EXPECT_EQ(Read(nullptr, 1), 0u);
    record->Table.LoadLevel = 0;
    EXPECT_EQ(Read("a", 1), 0u);
    EXPECT_TRUE(IsUntouched(reinterpret_cast<const char*>(out.get()), sizeof *out));
    EXPECT_EQ(GetStoreItemByMessageID(&record, "a", 1, nullptr), 0u);
    record->Table.LoadLevel = 3;
}

}  // namespace
}  // namespace velmora::test
