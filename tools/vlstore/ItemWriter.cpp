#include "ItemWriter.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>

#include "ExitCode.h"
#include "FolderFiles.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kEnding = ".MAI";
constexpr size_t kDigits = 8;

// The number of a name of our own form; 0 for any other.
uint64_t NumberOf(std::string_view name)
{
    if (name.size() != kDigits + kEnding.size()) return 0;
    uint32_t number = 0;
    auto [end, error] = std::from_chars(name.data(), name.data() + kDigits, number, 16);
    return error == std::errc() && end == name.data() + kDigits ? number : 0;
}

std::string NameOf(uint64_t number)
{
    char name[kDigits + kEnding.size() + 1];
    std::snprintf(name, sizeof name, "%08X.MAI", static_cast<unsigned>(number));
    return name;
}

}  // namespace

ItemWriter::ItemWriter(const fs::path& directory) : directory_(directory)
{
    std::error_code error;
    fs::directory_iterator entries(directory, error);
    if (error) throw CannotRead(directory.string(), error);
    for (const fs::directory_entry& entry : entries) {
        std::string name = entry.path().filename().string();
        if (!EndsWithNoCase(name, kEnding)) continue;
        ++present_;
        highest_ = std::max(highest_, NumberOf(name));
    }
}

std::string ItemWriter::Write(std::string_view message)
{
    while (highest_ < std::numeric_limits<uint32_t>::max()) {
        std::string name = NameOf(++highest_);
        std::error_code error = WriteItemFile(directory_, name, message, Durability::Cached);
        if (error == std::errc::file_exists) continue;
        if (error) throw Failure(ExitCode::IoError, "cannot write " + (directory_ / name).string() + ": " + error.message());
        return name;
    }
    throw Failure(ExitCode::CannotCreate, "no item names are left in " + directory_.string());
}

}  // namespace vlstore
