// Steps that the files of a record's life share.
#ifndef VELMORA_INDEX_STOREINDEXSTEPS_H
#define VELMORA_INDEX_STOREINDEXSTEPS_H

#include <cstdint>
#include <string>
#include <utility>

#include "locks/BlockFile.h"
#include "velmora/index_records.h"

namespace velmora {

// Levels of StoreLog: what goes on, and what is of interest only when something is looked for.
inline constexpr uint32_t kLogProgress = 8;
inline constexpr uint32_t kLogDetail = 9;

// A load on the record's own names with every flag off: nothing skipped, the block file taken, no dirty check.
IndexLoadArguments LoadArgumentsOf(STOREINDEXTYPE& index);

// StoreIndex_Save for callers inside a guarded section of their own: what it throws is theirs to report.
uint64_t SaveRecord(STOREINDEXTYPE& index);

// A block file that is held by its handle and let go at the end of the scope at the latest.
class HeldBlock {
public:
    explicit HeldBlock(std::string path) : path_(std::move(path)) {}
    ~HeldBlock() { Release(); }
    HeldBlock(const HeldBlock&) = delete;
    HeldBlock& operator=(const HeldBlock&) = delete;

    // The wait of an open; false when the block was not to be had.
    [[nodiscard]] bool Wait() { return WaitForIndexBlock(path_, handle_) == BlockWait::Held; }
    // Once; later calls do nothing and answer Gone.
    BlockDelete Release()
    {
        if (!handle_) return BlockDelete::Gone;
        CloseBlockHandle(handle_);
        handle_ = nullptr;
        return DeleteBlockFile(path_);
    }

private:
    std::string path_;
    void* handle_ = nullptr;
};

}  // namespace velmora

#endif
