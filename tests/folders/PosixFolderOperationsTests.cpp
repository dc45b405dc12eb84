// What an operation leaves on disk, where the spelling of a name is this library's own doing.
#include <gtest/gtest.h>

#include "tests/folders/FolderOperations.h"

namespace velmora::test {
namespace {

class PosixFolderEdit : public FolderOperations {};

TEST_F(PosixFolderEdit, ChangesTheCaseOfAName)
{
    Make("a/b");
    EXPECT_EQ(Edit(Record("/", "a"), Record("/", "A")), 1u);
    EXPECT_EQ(Directories(), Names{"A"});
    EXPECT_TRUE(Has("A/b"));
}

}  // namespace
}  // namespace velmora::test
