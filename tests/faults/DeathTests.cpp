// The process stops dead at every change that a scenario makes to the disk, in front of it or in the middle of it.
#include <gtest/gtest.h>

#include <iostream>
#include <optional>
#include <string>

#include "tests/faults/Death.h"
#include "tests/faults/Oracle.h"

namespace velmora::test {
namespace {

constexpr uint32_t kEndless = 500;

struct DeathCase {
    const Scenario* scenario;
};

void PrintTo(const DeathCase& each, std::ostream* out) { *out << each.scenario->name; }

class ProcessDeath : public testing::TestWithParam<DeathCase> {};

// The number of deaths.
uint32_t RunAll(Oracle& oracle, const Scenario& scenario, FaultKind kind, uint32_t sixteenths)
{
    for (uint32_t nth = 1; nth < kEndless; ++nth) {
        oracle.Restore();
        const std::optional<std::string> place = DieAt(scenario, oracle.Folder(), kind, nth, sixteenths);
        if (!place) return nth - 1;
        // Where it died at another file, the index is whole: as it was, or as it is now.
        const bool torn = IsPathOf(*place, "_index.xml") && (kind == FaultKind::TornDeath || oracle.IndexIsDamaged());
        const Licence licence = Licence()
                                    .AllowTornIndex(torn || scenario.beginsTorn)
                                    .Allow(Quirk::DamageStays, torn || scenario.beginsTorn)
                                    .Allow(Quirk::FlagGone, oracle.BeginsUnlisted())
                                    .Allow(Quirk::TornCounts, kind == FaultKind::TornDeath && IsPathOf(*place, "_FOLDER.DAT"))
                                    .Allow(Quirk::BlockStays)
                                    .Allow(Quirk::MessageUnderCopy, scenario.branding);
        oracle.JudgeOther(licence, std::string(NameOf(kind)) + " at operation " + std::to_string(nth) + " (" + std::to_string(sixteenths) +
                                       "), at \"" + *place + "\"");
    }
    ADD_FAILURE() << "the scenario does not come to its end";
    return 0;
}

TEST_P(ProcessDeath, LosesNothing)
{
    const Scenario& scenario = *GetParam().scenario;
    for (const bool backup : {false, true}) {
        if (backup ? scenario.documents : scenario.backupOnly) continue;
        SCOPED_TRACE(backup ? "with backups" : "without backups");
        Oracle oracle(scenario, backup);
        uint32_t deaths = RunAll(oracle, scenario, FaultKind::Death, 0);
        for (const uint32_t sixteenths : {3u, 13u}) deaths += RunAll(oracle, scenario, FaultKind::TornDeath, sixteenths);
        std::cout << scenario.name << (backup ? ", with backups: " : ": ") << deaths << " deaths, " << oracle.QuirksSeen() << "\n";
        EXPECT_GE(deaths, scenario.deaths);
    }
}

std::vector<DeathCase> AllScenarios()
{
    std::vector<DeathCase> all;
    for (const Scenario& scenario : Scenarios()) all.push_back({&scenario});
    return all;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ProcessDeath, testing::ValuesIn(AllScenarios()),
                         [](const auto& each) { return std::string(each.param.scenario->name); });

}  // namespace
}  // namespace velmora::test
