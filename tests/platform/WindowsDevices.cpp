// Devices under their names there.
#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

TEST(WindowsDevices, TheNullDeviceIsOfTheTypeOfCharacters)
{
    Opened device(OpenToRead("NUL"));
    ASSERT_TRUE(device.IsOpen());
    EXPECT_EQ(GetFileType(device.Get()), static_cast<DWORD>(FILE_TYPE_CHAR));
}

}  // namespace

}  // namespace velmora::test
