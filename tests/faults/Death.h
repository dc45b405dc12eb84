// A scenario in a process of its own that stops dead in the middle of it, or in which nothing has ever been used before.
#ifndef VELMORA_TESTS_FAULTS_DEATH_H
#define VELMORA_TESTS_FAULTS_DEATH_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/FaultSeam.h"
#include "tests/faults/Scenario.h"

namespace velmora::test {

inline constexpr char kDieArgument[] = "--die";
inline constexpr char kColdArgument[] = "--cold";

// In the test: runs the scenario in a new process on the store of this one. The path of the operation at which the fault
// stopped it; nothing when it came to the scenario's end. Throws when the process ended in any other way.
std::optional<std::string> DieAt(const Scenario& scenario, const std::filesystem::path& folder, FaultKind kind, uint32_t nth,
                                 uint32_t sixteenths);

// In the new process: what main does behind kDieArgument. The exit code.
int RunToDeath(const std::vector<std::string>& arguments);

// In the test: runs the scenario in a new process in which the n-th allocation from the scenario's begin on fails, so that what
// is made at a first use is among them. Throws as DieAt does.
struct ColdRun {
    bool met = false;      // there was such an allocation
    bool scanned = false;  // as in Report
};
ColdRun FailColdAt(const Scenario& scenario, const std::filesystem::path& folder, uint32_t nth);

// In the new process: what main does behind kColdArgument. The exit code.
int RunCold(const std::vector<std::string>& arguments);

}  // namespace velmora::test

#endif
