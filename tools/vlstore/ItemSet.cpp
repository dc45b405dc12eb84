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

const MailProperty& SettableProperty(const std::string& name)
{
    const MailProperty* property = FindMailProperty(name);
    if (!property) throw Failure(ExitCode::Data, "no such property: " + name);
    if (property->access == MailProperty::Access::KeptByStore) {
        throw Failure(ExitCode::Data, "the store keeps this property itself: " + std::string(property->name));
    }
    return *property;
}

template <typename Number>
bool IsNumber(const std::string& value)
{
    Number number = 0;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    return error == std::errc() && end == value.data() + value.size();
}

// The back-end takes any text, and what is no number would count as 0 from then on.
void CheckValue(const MailProperty& property, const std::string& value)
{
    const char* wanted = nullptr;
    if (property.form == MailProperty::Form::Number) {
        if (!IsNumber<int32_t>(value)) wanted = "a number of 32 bits";
    } else if (property.values == MailProperty::Values::Flag) {
        if (value != "0" && value != "1") wanted = "0 or 1";
    } else if (property.values == MailProperty::Values::Digits) {
        if (!IsNumber<uint64_t>(value)) wanted = "a decimal number";
    }
    if (wanted) throw Failure(ExitCode::Data, std::string(property.name) + " takes " + wanted + ": \"" + value + "\"");
}

std::string Shown(const Cell& cell)
{
    if (const auto* number = std::get_if<int64_t>(&cell)) return std::to_string(*number);
    const auto* text = std::get_if<std::string>(&cell);
    return text ? *text : std::string();
}

void SetItem(const Options& options, Session& session, Output& output)
{
    FolderName name = ParseFolderName(options.folder);
    const MailProperty& property = SettableProperty(options.property);
    CheckValue(property, options.value);
    Store store(session);
    if (!SettingsFile::Load(store.SettingsFile()).SavesIndexes()) PutMessage(kNoIndexWriterNote);
    OpenFolder folder(store, name, LockWaitOf(session));
    folder.Set(options.id, property, options.value);
    std::string id = folder.CurrentId();
    folder.SaveAndReload();
    folder.Select(id);
    Cell now = folder.Get(property);
    if (Shown(now) != options.value) {
        folder.ComplainOfSave("not stored as given: " + std::string(property.name) + " of " + id + " is now \"" + Shown(now) + "\"");
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
    verb->add_option("PROPERTY", options->property, "PR_VL_READ and its like, as \"item show\" lists them")->required();
    verb->add_option("VALUE", options->value, "The new value; behind \"--\" when it begins with \"-\"")->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { SetItem(*options, run, output); }; });
}

}  // namespace vlstore
