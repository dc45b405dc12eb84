// The traces of a shared folder, and how they go with it.
//
// Three kinds of documents tell of a share: the owner's list of shared folders (_Shares.xml), the folder's own access list
// (_Access.XML) and one security file for each user. Other components of the server write them; here an entry is taken out
// and everything else stays as it stands. They have no lock: the last save wins.
#ifndef VELMORA_FOLDERS_SHARES_H
#define VELMORA_FOLDERS_SHARES_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace velmora {

// Bytes of the buffer that a folder's path is normalised in.
inline constexpr size_t kFolderPathSize = 1024;

// Takes the shares of one folder away: its entry in the list, its access list, and the entries of those who had access.
// `folderPath` has room for kFolderPathSize bytes and comes back with slashes and one in front, also with 0. 1; 0 with no file
// changed when the folder is not shared, the path or a name holds a step up, or the list cannot be saved without it; 0 when the
// access list does not load, and the folder is in the list no more by then. Errors of the document facility are printed and give 0.
uint32_t RemoveFolderShareEntries(char* folderPath, const char* mailbox, const char* postoffice);

// Takes the entry of `resource` out of a user's security file; the last one takes the file along. 1; 0 when the file does
// not load or has no such entry.
uint32_t RemoveUserAccess(const char* user, const std::string& resource, const char* postoffice);

// The path of a user's security file; the directories on the way are made. Empty for a user whose name cannot be that of a file
// in there, and, with nothing made, for a post office with a step up in its name.
std::string SecurityFilePath(const char* user, const char* postoffice);

}  // namespace velmora

#endif
