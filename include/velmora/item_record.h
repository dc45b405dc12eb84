/* One item as a flat record, for hosts that list an index of their own. */
#ifndef VELMORA_ITEM_RECORD_H
#define VELMORA_ITEM_RECORD_H

#include "velmora/api.h"

/* The columns of one item, filled by GetStoreItemByMessageID. The host owns it. Texts end with a zero and are cut at their
 * field; a column that the item does not have is an empty text or 0. The layout is part of the interface. */
typedef struct StoreMessageRecord {
    char Subject[4096];
    char FlagStatus[1024]; /* flags with a backslash in front, separated by blanks */
    char From[512];
    char To[24000];
    char Cc[24000];
    uint32_t Size;        /* bytes */
    char Reserved[128];   /* never written */
    uint32_t Attachments; /* 1 or 0 */
    char Received[64];    /* ISO text */
    char MessageDate[64]; /* ISO text */
    uint32_t Uid;
    uint32_t Seq; /* position in the folder's sequence, from 1 */
    uint32_t Idx; /* position among the items that were loaded, from 1; 0 for an item that was inserted since */
    uint32_t Importance;
} StoreMessageRecord;

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the item `itemId` of an index that a host holds for itself (velmora/index.h) into `record`, loading the index in
 * full first if it is not. IDs are compared byte by byte.
 *
 * `mode`: 1 fills everything but Reserved; 0 fills Seq, Uid, Idx and FlagStatus; any other value Seq, Uid and Idx. What is
 * not filled keeps what the host put there.
 *
 * 1 found. 0, with the record as it was, when there is no such item, for a record that is not loaded, and for a null
 * pointer; that of the index prints a line. Takes no lock. */
VELMORA_API uint64_t GetStoreItemByMessageID(STOREINDEXTYPE* index, const char* itemId, uint32_t mode, StoreMessageRecord* record);

#ifdef __cplusplus
}
#endif

#endif
