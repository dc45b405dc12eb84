// Judges the tree of folders at rest: what a new process is told of it, against what is on the disk and what the journals
// say.
#ifndef VELMORA_TESTS_TORTURE_TREEORACLE_H
#define VELMORA_TESTS_TORTURE_TREEORACLE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/torture/Allowances.h"
#include "tests/torture/Journal.h"
#include "tests/torture/Plan.h"
#include "tests/torture/TreeLook.h"

namespace velmora::torture {

class TreeOracle {
public:
    // `answer`: a file for the processes that look at the tree.
    TreeOracle(const Plan& plan, std::filesystem::path answer, AllowanceCounts& counts);

    // `records` as MakeHistories takes them. The faults that were found, one text each. Behind it the folders of the threads'
    // own are gone, and what is listed is right.
    std::vector<std::string> Check(const std::vector<Record>& records);

private:
    // Where a message is: in one of these, or gone if that may be. A death leaves it open until the next look.
    struct Letter {
        std::set<std::string> places;
        bool mayBeGone = false;
    };
    struct Begun {
        Record record;
        bool open = false;
    };

    void Follow(const std::vector<Record>& records);
    void TakeChange(const Record& begin, bool told, bool ended);
    void TakeRename(const std::string& from, const std::string& to, bool told, bool ended);
    void TakeRemoval(const std::string& path, bool told, bool ended);
    void ExcuseParentsOf(const std::string& path);
    void CheckLetters();
    void CheckLists();
    std::set<std::string> ListedChildren(const std::string& path) const;
    void CheckList(const std::string& path, const std::set<std::string>& listed);
    void CheckMessages();
    void CheckLedger();
    void Clean();
    const Allowance* ExcuseOf(const std::string& path, const std::string& name) const;
    void Allow(Allowance allowance) { counts_.Use(allowance); }
    void Fault(const std::string& rule, const std::string& evidence) { faults_.push_back("tree: " + rule + ": " + evidence); }

    const Plan plan_;
    const std::filesystem::path answer_;
    AllowanceCounts& counts_;
    std::map<std::string, Letter> letters_;

    // One check.
    std::vector<std::string> faults_;
    TreeLook look_;
    bool anyCut_ = false;                                               // whether a process died in a call or a delivery
    std::set<std::string> cutLetters_;                                  // whose delivery came to no end
    std::map<std::pair<std::string, std::string>, Allowance> entries_;  // names that a list may tell wrongly, by folder and name
    std::map<std::string, Allowance> trees_;                            // folders in and below which any list may be wrong
    std::map<std::string, Allowance> folders_;                          // folders whose own list may be wrong
};

}  // namespace velmora::torture

#endif
