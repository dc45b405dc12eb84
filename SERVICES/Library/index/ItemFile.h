// An item's own file: where it is, whether it still stands, its deletion.
#ifndef VELMORA_INDEX_ITEMFILE_H
#define VELMORA_INDEX_ITEMFILE_H

#include <string>
#include <string_view>

#include "velmora/index_records.h"

namespace velmora {

// False for an ID that names no item's file of a folder: an empty one; one with a separator in it, which leads elsewhere; one
// that begins with "_" or ".", as the folder's own files do.
bool IsItemFileName(std::string_view id);

// The path of the file of item `id` in the folder of the handle, whose directory is resolved if it is not known yet. Empty
// for an ID that names none, and for a handle that names no folder.
std::string ItemFilePath(STOREITEMTYPE& handle, std::string_view id);

// Deletes the file of the handle's item, or of `itemId` when that has no ID; true when it is gone. Only a plain file of exactly
// that name is deleted: systems know one file under several spellings, and the item of another one may own it.
bool DeleteItemFile(STOREITEMTYPE& handle, const char* itemId);

// False when the folder is known to have no plain file of exactly that name: not for another spelling, a match of a
// pattern, a directory, a device, or something below another directory. One that cannot be asked for now may be there.
bool MayHaveItemFile(const std::string& folderPath, std::string_view id);

}  // namespace velmora

#endif
