// A record of a folder's index that belongs to one piece of work, and is in no registry.
#ifndef VELMORA_FOLDERS_LOCALINDEX_H
#define VELMORA_FOLDERS_LOCALINDEX_H

#include <memory>
#include <string_view>

#include "common/Text.h"
#include "velmora/index.h"
#include "velmora/index_records.h"

namespace velmora {

// It has a path and nothing else, and is given back with what a load or a scan has put into it.
class LocalIndex {
public:
    explicit LocalIndex(std::string_view directory) : record_(std::make_unique<STOREINDEXTYPE>())
    {
        StoreIndex_Init(record_.get());
        isPlaced_ = !directory.empty() && CopyBounded(record_->Path, directory);
    }
    ~LocalIndex() { StoreIndex_Release(record_.get()); }
    LocalIndex(const LocalIndex&) = delete;
    LocalIndex& operator=(const LocalIndex&) = delete;

    // False for a directory that is empty or was cut: the record would be another folder's.
    bool IsPlaced() const { return isPlaced_; }
    STOREINDEXTYPE& operator*() const { return *record_; }
    STOREINDEXTYPE* operator->() const { return record_.get(); }

private:
    std::unique_ptr<STOREINDEXTYPE> record_;
    bool isPlaced_ = false;
};

}  // namespace velmora

#endif
