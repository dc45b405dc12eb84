/* The folders of a mailbox: add, rename, copy, remove, list, size and date them.
 *
 * The calls on folders pass a record, which the caller owns and the library reads and fills in place. They take no lock of the
 * store, but for a scan, which holds its folder: the file system settles the order, and a flag beside the folders has the next
 * listing, in whatever process, look again.
 * Texts are bytes, end at their first zero, and are taken as they stand. Post office, mailbox, path or name with a part of dots
 * and white space alone, such as "..", names no folder: nothing is touched, and what is asked for is 0. */
#ifndef VELMORA_FOLDERS_H
#define VELMORA_FOLDERS_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* 2,576 bytes, the same on every platform and on the wire. */
typedef struct StoreFolderRecord {
    char Mailbox[512]; /* the directory below MAILROOT */
    char Postoffice[512];
    char FolderPath[1024]; /* "/" or "\" for the root; otherwise a path with either separator */
    char FolderName[512];  /* the name of a child of FolderPath; enumeration writes it */
    uint32_t FolderSize;   /* written by the size calls: bytes, or kilobytes where asked for */
    uint8_t Reserved[12];  /* neither read nor written */
} StoreFolderRecord;

/* A thread's parsed folder lists with a position in them; for one thread at a time. */
typedef struct TLSFolderList TLSFolderList;

/* Makes the directory FolderName in FolderPath; well-known names at the root get their own spelling, in the record too. 1 made;
 * 0 when it is there already, its parent is not, the name is separators alone, or it is the reserved Public one. With an empty
 * FolderName the directory of FolderPath itself is made, which the folder above does not list by that. In this call and in the
 * three below, a FolderName with a separator in it leads further down. */
VELMORA_API uint64_t StoreFolderAdd(StoreFolderRecord* record);
/* Removes the folder, everything below it, and its shares; with an empty FolderName the directory of FolderPath itself.
 * FolderPath comes back with slashes and one in front, behind which "$FILEROOT" and "$VCFROOT" are plain names: the record is
 * to be filled anew. 1 removed, or not there; 0 refused, or something could not be deleted, and what was deleted by then stays
 * so. Refused are the reserved Public path, and a folder that is the root of all mailboxes, public folders, files or contacts.
 * Nothing is asked: neither whether it is empty nor whether it is in use. */
VELMORA_API uint64_t StoreFolderRemove(StoreFolderRecord* record);
/* Moves the folder of the first record to where the second says; parents are made, and stay when the move fails. 1 moved; 0
 * refused, like a removal, for either record; no source; or another folder at the destination. To where it is it moves with 1,
 * so that the case of its name can be changed. */
VELMORA_API uint64_t StoreFolderEdit(StoreFolderRecord* from, StoreFolderRecord* to);
/* Copies the folder with everything below it; into a destination that is there it is merged, with its files over those that
 * are there, and each folder of it that both had and that has an index is scanned by its next open. With an empty FolderName the
 * folder is that of FolderPath, the destination too. 1; 0 when there is no source or something could not be copied, and what was
 * copied by then stays. */
VELMORA_API uint64_t StoreFolderCopy(StoreFolderRecord* from, StoreFolderRecord* to);

/* FolderSize becomes the size of the folder FolderPath and of all below it, at most 4,294,967,295, in bytes or, with mode 1, in
 * kilobytes (each folder's own size is truncated before it is added). It is the sum of the sizes that the folders' indexes
 * tell. A folder that wants it is scanned on the way, unless somebody else is at work on it, for which nothing waits, or its
 * index is large ("Index Injection Size Limit"). A directory counts once, whatever the lists call it; a link to one is
 * followed, unless it lies below another link. Nothing else of the record changes. 1, also when a folder's index cannot be read,
 * which then counts nothing, or its list of child folders, which then has none; 0, with a size of 0, when a scan ends in an error
 * or there is no memory. */
VELMORA_API uint64_t StoreFolderGet(StoreFolderRecord* record);
/* The same in bytes, or in kilobytes with mode 1; always of this machine, and in bytes while a remote host is selected. */
VELMORA_API uint64_t StoreFolderGet_Ex(StoreFolderRecord* record, uint32_t mode);
/* The same in bytes, always of this machine. */
VELMORA_API uint64_t StoreFolderGetSize(StoreFolderRecord* record);

/* Writes the list of the child folders of FolderPath anew from the directories. 1 or 0. */
VELMORA_API uint64_t StoreFolder_ReIndexChildFolders(StoreFolderRecord* record);

/* When the list of the child folders of FolderPath was written last: UTC in DOS form, the date in the high and the time in the
 * low 16 bits, in steps of two seconds; 0 for unknown. */
VELMORA_API uint64_t StoreFolder_GetHierarchyModificationDate(StoreFolderRecord* record);
/* The same for the index of the folder FolderPath; 0 as well while the folder is flagged as changed. */
VELMORA_API uint64_t StoreFolder_GetContentsModificationDate(StoreFolderRecord* record);

/* The number of the newest counter file (_<n>.NEW) in the mailbox's directory, which is taken away with all others; 0 when
 * there is none. */
VELMORA_API uint64_t StoreGetDeliveredMessageCount(StoreFolderRecord* record);

/* Walks the child folders of FolderPath in the byte order of their names: First and Next write FolderName and answer 1; 0 at the
 * end or when the list cannot be had, with FolderName as it was. Close answers 1. Folders may come and go between two steps: a
 * walk goes on behind the name that it gave last, whatever FolderName says by then. The directory is what a walk is known by,
 * whichever separators lead to it, and how many: First, Next and Close otherwise need the same spelling of post office, mailbox
 * and FolderPath.
 *
 * `list` is the caller's own, or null for the one that the library keeps for the thread until that ends or calls
 * StoreLibrary_ThreadRelease. With that, walks through several folders can be under way at once, and one through the same
 * folder in a function that is called from the loop; two such walks in one function need a list of their own. */
VELMORA_API uint64_t StoreFolderFindFirst(StoreFolderRecord* record);
/* The next one of the walk through FolderPath that was begun here, by the depth of the stack; when none is under way here, of the
 * one that the thread began last. */
VELMORA_API uint64_t StoreFolderFindNext(StoreFolderRecord* record);
/* Ends the walk that was begun here, or else the one that the thread began last; 0 while a remote host is selected. Once for each
 * walk: a second close may be of another. The thread keeps what it has parsed. */
VELMORA_API uint64_t StoreFolderFindClose(StoreFolderRecord* record);
/* StoreFolderFindFirst on a list of the caller's own. */
VELMORA_API uint64_t TLS_StoreFolderFindFirst(StoreFolderRecord* record, TLSFolderList* list);
/* StoreFolderFindNext on a list of the caller's own. */
VELMORA_API uint64_t TLS_StoreFolderFindNext(StoreFolderRecord* record, TLSFolderList* list);
/* Ends a walk, and gives back what the caller's list has parsed; the list wants Init again. */
VELMORA_API uint64_t TLS_StoreFolderFindClose(StoreFolderRecord* record, TLSFolderList* list);

/* A list of the caller's own: Create, Init, First, Next until 0, Close, Free. Create stores null when there is no memory. A list
 * that was not initialised, or was closed since, has no walk: First and Next answer 0. Null at any level is passed over; each
 * answers 1. */
VELMORA_API uint64_t CreateTLSFolderList(TLSFolderList** list);
/* Empties the list and makes it ready for walks. */
VELMORA_API uint64_t InitTLSFolderList(TLSFolderList* list);
/* Gives back what is in the list, as its close does. */
VELMORA_API uint64_t UnInitTLSFolderList(TLSFolderList* list);
/* Gives back the list itself and sets the caller's pointer to null. */
VELMORA_API uint64_t FreeTLSFolderList(TLSFolderList** list);

/* Scans the one folder in `directory` for messages, whatever it is called, and saves its index. 1; 0 when another holds the
 * folder, which is not waited for, or the index cannot be read or saved. */
VELMORA_API uint64_t ScanFolders(const char* directory);

/* Takes away all shares of a mailbox: its list of shares, the folders' access lists, and the entries in the security files of
 * those who had access. 1; 0 when the mailbox has no list that loads. */
VELMORA_API uint64_t RemoveMailboxShares(const char* mailbox, const char* postoffice);

#ifdef __cplusplus
}
#endif

#endif
