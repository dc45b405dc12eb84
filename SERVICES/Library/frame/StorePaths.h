// From names to directories: the resolvers, each serving its own callers, with their differences kept.
//
// All built paths use "\"; names are taken as they stand, so a path may hold both separators. No resolver fails: text is
// cut at the buffer, and a missing mail root gives relative paths.
#ifndef VELMORA_FRAME_STOREPATHS_H
#define VELMORA_FRAME_STOREPATHS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "velmora/index_records.h"

namespace velmora {

// True for "Public" alone or followed by a separator, at offset 0 or 1 of `name`, in any case.
bool IsPublicFolderName(std::string_view name);

// The directory of a post office: its own root when custom paths are allowed and the options module names one, else
// MailRoot "\" postoffice. Always 1.
uint64_t ResolvePostofficeRoot(char* dst, size_t dstSize, const char* postoffice);

// Fills FolderPath of a handle from its three names, unless it is set; the directory of a special name is made, one level
// only. Always 1. (The same for the record of a folder is the exported StoreIndex_SetPaths.)
uint64_t ResolveItemPaths(STOREITEMTYPE& item);

// The directory of a folder named by `postoffice`, `mailbox` and `folderPath`, the form of the folder operations.
char* ResolveFolderPath(const char* postoffice, const char* mailbox, const char* folderPath, char* dst, size_t size);

// "<mail root>\<postoffice>\MAILROOT\<mailbox>", whatever root of its own the post office has.
std::string PlainMailboxDirectory(std::string_view postoffice, std::string_view mailbox);

// Bytes that the directory of a cached status may take, the terminating zero included.
inline constexpr size_t kStatusPathSize = 2048;

// The directory that holds _FOLDER.DAT; `folder` may be null for the mailbox itself. A caller gives kStatusPathSize bytes,
// and `size` says how many there are. Always 1.
uint64_t ResolveStatusPath(char* dst, size_t size, const char* postoffice, const char* mailbox, const char* folder);

// The directory of the mailbox that `path` lies in: up to the "\" behind the name that follows the first "MAILROOT\" below
// the mail root. False when there is none, also when nothing stands behind the mailbox. Writes at most 1024 bytes.
bool MailboxDirectoryOf(const char* path, char* dst);

// Whether a legacy transfer may touch `path`: it begins with the bad mail directory, byte for byte, and has no "..", no
// doubled "\" and no doubled "/" in it. With no bad mail directory every path begins well.
bool IsPathInBadMail(const char* path);

}  // namespace velmora

#endif
