// The two tables behind a run: each measure beside its plain reference of the same run and beside its goal, and the time of
// each measure by the size of the folder.
#ifndef VELMORA_BENCH_TABLES_H
#define VELMORA_BENCH_TABLES_H

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace velmora::bench {

// Prints runs as the library's console reporter does and keeps their counters.
class CollectingReporter : public benchmark::ConsoleReporter {
public:
    CollectingReporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override;

    // A counter of the benchmark NAME/SIZE; below 0 when it was not run.
    double Counter(const std::string& benchmark, const std::string& counter) const;
    bool Failed() const { return failed_; }

private:
    std::map<std::string, std::map<std::string, double>> counters_;
    bool failed_ = false;
};

// The table in the form of the README, rows of benchmarks that were not run left out. False when a goal is missed.
bool PrintRatios(const CollectingReporter& runs);

// The medians, and how many times the last size costs what the first one does.
void PrintGrowth(const CollectingReporter& runs);

}  // namespace velmora::bench

#endif
