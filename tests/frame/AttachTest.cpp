// What happens to a thread's folder when the thread, or the process, ends.
#include "frame/Attach.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common/Mutex.h"
#include "frame/ProcessState.h"
#include "platform/win32.h"
#include "provider/SharedIndexRegistry.h"
#include "provider/ThreadContext.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"
#include "velmora/folder.h"
#include "velmora/item.h"
#include "velmora/library.h"

namespace velmora {
namespace {

constexpr uint32_t kMail = 0;
constexpr uint32_t kCalendarDocument = 5;
constexpr uint32_t kLeaveUnloaded = 200;

class AttachTest : public testing::Test {
protected:
    void SetUp() override
    {
        store_.MakeFolder("Inbox");
        store_.Attach();
    }
    ~AttachTest() override { StoreLibrary_SetAffinity(1); }
    // Opens the folder without a look at its index.
    static void OpenInbox() { EXPECT_EQ(StoreFolder_Open("po", "box", "Inbox", kMail, kLeaveUnloaded), 2u); }
    template <typename Body>
    static void OnAThread(Body body)
    {
        std::thread(body).join();
    }
    test::TestStore store_;
};

TEST_F(AttachTest, AThreadThatIsAnnouncedOwnsAContextBeforeItsFirstCall)
{
    OnAThread([] {
        TlsSetValue(Process().TLSListPositionSlot, &Process());
        EXPECT_EQ(ExistingContext(), nullptr);
        ThreadAttach();
        EXPECT_NE(ExistingContext(), nullptr);
        EXPECT_EQ(TlsGetValue(Process().TLSListPositionSlot), nullptr);
    });
}

TEST_F(AttachTest, AThreadThatIsNotAnnouncedGetsItsContextAtItsFirstCall)
{
    OnAThread([] {
        EXPECT_EQ(ExistingContext(), nullptr);
        EXPECT_EQ(StoreFolder_Close(), 1u);
        EXPECT_NE(ExistingContext(), nullptr);
    });
}

TEST_F(AttachTest, WithAffinityAThreadThatEndsClosesItsFolder)
{
    OnAThread([] {
        OpenInbox();
        EXPECT_EQ(SharedIndexKeys().size(), 1u);
    });
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(AttachTest, WithoutAffinityAThreadThatEndsLeavesItsFolderOpen)
{
    StoreLibrary_SetAffinity(0);
    OnAThread(OpenInbox);
    EXPECT_EQ(SharedIndexKeys(), std::vector<std::string>{"[po][box][Inbox]"});
}

TEST_F(AttachTest, DetachOfAThreadWithoutAContextDoesNothing)
{
    OnAThread([] {
        ThreadDetach();
        EXPECT_EQ(ExistingContext(), nullptr);
    });
}

TEST_F(AttachTest, ReleaseClosesTheFolderAndEndsTheContext)
{
    const std::vector<std::string> before = SharedIndexKeys();
    OpenInbox();
    OpenInbox();
    EXPECT_EQ(SharedIndexKeys().size(), before.size() + 1);
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
    EXPECT_EQ(ExistingContext(), nullptr);
    EXPECT_EQ(SharedIndexKeys(), before);
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
}

TEST_F(AttachTest, ReleaseWithoutAffinityLeavesTheContext)
{
    StoreLibrary_SetAffinity(0);
    OpenInbox();
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
    EXPECT_NE(ExistingContext(), nullptr);
    EXPECT_EQ(SharedIndexKeys().size(), 1u);
    EXPECT_EQ(StoreFolder_Close(), 1u);
}

TEST_F(AttachTest, DetachWithoutAffinityEndsTheContextAlone)
{
    StoreLibrary_SetAffinity(0);
    OnAThread([] {
        OpenInbox();
        ThreadDetach();
        EXPECT_EQ(ExistingContext(), nullptr);
        EXPECT_EQ(SharedIndexKeys().size(), 1u);
    });
}

TEST_F(AttachTest, AThreadThatDiedWithAProcessMutexStopsNobody)
{
    for (void* mutex : {RegistryMutex(), OpenMutex()}) {
        OnAThread([&] { EXPECT_EQ(WaitOnHandle(mutex, kWaitForever), WaitResult::Acquired); });
        OpenInbox();
        EXPECT_EQ(StoreFolder_Close(), 1u);
        EXPECT_TRUE(SharedIndexKeys().empty());
        OnAThread([&] { EXPECT_TRUE(MutexLock(mutex, 0).Held()) << "it went back"; });
    }
}

TEST_F(AttachTest, ReleaseEndsADocumentThatIsHeld)
{
    EXPECT_EQ(StoreFolder_Open("po", "box", "Calendar.ics", kCalendarDocument, 0), 0u);
    ASSERT_NE(ExistingContext(), nullptr);
    ASSERT_NE(ExistingContext()->CalendarDocument, nullptr);
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
    EXPECT_EQ(ExistingContext(), nullptr);
}

TEST_F(AttachTest, UnInitEndsTheFolderOfTheCallingThread)
{
    OpenInbox();
    TLSStoreIndex* const context = ExistingContext();
    ASSERT_NE(context, nullptr);
    const std::shared_ptr<SharedIndex> index = context->Index;
    ASSERT_NE(index, nullptr);
    ASSERT_NE(index->Mutex, nullptr);
    IndexItemPropertyContainer item;
    context->CurrentFolderItem.Item = &item;
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    EXPECT_EQ(context->CurrentFolderItem.Item, nullptr);
    EXPECT_EQ(index->Mutex, nullptr);
    EXPECT_EQ(index->Table.LoadLevel, 0);
    EXPECT_TRUE(SharedIndexKeys().empty());
    EXPECT_EQ(Process().IndexOpenMutex, nullptr);
}

// What a thread does while the library ends under it, at the end of the process.
class UnInitUnderThreads : public AttachTest {
protected:
    void SetUp() override
    {
        AttachTest::SetUp();
        StoreLibrary_SetAffinity(0);
        OpenInbox();
        context_ = ExistingContext();
        ASSERT_NE(context_, nullptr);
        index_ = context_->Index;
        context_->CurrentFolderItem.Item = &item_;
    }
    // The calling thread's own selection has gone, and nothing that others hold.
    void ExpectOnlyTheOwnItemGone() const
    {
        EXPECT_EQ(context_->CurrentFolderItem.Item, nullptr);
        EXPECT_NE(index_->Mutex, nullptr);
        EXPECT_EQ(SharedIndexKeys(), std::vector<std::string>{"[po][box][Inbox]"});
        EXPECT_NE(Process().IndexOpenMutex, nullptr);
    }
    TLSStoreIndex* context_ = nullptr;
    std::shared_ptr<SharedIndex> index_;
    IndexItemPropertyContainer item_;
};

TEST_F(UnInitUnderThreads, LeavesTheRecordThatAnotherThreadHolds)
{
    std::promise<void> opened, ended;
    std::thread other([&] {
        OpenInbox();
        opened.set_value();
        ended.get_future().wait();
        EXPECT_EQ(IndexReferences(*index_), 1u) << "this thread's open alone";
        EXPECT_TRUE(MutexLock(index_->Mutex, 0).Held());
        EXPECT_EQ(StoreFolder_Close(), 1u);
    });
    opened.get_future().wait();
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    ExpectOnlyTheOwnItemGone();
    ended.set_value();
    other.join();
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(UnInitUnderThreads, WaitsForNoneAndLeavesWhatIsSharedWhenAFolderIsBeingOpenedOrClosed)
{
    for (void* mutex : {Process().SharedIndexRegistryMutex, Process().IndexOpenMutex}) {
        std::promise<void> held, ended;
        std::thread other([&] {
            const MutexLock lock(mutex);
            held.set_value();
            ended.get_future().wait();
        });
        held.get_future().wait();
        context_->CurrentFolderItem.Item = &item_;
        EXPECT_EQ(StoreLibrary_UnInit(), 1u);
        ended.set_value();
        other.join();
        ExpectOnlyTheOwnItemGone();
        EXPECT_EQ(IndexReferences(*index_), 1u);
    }
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(UnInitUnderThreads, LeavesWhatIsSharedWhereAThreadDiedAtWorkAndKeepsNoMutex)
{
    void* const registry = Process().SharedIndexRegistryMutex;
    OnAThread([&] { EXPECT_EQ(WaitOnHandle(registry, kWaitForever), WaitResult::Acquired); });
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    OnAThread([&] { EXPECT_TRUE(MutexLock(registry, 0).Held()); });
    ExpectOnlyTheOwnItemGone();
}

TEST_F(UnInitUnderThreads, ThreadsThatOpenAndCloseGoOnUndisturbed)
{
    test::BeginStdoutCapture();
    constexpr int kThreads = 4;
    std::atomic<bool> stop{false};
    std::atomic<int> rounds{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                EXPECT_NE(StoreFolder_Open("po", "box", "Inbox", kMail, 0), 0u);
                StoreFolder_FindFirstItem();
                EXPECT_EQ(StoreFolder_Close(), 1u);
                ++rounds;
            }
            ThreadDetach();  // nothing runs it any more by itself
        });
    }
    while (rounds < 20) std::this_thread::yield();
    ProcessDetach();
    for (const int until = rounds + 100; rounds < until;) std::this_thread::yield();
    stop = true;
    for (std::thread& thread : threads) thread.join();
    test::EndStdoutCapture();
}

TEST_F(AttachTest, AThreadThatOutlivesTheLibraryEndsQuietlyAndKeepsItsContext)
{
    TLSStoreIndex* left = nullptr;
    std::promise<void> opened, ended;
    std::thread other([&] {
        OpenInbox();
        left = ExistingContext();
        opened.set_value();
        ended.get_future().wait();
    });
    opened.get_future().wait();
    ProcessDetach();
    ended.set_value();
    other.join();
    // Nothing ran at the thread's end: what it had open is as it was.
    EXPECT_STREQ(left->Folder, "Inbox");
    ASSERT_NE(left->Index, nullptr);
    EXPECT_NE(left->Index->Mutex, nullptr);
    EXPECT_EQ(SharedIndexKeys().size(), 1u);
    delete left;
}

}  // namespace
}  // namespace velmora
