// vlstore folder add FOLDER: makes a folder.

#include <CLI/CLI.hpp>
#include <memory>

#include "ExitCode.h"
#include "FolderTree.h"
#include "Session.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string folder;
    bool dryRun = false;
};

void AddFolder(const Options& options, Session& session, Output& output)
{
    const FolderName name = ParseFolderName(options.folder);
    const Store store(session);
    RequireNewFolderName(store, name);
    const fs::path parent = store.FolderDirectory(name.Parent());
    if (FindNoCase(parent, name.Leaf())) throw Failure(ExitCode::CannotCreate, "there is a folder already: " + name.Str());
    StoreFolderRecord record = RecordInParent(name);
    const std::vector<std::string> names = {"VL_POSTOFFICE", "VL_MAILBOX", "VL_FOLDER", "VL_FOLDER_PATH"};
    if (options.dryRun) {
        output.Remark("would add " + name.Str());
        if (output.GetFormat() != Format::Table)
            output.Record(names, {name.postoffice, name.mailbox, name.folder, (parent / record.FolderName).string()});
        return;
    }
    const bool added = store.Functions().folderAdd(&record) == 1;
    const FolderName made = name.Parent().Child(record.FolderName);
    const std::optional<fs::path> directory = FindNoCase(parent, made.Leaf());
    if (!added || !directory) throw Failure(ExitCode::CannotCreate, "the folder could not be made: " + (parent / made.Leaf()).string());
    output.Record(names, {made.postoffice, made.mailbox, made.folder, directory->string()});
}

}  // namespace

void AddFolderAdd(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("add", "Make a folder in a mailbox, or in a folder that is there");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_flag("--dry-run", options->dryRun, "Say what would be made, and write nothing");
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { AddFolder(*options, run, output); }; });
}

}  // namespace vlstore
