// vlstore folder counts FOLDER: the counts that the store keeps of a folder, read without opening it. With --verify the
// folder is opened and counted as well, and a difference is an error.

#include <CLI/CLI.hpp>
#include <memory>

#include "CachedCounts.h"
#include "ExitCode.h"
#include "OpenFolder.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder;
    bool verify = false;
};

Cell Shown(const CachedCounts& counts, const CountName& count) { return int64_t{counts.Word(count.word)}; }

void ShowCounts(const CachedCounts& cached, Output& output)
{
    std::vector<std::string> names;
    Row row;
    for (const CountName& count : CountNames()) {
        names.emplace_back(count.name);
        row.push_back(Shown(cached, count));
    }
    output.Record(names, row);
}

void Verify(const CachedCounts& cached, const CachedCounts& computed, const FolderName& name, Output& output)
{
    std::string different;
    output.Begin({"count", "cached", "computed"});
    for (const CountName& count : CountNames()) {
        if (!count.ofItems) continue;
        output.Add({count.name, Shown(cached, count), Shown(computed, count)});
        if (cached.Word(count.word) != computed.Word(count.word)) different += (different.empty() ? "" : ", ") + std::string(count.name);
    }
    output.End();
    output.Finish();
    if (!different.empty()) throw Failure(ExitCode::Data, "the cached counts of " + name.Str() + " differ: " + different);
}

void CountFolder(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    if (options.verify) RequireMail(name);
    Store store(session);
    store.FolderDirectory(name);
    // Before an open that finds the folder changed counts it anew.
    std::optional<CachedCounts> cached = CachedCounts::Read(store, name);
    if (!cached) throw Failure(ExitCode::NoInput, "the folder has not been counted yet: " + name.Str());
    if (!options.verify) return ShowCounts(*cached, output);
    OpenFolder folder(store, name, LockWaitOf(session));
    Verify(*cached, CachedCounts::Compute(folder), name, output);
}

}  // namespace

void AddFolderCounts(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("counts", "Show the counts that the store keeps of a folder, without opening it");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_flag("--verify", options->verify, "Open a mail folder, count its items, and fail when the counts differ");
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { CountFolder(*options, run, output); }; });
}

}  // namespace vlstore
