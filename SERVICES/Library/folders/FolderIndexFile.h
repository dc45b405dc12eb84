// _folder.xml, the list of a directory's child folders, and _folder.dty, the flag that says that it is out of date.
//
// The file is a cache of the directories: it can be deleted at any time and is made again by the next request. No lock guards
// the two files. Safety comes from three things: each thread has a parsed copy of its own, writers share the file openly, and a
// reader that meets half a file deletes it and lets the next request make it again.
//
// `directory` is a resolved path without a separator at its end.
#ifndef VELMORA_FOLDERS_FOLDERINDEXFILE_H
#define VELMORA_FOLDERS_FOLDERINDEXFILE_H

#include <cstdint>
#include <string>

#include "folders/FolderLists.h"
#include "velmora/folders.h"

namespace velmora {

// "\" or "/" alone: the root of a mailbox's folders.
bool IsRootFolderPath(const char* folderPath);

// There is no list, or there is one and the flag as well.
bool FolderIndexNeedsRebuild(const std::string& directory);
// Writes the list anew from the directories and takes the flag away. 1; 0 when the file cannot be written. Raises Exception
// when the flag cannot be deleted: the list is written all the same.
uint32_t RebuildFolderIndex(const std::string& directory, bool isRoot);
// Reads the list of `directory` into `list`. 1; 0 for a file that does not load, which is deleted, so that the next request
// makes it again.
uint32_t LoadFolderIndex(FolderEntryList*& entries, const std::string& directory, TLSFolderList& list);
// The list of `directory`, made, read or reused as the files ask for. `entries` belongs to `list`. 1 or 0.
uint32_t GetFolderEntryList(FolderEntryList*& entries, const std::string& directory, bool isRoot, TLSFolderList& list);
// Whether `name` stands in the list as it is on disk, in any case. False when it does not load.
bool IsNameInFolderIndex(const std::string& directory, const char* name);
// Sets the flag. 1; 0 when it cannot be written.
uint32_t MarkHierarchyDirty(const std::string& directory);
// Replaces what a listed name may not hold by "_"; true when there was something. Looks at bytes: every byte above 127 goes.
bool SanitiseFolderName(std::string& name);

// The stored spelling of a well-known folder's name, or `name` itself.
const char* WellKnownFolderName(const char* name);

// The last-write time of a file in DOS form, as it stands (UTC): the date in the high and the time in the low 16 bits. 0 when
// there is no such file.
uint32_t DosStampOf(const std::string& path);

}  // namespace velmora

#endif
