// What is done to the folders of a mailbox while something goes wrong.
#ifndef VELMORA_TESTS_FAULTS_TREESCENARIO_H
#define VELMORA_TESTS_FAULTS_TREESCENARIO_H

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/support/TestStore.h"

namespace velmora::test {

enum class TreeChange { None, Add, Move, Copy, Remove };

struct TreeAnswer {
    uint64_t result = 0;
    uint32_t size = 0;
    std::vector<std::string> names = {};  // as an enumeration gave them
};

struct TreeScenario {
    const char* name;
    // As a host does it, on mailbox "box".
    TreeAnswer (*act)();
    TreeChange change = TreeChange::None;
    std::string from = {};  // below the mailbox, of what is added, moved, copied or removed
    std::string to = {};
    // Whether the shares go: of the removed folder, or all of them.
    bool takesShares = false;
    bool takesAllShares = false;
    // Whether folders are sized, with the scans that are due.
    bool sizes = false;
    bool lists = false;
    // What must be met at the least: file operations of any kind in one run, and allocations.
    uint32_t operations = 4;
    uint32_t allocations = 10;
};

const std::vector<TreeScenario>& TreeScenarios();

// The mailbox that all begin with: "Inbox", and "Work" with "A", in which "Deep" is, and "B". Each has messages and an index,
// "B" one message that its index does not know and a flag that asks for the scan; "Work" has a child that its list does not
// name, and the flag that asks for a new one. "Inbox" and "Work/A" are shared with two users, who have other shares as well.
// The settings of `store` are changed, so it is not attached yet.
void PutTreeSettings(TestStore& store);
void MakeTree(TestStore& store);
inline constexpr const char* kTreeFolders[] = {"Inbox", "Work", "Work/A", "Work/A/Deep", "Work/B"};

// The names that an undisturbed enumeration gives, by a list that nobody has used; nothing when there is none.
std::vector<std::string> ListChildren(const std::string& folder);
uint32_t SizeOfTree();
// The IDs that an undisturbed open of the folder lists.
std::set<std::string> ListMessages(const std::string& folder);
std::filesystem::path SecurityDirectory(const TestStore& store);

}  // namespace velmora::test

#endif
