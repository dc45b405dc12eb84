// The stream writer: brings the index file up to date in place.
//
// A removed item is struck out where it stands, its identifiers overwritten with dashes. A changed item and all that
// follow it in UID order are written again from that item's place; where memory holds only part of the file, the bytes
// between loaded items are carried along as gaps. Only when the remembered offsets cannot be trusted is the file written
// in full. There is no temporary file and no rollback. A crash in the middle mostly leaves a file that the reader finds
// malformed, and recovery mends it; when all that was missing are bytes that overwrite others of the same length, the file
// loads with some changes in it and some not, and the folder's files tell the rest at the next scan. A crash of a full rewrite
// between its header and the cut behind it leaves the old elements, as one in front of the save does.
//
// LASTUID never falls, wherever a save ends: the header is written first, and over the old one.
//
// Cost follows what stands behind the first dirty item, not the size of the file: an append writes one element, the end
// tag and eight digits.
#ifndef VELMORA_PERSISTENCE_STREAMINDEXWRITER_H
#define VELMORA_PERSISTENCE_STREAMINDEXWRITER_H

#include <cstdint>
#include <string>

#include "velmora/index_records.h"

namespace velmora {

inline constexpr uint32_t kOpenRetryPauseMs = 2000;
inline constexpr uint32_t kOpenRetryLimit = 20;  // pauses; there is one more open than that

// 1 when the file is good afterwards or nothing had to be done, 0 when nothing or not all could be written. Items of the table
// that are in no file yet get other UIDs when the file has passed theirs.
uint64_t WriteIndexFile(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind);

}  // namespace velmora

#endif
