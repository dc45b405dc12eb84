#include "frame/ProcessState.h"
#include "index/CachedDetails.h"
#include "index/StoreIndexLife.h"
#include "tests/index/LifeFixture.h"
#include "velmora/locks.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

// A record and a block handle, as a direct change has them.
struct Transaction {
    explicit Transaction(const char* folder_ = "INBOX", uint32_t kind = 0) : folder(folder_)
    {
        StoreIndex_Init(&record);
        record.IndexKind = kind;
    }
    ~Transaction() { StoreIndex_Release(&record); }
    uint64_t Begin(uint32_t keepHandle, int32_t level)
    {
        return StoreIndex_BeginTransaction(record, "po", "box", folder, keepHandle, handle, level);
    }
    uint64_t End(bool commit, uint32_t keepHandle, uint32_t (*details)[13] = nullptr)
    {
        return StoreIndex_SaveAndClose(record, commit, keepHandle, handle, details);
    }
    void Add(const char* id)
    {
        auto* const item = new IndexItemPropertyContainer;
        item->SetText(kId, id);
        ASSERT_TRUE(InsertItem(record.Table, item));
    }
    STOREINDEXTYPE record;
    void* handle = nullptr;
    const char* folder;
};

class TransactionLife : public Life {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        Attach();
    }
    void PutTwoItems()
    {
        PutIndex(inbox, 2, Element("1.MAI", 1, "<READ>1</READ>") + Element("2.MAI", 2));
        Age(inbox / "_index.xml");
    }
    std::string IndexBytes() const { return ReadFileBytes(inbox / "_index.xml"); }
    static std::string Line(const char* format, const Transaction& transaction)
    {
        std::string text = format;
        return text.replace(text.find("%s"), 2, transaction.record.Path);
    }
    static constexpr char kDirtyLine[] = "StoreIndex_SaveAndClose::Failed to commit index for folder %s. Folder will be marked as dirty.\n";
    fs::path inbox;
};

TEST_F(TransactionLife, BeginPlacesTheRecordLoadsAndHoldsTheBlock)
{
    PutTwoItems();
    Transaction transaction;
    CopyBounded(transaction.record.Path, "elsewhere");
    transaction.record.Changed = 1;
    transaction.record.LoadedLastUID = 7;
    ASSERT_EQ(transaction.Begin(1, 3), 1u);
    EXPECT_STREQ(transaction.record.Postoffice, "po");
    EXPECT_STREQ(transaction.record.Mailbox, "box");
    EXPECT_STREQ(transaction.record.Folder, "INBOX");
    EXPECT_EQ(std::string(transaction.record.Path), store.MailRoot().string() + "\\po\\MAILROOT\\box\\INBOX");
    EXPECT_EQ(transaction.record.Changed, 0u);
    EXPECT_EQ(transaction.record.LoadedLastUID, 0u);
    EXPECT_EQ(transaction.record.Table.LoadLevel, 3);
    EXPECT_EQ(ItemCountOf(transaction.record.Table), 2u);
    EXPECT_NE(transaction.handle, nullptr);
    EXPECT_TRUE(FileExists(inbox / "_index.blk"));
    EXPECT_EQ(transaction.End(false, 1), 1u);
}

TEST_F(TransactionLife, ALevelBelowOneIsRaised)
{
    PutTwoItems();
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(1, 0), 1u);
    EXPECT_EQ(transaction.record.Table.LoadLevel, 1);
    EXPECT_EQ(transaction.record.Table.LastUID, 2u);
    transaction.End(false, 1);
}

TEST_F(TransactionLife, TheKindFollowsTheNameExceptForGroups)
{
    store.MakeFolder("Contacts");
    Transaction contacts("Contacts", 3);
    ASSERT_EQ(contacts.Begin(1, 1), 1u);
    EXPECT_EQ(contacts.record.IndexKind, 1u);
    contacts.End(false, 1);

    PutIndex(inbox, 8, Element("a.GRP", 8), "_groups.xml");
    Transaction groups("INBOX", 54);
    ASSERT_EQ(groups.Begin(1, 3), 1u);
    EXPECT_EQ(groups.record.IndexKind, 54u);
    EXPECT_EQ(ItemCountOf(groups.record.Table), 1u);
    EXPECT_TRUE(FileExists(inbox / "_groups.blk"));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    groups.record.Table.RewriteRequired = 1;
    groups.Add("b.GRP");
    groups.End(true, 1);
    EXPECT_FALSE(FileExists(inbox / "_groups.blk"));
    EXPECT_NE(ReadFileBytes(inbox / "_groups.xml").find("b.GRP"), std::string::npos);
    EXPECT_FALSE(FileExists(inbox / "_index.xml"));
}

TEST_F(TransactionLife, BeginAnnouncesInEveryNotificationMode)
{
    const NoticeLog::Notice notice{store.MailRoot().string() + "\\po\\MAILROOT\\box", "INBOX", "COMMIT", 255u};
    for (const uint32_t mode : {0u, 1u, 2u, 3u, 4u, 5u}) {
        Process().StoreEventNotificationMode = mode;
        Transaction transaction;
        NoticeLog notices;
        ASSERT_EQ(transaction.Begin(1, 1), 1u);
        transaction.End(false, 1);
        EXPECT_EQ(notices.Seen(), std::vector{notice}) << mode;
    }
}

TEST_F(TransactionLife, BeginForgetsTheMutexWithoutClosingIt)
{
    Transaction transaction;
    const HANDLE mutex = CreateMutexA(nullptr, 0, nullptr);
    transaction.record.Mutex = mutex;
    ASSERT_EQ(transaction.Begin(1, 1), 1u);
    EXPECT_EQ(transaction.record.Mutex, nullptr);
    transaction.End(false, 1);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "still open";
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_TRUE(CloseHandle(mutex));
}

TEST_F(TransactionLife, WithoutAMailboxNothingIsAnnounced)
{
    Transaction transaction;
    NoticeLog notices;
    EXPECT_EQ(StoreIndex_BeginTransaction(transaction.record, "po", nullptr, "nowhere", 1, transaction.handle, 1), 0u);
    EXPECT_EQ(StoreIndex_BeginTransaction(transaction.record, nullptr, nullptr, nullptr, 1, transaction.handle, 1), 0u);
    EXPECT_TRUE(notices.Seen().empty());
}

TEST_F(TransactionLife, AFolderThatSomebodyHoldsRefusesAtOnce)
{
    Transaction first;
    ASSERT_EQ(first.Begin(1, 1), 1u);
    Transaction second;
    EXPECT_EQ(second.Begin(1, 1), 0u);
    EXPECT_EQ(second.handle, nullptr);
    EXPECT_EQ(second.record.Table.LoadLevel, 0);
    EXPECT_TRUE(clock.Sleeps().empty());
    first.End(false, 1);
    EXPECT_EQ(second.Begin(1, 1), 1u);
    second.End(false, 1);
}

TEST_F(TransactionLife, ABlockHeldByNameCanBeDeletedByAnybody)
{
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(0, 1), 1u);
    EXPECT_NE(transaction.handle, nullptr) << "the value tells that a block was had";
    EXPECT_TRUE(DeleteFileA((std::string(transaction.record.Path) + "\\_index.blk").c_str()));
    EXPECT_EQ(transaction.End(false, 0), 1u);
}

TEST_F(TransactionLife, ABlockHeldByHandleCannotBeDeleted)
{
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(1, 1), 1u);
    EXPECT_FALSE(DeleteFileA((std::string(transaction.record.Path) + "\\_index.blk").c_str()));
    EXPECT_EQ(GetLastError(), 32u);
    EXPECT_EQ(transaction.End(false, 1), 1u);
    EXPECT_EQ(transaction.handle, nullptr);
}

TEST_F(TransactionLife, AFailedLoadLetsTheBlockGo)
{
    WriteFileBytes(inbox / "_index.xml", "no index");
    for (const uint32_t keepHandle : {0u, 1u}) {
        Transaction transaction;
        EXPECT_EQ(transaction.Begin(keepHandle, 3), 0u);
        EXPECT_FALSE(FileExists(inbox / "_index.blk")) << keepHandle;
    }
}

TEST_F(TransactionLife, WithoutACommitTheBlockGoesAndTheFileStays)
{
    PutTwoItems();
    const std::string before = IndexBytes();
    for (const uint32_t keepHandle : {0u, 1u}) {
        Transaction transaction;
        ASSERT_EQ(transaction.Begin(keepHandle, 3), 1u);
        transaction.Add("3.MAI");
        EXPECT_EQ(transaction.End(false, keepHandle), 1u);
        EXPECT_EQ(IndexBytes(), before);
        EXPECT_EQ(FileNames(inbox), (std::vector<std::string>{"_index.xml"}));
    }
    EXPECT_FALSE(HasLinePart("StoreIndex_SaveAndClose::"));
}

TEST_F(TransactionLife, ACommitAppendsAndWritesTheDetailsGiven)
{
    PutTwoItems();
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(1, 1), 1u);
    transaction.Add("3.MAI");
    uint32_t details[13] = {};
    details[6] = 3;
    details[7] = 9;
    details[9] = 1;
    EXPECT_EQ(transaction.End(true, 1, &details), 1u);
    EXPECT_NE(IndexBytes().find("3.MAI"), std::string::npos);
    EXPECT_EQ(details[7], 3u) << "lowered to the number of items";
    uint32_t written[13] = {};
    ASSERT_TRUE(ReadCachedDetails((inbox / "_FOLDER.DAT").string(), written));
    EXPECT_TRUE(std::equal(std::begin(written), std::end(written), std::begin(details)));
    EXPECT_TRUE(HasLineAt(8, Line("StoreIndex_SaveAndClose::Committing Index for folder %s\n", transaction)));
    EXPECT_TRUE(HasLineAt(8, Line("StoreIndex_SaveAndClose::SetCacheDetailsToFile for folder %s\n", transaction)));
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(TransactionLife, ACommitWithoutDetailsComputesThem)
{
    PutTwoItems();
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(0, 3), 1u);
    transaction.Add("3.MAI");
    EXPECT_EQ(transaction.End(true, 0), 1u);
    uint32_t written[13] = {};
    ASSERT_TRUE(ReadCachedDetails((inbox / "_FOLDER.DAT").string(), written));
    EXPECT_EQ(written[6], 3u);
    EXPECT_EQ(written[7], 1u);
    EXPECT_EQ(written[11], 3u);
}

TEST_F(TransactionLife, ACommitOfAPartialTableWritesNoDetails)
{
    PutTwoItems();
    Transaction transaction;
    transaction.record.Table.LoadSelection = "1.MAI";
    ASSERT_EQ(transaction.Begin(0, 3), 1u);
    ASSERT_EQ(ItemCountOf(transaction.record.Table), 1u);
    SetItemProperty(*FindLoadedItem(transaction.record.Table, "1.MAI"), "SUBJECT", "x");
    EXPECT_EQ(transaction.End(true, 0), 1u);
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
    EXPECT_NE(IndexBytes().find("<SUBJECT>x</SUBJECT>"), std::string::npos);
    EXPECT_NE(IndexBytes().find("2.MAI"), std::string::npos);
}

TEST_F(TransactionLife, AFileRootFolderHasNoDetails)
{
    const fs::path postoffice = inbox.parent_path().parent_path().parent_path();
    fs::create_directories(postoffice / "FILEROOT" / "box");
    // Where the details would go if the folder were one like others.
    const fs::path asMail = store.MakeFolder("$FileRoot");
    Transaction transaction("$FileRoot");
    ASSERT_EQ(transaction.Begin(1, 1), 1u);
    transaction.Add("notes.txt");
    uint32_t details[13] = {};
    EXPECT_EQ(transaction.End(true, 1, &details), 1u);
    EXPECT_TRUE(FileExists(postoffice / "FILEROOT" / "box" / "_index.xml"));
    EXPECT_TRUE(FileNames(asMail).empty());
    EXPECT_FALSE(FileExists(postoffice / "FILEROOT" / "box" / "_FOLDER.DAT"));
}

TEST_F(TransactionLife, DetailsGoBelowTheMailboxAlsoForAFolderThatStandsElsewhere)
{
    const fs::path postoffice = inbox.parent_path().parent_path().parent_path();
    const std::pair<const char*, const char*> folders[] = {{"$VCFROOT", "VCFROOT"}, {"Public", "PUBROOT"}};
    for (const auto& [folder, root] : folders) {
        // First with no directory of that name in the mailbox, then with one.
        for (const char* const id : {"1", "2"}) {
            Transaction transaction(folder);
            ASSERT_EQ(transaction.Begin(1, 3), 1u) << folder;
            transaction.Add(id);
            uint32_t details[13] = {};
            details[6] = 5;
            EXPECT_EQ(transaction.End(true, 1, &details), 1u);
            EXPECT_TRUE(FileExists(postoffice / root / "_index.xml")) << folder;
            EXPECT_FALSE(FileExists(postoffice / root / "_FOLDER.DAT")) << folder;
            EXPECT_FALSE(FileExists(postoffice / root / "_CHANGE.DTY")) << "details that have no place are no failure";
            const fs::path inMailbox = inbox.parent_path() / folder;
            EXPECT_EQ(FileExists(inMailbox / "_FOLDER.DAT"), *id == '2') << folder;
            fs::create_directories(inMailbox);
        }
    }
}

TEST_F(TransactionLife, AnIndexThatChangedMeanwhileLeavesTheFolderDirty)
{
    PutTwoItems();
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(1, 3), 1u);
    Age(inbox / "_index.xml", 5);
    transaction.Add("3.MAI");
    uint32_t details[13] = {};
    EXPECT_EQ(transaction.End(true, 1, &details), 1u);
    EXPECT_TRUE(
        HasLinePart(Line("StoreIndex_SaveAndClose::Failed to commit index for folder %s. Index was changed while being transacted. "
                         "Folder will be marked as dirty.\n",
                         transaction)));
    EXPECT_TRUE(HasLineAt(8, Line(kDirtyLine, transaction)));
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(TransactionLife, AnIndexThatCannotBeWrittenLeavesTheFolderDirty)
{
    PutTwoItems();
    const std::string before = IndexBytes();
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(1, 3), 1u);
    transaction.Add("3.MAI");
    size_t opens = 0;
    {
        // The first open is the one that asks for the file's time.
        WatchedFiles files;
        files.fail = [&](FileOperation operation, std::string_view path) {
            return operation == FileOperation::Open && ContainsNoCase(path, "_index.xml") && ++opens > 1 ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(transaction.End(true, 1), 1u);
    }
    EXPECT_GT(opens, 1u);
    EXPECT_FALSE(HasLinePart("Index was changed while being transacted"));
    EXPECT_TRUE(HasLineAt(8, Line(kDirtyLine, transaction)));
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    EXPECT_FALSE(FileExists(inbox / "_FOLDER.DAT"));
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    EXPECT_EQ(IndexBytes(), before);
}

TEST_F(TransactionLife, AFolderWithNoIndexGetsOne)
{
    Transaction transaction;
    ASSERT_EQ(transaction.Begin(1, 1), 1u);
    transaction.Add("1.MAI");
    EXPECT_EQ(transaction.End(true, 1), 1u);
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(record.Count(), 1u);
}

}  // namespace
}  // namespace velmora::test
