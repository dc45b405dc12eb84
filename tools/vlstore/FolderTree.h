// Folders as the library's folder functions see them, and the directories behind them.
#ifndef VLSTORE_FOLDERTREE_H
#define VLSTORE_FOLDERTREE_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "FolderName.h"
#include "Store.h"

namespace vlstore {

// A record whose FolderPath is the folder itself, or the root. Throws Failure (usage) when it has no room for the name.
StoreFolderRecord RecordOf(const FolderName& name);
// A record whose FolderPath is the folder's parent, and whose FolderName its last part. The same.
StoreFolderRecord RecordInParent(const FolderName& name);

// The folder as the directories spell it: the store compares some texts byte by byte. It must exist.
FolderName AsOnDisk(const Store& store, const FolderName& name);

// The names of the child folders, as the library lists them; it may write the list anew on the way. Throws Failure when there
// is no list to be had.
std::vector<std::string> ChildFolders(const Store& store, const FolderName& name);

// What a walk leaves out, so that one odd directory does not keep a person from all the others.
class WalkGaps {
public:
    void Add(const FolderName& name, const std::string& reason);
    // Puts a note for each. Throws Failure (IO error) when there is one: what was printed is not all.
    void Finish() const;

private:
    std::vector<std::string> notes_;
};

struct ListedFolder {
    FolderName name;
    std::string leaf;  // as it is listed
    size_t depth;      // 0 for a child of where the walk began
    bool there;        // a directory stands behind the listed name
};
// Goes through the child folders in the order of their names, a folder before those that it holds. Goes into no link.
// `visit` is called for each, whatever the store can do with it. One that it throws Failure for is passed over with those below
// it, and so is what cannot be listed, or lies deeper than the store's paths reach: `gaps` has a note of each.
void WalkFolders(const Store& store, const FolderName& from, bool recursive, WalkGaps& gaps,
                 const std::function<void(const ListedFolder&)>& visit);

// What a directory and those below it hold.
struct TreeContent {
    size_t folders = 0;                         // below it
    size_t files = 0;                           // but those that the store keeps for itself
    std::vector<std::filesystem::path> blocks;  // block files that stand there
};
TreeContent ContentOf(const std::filesystem::path& directory);
// Throws Failure (temporary) when a live process holds the folder or one below it.
void RefuseIfTreeIsHeld(const FolderName& name, const TreeContent& content);

// Whether `inner` is `outer` or lies in it, whatever the case; within one mailbox.
bool IsWithin(const FolderName& inner, const FolderName& outer);

// "1 folder", "3 folders".
std::string CountOf(size_t count, const std::string& what);

// Throws Failure (usage) when the folder may not be made by this name: one that the store would spell otherwise later, or that
// leads elsewhere.
void RequireNewFolderName(const Store& store, const FolderName& name);
// One of those that every mailbox has, at the root.
bool IsWellKnown(const FolderName& name);

}  // namespace vlstore

#endif
