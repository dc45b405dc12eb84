// The mailbox that processes fight for as a tree: folders that stay, folders that anybody may make, rename and remove, and
// folders of one thread's own, which nobody else touches.
#ifndef VELMORA_TESTS_TORTURE_TREE_H
#define VELMORA_TESTS_TORTURE_TREE_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/torture/Plan.h"
#include "velmora/folders.h"

namespace velmora::torture {

// Nobody removes, renames or copies over these or what they stand in. Into the last one nobody puts folders.
inline constexpr std::array<const char*, 6> kKeptFolders = {"", "/Inbox", "/Sent Items", "/Work", "/Work/Kept", "/Work/Ledger"};
inline constexpr const char* kLedger = kKeptFolders.back();

// Names that all fight for. The last one is a well-known folder's, in another case than that is stored in.
inline constexpr std::array<const char*, 6> kFreeNames = {"Free 0", "Free1", "Free2", "FREE3", "free4", "drafts"};

// Of a folder that its thread alone renames and removes.
std::string OwnName(uint64_t process, uint32_t thread, uint32_t number);
bool IsOwnName(std::string_view name);

// `path` begins with "/" and is empty for the root.
std::filesystem::path TreeDirectory(const std::string& mailRoot, const std::string& path);
std::string ParentOf(const std::string& path);
std::string LeafOf(const std::string& path);
bool IsKept(const std::string& path);
// Whether it is `tree` or below it.
bool IsWithin(const std::string& path, const std::string& tree);

// The child directories as they are; none of a directory that is not there.
std::set<std::string> ChildDirectories(const std::filesystem::path& directory);
// All below and with the root. What goes away meanwhile is left out.
std::vector<std::string> TreeFolders(const std::string& mailRoot);
// The message files of a directory.
std::set<std::string> MessageFiles(const std::filesystem::path& directory);

// A record of the host for the folder itself; with a name, for a child of it.
StoreFolderRecord RecordOf(const std::string& path, const std::string& name = {});
// For the folder as a child of its parent.
StoreFolderRecord ChildRecordOf(const std::string& path);

}  // namespace velmora::torture

#endif
