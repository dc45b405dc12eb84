// What lies in a folder's directory beside its messages, and how a message gets there.
#ifndef VLSTORE_FOLDERFILES_H
#define VLSTORE_FOLDERFILES_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "System.h"

namespace vlstore {

// The folder's index, if it has one.
std::optional<std::filesystem::path> FindIndexFile(const std::filesystem::path& directory);

// Whether the flag file stands that makes the next open of any process scan the folder.
bool IsMarkedDirty(const std::filesystem::path& directory);
// Leaves it. Throws Failure.
void MarkDirty(const std::filesystem::path& directory);

// Puts a message there the way a delivery agent does: whole under a private name first, then under its own in one step, so
// that no scan ever sees half a message. Fails with file_exists when either name is taken; nothing is left behind on a
// failure.
std::error_code WriteItemFile(const std::filesystem::path& directory, const std::string& name, std::string_view message,
                              Durability durability);

}  // namespace vlstore

#endif
