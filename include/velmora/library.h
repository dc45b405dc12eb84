/* The life of the library in a process and in a thread, and the heap that it shares with its host. */
#ifndef VELMORA_LIBRARY_H
#define VELMORA_LIBRARY_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the settings, finds the notification module and makes the per-thread slots and the process's mutexes. Loading the
 * library runs it; a host does not call it, and not while other threads are in the library. 1, or 0 when a slot cannot be
 * had: the library then cannot work. */
VELMORA_API uint64_t StoreLibrary_Init(void);

/* Closes the calling thread's folder and gives back the list position slot, a process mutex and the notification module.
 * Unloading the library and the end of the process run it; nothing of the library may be called afterwards. It waits for
 * nobody and takes nothing from a thread that is still at work: a folder that other threads hold as well stays open, and
 * when one of them is just opening or closing a folder, what they share stays as it is. Always 1. */
VELMORA_API uint64_t StoreLibrary_UnInit(void);

/* Does nothing: a thread's state is made at its first call. Always 1. */
VELMORA_API uint64_t StoreLibrary_ThreadInit(void);

/* Gives back what the calling thread holds: its lists of child folders, and with affinity 1 its open folder, its current
 * item and its walk; changes that were not saved are lost. Always 1.
 *
 * The end of a thread does the same by itself; with affinity 0 it also ends the thread's current item and walk, and leaves
 * its folder open for the others until the process ends. */
VELMORA_API uint64_t StoreLibrary_ThreadRelease(void);

/* Chooses how threads hold folders: 1 (the initial value) gives each thread records of its own, any other value is 0 and
 * lets all threads that open one folder share one record. Call it before any folder is opened and before other threads
 * use the library. Always 1. */
VELMORA_API uint64_t StoreLibrary_SetAffinity(uint32_t value);

/* A new block of `size` bytes, uninitialised, from the heap that the library uses for what it hands out. The result is
 * the address of the block as a number, 0 when there is no memory. It goes back through Memory_Free. */
VELMORA_API uint64_t Memory_Allocate(uint64_t size);

/* Gives a block back; `pointer` is its address as a number, 0 is allowed. Always 1. */
VELMORA_API uint64_t Memory_Free(uint64_t pointer);

/* Four words for a logging module. This library never has such a module, so nothing is done with them. Always 0. */
VELMORA_API uint64_t SetLoggingFunction(uint64_t a, uint64_t b, uint64_t c, uint64_t d);

#ifdef __cplusplus
}
#endif

#endif
