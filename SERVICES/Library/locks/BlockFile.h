// Block files: the lock that keeps processes apart on a folder.
//
// _index.blk (and _groups.blk) is an empty file; that it exists means that somebody holds the folder. It is made with
// "create new" and no sharing, which is atomic, and it cannot be deleted while its handle is open; the system closes the
// handle when its process dies. So a block file that somebody can delete is one that nobody holds.
//
// Held by handle: the handle stays open until release, nobody can delete the file, the lock dies with the process.
// Held by name:   the handle is closed at once and only the file stands; anybody may delete it.
//
// Letting go needs no memory, so that a process without any leaves no block behind.
//
// Lock order: block file, then the record's Mutex. Only StoreIndex_Save takes them the other way round, with a single
// attempt and no wait.
#ifndef VELMORA_LOCKS_BLOCKFILE_H
#define VELMORA_LOCKS_BLOCKFILE_H

#include <cstdint>
#include <string>

#include "velmora/index_records.h"

namespace velmora {

inline constexpr uint32_t kRetryPauseMs = 1000;
inline constexpr uint32_t kBlockWaitLimit = 60;    // failed attempts to create before a block counts as stale
inline constexpr uint32_t kBlockDeleteLimit = 80;  // further attempts to delete a block file

// folderPath "\_groups.blk" for kind 54, "\_index.blk" otherwise. Kept: cut at 1023 bytes, and the lock is then on the cut
// name.
struct BlockPath {
    char text[kStoreNameSize];
};
BlockPath BlockPathOf(const char* folderPath, uint32_t indexKind);
std::string BlockFilePath(const char* folderPath, uint32_t indexKind);

// One attempt at `<record's Path>\_index.blk`, whatever its kind; the handle stays in BlockFileHandle.
[[nodiscard]] bool AcquireIndexBlock(STOREINDEXTYPE& index);
// Closes the handle and deletes the file; true when the file was deleted.
bool ReleaseIndexBlock(STOREINDEXTYPE& index);

enum class BlockDelete { Deleted, Gone, GaveUp };
// Deletes a block file, trying up to 81 times with a second between.
BlockDelete DeleteBlockFile(const char* path);
inline BlockDelete DeleteBlockFile(const std::string& path) { return DeleteBlockFile(path.c_str()); }

// Closes a block handle with the operator's line on failure, and nulls it.
void CloseBlockHandle(void*& handle);

// From level 6 on the wait reports every denied access to the event log. Nothing but a test sets it.
uint32_t& BlockTraceLevel();

enum class BlockWait { Held, NotHeld };
// The one real wait, used by an open: up to 61 attempts a second apart, then the block is broken. On Held the handle is
// in `handle` and the caller releases it with CloseBlockHandle and DeleteBlockFile.
[[nodiscard]] BlockWait WaitForIndexBlock(const std::string& blockPath, void*& handle);

enum class IndexAvailability : uint32_t { Missing = 0, Present = 1, Busy = 5 };
// Whether the folder has an _index.xml, looked at under the block. `mode` 99: the caller holds the block.
IndexAvailability CheckIndexFileAvailability(const char* folder, uint32_t mode);

}  // namespace velmora

#endif
