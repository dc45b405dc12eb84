// What a process that has just begun is told of the tree: the children of every folder, the messages of those that stay, and
// a size.
#ifndef VELMORA_TESTS_TORTURE_TREELOOK_H
#define VELMORA_TESTS_TORTURE_TREELOOK_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "tests/torture/Plan.h"

namespace velmora::torture {

struct TreeLook {
    std::map<std::string, std::set<std::string>> lists;     // of every folder, by its path
    std::map<std::string, std::set<std::string>> messages;  // of every kept folder that opens, by its path
    uint64_t ledgerSize = 0;
};

// In a process of its own on this one's store. Throws std::runtime_error when that process does not answer.
TreeLook LookAtTree(const Plan& plan, const std::filesystem::path& answer);
// In that process: writes the answer to plan.look. The exit code.
int RunTreeLook(const Plan& plan);

}  // namespace velmora::torture

#endif
