// What a kind of item knows of itself, behind one table.
//
// What differs between kinds of items is asked here. Apart from this table a kind is looked at for the names of the index
// and block files of group items, for a record of group items to stay one, for the setting that rebuilds a calendar on every
// load, for the new-mail count of the Inbox, for the kinds whose items a deletion takes out of the index, and for documents,
// which the provider answers itself. Each back-end lives in the items room; all are listed in items/Backends.cpp. A kind
// whose back-end is not built has the absent one: no file of its own, no properties.
#ifndef VELMORA_INDEX_ITEMBACKEND_H
#define VELMORA_INDEX_ITEMBACKEND_H

#include <cstdint>
#include <string_view>

#include "velmora/index_records.h"

namespace velmora {

struct InsertionHeader;
struct NewItemFile;
bool InsertBareItem(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader& header);

inline constexpr uint32_t kKindMail = 0;
inline constexpr uint32_t kKindContacts = 1;
inline constexpr uint32_t kKindCalendar = 2;
inline constexpr uint32_t kKindTasks = 3;
inline constexpr uint32_t kKindFiles = 4;
inline constexpr uint32_t kKindCalendarDocument = 5;
inline constexpr uint32_t kKindGroups = 54;

// The status of a property that cannot be answered: the low 32 bits set, the high ones clear.
inline constexpr uint64_t kNoProperty = 0xFFFFFFFFull;

inline constexpr uint32_t kScanTakesBlock = 1;    // VL_STOREINDEX_REINDEX: the scan takes the block file itself
inline constexpr uint32_t kScanCallerHolds = 99;  // VL_STOREINDEX_CHECKDIRTY: the caller holds it

// How StoreIndex_Get reads the index of a kind.
enum class IndexGet : uint32_t {
    Open,      // through StoreIndex_Open, mode 5
    Load,      // straight from the file, every time
    LoadOnce,  // straight from the file, unless something is loaded already
};

struct ItemBackend {
    // Of the item files, without a dot; empty when the kind has none.
    const char* extension;

    // A property of the item in `handle`, by its public name: 2 with a new allocation in `value` that the caller frees and
    // its size in bytes (text counts its terminator); or, with null and 0, kNoProperty, and the item's place in the store is
    // asked next. Kinds above 4 have no properties of either sort and answer 0.
    uint64_t (*getProperty)(STOREITEMTYPE& handle, const char* name, void** value, uint64_t* size);

    // Writes a property of the item `itemId` (created if it does not exist) or, with no id, of the item in `handle`.
    // `index` may be null: then no record is marked changed. 1 stored, else not.
    uint64_t (*setProperty)(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* name, const void* value);

    // Brings the index in step with the folder's files, after `mode` (0, kScanTakesBlock, kScanCallerHolds).
    // `verifyItemFiles` above 0 drops items of the index file whose own file is gone.
    uint64_t (*scan)(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const char* folderPath, uint32_t mode, uint32_t verifyItemFiles);

    // Writes a changed item back into its file; kinds whose files the store does not rewrite answer 1.
    uint64_t (*saveItem)(STOREINDEXTYPE* index, STOREITEMTYPE& handle);

    // Deletes the item's file; true when it is gone.
    bool (*deleteItemFile)(STOREITEMTYPE& handle, const char* itemId);

    // True when StoreIndex_SaveChanged stamps MODIFIEDDATE with the file's last write instead of the present time.
    bool stampsFromFile;

    // False for a kind whose folders an open never scans: only a forced rebuild brings them in step with their files.
    bool scannedByOpen = true;

    IndexGet indexGet = IndexGet::Open;

    // Makes a table agree with the folder's own files, from what it holds already or from nothing. The caller holds the
    // block file. False when a part could not be read at this moment, so that the folder has to be looked at again. Null for
    // a kind that cannot be rebuilt.
    bool (*rebuild)(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const char* folderPath) = nullptr;

    // Makes an item of a new file of the folder and gives it to the table with EnterNewItem; InsertItem of `index` is placed.
    // False, with nothing inserted, when the file cannot be read. The default is for kinds whose files nobody reads, and for
    // those whose reader is not built: the item has its ID and no other column, and the file stays as it is until a reader
    // can take over all that it says.
    bool (*insertFile)(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader& header) = InsertBareItem;

    // False for an ID under which insertFile and a scan can never find an item; a null one takes every ID.
    bool (*takesName)(std::string_view id) = nullptr;
};

const ItemBackend& BackendFor(uint32_t indexKind);

}  // namespace velmora

#endif
