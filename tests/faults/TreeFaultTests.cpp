// Every file operation and every allocation of what is done to folders fails, once and from then on.
#include <gtest/gtest.h>

#include <iostream>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "tests/faults/FaultSeam.h"
#include "tests/faults/TreeOracle.h"
#include "tests/faults/TreeScenario.h"
#include "tests/support/Wine.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {

void PrintTo(const TreeScenario* scenario, std::ostream* out) { *out << scenario->name; }

namespace {

using platform::FileOperation;

constexpr uint32_t kEndless = 20000;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSlow = true;
#else
constexpr bool kSlow = false;
#endif

std::vector<const TreeScenario*> AllTreeScenarios()
{
    std::vector<const TreeScenario*> all;
    for (const TreeScenario& scenario : TreeScenarios()) all.push_back(&scenario);
    return all;
}

class TreeFault : public testing::TestWithParam<std::tuple<const TreeScenario*, FaultKind>> {};

// What such a change has made by then, parents or a part of a copy, no flag tells of.
bool BrokeOff(const TreeScenario& scenario, const TreeAnswer& answer)
{
    return answer.result == 0 && (scenario.change == TreeChange::Move || scenario.change == TreeChange::Copy);
}

TreeLicence LicenceOf(const FaultSeam& seam, const TreeScenario& scenario, const TreeAnswer& answer)
{
    TreeLicence licence;
    const bool flagHit = seam.HitAny(FileOperation::Open, "_folder.dty") || seam.HitAny(FileOperation::Write, "_folder.dty");
    licence.oldLists = flagHit || BrokeOff(scenario, answer);
    licence.unlisted = seam.HitAny(FileOperation::Open, "_CHANGE.DTY");
    licence.block = seam.HitAny(FileOperation::Delete, "_index.blk");
    licence.leftovers = seam.HitAny(FileOperation::Delete, ".tmp");
    return licence;
}

// The number of faults that were met.
uint32_t RunAll(TreeOracle& oracle, const TreeScenario& scenario, FaultKind kind, FaultSpan span, uint32_t sixteenths)
{
    const uint32_t step = RunsUnderWine() ? 3 : 1;
    for (uint32_t nth = 1; nth < kEndless; nth += step) {
        oracle.Restore();
        TreeAnswer answer;
        TreeLicence licence;
        std::string what;
        uint32_t hits = 0;
        {
            const FaultSeam seam(kind, nth, span, sixteenths);
            answer = oracle.Act();
            hits = seam.Hits();
            what = seam.Describe();
            licence = LicenceOf(seam, scenario, answer);
        }
        if (hits == 0) {
            oracle.JudgeUndisturbed(answer, what);
            return nth - 1;
        }
        oracle.Judge(answer, licence, what);
    }
    ADD_FAILURE() << "the scenario does not come to its end";
    return 0;
}

TEST_P(TreeFault, LosesNothingAndTellsNothingFalse)
{
    const auto& [scenario, kind] = GetParam();
    TreeOracle oracle(*scenario);
    for (const FaultSpan span : {FaultSpan::Once, FaultSpan::Onwards}) {
        uint32_t faults = 0;
        const std::vector<uint32_t> cuts = kind == FaultKind::ShortWrite ? std::vector<uint32_t>{0, 8, 15} : std::vector<uint32_t>{0};
        for (const uint32_t sixteenths : cuts) faults += RunAll(oracle, *scenario, kind, span, sixteenths);
        std::cout << scenario->name << ", " << NameOf(kind) << ", " << NameOf(span) << ": " << faults << " faults, " << oracle.Used()
                  << "\n";
        EXPECT_GE(faults, kind == FaultKind::IoError ? scenario->operations : 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Folders, TreeFault,
                         testing::Combine(testing::ValuesIn(AllTreeScenarios()),
                                          testing::Values(FaultKind::NoSpace, FaultKind::IoError, FaultKind::AccessDenied,
                                                          FaultKind::SharingViolation, FaultKind::ShortWrite)),
                         [](const auto& each) { return std::string(std::get<0>(each.param)->name) + NameOf(std::get<1>(each.param)); });

class TreeMemoryFault : public testing::TestWithParam<const TreeScenario*> {};

TEST_P(TreeMemoryFault, LosesNothingAndTellsNothingFalse)
{
    const TreeScenario& scenario = *GetParam();
    TreeOracle oracle(scenario);
    const uint32_t step = VELMORA_TEST_LEAN ? 7 : kSlow || RunsUnderWine() ? 3 : 1;
    for (const FaultSpan span : {FaultSpan::Once, FaultSpan::Onwards}) {
        uint32_t nth = 1;
        for (; nth < kEndless; nth += step) {
            oracle.Restore();
            TreeAnswer answer;
            uint32_t hits = 0;
            {
                const AllocationFault fault(nth, span);
                answer = oracle.Act();
                hits = AllocationFault::Hits();
            }
            const std::string what = "no memory at allocation " + std::to_string(nth) + " (" + NameOf(span) + ")";
            if (hits == 0) {
                oracle.JudgeUndisturbed(answer, what);
                break;
            }
            TreeLicence licence;
            licence.oldLists = BrokeOff(scenario, answer);
            oracle.Judge(answer, licence, what);
        }
        EXPECT_LT(nth, kEndless) << "the scenario does not come to its end";
        EXPECT_GE(nth, scenario.allocations);
        std::cout << scenario.name << ", no memory, " << NameOf(span) << ": " << nth - 1 << " allocations, " << oracle.Used() << "\n";
    }
}

INSTANTIATE_TEST_SUITE_P(Folders, TreeMemoryFault, testing::ValuesIn(AllTreeScenarios()),
                         [](const auto& each) { return std::string(each.param->name); });

}  // namespace
}  // namespace velmora::test
