// vlstore item set FOLDER ID PROPERTY VALUE: changes one property of an existing item, saves the folder, and reads the
// value back from what the save left on disk.

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>

#include "ExitCode.h"
#include "Message.h"
#include "OpenFolder.h"
#include "Session.h"
#include "SettingsFile.h"

namespace vlstore {

namespace {

struct Options {
    std::string folder, id, property, value;
};

const ItemProperty& SettableProperty(FolderKind kind, const std::string& name)
{
    const ItemProperty* property = FindProperty(kind, name);
    if (!property) throw Failure(ExitCode::Data, "no such property: " + name);
    if (property->access == ItemProperty::Access::KeptByStore) {
        throw Failure(ExitCode::Data, "the store keeps this property itself: " + std::string(property->name));
    }
    return *property;
}

[[noreturn]] void RefuseValue(const ItemProperty& property, const char* wanted, const std::string& value)
{
    throw Failure(ExitCode::Data, std::string(property.name) + " takes " + wanted + ": \"" + value + "\"");
}

bool IsDecimal(const std::string& value)
{
    uint64_t number = 0;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    return error == std::errc() && end == value.data() + value.size();
}

// The back-end takes any text, and what is no number would count as 0 from then on.
Cell CheckedValue(const ItemProperty& property, ValueForm form, const std::string& value)
{
    std::optional<Cell> parsed = ParseValue(form, value);
    if (!parsed) RefuseValue(property, WantedFor(form), value);
    if (property.values == ItemProperty::Values::Flag && value != "0" && value != "1") RefuseValue(property, "0 or 1", value);
    if (property.values == ItemProperty::Values::Digits && !IsDecimal(value)) RefuseValue(property, "a decimal number", value);
    return *parsed;
}

// Mail and files take every value as the text that is stored.
bool TakesText(FolderKind kind) { return kind == FolderKind::Mail || kind == FolderKind::Files; }

void SetItem(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    const ItemProperty& property = SettableProperty(KindOf(name), options.property);
    Store store(session);
    ValueForm form = FormOfCode(store.Functions().propertyType(std::string(property.name).c_str(), static_cast<uint32_t>(KindOf(name))));
    Cell value = CheckedValue(property, form, options.value);
    if (!SettingsFile::Load(store.SettingsFile()).SavesIndexes()) PutMessage(kNoIndexWriterNote);
    OpenFolder folder(store, name, LockWaitOf(session));
    folder.Set(options.id, property.setAs.empty() ? property.name : property.setAs,
               TakesText(folder.Kind()) ? TextOf(value) : BytesOf(form, value));
    std::string id = folder.CurrentId();
    folder.SaveAndReload();
    folder.Select(id);
    Cell now = folder.Get(property.name);
    if (!IsSameValue(value, now)) {
        folder.ComplainOfSave("not stored as given: " + std::string(property.name) + " of " + id + " is now \"" + TextOf(now) + "\"");
    }
    output.Value({"VL_ITEM_ID", std::string(property.name)}, {id, now}, 1);
}

}  // namespace

void AddItemSet(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("set", "Change one property of an item and save the folder");
    verb->add_option("FOLDER", options->folder, "POSTOFFICE/MAILBOX/FOLDER")->required();
    verb->add_option("ID", options->id, "The item, as \"item list\" names it")->required();
    verb->add_option("PROPERTY", options->property, "PR_VL_READ and its like, as \"property list\" names them")->required();
    verb->add_option("VALUE", options->value,
                     "The new value: a text, a number, \"yes\" or \"no\", or a time as 2024-03-04T07:15:30Z; behind \"--\" when it begins "
                     "with \"-\"")
        ->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { SetItem(*options, run, output); }; });
}

}  // namespace vlstore
