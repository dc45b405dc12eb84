#include "frame/StorePaths.h"

#include <algorithm>
#include <cstring>

#include "common/Text.h"
#include "frame/Companions.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/ProcessState.h"
#include "frame/Settings.h"
#include "platform/win32.h"
#include "velmora/index.h"

namespace velmora {

namespace {

constexpr std::string_view kContactsName = "$VCFROOT";
constexpr std::string_view kFilesName = "$FILEROOT";
constexpr std::string_view kPublicName = "Public";
constexpr std::string_view kSeparator = "\\";
// Where the rest of a special name begins in most resolvers: behind "$VCFROOT" and its separator.
constexpr size_t kRestOffset = 9;

template <size_t N>
std::string_view FieldText(const char (&field)[N])
{
    const auto* end = static_cast<const char*>(std::memchr(field, 0, N));
    return {field, end ? static_cast<size_t>(end - field) : N};
}

template <typename... Parts>
std::string Join(Parts... parts)
{
    std::string text;
    text.reserve((std::string_view(parts).size() + ...));
    (text.append(std::string_view(parts)), ...);
    return text;
}

bool SeparatorAt(std::string_view text, size_t at) { return at < text.size() && IsPathSeparator(text[at]); }
std::string_view From(std::string_view text, size_t offset) { return text.substr(std::min(offset, text.size())); }
std::string_view SkipSeparator(std::string_view text) { return From(text, SeparatorAt(text, 0) ? 1 : 0); }

std::string_view SkipSeparators(std::string_view text)
{
    while (SeparatorAt(text, 0)) text.remove_prefix(1);
    return text;
}

// A name alone, or with a separator and a rest behind it.
// Kept: what follows a name directly, as in "$VCFROOTX", changes nothing; the name is special by its beginning.
bool IsFollowedByRest(std::string_view text, std::string_view name) { return SeparatorAt(text, name.size()); }
bool BeginsPublicPath(std::string_view text) { return BeginsNoCase(text, kPublicName) && IsFollowedByRest(text, kPublicName); }

bool IsPublicHere(std::string_view name) { return IsPublicFolderName(name) && PublicFoldersEnabled(); }

// Kept: the directories of folders and items are always below this one; a post office's own root is honoured where
// ResolvePostofficeRoot is asked, and its index and its cached status part unless the two roots agree.
std::string PlainRootOf(std::string_view postoffice) { return Join(MailRootText(), kSeparator, postoffice); }

// A path as it fits its field, and its directory made, one level only. What stands in the way is not our concern here.
template <size_t N>
void SetAndMake(char (&field)[N], std::string_view path)
{
    CopyBounded(field, path);
    _mkdir(field);
}

// Kept: the rest counts from the start of the folder's name as it was given, so a leading separator shifts it.
std::string ContactsPath(std::string_view root, std::string_view folder, std::string_view name)
{
    if (!IsFollowedByRest(name, kContactsName)) return Join(root, "\\VCFROOT");
    return Join(root, "\\VCFROOT\\", From(folder, kRestOffset));
}

std::string MailPath(std::string_view root, std::string_view mailbox, std::string_view folder)
{
    return Join(root, "\\MAILROOT\\", mailbox, kSeparator, folder.empty() ? "INBOX" : folder);
}

void PlaceFilesIndex(STOREINDEXTYPE& index, std::string_view root, std::string_view folder, std::string_view name)
{
    const std::string top = Join(root, "\\FILEROOT\\");
    const std::string mailbox = Join(top, FieldText(index.Mailbox));
    SetAndMake(index.Path, top);
    SetAndMake(index.Path, mailbox);
    // Kept: the rest begins with its own separator here, which gives two of them.
    if (IsFollowedByRest(name, kFilesName)) SetAndMake(index.Path, Join(mailbox, kSeparator, From(folder, kRestOffset)));
}

void PlaceIndex(STOREINDEXTYPE& index)
{
    const std::string_view folder = FieldText(index.Folder);
    const std::string_view name = SkipSeparators(folder);
    const std::string root = PlainRootOf(FieldText(index.Postoffice));
    if (BeginsNoCase(name, kContactsName)) return SetAndMake(index.Path, ContactsPath(root, folder, name));
    if (BeginsNoCase(name, kFilesName)) return PlaceFilesIndex(index, root, folder, name);
    if (IsPublicHere(name)) {
        const std::string top = Join(root, "\\PUBROOT");
        return SetAndMake(index.Path, SeparatorAt(name, kPublicName.size()) ? Join(top, kSeparator, name.substr(7)) : top);
    }
    CopyBounded(index.Path, MailPath(root, FieldText(index.Mailbox), folder));
}

// Kept: unlike for an index, a leading separator hides a special name, the rest of a "$FILEROOT" name gets no second
// separator, and the rest of "Public" counts only where the name stands at the very beginning.
void PlaceItem(STOREITEMTYPE& item)
{
    const std::string_view folder = FieldText(item.Folder);
    const std::string_view mailbox = FieldText(item.Mailbox);
    const std::string root = PlainRootOf(FieldText(item.Postoffice));
    if (BeginsNoCase(folder, kContactsName)) return SetAndMake(item.FolderPath, ContactsPath(root, folder, folder));
    if (BeginsNoCase(folder, kFilesName)) {
        const std::string top = Join(root, "\\FILEROOT\\", mailbox);
        return SetAndMake(item.FolderPath, IsFollowedByRest(folder, kFilesName) ? Join(top, kSeparator, folder.substr(10)) : top);
    }
    if (IsPublicHere(folder)) {
        const std::string top = Join(root, "\\PUBROOT");
        return SetAndMake(item.FolderPath, BeginsPublicPath(folder) ? Join(top, kSeparator, folder.substr(7)) : top);
    }
    CopyBounded(item.FolderPath, MailPath(root, mailbox, folder));
}

// The directory of a public folder, for the resolvers that let one separator stand before the name.
std::string PublicPath(std::string_view root, std::string_view folder)
{
    const std::string_view name = SkipSeparator(folder);
    return BeginsPublicPath(name) ? Join(root, "\\PUBROOT\\", name.substr(7)) : Join(root, "\\PUBROOT");
}

std::string FolderRecordPath(std::string_view root, std::string_view mailbox, std::string_view folder)
{
    if (BeginsNoCase(folder, kContactsName)) {
        // Kept: only "/" leads below the contacts, and nothing stands between "VCFROOT" and the rest.
        const bool below = folder.size() > kContactsName.size() && folder[kContactsName.size()] == '/';
        return below ? Join(root, "\\VCFROOT", folder.substr(kRestOffset)) : Join(root, "\\VCFROOT");
    }
    if (BeginsNoCase(folder, kFilesName)) {
        const std::string top = Join(root, "\\FILEROOT\\", mailbox);
        return IsFollowedByRest(folder, kFilesName) ? Join(top, folder.substr(kRestOffset)) : top;
    }
    if (IsPublicHere(folder)) return PublicPath(root, folder);
    // Kept: one separator at the end goes, and only from mail.
    std::string path = Join(root, "\\MAILROOT\\", mailbox, SeparatorAt(folder, 0) ? "" : kSeparator, folder);
    if (IsPathSeparator(path.back())) path.pop_back();
    return path;
}

// A mail root that was empty when the library loaded may have been set since.
void RefillMailRoot()
{
    std::string root;
    if (ReadSettingText(kBaseKey, "Mail Root", root)) FillEmptyMailRoot(root);
}

std::string CustomRootOf(std::string_view postoffice)
{
    constexpr uint32_t kPostofficeScope = 1;
    std::string root;
    if (Process().AllowCustomPostofficePaths == 1 && AskOption(kPostofficeScope, std::string(postoffice), "PostofficeRoot", root))
        return root;
    return PlainRootOf(postoffice);
}

}  // namespace

bool IsPublicFolderName(std::string_view name)
{
    // Kept: whatever byte stands before the name, not only a separator.
    const size_t at = FindNoCase(name, kPublicName);
    if (at > 1) return false;
    const size_t end = at + kPublicName.size();
    return end == name.size() || IsPathSeparator(name[end]);
}

uint64_t ResolvePostofficeRoot(char* dst, size_t dstSize, const char* postoffice)
{
    if (MailRootText().empty()) RefillMailRoot();
    CopyBounded(dst, dstSize, CustomRootOf(TextOrEmpty(postoffice)));
    return 1;
}

uint64_t ResolveItemPaths(STOREITEMTYPE& item)
{
    if (item.FolderPath[0] == 0) PlaceItem(item);
    return 1;
}

char* ResolveFolderPath(const char* postoffice, const char* mailbox, const char* folderPath, char* dst, size_t size)
{
    const std::string root = PlainRootOf(TextOrEmpty(postoffice));
    CopyBounded(dst, size, FolderRecordPath(root, TextOrEmpty(mailbox), TextOrEmpty(folderPath)));
    return dst;
}

std::string PlainMailboxDirectory(std::string_view postoffice, std::string_view mailbox)
{
    return Join(PlainRootOf(postoffice), "\\MAILROOT\\", mailbox);
}

uint64_t ResolveStatusPath(char* dst, size_t size, const char* postoffice, const char* mailbox, const char* folder)
{
    char root[kStoreNameSize];
    ResolvePostofficeRoot(root, sizeof root, postoffice);
    // Kept: "$FILEROOT" is no special name here, so the cached status of such a folder has no place to lie in.
    std::string path;
    if (!folder)
        path = Join(FieldText(root), "\\MAILROOT\\", TextOrEmpty(mailbox));
    else if (IsPublicHere(folder))
        path = PublicPath(FieldText(root), folder);
    else
        path = Join(FieldText(root), "\\MAILROOT\\", TextOrEmpty(mailbox), kSeparator, std::string_view(folder));
    CopyBounded(dst, std::min(size, kStatusPathSize), path);
    return 1;
}

bool MailboxDirectoryOf(const char* path, char* dst)
{
    constexpr std::string_view kMailboxes = "MAILROOT\\";
    const std::string_view text = TextOrEmpty(path);
    // The mail root itself may have such a name in it, and is not meant.
    const std::string_view root = MailRootText();
    const size_t start = BeginsNoCase(text, root) ? root.size() : 0;
    const size_t at = FindNoCase(text.substr(start), kMailboxes);
    if (at == std::string_view::npos) return false;
    const size_t end = text.find('\\', start + at + kMailboxes.size());
    if (end == std::string_view::npos) return false;
    CopyBounded(dst, kStoreNameSize, text.substr(0, end));
    return true;
}

bool IsPathInBadMail(const char* path)
{
    const std::string_view text = TextOrEmpty(path);
    // Kept: with no bad mail directory every path begins with it.
    if (text.find(FieldText(Process().BadMailDirectory)) != 0) return false;
    constexpr std::string_view kForbidden[] = {"..", "\\\\", "//"};
    return std::none_of(std::begin(kForbidden), std::end(kForbidden),
                        [&](std::string_view part) { return text.find(part) != std::string_view::npos; });
}

}  // namespace velmora

uint64_t StoreIndex_SetPaths(STOREINDEXTYPE* index)
{
    return velmora::GuardedEntry("StoreIndex_SetPaths", uint64_t{0}, [&]() -> uint64_t {
        if (!index) {
            velmora::WarnNullIndex("StoreIndex_SetPaths");
            return 0;
        }
        // Kept: a path once set stays until it is cleared, also when the names have changed.
        if (index->Path[0] == 0) velmora::PlaceIndex(*index);
        return 1;
    });
}
