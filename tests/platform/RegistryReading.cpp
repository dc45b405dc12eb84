// Settings files that are refused for a while, that go, and that stay as they were.
#include "platform/shared/RegistryReading.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FakeClock.h"

namespace velmora::test {

namespace {

using platform::RegistryBytes;
using platform::RegistryFiles;
using platform::RegistryKeys;
using platform::RegistryRead;

using Waits = std::vector<uint32_t>;

// A file that is refused some times before it can be read.
class RegistryReading : public testing::Test {
protected:
    void Write(const std::string& number)
    {
        bytes_ = "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\K]\n\"V\"=dword:" + number + "\n";
    }
    // The digit of the value; '-' when there is none.
    char Read(const std::string& path = "settings.reg", const std::string& stamp = {})
    {
        const auto keys = files_.KeysOf(path, stamp, [&](RegistryBytes& into) {
            ++attempts_;
            into.bytes = "what is left from an attempt before";
            if (absent_) return RegistryRead::Absent;
            if (refusals_ > 0) {
                --refusals_;
                return RegistryRead::Refused;
            }
            into.bytes = bytes_;
            into.stamp = stamp;
            return RegistryRead::Done;
        });
        const auto key = keys->find("HKEY_LOCAL_MACHINE\\K");
        if (key == keys->end()) return '-';
        const auto value = key->second.find("V");
        return value != key->second.end() ? static_cast<char>('0' + value->second.data[0]) : '-';
    }

    FakeClock clock_;
    RegistryFiles files_;
    std::string bytes_;
    bool absent_ = false;
    uint32_t refusals_ = 0;
    uint32_t attempts_ = 0;
};

TEST_F(RegistryReading, AFileThatIsRefusedForAMomentIsReadBehindAWait)
{
    for (uint32_t refusals = 0; refusals <= 4; ++refusals) {
        Write(std::to_string(refusals + 1));
        refusals_ = refusals;
        EXPECT_EQ(Read(), static_cast<char>('1' + refusals));
    }
    EXPECT_EQ(clock_.Sleeps(), (Waits{1, 1, 2, 1, 2, 4, 1, 2, 4, 8}));
}

TEST_F(RegistryReading, AFileThatStaysRefusedHasTheValuesThatWereReadLast)
{
    Write("3");
    EXPECT_EQ(Read(), '3');
    Write("4");
    refusals_ = 5;
    EXPECT_EQ(Read(), '3');
    EXPECT_EQ(clock_.Sleeps(), (Waits{1, 2, 4, 8}));
    EXPECT_EQ(Read(), '4');
}

TEST_F(RegistryReading, AFileThatWasNeverReadHasNoValuesAndThatIsToldOnce)
{
    Write("3");
    testing::internal::CaptureStderr();
    for (int again = 0; again < 2; ++again) {
        refusals_ = 5;
        EXPECT_EQ(Read(), '-');
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "settings.reg:1: the file cannot be read, or is larger than 16 MB; the settings before this line count\n");
    EXPECT_EQ(Read(), '3');
}

TEST_F(RegistryReading, AnAbsentFileHasNoValuesAtOnceWhateverItHeldBefore)
{
    Write("3");
    EXPECT_EQ(Read(), '3');
    absent_ = true;
    attempts_ = 0;
    EXPECT_EQ(Read(), '-');
    EXPECT_EQ(attempts_, 1u);
    EXPECT_TRUE(clock_.Sleeps().empty());
    absent_ = false;
    refusals_ = 5;
    testing::internal::CaptureStderr();
    EXPECT_EQ(Read(), '-') << "the file that stands there now has not been read";
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(RegistryReading, OnlyWhatIsKnownByTheSameStampIsNotReadAgain)
{
    Write("3");
    EXPECT_EQ(Read("settings.reg", "a"), '3');
    Write("4");
    EXPECT_EQ(Read("settings.reg", "a"), '3');
    EXPECT_EQ(Read("settings.reg", "b"), '4');
    Write("5");
    EXPECT_EQ(Read("settings.reg"), '5');
    EXPECT_EQ(Read("settings.reg"), '5');
    EXPECT_EQ(attempts_, 4u);
}

TEST_F(RegistryReading, EachFileHasValuesOfItsOwnAndTheOldestAreForgotten)
{
    for (char file = '0'; file < '9'; ++file) {
        Write(std::string(1, file));
        EXPECT_EQ(Read(std::string(1, file)), file);
    }
    Write("9");
    testing::internal::CaptureStderr();
    for (char file = '8'; file >= '0'; --file) {
        refusals_ = 5;
        EXPECT_EQ(Read(std::string(1, file)), file > '0' ? file : '-');
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "0:1: the file cannot be read, or is larger than 16 MB; the settings before this line count\n");
}

TEST_F(RegistryReading, AFaultIsToldAgainOnlyForAnotherContent)
{
    const auto told = [&](const std::string& bytes) {
        bytes_ = bytes;
        testing::internal::CaptureStderr();
        Read();
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_NE(told("rubbish"), "");
    EXPECT_EQ(told("rubbish"), "");
    EXPECT_NE(told("other rubbish"), "");
    EXPECT_EQ(told("Windows Registry Editor Version 5.00\n"), "");
    EXPECT_NE(told("rubbish"), "");
}

}  // namespace

}  // namespace velmora::test
