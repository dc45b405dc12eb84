// vlstore item remove FOLDER ID...: takes items out of the folder, and deletes their messages.
//
// The index goes first, and a message is deleted when the index no longer has it: whenever the run is cut short, what is
// left is a message that is whole, listed or not, and that the next scan of the folder lists again. The other way round,
// an item would be left that is listed and has no message. A scan that comes between the two lists the message anew; so
// what is still listed at the end is taken out once more.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "Confirm.h"
#include "ExitCode.h"
#include "FolderFiles.h"
#include "ItemIds.h"
#include "Message.h"
#include "OpenFolder.h"
#include "Progress.h"
#include "Session.h"
#include "SettingsFile.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr size_t kItemsOfOneCall = 100;
constexpr int kPasses = 3;

struct Options {
    std::string folder;
    std::vector<std::string> ids;
    bool yes = false;
    bool dryRun = false;
};

std::string CountText(size_t count) { return std::to_string(count) + (count == 1 ? " item" : " items"); }

class RemoveRun {
public:
    RemoveRun(const Options& options, const Session& session, Output& output)
        : options_(options), name_(ParseFolderName(options.folder)), output_(output), store_(session), wait_(LockWaitOf(session))
    {
        RequireMail(name_);
    }

    void Run()
    {
        if (options_.dryRun) return ReportDryRun();
        if (!options_.yes) RequireSomebodyToAsk();
        if (!SettingsFile::Load(store_.SettingsFile()).SavesIndexes()) PutMessage(kNoIndexWriterNote);
        OpenFolder folder(store_, name_, wait_);
        std::vector<std::string> ids = SelectIds(folder, options_.ids);
        for (const std::string& id : ids) RequirePlain(id);
        if (!options_.yes && !IsConfirmed("Remove " + CountText(ids.size()) + " from " + name_.Str()))
            throw Failure(ExitCode::Usage, "nothing was removed");
        RemoveAll(folder, ids);
        Report(ids);
    }

private:
    // An index may have been written by others, and no item of it names a file elsewhere.
    static void RequirePlain(const std::string& id)
    {
        if (!IsPlainItemName(id)) throw Failure(ExitCode::Data, "not the name of a message: " + id);
    }

    // As the directory spells them, which a look by name does not tell on every system.
    static std::vector<std::string> NamesIn(const fs::path& directory)
    {
        std::error_code error;
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) names.push_back(entry.path().filename().string());
        if (error) throw CannotRead(directory.string(), error);
        return names;
    }

    // A run that opens the folder would lock it, and might scan it; this one goes by the messages that are there.
    void ReportDryRun()
    {
        std::vector<std::string> there = NamesIn(store_.FolderDirectory(name_));
        std::vector<std::string> names;
        for (const std::string& id : options_.ids) {
            auto found = std::find(there.begin(), there.end(), id);
            if (found == there.end())
                found = std::find_if(there.begin(), there.end(), [&](const std::string& name) { return EqualNoCase(name, id); });
            if (!IsPlainItemName(id) || found == there.end()) throw Failure(ExitCode::Data, "no such item: " + name_.Str() + " " + id);
            names.push_back(*found);
        }
        output_.Remark("would remove " + CountText(names.size()) + " from " + name_.Str());
        output_.Begin({"VL_ITEM_ID"});
        for (const std::string& name : names) output_.Add({name});
        output_.End();
    }

    void RemoveAll(OpenFolder& folder, const std::vector<std::string>& ids)
    {
        Progress progress(ids.size());
        std::vector<std::string> listed = ids;
        for (int pass = 0; pass < kPasses && !listed.empty(); ++pass) {
            if (pass > 0) folder.WriteAnew(listed);
            for (size_t at = 0; at < listed.size(); at += kItemsOfOneCall)
                RemoveFromIndex(folder.Directory(), IdList(listed, at, kItemsOfOneCall));
            folder.Reload();
            for (const std::string& id : Those(folder, listed, false)) {
                DeleteMessage(folder.Directory(), id);
                progress.Step();
            }
            folder.Reload();
            listed = Those(folder, listed, true);
        }
        for (const std::string& id : listed) faults_.try_emplace(id, "it is still listed");
        if (kept_) MarkDirty(folder.Directory());  // of a message that is there the next open makes an item again
    }

    // Those that the folder lists, or does not.
    static std::vector<std::string> Those(OpenFolder& folder, const std::vector<std::string>& ids, bool listed)
    {
        std::vector<std::string> those;
        for (const std::string& id : ids) {
            if (folder.Has(id) == listed) those.push_back(id);
        }
        return those;
    }

    void RemoveFromIndex(const fs::path& directory, const std::string& list) const
    {
        WhenFree(name_, directory, wait_, "the items could not be removed", [&] {
            return store_.Functions().removeItem(name_.postoffice.c_str(), name_.mailbox.c_str(), name_.folder.c_str(), list.c_str());
        });
    }

    void DeleteMessage(const fs::path& directory, const std::string& id)
    {
        std::optional<fs::path> file = FindNoCase(directory, id);
        std::error_code error;
        if (!file || fs::remove(*file, error) || !error) return;
        kept_ = true;
        faults_[id] = "its message stays: " + file->string() + ": " + error.message();
        code_ = CodeOf(error, ExitCode::IoError);
    }

    void Report(const std::vector<std::string>& ids)
    {
        size_t removed = ids.size() - faults_.size();
        std::string counts = std::to_string(removed) + " of " + CountText(ids.size()) + " from " + name_.Str();
        output_.Remark("removed " + counts);
        output_.Begin({"VL_ITEM_ID"});
        for (const std::string& id : ids) {
            if (!faults_.contains(id)) output_.Add({id});
        }
        output_.End();
        output_.Finish();
        for (const auto& [id, reason] : faults_) PutMessage(std::string("not removed: ").append(id).append(": ").append(reason));
        if (!faults_.empty()) throw Failure(code_, "removed only " + counts);
    }

    const Options& options_;
    FolderName name_;
    Output& output_;
    Store store_;
    LockWait wait_;
    std::map<std::string, std::string> faults_;  // what was not removed, and why
    bool kept_ = false;                          // a message could not be deleted
    ExitCode code_ = ExitCode::IoError;
};

}  // namespace

void AddItemRemove(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("remove", "Remove items, and delete their messages");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("ID", options->ids, "The items, as \"item list\" names them")->required();
    verb->add_flag("--yes", options->yes, "Do not ask; without it a terminal is asked, and anything else is refused");
    verb->add_flag("--dry-run", options->dryRun, "Say what would be removed, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { RemoveRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
