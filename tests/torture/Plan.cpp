#include "tests/torture/Plan.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace velmora::torture {

namespace {

constexpr struct {
    const char* name;
    uint64_t Plan::*value;
    uint64_t least, most;
    const char* meaning;
} kNumbers[] = {
    {"seed", &Plan::seed, 0, UINT64_MAX, "of the dice that choose what is done; printed, 0 for a new one"},
    {"seconds", &Plan::seconds, 1, 1000000, "of fighting"},
    {"processes", &Plan::processes, 1, 64, "at once"},
    {"threads", &Plan::threads, 1, 64, "in each"},
    {"folders", &Plan::folders, 1, 100, "that are fought for"},
    {"kills", &Plan::kills, 0, 6000, "of processes a minute"},
    {"haste", &Plan::haste, 1, 1000, "divides the library's waits"},
    {"backup", &Plan::backup, 0, 1, "whether indexes have backups"},
    {"unblock", &Plan::unblock, 0, 1, "whether an orphaned block goes at once; with 0 items are updated directly as well"},
    {"strategy", &Plan::strategy, 0, std::size(kStrategies),
     "1: documents; 2: streams; 3: streams are read and documents written; 4: the reverse; 0: by the seed"},
    {"trees", &Plan::trees, 0, 1, "whether the tree of folders is fought for, and not the messages in some"},
    {"keep", &Plan::keep, 0, 1, "keeps the store, whatever the result"},
    {"process", &Plan::process, 0, UINT32_MAX, nullptr},
};

constexpr struct {
    const char* name;
    std::string Plan::*value;
    const char* meaning;
} kTexts[] = {
    {"sabotage", &Plan::sabotage, "a fault on purpose, by name; see Sabotage.cpp"},
    {"worker", &Plan::worker, nullptr},
    {"look", &Plan::look, nullptr},
    {"mail-root", &Plan::mailRoot, nullptr},
};

constexpr std::string_view kSabotages[] = {"lose-file",       "duplicate-uid",      "tear-element",   "forget-flag",   "save-without-block",
                                           "leave-block",     "reset-read",         "lower-last-uid", "make-up-flag",  "list-ghost",
                                           "cut-index",       "write-when-refused", "refuse-open",    "refuse-blocks", "spoil-counts",
                                           "forget-delivery", "forget-update",      "forget-removal", "hold-twice",    "hide-folder",
                                           "lose-kept",       "lie-of-size"};

uint64_t NumberOf(const std::string& name, const std::string& text, uint64_t least, uint64_t most)
{
    char* end = nullptr;
    const uint64_t value = std::strtoull(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < least || value > most)
        throw std::runtime_error("--" + name + " is to be a number from " + std::to_string(least) + " to " + std::to_string(most));
    return value;
}

void TakeArgument(Plan& plan, std::string_view argument)
{
    const size_t equals = argument.find('=');
    const std::string name(argument.substr(0, equals));
    const std::string value(equals == std::string_view::npos ? "1" : argument.substr(equals + 1));
    for (const auto& known : kNumbers)
        if (name == std::string("--") + known.name) {
            plan.*known.value = NumberOf(known.name, value, known.least, known.most);
            return;
        }
    for (const auto& known : kTexts)
        if (name == std::string("--") + known.name) {
            plan.*known.value = value;
            return;
        }
    throw std::runtime_error("unknown argument " + std::string(argument));
}

}  // namespace

Plan ParsePlan(int argc, char** argv)
{
    Plan plan;
    for (int i = 1; i < argc; ++i) TakeArgument(plan, argv[i]);
    const auto isKnown = [&](std::string_view name) { return name == plan.sabotage; };
    if (!plan.sabotage.empty() && std::none_of(std::begin(kSabotages), std::end(kSabotages), isKnown))
        throw std::runtime_error("unknown sabotage " + plan.sabotage);
    return plan;
}

std::vector<std::string> WorkerArguments(const Plan& plan, uint64_t process, const std::filesystem::path& journal)
{
    Plan worker = plan;
    worker.process = process;
    worker.worker = journal.string();
    std::vector<std::string> arguments;
    for (const auto& known : kNumbers) arguments.push_back(std::string("--") + known.name + "=" + std::to_string(worker.*known.value));
    for (const auto& known : kTexts) arguments.push_back(std::string("--") + known.name + "=" + worker.*known.value);
    return arguments;
}

std::string Usage()
{
    const Plan standard;
    std::string usage = "torture [--NAME=VALUE...]: processes that fight for one store, and a check of what is left\n";
    for (const auto& known : kNumbers)
        if (known.meaning)
            usage += "  --" + std::string(known.name) + "=" + std::to_string(standard.*known.value) + "  " + known.meaning + "\n";
    for (const auto& known : kTexts)
        if (known.meaning) usage += "  --" + std::string(known.name) + "=NAME  " + known.meaning + "\n";
    return usage;
}

std::string FolderName(uint32_t folder) { return (folder < 10 ? "Box0" : "Box") + std::to_string(folder); }

std::filesystem::path FolderDirectory(const std::string& mailRoot, uint32_t folder)
{
    return std::filesystem::path(mailRoot) / kPostoffice / "MAILROOT" / kMailbox / FolderName(folder);
}

}  // namespace velmora::torture
