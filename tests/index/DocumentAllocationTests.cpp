// Memory that runs out while an index is loaded or saved as a document: a good file is never taken for a damaged one.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "index/IndexPersistence.h"
#include "locks/FlagFiles.h"
#include "tests/index/TestTable.h"
#include "tests/support/TestStore.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

const std::string kIndex =
    "<BASEELEMENT LASTUID=\"31\"><ELEMENT ID=\"1.MAI\" UID=\"4\"><LABEL>mine, and a long one at that</LABEL>"
    "</ELEMENT></BASEELEMENT>";

class DocumentAllocation : public testing::Test {
protected:
    DocumentAllocation() : folder_(store_.MakeFolder("Inbox"))
    {
        store_.RemoveSetting("Use XML Stream Index Deserialisation");
        store_.RemoveSetting("Use XML Stream Index Serialisation");
        store_.Attach();
        WriteFileBytes(folder_ / "1.MAI", "Subject: one\r\n\r\n");
    }
    bool Load(SORTEDSTOREINDEXTYPE& table)
    {
        IndexLoadArguments arguments;
        arguments.FolderPath = folder_.string();
        arguments.NoBlock = 1;
        arguments.CheckDirty = 1;
        return LoadIndex(table, arguments, 3);
    }
    void ExpectKnown(uint32_t n)
    {
        TestTable table;
        ASSERT_TRUE(Load(table)) << n;
        const IndexItemPropertyContainer* const item = FindLoadedItem(table, "1.MAI");
        ASSERT_NE(item, nullptr) << n;
        EXPECT_EQ(item->Uid(), 4u) << n;
        EXPECT_EQ(TextOf(*item, "LABEL"), "mine, and a long one at that") << n;
    }

    TestStore store_;
    std::filesystem::path folder_;
};

TEST_F(DocumentAllocation, ThatFailsInAFlaggedLoadLosesNothing)
{
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 3000u);
        WriteFileBytes(folder_ / "_index.xml", kIndex);
        MarkFolderDirty(folder_.string().c_str());
        bool met = false;
        {
            TestTable table;
            table.LoadLevel = 0;
            const AllocationFault fault(n, FaultSpan::Once);
            try {
                failures += Load(table) ? 0 : 1;
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            met = AllocationFault::Hits() != 0;
        }
        if (!met) break;
        ExpectKnown(n);
    }
    EXPECT_GT(failures, 10u);
}

// A load that fails has taken no flag into account, also when it is the backup behind it that fails.
TEST_F(DocumentAllocation, ThatFailsBehindALoadLeavesTheFlag)
{
    store_.SetNumber("Backup Index", 1);
    store_.SetNumber("Use XML Stream Index Deserialisation", 1);
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 3000u);
        WriteFileBytes(folder_ / "_index.xml", kIndex);
        std::filesystem::remove(folder_ / "_index.xml.bak");
        MarkFolderDirty(folder_.string().c_str());
        bool met = false;
        bool loaded = false;
        {
            TestTable table;
            table.LoadLevel = 0;
            const AllocationFault fault(n, FaultSpan::Once);
            try {
                loaded = Load(table);
            } catch (const std::bad_alloc&) {
            }
            met = AllocationFault::Hits() != 0;
        }
        if (!met) break;
        failures += loaded ? 0 : 1;
        EXPECT_TRUE(loaded || FileExists(folder_ / "_CHANGE.DTY")) << n;
        ExpectKnown(n);
    }
    EXPECT_GT(failures, 10u);
}

TEST_F(DocumentAllocation, ThatFailsInASaveLeavesAWholeFile)
{
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 3000u);
        WriteFileBytes(folder_ / "_index.xml", kIndex);
        TestTable table;
        ASSERT_TRUE(Load(table));
        Add(table, "2.MAI");
        uint64_t saved = 0;
        bool met = false;
        {
            const AllocationFault fault(n, FaultSpan::Once);
            try {
                saved = SaveIndex(table, folder_.string().c_str(), 0);
            } catch (const std::bad_alloc&) {
            }
            met = AllocationFault::Hits() != 0;
        }
        if (!met) break;
        failures += saved == 0;
        ExpectKnown(n);
        TestTable read;
        ASSERT_TRUE(Load(read));
        EXPECT_EQ(FindLoadedItem(read, "2.MAI") != nullptr, saved == 1) << n;
    }
    EXPECT_GT(failures, 10u);
}

}  // namespace
}  // namespace velmora::test
