// What the name of a folder may be, and how some are spelled.
#ifndef VELMORA_FOLDERS_FOLDERNAMES_H
#define VELMORA_FOLDERS_FOLDERNAMES_H

#include <string>
#include <string_view>

namespace velmora {

// "\" or "/" alone: the root of a mailbox's folders. An empty path and "//" lead to the same directory and are not the root: a
// list that is made through them has the names as the disk spells them.
bool IsRootFolderPath(const char* folderPath);

// The stored spelling of a well-known folder's name, or `name` itself.
const char* WellKnownFolderName(const char* name);

// No name of a folder: empty, or dots and white space alone, which some systems take for the directory itself or the one above
// it.
bool IsNoFolderName(std::string_view name);
// Whether a list may give it for a child. A list can be written by anybody: what is no single name would lead out of the folder,
// or back up into it without an end, and what does not fit a record would be cut to that of another.
bool IsChildName(std::string_view name);

// Replaces what a listed name may not hold by "_"; true when there was something. Looks at bytes: every byte above 127 goes.
bool SanitiseFolderName(std::string& name);

}  // namespace velmora

#endif
