/* The C API of the Velmora store provider: one header that includes every family.
 *
 * The store is a tree of post offices, mailboxes and folders on disk; a folder holds one file per item and an index of
 * their properties. Every process that loads the library works on its own copy of what it has opened, and the processes
 * meet on the file system alone: there is no server to connect to.
 *
 * A listing, in short (error handling left out):
 *
 *     if (StoreFolder_Open("example.org", "alice", "Inbox", 0, 0) != 0) {
 *         uint64_t more = StoreFolder_FindFirstItem();
 *         for (; more == 1; more = StoreFolder_FindNextItem()) {
 *             void* subject = NULL;
 *             uint64_t size = 0;
 *             if (StoreItem_GetProperty("PR_SUBJECT", &subject, &size) != VELMORA_NO_PROPERTY) puts(subject);
 *             StoreItem_FreeProperty(subject);
 *         }
 *         StoreFolder_Close();
 *     }
 *
 * What holds for every function, unless its own comment says otherwise:
 *
 * Results. A status of 64 bits: 1 for success, 0 for failure, 2 for success with nothing to do. A property that is not
 * there is VELMORA_NO_PROPERTY: the low 32 bits set and the high ones clear. There is no further error code; what went
 * wrong with a file goes to the logging outlets.
 *
 * Text. Bytes ended by a zero, in the store's 8-bit code. Names of post offices, mailboxes, folders and items are cut at
 * 1,023 bytes and never refused. A folder is named by its path inside the mailbox, with "\" or "/" between its parts;
 * two spellings of one folder ("Inbox", "/Inbox") are two folders to the library's memory and one on disk. A null pointer
 * where a name is expected is a failure or an empty name, never a crash.
 *
 * Memory. What a host passes in stays the host's and is read during the call only. What a host gets through an out
 * parameter is the host's: values of properties go back through StoreItem_FreeProperty, other buffers through Memory_Free.
 * Buffers that cross the boundary come from one heap, so a host that hands one over takes it from Memory_Allocate.
 *
 * Threads. Any thread may call, at any time; only StoreLibrary_Init, StoreLibrary_UnInit and StoreLibrary_SetAffinity are
 * for the process's beginning and end, when no other thread is in the library. The StoreFolder_ and StoreItem_ functions
 * take no handle: each thread has one open folder and one current item of its own, made at its first call and given back
 * when it ends or calls StoreLibrary_ThreadRelease. A STOREINDEXTYPE that a host holds for itself belongs to one thread at a time.
 *
 * Waiting. Calls do their work on the caller's thread. An open waits for another process that holds the folder for about
 * a minute before it breaks the lock, and up to 80 seconds more for a lock that cannot be broken; it then goes on
 * without. A directory in which the user may not make files costs an open about a minute as well, and then it fails: a
 * folder is locked by a file, also for reading. A save never waits for a lock.
 *
 * Exceptions. None leaves a function, except StoreIndex_Open, which is for C++ hosts and says so.
 *
 * Forking. A process that forks uses the library in the parent or in the child, not in both.
 */
#ifndef VELMORA_VLAISP_H
#define VELMORA_VLAISP_H

#include "velmora/direct.h"
#include "velmora/folder.h"
#include "velmora/folders.h"
#include "velmora/index.h"
#include "velmora/item.h"
#include "velmora/item_record.h"
#include "velmora/library.h"
#include "velmora/locks.h"
#include "velmora/status.h"
#include "velmora/time.h"

#endif
