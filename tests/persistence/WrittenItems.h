// The property that any items come back from the file that they were written to.
#ifndef VELMORA_TESTS_PERSISTENCE_WRITTENITEMS_H
#define VELMORA_TESTS_PERSISTENCE_WRITTENITEMS_H

#include <string>

#include "tests/persistence/Choices.h"
#include "tests/persistence/IndexFolder.h"

namespace velmora::test {

// Fills a table with any items, writes it where no file was, and reads it back. A table takes every item with an ID that a
// file can carry and no other; columns whose names no file can carry are the only thing that is lost. What was read and is
// written again in full makes the same bytes. Empty when all that holds, else what does not.
std::string WriteAnyItems(const IndexFolder& folder, Choices& choices);

}  // namespace velmora::test

#endif
