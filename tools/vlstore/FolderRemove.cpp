// vlstore folder remove FOLDER: deletes a folder with everything in it, and its shares.
//
// The library takes away the shares of the folder that it is called for, so the shared folders below go first, one by one,
// each with its shares. A folder is always named by its whole path: named as the child of another, the shares of that one
// would go.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "Confirm.h"
#include "ExitCode.h"
#include "FolderTree.h"
#include "Session.h"
#include "Shares.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string folder;
    bool mailbox = false;
    bool wellKnown = false;
    bool yes = false;
    bool dryRun = false;
};

class RemoveFolderRun {
public:
    RemoveFolderRun(const Options& options, const Session& session, Output& output)
        : options_(options), output_(output), name_(ParseMailboxOrFolder(options.folder)), store_(session)
    {
    }

    void Run()
    {
        directory_ = store_.FolderDirectory(name_);
        RequireWord();
        if (!name_.folder.empty()) name_ = AsOnDisk(store_, name_);
        content_ = ContentOf(directory_);
        RefuseIfTreeIsHeld(name_, content_);
        FindShares();
        if (options_.dryRun) return Report("would remove");
        if (!options_.yes) {
            RequireSomebodyToAsk();
            if (!IsConfirmed("Remove " + What())) throw Failure(ExitCode::Usage, "nothing was removed");
        }
        Remove();
        Report("removed");
    }

private:
    // What is more than one folder among others has a word of its own.
    void RequireWord() const
    {
        const bool placed = PlaceOf(name_) != FolderPlace::Mailbox;
        if (name_.folder.empty() && !options_.mailbox)
            throw Failure(ExitCode::Usage, "that is a whole mailbox; --mailbox removes it: " + name_.Str());
        if (!name_.folder.empty() && options_.mailbox) throw Failure(ExitCode::Usage, "not a mailbox: " + name_.Str());
        if (placed && name_.FolderParts().size() == 1)
            throw Failure(ExitCode::Usage, "a name that the store keeps for itself: " + name_.Str());
        if (!placed && IsWellKnown(name_) && !options_.wellKnown)
            throw Failure(ExitCode::Usage, "every mailbox has this folder; --well-known removes it all the same: " + name_.Str());
    }

    // Shared folders of this one, the deepest first.
    void FindShares()
    {
        if (PlaceOf(name_) != FolderPlace::Mailbox) return;
        for (const std::string& path : ReadSharedFolders(store_.FolderDirectory({name_.postoffice, name_.mailbox, {}}))) {
            const FolderName shared{name_.postoffice, name_.mailbox, path.substr(std::min(path.find_first_not_of("/\\"), path.size()))};
            if (!shared.folder.empty() && IsWithin(shared, name_)) shared_.push_back(shared);
        }
        std::stable_sort(shared_.begin(), shared_.end(),
                         [](const FolderName& a, const FolderName& b) { return a.folder.size() > b.folder.size(); });
    }

    std::string What() const
    {
        return std::string(name_.folder.empty() ? "the mailbox " : "") + name_.Str() + ", with " + CountOf(content_.folders, "folder") +
               ", " + CountOf(content_.files, "item file") + " and " + CountOf(shared_.size(), "share") + " in it";
    }

    void Remove()
    {
        if (name_.folder.empty()) {
            store_.Functions().removeMailboxShares(name_.mailbox.c_str(), name_.postoffice.c_str());
        } else {
            for (const FolderName& shared : shared_) {
                if (shared.folder != name_.folder) RemoveOne(shared);
            }
        }
        RemoveOne(name_);
        std::error_code error;
        if (fs::exists(directory_, error) || error)
            throw Failure(ExitCode::IoError, "the folder could not be removed whole; what is left is in " + directory_.string());
    }

    void RemoveOne(const FolderName& name) const
    {
        StoreFolderRecord record = RecordOf(name);
        store_.Functions().folderRemove(&record);
    }

    void Report(const std::string& what)
    {
        output_.Remark(what + " " + What());
        if (output_.GetFormat() == Format::Table) return;
        output_.Record({"removed", "folders", "files", "shares"},
                       {name_.Str(), static_cast<int64_t>(content_.folders), static_cast<int64_t>(content_.files),
                        static_cast<int64_t>(shared_.size())});
    }

    const Options& options_;
    Output& output_;
    FolderName name_;
    Store store_;
    fs::path directory_;
    TreeContent content_;
    std::vector<FolderName> shared_;
};

}  // namespace

void AddFolderRemove(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("remove", "Remove a folder with everything in it, and its shares");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER; with --mailbox POSTOFFICE/MAILBOX")->required();
    verb->add_flag("--mailbox", options->mailbox, "Remove a whole mailbox");
    verb->add_flag("--well-known", options->wellKnown, "Also one of the folders that every mailbox has");
    verb->add_flag("--yes", options->yes, "Do not ask; without it a terminal is asked, and anything else is refused");
    verb->add_flag("--dry-run", options->dryRun, "Say what would be removed, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { RemoveFolderRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
