// Flag files: marks in a folder's directory whose existence is the whole message.
//
// _CHANGE.DTY says that the index does not cover all that the folder holds. Anybody may set it at any time, without a
// lock; it goes when a holder of the block file, or a full load, has taken it into account.
#ifndef VELMORA_LOCKS_FLAGFILES_H
#define VELMORA_LOCKS_FLAGFILES_H

#include <cstdint>
#include <string_view>

namespace velmora {

inline constexpr char kChangeFlagName[] = "_CHANGE.DTY";

// Makes or replaces a flag, while others may read and write it; setting it twice changes nothing but its time. `text` is for
// whoever finds the file; nobody reads it. False when it cannot be opened. Needs no memory: many a flag is set because there was
// none for something else.
bool SetFlag(const char* directory, const char* name, std::string_view text) noexcept;

// Fixed for the life of a process; writable so that tests can see the other branch.
struct FlagSwitches {
    uint32_t DirtyTrackingEnabled = 1;
    uint32_t CachedTransactionsEnabled = 0;
};
FlagSwitches& Switches();

// Writes _CHANGE.DTY. Always 1, also when the file cannot be opened: the worst outcome is a later rescan.
uint64_t MarkFolderDirty(const char* folderPath) noexcept;
// The same for the mailbox's Inbox.
uint64_t MarkInboxDirty(const char* postoffice, const char* mailbox);
// Takes note of a _CHANGE.DTY that stands now, for a load that is going to take it into account. The number is the flag's
// last write, moved on so that it is not that of a flag set later; 0 when there is none. What a process left that died in
// DropNotedMark counts as a flag again.
uint64_t NoteDirtyMark(const char* folderPath);
// Takes the noted flag away. One that was set since stays. Nothing for 0.
void DropNotedMark(const char* folderPath, uint64_t noted);

// Writes _CACHED.DTY; 0 when cached transactions are off, the path is null or the file cannot be opened.
uint64_t MarkCachedTransactions(const char* folderPath);
// Deletes _CACHED.DTY; 0 when cached transactions are off or the path is null.
uint64_t ClearCachedTransactions(const char* folderPath);
// Takes the dirty flag away and says whether the folder must be scanned: a flag was there, or there is no index, or dirty
// tracking is off, or the path is null, for which no file is looked at.
bool StoreIndex_FolderNeedsScan(const char* folderPath);

}  // namespace velmora

#endif
