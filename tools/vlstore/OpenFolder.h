// One mail folder, open in this thread from construction to destruction.
#ifndef VLSTORE_OPENFOLDER_H
#define VLSTORE_OPENFOLDER_H

#include <filesystem>
#include <string>
#include <string_view>

#include "FolderName.h"
#include "MailProperties.h"
#include "Output.h"
#include "Store.h"

namespace vlstore {

// What happens when another process holds the folder: the library would wait for more than a minute.
enum class LockWait { Refuse, Wait };
inline LockWait LockWaitOf(const Session& session) { return session.wait ? LockWait::Wait : LockWait::Refuse; }

// Throws Failure when this user may not work in a folder's directory: who reads a folder locks it by a file, and the library
// would try to make that for a minute.
void RequireReadAndWrite(const std::filesystem::path& directory);
// Throws Failure (temporary) when a live process holds the folder, without waiting and without a mark on the folder.
void RefuseIfHeld(const FolderName& name, const std::filesystem::path& directory);

class OpenFolder {
public:
    // Throws Failure for what does not exist, is no mail folder, is held or cannot be loaded.
    OpenFolder(const Store& store, const FolderName& name, LockWait wait);
    ~OpenFolder();
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    // A walk in ascending order of UID; each step makes an item current.
    bool First();
    bool Next();
    // Makes an item current. Throws Failure when the folder has none of that ID, whatever its case.
    void Select(const std::string& id);

    // A property of the current item; absent when it has none.
    Cell Get(const MailProperty& property) const;
    // One that the folder itself answers, VL_FOLDER_PATH for instance.
    Cell GetOfFolder(const char* name) const;
    std::string CurrentId() const;
    // Changes an existing item, in memory until Save.
    void Set(const std::string& id, const MailProperty& property, const std::string& value);
    // Saves, then loads the folder anew, so that what is read from now on is what the save left on disk.
    void SaveAndReload();
    // Throws Failure: a save did not take.
    [[noreturn]] void ComplainOfSave(const std::string& what) const;

private:
    void Open();
    void NoteLeftBehind() const;

    const Store& store_;
    const Library& library_;
    FolderName name_;
    std::filesystem::path directory_;
    LockWait wait_;
};

}  // namespace vlstore

#endif
