// vlstore folder status FOLDER: what is known of a folder without opening it; nothing is locked, made or changed.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "CachedCounts.h"
#include "FolderFiles.h"
#include "Session.h"
#include "Store.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string folder;
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

void ShowStatus(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    Store store(session);
    fs::path directory = store.FolderDirectory(name);

    std::vector<std::string> names = {"VL_POSTOFFICE", "VL_MAILBOX", "VL_FOLDER", "VL_FOLDER_PATH"};
    Row row = {name.postoffice, name.mailbox, name.folder, directory.string()};
    std::optional<CachedCounts> cached = CachedCounts::Read(store, name);
    for (const CountName& count : CountNames()) {
        names.emplace_back(count.name);
        row.push_back(cached ? Cell(int64_t{cached->Word(count.word)}) : Cell());
    }
    names.insert(names.end(), {"indexBytes", "dirty", "block"});
    row.push_back(FileSize(FindIndexFile(directory)));
    row.push_back(IsMarkedDirty(directory));
    row.push_back(BlockText(directory));
    output.Record(names, row);
    if (!cached) output.Remark("The folder has not been counted yet.");
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
