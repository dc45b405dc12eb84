// The property that a file which somebody else wrote, or damaged, is read by the rules and never made worse.
#ifndef VELMORA_TESTS_PERSISTENCE_FOREIGNINDEX_H
#define VELMORA_TESTS_PERSISTENCE_FOREIGNINDEX_H

#include <string>
#include <string_view>

#include "tests/persistence/Choices.h"
#include "tests/persistence/IndexFolder.h"

namespace velmora::test {

// Loads `bytes` as the folder's index at any level, with any selection, with or without a look for the item files. The
// plain reader must come to the same items, the same level and the same first fault. What is loaded is then changed and
// saved. A save that is refused leaves the file alone; after any other the file must be good, provided that it was, and
// hold what it held and the changes. Empty when all that holds, else what does not.
std::string ChangeForeignFile(const IndexFolder& folder, std::string_view bytes, Choices& choices);

}  // namespace velmora::test

#endif
