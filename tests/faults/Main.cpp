// The tests, and the processes that they start to see them die.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/faults/Death.h"

int main(int argc, char** argv)
{
    if (argc > 1 && std::string(argv[1]) == velmora::test::kDieArgument)
        return velmora::test::RunToDeath(std::vector<std::string>(argv + 2, argv + argc));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
