// vlstore folder reindex FOLDER: writes the store's list of the folders in a folder anew from the directories.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "ExitCode.h"
#include "FolderTree.h"
#include "Progress.h"
#include "Session.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string folder;
    bool recursive = false;
    bool dryRun = false;
};

// The directories in one, but links; as the directory has them.
std::vector<std::string> DirectoriesIn(const fs::path& directory)
{
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
        if (!entry.is_symlink() && entry.is_directory()) names.push_back(entry.path().filename().string());
    }
    if (error) throw CannotRead(directory.string(), error);
    return names;
}

class ReindexRun {
public:
    ReindexRun(const Options& options, const Session& session, Output& output)
        : options_(options), output_(output), name_(ParseMailboxOrFolder(options.folder)), store_(session)
    {
    }

    void Run()
    {
        store_.FolderDirectory(name_);
        if (options_.dryRun) output_.Remark("would list anew");
        output_.Begin({"folder", "folders"});
        {
            Progress progress("folder");
            Reindex(name_, progress);
        }
        for (const Row& row : rows_) output_.Add(row);
        output_.End();
        output_.Finish();
        gaps_.Finish();
    }

private:
    // A list that is written may rename directories; those below are gone through as they are called then.
    void Reindex(const FolderName& name, Progress& progress)
    {
        progress.Step();
        const fs::path directory = store_.FolderDirectory(name);
        if (!options_.dryRun) {
            StoreFolderRecord record = RecordOf(name);
            if (store_.Functions().reindexFolders(&record) != 1)
                throw Failure(ExitCode::IoError, "the list of folders could not be written: " + (directory / "_folder.xml").string());
        }
        std::vector<std::string> names = DirectoriesIn(directory);
        rows_.push_back({name.Str(), static_cast<int64_t>(names.size())});
        if (!options_.recursive) return;
        std::sort(names.begin(), names.end());
        for (const std::string& child : names) {
            try {
                Reindex(name.Child(child), progress);
            } catch (const Failure& failure) {
                gaps_.Add(name.Child(child), failure.what());
            }
        }
    }

    const Options& options_;
    Output& output_;
    const FolderName name_;
    Store store_;
    std::vector<Row> rows_;
    WalkGaps gaps_;
};

}  // namespace

void AddFolderReindex(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("reindex", "Write the store's list of the folders in a folder anew");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX, or POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_flag("--recursive", options->recursive, "In all folders below as well");
    verb->add_flag("--dry-run", options->dryRun, "Say which lists would be written, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { ReindexRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
