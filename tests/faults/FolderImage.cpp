#include "tests/faults/FolderImage.h"

#include "tests/support/TestStore.h"

namespace velmora::test {

namespace fs = std::filesystem;

FolderImage ReadFolder(const fs::path& folder)
{
    FolderImage image;
    for (const std::string& name : FileNames(folder)) image[name] = {ReadFileBytes(folder / name), fs::last_write_time(folder / name)};
    return image;
}

void RestoreFolder(const fs::path& folder, const FolderImage& image)
{
    const FolderImage present = ReadFolder(folder);
    for (const auto& [name, file] : present)
        if (!image.contains(name)) fs::remove(folder / name);
    for (const auto& [name, file] : image) {
        const auto found = present.find(name);
        if (found != present.end() && found->second == file) continue;
        WriteFileBytes(folder / name, file.bytes);
        fs::last_write_time(folder / name, file.lastWrite);
    }
}

}  // namespace velmora::test
