/* Items of the calling thread's open folder.
 *
 * A thread has one current item. An open, a close and a change of folder leave none; a selection or a step of a walk makes
 * one current. With affinity 0, where threads share a folder, another thread's open may load the folder anew: the current
 * item and the walk then end, as if nothing had been selected.
 *
 * Without an open folder every function here answers 0 and touches nothing, except StoreItem_FreeProperty,
 * StoreItem_SaveToStore and StoreFolder_FindClose; StoreItemProperty_GetType looks at no folder. An exception from below is
 * reported, and counts as no open folder. */
#ifndef VELMORA_ITEM_H
#define VELMORA_ITEM_H

#include "velmora/api.h"

/* The status of a property that is not there. */
#define VELMORA_NO_PROPERTY UINT64_C(0xFFFFFFFF)

#ifdef __cplusplus
extern "C" {
#endif

/* Reads a property of the current item by its public name.
 *
 * A status of the back-end: 2 with a new allocation in `*value`, which the caller gives back through
 * StoreItem_FreeProperty, and its size in bytes in `*size`; the size of a text counts its terminating zero.
 * VELMORA_NO_PROPERTY with `*value` null when there is no current item, no such name, or no such column in the item. 0
 * without an open folder; `*value` and `*size` are then left alone. 0 with `*value` null as well among groups, in a folder
 * of a kind that the library does not know, and in a folder that stayed open behind a calendar document (kind 5) once that
 * is closed.
 *
 * Four names are answered from the folder itself, with or without a current item and in any case of letters: VL_POSTOFFICE,
 * VL_MAILBOX, VL_FOLDER and VL_FOLDER_PATH, the folder's directory. */
VELMORA_API uint64_t StoreItem_GetProperty(const char* name, void** value, uint64_t* size);

/* Writes a property of the item `itemId`, which becomes the current one and is made if the folder has no such item; with
 * `itemId` null or empty, of the current item. In a mail folder `value` is always text ended by a zero, also for a
 * property that is read as a number: the address of an int32_t would be read as text. The change is in memory, and
 * StoreFolder_Save writes it.
 *
 * 1 whatever became of it: a null value, a name that a mail folder does not know and a missing item are silently not
 * stored. 0 without an open folder. */
VELMORA_API uint64_t StoreItem_SetProperty(const char* itemId, const char* name, const void* value);

/* Writes the current item back into its file, in folders whose items are written by the store (contacts and calendars; the
 * library does not write them yet). Other folders and no current item: nothing. The index is not written; StoreFolder_Save
 * does that. Always 1, also with no folder. */
VELMORA_API uint64_t StoreItem_SaveToStore(void);

/* Gives back a value of StoreItem_GetProperty; null is allowed. Always 1. */
VELMORA_API uint64_t StoreItem_FreeProperty(void* value);

/* Makes the item `itemId` current: 1, or 0 when the folder has none, and then no item is current. IDs are compared byte by
 * byte. */
VELMORA_API uint64_t StoreFolder_SelectItem(const char* itemId);

/* Makes the first item, in ascending order of UID, current whose index column `field` is `value`: 1, or 0 when there is none,
 * and then the current item stays. `field` is the name of a column ("SUBJECT") and not of a property; an item that has no
 * such column is passed over. Compares in any case of letters. Null texts answer 0. Reads the whole folder in the worst
 * case. */
VELMORA_API uint64_t StoreFolder_SelectItemByField(const char* field, const char* value);

/* The same; with `exact` other than 0 it compares byte by byte. */
VELMORA_API uint64_t StoreFolder_SelectItemByField_Ex(const char* field, const char* value, uint32_t exact);

/* Makes the item `itemId` current, and makes it if the folder has none: with the next UID and no other column, in memory
 * alone. The folder does not count as changed by that: a property that is set afterwards is what StoreFolder_Save sees.
 * `itemId` null or empty: no item is current. 1; 0 when nothing is loaded, and for an ID that an index cannot hold. */
VELMORA_API uint64_t StoreFolder_CreateItem(const char* itemId);

/* Deletes an item: its file first, then the item in memory; StoreFolder_Save writes the index. In folders of mail and
 * contacts the file is deleted if it is a plain one of exactly that name: not of an ID with a separator in it, with "_" or
 * "." in front, as the folder's own files have it, or one that is another spelling of a file's name; calendar entries and
 * tasks lose their item alone for now, and their files stay. A file that cannot be deleted keeps nothing from going on: the
 * next scan finds it again, as a new item. Other folders lose nothing, and the item becomes the current one.
 *
 * 1 deleted, and no item is current; 1 as well for an ID that is null or empty, which deletes nothing. 0 when the folder has
 * no such item. In every case the folder counts as changed, so that the next StoreFolder_Save runs. */
VELMORA_API uint64_t StoreFolder_DeleteItem(const char* itemId);

/* Begins a walk through all items of the folder in ascending order of UID, and makes the first one current: 1, or 0 when
 * there is none. The walk sees the items of this moment; a removed item is still walked, an inserted one is not. */
VELMORA_API uint64_t StoreFolder_FindFirstItem(void);

/* The next item of the walk: 1, or 0 at the end, from then on at every call; no item is current then. */
VELMORA_API uint64_t StoreFolder_FindNextItem(void);

/* Ends the walk and the thread's hold on its folder: it gives back one open, as StoreFolder_Close does, and the thread has
 * no open folder afterwards. A host that goes on with the folder opens it again. Always 1. */
VELMORA_API uint64_t StoreFolder_FindClose(void);

/* The type code of the values that a property has, by its name in any case, in folders of the kind `classHint`: 0 mail, 1
 * contacts, 2 calendar, 3 tasks, 4 files; 1, a text, for a name that the kind does not know. Any other hint: the type in
 * the first of mail, contacts and calendar that knows the name, and 0 when none does. */
VELMORA_API uint64_t StoreItemProperty_GetType(const char* name, uint32_t classHint);

#ifdef __cplusplus
}
#endif

#endif
