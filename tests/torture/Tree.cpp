#include "tests/torture/Tree.h"

#include <algorithm>
#include <system_error>

#include "common/Text.h"

namespace velmora::torture {

namespace fs = std::filesystem;

std::string OwnName(uint64_t process, uint32_t thread, uint32_t number)
{
    return "Own" + std::to_string(process) + "x" + std::to_string(thread) + "x" + std::to_string(number);
}

bool IsOwnName(std::string_view name) { return name.starts_with("Own"); }

fs::path TreeDirectory(const std::string& mailRoot, const std::string& path)
{
    return fs::path(mailRoot + "/" + kPostoffice + "/MAILROOT/" + kMailbox + path);
}

std::string ParentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

std::string LeafOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool IsKept(const std::string& path)
{
    return std::any_of(kKeptFolders.begin(), kKeptFolders.end(), [&](const char* kept) { return path == kept; });
}

bool IsWithin(const std::string& path, const std::string& tree)
{
    return path.starts_with(tree) && (path.size() == tree.size() || path[tree.size()] == '/');
}

std::set<std::string> ChildDirectories(const fs::path& directory)
{
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code gone;
        if (entry->is_directory(gone)) names.insert(entry->path().filename().string());
    }
    return names;
}

std::vector<std::string> TreeFolders(const std::string& mailRoot)
{
    std::vector<std::string> folders = {""};
    for (size_t at = 0; at < folders.size(); ++at) {
        const std::string parent = folders[at];
        for (const std::string& name : ChildDirectories(TreeDirectory(mailRoot, parent))) folders.push_back(parent + "/" + name);
    }
    return folders;
}

std::set<std::string> MessageFiles(const fs::path& directory)
{
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.ends_with(".MAI") && !name.starts_with('_')) names.insert(name);
    }
    return names;
}

StoreFolderRecord RecordOf(const std::string& path, const std::string& name)
{
    StoreFolderRecord record{};
    CopyBounded(record.Postoffice, kPostoffice);
    CopyBounded(record.Mailbox, kMailbox);
    CopyBounded(record.FolderPath, path.empty() ? "/" : path);
    CopyBounded(record.FolderName, name);
    return record;
}

StoreFolderRecord ChildRecordOf(const std::string& path) { return RecordOf(ParentOf(path), LeafOf(path)); }

}  // namespace velmora::torture
