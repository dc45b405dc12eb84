// Timing of single calls. Each benchmark runs a fixed number of rounds: what must stand before the call is made ready
// off the clock, and the median of the rounds is what ratios are formed from.
#ifndef VELMORA_BENCH_MEASURE_H
#define VELMORA_BENCH_MEASURE_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmora::bench {

inline constexpr char kMedian[] = "median_us";
inline constexpr char kPeakOfLoadOption[] = "--peak-of-load";
inline constexpr char kDeliverOption[] = "--deliver";

// What main reads from the command line, once: where corpora and work files lie, and the numbers of items to measure with.
std::filesystem::path& DataDirectory();
std::vector<uint32_t>& Sizes();
// The numbers of folders to measure trees with.
inline std::vector<uint32_t> TreeSizes() { return {100, 2000}; }

// A benchmark that does not do its work measures nothing, so it ends the run.
inline void Require(bool condition, const char* what)
{
    if (!condition) throw std::runtime_error(what);
}

// Runs the rounds: `prepare` (may be empty) off the clock, `work` on it. Leaves the median, in microseconds, in the counter kMedian.
inline void Measure(benchmark::State& state, const std::function<void()>& prepare, const std::function<void()>& work)
{
    std::vector<double> rounds;
    for (auto _ : state) {
        if (prepare) prepare();
        const auto begin = std::chrono::steady_clock::now();
        work();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        state.SetIterationTime(seconds);
        rounds.push_back(seconds);
    }
    std::sort(rounds.begin(), rounds.end());
    state.counters[kMedian] = rounds.empty() ? 0 : rounds[rounds.size() / 2] * 1e6;
}

// Registers NAME/SIZE with the given number of rounds.
template <typename Body>
void Register(const std::string& name, uint32_t size, int64_t rounds, Body body)
{
    benchmark::RegisterBenchmark((name + "/" + std::to_string(size)).c_str(), body)
        ->Iterations(rounds)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

// Rounds for work whose cost, or whose preparation, grows with the folder.
inline int64_t RoundsFor(uint32_t size) { return size <= 100 ? 101 : size <= 10000 ? 31 : 9; }

void RegisterIndexBenchmarks();
void RegisterScanBenchmarks();
void RegisterDeliveryBenchmarks();
void RegisterDocumentBenchmarks();
void RegisterTreeBenchmarks();

// In a child process: loads the folder's index in full and prints the peak of resident memory, in KB.
int PrintPeakOfLoad(const std::string& folder);

// In a child process: delivers into "DATA|FOLDER|NUMBER OF THE CHILD" and prints how long that took.
int PrintDeliveryTime(const std::string& argument);

}  // namespace velmora::bench

#endif
