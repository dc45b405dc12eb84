// vlstore item flag FOLDER CHANGE ID...: sets flags of items and takes flags away, by direct updates of the index.
//
// The store counts a direct update by its text, one text for all items that it is for, whether or not their flags change by
// it. So an item gets what it needs and no more, what is set and what is taken away go separately, and items that need the
// same go together.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "ExitCode.h"
#include "FlagList.h"
#include "ItemIds.h"
#include "Message.h"
#include "OpenFolder.h"
#include "Progress.h"
#include "Session.h"
#include "SettingsFile.h"

namespace vlstore {

namespace {

constexpr size_t kItemsOfOneCall = 500;
constexpr int kPasses = 2;

struct Options {
    std::string folder, change;
    std::vector<std::string> ids;
};

using IdsByUpdate = std::map<std::string, std::vector<std::string>>;

class FlagRun {
public:
    FlagRun(const Options& options, const Session& session, Output& output)
        : change_(ParseFlagChange(options.change)),
          name_(ParseFolderName(options.folder)),
          output_(output),
          store_(session),
          wait_(LockWaitOf(session))
    {
        RequireMail(name_);
        if (!SettingsFile::Load(store_.SettingsFile()).SavesIndexes()) PutMessage(kNoIndexWriterNote);
    }

    void Run(const std::vector<std::string>& asked)
    {
        OpenFolder folder(store_, name_, wait_);
        std::vector<std::string> ids = SelectIds(folder, asked);
        for (int pass = 0; pass < kPasses; ++pass) {
            IdsByUpdate updates = UpdatesFor(folder, ids);
            if (updates.empty()) break;
            if (pass > 0) folder.WriteAnew(ids);
            UpdateAll(folder.Directory(), updates);
            folder.Reload();
        }
        Report(folder, ids);
    }

private:
    // What the items still need.
    IdsByUpdate UpdatesFor(OpenFolder& folder, const std::vector<std::string>& ids) const
    {
        IdsByUpdate updates;
        for (const std::string& id : ids) {
            std::string flags = FlagsOf(folder, id);
            AddUpdate(updates, id, '+', Those(change_.added, flags, false));
            AddUpdate(updates, id, '-', Those(change_.removed, flags, true));
        }
        return updates;
    }

    static std::string FlagsOf(OpenFolder& folder, const std::string& id)
    {
        folder.Select(id);
        return TextOf(folder.Get("PR_VL_FLAGSTATUS"));
    }

    // Those of `flags` that the item has, or that it has not.
    static std::vector<std::string> Those(const std::vector<std::string>& flags, const std::string& ofItem, bool present)
    {
        std::vector<std::string> those;
        for (const std::string& flag : flags) {
            if (HasFlag(ofItem, flag) == present) those.push_back(flag);
        }
        return those;
    }

    static void AddUpdate(IdsByUpdate& updates, const std::string& id, char sign, const std::vector<std::string>& flags)
    {
        if (!flags.empty()) updates[UpdateText(sign, flags)].push_back(id);
    }

    void UpdateAll(const std::filesystem::path& directory, const IdsByUpdate& updates) const
    {
        size_t total = 0;
        for (const auto& [text, ids] : updates) total += ids.size();
        Progress progress(total);
        for (const auto& [text, ids] : updates) Update(directory, text, ids, progress);
    }

    void Update(const std::filesystem::path& directory, const std::string& text, const std::vector<std::string>& ids,
                Progress& progress) const
    {
        for (size_t at = 0; at < ids.size(); at += kItemsOfOneCall) {
            std::string list = IdList(ids, at, kItemsOfOneCall);
            WhenFree(name_, directory, wait_, "the flags could not be changed", [&] {
                return store_.Functions().updateItem(name_.postoffice.c_str(), name_.mailbox.c_str(), name_.folder.c_str(), list.c_str(),
                                                     text.c_str());
            });
            progress.Step(std::min(kItemsOfOneCall, ids.size() - at));
        }
    }

    void Report(OpenFolder& folder, const std::vector<std::string>& ids)
    {
        std::string unchanged;
        output_.Begin({"VL_ITEM_ID", "PR_VL_READ", "PR_VL_FLAGSTATUS"});
        for (const std::string& id : ids) {
            std::string flags = FlagsOf(folder, id);
            output_.Add({id, folder.Get("PR_VL_READ"), flags});
            bool stored = Those(change_.added, flags, false).empty() && Those(change_.removed, flags, true).empty();
            if (!stored && unchanged.empty()) unchanged = id;
        }
        output_.End();
        output_.Finish();
        if (!unchanged.empty()) folder.ComplainOfSave("the flags were not stored: " + name_.Str() + " " + unchanged);
    }

    FlagChange change_;
    FolderName name_;
    Output& output_;
    Store store_;
    LockWait wait_;
};

}  // namespace

void AddItemFlag(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("flag", "Set flags of items, and take flags away");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("CHANGE", options->change, "+SEEN,-FLAGGED and its like; behind \"--\" when it begins with \"-\"")->required();
    verb->add_option("ID", options->ids, "The items, as \"item list\" names them")->required();
    verb->callback([&session, options] {
        session.verb = [options](Session& run, Output& output) { FlagRun(*options, run, output).Run(options->ids); };
    });
}

}  // namespace vlstore
