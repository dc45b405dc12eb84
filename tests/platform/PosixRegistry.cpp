// Where the settings files stand when the environment names none, and files that cannot be opened for now.
#include <cerrno>

#include "tests/platform/PosixSystemCalls.h"
#include "tests/platform/SettingsFiles.h"
#include "tests/support/FakeClock.h"

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

TEST_F(PosixRegistry, AFileThatCannotBeOpenedForAMomentIsReadBehindAWait)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n");
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u);
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:12\r\n");
    FakeClock clock;
    SystemCalls calls;
    calls.unopened = MachineFile();
    calls.unopenedError = EMFILE;
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u) << "it was read last with this value";
    EXPECT_EQ(clock.Sleeps().size(), 4u);
    EXPECT_EQ(calls.Count("open"), 5u);
    clock.onSleep = [&](size_t) { calls.unopenedError = 0; };
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 0x12u);
    EXPECT_EQ(clock.Sleeps().size(), 5u);
}

}  // namespace

}  // namespace velmora::test
