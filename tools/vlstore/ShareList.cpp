// vlstore share list MAILBOX: the folders that a mailbox shares, and with whom; nothing is locked or changed.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>
#include <optional>

#include "ExitCode.h"
#include "FolderName.h"
#include "Message.h"
#include "Session.h"
#include "Shares.h"
#include "Store.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string mailbox;
};

class ShareRun {
public:
    ShareRun(const Options& options, const Session& session, Output& output)
        : name_(ParseMailboxOrFolder(options.mailbox)), output_(output), store_(session)
    {
        if (!name_.folder.empty()) throw Failure(ExitCode::Usage, "a mailbox is written POSTOFFICE/MAILBOX: " + options.mailbox);
        mailbox_ = store_.FolderDirectory(name_);
    }

    void Run()
    {
        const std::vector<std::string> shared = ReadSharedFolders(mailbox_);
        output_.Begin({"VL_FOLDER", "user", "inShares", "there"});
        for (const std::string& path : shared) AddShare(path);
        AddUnlisted();
        output_.End();
        output_.Finish();
        if (fault_) throw Failure(*fault_);
    }

private:
    void AddShare(const std::string& path)
    {
        const std::optional<fs::path> directory = DirectoryOf(path);
        std::vector<std::string> users;
        if (directory) {
            seen_.push_back(*directory);
            users = UsersIn(*directory);
        }
        if (users.empty()) output_.Add({Shown(path), {}, true, directory.has_value()});
        for (const std::string& user : users) output_.Add({Shown(path), user, true, true});
    }

    // Access lists of folders that the list of shares does not name.
    void AddUnlisted()
    {
        std::map<std::string, fs::path> found;
        std::error_code error;
        fs::recursive_directory_iterator entries(mailbox_, error);
        for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
            if (entries->is_symlink() || !entries->is_directory() || !HasAccessList(entries->path())) continue;
            if (std::find(seen_.begin(), seen_.end(), entries->path()) == seen_.end())
                found.emplace(entries->path().lexically_relative(mailbox_).generic_string(), entries->path());
        }
        if (error) throw CannotRead(mailbox_.string(), error);
        for (const auto& [path, directory] : found) {
            const std::vector<std::string> users = UsersIn(directory);
            if (users.empty()) output_.Add({path, {}, false, true});
            for (const std::string& user : users) output_.Add({path, user, false, true});
        }
    }

    // "/Inbox/Projects" as the other verbs write it.
    static std::string Shown(std::string path)
    {
        path.erase(0, std::min(path.find_first_not_of("/\\"), path.size()));
        return path;
    }

    std::optional<fs::path> DirectoryOf(const std::string& path) const
    {
        try {
            return store_.FolderDirectory(ParseFolderName(name_.Str() + "/" + Shown(path)));
        } catch (const Failure&) {
            return std::nullopt;
        }
    }

    std::vector<std::string> UsersIn(const fs::path& directory)
    {
        try {
            return ReadUsers(directory);
        } catch (const Failure& failure) {
            // The last one ends the run, behind the rows.
            if (fault_) PutMessage(fault_->what());
            fault_ = failure;
            return {};
        }
    }

    const FolderName name_;
    Output& output_;
    Store store_;
    fs::path mailbox_;
    std::vector<fs::path> seen_;
    std::optional<Failure> fault_;
};

}  // namespace

void AddShareList(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("list", "List a mailbox's shared folders, and the users who have access to them");
    verb->add_option("MAILBOX", options->mailbox, "POSTOFFICE/MAILBOX")->required();
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { ShareRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
