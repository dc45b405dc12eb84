// _DIRSIZE.TMP: how much a mailbox and each of its folders hold, in kilobytes, as a decimal number.
//
// A cache with no lock: whoever cannot have the file drops it, and the size is computed anew where it is asked for.
#ifndef VELMORA_INDEX_DIRECTORYSIZE_H
#define VELMORA_INDEX_DIRECTORYSIZE_H

#include <cstdint>

namespace velmora {

inline constexpr char kDirectorySizeFile[] = "_DIRSIZE.TMP";

// Kilobytes of a file of that many bytes, rounded to the nearest; a half goes up. A negative size, which a host or a damaged
// index can give, is none.
int64_t RoundedKilobytes(int64_t bytes);

// Adds `kilobytes`, which may be negative, to the size of the mailbox and to that of the folder; none goes below 0. A file
// that cannot be opened for this call alone is deleted instead, which does nothing to one that somebody else has open; so is
// one that cannot be read or written then. Null texts are empty; with an empty `folder`, and for a "$FILEROOT" folder, only
// the mailbox's file is adjusted. 1 when the last file that was asked for could be opened; 0 otherwise, and for 0 kilobytes,
// which touch nothing.
uint64_t AdjustDirectorySize(const char* postoffice, const char* mailbox, int64_t kilobytes, const char* folder);

}  // namespace velmora

#endif
