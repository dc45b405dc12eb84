// Where the settings files stand when the environment names none.
#include "tests/platform/SettingsFiles.h"

namespace velmora::test {

namespace {

using PosixRegistry = SettingsFiles;

TEST_F(PosixRegistry, TheCurrentUsersFileStandsInTheHomeDirectory)
{
    SetVariable("VELMORA_USER_REGISTRY", nullptr);
    SetVariable("HOME", Slashed(At("home")).c_str());
    MakeDirectory("home");
    MakeDirectory("home\\.config");
    MakeDirectory("home\\.config\\velmora");
    WriteSettings("home\\.config\\velmora\\registry.reg", "[HKEY_CURRENT_USER\\K]\r\n\"V\"=dword:3\r\n");
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, "K", "V"), 3u);
}

}  // namespace

}  // namespace velmora::test
