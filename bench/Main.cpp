// velmora_bench --data=DIRECTORY [--quick] [Google Benchmark's own options]
//
// Runs the benchmarks and prints two tables behind their results: the ratios, and the growth with the folder. DIRECTORY keeps
// the corpora between runs. With --quick the largest folders are left out.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/Measure.h"
#include "bench/System.h"
#include "bench/Tables.h"
#include "frame/Attach.h"

namespace velmora::bench {

std::filesystem::path& DataDirectory()
{
    static std::filesystem::path directory;
    return directory;
}

std::vector<uint32_t>& Sizes()
{
    static std::vector<uint32_t> sizes = {100, 10000, 100000};
    return sizes;
}

namespace {

std::string Quoted(const std::string& text)
{
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\\' || c == '"') out += '\\';
        out += c;
    }
    return out + "\"";
}

// A settings file for this process and its children: stream reader and writer on, folders of any size.
void WriteSettings(const std::filesystem::path& directory)
{
    std::filesystem::create_directories(directory);
    const std::string file = (directory / "registry.reg").string();
    std::ofstream out(file, std::ios::trunc);
    out << "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Velmora\\Velmora]\n"
        << "\"Mail Root\"=" << Quoted((directory / "POSTOFFICES").string()) << "\n"
        << "\"Use XML Stream Index Deserialisation\"=dword:00000001\n"
        << "\"Use XML Stream Index Serialisation\"=dword:00000001\n"
        << "\"Maximum Index Rows\"=dword:00989680\n";
    out.close();
    SetVariable("VELMORA_REGISTRY", file);
    SetVariable("VELMORA_USER_REGISTRY", (directory / "user.reg").string());
    SetVariable("VELMORA_EVENTLOG", (directory / "events.log").string());
}

constexpr int kUsage = 2;
constexpr int kGoalMissed = 3;

int RunAll(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return kUsage;
    WriteSettings(DataDirectory());
    if (!ProcessAttach()) return 1;
    RegisterIndexBenchmarks();
    RegisterScanBenchmarks();
    RegisterDeliveryBenchmarks();
    RegisterDocumentBenchmarks();
    RegisterTreeBenchmarks();
    CollectingReporter reporter;
    if (benchmark::RunSpecifiedBenchmarks(&reporter) == 0) return kUsage;
    const bool reached = PrintRatios(reporter);
    PrintGrowth(reporter);
    if (!reached) std::printf("\nA goal is missed.\n");
    benchmark::Shutdown();
    ProcessDetach();
    if (reporter.Failed()) return 1;
    return reached ? 0 : kGoalMissed;
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv)
{
    try {
        if (argc == 3 && std::string(argv[1]) == velmora::bench::kPeakOfLoadOption) {
            if (!velmora::ProcessAttach()) return 1;
            return velmora::bench::PrintPeakOfLoad(argv[2]);
        }
        if (argc == 3 && std::string(argv[1]) == velmora::bench::kDeliverOption) {
            if (!velmora::ProcessAttach()) return 1;
            return velmora::bench::PrintDeliveryTime(argv[2]);
        }
        // Our own options, taken out before the library reads the rest.
        int kept = 1;
        for (int i = 1; i < argc; ++i) {
            const std::string argument = argv[i];
            if (argument.rfind("--data=", 0) == 0)
                velmora::bench::DataDirectory() = std::filesystem::absolute(argument.substr(7));
            else if (argument == "--quick")
                velmora::bench::Sizes().pop_back();
            else
                argv[kept++] = argv[i];
        }
        if (velmora::bench::DataDirectory().empty()) {
            std::fprintf(stderr, "usage: velmora_bench --data=DIRECTORY [--quick] [--benchmark_...]\n");
            return 2;
        }
        return velmora::bench::RunAll(kept, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velmora_bench: %s\n", error.what());
        return 1;
    }
}
