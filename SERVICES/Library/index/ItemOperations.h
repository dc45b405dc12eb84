// Items of an open index: find or create, search, walk, read a property (of the item, or of its place in the store), write a
// property or a column.
#ifndef VELMORA_INDEX_ITEMOPERATIONS_H
#define VELMORA_INDEX_ITEMOPERATIONS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "index/IndexItem.h"
#include "velmora/index_records.h"

namespace velmora {

// A list of items with a position. It holds pointers: an item that is removed during a walk stays valid until the next
// reload of its table.
struct ItemWalk {
    std::vector<IndexItemPropertyContainer*> Items;
    size_t Position = 0;

    void Reset()
    {
        Items.clear();
        Position = 0;
    }
};

void WalkFirst(ItemWalk& walk, STOREITEMTYPE& handle);
// The next item, or null at the end.
void WalkNext(ItemWalk& walk, STOREITEMTYPE& handle);

// Finds `itemId` into the handle, or makes and inserts a new item of that ID. 1; or 0 when nothing is loaded, and when the
// table takes no item of that ID (no UID is left, or an index file cannot hold it), with the handle's item null. An empty id
// answers 1 with the handle's item null.
uint64_t SelectOrCreateItem(STOREINDEXTYPE& index, STOREITEMTYPE& handle, const char* itemId);
// Finds `itemId`; on a miss the handle's item is null.
bool SelectItem(STOREITEMTYPE& handle, STOREINDEXTYPE& index, const char* itemId);

// Searches in ascending order of UID for the first item whose column `field` is `value`, byte for byte with `exact` other than
// 0, else in any case of letters. On a miss, and for a null text, the handle keeps its item. Holds the record's Mutex.
bool SelectItemByField(STOREITEMTYPE& handle, STOREINDEXTYPE& index, const char* field, const char* value, uint32_t exact);

// "VL_MAILBOX", "VL_POSTOFFICE", "VL_FOLDER", "VL_FOLDER_PATH" in any case, from the handle: 2 with a new allocation, or
// kNoProperty with `value` null and `size` 0. The directory is resolved when it is asked for and not known yet.
uint64_t GetContextProperty(STOREITEMTYPE* handle, const char* name, void** value, uint64_t* size);

// A property of the item in the handle, from its class's back-end, else from the context.
uint64_t ReadItemProperty(STOREITEMTYPE* handle, const char* name, void** value, uint64_t* size);

// Writes `column` of the item `itemId` (made if it does not exist) or, with no id, of the handle's item; marks the record
// changed and the item for its back-end. With a null `index` it is always the handle's item, and no record is marked. "@" in
// front of the column names a key column.
//
// Another ID moves the item to it in the index; its file stays where it is. The UID can be written only as it is.
//
// 1; or 0 when there is no item and none can be made, for a null column, for a name that an index file cannot carry or the
// process has no place for, for an ID that is not free (IsFreeId), and for another UID. A write that is refused makes no item
// and marks nothing.
uint64_t WriteColumnValue(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* column, const char* value);

}  // namespace velmora

#endif
