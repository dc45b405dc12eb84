// Every allocation of every scenario fails, once and from then on.
#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "tests/faults/Allocations.h"
#include "tests/faults/Oracle.h"

namespace velmora::test {
namespace {

constexpr uint32_t kEndless = 20000;

struct MemoryCase {
    const Scenario* scenario;
    FaultSpan span;
};

void PrintTo(const MemoryCase& each, std::ostream* out) { *out << each.scenario->name << ", " << NameOf(each.span); }

class MemoryFault : public testing::TestWithParam<MemoryCase> {};

TEST_P(MemoryFault, LosesNothing)
{
    const auto& [scenario, span] = GetParam();
    Oracle oracle(*scenario, scenario->backupOnly);
    uint32_t nth = 1;
    for (; nth < kEndless; ++nth) {
        oracle.Restore();
        Report report;
        uint32_t hits = 0;
        {
            const AllocationFault fault(nth, span);
            report = oracle.Act();
            hits = AllocationFault::Hits();
        }
        // The mark of a dirty folder needs memory, too.
        const Licence licence = Licence().Allow(Quirk::FlagGone, span == FaultSpan::Onwards);
        oracle.Judge(report, licence, "Memory at allocation " + std::to_string(nth) + " (" + NameOf(span) + ")");
        if (hits == 0) break;
    }
    ASSERT_LT(nth, kEndless) << "the scenario does not come to its end";
    std::cout << scenario->name << ", no memory, " << NameOf(span) << ": " << nth - 1 << " faults, " << oracle.QuirksSeen() << "\n";
    EXPECT_GE(nth - 1, scenario->allocations);
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
