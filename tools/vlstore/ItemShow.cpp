// vlstore item show FOLDER ID: every property of one item.

#include <CLI/CLI.hpp>
#include <memory>

#include "OpenFolder.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder, id;
};

void ShowItem(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    Store store(session);
    OpenFolder folder(store, name, LockWaitOf(session));
    folder.Select(options.id);
    std::vector<std::string> names;
    Row row;
    for (const ItemProperty& property : PropertiesOf(folder.Kind())) {
        names.emplace_back(property.name);
        row.push_back(folder.Get(property.name));
    }
    output.Record(names, row);
}

}  // namespace

void AddItemShow(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("show", "Show every property of an item");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("ID", options->id, "The item, as \"item list\" names it")->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { ShowItem(*options, run, output); }; });
}

}  // namespace vlstore
