// The table of a folder: its items in sequence order, by UID and by ID.
//
// The sequence owns the items; RemovedItems owns those that left it since the load, because handles and walks may still
// point at them and because the writer strikes them out in the file. UIDs are given here and nowhere else, and LastUID
// never goes down, so a UID is given once in a folder's life.
//
// A table has no lock of its own: whoever shares one holds the record's Mutex.
#ifndef VELMORA_INDEX_INDEXTABLE_H
#define VELMORA_INDEX_INDEXTABLE_H

#include <cstdint>
#include <functional>
#include <vector>

#include "common/FileStream.h"
#include "index/IdOrder.h"
#include "index/IndexItem.h"
#include "index/SelectionSet.h"
#include "index/TextArena.h"
#include "index/UidOrder.h"
#include "velmora/index_records.h"

namespace velmora {

// What is to be done to an item's own file once an index file holds the item.
struct StepAfterSave {
    const IndexItemPropertyContainer* item;
    std::function<void()> run;
};

struct IndexTableContent {
    std::vector<IndexItemPropertyContainer*> Sequence;
    UidOrder ByUID;
    IdOrder ByID;
    std::vector<IndexItemPropertyContainer*> RemovedItems;
    TextArena Texts;           // texts of loaded items; emptied with the table
    bool UnusualFile = false;  // the file holds what its writer would not have put there, so offsets in it mean nothing
    bool DamagedFile = false;  // a reader found faults; an item in whose element there was one has the offset 0
    bool ScanUnread = false;   // a scan for a record could not read something now: its caller marks the folder dirty
    // Read as a document, to its end or to the fault in it: nobody noted the file's size, nor where its elements stand (kPlaceUnknown).
    bool ReadAsDocument = false;
    uint64_t DamagedFileTime = 0;  // last write of such a file when there was a fault in it, which the table's own time does not tell
    bool DoubledIds = false;       // the file holds elements whose ID another one bears; the first of them is the item
    std::vector<StepAfterSave> StepsAfterSave;
};

// The FileOffset of an item that is in the file, at a place that nobody noted.
inline constexpr uint32_t kPlaceUnknown = UINT32_MAX;

// Whether a file with that stamp is still the one that the table was loaded from.
bool IsFileOfLoad(const SORTEDSTOREINDEXTYPE& table, const FileStamp& stamp);

// The content of a table, made at its first use.
IndexTableContent& ContentOf(SORTEDSTOREINDEXTYPE& table);
// The number of items in the sequence.
uint32_t ItemCountOf(const SORTEDSTOREINDEXTYPE& table);

// Whether an index file can carry the ID: it stands there unescaped between quotes, in a tag of at most 1,023 bytes, and
// dashes alone mark an element as removed. So it is not empty, has at most 980 bytes, no quote and no ">".
bool IsWritableId(std::string_view id);

// Takes `item` into the table: gives it a UID if it has none, enters it in all three orderings, sets SEQ. On success the
// table owns the item. False on a duplicate ID or UID, when no UID is left, or for an ID that no index file can carry: the
// item stays with the caller.
// Kept: LastUID keeps what it became, so the UID of a refused item is skipped for good.
//
// A table below level 3 takes items too. Whoever does that looks nothing up before the save: a look-up raises the level,
// and a load starts from the file, without the new item.
[[nodiscard]] bool InsertItem(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer* item);

// The same for a reader, which then puts the item into the sequence itself (there is room, so that cannot fail) and sets
// SEQ; a UID given here marks nothing dirty.
[[nodiscard]] bool InsertLoadedItem(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer* item);

// Looks an ID up, loading the table in full first. Null when there is none.
IndexItemPropertyContainer* FindItem(SORTEDSTOREINDEXTYPE& table, std::string_view id);
// The same on what is in memory.
IndexItemPropertyContainer* FindLoadedItem(const SORTEDSTOREINDEXTYPE& table, std::string_view id);

// Whether an item of the table may bear the ID from now on: an index file can carry it, no other item bears it, and the whole
// folder is in memory, since a part of it cannot tell what else bears it.
bool IsFreeId(const SORTEDSTOREINDEXTYPE& table, std::string_view id);
// Gives an item of the table a free ID. False, with nothing changed, for any other ID and for an item that was removed. The
// element in the file begins with the old ID, so the next save writes the whole file.
[[nodiscard]] bool RenameItem(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer& item, std::string_view id);

// Removes every ID of a comma-separated list; "*" empties the table. 0 when the table cannot be loaded to level 2.
uint64_t RemoveItems(SORTEDSTOREINDEXTYPE& table, const char* idList);
// Removes these items of the table, whatever their IDs look like.
void RemoveItems(SORTEDSTOREINDEXTYPE& table, const std::vector<IndexItemPropertyContainer*>& items);

// Notes a step for the next save. A load in front of that save forgets it, with the item.
void AddStepAfterSave(SORTEDSTOREINDEXTYPE& table, const IndexItemPropertyContainer& item, std::function<void()> step);
// Behind a save that succeeded: the steps of the items that are still in the table, each once. What one throws is reported.
void RunStepsAfterSave(SORTEDSTOREINDEXTYPE& table);

// Pointers to all items in ascending order of UID, or of ID; the table is loaded in full first.
void ListByUID(SORTEDSTOREINDEXTYPE& table, std::vector<IndexItemPropertyContainer*>& list);
void ListByID(SORTEDSTOREINDEXTYPE& table, std::vector<IndexItemPropertyContainer*>& list);

// Computes the 13 words of _FOLDER.DAT, not clamped. 0 when the table cannot be loaded in full. Rethrows.
uint64_t GetFolderDetails(SORTEDSTOREINDEXTYPE& table, uint32_t (&details)[13]);

// Deletes all items and forgets what is known of the file; the arguments of the last load and the selection stay.
void UnInit(SORTEDSTOREINDEXTYPE& table);

// True at once when the table is loaded to `level`; otherwise loads again with the recorded arguments. A table that was
// never loaded cannot be raised.
bool EnsureLoadLevel(SORTEDSTOREINDEXTYPE& table, int32_t level);

}  // namespace velmora

#endif
