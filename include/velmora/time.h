/* Moments as Unix seconds and as file times.
 *
 * Columns of calendar items hold Unix seconds: seconds since 1970-01-01 UTC. A file time counts units of 100 ns since
 * 1601-01-01 UTC, as the file system does. Plain arithmetic, with no state: any thread may call, also before
 * StoreLibrary_Init. */
#ifndef VELMORA_TIME_H
#define VELMORA_TIME_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Gives the file time of `seconds` in `*fileTime`. Seconds from -11644473600, the year 1601, up to about the year 60,000
 * have one; others wrap at 64 bits. Nothing happens when `fileTime` is null. */
VELMORA_API void UnixTimeToFileTime(int64_t seconds, uint64_t* fileTime);

/* The Unix seconds of a file time, truncated towards 0; below 0 for one before 1970. File times from 2^63 and those seconds
 * on, about the year 31,000, wrap: they are below 0 as well. */
VELMORA_API int64_t UnixTimeFromFileTime(uint64_t fileTime);

#ifdef __cplusplus
}
#endif

#endif
