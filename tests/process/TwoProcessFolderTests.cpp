// Two processes work on one folder.
#include <memory>
#include <set>

#include "index/StoreIndexLife.h"
#include "platform/Clock.h"
#include "tests/index/LifeFixture.h"
#include "tests/process/Peers.h"
#include "velmora/folder.h"
#include "velmora/item.h"

namespace velmora::test {
namespace {

std::string PropertyOfCurrentItem(const char* name)
{
    void* value = nullptr;
    uint64_t size = 0;
    if (StoreItem_GetProperty(name, &value, &size) != 2) return "(none)";
    std::string text(static_cast<const char*>(value));
    StoreItem_FreeProperty(value);
    return text;
}

void PutMail(const fs::path& folder, const std::string& name) { WriteFileBytes(folder / name, "Subject: original\r\n\r\nbody\r\n"); }

uint64_t Open() { return StoreFolder_Open("po", "box", "INBOX", 0, 0); }

std::string SubjectOf(const char* id) { return StoreFolder_SelectItem(id) == 1 ? PropertyOfCurrentItem("PR_SUBJECT") : "(no item)"; }

// Columns that only these two tests know, looked up in one order or the other.
void InternInOrder(std::initializer_list<const char*> names)
{
    for (const char* const name : names) IndexPropertyTable::LookUp(name);
}

uint32_t SlotOf(const char* name) { return IndexPropertyTable::LookUp(name).Slot; }

bool RewriteFolder(const char* folder)
{
    HostRecord record(folder);
    if (StoreIndex_Open(&record, 5) != 1) return false;
    SetItemProperty(*record.Item("1.MAI"), "SUBJECT", "rewritten");
    SetItemProperty(*record.Item("2.MAI"), "SLOT_B", "new");
    record->Table.RewriteRequired = 1;
    return StoreIndex_Save(&record) == 1;
}

// What each of two processes adds at once.
constexpr int kItems = 100;

// Adds `count` items in transactions of their own, each begun again until the block is had.
void AddItems(const std::string& prefix, int count)
{
    for (int i = 0; i < count; ++i) {
        STOREINDEXTYPE record;
        StoreIndex_Init(&record);
        void* handle = nullptr;
        const uint32_t keepHandle = 1;
        while (StoreIndex_BeginTransaction(record, "po", "box", "INBOX", keepHandle, handle, 1) != 1) platform::SleepMs(1);
        auto* const item = new IndexItemPropertyContainer;
        item->SetText(kId, prefix + std::to_string(i) + ".MAI");
        const bool inserted = InsertItem(record.Table, item);
        if (!inserted) delete item;
        StoreIndex_SaveAndClose(record, inserted, keepHandle, handle, nullptr);
        StoreIndex_Release(&record);
    }
}

}  // namespace

void SaveSubjectPeer(Peer::Line& line, const std::vector<std::string>&)
{
    while (line.NextOrder()) {
        const bool opened = Open() == 1;
        const bool set = StoreItem_SetProperty("2.MAI", "PR_SUBJECT", "theirs") == 1;
        StoreFolder_Save(0);
        StoreFolder_Close();
        line.Answer(opened && set);
    }
}

void DeliverPeer(Peer::Line& line, const std::vector<std::string>& arguments)
{
    const fs::path folder = arguments.at(0);
    while (line.NextOrder()) {
        PutMail(folder, "3.MAI");
        WriteFileBytes(folder / "_CHANGE.DTY", "");
        line.Answer(true);
    }
}

void RewritePeer(Peer::Line& line, const std::vector<std::string>& arguments)
{
    InternInOrder({"SLOT_B", "SLOT_X", "SUBJECT", "SLOT_A"});
    while (line.NextOrder()) line.Answer(SlotOf("SLOT_B") < SlotOf("SLOT_A") && RewriteFolder(arguments.at(0).c_str()));
}

void InsertContactPeer(Peer::Line& line, const std::vector<std::string>& arguments)
{
    while (line.NextOrder()) {
        HostRecord record("Contacts", 1);
        const bool opened = StoreIndex_Open(&record, 1) == 1;
        record.Add("b.vcf");
        const bool saved = StoreIndex_Save(&record) == 1;
        WriteFileBytes(fs::path(arguments.at(0)) / "_CHANGE.DTY", "");
        line.Answer(opened && saved);
    }
}

void AddItemsPeer(Peer::Line& line, const std::vector<std::string>&)
{
    while (line.NextOrder()) {
        line.Answer(true);
        AddItems("peer", kItems);
    }
}

namespace {

class TwoProcessFolder : public testing::Test {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        PutMail(inbox, "1.MAI");
        PutMail(inbox, "2.MAI");
    }
    void Begin(const char* body, const std::vector<std::string>& arguments = {})
    {
        peer = std::make_unique<Peer>(body, arguments);
        store.Attach();
    }
    void AgeIndex() { fs::last_write_time(inbox / "_index.xml", fs::file_time_type::clock::now() - std::chrono::hours(1)); }

    TestStore store;
    fs::path inbox;
    std::unique_ptr<Peer> peer;
};

TEST_F(TwoProcessFolder, WhatOneSavesTheOtherSeesAtItsNextOpenAndNotBefore)
{
    Begin("save-subject");
    ASSERT_EQ(Open(), 1u);
    StoreFolder_Close();
    AgeIndex();
    ASSERT_EQ(Open(), 1u);
    ASSERT_EQ(SubjectOf("2.MAI"), "original");
    ASSERT_TRUE(peer->Do('s'));
    EXPECT_EQ(SubjectOf("2.MAI"), "original");
    EXPECT_EQ(Open(), 2u) << "the folder is open: nothing on disk is looked at";
    EXPECT_EQ(SubjectOf("2.MAI"), "original");
    StoreFolder_Close();
    StoreFolder_Close();
    ASSERT_EQ(Open(), 1u);
    EXPECT_EQ(SubjectOf("2.MAI"), "theirs");
    EXPECT_EQ(SubjectOf("1.MAI"), "original");
    StoreFolder_Close();
}

TEST_F(TwoProcessFolder, MessagesThatOneFlagsAreFoundByTheOther)
{
    Begin("deliver", {inbox.string()});
    ASSERT_EQ(Open(), 1u);
    ASSERT_TRUE(peer->Do('d'));
    EXPECT_EQ(StoreFolder_SelectItem("3.MAI"), 0u);
    StoreFolder_Close();
    ASSERT_EQ(Open(), 1u);
    EXPECT_EQ(SubjectOf("3.MAI"), "original");
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
    StoreFolder_Close();
}

TEST_F(TwoProcessFolder, ASaveOnTopOfAnothersSaveKeepsBoth)
{
    Begin("save-subject");
    ASSERT_EQ(Open(), 1u);
    StoreFolder_Close();
    ASSERT_TRUE(peer->Do('s'));
    ASSERT_EQ(Open(), 1u);
    ASSERT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", "ours"), 1u);
    StoreFolder_Save(0);
    StoreFolder_Close();
    ASSERT_EQ(Open(), 1u);
    EXPECT_EQ(SubjectOf("1.MAI"), "ours");
    EXPECT_EQ(SubjectOf("2.MAI"), "theirs");
    StoreFolder_Close();
}

TEST_F(TwoProcessFolder, SlotsDifferBetweenProcessesAndFilesDoNot)
{
    const fs::path theirs = store.MakeFolder("Theirs");
    const fs::path ours = store.MakeFolder("Ours");
    for (const fs::path& folder : {theirs, ours})
        WriteFileBytes(folder / "_index.xml",
                       "<BASEELEMENT LASTUID=\"x00000002\">"
                       "<ELEMENT ID=\"1.MAI\" UID=\"1\"><READ>0</READ><SLOT_A>a</SLOT_A><SLOT_B>b</SLOT_B><SUBJECT>s</SUBJECT></ELEMENT>"
                       "<ELEMENT ID=\"2.MAI\" UID=\"2\"><READ>1</READ><SLOT_A>aa</SLOT_A><SUBJECT>t</SUBJECT></ELEMENT>"
                       "</BASEELEMENT>\r\n");
    Begin("rewrite", {"Theirs"});
    InternInOrder({"SUBJECT", "SLOT_A", "SLOT_B"});
    ASSERT_LT(SlotOf("SLOT_A"), SlotOf("SLOT_B"));
    ASSERT_TRUE(peer->Do('r'));
    ASSERT_TRUE(RewriteFolder("Ours"));
    const std::string bytes = ReadFileBytes(ours / "_index.xml");
    EXPECT_EQ(ReadFileBytes(theirs / "_index.xml"), bytes);
    EXPECT_NE(bytes.find("<SLOT_A>a</SLOT_A><SLOT_B>b</SLOT_B><SUBJECT>rewritten</SUBJECT>"), std::string::npos) << bytes;
    EXPECT_NE(bytes.find("<SLOT_A>aa</SLOT_A><SLOT_B>new</SLOT_B><SUBJECT>t</SUBJECT>"), std::string::npos) << bytes;
}

// No back-end scans contacts here, and an open that saved what it has in memory would undo what others wrote.
TEST_F(TwoProcessFolder, AFlaggedContactsFolderKeepsWhatAnotherProcessWrote)
{
    const fs::path contacts = store.MakeFolder("Contacts");
    for (const char* const name : {"a.vcf", "b.vcf"}) WriteFileBytes(contacts / name, "BEGIN:VCARD\r\nEND:VCARD\r\n");
    WriteFileBytes(contacts / "_index.xml",
                   "<BASEELEMENT LASTUID=\"x00000001\"><ELEMENT ID=\"a.vcf\" UID=\"1\"><READ>0</READ></ELEMENT></BASEELEMENT>\r\n");
    fs::last_write_time(contacts / "_index.xml", fs::file_time_type::clock::now() - std::chrono::hours(1));
    Begin("insert-contact", {contacts.string()});
    HostRecord stale("Contacts", 1);
    ASSERT_EQ(StoreIndex_Open(&stale, 1), 1u);
    ASSERT_EQ(stale.Count(), 1u);
    ASSERT_TRUE(peer->Do('w'));
    EXPECT_EQ(StoreIndex_Open(&stale, 1), 1u);
    EXPECT_NE(stale.Item("b.vcf"), nullptr);
    EXPECT_NE(ReadFileBytes(contacts / "_index.xml").find("b.vcf"), std::string::npos);
    EXPECT_FALSE(FileExists(contacts / "_CHANGE.DTY"));
}

TEST_F(TwoProcessFolder, TransactionsOfTwoProcessesAtOnceLoseNothingAndShareNoUid)
{
    fs::remove(inbox / "1.MAI");
    fs::remove(inbox / "2.MAI");
    Begin("add-items");
    ASSERT_TRUE(peer->Do('a'));
    AddItems("own", kItems);
    peer.reset();

    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    EXPECT_EQ(record.Count(), 2u * kItems);
    EXPECT_EQ(record->LoadedLastUID, 2u * kItems);
    std::set<uint32_t> uids;
    for (int i = 0; i < kItems; ++i)
        for (const char* const prefix : {"own", "peer"}) {
            const IndexItemPropertyContainer* const item = record.Item(prefix + std::to_string(i) + ".MAI");
            ASSERT_NE(item, nullptr) << prefix << i;
            uids.insert(item->Uid());
        }
    EXPECT_EQ(uids.size(), 2u * kItems);
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

}  // namespace
}  // namespace velmora::test
