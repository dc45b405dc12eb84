// The example zones against the system's own zone data.
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "items/TimeZones.h"
#include "tests/items/ZoneFixture.h"
#include "tests/support/TimeZone.h"

namespace velmora::test {
namespace {

struct ExampleZone {
    std::string systemName;  // "Europe/Berlin"
    std::string name;
};

// Each zone of the file stands below a comment that tells where it is from.
std::vector<ExampleZone> ExampleZones(const std::string& keyPrefix)
{
    std::vector<ExampleZone> zones;
    std::istringstream lines(ReadFileBytes(VELMORA_EXAMPLE_ZONES));
    std::string systemName;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("; ", 0) == 0) systemName = line.substr(2, line.find(':') - 2);
        if (line.rfind(keyPrefix, 0) == 0) zones.push_back({systemName, line.substr(keyPrefix.size(), line.size() - keyPrefix.size() - 1)});
    }
    return zones;
}

void ExpectSameRule(const SYSTEMTIME& rule, const SYSTEMTIME& expected, const std::string& name)
{
    EXPECT_EQ(rule.wYear, 0) << name;
    EXPECT_EQ(rule.wMonth, expected.wMonth) << name;
    EXPECT_EQ(rule.wDayOfWeek, expected.wDayOfWeek) << name;
    EXPECT_EQ(rule.wDay, expected.wDay) << name;
    EXPECT_EQ(rule.wHour, expected.wHour) << name;
    EXPECT_EQ(rule.wMinute, expected.wMinute) << name;
}

class PosixExampleZones : public ZoneFixture {
protected:
    void TearDown() override { UseZone(nullptr); }
};

TEST_F(PosixExampleZones, AreADozenAtLeastAndAllCanBeLoaded)
{
    const std::vector<ExampleZone> zones = ExampleZones(kZonesKey);
    EXPECT_GE(zones.size(), 12u);
    for (const ExampleZone& zone : zones) {
        TimeZoneRecord record;
        EXPECT_TRUE(LoadRegistryTimeZone(zone.name.c_str(), record)) << zone.name;
    }
}

TEST_F(PosixExampleZones, HaveTheRulesOfTheSystemsZoneData)
{
    int compared = 0;
    for (const ExampleZone& zone : ExampleZones(kZonesKey)) {
        if (!FileExists("/usr/share/zoneinfo/" + zone.systemName)) continue;
        ++compared;
        TimeZoneRecord record;
        ASSERT_TRUE(LoadRegistryTimeZone(zone.name.c_str(), record)) << zone.name;
        UseZone(zone.systemName.c_str());
        TIME_ZONE_INFORMATION system;
        GetTimeZoneInformation(&system);
        EXPECT_EQ(record.Bias, system.Bias) << zone.name;
        EXPECT_EQ(record.StandardBias, system.StandardBias) << zone.name;
        EXPECT_EQ(record.DaylightBias, system.DaylightBias) << zone.name;
        ExpectSameRule(record.StandardDate, system.StandardDate, zone.name);
        ExpectSameRule(record.DaylightDate, system.DaylightDate, zone.name);
    }
    if (compared == 0) GTEST_SKIP() << "no zone data here";
}

}  // namespace
}  // namespace velmora::test
