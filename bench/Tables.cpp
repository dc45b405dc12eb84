#include "bench/Tables.h"

#include <cstdio>
#include <string>
#include <vector>

#include "bench/Measure.h"

namespace velmora::bench {
namespace {

// Goals are meant for folders of this size, and are not asked of a run without them.
constexpr uint32_t kGoalSize = 100000;
constexpr uint32_t kTreeGoalSize = 2000;

enum class Goal { AtMost, AtLeast, None };

// One row: the median of `measure` over that of `reference`, or a counter of `measure` alone.
struct Row {
    const char* text;
    const char* measure;
    const char* counter;
    const char* reference;  // null: the counter itself
    bool inverted;          // the reference over the measure: a rate against a rate
    Goal goal;
    double bound;
    const char* unit;
    bool toSmallest = false;  // the reference is that of the smallest folder
};

constexpr Row kRows[] = {
    {"full load, to a memchr pass", "FullLoad", kMedian, "MemchrPass", false, Goal::AtMost, 3.0, ""},
    {"full load, to pugixml load and walk", "FullLoad", kMedian, "PugixmlLoadAndWalk", false, Goal::None, 0, ""},
    {"identifiers, to a memchr pass", "Identifiers", kMedian, "MemchrPass", false, Goal::AtMost, 1.5, ""},
    {"selected load of 3, to a memchr pass", "SelectedLoad", kMedian, "MemchrPass", false, Goal::None, 0, ""},
    {"resident memory after a full load, to the file", "FullLoadMemory", "resident_per_file", nullptr, false, Goal::AtMost, 2.5, ""},
    {"header-only open", "HeaderOnlyOpen", kMedian, nullptr, false, Goal::AtMost, 50, " us"},
    {"header-only open, to a small read", "HeaderOnlyOpen", kMedian, "SmallRead", false, Goal::None, 0, ""},
    {"append of one item, to a small write", "AppendOne", kMedian, "SmallWrite", false, Goal::None, 0, ""},
    {"flag change of the last item, to a small write", "FlagChangeLast", kMedian, "SmallWrite", false, Goal::None, 0, ""},
    {"flag change of the middle item, to a full rewrite", "FlagChangeMiddle", kMedian, "FullRewrite", false, Goal::None, 0, ""},
    {"flag change of the first item, to a full rewrite", "FlagChangeFirst", kMedian, "FullRewrite", false, Goal::None, 0, ""},
    {"removal of one item, to a full rewrite", "RemoveMiddle", kMedian, "FullRewrite", false, Goal::None, 0, ""},
    {"save with nothing changed, to a look by name", "SaveNothingChanged", kMedian, "LookByName", false, Goal::None, 0, ""},
    {"full rewrite, to pugixml saving the same", "FullRewrite", kMedian, "PugixmlSave", false, Goal::AtMost, 0.7, ""},
    {"rate of a first scan, to opening and reading each file", "FirstScan", kMedian, "HeaderLinesFloor", true, Goal::AtLeast, 0.3, ""},
    {"rescan with nothing new, to a first scan", "RescanNothingNew", kMedian, "FirstScan", false, Goal::None, 0, ""},
    {"open of an unchanged folder, to a full load", "OpenFolder", kMedian, "FullLoad", false, Goal::None, 0, ""},
    {"reopen with nothing changed, to a look by name", "Reopen", kMedian, "LookByName", false, Goal::None, 0, ""},
    {"walk with three properties, to a full load", "WalkThreeProperties", kMedian, "FullLoad", false, Goal::None, 0, ""},
    {"a property read in a walk", "WalkThreeProperties", "ns_per_read", nullptr, false, Goal::AtMost, 200, " ns"},
    {"rate of deliveries, to the bare work of one", "DeliverOne", kMedian, "DeliveryFloor", true, Goal::AtLeast, 0.3, ""},
    {"rate of deliveries, to that into the smallest folder", "DeliverOne", kMedian, "DeliverOne", true, Goal::AtLeast, 0.9, "", true},
    {"flag update of the last item, to its selected load", "FlagUpdateLast", kMedian, "SelectedLoadOfLast", false, Goal::AtMost, 1.5, ""},
    {"cached counts, to a small read", "CachedCounts", kMedian, "SmallRead", false, Goal::None, 0, ""},
    {"load as a document, to pugixml load and walk", "DocumentLoad", kMedian, "PlainDocumentLoad", false, Goal::None, 0, ""},
    {"save as a document, to pugixml saving the same", "DocumentSave", kMedian, "PlainDocumentSave", false, Goal::None, 0, ""},
};

// Those of trees, by their numbers of folders.
constexpr Row kTreeRows[] = {
    {"size of an unchanged tree, to looking at and reading the same files", "SizeWalk", kMedian, "SizeWalkFloor", false, Goal::None, 0, ""},
    {"size of a tree that nobody has listed, to the same", "SizeWalkFirst", kMedian, "SizeWalkFloor", false, Goal::None, 0, ""},
    {"listing of one folder's children, to three looks for each", "FolderListing", kMedian, "FolderListingFloor", false, Goal::None, 0, ""},
    {"the same again by a list that is known", "FolderListingAgain", kMedian, "FolderListingFloor", false, Goal::None, 0, ""},
};

// The rows of the table of growth, in the order of a folder's life.
struct TimedRow {
    const char* text;
    const char* benchmark;
};

constexpr TimedRow kTimedRows[] = {
    {"memchr pass over the index file", "MemchrPass"},
    {"pugixml load and walk", "PugixmlLoadAndWalk"},
    {"pugixml save", "PugixmlSave"},
    {"opening and reading each message", "HeaderLinesFloor"},
    {"small read", "SmallRead"},
    {"small write", "SmallWrite"},
    {"look by name", "LookByName"},
    {"header-only open", "HeaderOnlyOpen"},
    {"identifiers", "Identifiers"},
    {"full load", "FullLoad"},
    {"selected load of 3", "SelectedLoad"},
    {"selected load of the last item", "SelectedLoadOfLast"},
    {"append of one item", "AppendOne"},
    {"bare work of a delivery", "DeliveryFloor"},
    {"delivery of one message", "DeliverOne"},
    {"delivery of one message, four processes at once", "DeliverByFour"},
    {"flag update of the first item, folder not open", "FlagUpdateFirst"},
    {"flag update of the middle item, folder not open", "FlagUpdateMiddle"},
    {"flag update of the last item, folder not open", "FlagUpdateLast"},
    {"flag change of the first item", "FlagChangeFirst"},
    {"flag change of the middle item", "FlagChangeMiddle"},
    {"flag change of the last item", "FlagChangeLast"},
    {"removal of one item", "RemoveMiddle"},
    {"save with nothing changed", "SaveNothingChanged"},
    {"full rewrite", "FullRewrite"},
    {"first scan", "FirstScan"},
    {"rescan with nothing new", "RescanNothingNew"},
    {"open of an unchanged folder", "OpenFolder"},
    {"reopen with nothing changed", "Reopen"},
    {"walk with three properties", "WalkThreeProperties"},
    {"cached counts", "CachedCounts"},
    {"pugixml load and walk of the document", "PlainDocumentLoad"},
    {"pugixml save of the document", "PlainDocumentSave"},
    {"load as a document", "DocumentLoad"},
    {"save as a document", "DocumentSave"},
};

constexpr TimedRow kTimedTreeRows[] = {
    {"bare look at all folders of a tree", "SizeWalkFloor"},
    {"size of a tree that nobody has listed", "SizeWalkFirst"},
    {"size of an unchanged tree", "SizeWalk"},
    {"bare looks of a listing", "FolderListingFloor"},
    {"listing of one folder's children", "FolderListing"},
    {"listing by a list that is known", "FolderListingAgain"},
};

// What the columns of a table stand for.
struct Columns {
    std::vector<uint32_t> sizes;
    const char* what;
};
Columns ItemColumns() { return {Sizes(), " items"}; }
Columns TreeColumns() { return {TreeSizes(), " folders"}; }

// "10,000".
std::string SizeText(uint32_t size)
{
    std::string digits = std::to_string(size);
    for (size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
    return digits;
}

std::string TimeText(double microseconds)
{
    char text[32];
    if (microseconds < 1000)
        std::snprintf(text, sizeof text, "%.1f us", microseconds);
    else if (microseconds < 1e6)
        std::snprintf(text, sizeof text, "%.2f ms", microseconds / 1e3);
    else
        std::snprintf(text, sizeof text, "%.2f s", microseconds / 1e6);
    return text;
}

// The head of a table with a first column, one for each size, and a last one.
void PrintHead(const char* first, const std::string& last, const Columns& columns)
{
    std::string names = std::string("\n| ") + first;
    std::string rule = "|---";
    for (const uint32_t size : columns.sizes) {
        names += " | " + SizeText(size) + columns.what;
        rule += "|---";
    }
    std::printf("%s | %s |\n%s|---|\n", names.c_str(), last.c_str(), rule.c_str());
}

// Below 0 when a benchmark of the row was not run.
double ValueOf(const CollectingReporter& runs, const Row& row, uint32_t size)
{
    const std::string suffix = "/" + std::to_string(size);
    const double value = runs.Counter(row.measure + suffix, row.counter);
    if (!row.reference || value < 0) return value;
    const std::string referenceSize = row.toSmallest ? "/" + std::to_string(Sizes().front()) : suffix;
    const double reference = runs.Counter(row.reference + referenceSize, row.counter);
    if (reference <= 0 || value <= 0) return -1;
    return row.inverted ? reference / value : value / reference;
}

std::string GoalText(const Row& row)
{
    if (row.goal == Goal::None) return "";
    char text[64];
    std::snprintf(text, sizeof text, "%s %g%s", row.goal == Goal::AtMost ? "at most" : "at least", row.bound, row.unit);
    return text;
}

}  // namespace

void CollectingReporter::ReportRuns(const std::vector<Run>& runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.error_occurred) failed_ = true;
        for (const auto& [name, counter] : run.counters) counters_[run.run_name.function_name][name] = counter.value;
    }
}

double CollectingReporter::Counter(const std::string& benchmark, const std::string& counter) const
{
    const auto run = counters_.find(benchmark);
    if (run == counters_.end()) return -1;
    const auto found = run->second.find(counter);
    return found == run->second.end() ? -1 : found->second;
}

namespace {

template <size_t N>
bool PrintRows(const CollectingReporter& runs, const Row (&rows)[N], const Columns& columns, uint32_t goalSize)
{
    PrintHead("Measure", "Goal at " + SizeText(goalSize), columns);
    bool reached = true;
    for (const Row& row : rows) {
        std::string cells;
        bool any = false;
        double last = -1;
        for (const uint32_t size : columns.sizes) {
            last = ValueOf(runs, row, size);
            char text[64] = "";
            if (last >= 0) std::snprintf(text, sizeof text, last < 100 ? "%.2f%s" : "%.0f%s", last, row.unit);
            any |= last >= 0;
            cells += std::string(" | ") + text;
        }
        if (!any) continue;
        const bool missed = last >= 0 && columns.sizes.back() == goalSize &&
                            ((row.goal == Goal::AtMost && last > row.bound) || (row.goal == Goal::AtLeast && last < row.bound));
        if (missed) reached = false;
        std::printf("| %s%s | %s%s |\n", row.text, cells.c_str(), GoalText(row).c_str(), missed ? " (missed)" : "");
    }
    return reached;
}

template <size_t N>
void PrintTimes(const CollectingReporter& runs, const TimedRow (&rows)[N], const Columns& columns)
{
    PrintHead("Time", "Last to first", columns);
    for (const TimedRow& row : rows) {
        std::string cells;
        double first = -1;
        double last = -1;
        for (const uint32_t size : columns.sizes) {
            last = runs.Counter(std::string(row.benchmark) + "/" + std::to_string(size), kMedian);
            if (size == columns.sizes.front()) first = last;
            cells += " | " + (last < 0 ? std::string() : TimeText(last));
        }
        if (first <= 0 || last < 0) continue;
        std::printf("| %s%s | %.1f |\n", row.text, cells.c_str(), last / first);
    }
}

}  // namespace

bool PrintRatios(const CollectingReporter& runs)
{
    const bool items = PrintRows(runs, kRows, ItemColumns(), kGoalSize);
    return PrintRows(runs, kTreeRows, TreeColumns(), kTreeGoalSize) && items;
}

void PrintGrowth(const CollectingReporter& runs)
{
    PrintTimes(runs, kTimedRows, ItemColumns());
    PrintTimes(runs, kTimedTreeRows, TreeColumns());
}

}  // namespace velmora::bench
