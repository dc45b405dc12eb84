// Every file operation of every scenario fails in every way, once, for a while and from then on.
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <tuple>

#include "tests/faults/FaultSeam.h"
#include "tests/faults/Oracle.h"
#include "tests/faults/ScenarioCases.h"
#include "tests/support/Wine.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

constexpr uint32_t kEndless = 2000;
constexpr uint32_t kNewProcessEvery = 16;  // and at the end of each series

class FileFault : public testing::TestWithParam<ScenarioCase<FaultKind>> {};

Licence LicenceOf(const FaultSeam& seam, FaultKind kind, const Scenario& scenario)
{
    const bool tears = kind == FaultKind::ShortWrite || !scenario.savesInPlace;
    const bool indexHit = seam.HitAny(FileOperation::Write, "_index.xml") || seam.HitAny(FileOperation::Resize, "_index.xml");
    const bool indexReadHit = seam.HitAny(FileOperation::Open, "_index.xml") || seam.HitAny(FileOperation::Read, "_index.xml");
    const bool countsOpenHit = seam.HitAny(FileOperation::Open, "_FOLDER.DAT");
    const bool countsHit =
        countsOpenHit || seam.HitAny(FileOperation::Read, "_FOLDER.DAT") || seam.HitAny(FileOperation::Write, "_FOLDER.DAT");
    const bool markHit = seam.HitAny(FileOperation::Open, "_CHANGE.DTY");
    return Licence()
        .AllowTornIndex((tears && indexHit) || scenario.beginsTorn)
        .Allow(Quirk::FlagGone, markHit)
        // A save that fails asks for the mending itself.
        .Allow(Quirk::DamageStays, (tears && indexHit && markHit) || scenario.beginsTorn)
        // Whoever keeps them under the block marks the folder, and so does whoever has written a part of them.
        .Allow(Quirk::OldCounts, (markHit && (countsHit || indexReadHit)) || (countsOpenHit && !scenario.countsUnderBlock))
        .Allow(Quirk::SizeGone, seam.HitAny(FileOperation::Delete, "_DIRSIZE.TMP"))
        .Allow(Quirk::BlockStays, seam.HitAny(FileOperation::Delete, "_index.blk"))
        .Allow(Quirk::MessageUnderCopy, seam.HitAny(FileOperation::Move) && seam.HitAny(FileOperation::Copy));
}

// Which operations fail: in the small dose every third one, and others for each kind. Of the index alone, and of writes, there
// are few.
struct Places {
    uint32_t first = 1;
    uint32_t step = 1;
};
Places PlacesOf(FaultKind kind)
{
    if (!VELMORA_TEST_LEAN || kind == FaultKind::ShortWrite || kind == FaultKind::IndexHeld) return {};
    return {1 + static_cast<uint32_t>(kind) % 3, 3};
}

// The number of faults that could be met.
uint32_t RunAll(Oracle& oracle, const Scenario& scenario, FaultKind kind, FaultSpan span, uint32_t sixteenths)
{
    const Places places = PlacesOf(kind);
    for (uint32_t nth = places.first; nth < kEndless; nth += places.step) {
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
        if (hits == 0 || (nth % kNewProcessEvery == 0 && !RunsUnderWine())) oracle.AskANewProcess();
        if (hits == 0) {
            oracle.JudgeUndisturbed(report, what);
            return nth - 1;
        }
        oracle.Judge(report, licence, what);
    }
    ADD_FAILURE() << "the scenario does not come to its end";
    return 0;
}

std::vector<uint32_t> CutsOf(FaultKind kind)
{
    if (kind != FaultKind::ShortWrite) return {0};
    if (VELMORA_TEST_LEAN) return {0, 8};
    return {0, 3, 8, 13};
}

uint32_t FloorOf(const Scenario& scenario, FaultKind kind)
{
    if (kind == FaultKind::ShortWrite) return scenario.writes;
    if (kind == FaultKind::IndexHeld) return 1;
    return kind == FaultKind::IoError ? scenario.operations : scenario.writes + 2;
}

// What lasts for a while, other than once or for good, is another program that has the file, or a disk that answers again.
std::vector<FaultSpan> SpansOf(FaultKind kind)
{
    const bool lasts = kind == FaultKind::IoError || kind == FaultKind::IndexHeld;
    if (lasts && VELMORA_TEST_LEAN) return {FaultSpan::Once, FaultSpan::Three, FaultSpan::Onwards};
    if (lasts) return {FaultSpan::Once, FaultSpan::Two, FaultSpan::Three, FaultSpan::Five, FaultSpan::Onwards};
    return {FaultSpan::Once, FaultSpan::Onwards};
}

TEST_P(FileFault, LosesNothing)
{
    const auto& [scenario, kind] = GetParam();
    for (const bool backup : {false, true}) {
        if (backup ? scenario->documents : scenario->backupOnly) continue;
        SCOPED_TRACE(backup ? "with backups" : "without backups");
        Oracle oracle(*scenario, backup);
        for (const FaultSpan span : SpansOf(kind)) {
            uint32_t faults = 0;
            for (const uint32_t sixteenths : CutsOf(kind)) faults += RunAll(oracle, *scenario, kind, span, sixteenths);
            std::cout << scenario->name << (backup ? ", with backups, " : ", ") << NameOf(kind) << ", " << NameOf(span) << ": " << faults
                      << " faults, " << oracle.QuirksSeen() << "\n";
            EXPECT_GE(faults, FloorOf(*scenario, kind));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FileFault,
                         testing::ValuesIn(AllScenariosIn({FaultKind::NoSpace, FaultKind::IoError, FaultKind::AccessDenied,
                                                           FaultKind::SharingViolation, FaultKind::ShortWrite, FaultKind::IndexHeld})),
                         NameOfCase<FaultKind>);

}  // namespace
}  // namespace velmora::test
