// Searches in a file system that has no short names.
#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

using PosixFind = PlatformTest;

TEST_F(PosixFind, ALongerExtensionIsAnother)
{
    for (const char* name : {"a.MAI", "d.main", "mail.maildir"}) MakeFile(name);
    EXPECT_EQ(Search(At("*.MAI")), std::vector<std::string>{"a.MAI"});
}

}  // namespace

}  // namespace velmora::test
