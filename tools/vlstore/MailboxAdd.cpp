// vlstore mailbox add POSTOFFICE MAILBOX: the directories of a new mailbox with its well-known folders.

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>

#include "ExitCode.h"
#include "Session.h"
#include "Store.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kWellKnownFolders[] = {
    "Inbox", "Outbox", "Deleted Items", "Sent Items", "Calendar", "Contacts", "Drafts", "Journal", "Notes", "Tasks",
};

struct Options {
    std::string postoffice, mailbox;
};

// One level; what is there already in another case is taken.
fs::path MakeBelow(const fs::path& directory, const std::string& name)
{
    if (std::optional<fs::path> found = FindNoCase(directory, name)) {
        if (!fs::is_directory(*found)) throw Failure(ExitCode::CannotCreate, "not a directory: " + found->string());
        return *found;
    }
    fs::path made = directory / PathOf(name);
    std::error_code error;
    fs::create_directory(made, error);
    if (error) throw Failure(CodeOf(error, ExitCode::CannotCreate), "cannot make " + made.string() + ": " + error.message());
    return made;
}

void AddMailbox(const Options& options, Session& session, Output& output)
{
    CheckNewName("post office", options.postoffice);
    CheckNewName("mailbox", options.mailbox);
    Store store(session);
    const fs::path& root = store.MailRoot();
    if (!fs::is_directory(root)) throw Failure(ExitCode::NoInput, "no such store: the mail root " + root.string() + " is not there");
    fs::path mailboxes = MakeBelow(MakeBelow(root, options.postoffice), "MAILROOT");
    if (FindNoCase(mailboxes, options.mailbox)) {
        throw Failure(ExitCode::CannotCreate, "there is a mailbox already: " + options.postoffice + "/" + options.mailbox);
    }
    fs::path mailbox = MakeBelow(mailboxes, options.mailbox);

    output.Begin({"VL_POSTOFFICE", "VL_MAILBOX", "VL_FOLDER", "VL_FOLDER_PATH"});
    for (const char* folder : kWellKnownFolders) {
        output.Add({options.postoffice, options.mailbox, folder, MakeBelow(mailbox, folder).string()});
    }
    output.End();
}

}  // namespace

void AddMailboxAdd(CLI::App& noun, Session& session)
{
    auto options = std::make_shared<Options>();
    CLI::App* verb = noun.add_subcommand("add", "Make a mailbox with its well-known folders, and its post office at need");
    verb->add_option("POSTOFFICE", options->postoffice)->required();
    verb->add_option("MAILBOX", options->mailbox)->required();
    verb->callback([&session, options] { session.verb = [options](Session& run, Output& output) { AddMailbox(*options, run, output); }; });
}

}  // namespace vlstore
