// vlstore item get FOLDER ID PROPERTY: one property, bare for a shell to take up.
// vlstore item get FOLDER PROPERTY --all: the same of every item.

#include <CLI/CLI.hpp>
#include <memory>

#include "ExitCode.h"
#include "OpenFolder.h"
#include "Session.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder, id, property;
    bool all = false;
};

// As the tables spell it, where they have it.
std::string KnownName(FolderKind kind, const std::string& asked)
{
    if (const ItemProperty* property = FindProperty(kind, asked)) return std::string(property->name);
    // What no item has, the folder may answer.
    if (!IsFolderProperty(asked)) throw Failure(ExitCode::Data, "no such property: " + asked);
    return asked;
}

void GetOfAll(OpenFolder& folder, const std::string& property, Output& output)
{
    bool ids = property == "VL_ITEM_ID";
    output.Begin(ids ? std::vector<std::string>{property} : std::vector<std::string>{"VL_ITEM_ID", property});
    for (bool more = folder.First(); more; more = folder.Next()) {
        output.Add(ids ? Row{folder.CurrentId()} : Row{folder.CurrentId(), folder.Get(property)});
    }
    output.End();
}

void GetOfOne(OpenFolder& folder, const std::string& id, const std::string& property, Output& output)
{
    folder.Select(id);
    Cell value = folder.Get(property);
    if (std::holds_alternative<std::monostate>(value)) throw Failure(ExitCode::Data, "no " + property + " in " + folder.CurrentId());
    if (property == "VL_ITEM_ID") return output.Value({property}, {value}, 0);
    output.Value({"VL_ITEM_ID", property}, {folder.CurrentId(), value}, 1);
}

void GetItem(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    if (options.all != options.property.empty()) {
        throw Failure(ExitCode::Usage, options.all ? "with --all there is no ID" : "PROPERTY is required (--help tells more)");
    }
    std::string property = KnownName(KindOf(name), options.all ? options.id : options.property);
    Store store(session);
    OpenFolder folder(store, name, LockWaitOf(session));
    if (options.all) return GetOfAll(folder, property, output);
    GetOfOne(folder, options.id, property, output);
}

}  // namespace

void AddItemGet(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("get", "Show one property of an item, or of all items");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("ID", options->id, "The item, as \"item list\" names it; left out with --all")->required();
    verb->add_option("PROPERTY", options->property, "PR_SUBJECT and its like, as \"property list\" names them");
    verb->add_flag("--all", options->all, "Of every item of the folder");
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { GetItem(*options, run, output); }; });
}

}  // namespace vlstore
