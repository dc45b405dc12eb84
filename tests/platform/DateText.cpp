// The present local time, and dates and times by a picture.
#include <cstring>
#include <string>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

constexpr LCID kEnglish = 1033;

std::string DateBy(const char* picture, const SYSTEMTIME& parts)
{
    char text[128] = "";
    const int size = GetDateFormatA(kEnglish, 0, &parts, picture, text, sizeof text);
    EXPECT_EQ(size, static_cast<int>(std::strlen(text)) + 1) << picture;
    EXPECT_EQ(GetDateFormatA(kEnglish, 0, &parts, picture, nullptr, 0), size) << picture;
    return text;
}

std::string TimeBy(const char* picture, const SYSTEMTIME& parts)
{
    char text[128] = "";
    const int size = GetTimeFormatA(kEnglish, 0, &parts, picture, text, sizeof text);
    EXPECT_EQ(size, static_cast<int>(std::strlen(text)) + 1) << picture;
    EXPECT_EQ(GetTimeFormatA(kEnglish, 0, &parts, picture, nullptr, 0), size) << picture;
    return text;
}

TEST(DateText, IsThatOfAMessage)
{
    EXPECT_EQ(DateBy("ddd, d MMM yyyy", Parts(2011, 2, 7)), "Mon, 7 Feb 2011");
    EXPECT_EQ(DateBy("ddd, d MMM yyyy", Parts(2024, 12, 31)), "Tue, 31 Dec 2024");
    EXPECT_EQ(TimeBy("HH:mm:ss", Parts(2011, 2, 7, 9, 5, 0)), "09:05:00");
    EXPECT_EQ(TimeBy("HH:mm:ss", Parts(2011, 2, 7, 23, 59, 59)), "23:59:59");
}

TEST(DateText, KnowsEveryDayAndMonth)
{
    const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (WORD month = 1; month <= 12; ++month) EXPECT_EQ(DateBy("MMM", Parts(2011, month, 1)), months[month - 1]);
    const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    for (WORD day = 1; day <= 7; ++day) EXPECT_EQ(DateBy("ddd", Parts(2011, 5, day)), days[day - 1]);
    EXPECT_EQ(DateBy("dddd, MMMM", Parts(2011, 9, 7)), "Wednesday, September");
}

TEST(DateText, ARunsLengthSaysHowItIsWritten)
{
    EXPECT_EQ(DateBy("d dd M MM yy yyyy", Parts(2007, 2, 7)), "7 07 2 02 07 2007");
    EXPECT_EQ(DateBy("d dd M MM yy", Parts(2011, 12, 31)), "31 31 12 12 11");
    EXPECT_EQ(DateBy("y, yyy", Parts(2007, 2, 7)), "07, 2007");
    EXPECT_EQ(TimeBy("H HH h hh m mm s ss", Parts(2011, 1, 1, 13, 5, 9)), "13 13 1 01 5 05 9 09");
    EXPECT_EQ(TimeBy("h t, tt", Parts(2011, 1, 1, 0, 5)), "12 A, AM");
    EXPECT_EQ(TimeBy("h tt", Parts(2011, 1, 1, 12)), "12 PM");
}

TEST(DateText, WhatStandsBetweenQuotesIsTaken)
{
    EXPECT_EQ(DateBy("'d' d", Parts(2011, 2, 7)), "d 7");
    EXPECT_EQ(TimeBy("HH'h'mm", Parts(2011, 2, 7, 10, 30)), "10h30");
}

TEST(DateText, TheWeekdayIsTheDatesOwn)
{
    SYSTEMTIME parts = Parts(2011, 2, 7);
    parts.wDayOfWeek = 5;
    EXPECT_EQ(DateBy("ddd", parts), "Mon");
}

TEST(DateText, ATextThatDoesNotFitIs122)
{
    const SYSTEMTIME parts = Parts(2011, 2, 7, 10);
    char text[16];
    EXPECT_EQ(ErrorOf(GetDateFormatA(kEnglish, 0, &parts, "yyyy", text, 4) != 0), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetDateFormatA(kEnglish, 0, &parts, "yyyy", text, 5), 5);
    EXPECT_EQ(ErrorOf(GetTimeFormatA(kEnglish, 0, &parts, "HH", text, 2) != 0), ERROR_INSUFFICIENT_BUFFER);
}

TEST(DateText, WhatIsNoDateOrTimeIs87)
{
    char text[64];
    for (const SYSTEMTIME& parts : {Parts(2011, 13, 1), Parts(2011, 0, 1), Parts(2011, 4, 31), Parts(2011, 1, 0)})
        EXPECT_EQ(ErrorOf(GetDateFormatA(kEnglish, 0, &parts, "yyyy", text, sizeof text) != 0), ERROR_INVALID_PARAMETER) << parts.wMonth;
    for (const SYSTEMTIME& parts : {Parts(2011, 1, 1, 24), Parts(2011, 1, 1, 0, 60), Parts(2011, 1, 1, 0, 0, 60)})
        EXPECT_EQ(ErrorOf(GetTimeFormatA(kEnglish, 0, &parts, "HH", text, sizeof text) != 0), ERROR_INVALID_PARAMETER) << parts.wHour;
}

TEST(DateText, ATimeNeedsNoDate) { EXPECT_EQ(TimeBy("HH:mm", Parts(0, 0, 0, 10, 30)), "10:30"); }

TEST(LocalTime, IsUtcLessTheBias)
{
    TIME_ZONE_INFORMATION zone;
    const DWORD season = GetTimeZoneInformation(&zone);
    const int64_t bias = zone.Bias + (season == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : zone.StandardBias);
    FILETIME before{}, after{}, local{};
    GetSystemTimeAsFileTime(&before);
    SYSTEMTIME parts{};
    GetLocalTime(&parts);
    GetSystemTimeAsFileTime(&after);
    ASSERT_TRUE(SystemTimeToFileTime(&parts, &local));
    const auto utc = static_cast<int64_t>(Number(local)) + bias * 60 * 10'000'000;
    // Parts are of whole milliseconds.
    EXPECT_GE(utc, static_cast<int64_t>(Number(before)) - 10'000);
    EXPECT_LE(utc, static_cast<int64_t>(Number(after)));
    SYSTEMTIME again{};
    ASSERT_TRUE(FileTimeToSystemTime(&local, &again));
    EXPECT_EQ(parts.wDayOfWeek, again.wDayOfWeek);
}

}  // namespace

}  // namespace velmora::test
