// Runs a scenario of folders and judges what it left: no message lost that the scenario does not remove, nothing told that is
// not done, and lists that tell what is there.
#ifndef VELMORA_TESTS_FAULTS_TREEORACLE_H
#define VELMORA_TESTS_FAULTS_TREEORACLE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "tests/faults/TreeImage.h"
#include "tests/faults/TreeScenario.h"
#include "tests/support/Captured.h"
#include "tests/support/FakeClock.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

// What one fault may leave behind beside the state before and the state after. Each has its reason.
struct TreeLicence {
    bool oldLists = false;   // the flag that asks for a new list could not be set, or the change broke off in front of it
    bool unlisted = false;   // the mark that asks for a scan could not be set
    bool block = false;      // nobody could delete the block of a folder
    bool leftovers = false;  // the file beside a document could not be deleted
};

class TreeOracle {
public:
    explicit TreeOracle(const TreeScenario& scenario);

    void Restore();
    TreeAnswer Act() { return scenario_.act(); }
    void Judge(const TreeAnswer& answer, const TreeLicence& licence, const std::string& what);
    // Behind a run that no fault has met.
    void JudgeUndisturbed(const TreeAnswer& answer, const std::string& what);
    // How often a licence was needed: "oldLists 3".
    std::string Used() const;

private:
    using Messages = std::map<std::string, std::string>;

    void CheckAnswer(const TreeAnswer& answer, const TreeLicence& licence);
    void CheckMessages(const TreeAnswer& answer);
    void CheckMoved(const Messages& now, bool told);
    void CheckShares();
    void CheckSize(const TreeLicence& licence);
    void CheckLists(const TreeLicence& licence);
    void CheckScans(const TreeLicence& licence);
    void CheckHandles();
    bool Use(bool licensed, const char* name);
    void Complain(const std::string& text);
    void Conclude(const std::string& what);

    const TreeScenario& scenario_;
    TestStore store_;
    FakeClock clock_;
    CapturedLog log_;
    std::filesystem::path mailbox_;
    TreeImage initial_, security_, finished_, finishedSecurity_;
    Messages messages_;
    TreeAnswer undisturbed_;
    uint32_t handles_ = 0;
    std::string complaints_;
    std::map<std::string, uint32_t> used_;
};

}  // namespace velmora::test

#endif
