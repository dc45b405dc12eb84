// The reindex pass over a folder's .MAI files: what is new is read and added, what has changed is read again, the index
// and the folder's counts are saved.
//
// A message that the index knows costs no open unless its last write or its size differ from what the index says. An
// item whose file is gone stays; only a load that verifies files drops it. The folder's block file is the only guard
// against other processes; within a process the caller holds the record as it must for any change.
#ifndef VELMORA_ITEMS_MAILSCAN_H
#define VELMORA_ITEMS_MAILSCAN_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "index/IndexItem.h"
#include "items/MessageHeader.h"
#include "velmora/index_records.h"

namespace velmora {

inline constexpr size_t kMaxItemNameLength = 63;

// What a directory search tells of one file.
struct ListedFile {
    std::string_view name;
    uint32_t size = 0;       // bytes, the low 32 bits
    uint32_t lastWrite = 0;  // DOS form
};

// The files of a listing in the order of the scan. The names lie in one block of memory.
class MessageListing {
public:
    // Lists folderPath\*.MAI. Stops when the number of entries seen, those left out included, reaches `rowLimit`; then
    // sorts by name without case. Left out are directories, devices, names that begin with "_" or ".", names longer than
    // kMaxItemNameLength, and names with a double quote or ">", which an index file cannot hold. A listing that fails holds
    // what was seen and is not complete.
    void Read(const std::string& folderPath, uint32_t rowLimit);

    size_t Count() const { return entries_.size(); }
    bool IsComplete() const { return complete_; }
    ListedFile operator[](size_t index) const;

private:
    struct Entry {
        uint32_t nameOffset;
        uint32_t nameLength;
        uint32_t size;
        uint32_t lastWrite;
    };
    void Sort();
    std::string_view NameOf(const Entry& entry) const { return {names_.data() + entry.nameOffset, entry.nameLength}; }

    std::string names_;
    std::vector<Entry> entries_;
    bool complete_ = true;
};

// The low 32 bits of the directory's creation time; 0 when the directory cannot be found.
uint32_t GetFolderUniqueId(const std::string& folderPath);

// Reads a new file and inserts an item with the next UID, which is counted up in `nextUid`. With branding on, a file that
// bears a UID of this folder is branded with the new one. Nothing is added unless the answer is Whole: NoMessage also means
// that no UID is left, or that the table refuses the name (the UID is then used up).
MessageRead AddMessageItem(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, const ListedFile& file, uint32_t folderUid,
                           uint32_t& nextUid);

// Reads the file of a known item again and updates the columns that follow it, or all of an item that has none. An item
// whose element of a damaged index was damaged itself loses its columns first; otherwise nothing changes unless the answer
// is Whole.
MessageRead RefreshMessageItem(IndexItemPropertyContainer& item, const std::string& folderPath, const ListedFile& file, uint32_t folderUid);

// The middle of the scan: brings a loaded table in step with a listing.
struct ReconcileResult {
    uint32_t totalBytes = 0;  // of all files looked at, modulo 2^32
    bool overflow = false;    // `rowLimit` was reached and the rest was not looked at
    bool listed = true;       // false: the folder could not be listed to its end
    bool unread = false;      // it could not, or a message could not be read at this moment
};
ReconcileResult ReconcileMessages(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, const MessageListing& files,
                                  uint32_t rowLimit);

// Its end: writes _DIRSIZE.TMP, unless the folder could not be listed, saves the index and writes _FOLDER.DAT. After an
// overflow the index is not saved. False, with the folder marked dirty, when it is not saved.
bool StoreScanResult(SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t indexKind, const ReconcileResult& result);

// Writes the number, in kilobytes, to folderPath\_DIRSIZE.TMP. 1 when the file cannot be opened, else 0.
uint64_t WriteDirectorySize(const std::string& folderPath, int32_t kilobytes);

// The whole pass. `lockMode`: kScanTakesBlock holds _index.blk by handle for as long as it runs, 0 by name alone,
// kScanCallerHolds leaves the lock to the caller. Takes one attempt at the block and answers 1 at once when somebody
// else has it. An index file that is there and cannot be read now, or has no reader, is left alone: the table is then empty
// with nothing loaded, and the folder marked dirty. 0 for an empty path, else 1. `verifyItemFiles` above 0 drops items of
// the index file whose own file is gone. `owner` may be null; then the scan marks the folder when it could not read
// something, and with an owner it says so in ScanUnread of the table.
uint64_t ScanFoldersOrdered(STOREINDEXTYPE* owner, SORTEDSTOREINDEXTYPE& table, const std::string& folderPath, uint32_t lockMode,
                            uint32_t verifyItemFiles);

// The pass inside a rebuild: a table that is loaded already, from a file or from nothing, is brought in step with the
// folder. Writes _DIRSIZE.TMP and _FOLDER.DAT; block file and saving are the caller's. False when something could not be
// read at this moment, so that the table lacks it.
bool RebuildFromMessages(SORTEDSTOREINDEXTYPE& table, std::string_view folderPath);

}  // namespace velmora

#endif
