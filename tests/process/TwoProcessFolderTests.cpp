// Two processes work on one folder.
#include <memory>
#include <set>

#include "index/StoreIndexLife.h"
#include "platform/Clock.h"
#include "tests/index/LifeFixture.h"
#include "tests/process/Peer.h"
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

std::string SubjectOf(const char* id) { return StoreFolder_SelectItem(id) == 1 ? PropertyOfCurrentItem("PR_SUBJECT") : "(no item)"; }

class TwoProcessFolder : public testing::Test {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        PutMail("1.MAI");
        PutMail("2.MAI");
    }
    void PutMail(const std::string& name) { WriteFileBytes(inbox / name, "Subject: original\r\n\r\nbody\r\n"); }
    void Begin(const std::function<void(Peer::Line&)>& other)
    {
        peer = std::make_unique<Peer>([this, other](Peer::Line& line) {
            store.Attach();
            other(line);
        });
        store.Attach();
    }
    void AgeIndex() { fs::last_write_time(inbox / "_index.xml", fs::file_time_type::clock::now() - std::chrono::hours(1)); }
    static uint64_t Open() { return StoreFolder_Open("po", "box", "INBOX", 0, 0); }

    TestStore store;
    fs::path inbox;
    std::unique_ptr<Peer> peer;
};

TEST_F(TwoProcessFolder, WhatOneSavesTheOtherSeesAtItsNextOpenAndNotBefore)
{
    Begin([](Peer::Line& line) {
        while (line.NextOrder()) {
            const bool opened = Open() == 1;
            const bool set = StoreItem_SetProperty("2.MAI", "PR_SUBJECT", "theirs") == 1;
            StoreFolder_Save(0);
            StoreFolder_Close();
            line.Answer(opened && set);
        }
    });
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
    Begin([this](Peer::Line& line) {
        while (line.NextOrder()) {
            PutMail("3.MAI");
            WriteFileBytes(inbox / "_CHANGE.DTY", "");
            line.Answer(true);
        }
    });
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
    Begin([](Peer::Line& line) {
        while (line.NextOrder()) {
            const bool opened = Open() == 1;
            StoreItem_SetProperty("2.MAI", "PR_SUBJECT", "theirs");
            StoreFolder_Save(0);
            StoreFolder_Close();
            line.Answer(opened);
        }
    });
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

TEST_F(TwoProcessFolder, TransactionsOfTwoProcessesAtOnceLoseNothingAndShareNoUid)
{
    constexpr int kItems = 100;
    fs::remove(inbox / "1.MAI");
    fs::remove(inbox / "2.MAI");
    Begin([](Peer::Line& line) {
        while (line.NextOrder()) {
            line.Answer(true);
            AddItems("peer", kItems);
        }
    });
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
