// vlstore settings get NAME [--key KEY]: one value of the settings file.

#include <CLI/CLI.hpp>
#include <memory>

#include "ExitCode.h"
#include "Session.h"
#include "SettingsFile.h"
#include "SettingsOutput.h"

namespace vlstore {

namespace {

struct Options {
    std::string name, key;
};

void GetSetting(const Options& options, Session& session, Output& output)
{
    SettingsFile settings = SettingsFile::Load(ExistingSettingsFile(session));
    std::string key = FullKey(options.key);
    const RegistryValue* value = settings.Text().Find(key, options.name);
    if (!value) throw Failure(ExitCode::NoInput, "no such setting: \"" + options.name + "\" in " + key);
    output.Value(kSettingColumns, SettingRow({key, options.name, *value}), kSettingValueColumn);
}

}  // namespace

void AddSettingsGet(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("get", "Show one value");
    verb->add_option("NAME", options->name, "Name of the value, as it stands")->required();
    verb->add_option("--key", options->key, "Another key than the base: below it, or whole");
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { GetSetting(*options, run, output); }; });
}

}  // namespace vlstore
