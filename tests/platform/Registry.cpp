// Settings through the registry's functions, from the files that the environment names.
#include <array>
#include <atomic>
#include <thread>

#include "tests/platform/SettingsFiles.h"

namespace velmora::test {

DWORD NumberAt(HKEY root, const char* subKey, const char* name)
{
    HKEY key = nullptr;
    if (RegOpenKeyExA(root, subKey, 0, KEY_READ, &key) != kSuccess) return kNoNumber;
    DWORD number = 0;
    DWORD size = sizeof(number);
    DWORD type = 0;
    const LSTATUS status = RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(&number), &size);
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    return status == kSuccess && type == REG_DWORD ? number : kNoNumber;
}

namespace {

using Registry = SettingsFiles;

TEST_F(Registry, BothRootsAreFilesOfTheirOwn)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\Software\\Key]\r\n\"Value\"=dword:1\r\n[HKEY_CURRENT_USER\\Software\\Key]\r\n");
    WriteSettings("user.reg", "[HKEY_CURRENT_USER\\Software\\Key]\r\n\"Value\"=dword:2\r\n");
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "SOFTWARE\\KEY", "VALUE"), 1u);
    EXPECT_EQ(NumberAt(HKEY_CURRENT_USER, "software\\key", "value"), 2u);
}

TEST_F(Registry, AValueIsAskedForItsSizeAndCutWithMoreData)
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

TEST_F(Registry, KeysAreOpenedBelowKeys)
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

TEST_F(Registry, WithoutAFileEveryKeyIsMissing)
{
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software", 0, KEY_READ, &key), Status(ERROR_FILE_NOT_FOUND));
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), kSuccess) << "the root itself is always there";
    EXPECT_EQ(RegCloseKey(key), kSuccess);
    MakeDirectory("machine.reg");
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software", 0, KEY_READ, &key), Status(ERROR_FILE_NOT_FOUND));
}

TEST_F(Registry, AChangeOnDiskIsSeenByTheNextOpenOfTheKeyOnly)
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
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), kNoNumber);
}

TEST_F(Registry, AFaultIsReportedOnceWithFileAndLineAndWhatStandsBeforeCounts)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\nrubbish\r\n\"W\"=dword:2\r\n");
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 1u);
        EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "W"), kNoNumber);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              MachineFile() + ":5: a value's name is not in quotes; the settings before this line count\n");
}

TEST_F(Registry, AFileOfMoreThan16MBIsReportedAndHasNoValues)
{
    WriteSettings("machine.reg", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:1\r\n;" + std::string(16 * 1024 * 1024, ' '));
    testing::internal::CaptureStderr();
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), kNoNumber);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              MachineFile() + ":1: the file cannot be read, or is larger than 16 MB; the settings before this line count\n");
}

TEST_F(Registry, ManyThreadsReadWhileTheFileChanges)
{
    // By a rename, so that there is a whole file at every moment. Where a reader has it open it cannot be replaced for now.
    const auto replace = [&](DWORD number) {
        WriteSettings("machine.new", "[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:" + std::to_string(number) + "\r\n");
        return MoveFileExA(At("machine.new").c_str(), At("machine.reg").c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
    };
    ASSERT_TRUE(replace(1));
    constexpr int kThreads = 3;
    std::atomic<int> reading = kThreads;
    std::array<std::array<DWORD, 200>, kThreads> read{};
    std::vector<std::thread> threads;
    for (auto& numbers : read) {
        threads.emplace_back([&] {
            for (DWORD& number : numbers) number = NumberAt(HKEY_LOCAL_MACHINE, "K", "V");
            --reading;
        });
    }
    uint32_t replaced = 0;
    for (DWORD number = 2; reading > 0; number = 3 - number) replaced += replace(number);
    for (std::thread& thread : threads) thread.join();
    EXPECT_GT(replaced, 0u);
    for (const auto& numbers : read)
        for (const DWORD number : numbers) EXPECT_TRUE(number == 1 || number == 2) << number;
    EXPECT_TRUE(replace(2));
    EXPECT_EQ(NumberAt(HKEY_LOCAL_MACHINE, "K", "V"), 2u);
}

}  // namespace

}  // namespace velmora::test
