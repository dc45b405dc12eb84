// A scenario in a process of its own that stops dead in the middle of it.
#ifndef VELMORA_TESTS_FAULTS_DEATH_H
#define VELMORA_TESTS_FAULTS_DEATH_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/faults/FaultSeam.h"
#include "tests/faults/Scenario.h"

namespace velmora::test {

inline constexpr char kDieArgument[] = "--die";

// In the test: runs the scenario in a new process on the store of this one; true when the fault stopped it. Throws when the
// process ended in any other way than that or the scenario's end.
bool DieAt(const Scenario& scenario, const std::filesystem::path& folder, FaultKind kind, uint32_t nth, uint32_t sixteenths);

// In the new process: what main does behind kDieArgument. The exit code.
int RunToDeath(const std::vector<std::string>& arguments);

}  // namespace velmora::test

#endif
