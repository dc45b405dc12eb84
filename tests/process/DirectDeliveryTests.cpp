// Several processes, and several threads of one, that deliver into one folder at once with the direct calls.
#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "platform/Clock.h"
#include "tests/index/LifeFixture.h"
#include "tests/process/Peers.h"
#include "velmora/direct.h"
#include "velmora/status.h"

namespace velmora::test {

namespace {

constexpr uint32_t kMessages = 40;  // of each deliverer
constexpr char kMessage[] = "From: a@example.org\r\nSubject: s\r\n\r\nbody\r\n";

// As an agent does it: the message under its final name, then the call. Asked again when somebody else has the folder, each
// message is in the index once; given up, it is found by the mark.
uint32_t Deliver(const fs::path& folder, const std::string& prefix, bool again)
{
    uint32_t delivered = 0;
    for (uint32_t number = 0; number < kMessages; ++number) {
        const std::string id = prefix + std::to_string(number) + ".MAI";
        WriteFileBytes(folder / ("_" + id), kMessage);
        fs::rename(folder / ("_" + id), folder / id);
        uint64_t result = 0;
        while ((result = Direct_StoreIndex_InsertItem("po", "box", "INBOX", id.c_str())) == 0 && again) platform::SleepMs(1);
        delivered += result == 1;
    }
    return delivered;
}

}  // namespace

void DeliverDirectlyPeer(Peer::Line& line, const std::vector<std::string>& arguments)
{
    const bool again = arguments.at(2) == "again";
    // The first order begins, and the second one waits for the end.
    while (line.NextOrder()) {
        line.Answer(true);
        const uint32_t delivered = Deliver(arguments.at(0), arguments.at(1), again);
        if (line.NextOrder() == 0) break;
        line.Answer(!again || delivered == kMessages);
    }
}

namespace {

class DirectDelivery : public testing::Test {
protected:
    DirectDelivery() : inbox_(store_.MakeFolder("INBOX")) {}

    static std::set<std::string> Expected(const std::vector<std::string>& prefixes)
    {
        std::set<std::string> ids;
        for (const std::string& prefix : prefixes)
            for (uint32_t number = 0; number < kMessages; ++number) ids.insert(prefix + std::to_string(number) + ".MAI");
        return ids;
    }

    // Every message once, with a UID of its own, and the counts of all of them, as the next host finds the folder.
    void ExpectAllThere(const std::set<std::string>& ids, uint32_t mode) const
    {
        HostRecord record("INBOX");
        ASSERT_EQ(StoreIndex_Open(&record, mode), 1u);
        std::set<std::string> found;
        std::vector<IndexItemPropertyContainer*> items;
        ListByUID(record->Table, items);
        for (const IndexItemPropertyContainer* const item : items) found.insert(std::string(item->Id()));
        EXPECT_EQ(found, ids);
        EXPECT_EQ(record.Count(), ids.size());
        uint32_t counts[VELMORA_STATUS_WORDS] = {};
        EXPECT_EQ(GetCachedStatus("po", "box", "INBOX", counts), 1u);
        EXPECT_EQ(counts[VELMORA_STATUS_ITEMS], ids.size());
        EXPECT_EQ(counts[VELMORA_STATUS_LAST_UID], record->Table.LastUID);
        EXPECT_FALSE(FileExists(inbox_ / "_index.blk"));
    }

    TestStore store_;
    fs::path inbox_;
};

TEST_F(DirectDelivery, ManyThreadsThatAskAgainDeliverEachMessageOnce)
{
    store_.Attach();
    std::vector<std::thread> threads;
    for (const char* const prefix : {"a", "b", "c", "d"})
        threads.emplace_back([&, prefix] { EXPECT_EQ(Deliver(inbox_, prefix, true), kMessages); });
    for (std::thread& thread : threads) thread.join();
    // Without a look for marks: the index is whole already.
    ExpectAllThere(Expected({"a", "b", "c", "d"}), 5);
}

TEST_F(DirectDelivery, WhatABusyFolderRefusedIsFoundByTheNextOpen)
{
    store_.Attach();
    std::vector<std::thread> threads;
    for (const char* const prefix : {"a", "b", "c", "d"}) threads.emplace_back([&, prefix] { Deliver(inbox_, prefix, false); });
    for (std::thread& thread : threads) thread.join();
    ExpectAllThere(Expected({"a", "b", "c", "d"}), 1);
}

TEST_F(DirectDelivery, ManyProcessesDeliverEachMessageOnce)
{
    Peer first("deliver-directly", {inbox_.string(), "p", "again"});
    Peer second("deliver-directly", {inbox_.string(), "q", "again"});
    store_.Attach();
    ASSERT_TRUE(first.Do('d'));
    ASSERT_TRUE(second.Do('d'));
    EXPECT_EQ(Deliver(inbox_, "own", true), kMessages);
    EXPECT_TRUE(first.Do('e'));
    EXPECT_TRUE(second.Do('e'));
    ExpectAllThere(Expected({"own", "p", "q"}), 5);
}

TEST_F(DirectDelivery, FlagsAndRemovalsOfOthersMeetNoDelivery)
{
    Peer peer("deliver-directly", {inbox_.string(), "p", "again"});
    store_.Attach();
    ASSERT_EQ(Deliver(inbox_, "own", true), kMessages);
    ASSERT_TRUE(peer.Do('d'));
    const auto untilDone = [](auto call) {
        while (call() == 0) platform::SleepMs(1);
    };
    for (uint32_t number = 0; number < kMessages; ++number) {
        const std::string id = "own" + std::to_string(number) + ".MAI";
        untilDone([&] { return Direct_StoreIndex_UpdateItem("po", "box", "INBOX", id.c_str(), "+FLAGGED"); });
        if (number % 2 == 0) untilDone([&] { return Direct_StoreIndex_RemoveItem("po", "box", "INBOX", id.c_str()); });
    }
    EXPECT_TRUE(peer.Do('e'));
    std::set<std::string> expected = Expected({"own", "p"});
    for (uint32_t number = 0; number < kMessages; number += 2) expected.erase("own" + std::to_string(number) + ".MAI");
    ExpectAllThere(expected, 5);
    uint32_t counts[VELMORA_STATUS_WORDS] = {};
    EXPECT_EQ(GetCachedStatus("po", "box", "INBOX", counts), 1u);
    EXPECT_EQ(counts[VELMORA_STATUS_FLAGGED], kMessages) << "a removal leaves that count";
}

}  // namespace
}  // namespace velmora::test
