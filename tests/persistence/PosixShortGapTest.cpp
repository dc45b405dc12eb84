// A gap that ends early: only where an exclusive open does not keep others from cutting the file.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/persistence/FileFaults.h"
#include "tests/persistence/IndexFolder.h"
#include "tests/support/Captured.h"

namespace velmora::test {
namespace {

// Somebody who keeps to no lock cuts the file behind the look at it. The rest of the gap is nowhere, and what a buffer holds
// is not written in its place.
TEST(ShortGap, IsNotWrittenOver)
{
    const std::string first = Element("a", 1, {{"SUBJECT", "first"}});
    const std::string gap = Element("b", 2, {{"SUBJECT", "second"}}) + Element("c", 3, {{"SUBJECT", "third"}});
    const std::string whole = IndexFile(3, first + gap);
    const std::string cut = whole.substr(0, Header(3).size() + first.size() + gap.size() / 2);

    const CapturedLog log;
    IndexFolder folder;
    folder.Write(whole);
    LoadedTable table(folder, 3, "a");
    SetItemKeyProperty(table["a"], "SUBJECT", "first and longer");
    int cuts = 0;
    {
        FileFaults faults([&](platform::FileOperation operation, int, std::string_view, uint64_t bytes) {
            if (operation == platform::FileOperation::Read && bytes == gap.size() && cuts++ == 0)
                std::filesystem::resize_file(folder.File(), cut.size());
            return platform::FileVerdict{};
        });
        EXPECT_EQ(folder.Save(table), 0u);
    }
    EXPECT_EQ(cuts, 1);
    EXPECT_EQ(folder.Bytes(), cut);
}

}  // namespace
}  // namespace velmora::test
