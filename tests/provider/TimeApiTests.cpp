// The conversions of moments, as a host calls them.
#include <gtest/gtest.h>

#include "velmora/vlaisp.h"

namespace velmora::test {
namespace {

constexpr uint64_t k1970 = 116444736000000000;

uint64_t FileTimeOf(int64_t seconds)
{
    uint64_t fileTime = 7;
    ::UnixTimeToFileTime(seconds, &fileTime);
    return fileTime;
}

TEST(TimeApi, UnixSecondsBecomeFileTimesOf64Bits)
{
    EXPECT_EQ(FileTimeOf(0), k1970);
    EXPECT_EQ(FileTimeOf(-11644473600), 0u);
    EXPECT_EQ(FileTimeOf(0x7FFFFFFF), 0x01E9FD1ED4A5E980u);
    EXPECT_EQ(FileTimeOf(int64_t{1} << 32), k1970 + (uint64_t{1} << 32) * 10000000);
}

TEST(TimeApi, FileTimesBecomeUnixSecondsOf64Bits)
{
    EXPECT_EQ(::UnixTimeFromFileTime(k1970), 0);
    EXPECT_EQ(::UnixTimeFromFileTime(0), -11644473600);
    EXPECT_EQ(::UnixTimeFromFileTime(FileTimeOf(int64_t{1} << 34)), int64_t{1} << 34);
    EXPECT_EQ(::UnixTimeFromFileTime(k1970 + 19999999), 1);
    EXPECT_EQ(::UnixTimeFromFileTime(k1970 - 19999999), -1) << "truncated towards 0";
}

TEST(TimeApi, NoPlaceForTheFileTimeIsNoFault) { ::UnixTimeToFileTime(1, nullptr); }

}  // namespace
}  // namespace velmora::test
