// vlstore settings set NAME VALUE [--key KEY] [--type dword|text]: changes or adds one value of the settings file.

#include <CLI/CLI.hpp>
#include <memory>

#include "ExitCode.h"
#include "Message.h"
#include "Session.h"
#include "SettingsFile.h"
#include "SettingsOutput.h"
#include "Text.h"

namespace vlstore {

namespace {

struct Options {
    std::string name, value, key, type;
};

// The type that was asked for, else that of the setting, else that of the value which is there, else text.
RegistryValue::Type TypeOf(const Options& options, const RegistryValue* present)
{
    if (options.type == "dword") return RegistryValue::Type::Number;
    if (options.type == "text") return RegistryValue::Type::Text;
    if (const KnownSetting* known = FindKnownSetting(options.name)) return known->type;
    return present && present->GetType() == RegistryValue::Type::Number ? RegistryValue::Type::Number : RegistryValue::Type::Text;
}

RegistryValue ValueOf(const Options& options, RegistryValue::Type type)
{
    if (type == RegistryValue::Type::Text) {
        if (options.value.find_first_of("\r\n") != std::string::npos) throw Failure(ExitCode::Usage, "a value has one line");
        return RegistryValue::OfText(options.value);
    }
    std::optional<uint32_t> number = ParseNumber(options.value);
    if (!number) throw Failure(ExitCode::Usage, "not a number of 32 bits: \"" + options.value + "\" for \"" + options.name + "\"");
    return RegistryValue::OfNumber(*number);
}

void NoteOtherKey(const Options& options, const std::string& key)
{
    const KnownSetting* known = FindKnownSetting(options.name);
    if (!known || EqualNoCase(FullKey(known->key), key)) return;
    std::string where = known->key.empty() ? "the base key" : "--key '" + std::string(known->key) + "'";
    PutMessage("note: the store reads \"" + options.name + "\" under " + where);
}

void SetSetting(const Options& options, Session& session, Output& output)
{
    if (options.name.empty() || options.name.find_first_of("\r\n") != std::string::npos)
        throw Failure(ExitCode::Usage, "NAME has one line");
    if (options.key.find_first_of("\r\n[]") != std::string::npos) throw Failure(ExitCode::Usage, "not a key: " + options.key);
    // The file of a store is there; the first value makes any other.
    SettingsFile settings = SettingsFile::Load(session.store.empty() ? SettingsFilePath(session) : ExistingSettingsFile(session));
    std::string key = FullKey(options.key);
    RegistryValue value = ValueOf(options, TypeOf(options, settings.Text().Find(key, options.name)));
    settings.Set(key, options.name, value);
    NoteOtherKey(options, key);
    const bool ofWriter = EqualNoCase(options.name, kIndexWriterSetting) || EqualNoCase(options.name, kXmlVersionSetting);
    if (ofWriter && !settings.SavesIndexes()) PutMessage(kNoIndexWriterNote);
    output.Value(kSettingColumns, SettingRow({key, options.name, value}), kSettingValueColumn);
}

}  // namespace

void AddSettingsSet(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("set", "Change or add one value; services take it up when they start anew");
    verb->add_option("NAME", options->name, "Name of the value, as it stands")->required();
    verb->add_option("VALUE", options->value, "The value; decimal or 0x for a number")->required();
    verb->add_option("--key", options->key, "Another key than the base: below it, or whole");
    verb->add_option("--type", options->type, "dword or text, for a value that the store does not know")
        ->check(CLI::IsMember({"dword", "text"}));
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { SetSetting(*options, run, output); }; });
}

}  // namespace vlstore
