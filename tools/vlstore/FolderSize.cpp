// vlstore folder size FOLDER: what the items of a folder and of all below it come to, as the library sums it up. Folders that
// have changed are scanned on the way, those that another process holds are taken as their index stands.

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>

#include "ExitCode.h"
#include "FolderTree.h"
#include "Message.h"
#include "Progress.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder;
    bool recursive = false;
    bool kilobytes = false;
};

constexpr uint32_t kBytes = 0, kKilobytes = 1;
constexpr uint32_t kLargest = std::numeric_limits<uint32_t>::max();

int64_t SizeOf(const Store& store, const FolderName& name, bool kilobytes, Progress& progress)
{
    progress.Step();
    StoreFolderRecord record = RecordOf(name);
    if (store.Functions().folderSize(&record, kilobytes ? kKilobytes : kBytes) != 1)
        throw Failure(ExitCode::IoError, "the folder could not be measured: " + name.Str());
    progress.Erase();
    if (record.FolderSize == kLargest) PutMessage("note: that much or more; the store counts no further: " + name.Str());
    return record.FolderSize;
}

void ShowSizes(const Options& options, Session& session, Output& output)
{
    const FolderName name = ParseMailboxOrFolder(options.folder);
    const Store store(session);
    store.FolderDirectory(name);
    const std::vector<std::string> names = {"folder", options.kilobytes ? "kilobytes" : "bytes"};
    WalkGaps gaps;
    std::vector<Row> rows;
    {
        Progress progress("folder");
        const Row whole = {name.Str(), SizeOf(store, name, options.kilobytes, progress)};
        if (!options.recursive) return output.Value(names, whole, 1);
        rows.push_back(whole);
        WalkFolders(store, name, true, gaps, [&](const ListedFolder& folder) {
            if (folder.there) rows.push_back({folder.name.Str(), SizeOf(store, folder.name, options.kilobytes, progress)});
        });
    }
    output.Begin(names);
    for (const Row& row : rows) output.Add(row);
    output.End();
    output.Finish();
    gaps.Finish();
}

}  // namespace

void AddFolderSize(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("size", "Show the size of a folder or a mailbox with everything below it, in bytes");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX, or POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_flag("--recursive", options->recursive, "A row for each folder below as well");
    verb->add_flag("--kilobytes", options->kilobytes, "In kilobytes; what a single folder has beyond whole ones does not count");
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { ShowSizes(*options, run, output); }; });
}

}  // namespace vlstore
