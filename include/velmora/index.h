/* Indexes that a host holds for itself, without the per-thread folder of folder.h.
 *
 * These functions are for C++ hosts: the record is defined in velmora/index_records.h, and a C host has no way to make one.
 * The host owns the record, gives it to one thread at a time, and ends with StoreIndex_Release. A record of a host's own
 * has no mutex. */
#ifndef VELMORA_INDEX_H
#define VELMORA_INDEX_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Makes a record empty: no items, no names, no directory, kind 0, nothing to save, no load selection. What is not cleared:
 * Table.IndexFileSize, which counts only behind a load; a block file that the record holds; and InsertItem.Class. 1, or 0
 * for a null record. A record that was in use before must have been released, since its mutex is forgotten and not
 * closed. */
VELMORA_API uint64_t StoreIndex_Init(STOREINDEXTYPE* index);

/* Places a record: computes its directory from its three names, unless it has one already. Looks at no file,
 * but makes the directories that $VCFROOT, $FILEROOT and Public names lead to, one level each; that of any other folder is
 * not touched. Always 1 for a record, 0 for null. */
VELMORA_API uint64_t StoreIndex_SetPaths(STOREINDEXTYPE* index);

/* Deletes all items of a record and closes its mutex. Names and directory stay, and the record may be opened again.
 * Changes that were not saved are lost; every item pointer of the record is invalid afterwards. 1, or 0 for null. */
VELMORA_API uint64_t StoreIndex_Release(STOREINDEXTYPE* index);

/* Brings a placed record in step with its folder.
 *
 * `mode`: 1 or 6 looks for the marks that other processes leave, rescans the folder's files if they ask for it, and loads
 * the index file unless the copy in memory is still good. 4 does the same without an announcement to clients. 2 scans
 * and loads in any case. 5 loads at once. Any other value loads if the file has changed since.
 *
 * 1 when the index was loaded, 2 when the copy in memory is still good, 0 on a null record, a record that has no
 * directory, or a file that cannot be loaded. After 0 the load level of the record's table is 0; a damaged file may have
 * left the items that were read before the fault, which are not to be used. After 1 and after 0 every item pointer from
 * before is invalid and unsaved changes are lost. May wait for minutes, see vlaisp.h.
 *
 * A message that was scanned before its delivery was told stands twice in the file and is one item; an open that loads such
 * a file writes it anew, with the folder's counts (status.h), unless somebody else is at it.
 *
 * Throws: an exception from below is reported to the event log and goes on to the caller. A host that is not written in
 * C++ uses StoreFolder_Open, which answers 0 in that case. */
VELMORA_API uint64_t StoreIndex_Open(STOREINDEXTYPE* index, uint32_t mode);

/* Makes the folder's directory if it is missing, sets the record's kind from its folder name and brings the index in step
 * with the folder's files.
 *
 * A mail folder is scanned under its block file, which is taken with a single attempt, and its index is written when it is
 * missing or something was found: 1, also when another process holds the folder; 0 when the record has no directory. A
 * tasks folder needs no scan: 1. Contacts and calendars cannot be scanned yet: 0, and the record keeps its items. 0 as well
 * for a null record, and after an exception from below, which is reported. */
VELMORA_API uint64_t StoreIndex_Scan(STOREINDEXTYPE* index);

/* Loads a placed record without looking for marks. 1 whatever the load did, 0 for null: the load level of the record's
 * table tells. */
VELMORA_API uint64_t StoreIndex_Get(STOREINDEXTYPE* index);

/* Writes a loaded record to its index file, whether or not it is marked as changed. Takes the folder's block file with a
 * single attempt. 1 when the file is good or the record has no directory, with the mark cleared. 0 for null, for a record
 * that is not loaded, and when the folder is held by somebody else or the file cannot be written; in the last two cases
 * the folder is marked for a rescan, and what is in memory stays. */
VELMORA_API uint64_t StoreIndex_Save(STOREINDEXTYPE* index);

/* Makes an item for the file `itemId` of the record's folder, with the next UID, and inserts it in memory; StoreIndex_Save
 * writes it.
 *
 * A message: with `readHeaders` 1 its header is read, any other value makes an item of its ID and UID alone and looks at no
 * file. An "X-VLTempFlags: " line that begins with "SIZE=" and a decimal gives the size in bytes in place of the file's
 * own. A group: the first line may give the group's name ("NAME:..."), which becomes a column; the save that writes the
 * item rewrites the file without that line, if it still begins with it. Any other kind: an item of its ID alone; contacts,
 * calendar entries and tasks are not read from their files yet, and the files stay as they are.
 *
 * The directory is that of InsertItem, taken from the record's names when it is empty; LoadedLastUID follows, and InsertItem
 * has the new item until the next load. 1, also for a null or empty ID, which does nothing, and when nothing is inserted
 * because the ID is in the index already, no index file can hold it, or the folder has no UID left. 0 when a message, or a
 * group's file that is there, cannot be read or is no plain file, for a message with a name of more than 63 bytes, with a
 * separator in it, or with "_" or "." in front, as the folder's own files have it; for a null record, with a line printed; and
 * after an exception from below, which is reported. */
VELMORA_API uint64_t StoreIndex_InsertItem(STOREINDEXTYPE* index, const char* itemId, uint32_t readHeaders);

/* Removes the items of a comma-separated list of IDs from a record in memory, all of them with "*"; their files stay.
 * `reserved` is ignored. IDs that are not there are passed over. Pointers to a removed item stay good until the next load.
 * 1; 0 when the index is not loaded and cannot be, for a null record, with a line printed, and after an exception, which is
 * reported. */
VELMORA_API uint64_t StoreIndex_RemoveItem(STOREINDEXTYPE* index, const char* idList, uint32_t reserved);

/* StoreItem_GetProperty (velmora/item.h) for a handle that a host holds for itself; its Class says which names are known.
 * VELMORA_NO_PROPERTY with `*value` null as well for a null handle and after an exception from below, which is reported. 0
 * with null for a class above 4, groups among them. The place in the store (VL_FOLDER and its like) is read from the
 * handle's own names. */
VELMORA_API uint64_t StoreIndex_GetItemPropertyItem(STOREITEMTYPE* item, const char* name, void** value, uint64_t* size);

/* Writes a property of the item in a handle that a host holds for itself; `value` as for StoreItem_SetProperty. `itemId`
 * does not select: no item is made or looked for, and no record is marked as changed. Another ID (VL_ITEM_ID) moves the
 * item to it in the index, when the whole folder is in memory and the ID is free; its file stays where it is, and the next
 * save writes the whole index file. 1 stored. 0 for an unknown name of mail or contacts, without an item, for a null handle
 * or value, and after an exception from below, which is reported; an unknown name of calendars and tasks may answer
 * VELMORA_NO_PROPERTY. */
VELMORA_API uint64_t StoreIndex_SetItemPropertyItem(STOREITEMTYPE* item, const char* itemId, const char* name, const void* value);

#ifdef __cplusplus
}
#endif

#endif
