// A set of item IDs, made from a comma-separated list.
#ifndef VELMORA_INDEX_SELECTIONSET_H
#define VELMORA_INDEX_SELECTIONSET_H

#include <set>
#include <string>
#include <string_view>

namespace velmora {

// Ordered byte by byte. Empty tokens of the list vanish; null and "" give an empty set.
using SelectionSet = std::set<std::string, std::less<>>;

SelectionSet MakeSelectionSet(std::string_view commaList);

// True when the set holds `id`, or holds "*".
bool SelectionContains(const SelectionSet& set, std::string_view id);

}  // namespace velmora

#endif
