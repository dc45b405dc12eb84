// Every file operation of every scenario fails in every way, once and from then on.
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <tuple>

#include "tests/faults/FaultSeam.h"
#include "tests/faults/Oracle.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

constexpr uint32_t kEndless = 2000;

struct FaultCase {
    const Scenario* scenario;
    FaultKind kind;
};

void PrintTo(const FaultCase& each, std::ostream* out) { *out << each.scenario->name << ", " << NameOf(each.kind); }

class FileFault : public testing::TestWithParam<FaultCase> {};

Licence LicenceOf(const FaultSeam& seam, FaultKind kind, const Scenario& scenario)
{
    const bool tears = kind == FaultKind::ShortWrite || !scenario.savesInPlace;
    return Licence()
        .AllowTornIndex(tears && (seam.HitAny(FileOperation::Write) || seam.HitAny(FileOperation::Resize)))
        .Allow(Quirk::FlagGone, seam.HitAny(FileOperation::Open, "_CHANGE.DTY"))
        .Allow(Quirk::BlockStays, seam.HitAny(FileOperation::Delete, "_index.blk"))
        .Allow(Quirk::MessageUnderCopy, seam.HitAny(FileOperation::Move) && seam.HitAny(FileOperation::Copy));
}

// The number of faults that were met.
uint32_t RunAll(Oracle& oracle, const Scenario& scenario, FaultKind kind, FaultSpan span, uint32_t sixteenths)
{
    for (uint32_t nth = 1; nth < kEndless; ++nth) {
        oracle.Restore();
        Report report;
        std::string what;
        Licence licence;
        uint32_t hits = 0;
        {
            FaultSeam seam(kind, nth, span, sixteenths);
            report = oracle.Act();
            hits = seam.Hits();
            what = seam.Describe();
            licence = LicenceOf(seam, kind, scenario);
        }
        oracle.Judge(report, licence, what);
        if (hits == 0) return nth - 1;
    }
    ADD_FAILURE() << "the scenario does not come to its end";
    return 0;
}

std::vector<uint32_t> CutsOf(FaultKind kind)
{
    if (kind != FaultKind::ShortWrite) return {0};
    return {0, 3, 8, 13};
}

uint32_t FloorOf(const Scenario& scenario, FaultKind kind)
{
    if (kind == FaultKind::ShortWrite) return scenario.writes;
    return kind == FaultKind::IoError ? scenario.operations : scenario.writes + 2;
}

// Each kind of error meets every operation that it can happen to; what a backup changes, the most general kind and the one
// that tears files tell.
bool RunsWith(FaultKind kind, bool backup, bool backupOnly)
{
    if (backupOnly || kind == FaultKind::IoError || kind == FaultKind::ShortWrite) return true;
    return backup == (kind == FaultKind::SharingViolation);
}

TEST_P(FileFault, LosesNothing)
{
    const auto& [scenario, kind] = GetParam();
    for (const bool backup : {false, true}) {
        if ((scenario->backupOnly && !backup) || !RunsWith(kind, backup, scenario->backupOnly)) continue;
        SCOPED_TRACE(backup ? "with backups" : "without backups");
        Oracle oracle(*scenario, backup);
        for (const FaultSpan span : {FaultSpan::Once, FaultSpan::Onwards}) {
            uint32_t faults = 0;
            for (const uint32_t sixteenths : CutsOf(kind)) faults += RunAll(oracle, *scenario, kind, span, sixteenths);
            std::cout << scenario->name << (backup ? ", with backups, " : ", ") << NameOf(kind) << ", " << NameOf(span) << ": " << faults
                      << " faults, " << oracle.QuirksSeen() << "\n";
            EXPECT_GE(faults, FloorOf(*scenario, kind));
        }
    }
}

std::vector<FaultCase> AllCases()
{
    std::vector<FaultCase> cases;
    for (const Scenario& scenario : Scenarios())
        for (const FaultKind kind :
             {FaultKind::NoSpace, FaultKind::IoError, FaultKind::AccessDenied, FaultKind::SharingViolation, FaultKind::ShortWrite})
            cases.push_back({&scenario, kind});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FileFault, testing::ValuesIn(AllCases()),
                         [](const auto& each) { return std::string(each.param.scenario->name) + NameOf(each.param.kind); });

}  // namespace
}  // namespace velmora::test
