// Walks through the child folders of a folder whose files are in use, and walks without memory.
#include <gtest/gtest.h>

#include <string>

#include "folders/FolderIndexFile.h"
#include "folders/FolderLists.h"
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
    EXPECT_TRUE(log.Events().empty());
}

// The directories were listed before the flag went: what was made in between would be listed by nobody.
TEST_F(FolderWalkFaults, LeavesTheFlagToTheNextRequestWhenItCouldBeTakenAwayTooLate)
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

TEST_F(FolderWalkFaults, EndsInAReportWhenTheFlagMayNotBeTakenAway)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    Flag(mailbox);
    {
        const FailingFiles denied(FileOperation::Delete, "_folder.dty", kDenied);
        EXPECT_EQ(StoreFolderFindNext(&record), 0u);
        EXPECT_EQ(StoreFolder_ReIndexChildFolders(&record), 0u);
    }
    EXPECT_TRUE(log.HasEvent("TLS_StoreFolderFindNext handled an exception"));
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
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
