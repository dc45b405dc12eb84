// The caller's record of a folder, read within its bounds: a text that fills its field has no zero behind it.
#ifndef VELMORA_FOLDERS_FOLDERRECORD_H
#define VELMORA_FOLDERS_FOLDERRECORD_H

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/folders.h"

namespace velmora {

// Bytes that the directory of a folder may take, the terminating zero included.
inline constexpr size_t kFolderDirectorySize = 1024;

// The text of a field of the record.
template <size_t N>
std::string RecordText(const char (&field)[N])
{
    const auto* end = static_cast<const char*>(std::memchr(field, 0, N));
    return {field, end ? static_cast<size_t>(end - field) : N};
}

// A host that was selected and does not answer leaves the record as it is, and so does one that cannot be talked to yet.
bool IsForThisMachine();

// The parts of a path between its separators, which may be doubled.
std::vector<std::string_view> StepsOf(std::string_view path);
// Whether a part of the path is no name of a folder: ".." would lead out of the mailbox, and with enough of them out of the
// store; "." would be the folder above.
bool HoldsStep(std::string_view path);

// The directory of FolderPath, the same for every spelling of the separators in it and without one at its end. Nothing for one
// that does not fit: cut, it would be that of another folder. Nothing either for a path or a name in which HoldsStep finds one.
std::optional<std::string> FolderDirectoryOf(const std::string& postoffice, const std::string& mailbox, const std::string& folderPath);
std::optional<std::string> FolderDirectoryOf(const StoreFolderRecord& record);
// The directory that the folders of the record's mailbox are in, whatever FolderPath says. Nothing as above.
std::optional<std::string> DirectoryOfMailbox(const StoreFolderRecord& record);

}  // namespace velmora

#endif
