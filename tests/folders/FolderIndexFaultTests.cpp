// _folder.xml when there is no memory to write it, and names that are like the ends of one in it.
#include <gtest/gtest.h>

#include <exception>

#include "tests/folders/FolderFiles.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

class FolderIndexFault : public FolderFiles, public testing::WithParamInterface<FaultSpan> {};

// The next request gives what is there, and does not have to fail first over a list that was cut.
TEST_P(FolderIndexFault, WithoutMemoryARebuildLeavesAListThatTheNextRequestCanGive)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    uint32_t failures = 0;
    for (const bool flagged : {true, false}) {
        for (uint32_t n = 1;; ++n) {
            ASSERT_LT(n, 500u);
            Put("_folder.xml", ListOf({"a", "old"}));
            if (flagged) Put("_folder.dty", "DIRTY");
            bool rebuilt = false;
            uint32_t hits = 0;
            {
                const AllocationFault fault(n, GetParam());
                try {
                    rebuilt = RebuildFolderIndex(Dir(), false) == 1;
                } catch (const std::exception&) {
                }
                hits = AllocationFault::Hits();
            }
            const bool isOld = Has("_folder.xml") && Bytes("_folder.xml") == ListOf({"a", "old"});
            if (isOld) {
                EXPECT_FALSE(rebuilt) << n;
                EXPECT_EQ(IsFlagged(), flagged) << n;
            } else {
                EXPECT_EQ(ListedAnew(), (Names{"a", "b", "c"})) << n << " " << flagged;
            }
            TakeFlag();
            if (hits == 0) {
                EXPECT_TRUE(rebuilt);
                break;
            }
            if (!rebuilt) ++failures;
        }
    }
    EXPECT_GT(failures, 10u);
}

INSTANTIATE_TEST_SUITE_P(Folders, FolderIndexFault, testing::Values(FaultSpan::Once, FaultSpan::Onwards),
                         [](const auto& each) { return std::string(each.param == FaultSpan::Once ? "Once" : "Onwards"); });

using FolderIndexNames = FolderFiles;

TEST_F(FolderIndexNames, ThatEndInBracketsAreListedAsTheyAre)
{
    for (const char* name : {"a]", "b]]", "]]", "]c"}) Make(name);
    const Names all{"]]", "]c", "a]", "b]]"};
    EXPECT_EQ(ListedAnew(), all);
    EXPECT_EQ(ListedAnew(), all) << "from the list, which was not made again";
    EXPECT_EQ(Directories(), all) << "nothing was renamed";
    for (const std::string& name : all) EXPECT_TRUE(IsNameInFolderIndex(Dir(), name.c_str())) << name;
}

}  // namespace
}  // namespace velmora::test
