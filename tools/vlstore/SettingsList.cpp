// vlstore settings list [--key KEY]: the values of the settings file, of all keys or of one.

#include <CLI/CLI.hpp>
#include <memory>

#include "Message.h"
#include "Session.h"
#include "SettingsFile.h"
#include "SettingsOutput.h"
#include "Text.h"

namespace vlstore {

namespace {

struct Options {
    std::string key;
};

void ListSettings(const Options& options, Session& session, Output& output)
{
    std::filesystem::path path = ExistingSettingsFile(session);
    SettingsFile settings = SettingsFile::Load(path);
    output.Begin(kSettingColumns);
    for (const RegistryEntry& entry : settings.Text().Entries()) {
        if (options.key.empty() || EqualNoCase(entry.key, FullKey(options.key))) output.Add(SettingRow(entry));
    }
    output.End();
    if (size_t fault = settings.Text().FirstFault()) {
        PutMessage(path.string() + ":" + std::to_string(fault) + ": not a line of a settings file; nothing behind it counts");
    }
}

}  // namespace

void AddSettingsList(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("list", "Show all values");
    verb->add_option("--key", options->key, "Only this key: below the base, or whole");
    verb->callback(
        [&session, options] { session.verb = [options](Session& run, Output& output) { ListSettings(*options, run, output); }; });
}

}  // namespace vlstore
