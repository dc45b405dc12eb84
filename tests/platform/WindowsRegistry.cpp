// Settings of the system's own registry: what stands there when the environment names no file. And files that somebody
// else holds.
#include <string>

#include "tests/platform/SettingsFiles.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {

namespace {

// A key below the current user's root, made by the system's functions. It goes when the test ends.
class WindowsRegistry : public SettingsFiles {
protected:
    void SetUp() override
    {
        SetVariable("VELMORA_USER_REGISTRY", nullptr);
        path_ = "Software\\Velmora-Test-" + std::to_string(GetCurrentProcessId());
        HKEY made = nullptr;
        ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &made, nullptr), kSuccess);
        const DWORD number = 4711;
        EXPECT_EQ(RegSetValueExA(made, "Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number)), kSuccess);
        EXPECT_EQ(RegSetValueExA(made, "Text", 0, REG_SZ, reinterpret_cast<const BYTE*>("hello"), 6), kSuccess);
        EXPECT_EQ(RegCloseKey(made), kSuccess);
    }
    void TearDown() override { RegDeleteKeyA(HKEY_CURRENT_USER, path_.c_str()); }

    std::string path_;
};

TEST_F(WindowsRegistry, AValueIsReadFromTheSystem)
{
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, path_.c_str(), "Number"), 4711u);
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, path_.c_str(), "Missing"), kNoNumber);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, KEY_READ, &key), kSuccess);
    char text[8] = "xxxxxxx";
    DWORD size = sizeof(text);
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(key, "text", nullptr, &type, reinterpret_cast<LPBYTE>(text), &size), kSuccess);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(size, 6u);
    EXPECT_STREQ(text, "hello");
    size = 5;
    EXPECT_EQ(RegQueryValueExA(key, "Text", nullptr, &type, reinterpret_cast<LPBYTE>(text), &size), Status(ERROR_MORE_DATA));
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, (path_ + "\\Missing").c_str(), 0, KEY_READ, &key), Status(ERROR_FILE_NOT_FOUND));
}

TEST_F(WindowsRegistry, AFileStandsInForTheSystemAsLongAsItIsNamed)
{
    WriteSettings("user.reg", "[HKEY_CURRENT_USER\\" + path_ + "]\r\n\"Number\"=dword:2\r\n");
    HKEY ofSystem = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, KEY_READ, &ofSystem), kSuccess);
    SetVariable("VELMORA_USER_REGISTRY", Slashed(At("user.reg")).c_str());
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, path_.c_str(), "Number"), 2u);
    EXPECT_EQ(NumberAt(ofSystem, "", "Number"), 4711u) << "a key of the system stays one";
    EXPECT_EQ(RegCloseKey(ofSystem), kSuccess);
    SetVariable("VELMORA_USER_REGISTRY", nullptr);
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, path_.c_str(), "Number"), 4711u);
}

TEST_F(WindowsRegistry, TheSystemSeesAChangeAtOnce)
{
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, KEY_WRITE, &key), kSuccess);
    const DWORD number = 12;
    EXPECT_EQ(RegSetValueExA(key, "Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number)), kSuccess);
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, path_.c_str(), "Number"), 12u);
    EXPECT_EQ(RegCloseKey(key), kSuccess);
}

using WindowsSettingsFile = SettingsFiles;

TEST_F(WindowsSettingsFile, OneThatSomebodyHoldsForAMomentIsReadBehindAWait)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n");
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u);
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:12\r\n");
    FakeClock clock;
    Opened held(CreateFileA(At("machine.reg").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held.IsOpen());
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u) << "it was read last with this value";
    EXPECT_EQ(clock.Sleeps().size(), 4u);
    clock.onSleep = [&](size_t) { held.Close(); };
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 0x12u);
    EXPECT_EQ(clock.Sleeps().size(), 5u);
}

TEST_F(WindowsSettingsFile, OneThatIsAboutToBeMovedOrWrittenIsReadAtOnce)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n");
    FakeClock clock;
    const Opened held(CreateFileA(At("machine.reg").c_str(), DELETE | GENERIC_WRITE, kShareWithDelete, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held.IsOpen());
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u);
    EXPECT_TRUE(clock.Sleeps().empty());
}

}  // namespace

}  // namespace velmora::test
