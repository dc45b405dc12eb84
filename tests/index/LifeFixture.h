// What the tests of a record's life share: a store, records of a host's own, and files to put into folders.
#ifndef VELMORA_TESTS_INDEX_LIFEFIXTURE_H
#define VELMORA_TESTS_INDEX_LIFEFIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

#include "common/Text.h"
#include "index/ChangeNotice.h"
#include "index/IndexTable.h"
#include "platform/FileSeam.h"
#include "platform/win32.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"
#include "velmora/index.h"
#include "velmora/index_records.h"

namespace velmora::test {

namespace fs = std::filesystem;

// A record as a host holds it on its stack.
class HostRecord {
public:
    explicit HostRecord(std::string_view folder, uint32_t kind = 0)
    {
        StoreIndex_Init(&record_);
        CopyBounded(record_.Postoffice, "po");
        CopyBounded(record_.Mailbox, "box");
        CopyBounded(record_.Folder, folder);
        record_.IndexKind = kind;
        StoreIndex_SetPaths(&record_);
    }
    ~HostRecord() { StoreIndex_Release(&record_); }
    HostRecord(const HostRecord&) = delete;
    HostRecord& operator=(const HostRecord&) = delete;

    STOREINDEXTYPE* operator&() { return &record_; }
    STOREINDEXTYPE* operator->() { return &record_; }
    STOREINDEXTYPE& operator*() { return record_; }
    std::string Path() const { return record_.Path; }
    uint32_t Count() const { return ItemCountOf(record_.Table); }
    IndexItemPropertyContainer* Item(std::string_view id) { return FindLoadedItem(record_.Table, id); }
    // A change as a host makes it: a column of a loaded item, and the mark on the record.
    void Change(std::string_view id, const char* column, std::string_view value)
    {
        SetItemProperty(*Item(id), column, value);
        record_.Changed = 1;
    }
    void Add(std::string_view id)
    {
        auto* const item = new IndexItemPropertyContainer;
        item->SetText(kId, id);
        if (!InsertItem(record_.Table, item)) {
            delete item;
            ADD_FAILURE() << "not inserted: " << id;
        }
    }

private:
    STOREINDEXTYPE record_;
};

// The announcements to clients while it lives.
class NoticeLog {
public:
    using Notice = std::tuple<std::string, std::string, std::string, uint32_t>;
    NoticeLog()
    {
        Seen().clear();
        before_ = ReplaceNoticeObserver([](const char* mailboxDirectory, const char* folder, const char* message, uint32_t flags) {
            Seen().emplace_back(mailboxDirectory, folder, message, flags);
        });
    }
    ~NoticeLog() { ReplaceNoticeObserver(before_); }
    static std::vector<Notice>& Seen()
    {
        static std::vector<Notice> seen;
        return seen;
    }

private:
    NoticeObserver before_ = nullptr;
};

// File operations while it lives: counted, and made to fail by a rule of the test.
class WatchedFiles : public platform::FileSeam {
public:
    WatchedFiles() : before_(platform::ReplaceFileSeam(this)) {}
    ~WatchedFiles() override { platform::ReplaceFileSeam(before_); }
    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t) override
    {
        ++count;
        platform::FileVerdict verdict;
        if (fail) verdict.fail = fail(operation, path);
        return verdict;
    }
    size_t count = 0;
    std::function<uint32_t(platform::FileOperation, std::string_view)> fail;  // a Windows error, or 0

private:
    platform::FileSeam* before_;
};

class Life : public testing::Test {
protected:
    // Settings are made before; most tests want none.
    void Attach() { store.Attach(); }

    static void PutMail(const fs::path& folder, const std::string& name, const std::string& subject = "s")
    {
        WriteFileBytes(folder / name, "From: a@example.org\r\nSubject: " + subject + "\r\n\r\nbody\r\n");
    }
    static std::string Element(const std::string& id, uint32_t uid, const std::string& values = "<READ>0</READ>")
    {
        return FormatText("<ELEMENT ID=\"%s\" UID=\"%u\">%s</ELEMENT>", id.c_str(), uid, values.c_str());
    }
    static void PutIndex(const fs::path& folder, uint32_t lastUid, const std::string& elements, const std::string& name = "_index.xml")
    {
        WriteFileBytes(folder / name, "<BASEELEMENT LASTUID=\"x" + FormatHex8(lastUid) + "\">" + elements + "</BASEELEMENT>\r\n");
    }
    // File times can be as coarse as a few milliseconds: a file that a test has just written gets an old time, so that the
    // next write is sure to show.
    static void Age(const fs::path& file, int hours = 1)
    {
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(hours));
    }

    auto FirstLine() const { return log.Lines().begin() + static_cast<std::ptrdiff_t>(forgotten); }
    // What the library has said so far belongs to the preparation of a test.
    void ForgetLines() { forgotten = log.Lines().size(); }
    bool HasLineAt(uint32_t level, const std::string& text) const
    {
        return std::find(FirstLine(), log.Lines().end(), std::pair<uint32_t, std::string>(level, text)) != log.Lines().end();
    }
    bool HasLinePart(std::string_view part) const
    {
        return std::any_of(FirstLine(), log.Lines().end(), [&](const auto& line) { return line.second.find(part) != std::string::npos; });
    }
    // Gives the record a mutex whose owner thread has ended.
    static void GiveAbandonedMutex(STOREINDEXTYPE& record)
    {
        record.Mutex = CreateMutexA(nullptr, 0, nullptr);
        std::thread([&] { EXPECT_EQ(WaitForSingleObject(record.Mutex, INFINITE), WAIT_OBJECT_0); }).join();
    }
    static void GiveMutex(STOREINDEXTYPE& record) { record.Mutex = CreateMutexA(nullptr, 0, nullptr); }

    std::vector<uint32_t> Seconds(size_t count) const { return std::vector<uint32_t>(count, 1000); }

    TestStore store;
    CapturedLog log;
    FakeClock clock;
    size_t forgotten = 0;
};

class OpenLife : public Life {
protected:
    // An INBOX of two messages with an index made by an open, whose file time is an hour old.
    void MakeIndexedInbox()
    {
        inbox = store.MakeFolder("INBOX");
        PutMail(inbox, "1.MAI");
        PutMail(inbox, "2.MAI");
        Attach();
        HostRecord maker("INBOX");
        ASSERT_EQ(StoreIndex_Open(&maker, 1), 1u);
        Age(inbox / "_index.xml");
        ForgetLines();
    }
    std::string CheckDirtyLine(const HostRecord& record) const
    {
        return "StoreIndex_Open::Performing StoreIndex_Scan(VL_STOREINDEX_CHECKDIRTY) on folder " + record.Path();
    }
    fs::path inbox;
};

}  // namespace velmora::test

#endif
