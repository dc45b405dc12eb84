// vlstore item deliver FOLDER [FILE...]: puts messages into a folder and has each one indexed by a direct insert, as a
// delivery agent does.
//
// From the moment that a message stands in the folder it is delivered, whatever becomes of its index entry: it is never
// taken away again, and a message that was not indexed is found by the next scan. A scan of another process may also come
// between the message and its insert; then the store counts it twice, and the flags of the delivery are lost on the item
// that the scan made. So an insert counts as confirmed when the folder's tally says that nothing else happened, and for the
// sake of all others the folder is counted anew and looked through once, at the end.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>

#include "CachedCounts.h"
#include "ExitCode.h"
#include "FlagList.h"
#include "FolderFiles.h"
#include "Message.h"
#include "OpenFolder.h"
#include "Progress.h"
#include "Session.h"
#include "SettingsFile.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kStandardInput = "-";
constexpr int kNameAttempts = 1000;
constexpr int kPasses = 3;

struct Options {
    std::string folder, flags;
    std::vector<std::string> files;
};

struct Delivered {
    std::string id;
    std::string label;
    bool confirmed = false;
};

// Names go up with the time of the delivery, and two deliveries of one moment try for different ones.
class ItemNames {
public:
    std::string Next()
    {
        using namespace std::chrono;
        auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
        last_ = std::max(last_ + 1, static_cast<uint64_t>(now));
        char name[32];
        std::snprintf(name, sizeof name, "%016llX.MAI", static_cast<unsigned long long>(last_));
        return name;
    }

private:
    uint64_t last_ = 0;
};

class DeliverRun {
public:
    DeliverRun(const Options& options, const Session& session, Output& output)
        : options_(options),
          flags_(options.flags.empty() ? std::vector<std::string>() : ParseFlags(options.flags)),
          session_(session),
          output_(output),
          name_(ParseFolderName(options.folder)),
          store_(session)
    {
        RequireMail(name_);
        directory_ = store_.FolderDirectory(name_);
    }

    void Run()
    {
        RequireReadAndWrite(directory_);
        if (LockWaitOf(session_) == LockWait::Refuse) RefuseIfHeld(name_, directory_);
        if (!SettingsFile::Load(store_.SettingsFile()).SavesIndexes()) PutMessage(kNoIndexWriterNote);
        std::vector<std::string> sources = options_.files;
        if (sources.empty()) sources.emplace_back(kStandardInput);
        {
            Progress progress(sources.size());
            progress_ = &progress;
            for (const std::string& source : sources) {
                DeliverFrom(source);
                progress.Step();
            }
            progress_ = nullptr;
        }
        ConfirmOthers();
        Report(sources.size());
    }

private:
    void DeliverFrom(const std::string& source)
    {
        bool standardInput = source == kStandardInput;
        std::string label = standardInput ? "standard input" : source;
        try {
            std::string message;
            std::error_code error = standardInput ? ReadStandardInput(message) : ReadFileContent(PathOf(source), message);
            // Some systems say of a directory that access is denied.
            std::error_code ignored;
            if (error && !standardInput && fs::is_directory(PathOf(source), ignored))
                error = std::make_error_code(std::errc::is_a_directory);
            if (error) throw CannotRead(label, error, ExitCode::NoInput);
            if (message.empty()) throw Failure(ExitCode::Data, "empty message: " + label);
            Deliver(message, label);
        } catch (const Failure& failure) {
            AddFault(failure.Code(), std::string("not delivered: ") + failure.what());
        }
    }

    void Deliver(const std::string& message, const std::string& label)
    {
        MakeIndexIfMissing();
        std::optional<CachedCounts> before = CachedCounts::Read(store_, name_);
        delivered_.push_back({WriteMessage(message), label, false});
        Delivered& item = delivered_.back();
        bool inserted = Insert(item.id) == 1 && !IsMarkedDirty(directory_);
        std::optional<CachedCounts> after = CachedCounts::Read(store_, name_);
        item.confirmed = inserted && before && after && after->IsOneInsertAfter(*before);
    }

    // Where there is no index, the insert would scan the folder, and find the message that it is about.
    void MakeIndexIfMissing()
    {
        if (madeIndex_ || FindIndexFile(directory_)) return;
        madeIndex_ = true;
        try {
            OpenFolder(store_, name_, LockWaitOf(session_));
        } catch (const Failure&) {
            // The messages come all the same, and are not confirmed. One wait for the lock is enough.
        }
    }

    std::string WriteMessage(const std::string& message)
    {
        std::error_code error;
        for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
            std::string name = names_.Next();
            error = WriteItemFile(directory_, name, message, Durability::Synced);
            if (error == std::errc::file_exists) continue;
            if (error) break;
            if (std::error_code unsure = SyncDirectory(directory_))
                AddFault(CodeOf(unsure, ExitCode::IoError), "delivered, but a crash may lose it: " + name);
            return name;
        }
        throw Failure(CodeOf(error, ExitCode::IoError), "cannot write a message into " + directory_.string() + ": " + error.message());
    }

    uint64_t Insert(const std::string& id) const
    {
        const char *postoffice = name_.postoffice.c_str(), *mailbox = name_.mailbox.c_str(), *folder = name_.folder.c_str();
        if (flags_.empty()) return store_.Functions().insertItem(postoffice, mailbox, folder, id.c_str());
        return store_.Functions().insertItemWithFlags(postoffice, mailbox, folder, id.c_str(), FlagStatusOf(flags_).c_str());
    }

    bool AllConfirmed() const
    {
        return std::all_of(delivered_.begin(), delivered_.end(), [](const Delivered& item) { return item.confirmed; });
    }

    void ConfirmOthers()
    {
        std::string reason;
        bool anew = false;
        for (int pass = 0; pass < kPasses && !AllConfirmed(); ++pass) {
            try {
                LookThrough(anew);
                reason = "it is not listed, or not with its flags";
                anew = true;
            } catch (const Failure& failure) {
                reason = failure.what();
            }
        }
        for (const Delivered& item : delivered_) {
            if (!item.confirmed)
                AddFault(ExitCode::IoError, "delivered, but not indexed yet: " + item.id + " from " + item.label + ": " + reason);
        }
    }

    // Has the folder scanned and counted, and looks for the messages that are not confirmed. `anew`, when that has not helped:
    // writes their items out again before, and has the scan after that take the stamp of the save off them, and READ with it.
    void LookThrough(bool anew)
    {
        AwaitFree(directory_);
        MarkDirty(directory_);
        OpenFolder folder(store_, name_, LockWaitOf(session_));
        if (anew) {
            folder.WriteAnew(Unconfirmed(folder));
            MarkDirty(directory_);
            folder.Reload();
        }
        bool changed = false;
        for (Delivered& item : delivered_) {
            if (!item.confirmed) changed |= AddFlags(folder, item.id);
        }
        if (changed) folder.Reload();
        for (Delivered& item : delivered_) item.confirmed = item.confirmed || IsStored(folder, item.id);
        if (!AllConfirmed()) MarkDirty(directory_);
    }

    std::vector<std::string> Unconfirmed(OpenFolder& folder) const
    {
        std::vector<std::string> ids;
        for (const Delivered& item : delivered_) {
            if (!item.confirmed && folder.Has(item.id)) ids.push_back(item.id);
        }
        return ids;
    }

    // By a direct update, which READ follows. A save would stamp the item, and the next scan would take it for changed.
    bool AddFlags(OpenFolder& folder, const std::string& id) const
    {
        if (flags_.empty() || !folder.Has(id)) return false;
        std::string status = TextOf(folder.Get("PR_VL_FLAGSTATUS"));
        std::vector<std::string> missing;
        for (const std::string& flag : flags_) {
            if (!HasFlag(status, flag)) missing.push_back(flag);
        }
        if (missing.empty()) return false;
        WhenFree(name_, directory_, LockWaitOf(session_), "the flags could not be set", [&] {
            return store_.Functions().updateItem(name_.postoffice.c_str(), name_.mailbox.c_str(), name_.folder.c_str(), id.c_str(),
                                                 UpdateText('+', missing).c_str());
        });
        return true;
    }

    bool IsStored(OpenFolder& folder, const std::string& id) const
    {
        if (!folder.Has(id)) return false;
        std::string status = TextOf(folder.Get("PR_VL_FLAGSTATUS"));
        return std::all_of(flags_.begin(), flags_.end(), [&](const std::string& flag) { return HasFlag(status, flag); });
    }

    void AddFault(ExitCode code, const std::string& line)
    {
        if (progress_) progress_->Erase();
        PutMessage(line);
        if (firstFault_ == ExitCode::Ok) firstFault_ = code;
    }

    void Report(size_t asked)
    {
        output_.Begin({"VL_ITEM_ID", "source"});
        for (const Delivered& item : delivered_) output_.Add({item.id, item.label});
        output_.End();
        output_.Finish();
        if (firstFault_ == ExitCode::Ok) return;
        std::string counts = std::to_string(delivered_.size()) + " of " + std::to_string(asked) + " messages into " + name_.Str();
        throw Failure(firstFault_, (delivered_.size() == asked ? "delivered with faults: " : "delivered only ") + counts);
    }

    const Options& options_;
    std::vector<std::string> flags_;
    const Session& session_;
    Output& output_;
    FolderName name_;
    Store store_;
    bool madeIndex_ = false;  // or tried to
    fs::path directory_;
    ItemNames names_;
    std::vector<Delivered> delivered_;
    Progress* progress_ = nullptr;  // while messages come in
    ExitCode firstFault_ = ExitCode::Ok;
};

}  // namespace

void AddItemDeliver(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("deliver", "Deliver messages into a folder without opening it");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("FILE", options->files, "A file for each message; without one, or for \"-\", standard input");
    verb->add_option("--flags", options->flags, "SEEN,FLAGGED and its like, for all of them")->type_name("LIST");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { DeliverRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
