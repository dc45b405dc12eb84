// vlstore folder rename FOLDER NEW and vlstore folder copy FOLDER NEW.
//
// Both work on directories: what a folder holds goes along, messages, index and folders. A folder that a process works in, or
// that has one below it, is left alone.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "ExitCode.h"
#include "FolderTree.h"
#include "Message.h"
#include "Session.h"
#include "Shares.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string from, to;
    bool dryRun = false;
    bool wellKnown = false;
};

// A bare name is one beside the folder.
FolderName Target(const std::string& text, const FolderName& from)
{
    if (text.find_first_of("/\\") != std::string::npos) return ParseFolderName(text);
    return ParseFolderName(from.Parent().Child(text).Str());
}

class MoveRun {
public:
    MoveRun(const Options& options, const Session& session, Output& output)
        : options_(options), output_(output), from_(ParseFolderName(options.from)), to_(Target(options.to, from_)), store_(session)
    {
    }

    void Rename()
    {
        Prepare("rename");
        if (IsWellKnown(from_) && !options_.wellKnown)
            throw Failure(ExitCode::Usage, "every mailbox has this folder; --well-known renames it all the same: " + from_.Str());
        if (there_) throw Failure(ExitCode::CannotCreate, "there is a folder already: " + to_.Str());
        if (options_.dryRun) return ReportDryRun("rename");
        WarnOfShares();
        StoreFolderRecord from = RecordInParent(from_), to = RecordInParent(to_);
        const bool renamed = store_.Functions().folderEdit(&from, &to) == 1;
        if (!renamed || !Made(to)) throw Failure(ExitCode::IoError, "the folder could not be renamed: " + from_.Str());
        Report("renamed", to);
    }

    void Copy()
    {
        Prepare("copy");
        // The library would copy into it: index over index, and message over message of the same name.
        if (there_) throw Failure(ExitCode::CannotCreate, "there is a folder already: " + to_.Str());
        if (!content_.blocks.empty())
            throw Failure(ExitCode::Temporary,
                          "a block file would be copied along, which was left behind: " + content_.blocks.front().string());
        if (options_.dryRun) return ReportDryRun("copy");
        StoreFolderRecord from = RecordInParent(from_), to = RecordInParent(to_);
        const bool copied = store_.Functions().folderCopy(&from, &to) == 1;
        if (!copied || !Made(to)) {
            throw Failure(ExitCode::IoError, "the folder could not be copied whole" +
                                                 (Made(to) ? "; what was copied is in " + to_.Str() : std::string(": ") + from_.Str()));
        }
        Report("copied", to);
    }

private:
    // What both ask for before they change anything.
    void Prepare(const std::string& what)
    {
        const fs::path directory = store_.FolderDirectory(from_);
        if (PlaceOf(from_) != FolderPlace::Mailbox && from_.FolderParts().size() == 1)
            throw Failure(ExitCode::Usage, "a name that the store keeps for itself: " + from_.Str());
        from_ = AsOnDisk(store_, from_);
        if (IsWithin(to_, from_))
            throw Failure(ExitCode::Usage, "cannot " + what + " a folder into itself: " + from_.Str() + " to " + to_.Str());
        RequireNewFolderName(store_, to_);
        parent_ = store_.FolderDirectory(to_.Parent());
        there_ = FindNoCase(parent_, to_.Leaf()).has_value();
        content_ = ContentOf(directory);
        RefuseIfTreeIsHeld(from_, content_);
    }

    bool Made(const StoreFolderRecord& to) const
    {
        const std::optional<fs::path> directory = FindNoCase(parent_, to.FolderName);
        return directory && fs::is_directory(*directory);
    }

    // A share names its folder by the path.
    void WarnOfShares() const
    {
        if (PlaceOf(from_) != FolderPlace::Mailbox) return;
        std::vector<std::string> shared;
        try {
            shared = ReadSharedFolders(store_.FolderDirectory({from_.postoffice, from_.mailbox, {}}));
        } catch (const Failure& failure) {
            PutMessage(std::string("note: ") + failure.what());
        }
        for (const std::string& path : shared) {
            if (EqualNoCase(path, "/" + from_.folder) || StartsWithNoCase(path, "/" + from_.folder + "/"))
                PutMessage("note: its share stays under the old name: " + from_.postoffice + "/" + from_.mailbox + path);
        }
    }

    std::string ContentText() const
    {
        return CountOf(content_.folders, "folder") + " and " + CountOf(content_.files, "item file") + " in it";
    }

    void ReportDryRun(const std::string& verb)
    {
        output_.Remark("would " + verb + " " + from_.Str() + " to " + to_.Str() + ", with " + ContentText());
        if (output_.GetFormat() != Format::Table) Put(to_);
    }

    void Report(const std::string& verb, const StoreFolderRecord& to)
    {
        const FolderName made = to_.Parent().Child(to.FolderName);
        output_.Remark(verb + " " + from_.Str() + " to " + made.Str() + ", with " + ContentText());
        if (output_.GetFormat() != Format::Table) Put(made);
    }

    void Put(const FolderName& to)
    {
        output_.Record({"from", "to", "folders", "files"},
                       {from_.Str(), to.Str(), static_cast<int64_t>(content_.folders), static_cast<int64_t>(content_.files)});
    }

    const Options& options_;
    Output& output_;
    FolderName from_;
    const FolderName to_;
    Store store_;
    fs::path parent_;  // where the new one comes
    TreeContent content_;
    bool there_ = false;
};

}  // namespace

void AddFolderRename(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("rename", "Give a folder another name, or another place");
    verb->add_option("FOLDER", options->from, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("NEW", options->to, "A name, or POSTOFFICE/MAILBOX/FOLDER; what it lies in must be there")->required();
    verb->add_flag("--well-known", options->wellKnown, "Also one of the folders that every mailbox has");
    verb->add_flag("--dry-run", options->dryRun, "Say what would be renamed, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { MoveRun(*options, run, output).Rename(); }; });
}

void AddFolderCopy(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("copy", "Copy a folder with everything in it");
    verb->add_option("FOLDER", options->from, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("NEW", options->to, "A name, or POSTOFFICE/MAILBOX/FOLDER; what it lies in must be there")->required();
    verb->add_flag("--dry-run", options->dryRun, "Say what would be copied, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { MoveRun(*options, run, output).Copy(); }; });
}

}  // namespace vlstore
