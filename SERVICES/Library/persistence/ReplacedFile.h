// What the file that a full save is about to replace knows and the table does not: UIDs that have been given.
#ifndef VELMORA_PERSISTENCE_REPLACEDFILE_H
#define VELMORA_PERSISTENCE_REPLACEDFILE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "velmora/index_records.h"

namespace velmora {

// Whether the items of a folder of that kind can be made again from its files. Group items can not: a flag would have the next
// load empty them.
bool RebuildsFromFiles(uint32_t indexKind);

// `head` is that of the file (IndexHead.h); `asLoaded` says that it is the file that the table was loaded from. The table's
// LastUID becomes at least that of the file, of which, when it is damaged, only the headers that the writers make are believed.
//
// Items that others added since the load are in the file alone and will not be in the new one. Their UIDs are not given
// again: items of the table that are in no file yet and bear such UIDs get others. When there was something of the sort, or
// the file does not tell, the folder is marked dirty so that it is looked through again.
void TakeOverReplacedFile(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, std::string_view head,
                          bool asLoaded);

}  // namespace velmora

#endif
