// The property that a folder's file holds what its changes come to, by whatever saves they got there.
#ifndef VELMORA_TESTS_PERSISTENCE_CHANGESEQUENCE_H
#define VELMORA_TESTS_PERSISTENCE_CHANGESEQUENCE_H

#include <cstdint>
#include <string>

#include "tests/persistence/Choices.h"
#include "tests/persistence/IndexFolder.h"

namespace velmora::test {

// Makes at most `steps` changes to a new folder: items are added, their values and flags changed, items removed, the table
// saved and loaded again at any level and with any selection. After each save the file must be well formed and hold the
// changes and nothing else; a refused save must leave it as it was. At the end it is written in full, and so are the same
// items in `elsewhere`, where there was no file: both must have the same bytes. Empty when all that holds, else what does
// not.
std::string ChangeFolder(const IndexFolder& folder, const IndexFolder& elsewhere, Choices& choices, uint32_t steps);

}  // namespace velmora::test

#endif
