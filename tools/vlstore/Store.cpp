#include "Store.h"

#include <algorithm>

#include "ExitCode.h"
#include "Message.h"
#include "SettingsFile.h"
#include "System.h"
#include "Text.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

// What the library is asked about to learn the mail root; nothing of these names needs to exist.
constexpr const char* kProbePostoffice = "postoffice";
constexpr const char* kProbeMailbox = "mailbox";
constexpr const char* kProbeFolder = "Inbox";

constexpr const char* kMailboxes = "MAILROOT";
constexpr const char* kPublicFolders = "PUBROOT";
constexpr const char* kFiles = "FILEROOT";
constexpr const char* kFilesFolder = "$FILEROOT";  // one that only begins so is none that the store knows

// The library cuts a longer path, and a cut path is another file. What it adds to a folder's name are the mail root, the
// room of the mailboxes and the longest name of an item.
constexpr size_t kLongestPath = 1023;
constexpr size_t kRoomForNames = 80;

bool LiesBelow(const fs::path& path, const fs::path& root)
{
    fs::path from = fs::weakly_canonical(fs::absolute(root)), to = fs::weakly_canonical(path);
    auto [restOfRoot, restOfPath] = std::mismatch(from.begin(), from.end(), to.begin(), to.end());
    return restOfRoot == from.end() || restOfRoot->empty();
}

fs::path Require(const fs::path& directory, const std::string& name, const std::string& complaint)
{
    std::optional<fs::path> found = FindNoCase(directory, name);
    if (!found || !fs::is_directory(*found)) throw Failure(ExitCode::NoInput, complaint);
    return *found;
}

}  // namespace

std::optional<fs::path> FindNoCase(const fs::path& directory, const std::string& name)
{
    std::error_code error;
    fs::path exact = directory / "";
    exact += PathOf(name);  // "c:x" is not taken for a path of its own
    fs::file_status status = fs::status(exact, error);
    if (fs::exists(status)) return exact;
    if (!fs::status_known(status)) throw CannotRead(exact.string(), error);
    fs::directory_iterator entries(directory, error);
    if (error) throw CannotRead(directory.string(), error);
    for (const fs::directory_entry& entry : entries) {
        if (EqualNoCase(entry.path().filename().string(), name)) return entry.path();
    }
    return std::nullopt;
}

Store::Store(const Session& session)
    : settingsFile_(ExistingSettingsFile(session)),
      settings_(settingsFile_, session.store),
      library_(LoadLibraryModule()),
      mailRoot_(AskMailRoot())
{
    if (session.store.empty() || LiesBelow(mailRoot_, PathOf(session.store))) return;
    PutMessage("note: the mail root of " + session.store + " lies outside it: " + mailRoot_.string());
}

fs::path Store::AskMailRoot() const
{
    // A folder that is opened unloaded is placed and nothing else, and then says where it lies.
    library_.folderOpen(kProbePostoffice, kProbeMailbox, kProbeFolder, 0, VELMORA_OPEN_UNLOADED);
    void* value = nullptr;
    uint64_t size = 0;
    library_.getProperty("VL_FOLDER_PATH", &value, &size);
    std::string path = value ? WithSlashes(static_cast<const char*>(value)) : std::string();
    library_.freeProperty(value);
    library_.folderClose();

    std::string below = std::string("/") + kProbePostoffice + "/" + kMailboxes + "/" + kProbeMailbox + "/" + kProbeFolder;
    if (!path.ends_with(below)) throw Failure(ExitCode::Unavailable, "the library does not say where the mail root lies");
    return PathOf(path.substr(0, path.size() - below.size())).make_preferred();
}

bool Store::FitsInPath(const FolderName& name) const
{
    return MailRoot().string().size() + name.Str().size() + kRoomForNames <= kLongestPath;
}

fs::path Store::FolderDirectory(const FolderName& name) const
{
    FolderPlace place = PlaceOf(name);
    bool opened = place != FolderPlace::Contacts && (place != FolderPlace::Files || EqualNoCase(name.FolderParts().front(), kFilesFolder));
    if (!opened) throw Failure(ExitCode::Unavailable, "not a folder that this tool opens: " + name.Str());
    const fs::path& root = MailRoot();
    if (!fs::is_directory(root)) throw Failure(ExitCode::NoInput, "no such store: the mail root " + root.string() + " is not there");
    if (!FitsInPath(name)) throw Failure(ExitCode::Usage, "the folder's path is too long for the store: " + name.Str());
    fs::path office = Require(root, name.postoffice, "no such post office: " + name.postoffice);
    std::string noMailbox = "no such mailbox: " + name.postoffice + "/" + name.mailbox;
    fs::path directory = Require(Require(office, kMailboxes, noMailbox), name.mailbox, noMailbox);
    if (name.folder.empty()) return directory;

    std::string noFolder = "no such folder: " + name.Str();
    std::vector<std::string> parts = name.FolderParts();
    if (place == FolderPlace::Files) {
        directory = Require(Require(office, kFiles, noFolder), name.mailbox, noFolder);
        parts.erase(parts.begin());
    }
    if (place == FolderPlace::Public && SettingsFile::Load(settingsFile_).Number("Public Folders Enabled", 1) != 0) {
        directory = Require(office, kPublicFolders, noFolder);
        parts.erase(parts.begin());
    }
    for (const std::string& part : parts) directory = Require(directory, part, noFolder);
    return directory;
}

}  // namespace vlstore
