// New-mail counters where no short name makes a longer extension match.
#include "index/StoreIndexLife.h"
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

using PosixRecordLife = Life;

TEST_F(PosixRecordLife, ALongerExtensionIsNoNewMailCounter)
{
    const fs::path box = store.MakeFolder("INBOX").parent_path();
    WriteFileBytes(box / "_12.NEW", "");
    WriteFileBytes(box / "_13.NEWS", "");
    EXPECT_EQ(TakeNewMailCounter(box.string().c_str()), 12u);
    EXPECT_EQ(FileNames(box), (std::vector<std::string>{"INBOX", "_13.NEWS"}));
}

}  // namespace
}  // namespace velmora::test
