// The life of a folder's record between disk and memory: open, scan, save, commit, transactions.
//
// No process owns a folder. Each works on its own copy and reconciles through the file system: the block file keeps
// writers apart, the last-write time of the index file shows that somebody else wrote, _CHANGE.DTY asks for a rescan.
// Lock order: IndexOpenMutex, the block file, the record's Mutex. Saving takes Mutex first and the block second with one
// attempt and no wait, so the two orders cannot deadlock.
#ifndef VELMORA_INDEX_STOREINDEXLIFE_H
#define VELMORA_INDEX_STOREINDEXLIFE_H

#include <cstdint>
#include <functional>

#include "velmora/index_records.h"
#include "velmora/vlaisp.h"

namespace velmora {

// Empties the table and the handle in InsertItem. Always 1 for a record.
uint64_t StoreIndex_Reset(STOREINDEXTYPE* index);
// 0 failed, 1 saved, 2 nothing changed.
uint64_t StoreIndex_Commit(STOREINDEXTYPE* index);
// Writes the back-end files of flagged items, then commits. Always 1.
uint64_t StoreIndex_SaveChanged(STOREINDEXTYPE* index);

// The start of a change that needs no open folder: places the record, announces, takes the block, loads. 1 or 0.
uint64_t StoreIndex_BeginTransaction(STOREINDEXTYPE& index, const char* postoffice, const char* mailbox, const char* folder,
                                     uint32_t keepHandle, void*& handle, int32_t level);
// Its end: saves if `commit`, writes _FOLDER.DAT (from `details`, or computed with null), lets the block go. Always 1.
// `lastStep` runs in between: what belongs to the change and must not be met by the next holder half done. When it throws,
// or the counts cannot be written, the folder is marked. Throws only when nothing was saved.
uint64_t StoreIndex_SaveAndClose(STOREINDEXTYPE& index, bool commit, uint32_t keepHandle, void*& handle, uint32_t (*details)[13],
                                 const std::function<void()>& lastStep = {});

// The scan of a folder's files with a scan mode of ItemBackend.h.
uint64_t ScanStoreIndex(STOREINDEXTYPE* index, uint32_t scanMode);

// The largest count that a delivery agent left in `_<n>.NEW` files of a mailbox; all of them are deleted.
uint32_t TakeNewMailCounter(const char* mailboxDirectory);

}  // namespace velmora

#endif
