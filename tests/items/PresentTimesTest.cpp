#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "items/CalendarArithmetic.h"
#include "items/DateForms.h"
#include "items/MessageDate.h"
#include "items/PresentTime.h"
#include "platform/Clock.h"
#include "tests/support/FakeClock.h"

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

TEST(PresentTime, TheDateOfAMessageIsOneThatCanBeReadBack)
{
    const uint64_t before = platform::NowFileTime();
    const std::string now = FormatRfc822Now();
    const uint64_t after = platform::NowFileTime();
    char moment[64];
    ASSERT_TRUE(ParseMessageDate(now, moment, sizeof moment)) << now;
    EXPECT_GE(moment, IsoOf(before)) << now;
    EXPECT_LE(moment, IsoOf(after)) << now;
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
    const int32_t zone = CurrentZoneMinutes();
    const std::string now = FormatRfc822Now();
    EXPECT_EQ(std::stoi(now.substr(now.size() - 5)), zone) << now;
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
