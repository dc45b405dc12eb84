// Every allocation of every scenario fails, once and from then on.
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <string_view>

#include "tests/faults/Death.h"
#include "tests/faults/Oracle.h"
#include "tests/faults/ScenarioCases.h"
#include "tests/support/Wine.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

constexpr uint32_t kEndless = 20000;
constexpr uint32_t kNewProcessEvery = 32;  // and at the end of each series

class MemoryFault : public testing::TestWithParam<ScenarioCase<FaultSpan>> {};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSlow = true;
#else
constexpr bool kSlow = false;
#endif

// What stands behind the settings and the names is alike in all scenarios that change one item, and a backup adds little to it.
uint32_t StepOf(const Scenario& scenario, bool backup)
{
    const bool slow = kSlow || RunsUnderWine();
    if (backup && !scenario.backupOnly) return slow ? 7 : 3;
    if (std::string_view(scenario.name) == "ChangeMiddle") return 1;
    return slow && (scenario.savesInPlace || VELMORA_TEST_LEAN) ? 3 : 1;
}

// The number of allocations that could fail.
uint32_t RunAll(const Scenario& scenario, FaultSpan span, bool backup)
{
    Oracle oracle(scenario, backup);
    const uint32_t step = StepOf(scenario, backup);
    const uint32_t unmarked = span == FaultSpan::Onwards ? scenario.unmarked : 0;
    uint32_t nth = 1;
    for (; nth < kEndless; nth += step) {
        oracle.Restore();
        Report report;
        uint32_t hits = 0;
        {
            const AllocationFault fault(nth, span);
            report = oracle.Act();
            hits = AllocationFault::Hits();
        }
        const std::string what = "Memory at allocation " + std::to_string(nth) + " (" + NameOf(span) + ")";
        if (hits == 0 || (nth % kNewProcessEvery == 0 && !RunsUnderWine())) oracle.AskANewProcess();
        if (hits == 0) {
            oracle.JudgeUndisturbed(report, what);
            break;
        }
        // What answers for the mark of a dirty folder says that it has failed.
        const Licence licence = Licence()
                                    .Allow(Quirk::FlagGone, unmarked > 0 && report.saved != Saved::OrMarked)
                                    .Allow(Quirk::OldCounts)
                                    .AllowTornIndex(scenario.beginsTorn)
                                    .Allow(Quirk::DamageStays, scenario.beginsTorn);
        oracle.Judge(report, licence, what);
    }
    EXPECT_LE(oracle.Runs(Quirk::FlagGone), unmarked) << "failures leave a due scan without its flag";
    EXPECT_LT(nth, kEndless) << "the scenario does not come to its end";
    std::cout << scenario.name << (backup ? ", with backups" : "") << ", no memory, " << NameOf(span) << ": " << nth - 1 << " allocations, "
              << oracle.QuirksSeen() << "\n";
    return nth - 1;
}

TEST_P(MemoryFault, LosesNothing)
{
    const auto& [scenario, span] = GetParam();
    for (const bool backup : {false, true}) {
        if (backup ? scenario->documents : scenario->backupOnly) continue;
        SCOPED_TRACE(backup ? "with backups" : "without backups");
        EXPECT_GE(RunAll(*scenario, span, backup), scenario->allocations);
    }
}

// A process of its own for each costs too much to meet all of them on Wine and under a sanitizer.
TEST(ColdMemoryFault, AFirstUseLosesNothing)
{
    for (const char* const name : {"Rescan", "ChangeMiddle", "DirectInsert"}) {
        const Scenario& scenario = *FindScenario(name);
        Oracle oracle(scenario, false);
        const uint32_t step = kSlow || RunsUnderWine() ? 17 : 3;
        uint32_t nth = 1;
        for (; nth < kEndless; nth += step) {
            oracle.Restore();
            const ColdRun run = FailColdAt(scenario, oracle.Folder(), nth);
            oracle.JudgeOther(Licence(), "a new process without memory at allocation " + std::to_string(nth), run.scanned);
            if (!run.met) break;
        }
        std::cout << name << ", new processes: " << nth - 1 << " allocations, " << oracle.QuirksSeen() << "\n";
        EXPECT_GE(nth, scenario.allocations);
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, MemoryFault, testing::ValuesIn(AllScenariosIn({FaultSpan::Once, FaultSpan::Onwards})),
                         NameOfCase<FaultSpan>);

}  // namespace
}  // namespace velmora::test
