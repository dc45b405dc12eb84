// velmora_bench --data=DIRECTORY [Google Benchmark's own options]
//
// Runs the benchmarks and prints the table of ratios behind their results. DIRECTORY keeps the corpora between runs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/Measure.h"
#include "bench/Ratios.h"
#include "frame/Attach.h"

namespace velmora::bench {

std::filesystem::path& DataDirectory()
{
    static std::filesystem::path directory;
    return directory;
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
    setenv("VELMORA_REGISTRY", file.c_str(), 1);
    setenv("VELMORA_USER_REGISTRY", (directory / "user.reg").c_str(), 1);
    setenv("VELMORA_EVENTLOG", (directory / "events.log").c_str(), 1);
}

int RunAll(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    WriteSettings(DataDirectory());
    if (!ProcessAttach()) return 1;
    RegisterIndexBenchmarks();
    RegisterScanBenchmarks();
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool reached = PrintRatios(reporter);
    if (!reached) std::printf("\nA goal is missed.\n");
    benchmark::Shutdown();
    ProcessDetach();
    return reporter.Failed() ? 1 : 0;
}

}  // namespace
}  // namespace velmora::bench

int main(int argc, char** argv)
{
    try {
        if (argc == 3 && std::string(argv[1]) == "--peak-of-load") {
            if (!velmora::ProcessAttach()) return 1;
            return velmora::bench::PrintPeakOfLoad(argv[2]);
        }
        // Our own option, taken out before the library reads the rest.
        int kept = 1;
        for (int i = 1; i < argc; ++i) {
            const std::string argument = argv[i];
            if (argument.rfind("--data=", 0) == 0)
                velmora::bench::DataDirectory() = std::filesystem::absolute(argument.substr(7));
            else
                argv[kept++] = argv[i];
        }
        if (velmora::bench::DataDirectory().empty()) {
            std::fprintf(stderr, "usage: velmora_bench --data=DIRECTORY [--benchmark_...]\n");
            return 2;
        }
        return velmora::bench::RunAll(kept, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velmora_bench: %s\n", error.what());
        return 1;
    }
}
