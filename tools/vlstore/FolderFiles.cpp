#include "FolderFiles.h"

#include <fstream>

#include "ExitCode.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDirtyFlag = "_CHANGE.DTY";
constexpr const char* kDirtyText = "This file is a flag file that denotes that this folder has been changed";
constexpr const char* kPrivatePrefix = "_";  // what begins so is never an item

// The spellings in which these files are written; a folder of a hundred thousand files is not listed for them.
std::optional<fs::path> OneOf(const fs::path& directory, std::initializer_list<const char*> spellings)
{
    std::error_code error;
    for (const char* spelling : spellings) {
        if (fs::exists(directory / spelling, error)) return directory / spelling;
    }
    return std::nullopt;
}

}  // namespace

std::optional<fs::path> FindIndexFile(const fs::path& directory) { return OneOf(directory, {"_index.xml", "_INDEX.XML"}); }

bool IsMarkedDirty(const fs::path& directory) { return OneOf(directory, {kDirtyFlag, "_change.dty"}).has_value(); }

void MarkDirty(const fs::path& directory)
{
    std::ofstream flag(directory / kDirtyFlag, std::ios::binary | std::ios::trunc);
    flag << kDirtyText;
    flag.close();
    if (!flag) throw Failure(ExitCode::IoError, "cannot write " + (directory / kDirtyFlag).string());
}

std::error_code WriteItemFile(const fs::path& directory, const std::string& name, std::string_view message, Durability durability)
{
    fs::path temporary = directory / (kPrivatePrefix + name);
    if (std::error_code error = WriteNewFile(temporary, message, durability)) return error;
    std::error_code error = MoveWithoutReplacing(temporary, directory / name);
    std::error_code ignored;
    if (error) fs::remove(temporary, ignored);
    return error;
}

}  // namespace vlstore
