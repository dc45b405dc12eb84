// _FOLDER.DAT: the counts of a folder, readable without its index.
//
// Exactly 52 bytes, 13 little-endian signed words: 0 to 2 reserved, 3 answered, 4 flagged, 5 position (from 1, in UID
// order) of the first seen item, 6 items, 7 seen, 8 recent, 9 and 10 items added directly since the last computation,
// 11 LastUID, 12 reserved. Words 1, 3, 7, 8 and 9 are lowered to word 6 whenever the file is read or written.
#ifndef VELMORA_INDEX_CACHEDDETAILS_H
#define VELMORA_INDEX_CACHEDDETAILS_H

#include <cstdint>
#include <string>

namespace velmora {

inline constexpr unsigned kDetailWords = 13;
inline constexpr char kCachedDetailsFile[] = "_FOLDER.DAT";

void ClampDetails(uint32_t (&details)[kDetailWords]);
// Clamps in place and writes the file; true when all 52 bytes were written. A write that stops on its way leaves older words
// beside newer ones: the folder is marked then, and the next scan counts.
bool WriteCachedDetails(const std::string& path, uint32_t (&details)[kDetailWords]);
// The same; false only where others may still read what was there before. No file is no wrong count.
bool ReplaceCachedDetails(const std::string& path, uint32_t (&details)[kDetailWords]);
// Reads what the file has and clamps in every case; words that the file does not have keep their value. True when
// anything was read.
bool ReadCachedDetails(const std::string& path, uint32_t (&details)[kDetailWords]);

}  // namespace velmora

#endif
