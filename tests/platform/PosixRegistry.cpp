// Where the settings files stand when the environment names none, and a process that may open nothing for now.
#include <sys/resource.h>

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

// While it lives, the process can open no file.
class NoDescriptors {
public:
    NoDescriptors()
    {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
        Set(0);
    }
    ~NoDescriptors() { End(); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;
    void End() const { Set(before_.rlim_cur); }

private:
    void Set(rlim_t most) const
    {
        const rlimit limit{most, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    rlimit before_{};
};

TEST_F(PosixRegistry, AFileThatCannotBeOpenedForAMomentIsReadBehindAWait)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n");
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u);
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:12\r\n");
    FakeClock clock;
    const NoDescriptors none;
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u) << "it was read last with this value";
    EXPECT_EQ(clock.Sleeps().size(), 4u);
    clock.onSleep = [&](size_t) { none.End(); };
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 0x12u);
    EXPECT_EQ(clock.Sleeps().size(), 5u);
}

}  // namespace

}  // namespace velmora::test
