// vlstore import PATH... --to FOLDER: brings messages into a folder, has the store scan it, and checks that every one of
// them is listed. What did not come through is named, and the exit code says so.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "ExitCode.h"
#include "FolderFiles.h"
#include "ItemWriter.h"
#include "Message.h"
#include "MessageSource.h"
#include "OpenFolder.h"
#include "Progress.h"
#include "Session.h"
#include "SettingsFile.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr uint32_t kDefaultIndexRows = 100000;

struct Options {
    std::vector<std::string> paths;
    std::string folder;
    bool dryRun = false;
};

struct Imported {
    std::string id;
    std::string label;
    std::string flags;  // letters of a Maildir
};

// What a Maildir says of a message, in the words of the store.
struct FlagWord {
    char letter;
    const char* word;
};
constexpr char kSeenLetter = 'S';
constexpr FlagWord kFlagWords[] = {{kSeenLetter, "\\SEEN"}, {'R', "\\ANSWERED"}, {'F', "\\FLAGGED"}};

std::string FlagStatus(const std::string& letters)
{
    std::string words;
    for (const FlagWord& flag : kFlagWords) {
        if (letters.find(flag.letter) != std::string::npos) words += (words.empty() ? "" : " ") + std::string(flag.word);
    }
    return words;
}

class ImportRun {
public:
    ImportRun(const Options& options, const Session& session, Output& output)
        : options_(options), session_(session), output_(output), name_(ParseFolderName(options.folder)), store_(session)
    {
    }

    void Run()
    {
        RequireMail(name_);
        directory_ = store_.FolderDirectory(name_);
        list_ = CollectSources(options_.paths);
        for (const SkippedEntry& entry : list_.skipped) PutMessage(std::string("skipped, ") + entry.reason + ": " + entry.path.string());
        CountAll();
        if (options_.dryRun) return ReportDryRun();
        RequireReadAndWrite(directory_);
        if (LockWaitOf(session_) == LockWait::Refuse) RefuseIfHeld(name_, directory_);

        ItemWriter writer(directory_);
        CheckRowLimit(writer.FilesPresent());
        WriteAll(writer);
        if (!imported_.empty()) {
            MarkAgain();
            Check();
        }
        Report();
    }

private:
    // Reads mbox files through; the bytes of single files are not looked at yet.
    void CountAll()
    {
        for (const MessageSource& source : list_.sources) {
            if (source.form == MessageSource::Form::Message) {
                ++total_;
                continue;
            }
            MessageStream stream(source);
            std::string message;
            while (stream.Next(message)) ++total_;
        }
    }

    // A scan stops at the row limit and leaves the rest of the folder out of the index.
    void CheckRowLimit(uint64_t present) const
    {
        uint32_t limit = SettingsFile::Load(store_.SettingsFile()).Number("Maximum Index Rows", kDefaultIndexRows);
        if (limit == 0 || present + total_ < limit) return;
        throw Failure(ExitCode::Data, "the folder would hold " + std::to_string(present + total_) +
                                          " messages, and its index takes fewer than " + std::to_string(limit) +
                                          "; raise it with: vlstore settings set \"Maximum Index Rows\" NUMBER");
    }

    // For the last message, which an open may have missed that took the mark away.
    void MarkAgain()
    {
        try {
            MarkDirty(directory_);
        } catch (const Failure& failure) {
            AddFault(failure.Code(), failure.what());
        }
    }

    void WriteAll(ItemWriter& writer)
    {
        Progress progress(total_);
        progress_ = &progress;
        WriteSources(writer);
        progress_ = nullptr;
    }

    void WriteSources(ItemWriter& writer)
    {
        std::string message;
        for (const MessageSource& source : list_.sources) {
            if (stopped_) return;
            std::string label = source.path.string();
            try {
                MessageStream stream(source);
                while (stream.Next(message)) {
                    label = stream.Label();
                    if (!WriteOne(writer, message, label, source.flags)) return;
                    progress_->Step();
                }
            } catch (const Failure& failure) {
                AddFault(failure.Code(), "not imported: " + label + ": " + failure.what());
            }
        }
    }

    // A message that cannot be read is one fault, and the next one gets its turn; where writing fails, it would fail again.
    bool WriteOne(ItemWriter& writer, const std::string& message, const std::string& label, const std::string& flags)
    {
        try {
            // The mark stands before a message does, so that what a killed run leaves behind is found by the next open.
            if (!IsMarkedDirty(directory_)) MarkDirty(directory_);
            imported_.push_back({writer.Write(message), label, flags});
        } catch (const Failure& failure) {
            AddFault(failure.Code(), "stopped at " + label + ": " + failure.what());
            stopped_ = true;
        }
        return !stopped_;
    }

    // The messages are in the folder whatever comes out of this, and an import that is run again would bring them twice: a
    // failure here is none of those after which one tries again.
    void Check()
    {
        try {
            CheckListed();
        } catch (const Failure& failure) {
            unchecked_ = std::to_string(imported_.size()) + " written, not checked: " + failure.what();
            for (const Imported& item : imported_) AddFault(ExitCode::IoError, "written, not checked: " + item.id + " from " + item.label);
        }
    }

    // The first open makes the index, and shows what it has in memory. What counts is what an open finds behind it.
    void CheckListed()
    {
        OpenFolder folder(store_, name_, LockWaitOf(session_));
        std::unordered_set<std::string> listed = Listed(folder);
        for (const Imported& item : imported_) {
            if (listed.contains(item.id)) SetFlags(folder, item);
        }
        folder.SaveAndReload();
        CheckSaved(folder);
        listed = Listed(folder);
        for (const Imported& item : imported_) {
            if (listed.contains(item.id)) {
                ++listedCount_;
                CheckFlags(folder, item);
            } else {
                AddFault(ExitCode::IoError, "not listed: " + item.id + " from " + item.label);
            }
        }
    }

    // An open that could not save the index leaves the mark, and so does a delivery between that open and the look at it; the
    // next open takes the delivery's away.
    void CheckSaved(OpenFolder& folder)
    {
        if (!IsMarkedDirty(directory_)) return;
        if (!SettingsFile::Load(store_.SettingsFile()).SavesIndexes()) return PutMessage(kNoIndexWriterNote);
        folder.SaveAndReload();
        if (IsMarkedDirty(directory_)) AddFault(ExitCode::IoError, "the index could not be saved: " + name_.Str());
    }

    static std::unordered_set<std::string> Listed(OpenFolder& folder)
    {
        std::unordered_set<std::string> listed;
        for (bool more = folder.First(); more; more = folder.Next()) listed.insert(folder.CurrentId());
        return listed;
    }

    static void SetFlags(OpenFolder& folder, const Imported& item)
    {
        std::string status = FlagStatus(item.flags);
        if (status.empty()) return;
        folder.Set(item.id, "PR_VL_FLAGSTATUS", status);
        if (item.flags.find(kSeenLetter) != std::string::npos) folder.Set(item.id, "PR_VL_READ", "1");
    }

    void CheckFlags(OpenFolder& folder, const Imported& item)
    {
        std::string status = FlagStatus(item.flags);
        if (status.empty()) return;
        folder.Select(item.id);
        bool seen = item.flags.find(kSeenLetter) != std::string::npos;
        bool read = !seen || folder.Get("PR_VL_READ") == Cell("1");
        if (read && folder.Get("PR_VL_FLAGSTATUS") == Cell(status)) return;
        AddFault(ExitCode::IoError, "flags not stored: " + item.id + " from " + item.label);
    }

    void AddFault(ExitCode code, const std::string& line)
    {
        if (progress_) progress_->Erase();
        PutMessage(line);
        if (firstFault_ == ExitCode::Ok) firstFault_ = code;
    }

    void ReportDryRun()
    {
        output_.Remark("would import " + std::to_string(total_) + " messages into " + name_.Str());
        if (output_.GetFormat() == Format::Table) return;
        output_.Begin({"source"});
        std::string message;
        for (const MessageSource& source : list_.sources) {
            MessageStream stream(source);
            while (stream.Next(message)) output_.Add({stream.Label()});
        }
        output_.End();
    }

    void Report()
    {
        std::string counts = std::to_string(listedCount_) + " of " + std::to_string(total_) + " messages into " + name_.Str();
        if (unchecked_.empty()) output_.Remark("imported " + counts);
        if (output_.GetFormat() != Format::Table) {
            output_.Begin({"VL_ITEM_ID", "source"});
            for (const Imported& item : imported_) output_.Add({item.id, item.label});
            output_.End();
        }
        output_.Finish();
        if (!unchecked_.empty()) throw Failure(ExitCode::IoError, unchecked_);
        if (firstFault_ == ExitCode::Ok && listedCount_ == total_) return;
        throw Failure(firstFault_ == ExitCode::Ok ? ExitCode::IoError : firstFault_,
                      (listedCount_ == total_ ? "imported with faults: " : "imported only ") + counts);
    }

    const Options& options_;
    const Session& session_;
    Output& output_;
    FolderName name_;
    Store store_;
    fs::path directory_;
    SourceList list_;
    std::vector<Imported> imported_;
    uint64_t total_ = 0;
    uint64_t listedCount_ = 0;
    bool stopped_ = false;
    std::string unchecked_;         // why nothing is known of what was written; empty otherwise
    Progress* progress_ = nullptr;  // while messages are written
    ExitCode firstFault_ = ExitCode::Ok;
};

}  // namespace

void AddImport(CLI::App& app, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("import", "Bring messages into a folder: files, directories, Maildirs, mbox files");
    verb->add_option("PATH", options->paths, "Where the messages are")->required();
    verb->add_option("--to", options->folder, "POSTOFFICE/MAILBOX/FOLDER; the folder must exist")->required()->type_name("FOLDER");
    verb->add_flag("--dry-run", options->dryRun, "Say what would be imported, and write nothing");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { ImportRun(*options, run, output).Run(); }; });
}

}  // namespace vlstore
