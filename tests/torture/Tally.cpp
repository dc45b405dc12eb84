#include "tests/torture/Tally.h"

#include <algorithm>

#include "tests/torture/TreeHand.h"

namespace velmora::torture {

namespace {

// Far below what a slow machine does that has other work as well: as often as this in a second, and of what was tried
// often enough to tell, this part.
struct Floor {
    const char* what;
    double aSecond;
    double part;
    bool onlyWithUpdates = false;
    bool ofTrees = false;
};
constexpr Floor kFloors[] = {
    {"open", 1, 0.25},
    {"save", 0.5, 0.25},
    {"rescan", 0.05, 0.1},
    {"transaction", 0.1, 0.1},
    {"block", 0.03, 0.1},
    {"drop", 0.5, 0.5},
    {"removal", 0.1, 0.2},
    {"insert", 0.3, 0.1},
    {"insert-written", 0.3, 0.5},
    {"remove", 0.05, 0.1},
    {"remove-written", 0.05, 0.5},
    {"update", 0.2, 0.1, true},
    {"update-written", 0.2, 0.5, true},
    {kAdd, 1, 0.1, false, true},
    {kRename, 0.5, 0.05, false, true},
    {kCopy, 0.2, 0.05, false, true},
    {kRemove, 0.5, 0.2, false, true},
    {kList, 1, 0.05, false, true},
    {kReindex, 0.05, 0.2, false, true},
    {kSize, 0.1, 0.5, false, true},
    {"open", 0.2, 0.1, false, true},
    {"deliver", 0.2, 0.1, false, true},
};
constexpr uint64_t kOftenEnough = 20;
}  // namespace

void Tally::Take(const std::vector<Record>& records)
{
    for (const Record& record : records) {
        const bool isDrop = record.deed == Deed::DropBegin || record.deed == Deed::DropEnd;
        if (!isDrop && record.deed != Deed::RemoveEnd && record.deed != Deed::Told) continue;
        Count& count = counts_[isDrop ? "drop" : record.deed == Deed::RemoveEnd ? "removal" : record.id];
        if (record.deed != Deed::DropEnd) ++count.tried;
        if (record.deed == Deed::DropEnd || (!isDrop && record.number == 1)) ++count.done;
    }
}

uint64_t Tally::Done() const
{
    uint64_t done = 0;
    for (const auto& [what, count] : counts_) done += count.done;
    return done;
}

std::vector<std::string> Tally::TooLittle(const Plan& plan, double seconds) const
{
    std::vector<std::string> faults;
    // A document is loaded and written whole, under its folder's block: others are refused three times as often.
    const Strategy& strategy = StrategyOf(plan);
    const double part = strategy.streamReader && strategy.streamWriter ? 1 : 1.0 / 3;
    for (const Floor& floor : kFloors) {
        if (floor.ofTrees != (plan.trees != 0) || (floor.onlyWithUpdates && plan.unblock != 0)) continue;
        const auto found = counts_.find(floor.what);
        const Count count = found == counts_.end() ? Count() : found->second;
        const bool seldom = count.done < static_cast<uint64_t>(floor.aSecond * seconds);
        const double least = part * floor.part * static_cast<double>(count.tried);
        const bool refused = count.tried >= kOftenEnough && static_cast<double>(count.done) < least;
        if (seldom || refused)
            faults.push_back(std::string("enough of everything succeeds: ") + floor.what + " " + std::to_string(count.done) + " times of " +
                             std::to_string(count.tried));
    }
    return faults;
}

std::string Tally::Report() const
{
    std::string report;
    for (const auto& [what, count] : counts_)
        report += (report.empty() ? "" : ", ") + what + " " + std::to_string(count.done) + "/" + std::to_string(count.tried);
    return report;
}

}  // namespace velmora::torture
