// A second process of a test: this program once more, which does with files what it is told, and answers with the error.
#ifndef VELMORA_TESTS_PLATFORM_SECONDPROCESS_H
#define VELMORA_TESTS_PLATFORM_SECONDPROCESS_H

#include <optional>
#include <string>

#include "tests/platform/PlatformTest.h"
#include "tests/support/ChildProcess.h"

namespace velmora::test {

class SecondProcess {
public:
    SecondProcess();

    // Each gives the other process's error, kDidNotFail when there was none.
    DWORD HoldBlock(const std::string& path) { return Ask('B', path); }  // the handle stays open until the process ends
    DWORD OpenAlone(const std::string& path) { return Ask('A', path); }  // to read, shared with nobody; closed at once
    DWORD OpenToUpdate(const std::string& path) { return Ask('U', path); }
    DWORD Delete(const std::string& path) { return Ask('D', path); }
    void KillNow() { process_.KillNow(); }

private:
    DWORD Ask(char what, const std::string& path);
    ChildProcess process_;
};

// What the second process does instead of running tests; none in the first.
std::optional<int> RunAsSecondProcess(int argc, char** argv);

}  // namespace velmora::test

#endif
