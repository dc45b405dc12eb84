#include "FolderTree.h"

#include <algorithm>
#include <cstring>

#include "ExitCode.h"
#include "Message.h"
#include "SettingsFile.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kListFile = "_folder.xml";
constexpr const char* kBlockFile = "_index.blk";
constexpr const char* kGroupsBlockFile = "_groups.blk";
constexpr std::string_view kWellKnown[] = {"Inbox",    "Outbox", "Deleted Items", "Sent Items", "Calendar",
                                           "Contacts", "Drafts", "Journal",       "Notes",      "Tasks"};

template <size_t kSize>
void Put(char (&field)[kSize], const std::string& text)
{
    if (text.size() >= kSize) throw Failure(ExitCode::Usage, "too long for the store: " + text);
    std::memcpy(field, text.c_str(), text.size() + 1);
}

StoreFolderRecord EmptyRecord()
{
    StoreFolderRecord record;
    std::memset(&record, 0, sizeof record);
    return record;
}

// "$FILEROOT" counts at the start alone.
std::string PathIn(const FolderName& name) { return PlaceOf(name) == FolderPlace::Files ? name.folder : "/" + name.folder; }

// A list of the calling thread for one walk through one directory.
class FolderList {
public:
    explicit FolderList(const Library& library) : library_(library)
    {
        library_.createFolderList(&list_);
        if (!list_) throw Failure(ExitCode::IoError, "no memory for a list of folders");
        library_.initFolderList(list_);
    }
    ~FolderList()
    {
        StoreFolderRecord none = EmptyRecord();
        library_.closeFolderFind(&none, list_);
        library_.freeFolderList(&list_);
    }
    FolderList(const FolderList&) = delete;
    FolderList& operator=(const FolderList&) = delete;

    std::vector<std::string> Names(const FolderName& name)
    {
        StoreFolderRecord record = RecordOf(name);
        std::vector<std::string> names;
        for (uint64_t more = library_.findFirstFolder(&record, list_); more == 1; more = library_.findNextFolder(&record, list_))
            names.emplace_back(record.FolderName);
        return names;
    }

private:
    const Library& library_;
    TLSFolderList* list_ = nullptr;
};

// What a damaged list may name besides its children.
bool IsChildName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

void WalkBelow(const Store& store, const FolderName& from, const fs::path& directory, size_t depth, bool recursive, WalkGaps& gaps,
               const std::function<void(const ListedFolder&)>& visit)
{
    for (const std::string& child : ChildFolders(store, from)) {
        const FolderName name = from.Child(child);
        try {
            const std::optional<fs::path> path = IsChildName(child) ? FindNoCase(directory, child) : std::nullopt;
            const bool there = path && fs::is_directory(*path);
            visit({name, child, depth, there});
            if (!there || !recursive || fs::is_symlink(*path)) continue;
            if (!store.FitsInPath(name)) throw Failure(ExitCode::IoError, "its path is too long for the store");
            WalkBelow(store, name, *path, depth + 1, recursive, gaps, visit);
        } catch (const Failure& failure) {
            gaps.Add(name, failure.what());
        }
    }
}

std::string SpelledIn(const fs::path& directory, const std::string& name)
{
    std::optional<std::string> spelled;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
        const std::string found = entry.path().filename().string();
        if (found == name) return name;
        if (EqualNoCase(found, name)) spelled = found;
    }
    return spelled.value_or(name);
}

}  // namespace

StoreFolderRecord RecordOf(const FolderName& name)
{
    StoreFolderRecord record = EmptyRecord();
    Put(record.Postoffice, name.postoffice);
    Put(record.Mailbox, name.mailbox);
    Put(record.FolderPath, PathIn(name));
    return record;
}

StoreFolderRecord RecordInParent(const FolderName& name)
{
    StoreFolderRecord record = RecordOf(name.Parent());
    Put(record.FolderName, name.Leaf());
    return record;
}

FolderName AsOnDisk(const Store& store, const FolderName& name)
{
    if (PlaceOf(name) != FolderPlace::Mailbox) return name;
    FolderName spelled{name.postoffice, name.mailbox, {}};
    for (const std::string& part : name.FolderParts()) spelled = spelled.Child(SpelledIn(store.FolderDirectory(spelled), part));
    return spelled;
}

std::vector<std::string> ChildFolders(const Store& store, const FolderName& name)
{
    const fs::path directory = store.FolderDirectory(name);
    // A list that does not load is deleted, and the next request makes it again.
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::vector<std::string> names = FolderList(store.Functions()).Names(name);
        if (!names.empty() || FindNoCase(directory, kListFile)) return names;
    }
    throw Failure(ExitCode::IoError, "cannot list the folders of " + name.Str() + ": there is no " + kListFile + ", and none can be made");
}

void WalkGaps::Add(const FolderName& name, const std::string& reason) { notes_.push_back(name.Str() + ": " + reason); }

void WalkGaps::Finish() const
{
    for (const std::string& note : notes_) PutMessage("note: passed over: " + note);
    if (!notes_.empty()) throw Failure(ExitCode::IoError, "incomplete: " + CountOf(notes_.size(), "folder") + " passed over");
}

void WalkFolders(const Store& store, const FolderName& from, bool recursive, WalkGaps& gaps,
                 const std::function<void(const ListedFolder&)>& visit)
{
    WalkBelow(store, from, store.FolderDirectory(from), 0, recursive, gaps, visit);
}

TreeContent ContentOf(const fs::path& directory)
{
    TreeContent content;
    std::error_code error;
    fs::recursive_directory_iterator entries(directory, error);
    for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
        const std::string name = entries->path().filename().string();
        if (!entries->is_symlink() && entries->is_directory())
            ++content.folders;
        else if (EqualNoCase(name, kBlockFile) || EqualNoCase(name, kGroupsBlockFile))
            content.blocks.push_back(entries->path());
        else if (!name.starts_with('_'))
            ++content.files;
    }
    if (error) throw CannotRead(directory.string(), error);
    return content;
}

void RefuseIfTreeIsHeld(const FolderName& name, const TreeContent& content)
{
    for (const fs::path& block : content.blocks) {
        if (ProbeBlockFile(block) == BlockState::Held)
            throw Failure(ExitCode::Temporary, "folder is busy (lock held): " + name.Str() + ", by " + block.string());
    }
}

bool IsWithin(const FolderName& inner, const FolderName& outer)
{
    if (!EqualNoCase(inner.postoffice, outer.postoffice) || !EqualNoCase(inner.mailbox, outer.mailbox)) return false;
    return outer.folder.empty() || EqualNoCase(inner.folder, outer.folder) || StartsWithNoCase(inner.folder, outer.folder + "/");
}

std::string CountOf(size_t count, const std::string& what) { return std::to_string(count) + " " + what + (count == 1 ? "" : "s"); }

void RequireNewFolderName(const Store& store, const FolderName& name)
{
    const std::string leaf = name.Leaf();
    CheckNewName("folder", leaf);
    const bool ascii = std::none_of(leaf.begin(), leaf.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    if (!ascii) throw Failure(ExitCode::Usage, "the store would rename it: a folder's name has no bytes above 127: " + name.Str());
    const FolderPlace place = PlaceOf(name);
    const bool kept = place == FolderPlace::Public ? SettingsFile::Load(store.SettingsFile()).Number("Public Folders Enabled", 1) != 0
                                                   : place != FolderPlace::Mailbox;
    if (name.Parent().folder.empty() && kept) throw Failure(ExitCode::Usage, "a name that the store keeps for itself: " + name.Str());
}

bool IsWellKnown(const FolderName& name)
{
    return std::any_of(std::begin(kWellKnown), std::end(kWellKnown),
                       [&](std::string_view known) { return EqualNoCase(known, name.folder); });
}

}  // namespace vlstore
