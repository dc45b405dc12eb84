// store init, with a name that is a name here alone.

#include "tests/tool/ToolRun.h"

namespace velmora::test {

TEST_F(ToolTest, ARootWithABackslashIsOneThatOtherPlatformsCannotName)
{
    std::filesystem::path root = Directory().Path() / "a\\b";
    EXPECT_EQ(Tool({"store", "init", root.string()}).exitCode, 64);
    EXPECT_FALSE(std::filesystem::exists(root));
}

}  // namespace velmora::test
