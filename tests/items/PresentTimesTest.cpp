#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "items/CalendarArithmetic.h"
#include "items/DateForms.h"
#include "items/MessageDate.h"
#include "items/PresentTime.h"
#include "platform/Clock.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TimeZone.h"

namespace velmora {
namespace {

constexpr uint64_t kMinute = 600000000;
constexpr uint64_t kDay = 24 * 60 * kMinute;

std::string IsoOf(uint64_t fileTime)
{
    char text[64] = "";
    EXPECT_TRUE(FormatFileTimeText(fileTime, text, sizeof text));
    return text;
}

std::string DateOf(WORD day, int32_t zone)
{
    SYSTEMTIME local = {};
    local.wYear = 2011;
    local.wMonth = 2;
    local.wDay = day;
    local.wHour = 9;
    local.wMinute = 5;
    return FormatRfc822(local, zone);
}

TEST(PresentTime, TheDateOfAMessageHasASignAndFourDigitsOfZone)
{
    EXPECT_EQ(DateOf(7, 1000), "Mon, 7 Feb 2011 09:05:00 +1000");
    EXPECT_EQ(DateOf(7, 530), "Mon, 7 Feb 2011 09:05:00 +0530");
    EXPECT_EQ(DateOf(7, 0), "Mon, 7 Feb 2011 09:05:00 +0000");
    EXPECT_EQ(DateOf(7, -45), "Mon, 7 Feb 2011 09:05:00 -0045");
    EXPECT_EQ(DateOf(7, -500), "Mon, 7 Feb 2011 09:05:00 -0500");
    EXPECT_EQ(DateOf(17, -1100), "Thu, 17 Feb 2011 09:05:00 -1100");
}

TEST(PresentTime, TheDateOfAMessageIsOneThatCanBeReadBack)
{
    test::UseZone("UTC0");
    const uint64_t before = platform::NowFileTime();
    const std::string now = FormatRfc822Now();
    const uint64_t after = platform::NowFileTime();
    char moment[64];
    ASSERT_TRUE(ParseMessageDate(now, moment, sizeof moment)) << now;
    EXPECT_GE(moment, IsoOf(before)) << now;
    EXPECT_LE(moment, IsoOf(after)) << now;
    test::UseZone(nullptr);
}

TEST(PresentTime, TheDateOfAMessageHasItsDayName)
{
    const std::string now = FormatRfc822Now();
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(
        now, parts,
        std::regex("(Sun|Mon|Tue|Wed|Thu|Fri|Sat), ([1-9][0-9]?) ([A-Z][a-z]{2}) ([0-9]{4}) [0-9]{2}:[0-9]{2}:[0-9]{2} [-+][0-9]{4}")))
        << now;
    const char* const names[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    const int32_t month = parts[3] == "Jan" ? 1 : MonthFromName(parts[3].str()) + 1;
    EXPECT_EQ(parts[1], names[DayOfWeek(month, std::stoi(parts[2]), std::stoi(parts[4]))]) << now;
}

TEST(PresentTime, TheZoneIsThatOfTheDateOfAMessage)
{
    test::UseZone("UTC0");
    const int32_t zone = CurrentZoneMinutes();
    const std::string now = FormatRfc822Now();
    EXPECT_EQ(std::stoi(now.substr(now.size() - 5)), zone) << now;
    test::UseZone(nullptr);
}

TEST(PresentTime, AgesCountMinutes)
{
    test::FakeClock clock;
    const uint64_t now = clock.NowFileTime();
    EXPECT_EQ(MinutesSince(now), 0u);
    EXPECT_EQ(MinutesSince(now - kMinute + 1), 0u);
    EXPECT_EQ(MinutesSince(now - kMinute), 1u);
    EXPECT_EQ(MinutesSince(now - kDay), 24u * 60);
    clock.SetNow(now + 90 * kMinute);
    EXPECT_EQ(MinutesSince(now), 90u);
}

TEST(PresentTime, MonthsOfAnAgeHave30DaysAndYears365)
{
    test::FakeClock clock;
    const uint64_t now = clock.NowFileTime();
    EXPECT_EQ(MinutesSince(now - 30 * kDay), 30u * 24 * 60) << "31 January";
    EXPECT_EQ(MinutesSince(now - 31 * kDay), 30u * 24 * 60) << "1 February";
    EXPECT_EQ(MinutesSince(now - 59 * kDay), 60u * 24 * 60) << "1 March";
    EXPECT_EQ(MinutesSince(now - 365 * kDay), 365u * 24 * 60);
    EXPECT_EQ(MinutesSince(now - 364 * kDay), (11u * 30 + 30) * 24 * 60) << "31 December";
}

TEST(PresentTime, ATimeThatLiesAheadHasNoAge)
{
    test::FakeClock clock;
    EXPECT_EQ(MinutesSince(clock.NowFileTime() + 1), 0u);
    EXPECT_EQ(MinutesSince(UINT64_MAX), 0u);
}

TEST(PresentTime, TheBeginningOfFileTimesIsCenturiesAgo)
{
    test::FakeClock clock;
    EXPECT_GT(MinutesSince(0), 420u * 365 * 24 * 60);
}

}  // namespace
}  // namespace velmora
