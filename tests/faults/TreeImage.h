// A directory with all that is below it, as it lies on the disk.
#ifndef VELMORA_TESTS_FAULTS_TREEIMAGE_H
#define VELMORA_TESTS_FAULTS_TREEIMAGE_H

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace velmora::test {

// By path below the root, with "/"; a directory has no bytes.
using TreeImage = std::map<std::string, std::optional<std::string>>;

TreeImage ReadTree(const std::filesystem::path& root);
// What is as in the image already is left alone.
void RestoreTree(const std::filesystem::path& root, const TreeImage& image);
// The message files of the image, with their bytes.
std::map<std::string, std::string> MessagesOf(const TreeImage& image);
std::set<std::string> ChildFolders(const std::filesystem::path& directory);

}  // namespace velmora::test

#endif
