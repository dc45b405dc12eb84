// Steps that the files of a record's life share.
#ifndef VELMORA_INDEX_STOREINDEXSTEPS_H
#define VELMORA_INDEX_STOREINDEXSTEPS_H

#include <cstdint>

#include "locks/BlockFile.h"
#include "velmora/index_records.h"
#include "velmora/locks.h"

namespace velmora {

// Levels of StoreLog: what goes on, and what is of interest only when something is looked for.
inline constexpr uint32_t kLogProgress = 8;
inline constexpr uint32_t kLogDetail = 9;

// A load on the record's own names with every flag off: nothing skipped, the block file taken, no dirty check.
IndexLoadArguments LoadArgumentsOf(STOREINDEXTYPE& index);

// Writes the index of a fully loaded record without the elements that the load found doubled, and the counts with it; the
// table is then as another load has it. Leaves all as it is when the folder is held by somebody else or was changed since the
// load: a later open comes by here. False when that other load failed.
[[nodiscard]] bool DropDoubledElements(STOREINDEXTYPE& index);

// StoreIndex_Save for callers inside a guarded section of their own: what it throws is theirs to report.
uint64_t SaveRecord(STOREINDEXTYPE& index);

// Whether _CHANGE.DTY helps a kind whose change could not be saved. No scan finds group items, and the mark would be taken for
// one of the folder's messages.
bool IsFoundByScan(uint32_t indexKind);

// Marks a folder that a scan could not read to its end, at the end of the scope: a load behind the scan would take the mark
// for somebody else's, and rebuild the folder at once.
class LateMark {
public:
    explicit LateMark(const STOREINDEXTYPE& index) : index_(index) {}
    ~LateMark();
    LateMark(const LateMark&) = delete;
    LateMark& operator=(const LateMark&) = delete;

    // Behind the scan, while its table stands.
    void NoteScan();

private:
    const STOREINDEXTYPE& index_;
    bool due_ = false;
};

// A block file that is held by its handle and let go at the end of the scope at the latest.
class HeldBlock {
public:
    explicit HeldBlock(const BlockPath& path) : path_(path) {}
    ~HeldBlock() { Release(); }
    HeldBlock(const HeldBlock&) = delete;
    HeldBlock& operator=(const HeldBlock&) = delete;

    // One attempt, no wait.
    [[nodiscard]] bool Try() { return WaitForAccessToIndexFileEx(path_.text, 1, &handle_) == 1; }
    // The wait of an open; false when the block was not to be had.
    [[nodiscard]] bool Wait() { return WaitForIndexBlock(path_.text, handle_) == BlockWait::Held; }
    // Once; later calls do nothing and answer Gone.
    BlockDelete Release()
    {
        if (!handle_) return BlockDelete::Gone;
        CloseBlockHandle(handle_);
        return DeleteBlockFile(path_.text);
    }

private:
    BlockPath path_;
    void* handle_ = nullptr;
};

}  // namespace velmora

#endif
