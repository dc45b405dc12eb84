#include "folders/Shares.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "common/Text.h"
#include "folders/DocumentGuard.h"
#include "folders/FolderRecord.h"
#include "frame/Guard.h"
#include "frame/Settings.h"
#include "frame/StorePaths.h"
#include "platform/win32.h"
#include "velmora/folders.h"

namespace velmora {

namespace {

constexpr std::string_view kFilesName = "$FILEROOT";
constexpr char kSharesFile[] = "\\_Shares.xml";
constexpr char kAccessFile[] = "\\_Access.XML";
constexpr char kQuote = '\'';

using platform::XmlDocument;
using platform::XmlNode;

// ---- Paths ----

// No name that a path can be made of: a step up in it would lead to another mailbox, or out of the store.
bool LeadsElsewhere(const char* mailbox, const char* postoffice)
{
    return HoldsStep(TextOrEmpty(mailbox)) || HoldsStep(TextOrEmpty(postoffice));
}

std::string MailboxRootOf(const char* postoffice, bool isFiles)
{
    char root[kStoreNameSize] = {};
    ResolvePostofficeRoot(root, sizeof root, postoffice);
    return std::string(root) + (isFiles ? "\\FILEROOT\\" : "\\MAILROOT\\");
}

std::string SharesPath(const char* mailbox, const char* postoffice)
{
    return MailboxRootOf(postoffice, false) + std::string(TextOrEmpty(mailbox)) + kSharesFile;
}

// `folder` begins with its slash.
std::string AccessPath(std::string_view folder, const char* mailbox, const char* postoffice)
{
    std::string_view rest = folder.substr(1);
    const bool isFiles = BeginsNoCase(rest, kFilesName);
    if (isFiles) rest.remove_prefix(kFilesName.size());
    return MailboxRootOf(postoffice, isFiles) + std::string(TextOrEmpty(mailbox)) + "\\" + std::string(rest) + kAccessFile;
}

// Slashes, with one in front, in the caller's own buffer. False when it has no end, or no room for that slash.
bool Normalise(char* folderPath)
{
    auto* const end = static_cast<char*>(std::memchr(folderPath, 0, kFolderPathSize));
    if (!end) return false;
    std::replace(folderPath, end, '\\', '/');
    if (*folderPath == '/') return true;
    const auto length = static_cast<size_t>(end - folderPath);
    if (length + 1 >= kFolderPathSize) return false;
    std::memmove(folderPath + 1, folderPath, length + 1);
    *folderPath = '/';
    return true;
}

// The name of a user's file without its ending, by the user's name: "name", or "area/name" with whatever is behind.
std::string SecurityNameOf(std::string_view user)
{
    const size_t first = user.find('/');
    if (first == std::string_view::npos) return std::string(user);
    const std::string_view rest = user.substr(first + 1);
    const std::string_view name = rest.substr(0, rest.find('/'));
    return name.size() < kStoreNameSize ? std::string(name) : std::string();
}

// ---- Documents ----

// The node is taken out of the document, and the document of what it was the last node of.
void TakeOut(XmlDocument& document, const XmlNode& node, const std::string& path)
{
    XmlNode root = document.DocumentElement();
    root.RemoveChild(node);
    if (root.ChildNodeCount() > 0)
        SaveDOMFile(document, path);
    else
        DeleteFileA(path.c_str());
}

// Kept: a text with a single quote in it is never found. No text is put into an expression, where such a quote would end the
// literal and what follows it would choose other entries.
bool CanBeFound(std::string_view text) { return text.find(kQuote) == std::string_view::npos; }

bool HasResource(const XmlNode& share, const std::string& folder)
{
    for (XmlNode child = share.FirstElement(); child; child = child.NextElement())
        if (child.Name() == "RESOURCE" && child.Text() == folder) return true;
    return false;
}

XmlNode FindShare(const XmlNode& root, const std::string& folder)
{
    if (!root || !CanBeFound(folder)) return {};
    for (const XmlNode& share : root.SelectNodes("//SHARES/SHARE"))
        if (HasResource(share, folder)) return share;
    return {};
}

XmlNode FindItem(const XmlNode& root, const std::string& resource)
{
    if (!root || !CanBeFound(resource)) return {};
    for (const XmlNode& item : root.SelectNodes("//LIST/ITEM"))
        if (item.Attribute("URI") == resource) return item;
    return {};
}

// False when the folder is not in the list.
bool RemoveShare(const std::string& sharesPath, const std::string& folder)
{
    const std::unique_ptr<XmlDocument> shares = GetDOMInstance(kNoDomText);
    // A list that does not load is an empty one.
    Needed(shares).Load(sharesPath);
    const XmlNode share = FindShare(shares->DocumentElement(), folder);
    if (!share) return false;
    TakeOut(*shares, share, sharesPath);
    return true;
}

// False when the access list does not load.
bool RemoveAccess(const std::string& accessPath, const std::string& resource, const char* postoffice)
{
    const std::unique_ptr<XmlDocument> access = GetDOMInstance(kNoDomText);
    if (!Needed(access).Load(accessPath)) return false;
    for (const XmlNode& item : access->DocumentElement().SelectNodes("//LIST/ITEM"))
        if (const std::optional<std::string> user = item.Attribute("USER")) RemoveUserAccess(user->c_str(), resource, postoffice);
    DeleteFileA(accessPath.c_str());
    return true;
}

uint32_t RemoveAllShares(const char* mailbox, const char* postoffice)
{
    if (LeadsElsewhere(mailbox, postoffice)) return 0;
    const std::unique_ptr<XmlDocument> shares = GetDOMInstance(kNoDomText);
    if (!Needed(shares).Load(SharesPath(mailbox, postoffice))) return 0;
    for (const XmlNode& share : shares->DocumentElement().SelectNodes("//SHARES/SHARE")) {
        const XmlNode resource = share.SelectSingleNode("RESOURCE");
        if (!resource) continue;
        char folder[kFolderPathSize];
        // What is cut is no folder's path. Each removal works on a document of its own.
        if (CopyBounded(folder, resource.Text())) RemoveFolderShareEntries(folder, mailbox, postoffice);
    }
    return 1;
}

}  // namespace

std::string SecurityFilePath(const char* user, const char* postoffice)
{
    if (HoldsStep(TextOrEmpty(postoffice))) return {};
    std::string directory;
    // Without that setting the directories would be made at the root of the drive.
    if (!ReadSettingText(kBaseKey, "Configuration Directory", directory) || directory.empty()) return {};
    for (const std::string& step : {std::string("\\Postoffices"), "\\" + std::string(TextOrEmpty(postoffice)), std::string("\\Security")}) {
        directory += step;
        _mkdir(directory.c_str());
    }
    const std::string name = SecurityNameOf(TextOrEmpty(user));
    // A file of another directory is no user's.
    if (name.find('\\') != std::string::npos) return {};
    return directory + "\\" + name + ".xml";
}

uint32_t RemoveUserAccess(const char* user, const std::string& resource, const char* postoffice)
{
    return GuardedDocumentWork(uint32_t{0}, [&]() -> uint32_t {
        const std::unique_ptr<XmlDocument> document = GetDOMInstance(kNoDomText);
        const std::string path = SecurityFilePath(user, postoffice);
        if (path.empty() || !Needed(document).Load(path)) return 0;
        const XmlNode item = FindItem(document->DocumentElement(), resource);
        if (!item) return 0;
        TakeOut(*document, item, path);
        return 1;
    });
}

uint32_t RemoveFolderShareEntries(char* folderPath, const char* mailbox, const char* postoffice)
{
    return GuardedDocumentWork(uint32_t{0}, [&]() -> uint32_t {
        if (!folderPath || !Normalise(folderPath)) return 0;
        const std::string folder = folderPath;
        // The list is another component's. A path with steps up in it would lead to the access list of a folder that was not
        // shared here, or of another mailbox.
        if (HoldsStep(folder) || LeadsElsewhere(mailbox, postoffice)) return 0;
        if (!RemoveShare(SharesPath(mailbox, postoffice), folder)) return 0;
        const std::string resource = "SF:" + std::string(TextOrEmpty(postoffice)) + "/" + std::string(TextOrEmpty(mailbox)) + folder;
        return RemoveAccess(AccessPath(folder, mailbox, postoffice), resource, postoffice) ? 1 : 0;
    });
}

}  // namespace velmora

uint64_t RemoveMailboxShares(const char* mailbox, const char* postoffice)
{
    using namespace velmora;
    return GuardedEntry("RemoveMailboxShares", uint64_t{0},
                        [&] { return uint64_t{GuardedDocumentWork(uint32_t{0}, [&] { return RemoveAllShares(mailbox, postoffice); })}; });
}
