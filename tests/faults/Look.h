// An undisturbed open of the folder, by this process or by a new one, what it lists, and the cached counts behind it.
#ifndef VELMORA_TESTS_FAULTS_LOOK_H
#define VELMORA_TESTS_FAULTS_LOOK_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/Counts.h"
#include "tests/faults/Listing.h"

namespace velmora::test {

inline constexpr char kLookArgument[] = "--look";

struct Look {
    uint64_t opened = 0;  // the answer of the open
    bool scanned = false;
    Listing listing;
    std::optional<Counts> counts;
};

// The folder is closed again, and nothing of it is left in this process's memory.
Look LookHere();
// In a process of its own on this one's store; `directory` takes its output. Throws when that process does not answer.
Look LookInNewProcess(const std::filesystem::path& directory);
// In the new process: what main does behind kLookArgument. The exit code.
int RunLook(const std::vector<std::string>& arguments);

}  // namespace velmora::test

#endif
