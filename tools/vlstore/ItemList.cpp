// vlstore item list FOLDER: the folder's items in the order of their UIDs.

#include <CLI/CLI.hpp>
#include <memory>

#include "OpenFolder.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder;
};

void ListItems(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    RequireMail(name);
    Store store(session);
    OpenFolder folder(store, name, LockWaitOf(session));
    output.Begin({ListingProperties().begin(), ListingProperties().end()});
    for (bool more = folder.First(); more; more = folder.Next()) {
        Row row;
        for (std::string_view column : ListingProperties()) row.push_back(folder.Get(column));
        output.Add(std::move(row));
    }
    output.End();
}

}  // namespace

void AddItemList(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("list", "List the items of a folder");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { ListItems(*options, run, output); }; });
}

}  // namespace vlstore
