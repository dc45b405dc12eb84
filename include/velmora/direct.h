/* Changes to a folder that nobody has to open: a delivery, a flag, a removal, each in one call.
 *
 * Each function takes the folder's lock with a single attempt, loads as little of the index as it can, makes the change,
 * saves, brings the folder's cached counts (status.h) and the mailbox's sizes in step, and lets the lock go. The thread's
 * own open folder is not touched; whoever has the folder open sees the change at the next open.
 *
 * A delivery agent
 *   1. writes the message beside its place, under a name that begins with "_", and renames it to its final name
 *      (NAME.MAI, at most 63 bytes) in the folder's directory, so that nobody ever finds half a message;
 *   2. calls Direct_StoreIndex_InsertItem with that name;
 *   3. is done, whatever the answer. After 1 the message is in the index, or the folder is marked and the next open finds
 *      it by its file. After 0 the folder is marked in the same way, as far as its directory is there and can be written
 *      to; nothing of this call is in the index then. An agent that delivers many messages may ask again a moment after a
 *      0, which spares the next open a scan of the folder; it may not ask again after a 1, since a call does not look
 *      whether the index has the name already. What a scan does not know are the flags of the call: an agent whose flags
 *      must survive writes them into the message, as a line "X-VLTempFlags: ".
 *
 * `postoffice`, `mailbox` and `folder` name the folder, each cut at 1,023 bytes; null is empty. An empty `folder` is the
 * Inbox, and a null one the Inbox taken for a calendar, whose items are not messages.
 *
 * `idList`: item IDs, which are names of files in the folder, separated by commas; null is an empty list. Any thread may
 * call at any time; a second call on the same folder meanwhile answers 0 at once, in this process and in others. An index
 * that is damaged, or in the form of an older writer, is read in full. No call throws.
 *
 * The counts are read from the folder's own directory. Words that no file has start from the items where all of them are in
 * memory (for an update or a removal with an empty list, and where the index had to be read in full), else from zero. An
 * insertion and a removal write them with their save below the mailbox, by the name of the folder as it was given, and an
 * update and a removal write them in the folder's own directory. For most folders that is one place. It is not
 *   - for an empty `folder`, whose saved counts become those of the mailbox itself;
 *   - for a folder that stands elsewhere (Public and the like): its saved counts are written nowhere, unless the mailbox
 *     has a directory of that name;
 *   - for a "$FILEROOT" folder, whose counts a save never writes.
 * The sizes (_DIRSIZE.TMP) are the mailbox's and the folder's, below the mailbox in the same manner; an empty `folder` has
 * the mailbox's alone, and so has a "$FILEROOT" folder, below the files. A size file that somebody has open at this moment
 * does not learn of the change; it stays, or is deleted and computed anew where a size is asked for. One that could not be
 * read or written is deleted. */
#ifndef VELMORA_DIRECT_H
#define VELMORA_DIRECT_H

#include "velmora/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Adds items to the index, at the cost of one item each, whatever the size of the folder. The first 1,000 entries of
 * `idList` count, each cut at 255 bytes; an empty one adds nothing. A name that no item can have is left out and counts for
 * nothing, and no scan takes its file either: one with a quote or ">" or of dashes alone, and, of a message, one of more
 * than 63 bytes, with a separator, or with "_" or "." in front. Every other entry adds one to the counts, also one that
 * cannot be read, or whose name the index has already; none of the counts goes beyond 2,147,483,647.
 *
 * `flagList`: entry i belongs to entry i of `idList`, under the same bounds; where it has no entry there are no flags. An
 * entry is a list of flags with blanks between, "\SEEN \FLAGGED". A message that brings flags of its own keeps those
 * instead. "SIZE=<bytes>", in capitals, in front of an entry gives the size of the message, and the item has no other flags then than
 * "\RECENT"; a negative size is 0, and one beyond 2,147,483,647 is that. "SEEN" anywhere in the list makes every item of the
 * call a seen one, and a message that says of itself that it was read ("X-Read: 1") makes those behind it in the list seen.
 * "$VLGROUP" anywhere in it, in any case, sends all items to the folder's groups (_groups.xml, _groups.blk); a group's file
 * loses its "NAME:" line when its item has been saved, and not before. Groups are counted in the words of the folder's
 * messages, and the last UID there becomes theirs, until the next full count. A null list is an empty one.
 *
 * The size of the mailbox and of the folder go up by each item's, in kilobytes, rounded.
 *
 * 1 when the folder could be had; that a file was missing, or that the save failed, is not told: the folder is marked for
 * a scan then. When the last entry cannot be read nothing of the call is saved. 0 when somebody else holds the folder, when
 * it is not there or its index cannot be loaded, or when memory ran out; the folder is marked then, too. No mark is set for
 * groups, which no scan finds: their files stay as they were, and the caller calls again. */
VELMORA_API uint64_t Direct_StoreIndex_InsertItemEx(const char* postoffice, const char* mailbox, const char* folder, const char* idList,
                                                    const char* flagList);

/* The same with a null `flagList`: the items have the flags that their messages bring. */
VELMORA_API uint64_t Direct_StoreIndex_InsertItem(const char* postoffice, const char* mailbox, const char* folder, const char* idList);

/* Changes the flags of items, or their size, with only these items in memory. All entries of `idList` count; one that is not
 * in the folder is left out, and "*" is no item.
 *
 * `change`: "SIZE=<bytes>", in capitals, sets the size of the items and nothing else. Otherwise flags: the first one ends at the first
 * blank and every later one at a comma, "+SEEN +FLAGGED,-RECENT". "+" adds, "-" takes away; when the first has neither, the
 * flags begin empty, so that a plain list replaces what the item had. A "\" may stand in front of a flag or not, and case
 * does not matter. Null and an empty text leave the flags as they are.
 *
 * The cached counts of seen, flagged and answered items go up by one for each item found whenever `change` has that flag's
 * name in it, and down by one if there is a "-" anywhere in it, whether or not the item's flags changed. Whoever sets
 * "+SEEN" on items that are seen already counts them twice until the next full count, and "-SEEN" may go below zero. The
 * counts are written whether or not an item was found, and also when the save failed. A negative size that was set here
 * counts as 0 when the item is removed.
 *
 * 1 when the folder could be had, also when no item was found; a save that fails marks the folder for a scan. 0 when
 * somebody else holds the folder, when it is not there or its index cannot be loaded, or when memory ran out: the caller may
 * call again. */
VELMORA_API uint64_t Direct_StoreIndex_UpdateItem(const char* postoffice, const char* mailbox, const char* folder, const char* idList,
                                                  const char* change);

/* Takes items out of the index, with only these items in memory; "*" takes out all, and leaves counts and sizes as they
 * were. The first 1,000 entries of `idList` count, each cut at 255 bytes. The counts and sizes go down by what the index
 * knows of the items, none below 0; the flagged, answered and recent ones and the first seen one are not counted anew. A
 * folder without an index gets none, and is marked for a scan. An empty list takes out nothing. Their files stay: whoever
 * removes a message deletes its file first, since a scan finds one that is still there again.
 *
 * 1 when the folder could be had, also when no item was found; a save that fails marks the folder for a scan. 0 as for
 * Direct_StoreIndex_UpdateItem. */
VELMORA_API uint64_t Direct_StoreIndex_RemoveItem(const char* postoffice, const char* mailbox, const char* folder, const char* idList);

#ifdef __cplusplus
}
#endif

#endif
