// The store of this run: its settings file, the library loaded on it, and the directories of its folders.
#ifndef VLSTORE_STORE_H
#define VLSTORE_STORE_H

#include <filesystem>
#include <optional>
#include <string>

#include "FolderName.h"
#include "Library.h"
#include "LibrarySettings.h"
#include "Session.h"

namespace vlstore {

// A file or directory of that name in any case: the spelling asked for first, then what the directory holds. Throws Failure
// when the directory cannot be looked through.
std::optional<std::filesystem::path> FindNoCase(const std::filesystem::path& directory, const std::string& name);

class Store {
public:
    // Throws Failure when --store names none or the library cannot be loaded.
    // Notes on standard error a mail root that lies elsewhere than the store.
    explicit Store(const Session& session);

    const Library& Functions() const { return library_; }
    const std::filesystem::path& SettingsFile() const { return settingsFile_; }

    // The directory that holds the post offices, as the library says; it may not exist.
    const std::filesystem::path& MailRoot() const { return mailRoot_; }
    // The directory of an existing folder, or of a mailbox. Throws Failure, one for each of store, post office, mailbox and
    // folder, without touching anything: the library's own open would make the folder.
    std::filesystem::path FolderDirectory(const FolderName& name) const;
    // Whether the directory of the folder, and the files in it, have paths that the library holds whole.
    bool FitsInPath(const FolderName& name) const;

private:
    std::filesystem::path AskMailRoot() const;

    std::filesystem::path settingsFile_;
    LibrarySettings settings_;  // stand before the library reads them
    Library library_;
    std::filesystem::path mailRoot_;
};

}  // namespace vlstore

#endif
