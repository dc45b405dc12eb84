#include "tests/faults/Death.h"

#include <stdexcept>

#include "frame/Attach.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeClock.h"

namespace velmora::test {

bool DieAt(const Scenario& scenario, const std::filesystem::path& folder, FaultKind kind, uint32_t nth, uint32_t sixteenths)
{
    ChildOptions options;
    options.closedInput = true;
    options.stdoutPath = folder.parent_path() / "output.txt";
    ChildProcess child(OwnProgramPath(),
                       {kDieArgument, scenario.name, folder.string(), std::to_string(static_cast<int>(kind)), std::to_string(nth),
                        std::to_string(sixteenths)},
                       options);
    const int ended = child.Wait();
    if (ended == kStoppedByFault) return true;
    if (ended != 0)
        throw std::runtime_error("a process that was to die at operation " + std::to_string(nth) + " ended with " + std::to_string(ended));
    return false;
}

int RunToDeath(const std::vector<std::string>& arguments)
{
    const Scenario* const scenario = arguments.size() == 5 ? FindScenario(arguments[0]) : nullptr;
    FakeClock clock;
    SetPresentTime(clock);
    if (!scenario || !ProcessAttach()) return 1;
    {
        FaultSeam seam(static_cast<FaultKind>(std::stoi(arguments[2])), static_cast<uint32_t>(std::stoul(arguments[3])), FaultSpan::Once,
                       static_cast<uint32_t>(std::stoul(arguments[4])));
        Report report;
        scenario->act(arguments[1], report);
    }
    ThreadDetach();
    ProcessDetach();
    return 0;
}

}  // namespace velmora::test
