// vlstore folder list MAILBOX|FOLDER: the folders in it, as the library lists them.
//
// The library keeps a list beside the folders, which it makes where there is none, or where one is marked as out of date; so
// may a listing, for a folder that this user may write.

#include <CLI/CLI.hpp>
#include <memory>

#include "FolderTree.h"
#include "Message.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder;
    bool recursive = false;
};

constexpr size_t kIndent = 2;

void ListFolders(const Options& options, Session& session, Output& output)
{
    const FolderName from = ParseMailboxOrFolder(options.folder);
    const Store store(session);
    const bool tree = output.GetFormat() == Format::Table;
    if (tree)
        output.Begin({"VL_FOLDER"});
    else
        output.Begin({"VL_POSTOFFICE", "VL_MAILBOX", "VL_FOLDER", "name", "depth", "there"});
    std::vector<std::string> missing;
    WalkGaps gaps;
    WalkFolders(store, from, options.recursive, gaps, [&](const ListedFolder& folder) {
        const FolderName& name = folder.name;
        if (!folder.there) missing.push_back(name.Str());
        if (tree)
            output.Add({std::string(kIndent * folder.depth, ' ') + folder.leaf});
        else
            output.Add({name.postoffice, name.mailbox, name.folder, folder.leaf, static_cast<int64_t>(folder.depth), folder.there});
    });
    output.End();
    output.Finish();
    for (const std::string& name : missing) PutMessage("note: listed, but not there; \"folder reindex\" lists anew: " + name);
    gaps.Finish();
}

}  // namespace

void AddFolderList(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("list", "List the folders of a mailbox, or those in a folder");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX, or POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_flag("--recursive", options->recursive, "With all folders below: a tree");
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { ListFolders(*options, run, output); }; });
}

}  // namespace vlstore
