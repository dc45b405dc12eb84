// What is made of the system's answers about its zone, which the tests give here, and how often the options module is loaded.
#include <cstring>
#include <string>

#include "items/HeaderTimes.h"
#include "items/PresentTime.h"
#include "items/TimeZones.h"
#include "tests/items/ZoneFixture.h"

namespace {

struct ZoneAnswer {
    DWORD season = TIME_ZONE_ID_UNKNOWN;
    TIME_ZONE_INFORMATION zone = {};
};

const ZoneAnswer* given = nullptr;  // the system's own where there is none
int optionsLoads = 0;

}  // namespace

// The linker hands these two calls of the items over (tests/CMakeLists.txt names them, by the names that the compiler makes).
extern "C" {

DWORD __real__Z22GetTimeZoneInformationP21TIME_ZONE_INFORMATION(TIME_ZONE_INFORMATION* zone);
DWORD __wrap__Z22GetTimeZoneInformationP21TIME_ZONE_INFORMATION(TIME_ZONE_INFORMATION* zone)
{
    if (!given) return __real__Z22GetTimeZoneInformationP21TIME_ZONE_INFORMATION(zone);
    *zone = given->zone;
    return given->season;
}

HMODULE __real__Z12LoadLibraryAPKc(LPCSTR path);
HMODULE __wrap__Z12LoadLibraryAPKc(LPCSTR path)
{
    if (std::strstr(path, "VLAISO.DLL")) ++optionsLoads;
    return __real__Z12LoadLibraryAPKc(path);
}

}  // extern "C"

namespace velmora::test {
namespace {

// Five hours behind UTC; half an hour more in standard time, and an hour less in daylight time.
class PosixZoneAnswers : public testing::Test {
protected:
    PosixZoneAnswers()
    {
        answer_.zone.Bias = 300;
        answer_.zone.StandardBias = 30;
        answer_.zone.DaylightBias = -60;
        given = &answer_;
    }
    ~PosixZoneAnswers() override { given = nullptr; }

    int32_t ZoneIn(DWORD season)
    {
        answer_.season = season;
        return CurrentZoneMinutes();
    }
    int32_t SecondsIn(DWORD season, const char* text)
    {
        answer_.season = season;
        return ParseHeaderTimeToUnix(text);
    }

private:
    ZoneAnswer answer_;
};

TEST_F(PosixZoneAnswers, TheZoneHasTheBiasOfItsSeason)
{
    EXPECT_EQ(ZoneIn(TIME_ZONE_ID_STANDARD), -530);
    EXPECT_EQ(ZoneIn(TIME_ZONE_ID_DAYLIGHT), -400);
    EXPECT_EQ(ZoneIn(TIME_ZONE_ID_UNKNOWN), -500) << "a zone without seasons has neither";
}

TEST_F(PosixZoneAnswers, AZoneThatIsNotKnownIsZero) { EXPECT_EQ(ZoneIn(TIME_ZONE_ID_INVALID), 0); }

TEST_F(PosixZoneAnswers, AHeaderTimeIsUtcInEverySeason)
{
    for (const DWORD season : {TIME_ZONE_ID_UNKNOWN, TIME_ZONE_ID_STANDARD, TIME_ZONE_ID_DAYLIGHT}) {
        EXPECT_EQ(SecondsIn(season, "10:00 07 Feb, 2011"), 1297072800) << season;
        EXPECT_EQ(SecondsIn(season, "10:00 07 Jul, 2011"), 1310032800) << season;
    }
}

TEST_F(PosixZoneAnswers, AHeaderTimeIsZeroWhereTheZoneIsNotKnown)
{
    EXPECT_EQ(SecondsIn(TIME_ZONE_ID_INVALID, "10:00 07 Feb, 2011"), 0);
    EXPECT_EQ(SecondsIn(TIME_ZONE_ID_INVALID, "10:00 07 Feb, 1950"), 0);
}

TEST_F(PosixZoneAnswers, AHeaderTimeThatTheCalendarDoesNotHoldHasTheBiasWithoutThatOfStandardTime)
{
    EXPECT_EQ(SecondsIn(TIME_ZONE_ID_UNKNOWN, "10:00 07 Feb, 1950"), -1 - 300 * 60);
    EXPECT_EQ(SecondsIn(TIME_ZONE_ID_STANDARD, "10:00 07 Feb, 1950"), -1 - 300 * 60);
    EXPECT_EQ(SecondsIn(TIME_ZONE_ID_DAYLIGHT, "10:00 07 Feb, 1950"), -1 - 240 * 60);
}

class PosixOptionsLoads : public ZoneFixture {};

TEST_F(PosixOptionsLoads, TheOptionsModuleIsLoadedOnce)
{
    UseModules("sized");
    optionsLoads = 0;
    CalendarZone zone;
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(LoadMailboxTimeZone("po", "berlin", zone));
        EXPECT_FALSE(LoadMailboxTimeZone("po", "stranger", zone));
    }
    EXPECT_EQ(optionsLoads, 1);
}

TEST_F(PosixOptionsLoads, AMissingModuleIsLookedForAgain)
{
    UseModules("nothing");
    optionsLoads = 0;
    CalendarZone zone;
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(LoadMailboxTimeZone("po", "berlin", zone));
    EXPECT_EQ(optionsLoads, 3);
    UseModules("sized");
    EXPECT_TRUE(LoadMailboxTimeZone("po", "berlin", zone));
}

}  // namespace
}  // namespace velmora::test
