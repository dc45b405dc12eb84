// What the open of a folder costs that is in memory already.
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

class ReopenLife : public Life {};

TEST_F(ReopenLife, AReopenReadsNoFileAndCostsTheSameInALargeFolder)
{
    const auto operationsOfAReopen = [&](const std::string& name, int items) {
        const fs::path folder = store.MakeFolder(name);
        std::string elements;
        for (int uid = 1; uid <= items; ++uid) elements += Element(std::to_string(uid) + ".MAI", static_cast<uint32_t>(uid));
        PutIndex(folder, static_cast<uint32_t>(items), elements);
        HostRecord record(name);
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
        EXPECT_EQ(record.Count(), static_cast<uint32_t>(items));
        WatchedFiles files;
        size_t reads = 0;
        files.fail = [&](platform::FileOperation operation, std::string_view) {
            if (operation == platform::FileOperation::Read) ++reads;
            return 0u;
        };
        EXPECT_EQ(StoreIndex_Open(&record, 1), 2u);
        EXPECT_EQ(reads, 0u);
        return files.count;
    };
    Attach();
    const size_t small = operationsOfAReopen("Small", 3);
    EXPECT_EQ(operationsOfAReopen("Large", 5000), small);
}

}  // namespace
}  // namespace velmora::test
