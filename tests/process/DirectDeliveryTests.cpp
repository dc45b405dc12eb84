// Several processes, and several threads of one, that deliver into one folder at once with the direct calls.
#include <gtest/gtest.h>

#include <atomic>
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
constexpr int64_t kKilobytes = 4;   // of each message
constexpr char kMessage[] = "X-VLTempFlags: SIZE=4096\r\nFrom: a@example.org\r\nSubject: s\r\n\r\nbody\r\n";

// Calls again while somebody else has the folder. Nobody holds one for long, so whoever was refused this often never gets it.
template <typename Call>
bool AskAgain(Call call)
{
    constexpr uint32_t kMostAttempts = 30000;
    for (uint32_t attempt = 0; attempt < kMostAttempts; ++attempt) {
        if (call() != 0) return true;
        platform::SleepMs(1);
    }
    return false;
}

// As an agent does it: the message under its final name, then the call. Asked again when somebody else has the folder, each
// message is in the index once; given up, it is found by the mark.
uint32_t Deliver(const fs::path& folder, const std::string& prefix, bool again)
{
    uint32_t delivered = 0;
    for (uint32_t number = 0; number < kMessages; ++number) {
        const std::string id = prefix + std::to_string(number) + ".MAI";
        WriteFileBytes(folder / ("_" + id), kMessage);
        fs::rename(folder / ("_" + id), folder / id);
        const auto insert = [&] { return Direct_StoreIndex_InsertItem("po", "box", "INBOX", id.c_str()); };
        const bool inserted = again ? AskAgain(insert) : insert() != 0;
        if (again && !inserted) break;
        delivered += inserted;
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
    {
        const std::string block = (inbox_ / "_index.blk").string();
        const HANDLE held = CreateFileA(block.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        EXPECT_EQ(Deliver(inbox_, "refused", false), 0u);
        CloseHandle(held);
        DeleteFileA(block.c_str());
    }
    std::vector<std::thread> threads;
    for (const char* const prefix : {"a", "b", "c", "d"}) threads.emplace_back([&, prefix] { Deliver(inbox_, prefix, false); });
    for (std::thread& thread : threads) thread.join();
    ExpectAllThere(Expected({"a", "b", "c", "d", "refused"}), 1);
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
    for (uint32_t number = 0; number < kMessages; ++number) {
        const std::string id = "own" + std::to_string(number) + ".MAI";
        ASSERT_TRUE(AskAgain([&] { return Direct_StoreIndex_UpdateItem("po", "box", "INBOX", id.c_str(), "+FLAGGED"); }));
        if (number % 2 != 0) continue;
        ASSERT_TRUE(AskAgain([&] { return Direct_StoreIndex_RemoveItem("po", "box", "INBOX", id.c_str()); }));
    }
    EXPECT_TRUE(peer.Do('e'));
    std::set<std::string> expected = Expected({"own", "p"});
    for (uint32_t number = 0; number < kMessages; number += 2) expected.erase("own" + std::to_string(number) + ".MAI");
    ExpectAllThere(expected, 5);
    uint32_t counts[VELMORA_STATUS_WORDS] = {};
    EXPECT_EQ(GetCachedStatus("po", "box", "INBOX", counts), 1u);
    EXPECT_EQ(counts[VELMORA_STATUS_FLAGGED], kMessages) << "a removal leaves that count";
}

// A size that is too low is made good when it is computed anew; one that never was would be believed.
TEST_F(DirectDelivery, ReadersOfTheSizesSeeNothingBetweenTwoNumbers)
{
    constexpr int64_t kBefore = 80;  // numbers of two digits and of three
    const fs::path files[] = {inbox_ / "_DIRSIZE.TMP", inbox_.parent_path() / "_DIRSIZE.TMP"};
    for (const fs::path& file : files) WriteFileBytes(file, std::to_string(kBefore));
    Peer peer("deliver-directly", {inbox_.string(), "p", "again"});
    store_.Attach();
    std::atomic<bool> done = false;
    uint32_t looks = 0;
    std::thread reader([&] {
        do {
            for (const fs::path& file : files) {
                char text[32];
                DWORD size = 0;
                const HANDLE handle = CreateFileA(file.string().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
                if (handle == INVALID_HANDLE_VALUE) continue;
                const bool read = ReadFile(handle, text, sizeof text, &size, nullptr) != 0;
                CloseHandle(handle);
                if (!read) continue;
                ++looks;
                const std::string_view number(text, size);
                EXPECT_FALSE(number.empty());
                EXPECT_EQ(number.find_first_not_of("0123456789"), std::string_view::npos) << number;
                EXPECT_LE(ParseLong(number), kBefore + 2 * kKilobytes * int64_t{kMessages});
                EXPECT_EQ(ParseLong(number) % kKilobytes, 0) << number;
            }
            platform::SleepMs(1);
        } while (!done);
    });
    EXPECT_TRUE(peer.Do('d'));
    EXPECT_EQ(Deliver(inbox_, "own", true), kMessages);
    for (uint32_t number = 0; number < kMessages; ++number) {
        const std::string id = "own" + std::to_string(number) + ".MAI";
        EXPECT_TRUE(AskAgain([&] { return Direct_StoreIndex_RemoveItem("po", "box", "INBOX", id.c_str()); }));
    }
    EXPECT_TRUE(peer.Do('e'));
    done = true;
    reader.join();
    EXPECT_GT(looks, 0u);
}

}  // namespace
}  // namespace velmora::test
