// What the file that a full save is about to replace knows and the table does not: UIDs that have been given.
#ifndef VELMORA_PERSISTENCE_REPLACEDFILE_H
#define VELMORA_PERSISTENCE_REPLACEDFILE_H

#include <string_view>

#include "velmora/index_records.h"

namespace velmora {

// `head` are the bytes at the head of the file, up to two more than the longest tag; `asLoaded` says that it is the file
// that the table was loaded from. The table's LastUID becomes at least that of the file.
//
// Items that others added since the load are in the file alone and will not be in the new one. Their UIDs are not given
// again: items of the table that are in no file yet and bear such UIDs get others. True when there was something of the
// sort, so that the folder has to be looked through again.
[[nodiscard]] bool TakeOverReplacedFile(SORTEDSTOREINDEXTYPE& index, std::string_view head, bool asLoaded);

}  // namespace velmora

#endif
