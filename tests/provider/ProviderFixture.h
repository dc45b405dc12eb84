// What the tests of the provider share: an attached store with a folder of mail.
#ifndef VELMORA_TESTS_PROVIDER_PROVIDERFIXTURE_H
#define VELMORA_TESTS_PROVIDER_PROVIDERFIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/Text.h"
#include "frame/ProcessState.h"
#include "index/IndexTable.h"
#include "provider/ThreadContext.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"
#include "velmora/vlaisp.h"

namespace velmora::test {

namespace fs = std::filesystem;

class Provider : public testing::Test {
protected:
    void SetUp() override
    {
        inbox = store.MakeFolder("INBOX");
        PutMail(inbox, "1.MAI", "one");
        PutMail(inbox, "2.MAI", "two");
        PutMail(inbox, "3.MAI", "three");
        sent = store.MakeFolder("Sent");
        PutMail(sent, "9.MAI", "nine");
        store.Attach();
    }

    static void PutMail(const fs::path& folder, const std::string& name, const std::string& subject)
    {
        WriteFileBytes(folder / name, "From: a@example.org\r\nSubject: " + subject + "\r\n\r\nbody\r\n");
    }
    // What was written a moment ago counts as old, so that the next write is sure to show.
    static void Age(const fs::path& folder)
    {
        fs::last_write_time(folder / "_index.xml", fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
    static uint64_t Open(const char* folder, uint32_t mode = 0) { return StoreFolder_Open("po", "box", folder, 0, mode); }
    static void SetAffinity(uint32_t value) { ASSERT_EQ(StoreLibrary_SetAffinity(value), 1u); }

    // A property of the current item; nothing when there is none.
    static std::optional<std::string> Property(const char* name)
    {
        void* value = nullptr;
        uint64_t size = 0;
        const uint64_t status = StoreItem_GetProperty(name, &value, &size);
        if (status == VELMORA_NO_PROPERTY || status == 0) {
            EXPECT_EQ(value, nullptr);
            EXPECT_EQ(status, status == 0 ? 0u : 0xFFFFFFFFu);
            return std::nullopt;
        }
        const std::string text(static_cast<const char*>(value));
        EXPECT_EQ(size, text.size() + 1);
        EXPECT_EQ(StoreItem_FreeProperty(value), 1u);
        return text;
    }
    // The IDs of a walk through the open folder.
    static std::vector<std::string> Walk()
    {
        std::vector<std::string> ids;
        for (uint64_t more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem())
            ids.push_back(Property("VL_ITEM_ID").value_or("?"));
        return ids;
    }

    static std::string ThreadNumber()
    {
        return std::to_string(static_cast<int32_t>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(CurrentContext()))));
    }
    static uint32_t References() { return CurrentContext()->Index ? IndexReferences(*CurrentContext()->Index) : 0; }
    static void InThread(const std::function<void()>& body) { std::thread(body).join(); }
    static bool BeginsIdle() { return !CurrentContext()->Index && !*CurrentContext()->Key; }
    using Keys = std::vector<std::string>;
    using Ids = std::vector<std::string>;

    TestStore store;
    fs::path inbox;
    fs::path sent;
    FakeClock clock;
    CapturedLog log;
};

// A thread that does one step at a time, when it is told to.
class Worker {
public:
    Worker() : thread_([this] { Run(); }) {}
    ~Worker() { End(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Runs `step` on the thread and waits for it.
    void Do(std::function<void()> step)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        step_ = std::move(step);
        changed_.notify_all();
        changed_.wait(lock, [this] { return !step_; });
    }
    void End()
    {
        if (!thread_.joinable()) return;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            ended_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }

private:
    void Run()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return step_ || ended_; });
            if (!step_) return;
            // Unlocked, so that no order of locks comes to be between this one and the library's.
            const std::function<void()> step = step_;
            lock.unlock();
            step();
            lock.lock();
            step_ = nullptr;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::function<void()> step_;
    bool ended_ = false;
    std::thread thread_;
};

}  // namespace velmora::test

#endif
