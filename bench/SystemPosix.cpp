#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "bench/System.h"

namespace velmora::bench {

void SetVariable(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

long PeakResidentKB()
{
    // The resource usage of a process would count the memory of whoever started it.
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmHWM:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
    return 0;
}

std::string OutputOfSelf(const std::string& option, const std::string& argument)
{
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    FILE* const child = popen(("'" + self + "' " + option + " '" + argument + "'").c_str(), "r");
    if (!child) return {};
    std::string output;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, child)) output += buffer;
    return pclose(child) == 0 ? output : std::string();
}

}  // namespace velmora::bench
