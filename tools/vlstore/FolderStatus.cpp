// vlstore folder status FOLDER: what is known of a folder without opening it; nothing is locked, made or changed.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "Session.h"
#include "Store.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string folder;
};

// The counts of a status, under the names that they have in the output.
struct Count {
    const char* name;
    size_t word;
};
constexpr Count kCounts[] = {
    {"items", VELMORA_STATUS_ITEMS},           {"seen", VELMORA_STATUS_SEEN},         {"recent", VELMORA_STATUS_RECENT},
    {"answered", VELMORA_STATUS_ANSWERED},     {"flagged", VELMORA_STATUS_FLAGGED},   {"firstSeen", VELMORA_STATUS_FIRST_SEEN},
    {"addedSinceCount", VELMORA_STATUS_ADDED}, {"newSinceCount", VELMORA_STATUS_NEW}, {"lastUid", VELMORA_STATUS_LAST_UID},
};

const char* BlockText(const fs::path& directory)
{
    switch (ProbeBlockFile(directory / "_index.blk")) {
        case BlockState::Free:
            return "free";
        case BlockState::Held:
            return "held";
        case BlockState::Hidden:
            return "unknown";
        case BlockState::Unheld:
            break;
    }
    return "left behind";
}

Cell FileSize(const std::optional<fs::path>& path)
{
    std::error_code error;
    if (!path) return {};
    uintmax_t size = fs::file_size(*path, error);
    if (error) return {};
    return static_cast<int64_t>(size);
}

// The spellings in which these files are written; a folder of a hundred thousand files is not listed for them.
std::optional<fs::path> OneOf(const fs::path& directory, std::initializer_list<const char*> spellings)
{
    std::error_code error;
    for (const char* spelling : spellings) {
        if (fs::exists(directory / spelling, error)) return directory / spelling;
    }
    return std::nullopt;
}

void ShowStatus(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    Store store(session);
    fs::path directory = store.FolderDirectory(name);

    std::vector<std::string> names = {"VL_POSTOFFICE", "VL_MAILBOX", "VL_FOLDER", "VL_FOLDER_PATH"};
    Row row = {name.postoffice, name.mailbox, name.folder, directory.string()};
    uint32_t words[VELMORA_STATUS_WORDS] = {};
    bool counted = store.Functions().getCachedStatus(name.postoffice.c_str(), name.mailbox.c_str(), name.folder.c_str(), words) == 1;
    for (const Count& count : kCounts) {
        names.emplace_back(count.name);
        row.push_back(counted ? Cell(static_cast<int64_t>(static_cast<int32_t>(words[count.word]))) : Cell());
    }
    names.insert(names.end(), {"indexBytes", "dirty", "block"});
    row.push_back(FileSize(OneOf(directory, {"_index.xml", "_INDEX.XML"})));
    row.push_back(OneOf(directory, {"_CHANGE.DTY", "_change.dty"}).has_value());
    row.push_back(BlockText(directory));
    output.Record(names, row);
    if (!counted) output.Remark("The folder has not been counted yet.");
}

}  // namespace

void AddFolderStatus(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("status", "Show a folder's counts, index, dirty flag and lock, without opening it");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { ShowStatus(*options, run, output); }; });
}

}  // namespace vlstore
