// A folder's cached counts, as they stand beside its index, and as they follow from a listing.
#ifndef VELMORA_TESTS_FAULTS_COUNTS_H
#define VELMORA_TESTS_FAULTS_COUNTS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/faults/Listing.h"
#include "velmora/status.h"

namespace velmora::test {

using Counts = std::array<uint32_t, VELMORA_STATUS_WORDS>;

// Of the scenarios' folder; words that the file does not have are 0. Nothing when there are none.
std::optional<Counts> ReadCounts();

// What a count of these items gives. The highest UID stands for the highest that was ever given.
Counts CountsOf(const Listing& listing);

// Whether they are the counts of the listing, in these words; none: in all. A folder may have given higher UIDs than it still lists.
bool AreCountsOf(const Counts& counts, const Listing& listing, const std::vector<uint32_t>& words = {});

std::string Text(const Counts& counts);

}  // namespace velmora::test

#endif
