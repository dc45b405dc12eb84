// vlstore store init ROOT [--defaults|--no-settings]: an empty store, with its settings file or without one.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "ExitCode.h"
#include "FolderName.h"
#include "Session.h"
#include "SettingsFile.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

struct Options {
    std::string root;
    bool defaults = false;
    bool noSettings = false;
};

std::string FirstSettings(const fs::path& mailRoot, bool defaults)
{
    RegistryText settings = RegistryText::Parse("");
    settings.Set(kBaseKey, kPlainMailRootSetting, RegistryValue::OfText(mailRoot.string()));
    if (!defaults) {
        settings.Set(kBaseKey, "Use XML Stream Index Deserialisation", RegistryValue::OfNumber(1));
        settings.Set(kBaseKey, kIndexWriterSetting, RegistryValue::OfNumber(1));
    }
    return settings.Serialise();
}

// The library walks to the store in names as every platform takes them.
void CheckRoot(const fs::path& root)
{
    for (const fs::path& part : root.relative_path()) CheckNewName("directory of a store", part.string());
}

void InitStore(const Options& options, Output& output)
{
    if (options.root.empty()) throw Failure(ExitCode::Usage, "ROOT is empty");
    fs::path root = fs::absolute(PathOf(options.root)).lexically_normal();
    if (!root.has_filename()) root = root.parent_path();
    CheckRoot(root);
    fs::path settings = root / "registry.reg";
    fs::path mailRoot = root / kMailRootInStore;
    std::error_code error;
    if (fs::exists(settings, error)) throw Failure(ExitCode::CannotCreate, "there is a store already: " + settings.string());
    if (options.noSettings && fs::exists(mailRoot, error))
        throw Failure(ExitCode::CannotCreate, "there is a store already: " + mailRoot.string());

    fs::create_directories(mailRoot, error);
    if (error) throw Failure(CodeOf(error, ExitCode::CannotCreate), "cannot make " + mailRoot.string() + ": " + error.message());
    if (options.noSettings) return output.Record({"root", "mailRoot"}, {root.string(), mailRoot.string()});
    error = WriteNewFile(settings, FirstSettings(mailRoot, options.defaults));
    if (error) throw Failure(CodeOf(error, ExitCode::CannotCreate), "cannot make " + settings.string() + ": " + error.message());
    output.Record({"root", "mailRoot", "registry"}, {root.string(), mailRoot.string(), settings.string()});
}

}  // namespace

void AddStoreInit(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("init", "Make an empty store at ROOT, with the stream index reader and writer on");
    verb->add_option("ROOT", options->root, "Directory of the store; made when it is not there")->required();
    CLI::Option* defaults = verb->add_flag("--defaults", options->defaults, "Set nothing but the mail root");
    verb->add_flag("--no-settings", options->noSettings, "Make no settings file; \"--store ROOT\" finds the store by its directories")
        ->excludes(defaults);
    verb->callback([&session, options] { session.verb = [options](Session&, Output& output) { InitStore(*options, output); }; });
}

}  // namespace vlstore
