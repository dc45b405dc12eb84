// What a save in place has to know of the file, read before anything is written over.
//
// Items remember where their elements stand. A save in place relies on that for every byte that it leaves alone, so it
// first looks whether the file still is what the items remember: the header, the end tag, the elements that are about to
// be struck out or written over. When one of them is not, the file must not be changed in part.
//
// An index that is loaded in full stands for the whole file. Any other knows only some of the elements; the bytes between
// those are gaps, which travel with the item in front of them. All gaps are read before the first item is written, because
// an item that grows may reach beyond the next item, into a gap behind it or over the end tag.
#ifndef VELMORA_PERSISTENCE_INPLACEPLAN_H
#define VELMORA_PERSISTENCE_INPLACEPLAN_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/FileStream.h"
#include "index/IndexTable.h"
#include "velmora/index_records.h"

namespace velmora {

// Whether the table knows every element of its file.
bool StandsForFile(const SORTEDSTOREINDEXTYPE& table);

// Visits the items from `firstUid` on, each with the next one: an item's gap ends where the next item stood. `visit` takes
// (item, next item or null, whether it is a later item that was never in the file).
template <typename Visit>
void ForEachItemAndNext(const UidOrder& items, uint32_t firstUid, Visit visit)
{
    IndexItemPropertyContainer* waiting = nullptr;
    bool waitingIsNew = false;
    items.ForEachFrom(firstUid, [&](uint32_t, IndexItemPropertyContainer* item) {
        const bool itemIsNew = waiting && item->FileOffset == 0;
        if (waiting) visit(*waiting, item, waitingIsNew);
        waiting = item;
        waitingIsNew = itemIsNew;
    });
    if (waiting) visit(*waiting, static_cast<IndexItemPropertyContainer*>(nullptr), waitingIsNew);
}

class InPlacePlan {
public:
    // Looks at the open file. False when it is not what the table remembers, or cannot be read.
    [[nodiscard]] bool Read(SORTEDSTOREINDEXTYPE& table, FileStream& stream);
    // Reads all gaps, behind a good Read and after removed items have been struck out, which may lie in one. False when a
    // gap cannot be had whole, or a strike-out did not reach the file; nothing may be written over then.
    [[nodiscard]] bool ReadGaps();

    // Behind a good Read: the number in the file's header, and its size.
    uint32_t LastUidInFile() const { return lastUidInFile_; }
    uint64_t FileSize() const { return fileSize_; }

    // False when only removals were asked for, which move nothing.
    bool WritesItems() const { return writesItems_; }
    uint32_t FirstUid() const { return firstUid_; }  // items from here on are written again
    uint64_t Position() const { return position_; }  // where the first of them goes
    // The gap behind the n-th of them, from 0; empty when there is none.
    std::string_view Gap(size_t step) const { return step < gaps_.size() ? std::string_view(gaps_[step]) : std::string_view(); }

private:
    bool ReadHeader();
    bool FindEndOfItems();
    bool ElementsEndAt(uint64_t offset, std::string_view known);
    bool ChooseFirstItem();
    bool RemovedItemsStand();
    bool WalkedItemsStand();
    bool StandsInFile(const IndexItemPropertyContainer& item);
    std::string BytesAt(uint64_t offset, size_t size);

    SORTEDSTOREINDEXTYPE* table_ = nullptr;
    FileStream* stream_ = nullptr;
    uint32_t lastUidInFile_ = 0;
    uint64_t fileSize_ = 0;
    uint64_t endOfItems_ = 0;  // where the end tag stands
    bool writesItems_ = false;
    uint32_t firstUid_ = 0;
    uint64_t position_ = 0;
    std::vector<std::string> gaps_;
};

}  // namespace velmora

#endif
