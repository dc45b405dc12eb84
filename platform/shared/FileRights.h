// Whose a file is and who may read it, carried over to the file that takes its place.
#ifndef VELMORA_PLATFORM_SHARED_FILERIGHTS_H
#define VELMORA_PLATFORM_SHARED_FILERIGHTS_H

#include <string>

namespace velmora::platform {

// Gives the new file `to` the owner and the rights of `from`. True also when there is no `from`. False when they cannot be
// given, or when `from` has other names or is a link: it can be written, but nothing can take its place without a change.
bool TakeOverRights(const std::string& from, const std::string& to);

}  // namespace velmora::platform

#endif
