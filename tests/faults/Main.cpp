// The tests, and the processes that they start to see them die.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "tests/faults/Death.h"
#include "tests/faults/Look.h"
#include "tests/support/ChildProcess.h"

namespace {

// Thousands of small files are made and deleted: in memory, where the system has a directory for that.
void PutFilesIntoMemory()
{
    constexpr char kInMemory[] = "/dev/shm";
    std::error_code error;
    if (!std::getenv("TMPDIR") && std::filesystem::is_directory(kInMemory, error)) velmora::test::SetVariable("TMPDIR", kInMemory);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::string(argv[1]) == velmora::test::kDieArgument)
        return velmora::test::RunToDeath(std::vector<std::string>(argv + 2, argv + argc));
    if (argc > 1 && std::string(argv[1]) == velmora::test::kColdArgument)
        return velmora::test::RunCold(std::vector<std::string>(argv + 2, argv + argc));
    if (argc > 1 && std::string(argv[1]) == velmora::test::kLookArgument)
        return velmora::test::RunLook(std::vector<std::string>(argv + 2, argv + argc));
    PutFilesIntoMemory();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
