// The tests, or the second process of one of them.
#include <gmock/gmock.h>

#include "tests/process/Peer.h"

int main(int argc, char** argv)
{
    if (const auto exitCode = velmora::test::RunAsPeer(argc, argv)) return *exitCode;
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
