/* Block files: how processes keep each other off a folder.
 *
 * A folder is held by whoever made the empty file _index.blk (or _groups.blk) in its directory. A file made with its handle
 * kept open cannot be deleted by anybody else, and the system lets go of it when its process dies; a file whose handle was
 * closed at once stands for its holder by name alone, and anybody may delete it. */
#ifndef VELMORA_LOCKS_H
#define VELMORA_LOCKS_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* One attempt to make the block file `filename`, a full path cut at 1,023 bytes. It does not wait, whatever its name says.
 *
 * 1 when the file was made: with `keepHandle` 0 its handle is closed and null stored in `*handle`, otherwise the handle is
 * stored there and belongs to the caller until UnBlockIndexFileAccessEx, which closes it for 1 alone: pass 1 to both.
 * `handle` may be null with `keepHandle` 0.
 * 0 when the file is there already or cannot be made, or when there is no place for a handle that is to be kept; nothing is
 * stored. */
VELMORA_API uint64_t WaitForAccessToIndexFileEx(const char* filename, uint32_t keepHandle, void** handle);

/* The release. With `keepHandle` 1 the handle in `*handle` is closed and null stored there. Then the file is deleted; while
 * somebody else keeps that from working it is tried once a second, up to 81 times. 1 when this call deleted the file, 0 when
 * it was gone already or could not be deleted. */
VELMORA_API uint64_t UnBlockIndexFileAccessEx(const char* filename, uint32_t keepHandle, void** handle);

#ifdef __cplusplus
}
#endif

#endif
