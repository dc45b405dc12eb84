// One folder, open in this thread from construction to destruction.
#ifndef VLSTORE_OPENFOLDER_H
#define VLSTORE_OPENFOLDER_H

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "FolderName.h"
#include "ItemProperties.h"
#include "Output.h"
#include "Store.h"
#include "ValueForm.h"

namespace vlstore {

// What happens when another process holds the folder: the library would wait for more than a minute.
enum class LockWait { Refuse, Wait };
inline LockWait LockWaitOf(const Session& session) { return session.wait ? LockWait::Wait : LockWait::Refuse; }

// Throws Failure when this user may not work in a folder's directory: who reads a folder locks it by a file, and the library
// would try to make that for a minute.
void RequireReadAndWrite(const std::filesystem::path& directory);
// Throws Failure (temporary) when a live process holds the folder, without waiting and without a mark on the folder.
void RefuseIfHeld(const FolderName& name, const std::filesystem::path& directory);
// Waits for a moment until no live process holds the folder.
void AwaitFree(const std::filesystem::path& directory);
// Has `change` done, one of the library's calls that take a folder's lock with a single attempt and answer 0 when it is
// held: again and again, for a moment, or with Wait for as long as an open would wait. Throws Failure: temporary when the
// folder stays held, else that `what` failed.
void WhenFree(const FolderName& name, const std::filesystem::path& directory, LockWait wait, const std::string& what,
              const std::function<uint64_t()>& change);

class OpenFolder {
public:
    // Throws Failure for what does not exist, is no folder that the tool opens, is held or cannot be loaded.
    OpenFolder(const Store& store, const FolderName& name, LockWait wait);
    ~OpenFolder();
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    // A walk in ascending order of UID; each step makes an item current.
    bool First();
    bool Next();
    // Makes an item current. Throws Failure when the folder has none of that ID, whatever its case.
    void Select(const std::string& id);
    // The same for an ID as the folder spells it; false when it has none.
    bool Has(const std::string& id);

    const std::filesystem::path& Directory() const { return directory_; }
    FolderKind Kind() const { return kind_; }
    // In what form the value of a property of this kind of folder crosses the API.
    ValueForm FormOf(std::string_view property) const;
    // A property of the current item, or one that the folder itself answers; absent when there is none.
    Cell Get(std::string_view property) const;
    std::string CurrentId() const;
    // Changes an existing item, in memory until it is saved. `bytes` are what the library takes for the value.
    void Set(const std::string& id, std::string_view property, const std::string& bytes);
    // Loads the folder anew; what was not saved is lost. Waits for a moment in any case when the folder is held.
    void Reload();
    // Saves, then loads the folder anew, so that what is read from now on is what the save left on disk.
    void SaveAndReload();
    // Saves these items of a mail folder as if they had changed, and loads the folder anew. An item that stands twice in the
    // index, as when a scan and a delivery met, takes no direct change, and does so again behind a save.
    void WriteAnew(const std::vector<std::string>& ids);
    // Throws Failure: a save did not take.
    [[noreturn]] void ComplainOfSave(const std::string& what) const;

private:
    void Open();
    void NoteLeftBehind() const;

    const Store& store_;
    const Library& library_;
    FolderName name_;
    FolderKind kind_;
    std::filesystem::path directory_;
    LockWait wait_;
};

}  // namespace vlstore

#endif
