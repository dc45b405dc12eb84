// Walks through the child folders of a folder whose files are in use, and walks without memory.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "folders/FolderIndexFile.h"
#include "folders/FolderLists.h"
#include "frame/ProcessState.h"
#include "tests/folders/FolderTree.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

constexpr uint32_t kInUse = 32;
constexpr uint32_t kDenied = 5;

using FolderWalkFaults = FolderTree;

TEST_F(FolderWalkFaults, GoesOnWhileTheFlagIsInUse)
{
    for (const char* name : {"a", "c"}) Make(name);
    Flag(mailbox);
    const FailingFiles inUse(FileOperation::Delete, "_folder.dty", kInUse);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    EXPECT_STREQ(record.FolderName, "a");
    Make("b");
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b") << "the list was made anew at this step too";
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "c");
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_GT(inUse.Failed(), 0u);
    EXPECT_TRUE(FileExists(mailbox / "_folder.dty"));
    EXPECT_EQ(log.Events(), Names{}) << "nothing went wrong that an operator has to know";
    EXPECT_EQ(log.Traces().size(), 4u) << "one for each step";
}

// The directories were listed before: what was made in between would be listed by nobody.
TEST_F(FolderWalkFaults, LeavesAFlagThatWasInUseToTheNextRequest)
{
    Make("a");
    Flag(mailbox);
    {
        const FailingFiles once(FileOperation::Delete, "_folder.dty", kInUse, 1);
        StoreFolderRecord record = RecordOf("/");
        EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    }
    EXPECT_TRUE(FileExists(mailbox / "_folder.dty"));
    EXPECT_EQ(Walk("/"), Names{"a"});
    EXPECT_FALSE(FileExists(mailbox / "_folder.dty"));
}

TEST_F(FolderWalkFaults, GoesOnBehindATraceWhenTheFlagMayNotBeTakenAway)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    Flag(mailbox);
    {
        const FailingFiles denied(FileOperation::Delete, "_folder.dty", kDenied);
        EXPECT_EQ(StoreFolderFindNext(&record), 1u);
        EXPECT_STREQ(record.FolderName, "b");
        ASSERT_EQ(log.Traces().size(), 1u);
        EXPECT_TRUE(log.Traces().front().starts_with("Call to DeleteFile failed for ")) << log.Traces().front();
        EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 0u);
    }
    EXPECT_TRUE(FileExists(mailbox / "_folder.dty"));
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "c");
    EXPECT_FALSE(FileExists(mailbox / "_folder.dty"));
}

TEST_F(FolderWalkFaults, OfAListThatCannotBeWrittenAnswersZero)
{
    Make("a");
    const FailingFiles denied(FileOperation::Open, "_folder.xml", kDenied);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
    EXPECT_GT(denied.Failed(), 0u);
}

TEST_F(FolderWalkFaults, WithNoDocumentFacilityANextTellsTheErrorAndAnswersZero)
{
    constexpr char kProviderKey[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store";
    WriteList(mailbox, {"a", "b"});
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    WriteList(mailbox, {"a", "b", "c"});
    store.SetText("XML Version", "6", kProviderKey);
    const std::string said = CaptureStdout([&] { EXPECT_EQ(StoreFolderFindNext(&record), 0u); });
    EXPECT_TRUE(said.starts_with("Error:\nCode = 80004003\nCode meaning = ")) << said;
    EXPECT_STREQ(record.FolderName, "a");
    EXPECT_TRUE(FileExists(mailbox / "_folder.xml"));
    store.RemoveSetting("XML Version", kProviderKey);
    EXPECT_EQ(StoreFolderFindNext(&record), 1u) << "the walk stands where it stood";
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalkFaults, WithNoSlotForTheThreadsListsGoesThroughTheCallersOwnAlone)
{
    Make("a");
    ReleaseThreadFolderLists();
    const uint32_t slot = std::exchange(Process().TLSFolderListSlot, kNoTlsSlot);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_EQ(StoreFolderFindClose(&record), 1u);
    EXPECT_STREQ(record.FolderName, "untouched");
    EXPECT_EQ(ThreadFolderList(), nullptr);
    LocalFolderList list;
    EXPECT_EQ(TLS_StoreFolderFindFirst(&record, &list), 1u);
    EXPECT_STREQ(record.FolderName, "a");
    Process().TLSFolderListSlot = slot;
    EXPECT_EQ(Walk("/"), Names{"a"});
}

// No memory to open a list is no damage, whatever the system calls it.
TEST_F(FolderWalkFaults, AListThatThereIsNoMemoryToOpenStays)
{
    Make("a");
    ASSERT_EQ(Walk("/"), Names{"a"});
    for (const uint32_t error : {8u, 14u}) {
        LocalFolderList list;
        StoreFolderRecord record = RecordOf("/");
        {
            const FailingFiles noMemory(FileOperation::Open, "_folder.xml", error);
            CaptureStdout([&] { EXPECT_EQ(TLS_StoreFolderFindFirst(&record, &list), 0u); });
            EXPECT_GT(noMemory.Failed(), 0u);
        }
        EXPECT_TRUE(FileExists(mailbox / "_folder.xml")) << error;
        EXPECT_EQ(TLS_StoreFolderFindFirst(&record, &list), 1u) << error;
    }
}

// Each allocation of a walk fails once. What is given is always a beginning of the names, and what is missing is told.
TEST_F(FolderWalkFaults, WithoutMemoryGivesNoWrongName)
{
    for (const char* name : {"a", "b"}) Make(name);
    const Names all{"a", "b"};
    ASSERT_EQ(Walk("/"), all);
    uint32_t met = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 2000u);
        LocalFolderList list;
        StoreFolderRecord record = RecordOf("/");
        std::string given;
        given.reserve(64);
        uint32_t hits = 0;
        CaptureStdout([&] {
            const AllocationFault fault(n, FaultSpan::Once);
            for (uint64_t more = TLS_StoreFolderFindFirst(&record, &list); more == 1; more = TLS_StoreFolderFindNext(&record, &list))
                given += record.FolderName;
            hits = AllocationFault::Hits();
        });
        EXPECT_TRUE(given.empty() || given == "a" || given == "ab") << given;
        if (hits == 0) {
            EXPECT_EQ(given, "ab");
            break;
        }
        ++met;
        EXPECT_TRUE(FileExists(mailbox / "_folder.xml")) << n << ": no memory for it is no damage";
        EXPECT_EQ(Walk("/"), all) << n;
    }
    EXPECT_GT(met, 5u);
}

}  // namespace
}  // namespace velmora::test
