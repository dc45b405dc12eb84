// What a run does, as its arguments say: the same for the driver and for the workers that it starts.
#ifndef VELMORA_TESTS_TORTURE_PLAN_H
#define VELMORA_TESTS_TORTURE_PLAN_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace velmora::torture {

struct Plan {
    uint64_t seed = 0;       // 0: one of the driver's own choice, which it prints
    uint64_t seconds = 20;   // of fighting; the checks come on top
    uint64_t processes = 4;  // that fight at once
    uint64_t threads = 2;    // in each
    uint64_t folders = 8;    // that they fight for
    uint64_t kills = 60;     // a minute; 0 for none
    uint64_t haste = 1;      // the library's waits are divided by this
    uint64_t backup = 1;     // whether the store keeps backups of its indexes
    uint64_t unblock = 1;    // the setting "Index Unblock Mode"; with 0 there are direct updates as well
    uint64_t strategy = 0;   // how indexes are read and written, see kStrategies; 0: by the seed
    uint64_t trees = 0;      // 1: they fight for the tree of folders, and not for the messages in some
    uint64_t keep = 0;       // 1: the store stays, whatever the result
    std::string sabotage;    // a fault that one worker commits on purpose, for the oracle to find
    std::string worker;      // not empty in a worker: where its journal goes
    std::string look;        // not empty in a process that looks at the tree: where its answer goes
    std::string mailRoot;    // of the driver's store
    uint64_t process = 0;    // a worker's number, unique in the run
};

// The settings of a store by the plan's strategy.
struct Strategy {
    bool streamReader, streamWriter;
};
inline constexpr Strategy kStrategies[] = {{false, false}, {true, true}, {true, false}, {false, true}};
// Of a plan that has one.
inline const Strategy& StrategyOf(const Plan& plan) { return kStrategies[plan.strategy - 1]; }

// Reads `--name=value`, and `--name` alone for 1. Throws std::runtime_error with what is wrong.
Plan ParsePlan(int argc, char** argv);

// The arguments of one worker of the plan.
std::vector<std::string> WorkerArguments(const Plan& plan, uint64_t process, const std::filesystem::path& journal);

std::string Usage();

inline constexpr char kPostoffice[] = "po";
inline constexpr char kMailbox[] = "box";
std::string FolderName(uint32_t folder);
std::filesystem::path FolderDirectory(const std::string& mailRoot, uint32_t folder);

}  // namespace velmora::torture

#endif
