// vlstore property list KIND: the properties of the items of a kind of folder, with the types of their values. Needs no
// store.

#include <CLI/CLI.hpp>
#include <memory>

#include "ItemProperties.h"
#include "Library.h"
#include "Session.h"
#include "ValueForm.h"

namespace vlstore {

namespace {

struct Options {
    std::string kind;
};

struct KindName {
    const char* name;
    FolderKind kind;
};
constexpr KindName kKinds[] = {
    {"mail", FolderKind::Mail},   {"contacts", FolderKind::Contacts}, {"calendar", FolderKind::Calendar},
    {"tasks", FolderKind::Tasks}, {"files", FolderKind::Files},
};

std::vector<std::string> KindNames()
{
    std::vector<std::string> names;
    for (const KindName& kind : kKinds) names.emplace_back(kind.name);
    return names;
}

FolderKind KindCalled(const std::string& name)
{
    for (const KindName& kind : kKinds) {
        if (name == kind.name) return kind.kind;
    }
    return FolderKind::Mail;
}

void ListProperties(const Options& options, Output& output)
{
    FolderKind kind = KindCalled(options.kind);
    Library library = LoadLibraryModule();
    output.Begin({"property", "type", "typeCode", "settable"});
    for (const ItemProperty& property : PropertiesOf(kind)) {
        std::string name(property.name);
        uint64_t code = library.propertyType(name.c_str(), static_cast<uint32_t>(kind));
        output.Add({name, NameOf(FormOfCode(code)), static_cast<int64_t>(code), property.access == ItemProperty::Access::Settable});
    }
    output.End();
}

}  // namespace

void AddPropertyList(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("list", "List the properties of the items of a kind of folder");
    verb->add_option("KIND", options->kind, "mail, contacts, calendar, tasks or files")->required()->check(CLI::IsMember(KindNames()));
    verb->callback([&session, options] { session.verb = [options](Session&, Output& output) { ListProperties(*options, output); }; });
}

}  // namespace vlstore
