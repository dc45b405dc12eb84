// The machine's own zone, which only one side takes from TZ, with rules that make it summer or winter today.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "items/DateForms.h"
#include "items/HeaderTimes.h"
#include "items/MessageDate.h"
#include "items/PresentTime.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TimeZone.h"

namespace velmora {
namespace {

using test::UseZone;

// The rules of a zone whose daylight time begins and ends so many days from today.
std::string ChangesFromToday(int beginDays, int endDays)
{
    const std::time_t now = std::time(nullptr);
    std::tm today{};
    gmtime_r(&now, &today);
    const auto day = [&today](int days) { return std::to_string((today.tm_yday + days + 365) % 365 + 1); };
    return ",J" + day(beginDays) + ",J" + day(endDays);
}

std::string SummerToday(const std::string& zone) { return zone + ChangesFromToday(-20, 20); }
std::string WinterToday(const std::string& zone) { return zone + ChangesFromToday(20, 60); }

class PosixPresentTimes : public testing::Test {
protected:
    void TearDown() override { UseZone(nullptr); }
    static int32_t ZoneIn(const std::string& zone)
    {
        UseZone(zone.c_str());
        return CurrentZoneMinutes();
    }
};

TEST_F(PosixPresentTimes, TheZoneIsTheNumberOfItsOffset)
{
    EXPECT_EQ(ZoneIn("UTC0"), 0);
    EXPECT_EQ(ZoneIn("AEST-10"), 1000);
    EXPECT_EQ(ZoneIn("HST10"), -1000);
    EXPECT_EQ(ZoneIn("IST-5:30"), 530);
    EXPECT_EQ(ZoneIn("NST3:30"), -330);
    EXPECT_EQ(ZoneIn("AMT0:45"), -45);
}

TEST_F(PosixPresentTimes, DaylightTimeCountsWhileItHolds)
{
    EXPECT_EQ(ZoneIn(SummerToday("EST5EDT")), -400);
    EXPECT_EQ(ZoneIn(WinterToday("EST5EDT")), -500);
    EXPECT_EQ(ZoneIn(SummerToday("LHST-10:30LHDT-11")), 1100);
    EXPECT_EQ(ZoneIn(WinterToday("LHST-10:30LHDT-11")), 1030);
    EXPECT_EQ(ZoneIn(SummerToday("NST3:30NDT")), -230);
}

TEST_F(PosixPresentTimes, TheDateOfAMessageHasTheZone)
{
    UseZone("AMT0:45");
    EXPECT_EQ(FormatRfc822Now().substr(FormatRfc822Now().size() - 6), " -0045");
    UseZone("IST-5:30");
    EXPECT_EQ(FormatRfc822Now().substr(FormatRfc822Now().size() - 6), " +0530");
    UseZone(SummerToday("EST5EDT").c_str());
    EXPECT_EQ(FormatRfc822Now().substr(FormatRfc822Now().size() - 6), " -0400");
}

TEST_F(PosixPresentTimes, TheDateOfAMessageIsThatOfTheClock)
{
    test::FakeClock clock;
    const auto dateAt = [&clock](const char* zone, int64_t seconds) {
        UseZone(zone);
        clock.SetNow(UnixTimeToFileTime(seconds));
        return FormatRfc822Now();
    };
    constexpr char kEastern[] = "EST5EDT,M3.2.0,M11.1.0";
    EXPECT_EQ(dateAt("UTC0", 1297072800), "Mon, 7 Feb 2011 10:00:00 +0000");
    EXPECT_EQ(dateAt(kEastern, 1297072800), "Mon, 7 Feb 2011 05:00:00 -0500");
    EXPECT_EQ(dateAt(kEastern, 1310032800), "Thu, 7 Jul 2011 06:00:00 -0400");
    EXPECT_EQ(dateAt("AMT0:45", 1297072800), "Mon, 7 Feb 2011 09:15:00 -0045");
    EXPECT_EQ(dateAt("IST-5:30", 1325375999), "Sun, 1 Jan 2012 05:29:59 +0530");
    // The clocks go forward on 13 March 2011 at seven hours UTC, and back on 6 November at six.
    EXPECT_EQ(dateAt(kEastern, 1299999599), "Sun, 13 Mar 2011 01:59:59 -0500");
    EXPECT_EQ(dateAt(kEastern, 1299999600), "Sun, 13 Mar 2011 03:00:00 -0400");
    EXPECT_EQ(dateAt(kEastern, 1320559199), "Sun, 6 Nov 2011 01:59:59 -0400");
    EXPECT_EQ(dateAt(kEastern, 1320559200), "Sun, 6 Nov 2011 01:00:00 -0500");
}

TEST_F(PosixPresentTimes, TheDateOfAMessageIsTheSameMomentInEveryZone)
{
    for (const std::string& zone : {std::string("UTC0"), std::string("IST-5:30"), std::string("NST3:30"), std::string("LINT-14"),
                                    SummerToday("EST5EDT"), WinterToday("EST5EDT")}) {
        UseZone(zone.c_str());
        const int64_t before = std::time(nullptr);
        const std::string now = FormatRfc822Now();
        const int64_t after = std::time(nullptr);
        char moment[64];
        ASSERT_TRUE(ParseMessageDate(now + " ", moment, sizeof moment)) << now;
        const auto text = [](int64_t seconds) {
            const std::time_t time = seconds;
            std::tm parts{};
            gmtime_r(&time, &parts);
            char iso[64];
            std::strftime(iso, sizeof iso, "%Y-%m-%dT%H:%M:%S", &parts);
            return std::string(iso);
        };
        EXPECT_GE(moment, text(before)) << now << " in " << zone;
        EXPECT_LE(moment, text(after)) << now << " in " << zone;
    }
}

TEST_F(PosixPresentTimes, HeaderTimesAreUtcInSummerAndWinter)
{
    for (const std::string& zone : {SummerToday("EST5EDT"), WinterToday("EST5EDT"), SummerToday("LHST-10:30LHDT-11")}) {
        UseZone(zone.c_str());
        EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 2011"), 1297072800) << zone;
        EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Jul, 2011"), 1310032800) << zone;
    }
}

TEST_F(PosixPresentTimes, HeaderTimesAreUtcWhereTheZoneHadAnotherOffsetOnce)
{
    // Four hours ahead from 2011 to 2014, three before and since.
    UseZone("Europe/Moscow");
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 2012"), 1328608800);
}

TEST_F(PosixPresentTimes, AHeaderTimeThatTheCalendarDoesNotHoldHasThePresentOffset)
{
    UseZone("IST-5:30");
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 1950"), -1 + 330 * 60);
    UseZone(SummerToday("EST5EDT").c_str());
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 1950"), -1 - 240 * 60);
    UseZone(WinterToday("EST5EDT").c_str());
    EXPECT_EQ(ParseHeaderTimeToUnix("10:00 07 Feb, 1950"), -1 - 300 * 60);
}

}  // namespace
}  // namespace velmora
