// The records that a C++ host hands to the StoreIndex_* functions.
//
// A C host sees STOREINDEXTYPE and STOREITEMTYPE as opaque names (vlaisp.h) and works through the StoreFolder_* family,
// where the library owns every record. A C++ host may hold a STOREINDEXTYPE of its own: it declares one, calls
// StoreIndex_Init, fills the three names, and gives everything back with StoreIndex_Release before the record goes out
// of scope. What Content points to belongs to the library: StoreIndex_Release frees it, and so does everything that begins
// anew (StoreIndex_Init, every load of an open, a get or a scan).
//
// None of these records may be copied or shared between processes; their layout is not a file format.
#ifndef VELMORA_INDEX_RECORDS_H
#define VELMORA_INDEX_RECORDS_H

#include <cstdint>
#include <string>

namespace velmora {
class IndexItemPropertyContainer;
struct IndexTableContent;
}  // namespace velmora

struct STOREINDEXTYPE;

// Bytes in every name and path field, the terminating zero included. Longer text is cut, never refused.
inline constexpr unsigned kStoreNameSize = 1024;

// STOREITEMTYPE::Class while the class of an item is not known yet.
inline constexpr uint32_t kUnknownItemClass = 0xFFFFFFFFu;

// A handle on one item of a folder. It owns nothing: Item stays valid until the next reload of its folder's index.
struct STOREITEMTYPE {
    velmora::IndexItemPropertyContainer* Item = nullptr;
    uint32_t Class = kUnknownItemClass;  // the IndexKind of the item
    char Postoffice[kStoreNameSize] = {};
    char Mailbox[kStoreNameSize] = {};
    char Folder[kStoreNameSize] = {};
    char FolderPath[kStoreNameSize] = {};  // the item's directory; an empty field is taken from the index at need

    STOREITEMTYPE() = default;
    STOREITEMTYPE(const STOREITEMTYPE&) = delete;
    STOREITEMTYPE& operator=(const STOREITEMTYPE&) = delete;
};

// How a table was loaded last, kept so that a later, higher level can repeat it.
struct IndexLoadArguments {
    STOREINDEXTYPE* Owner = nullptr;  // null for a table that stands alone
    std::string FolderPath;
    uint32_t IndexKind = 0;
    std::string Postoffice;
    std::string Mailbox;
    uint8_t SkipIfLoaded = 0;
    uint8_t NoBlock = 0;
    uint32_t VerifyItemFiles = 0;
    uint8_t CheckDirty = 1;
    uint8_t ForceRebuild = 0;
};

// The items of one folder in three orderings, and what is known of the file that they came from.
struct SORTEDSTOREINDEXTYPE {
    velmora::IndexTableContent* Content = nullptr;  // Sequence, ByUID, ByID, RemovedItems and the memory of the items
    int32_t LoadLevel = 0;                          // 0 nothing, 1 header, 2 identifiers, 3 full
    IndexLoadArguments LastLoad;
    uint32_t LastUID = 0;         // the largest UID ever given or seen in this folder
    int32_t FirstDirtyUID = 0;    // the lowest UID changed since the last save; 0 none
    uint8_t RewriteRequired = 0;  // the next save replaces the whole file
    uint64_t IndexFileTime = 0;   // last-write time (FILETIME) of the file when it was loaded; 0 none
    uint32_t IndexFileSize = 0;   // its size then, in bytes
    std::string LoadSelection;    // comma-separated IDs to load; empty means all
    uint64_t LoadGeneration = 0;  // goes up whenever the items are deleted: pointers from before are invalid

    SORTEDSTOREINDEXTYPE() = default;
    SORTEDSTOREINDEXTYPE(const SORTEDSTOREINDEXTYPE&) = delete;
    SORTEDSTOREINDEXTYPE& operator=(const SORTEDSTOREINDEXTYPE&) = delete;
};

// The record of one folder.
struct STOREINDEXTYPE {
    char Postoffice[kStoreNameSize] = {};
    char Mailbox[kStoreNameSize] = {};
    char Folder[kStoreNameSize] = {};  // the path inside the mailbox, with either separator
    uint64_t ItemCount = 0;            // length of the sequence at the end of the last open
    SORTEDSTOREINDEXTYPE Table;
    char Path[kStoreNameSize] = {};  // the folder's directory; empty while the record is not placed
    uint32_t Changed = 0;            // 1 when something in Table must be saved
    uint32_t LoadedLastUID = 0;
    STOREITEMTYPE InsertItem;    // of the insertions: where they look for files, and the item that the last one made, if any
    int32_t IndexFileBytes = 0;  // size of _index.xml after the last full load; 0 none
    uint32_t IndexKind = 0;      // 0 mail, 1 contacts, 2 calendar, 3 tasks, 4 files, 54 groups
    uint32_t RefCount = 0;       // open folder contexts that use this record
    uint32_t CachedDetails[13] = {};
    void* BlockFileHandle = nullptr;  // the block file held for this record, or null
    void* Mutex = nullptr;            // null for a record that a host holds for itself

    STOREINDEXTYPE() = default;
    STOREINDEXTYPE(const STOREINDEXTYPE&) = delete;
    STOREINDEXTYPE& operator=(const STOREINDEXTYPE&) = delete;
};

#endif
