// vlstore item get FOLDER ID PROPERTY: one property, bare for a shell to take up.

#include <CLI/CLI.hpp>
#include <memory>

#include "ExitCode.h"
#include "OpenFolder.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder, id, property;
};

void GetItem(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    Store store(session);
    OpenFolder folder(store, name, LockWaitOf(session));
    folder.Select(options.id);
    const MailProperty* property = FindMailProperty(options.property);
    // What no mail item has, the folder may answer: VL_FOLDER_PATH and its like.
    Cell value = property ? folder.Get(*property) : folder.GetOfFolder(options.property.c_str());
    if (std::holds_alternative<std::monostate>(value)) throw Failure(ExitCode::Data, "no such property: " + options.property);
    std::string shownName = property ? std::string(property->name) : options.property;
    if (property && property->name == "VL_ITEM_ID") return output.Value({shownName}, {value}, 0);
    output.Value({"VL_ITEM_ID", shownName}, {folder.CurrentId(), value}, 1);
}

}  // namespace

void AddItemGet(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("get", "Show one property of an item");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("ID", options->id, "The item, as \"item list\" names it")->required();
    verb->add_option("PROPERTY", options->property, "PR_SUBJECT and its like, as \"item show\" lists them")->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { GetItem(*options, run, output); }; });
}

}  // namespace vlstore
