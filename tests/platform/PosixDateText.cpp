// The present local time in zones that TZ names, and what the pictures here do not know.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

class PosixLocalTime : public testing::Test {
protected:
    ~PosixLocalTime() override
    {
        unsetenv("TZ");
        tzset();
    }
};

int64_t MinutesAheadOfUtc(const char* zone)
{
    setenv("TZ", zone, 1);
    SYSTEMTIME parts{};
    GetLocalTime(&parts);
    FILETIME now{}, local{};
    GetSystemTimeAsFileTime(&now);
    EXPECT_TRUE(SystemTimeToFileTime(&parts, &local));
    constexpr double kUnitsPerMinute = 600'000'000;
    const double ahead = static_cast<double>(static_cast<int64_t>(Number(local) - Number(now))) / kUnitsPerMinute;
    return static_cast<int64_t>(ahead < 0 ? ahead - 0.5 : ahead + 0.5);
}

TEST_F(PosixLocalTime, IsThatOfTheZone)
{
    EXPECT_EQ(MinutesAheadOfUtc("UTC0"), 0);
    EXPECT_EQ(MinutesAheadOfUtc("IST-5:30"), 330);
    EXPECT_EQ(MinutesAheadOfUtc("HST10"), -600);
    EXPECT_EQ(MinutesAheadOfUtc("LINT-14"), 840);
}

TEST(PosixDateText, OtherLocalesAndFlagsAreNotKnown)
{
    SYSTEMTIME parts{};
    GetLocalTime(&parts);
    char text[64];
    EXPECT_EQ(ErrorOf(GetDateFormatA(1031, 0, &parts, "d", text, sizeof text) != 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(GetDateFormatA(1033, 1, &parts, "d", text, sizeof text) != 0), ERROR_INVALID_FLAGS);
    EXPECT_EQ(ErrorOf(GetTimeFormatA(1033, 0, &parts, nullptr, text, sizeof text) != 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(GetTimeFormatA(1033, 0, &parts, "H", text, -1) != 0), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(GetTimeFormatA(1033, 0, &parts, "H", nullptr, 5) != 0), ERROR_INVALID_PARAMETER);
}

TEST(PosixDateText, QuotesThatAreDoubledOrDoNotEnd)
{
    SYSTEMTIME parts{};
    GetLocalTime(&parts);
    char text[64];
    GetDateFormatA(1033, 0, &parts, "'it''s'", text, sizeof text);
    EXPECT_STREQ(text, "it's");
    GetDateFormatA(1033, 0, &parts, "'open d", text, sizeof text);
    EXPECT_STREQ(text, "open d");
    GetDateFormatA(1033, 0, &parts, "", text, sizeof text);
    EXPECT_STREQ(text, "");
}

TEST(PosixDateText, WithoutPartsItIsNow)
{
    char year[8], now[8];
    SYSTEMTIME parts{};
    GetLocalTime(&parts);
    EXPECT_EQ(GetDateFormatA(1033, 0, nullptr, "yyyy", year, sizeof year), 5);
    EXPECT_EQ(GetDateFormatA(1033, 0, &parts, "yyyy", now, sizeof now), 5);
    EXPECT_STREQ(year, now);
}

}  // namespace

}  // namespace velmora::test
