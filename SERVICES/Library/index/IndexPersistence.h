// What the index asks of its serialisers. Declared here, answered by the persistence room.
#ifndef VELMORA_INDEX_INDEXPERSISTENCE_H
#define VELMORA_INDEX_INDEXPERSISTENCE_H

#include <cstdint>
#include <string>

#include "velmora/index_records.h"

namespace velmora {

// True when the configured writer needs every item in memory before it can save.
bool RequiresFullLoad();

// Loads `table` with `arguments`, which it records in the table; true when at least `level` was reached. Unless NoBlock
// is set, the folder's block file is taken for the load, with one attempt, which needs an owner.
bool LoadIndex(SORTEDSTOREINDEXTYPE& table, const IndexLoadArguments& arguments, int32_t level);

// The same with the level raised to what the configured writer needs, and, where that is every item of a file,
// with no selection.
bool OpenIndexForLoad(SORTEDSTOREINDEXTYPE& table, const IndexLoadArguments& arguments, int32_t level);

// Writes the table to `folderPath`; 1 when the file is good afterwards, which also clears FirstDirtyUID and
// RewriteRequired, else 0. The caller holds the folder's block file.
uint64_t SaveIndex(SORTEDSTOREINDEXTYPE& table, const char* folderPath, uint32_t indexKind);

// For a table that starts from nothing, or from less than its file held: raises its LastUID to that of the index that was put
// aside as damaged, so that no UID is given twice. False, with nothing changed, when that file cannot be read now. Group items
// have none.
[[nodiscard]] bool TakeOverLastUid(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t indexKind);

// "_groups.xml" for kind 54, "_index.xml" otherwise.
const char* IndexFileName(uint32_t indexKind);
std::string IndexFilePath(const std::string& folderPath, uint32_t indexKind);

}  // namespace velmora

#endif
