/* The calling thread's open folder.
 *
 * A thread has one folder at a time; opening another closes the one before. Hosts pair their calls: every StoreFolder_Open
 * of a folder is followed by one StoreFolder_Close (or StoreFolder_FindClose). */
#ifndef VELMORA_FOLDER_H
#define VELMORA_FOLDER_H

#include "velmora/api.h"

/* Modes of StoreFolder_Open. */
enum {
    VELMORA_OPEN_NORMAL = 0,
    VELMORA_OPEN_UNLOADED = 200 /* make the thread's record and load nothing */
};

#ifdef __cplusplus
extern "C" {
#endif

/* Opens a folder for the calling thread and loads its index.
 *
 * `kind`: 0 mail, 1 contacts, 2 calendar, 3 tasks, 4 files, 54 group items. 5 is a calendar document on its own, which
 * involves no index; such documents cannot be opened yet, and the result is 0.
 * `mode`: VELMORA_OPEN_UNLOADED, or any other value for a normal open.
 *
 * 1 opened. 2 when this thread has the folder open already, under the same spelling: nothing on disk is looked at and the
 * current item stays; or with VELMORA_OPEN_UNLOADED. 0 when a name is null, which changes nothing, or when the index cannot
 * be loaded, as that of a folder that does not exist: an open makes no mail folder.
 *
 * A thread that had another folder open has given back one open of it, in every case but a null name and kind 5, which
 * leave it as it is. With its last open the folder is closed and its unsaved changes are lost; one that had been opened
 * twice stays in memory with the open that is left.
 *
 * May wait for minutes, and while it does every other open of the process waits with it. */
VELMORA_API uint64_t StoreFolder_Open(const char* postoffice, const char* mailbox, const char* folder, uint32_t kind, uint32_t mode);

/* Opens a folder to reach the single item `itemId`, without loading the folder's index: the index that the item functions
 * see is empty. The item itself is read by kinds whose items are opened that way; there is none yet, so no item is current
 * afterwards. Null names count as empty.
 *
 * 1 opened. 2 when this thread has the same item open already. 1 as well, with nothing opened, when the library is being
 * unloaded, and when there is no memory or no mutex for the record. 0 when the thread can have nothing open at all, for
 * want of a slot, and when another thread that shared the record ended while it was at work in it. */
VELMORA_API uint64_t StoreFolder_OpenItem(const char* postoffice, const char* mailbox, const char* folder, const char* itemId,
                                          uint32_t kind);

/* Gives back one open of the thread's folder. The folder is closed with the last one: its unsaved changes are lost. With
 * nothing open it does nothing. The current item and the walk end in every case but one. Always 1.
 *
 * That one is an open of kind 5, opened or refused: from then on every close is the calendar document's, and leaves a folder
 * that was open before, until the thread opens a folder or an item again. */
VELMORA_API uint64_t StoreFolder_Close(void);

/* Saves the thread's folder if it was changed: the files of changed items where their kind has such, the index, and the
 * cached counts. `reserved` is ignored. Always 1, also with no folder. A save that fails leaves the folder marked for a
 * rescan by the next open of any process. */
VELMORA_API uint64_t StoreFolder_Save(uint32_t reserved);

/* The same for every folder that any thread of the process has open, in the order of their names. No folder of the process
 * is opened or closed meanwhile. `reserved` is ignored. Always 1. */
VELMORA_API uint64_t Store_Save(uint32_t reserved);

#ifdef __cplusplus
}
#endif

#endif
