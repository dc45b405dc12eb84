// What happens to a thread's folder when the thread, or the process, ends.
#include "frame/Attach.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "frame/ProcessState.h"
#include "platform/win32.h"
#include "provider/SharedIndexRegistry.h"
#include "provider/ThreadContext.h"
#include "tests/support/TestStore.h"
#include "velmora/folder.h"
#include "velmora/library.h"

namespace velmora {
namespace {

constexpr uint32_t kMail = 0;
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

TEST_F(AttachTest, UnInitEmptiesTheFolderOfTheCallingThread)
{
    OpenInbox();
    TLSStoreIndex* context = ExistingContext();
    ASSERT_NE(context, nullptr);
    ASSERT_NE(context->Index, nullptr);
    ASSERT_NE(context->Index->Mutex, nullptr);
    EXPECT_EQ(StoreLibrary_UnInit(), 1u);
    EXPECT_EQ(context->CurrentFolderItem.Item, nullptr);
    EXPECT_EQ(context->Index->Mutex, nullptr);
    EXPECT_EQ(context->Index->Table.LoadLevel, 0);
}

TEST_F(AttachTest, AThreadThatOutlivesTheLibraryEndsQuietlyAndKeepsItsContext)
{
    static TLSStoreIndex* left = nullptr;
    OnAThread([] {
        OpenInbox();
        left = ExistingContext();
        ProcessDetach();
    });
    EXPECT_EQ(Process().IndexOpenMutex, nullptr);
    // Nothing ran at the thread's end: what it had open is as it was.
    EXPECT_STREQ(left->Folder, "Inbox");
    EXPECT_NE(left->Index, nullptr);
}

}  // namespace
}  // namespace velmora
