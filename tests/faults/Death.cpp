#include "tests/faults/Death.h"

#include <stdexcept>

#include "frame/Attach.h"
#include "tests/faults/ScanWatch.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeClock.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {

namespace {

bool FaultMet(const std::filesystem::path& folder, const std::vector<std::string>& arguments)
{
    ChildOptions options;
    options.closedInput = true;
    options.stdoutPath = folder.parent_path() / "output.txt";
    ChildProcess child(OwnProgramPath(), arguments, options);
    const int ended = child.Wait();
    if (ended == kStoppedByFault) return true;
    if (ended == 0) return false;
    std::string what;
    for (const std::string& argument : arguments) what += argument + " ";
    throw std::runtime_error("the process " + what + "ended with " + std::to_string(ended));
}

}  // namespace

std::optional<std::string> DieAt(const Scenario& scenario, const std::filesystem::path& folder, FaultKind kind, uint32_t nth,
                                 uint32_t sixteenths)
{
    const std::filesystem::path note = folder.parent_path() / "death.txt";
    std::filesystem::remove(note);
    if (!FaultMet(folder, {kDieArgument, scenario.name, folder.string(), std::to_string(static_cast<int>(kind)), std::to_string(nth),
                           std::to_string(sixteenths), note.string()}))
        return std::nullopt;
    return ReadFileBytes(note);
}

ColdRun FailColdAt(const Scenario& scenario, const std::filesystem::path& folder, uint32_t nth)
{
    const std::filesystem::path note = folder.parent_path() / "scans.txt";
    std::filesystem::remove(note);
    ColdRun run;
    run.met = FaultMet(folder, {kColdArgument, scenario.name, folder.string(), std::to_string(nth), note.string()});
    run.scanned = std::stoul(ReadFileBytes(note)) > scenario.ownListings;
    return run;
}

int RunToDeath(const std::vector<std::string>& arguments)
{
    const Scenario* const scenario = arguments.size() == 6 ? FindScenario(arguments[0]) : nullptr;
    FakeClock clock;
    SetPresentTime(clock);
    if (!scenario || !ProcessAttach()) return 1;
    {
        FaultSeam seam(static_cast<FaultKind>(std::stoi(arguments[2])), static_cast<uint32_t>(std::stoul(arguments[3])), FaultSpan::Once,
                       static_cast<uint32_t>(std::stoul(arguments[4])));
        seam.NoteDeathIn(arguments[5]);
        Report report;
        scenario->act(arguments[1].c_str(), report);
    }
    ThreadDetach();
    ProcessDetach();
    return 0;
}

int RunCold(const std::vector<std::string>& arguments)
{
    const Scenario* const scenario = arguments.size() == 4 ? FindScenario(arguments[0]) : nullptr;
    FakeClock clock;
    SetPresentTime(clock);
    if (!scenario || !ProcessAttach()) return 1;
    const auto nth = static_cast<uint32_t>(std::stoul(arguments[2]));
    uint32_t hits = 0;
    const ScanWatch watch;
    {
        const AllocationFault fault(nth, FaultSpan::Once);
        Report report;
        scenario->act(arguments[1].c_str(), report);
        hits = AllocationFault::Hits();
    }
    WriteFileBytes(arguments[3], std::to_string(watch.Scans()));
    ThreadDetach();
    ProcessDetach();
    return hits != 0 ? kStoppedByFault : 0;
}

}  // namespace velmora::test
