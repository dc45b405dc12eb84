/* The cached counts of a folder: answered without its index, in 52 bytes. */
#ifndef VELMORA_STATUS_H
#define VELMORA_STATUS_H

#include "velmora/api.h"

/* Words of a status, and what they count. The words that are not named are reserved and 0. */
enum {
    VELMORA_STATUS_ANSWERED = 3,
    VELMORA_STATUS_FLAGGED = 4,
    VELMORA_STATUS_FIRST_SEEN = 5, /* position from 1, in the order of UIDs, of the first seen item; 0 none */
    VELMORA_STATUS_ITEMS = 6,
    VELMORA_STATUS_SEEN = 7,
    VELMORA_STATUS_RECENT = 8,
    VELMORA_STATUS_NEW = 9,    /* new items that were added since the last full count */
    VELMORA_STATUS_ADDED = 10, /* items that were added since the last full count */
    VELMORA_STATUS_LAST_UID = 11,
    VELMORA_STATUS_WORDS = 13
};

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the counts of a folder into `details`, an array of exactly 13 words that the caller owns. An empty or null `folder`
 * is the mailbox itself. Any other null pointer answers 0 and changes nothing.
 *
 * 1 when anything was read, 0 otherwise; words that the file does not have keep what the caller put there. In both cases
 * words 1, 3, 7, 8 and 9 are lowered to word 6 where they are above it, compared as signed numbers. Takes no lock: the
 * counts are a cache, and may be older than the index. Every save of a whole folder counts in full; the direct calls
 * (direct.h) go on from the words that are there. Until the next full count words 3, 4 and 7 may then drift, also below
 * zero, by changes of flags; words 6, 9 and 10 by insertions that failed or were made twice and by groups, whose LastUID
 * also becomes word 11; word 5 by removals; and all of them by the removal of everything. */
VELMORA_API uint64_t GetCachedStatus(const char* postoffice, const char* mailbox, const char* folder, uint32_t* details);

/* Writes the counts of a folder; `details` as above. A null pointer and an empty name answer 0 and change nothing. Else the
 * words are lowered in place in the same manner: 1 when all of it was written, 0 when the file cannot be written. */
VELMORA_API uint64_t SetCachedStatus(const char* postoffice, const char* mailbox, const char* folder, uint32_t* details);

#ifdef __cplusplus
}
#endif

#endif
