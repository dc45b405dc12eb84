// Whether an item's own file still stands.
#ifndef VELMORA_INDEX_ITEMFILE_H
#define VELMORA_INDEX_ITEMFILE_H

#include <string>
#include <string_view>

namespace velmora {

// False when the folder is known to have no plain file of exactly that name: not for another spelling, a match of a
// pattern, a directory, a device, or something below another directory. One that cannot be asked for now may be there.
bool MayHaveItemFile(const std::string& folderPath, std::string_view id);

}  // namespace velmora

#endif
