// The tests of the platform, or the second process of one of them.
#include <gtest/gtest.h>

#include "tests/platform/SecondProcess.h"

int main(int argc, char** argv)
{
    if (const std::optional<int> exitCode = velmora::test::RunAsSecondProcess(argc, argv)) return *exitCode;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
