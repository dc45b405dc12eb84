// Items by the names that a person gave them on the command line.
#ifndef VLSTORE_ITEMIDS_H
#define VLSTORE_ITEMIDS_H

#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

class OpenFolder;

// The items as the folder spells them, each once. Throws Failure for the first that the folder does not have, and for one
// that a direct change cannot name.
std::vector<std::string> SelectIds(OpenFolder& folder, const std::vector<std::string>& asked);
// False for what would be another file than one of the folder's items, wherever the text comes from.
bool IsPlainItemName(std::string_view id);
// `count` of them at most, from `first` on, with commas between.
std::string IdList(const std::vector<std::string>& ids, size_t first, size_t count);

}  // namespace vlstore

#endif
