// vlstore: the administrator's and developer's tool for a store. Noun, then verb; one file a verb.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "ExitCode.h"
#include "Message.h"
#include "Output.h"
#include "Session.h"
#include "System.h"

namespace {

using vlstore::ExitCode;
using vlstore::Failure;
using vlstore::Format;
using vlstore::Session;

int Complain(ExitCode code, const std::string& text)
{
    vlstore::PutMessage(text);
    return static_cast<int>(code);
}

Format FormatOf(const std::string& name)
{
    if (name == "json") return Format::Json;
    return name == "tab" ? Format::Tab : Format::Table;
}

CLI::App* AddNoun(CLI::App& app, const char* name, const char* description)
{
    CLI::App* noun = app.add_subcommand(name, description);
    noun->require_subcommand(1);
    return noun;
}

void AddGlobalOptions(CLI::App& app, Session& session)
{
    auto setFormat = [&session](const std::string& name) { session.format = FormatOf(name); };
    app.add_option_function<std::string>("--format", setFormat, "table, json or tab")
        ->check(CLI::IsMember({"table", "json", "tab"}))
        ->type_name("FORM");
    app.add_option("--store", session.store, "The store at ROOT, as \"store init\" made it; without it VELMORA_REGISTRY decides")
        ->type_name("ROOT");
    app.add_flag("--verbose", session.verbose, "Show the library's own lines on standard error");
    app.add_flag("--wait", session.wait, "Wait for a folder that another process holds, and break a lock that stays");
    app.set_version_flag("--version", "vlstore " VLSTORE_VERSION);
}

void AddVerbs(CLI::App& app, Session& session)
{
    vlstore::AddStoreInit(*AddNoun(app, "store", "Whole stores"), session);
    CLI::App* settings = AddNoun(app, "settings", "The settings file");
    vlstore::AddSettingsGet(*settings, session);
    vlstore::AddSettingsSet(*settings, session);
    vlstore::AddSettingsList(*settings, session);
    vlstore::AddMailboxAdd(*AddNoun(app, "mailbox", "Mailboxes"), session);
    vlstore::AddImport(app, session);
    CLI::App* item = AddNoun(app, "item", "Items of a folder");
    vlstore::AddItemList(*item, session);
    vlstore::AddItemShow(*item, session);
    vlstore::AddItemGet(*item, session);
    vlstore::AddItemSet(*item, session);
    vlstore::AddItemDeliver(*item, session);
    vlstore::AddItemFlag(*item, session);
    vlstore::AddItemRemove(*item, session);
    CLI::App* folder = AddNoun(app, "folder", "Folders");
    vlstore::AddFolderStatus(*folder, session);
    vlstore::AddFolderCounts(*folder, session);
    vlstore::AddFolderList(*folder, session);
    vlstore::AddFolderAdd(*folder, session);
    vlstore::AddFolderRename(*folder, session);
    vlstore::AddFolderCopy(*folder, session);
    vlstore::AddFolderRemove(*folder, session);
    vlstore::AddFolderSize(*folder, session);
    vlstore::AddFolderReindex(*folder, session);
    vlstore::AddShareList(*AddNoun(app, "share", "Shared folders"), session);
    CLI::App* index = AddNoun(app, "index", "Index files");
    vlstore::AddIndexDump(*index, session);
    vlstore::AddIndexCheck(*index, session);
    vlstore::AddIndexConvert(*index, session);
    vlstore::AddPropertyList(*AddNoun(app, "property", "Properties of items"), session);
}

// The help of the tool names the verbs of each noun, the help of a noun tells what they do.
void NameVerbs(CLI::App& app)
{
    const auto all = [](CLI::App*) { return true; };
    for (CLI::App* noun : app.get_subcommands(all)) {
        std::string text = noun->get_description();
        const char* before = ": ";
        for (const CLI::App* verb : noun->get_subcommands(all)) {
            text += before + verb->get_name();
            before = ", ";
        }
        noun->description(text);
    }
    app.footer("\"vlstore NOUN --help\" tells what its verbs do, \"vlstore NOUN VERB --help\" what a verb takes.");
}

int RunVerb(Session& session)
{
    // From here on whatever the library prints cannot reach our standard output.
    std::FILE* stream = vlstore::TakeStandardOutput(session.verbose);
    if (!stream) return Complain(ExitCode::IoError, "there is no standard output");
    vlstore::Output output(stream, session.format);
    session.verb(session, output);
    output.Finish();
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    vlstore::PrepareStandardStreams();
    Session session;
    CLI::App app("Looks after a Velmora store. FOLDER is always POSTOFFICE/MAILBOX/FOLDER.", "vlstore");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // on no system: "/mail" is a path
    app.fallthrough();                       // for all verbs: the options of the tool itself may stand behind a verb as well
    AddGlobalOptions(app, session);
    AddVerbs(app, session);
    NameVerbs(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and the version come this way as well, with 0.
        if (error.get_exit_code() == 0) return app.exit(error);
        return Complain(ExitCode::Usage, std::string(error.what()) + " (--help tells more)");
    }
    try {
        return RunVerb(session);
    } catch (const Failure& failure) {
        return Complain(failure.Code(), failure.what());
    } catch (const std::filesystem::filesystem_error& error) {
        Failure failure = vlstore::CannotRead(error.path1().string(), error.code());
        return Complain(failure.Code(), failure.what());
    } catch (const std::exception& error) {
        return Complain(ExitCode::IoError, error.what());
    }
}
