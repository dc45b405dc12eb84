/* The folders of a mailbox: add, rename, copy, remove, list, size and date them.
 *
 * All calls pass one record, which the caller owns and the library reads and fills in place. They take no lock of the store:
 * the file system settles the order, and a flag beside the folders has the next listing, in whatever process, look again.
 * Texts are bytes, end at their first zero, and are taken as they stand. */
#ifndef VELMORA_FOLDERS_H
#define VELMORA_FOLDERS_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 2,576 bytes, the same on every platform and on the wire. */
typedef struct StoreFolderRecord {
    char Mailbox[512];     /* the directory below MAILROOT */
    char Postoffice[512];
    char FolderPath[1024]; /* "/" or "\" for the root; otherwise a path with either separator */
    char FolderName[512];  /* the name of a child of FolderPath; enumeration writes it */
    uint32_t FolderSize;   /* written by the size calls: bytes, or kilobytes where asked for */
    uint8_t Reserved[12];  /* neither read nor written */
} StoreFolderRecord;

/* A thread's parsed folder lists with a position in them; for one thread at a time. */
typedef struct TLSFolderList TLSFolderList;

/* Makes the directory FolderName in FolderPath; well-known names at the root get their own spelling, in the record too. 1 made;
 * 0 when it is there already, its parent is not, or the name is the reserved Public one. */
VELMORA_API uint64_t StoreFolderAdd(StoreFolderRecord* record);
/* Removes the folder, everything below it, and its shares; with an empty FolderName the directory of FolderPath itself.
 * FolderPath comes back with slashes and a slash before it. 1 removed, or not there; 0 refused, or something could not be
 * deleted, and what was deleted by then stays so. Nothing is asked: neither whether it is empty nor whether it is in use. */
VELMORA_API uint64_t StoreFolderRemove(StoreFolderRecord* record);
/* Moves the folder of the first record to where the second says; parents are made. 1 moved; 0 refused, no source, or a
 * destination that is there. */
VELMORA_API uint64_t StoreFolderEdit(StoreFolderRecord* from, StoreFolderRecord* to);
/* Copies the folder with everything below it; into a destination that is there it is merged. 1 or 0. */
VELMORA_API uint64_t StoreFolderCopy(StoreFolderRecord* from, StoreFolderRecord* to);

/* FolderSize becomes the size of the folder FolderPath and of all below it, at most 4,294,967,295, in bytes or, with mode 1, in
 * kilobytes (each folder's own size is truncated before it is added). Folders that want it are scanned on the way. */
VELMORA_API uint64_t StoreFolderGet(StoreFolderRecord* record);
VELMORA_API uint64_t StoreFolderGet_Ex(StoreFolderRecord* record, uint32_t mode);
VELMORA_API uint64_t StoreFolderGetSize(StoreFolderRecord* record);

/* Writes the list of the child folders of FolderPath anew from the directories. 1 or 0. */
VELMORA_API uint64_t StoreFolder_ReIndexChildFolders(StoreFolderRecord* record);

/* Last-write times in DOS form: the date in the high and the time in the low 16 bits, in steps of two seconds; 0 for
 * unknown. Of the list of child folders; and of the folder's index, 0 as well while the folder is flagged as changed. */
VELMORA_API uint64_t StoreFolder_GetHierarchyModificationDate(StoreFolderRecord* record);
VELMORA_API uint64_t StoreFolder_GetContentsModificationDate(StoreFolderRecord* record);

/* The number of the newest counter file (_<n>.NEW) in the mailbox's directory, which is taken away with all others; 0 when
 * there is none. */
VELMORA_API uint64_t StoreGetDeliveredMessageCount(StoreFolderRecord* record);

/* Walks the child folders of FolderPath in the byte order of their names: First and Next write FolderName and answer 1; 0 at the
 * end or when the list cannot be had, with FolderName as it was. Close answers 1. `list` is the caller's own, or null for one
 * that the library keeps for the thread. */
VELMORA_API uint64_t StoreFolderFindFirst(StoreFolderRecord* record);
VELMORA_API uint64_t StoreFolderFindNext(StoreFolderRecord* record);
VELMORA_API uint64_t StoreFolderFindClose(StoreFolderRecord* record);
VELMORA_API uint64_t TLS_StoreFolderFindFirst(StoreFolderRecord* record, TLSFolderList* list);
VELMORA_API uint64_t TLS_StoreFolderFindNext(StoreFolderRecord* record, TLSFolderList* list);
VELMORA_API uint64_t TLS_StoreFolderFindClose(StoreFolderRecord* record, TLSFolderList* list);

/* A list of the caller's own: Create, Init, First, Next until 0, Close, Free. Free does not give back what Close or UnInit
 * would have. Null at any level is passed over; each answers 1. */
VELMORA_API uint64_t CreateTLSFolderList(TLSFolderList** list);
VELMORA_API uint64_t InitTLSFolderList(TLSFolderList* list);
VELMORA_API uint64_t UnInitTLSFolderList(TLSFolderList* list);
VELMORA_API uint64_t FreeTLSFolderList(TLSFolderList** list);

/* Scans the one folder in `directory` and saves its index. 1 or 0, 0 also when another holds the folder. Waits for the folder
 * as an open does. */
VELMORA_API uint64_t ScanFolders(const char* directory);

/* Takes away all shares of a mailbox: its list of shares, the folders' access lists, and the entries in the security files of
 * those who had access. 1; 0 when the mailbox has no list that loads. */
VELMORA_API uint64_t RemoveMailboxShares(const char* mailbox, const char* postoffice);

#ifdef __cplusplus
}
#endif

#endif
