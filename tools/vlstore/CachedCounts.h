// The counts of a folder: those that the store keeps beside the index, and those that its items make.
#ifndef VLSTORE_CACHEDCOUNTS_H
#define VLSTORE_CACHEDCOUNTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "Store.h"

namespace vlstore {

class OpenFolder;

// A count under the name that it has in the output, and its word among those that the store keeps.
struct CountName {
    const char* name;
    size_t word;
    bool ofItems;  // follows from the items alone; the others tell what happened to the folder
};
std::span<const CountName> CountNames();

class CachedCounts {
public:
    // Takes no lock and opens nothing. None when nothing has been counted yet.
    static std::optional<CachedCounts> Read(const Store& store, const FolderName& name);
    // The counts of the items as they are, those that do not follow from them being 0. Walks through the folder.
    static CachedCounts Compute(OpenFolder& folder);

    int32_t Word(size_t word) const { return static_cast<int32_t>(words_[word]); }

    // Whether exactly the one item that was inserted since `before` explains the difference. When a full count took place
    // meanwhile, it did not: that begins its tally anew, and takes up items that nobody inserted.
    bool IsOneInsertAfter(const CachedCounts& before) const;

private:
    std::array<uint32_t, VELMORA_STATUS_WORDS> words_{};
};

}  // namespace vlstore

#endif
