// A folder's files as they are at one moment, to be put back before every fault.
#ifndef VELMORA_TESTS_FAULTS_FOLDERIMAGE_H
#define VELMORA_TESTS_FAULTS_FOLDERIMAGE_H

#include <filesystem>
#include <map>
#include <string>

namespace velmora::test {

struct FileImage {
    std::string bytes;
    std::filesystem::file_time_type lastWrite;

    bool operator==(const FileImage&) const = default;
};

using FolderImage = std::map<std::string, FileImage>;

FolderImage ReadFolder(const std::filesystem::path& folder);
// Files that are as they were are not touched.
void RestoreFolder(const std::filesystem::path& folder, const FolderImage& image);

}  // namespace velmora::test

#endif
