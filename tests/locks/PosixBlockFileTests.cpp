// Block files below paths that only this side can have.
#include <string>

#include "tests/locks/LocksFixture.h"

namespace velmora::test {
namespace {

using PosixBlockFile = Locks;

TEST_F(PosixBlockFile, ALongNameIsCutAndTheBlockIsOnTheCutName)
{
    // A directory deep enough that the block's own name is what lies beyond the limit.
    std::string path = folder.string();
    while (path.size() + 201 < 1000) {
        path += "/" + std::string(200, 'd');
        fs::create_directory(path);
    }
    path += "/" + std::string(1020 - path.size() - 1, 'd');
    fs::create_directory(path);
    ASSERT_EQ(path.size(), 1020u);

    void* handle = nullptr;
    const std::string name = path + "\\_index.blk";
    ASSERT_EQ(WaitForAccessToIndexFileEx(name.c_str(), 1, &handle), 1u);
    EXPECT_EQ(FileNames(path), std::vector<std::string>{"_i"});
    EXPECT_EQ(WaitForAccessToIndexFileEx((path + "\\_i").c_str(), 1, &held), 0u) << "the cut name is the lock";
    EXPECT_EQ(UnBlockIndexFileAccessEx(name.c_str(), 1, &handle), 1u);
    EXPECT_TRUE(FileNames(path).empty());
}

}  // namespace
}  // namespace velmora::test
