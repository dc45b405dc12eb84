#include "tests/faults/TreeImage.h"

#include <algorithm>

#include "tests/support/TestStore.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

std::string NameBelow(const fs::path& root, const fs::path& path)
{
    std::string name = path.string().substr(root.string().size() + 1);
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

}  // namespace

TreeImage ReadTree(const fs::path& root)
{
    TreeImage image;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::optional<std::string>& bytes = image[NameBelow(root, entry.path())];
        if (!entry.is_directory()) bytes = ReadFileBytes(entry.path());
    }
    return image;
}

void RestoreTree(const fs::path& root, const TreeImage& image)
{
    const TreeImage present = ReadTree(root);
    // Backwards, what is in a directory comes in front of it.
    for (auto entry = present.rbegin(); entry != present.rend(); ++entry) {
        const auto kept = image.find(entry->first);
        if (kept == image.end() || kept->second.has_value() != entry->second.has_value()) fs::remove(root / entry->first);
    }
    for (const auto& [name, bytes] : image) {
        const auto found = present.find(name);
        if (found != present.end() && found->second == bytes) continue;
        if (bytes)
            WriteFileBytes(root / name, *bytes);
        else
            fs::create_directory(root / name);
    }
}

std::map<std::string, std::string> MessagesOf(const TreeImage& image)
{
    std::map<std::string, std::string> messages;
    for (const auto& [name, bytes] : image)
        if (bytes && name.ends_with(".MAI")) messages.emplace(name, *bytes);
    return messages;
}

std::set<std::string> ChildFolders(const fs::path& directory)
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
        if (entry.is_directory()) names.insert(entry.path().filename().string());
    return names;
}

}  // namespace velmora::test
