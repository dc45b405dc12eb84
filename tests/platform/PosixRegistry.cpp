// Settings through the registry's functions, from the files that the environment names.
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <thread>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

constexpr LSTATUS kSuccess = 0;

LSTATUS Status(DWORD error) { return static_cast<LSTATUS>(error); }

class PosixRegistry : public PlatformTest {
protected:
    PosixRegistry()
    {
        setenv("VELMORA_REGISTRY", Native("machine.reg").c_str(), 1);
        setenv("VELMORA_USER_REGISTRY", Native("user.reg").c_str(), 1);
    }
    ~PosixRegistry() override
    {
        unsetenv("VELMORA_REGISTRY");
        unsetenv("VELMORA_USER_REGISTRY");
    }

    std::string Native(const char* name) const
    {
        std::string path = At(name);
        for (char& c : path) c = c == '\\' ? '/' : c;
        return path;
    }
    void WriteSettings(const char* file, const std::string& lines)
    {
        MakeFile(file, "Windows Registry Editor Version 5.00\r\n\r\n" + lines);
    }
};

// A DWORD value; 0xFFFFFFFF when it cannot be had.
DWORD NumberAt(HKEY root, const char* subKey, const char* name)
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(root, subKey, 0, KEY_READ, &key) != kSuccess) return 0xFFFFFFFFu;
    DWORD number = 0;
    DWORD size = sizeof(number);
    DWORD type = 0;
    const LSTATUS status = RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(&number), &size);
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    return status == kSuccess && type == REG_DWORD ? number : 0xFFFFFFFFu;
}

TEST_F(PosixRegistry, BothRootsAreFilesOfTheirOwn)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\Software\\Key]\r\n\"Value\"=dword:1\r\n[HKEY_CURRENT_USER\\Software\\Key]\r\n");
    WriteSettings("user.reg", "[HKEY_CURRENT_USER\\Software\\Key]\r\n\"Value\"=dword:2\r\n");
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "SOFTWARE\\KEY", "VALUE"), 1u);
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, "software\\key", "value"), 2u);
}

TEST_F(PosixRegistry, AValueIsAskedForItsSizeAndCutWithMoreData)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"Text\"=\"hello\"\r\n@=\"default\"\r\n");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "K", 0, KEY_READ, &key), kSuccess);
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExA(key, "Text", nullptr, &type, nullptr, &size), kSuccess);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 6u) << "the zero byte counts";
    EXPECT_EQ(RegQueryValueExA(key, "Text", nullptr, nullptr, nullptr, nullptr), kSuccess);
    char text[8] = "xxxxxxx";
    size = 5;
    EXPECT_EQ(RegQueryValueExA(key, "Text", nullptr, &type, reinterpret_cast<LPBYTE>(text), &size), Status(ERROR_MORE_DATA));
    EXPECT_EQ(size, 6u);
    EXPECT_STREQ(text, "xxxxxxx");
    EXPECT_EQ(RegQueryValueExA(key, "text", nullptr, &type, reinterpret_cast<LPBYTE>(text), &size), kSuccess);
    EXPECT_STREQ(text, "hello");
    size = sizeof(text);
    EXPECT_EQ(RegQueryValueExA(key, nullptr, nullptr, &type, reinterpret_cast<LPBYTE>(text), &size), kSuccess);
    EXPECT_STREQ(text, "default");
    EXPECT_EQ(RegQueryValueExA(key, "Missing", nullptr, &type, nullptr, &size), Status(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(RegQueryValueExA(key, "Text", nullptr, &type, reinterpret_cast<LPBYTE>(text), nullptr), Status(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    EXPECT_EQ(RegCloseKey(key), Status(ERROR_INVALID_HANDLE));
    EXPECT_EQ(RegQueryValueExA(key, "Text", nullptr, &type, nullptr, &size), Status(ERROR_INVALID_HANDLE));
}

TEST_F(PosixRegistry, KeysAreOpenedBelowKeys)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\A\\B\\C]\r\n\"V\"=dword:7\r\n");
    HKEY upper = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "a", 0, KEY_READ, &upper), kSuccess);
    EXPECT_EQ(NumberAt(upper, "b\\c\\", "v"), 7u);
    HKEY missing = upper;
    EXPECT_EQ(RegOpenKeyExA(upper, "x", 0, KEY_READ, &missing), Status(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(missing, nullptr);
    EXPECT_EQ(RegCloseKey(upper), kSuccess);
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), kSuccess);
    EXPECT_EQ(RegOpenKeyExA(nullptr, "a", 0, KEY_READ, &missing), Status(ERROR_INVALID_HANDLE));
}

TEST_F(PosixRegistry, WithoutAFileEveryKeyIsMissing)
{
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software", 0, KEY_READ, &key), Status(ERROR_FILE_NOT_FOUND));
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), kSuccess) << "the root itself is always there";
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    MakeDirectory("machine.reg");
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software", 0, KEY_READ, &key), Status(ERROR_FILE_NOT_FOUND));
}

TEST_F(PosixRegistry, AChangeOnDiskIsSeenByTheNextOpenOfTheKeyOnly)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n");
    HKEY before = nullptr;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "K", 0, KEY_READ, &before), kSuccess);
    for (DWORD number = 2; number < 8; ++number) {
        WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:" + std::to_string(number) + "\r\n");
        EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), number) << "the size stays, and the time may";
    }
    EXPECT_EQ(NumberAt(before, "", "V"), 7u);
    DWORD number = 0;
    DWORD size = sizeof(number);
    EXPECT_EQ(RegQueryValueExA(before, "V", nullptr, nullptr, reinterpret_cast<LPBYTE>(&number), &size), kSuccess);
    EXPECT_EQ(number, 1u);
    EXPECT_EQ(RegCloseKey(before), kSuccess);
    EXPECT_TRUE(DeleteFileA(At("machine.reg").c_str()));
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 0xFFFFFFFFu);
}

TEST_F(PosixRegistry, AFaultIsReportedOnceWithFileAndLineAndWhatStandsBeforeCounts)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\nrubbish\r\n\"W\"=dword:2\r\n");
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u);
        EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "W"), 0xFFFFFFFFu);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              Native("machine.reg") + ":5: a value's name is not in quotes; the settings before this line count\n");
}

TEST_F(PosixRegistry, TheCurrentUsersFileStandsInTheHomeDirectory)
{
    unsetenv("VELMORA_USER_REGISTRY");
    setenv("HOME", Native("home").c_str(), 1);
    MakeDirectory("home");
    MakeDirectory("home\\.config");
    MakeDirectory("home\\.config\\velmora");
    WriteSettings("home\\.config\\velmora\\registry.reg", "[HKEY_CURRENT_USER\\K]\r\n\"V\"=dword:3\r\n");
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, "K", "V"), 3u);
}

TEST_F(PosixRegistry, ManyThreadsReadWhileTheFileChanges)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n");
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 200; ++i) NumberAt(HKEY_LOCAL_MACHINE, "K", "V");
        });
    }
    for (int i = 0; i < 20; ++i) WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:2\r\n");
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 2u);
}

}  // namespace

}  // namespace velmora::test
