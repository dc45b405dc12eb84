// Branding: the X-UID line that ties a message file to its folder, written and taken away by rewriting the file.
//
// Everything here does nothing unless the setting "UID Branding Enabled" is on. A rewrite goes through a temporary file
// beside the message, its name with "_" in front, and ends with a delete of the message and a move into its place. A move
// that fails is tried again for three seconds and then made a copy, with a line on standard output.
//
// Only a file that came with a valid UID is branded, and the strip that follows in the same scan takes the line away
// again; a file that came with neither X-UID nor X-VLTempFlags is never touched.
#ifndef VELMORA_ITEMS_MESSAGEBRANDING_H
#define VELMORA_ITEMS_MESSAGEBRANDING_H

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

bool UidBrandingIsOn();

// Puts the X-UID line of (folder's unique id, uid) in place of every one that the header has, or in front of the blank
// line when it has none. Always 1.
//
// Kept: when the temporary file cannot be opened, the closing delete and move are carried out all the same, and the
// message is lost.
uint64_t BrandMessageFile(const std::string& folderPath, std::string_view fileName, uint32_t folderUid, uint32_t uid);

// Takes all X-UID and X-VLTempFlags lines out of the header; a file that has none stays as it is. Always 1.
uint64_t StripMessageBranding(const std::string& folderPath, std::string_view fileName, uint32_t folderUid, uint32_t uid);

}  // namespace velmora

#endif
