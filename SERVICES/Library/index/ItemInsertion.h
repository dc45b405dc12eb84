// One new item of any kind into an open index, from its file, and the removal that undoes it.
//
// What a kind makes of the file is its back-end's business (ItemBackend::insertFile); the way into the table is one.
#ifndef VELMORA_INDEX_ITEMINSERTION_H
#define VELMORA_INDEX_ITEMINSERTION_H

#include <cstdint>
#include <memory>
#include <string>

#include "index/IndexItem.h"
#include "velmora/index_records.h"

namespace velmora {

// What a delivery says of a message beside the message itself, and what it is told back. A list of deliveries shares one:
// `Read` stays from one entry to the next, and the other two are set anew.
struct InsertionHeader {
    std::string TempFlags;  // flags to begin with; "SIZE=<bytes>" in front of everything else gives the size instead
    int32_t Read = 0;       // 1: the message was seen already. Kept: an entry never takes it back
    int32_t Size = 0;       // out: bytes of the item; 0 when there was nothing to read
};

// The file that a new item comes from.
struct NewItemFile {
    std::string id;  // its name in the folder, not empty
    uint32_t readHeaders = 1;
    bool clearTempFlags = false;
};

// Makes an item for the file `itemId` of the folder and inserts it; LoadedLastUID follows. `readHeaders` 1 parses a message,
// anything else makes the bare item. `clearTempFlags` drops TempFlags before the message is read. 1, also for an empty id
// and for an item that the table does not take (an ID or UID that is there already: it is dropped); 0 when a message, or a
// group's file that is there, cannot be read. Writes no Changed flag. No lock: the record is the caller's own.
//
// Afterwards InsertItem of the record has the new item, or none when nothing was inserted; it is good until the next load.
uint64_t InsertItemFromFile(STOREINDEXTYPE& index, const char* itemId, uint32_t readHeaders, bool clearTempFlags, InsertionHeader& header);

// For back-ends: the last step of an insertion. True when the table took the item, which is in InsertItem then; one that it
// does not take is destroyed.
bool EnterNewItem(STOREINDEXTYPE& index, std::unique_ptr<IndexItemPropertyContainer> item);

// The insertion of kinds whose items are made of their ID alone. True: nothing can go wrong with it.
bool InsertBareItem(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader& header);

// Removes the items of the comma-separated `idList`. `Size` of the header becomes the sum of their SIZE columns; in
// `details`, if given, the counts of items, seen and recent items are lowered. An ID that is listed twice counts once, and
// one that is not there not at all. The result of RemoveItems; 0 when the index cannot be loaded, which is tried once for
// the whole list, and for a null index, with a line on standard output.
uint64_t RemoveStoreItemByMessageID(STOREINDEXTYPE* index, const char* idList, uint32_t reserved, InsertionHeader& header,
                                    uint32_t (*details)[13]);

}  // namespace velmora

#endif
