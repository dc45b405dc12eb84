// Every allocation of every scenario fails, once and from then on.
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <string_view>

#include "tests/faults/Allocations.h"
#include "tests/faults/Death.h"
#include "tests/faults/Oracle.h"
#include "tests/support/Wine.h"

namespace velmora::test {
namespace {

constexpr uint32_t kEndless = 20000;
constexpr uint32_t kNewProcessEvery = 32;  // and at the end of each series

struct MemoryCase {
    const Scenario* scenario;
    FaultSpan span;
};

void PrintTo(const MemoryCase& each, std::ostream* out) { *out << each.scenario->name << ", " << NameOf(each.span); }

class MemoryFault : public testing::TestWithParam<MemoryCase> {};

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
    return slow && scenario.savesInPlace && std::string_view(scenario.name) != "ChangeMiddle" ? 3 : 1;
}

// The number of allocations that could fail.
uint32_t RunAll(const Scenario& scenario, FaultSpan span, bool backup)
{
    Oracle oracle(scenario, backup);
    const uint32_t step = StepOf(scenario, backup);
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
        // The mark of a dirty folder needs memory, too.
        const Licence licence = Licence()
                                    .Allow(Quirk::FlagGone, span == FaultSpan::Onwards)
                                    .AllowTornIndex(scenario.beginsTorn)
                                    .Allow(Quirk::DamageStays, scenario.beginsTorn);
        if (hits == 0 || (nth % kNewProcessEvery == 0 && !RunsUnderWine())) oracle.AskANewProcess();
        oracle.Judge(report, licence, "Memory at allocation " + std::to_string(nth) + " (" + NameOf(span) + ")");
        if (hits == 0) break;
    }
    EXPECT_LT(nth, kEndless) << "the scenario does not come to its end";
    std::cout << scenario.name << (backup ? ", with backups" : "") << ", no memory, " << NameOf(span) << ": " << nth - 1 << " allocations, "
              << oracle.QuirksSeen() << "\n";
    return nth - 1;
}

TEST_P(MemoryFault, LosesNothing)
{
    const auto& [scenario, span] = GetParam();
    for (const bool backup : {false, true}) {
        if (scenario->backupOnly && !backup) continue;
        SCOPED_TRACE(backup ? "with backups" : "without backups");
        EXPECT_GE(RunAll(*scenario, span, backup), scenario->allocations);
    }
}

// A process of its own for each costs too much to meet all of them on Wine and under a sanitizer.
TEST(ColdMemoryFault, AFirstUseLosesNothing)
{
    for (const char* const name : {"Rescan", "ChangeMiddle"}) {
        const Scenario& scenario = *FindScenario(name);
        Oracle oracle(scenario, false);
        const uint32_t step = kSlow || RunsUnderWine() ? 17 : 3;
        uint32_t nth = 1;
        for (; nth < kEndless; nth += step) {
            oracle.Restore();
            const bool met = FailColdAt(scenario, oracle.Folder(), nth);
            oracle.JudgeOther(Licence(), "a new process without memory at allocation " + std::to_string(nth));
            if (!met) break;
        }
        std::cout << name << ", new processes: " << nth - 1 << " allocations, " << oracle.QuirksSeen() << "\n";
        EXPECT_GE(nth, scenario.allocations);
    }
}

std::vector<MemoryCase> AllCases()
{
    std::vector<MemoryCase> cases;
    for (const Scenario& scenario : Scenarios())
        for (const FaultSpan span : {FaultSpan::Once, FaultSpan::Onwards}) cases.push_back({&scenario, span});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, MemoryFault, testing::ValuesIn(AllCases()),
                         [](const auto& each) { return std::string(each.param.scenario->name) + NameOf(each.param.span); });

}  // namespace
}  // namespace velmora::test
