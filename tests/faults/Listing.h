// What a folder lists: every item with all its columns, as a host that opens it gets them.
#ifndef VELMORA_TESTS_FAULTS_LISTING_H
#define VELMORA_TESTS_FAULTS_LISTING_H

#include <cstdint>
#include <map>
#include <string>

#include "velmora/index_records.h"

namespace velmora::test {

using Columns = std::map<std::string, std::string>;
using Listing = std::map<std::string, Columns>;  // by ID

// The items of a loaded table. Places in the listing (SEQ, IDX) are left out, and the time of a change that was made while
// the test's clock ran counts as "now".
Listing ListingOf(SORTEDSTOREINDEXTYPE& table);
// Of the folder that the calling thread has open.
Listing ListingOfOpenFolder();

// The columns without `UID`.
Columns WithoutUid(Columns columns);
std::string Text(const Columns& columns);

}  // namespace velmora::test

#endif
