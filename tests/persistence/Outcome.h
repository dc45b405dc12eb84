// What a read left behind, as one text that two readers can be compared by.
#ifndef VELMORA_TESTS_PERSISTENCE_OUTCOME_H
#define VELMORA_TESTS_PERSISTENCE_OUTCOME_H

#include <string>

#include "tests/persistence/PlainReader.h"
#include "velmora/index_records.h"

namespace velmora::test {

// Whether the process keeps properties of that name. Until the bound of its table of names is met it keeps every one, and no
// test comes near; only a fuzz target that has run long asks the table which came first.
bool IsKept(const std::string& name);

std::string Describe(int result, const std::string& fault, SORTEDSTOREINDEXTYPE& table);
std::string Describe(const PlainOutcome& outcome, const PlainIndex& index);

// The items of a table: every property of each, in order of UID, and the two other orderings.
std::string DescribeItems(SORTEDSTOREINDEXTYPE& table);

}  // namespace velmora::test

#endif
