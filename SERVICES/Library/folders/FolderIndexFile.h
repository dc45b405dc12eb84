// _folder.xml, the list of a directory's child folders, and _folder.dty, the flag that says that it is out of date.
//
// The file is a cache of the directories: it can be deleted at any time and is made again by the next request. No lock guards
// the two files. Safety comes from four things: each thread has a parsed copy of its own, writers share the file openly, a
// reader that meets half a file deletes it and lets the next request make it again, and whoever has taken the flag away looks
// once more whether the list is that of the directories.
//
// The file has no declaration, no line ends and no indentation:
//
//     <folderindex><folder><name><![CDATA[Inbox]]></name></folder>...</folderindex>
//
// Names stand as they are, one for each child directory, in the order of the directory. Nothing but the existence of the flag
// counts; "DIRTY" stands in it.
//
// `directory` is a resolved path without a separator at its end.
#ifndef VELMORA_FOLDERS_FOLDERINDEXFILE_H
#define VELMORA_FOLDERS_FOLDERINDEXFILE_H

#include <cstdint>
#include <string>

#include "folders/FolderLists.h"

namespace velmora {

inline constexpr char kFolderIndexName[] = "_folder.xml";
inline constexpr char kHierarchyFlagName[] = "_folder.dty";

// There is no list, or there is one and the flag as well.
bool FolderIndexNeedsRebuild(const std::string& directory);
// Writes the list anew from the directories and takes the flag away. Directories whose names a list cannot hold are renamed.
// 1; 0 when the directory cannot be listed, or the file not written whole. Raises Exception when the flag cannot be deleted:
// the list is written all the same. Raises when there is no memory: there is the list with its flag, or none.
uint32_t RebuildFolderIndex(const std::string& directory, bool isRoot);
// Reads the list of `directory` into `list`. 1; 0 for a file that does not load, which is deleted, so that the next request
// makes it again. `entries` is null then. What goes wrong is printed; that there is no memory is raised as well.
uint32_t LoadFolderIndex(FolderEntryList*& entries, const std::string& directory, TLSFolderList& list);
// The list of `directory`, made, read or reused as the files ask for. `entries` belongs to `list`, and is null on a failure.
// 1; 0 when the list cannot be had, or `list` is not initialised. A flag that cannot be deleted goes to the trace, and the list
// that was written in front of it serves. Raises when there is no memory.
uint32_t GetFolderEntryList(FolderEntryList*& entries, const std::string& directory, bool isRoot, TLSFolderList& list);
// Whether `name` stands in the list as it is on disk, in any case. A listed name counts by its first 259 bytes. False when the
// list does not load, which is printed unless there is none. Raises nothing.
bool IsNameInFolderIndex(const std::string& directory, const char* name);
// Sets the flag, for which it needs no memory. 1; 0, with nothing done, when it cannot be opened for writing.
uint32_t MarkHierarchyDirty(const std::string& directory) noexcept;

}  // namespace velmora

#endif
