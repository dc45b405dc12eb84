#include "FolderName.h"

#include "ExitCode.h"
#include "Text.h"

namespace vlstore {

namespace {

// The library's name fields hold 1,023 bytes, and its path field, which has the mail root in front, no more.
constexpr size_t kLongestName = 700;
constexpr size_t kLongestPart = 255;

struct NamedKind {
    std::string_view name;
    FolderKind kind;
};
constexpr NamedKind kNamedKinds[] = {
    {"CALENDAR", FolderKind::Calendar},
    {"TASKS", FolderKind::Tasks},
    {"CONTACTS", FolderKind::Contacts},
};
constexpr std::string_view kContactsRoot = "$VCFROOT";
constexpr std::string_view kFilesRoot = "$FILEROOT";
constexpr std::string_view kPublic = "Public";

std::vector<std::string> Split(std::string_view text, std::string_view separators)
{
    std::vector<std::string> parts;
    for (;;) {
        size_t at = text.find_first_of(separators);
        parts.emplace_back(text.substr(0, at));
        if (at == std::string_view::npos) return parts;
        text.remove_prefix(at + 1);
    }
}

void CheckPart(const std::string& whole, const std::string& part)
{
    if (part.empty()) throw Failure(ExitCode::Usage, "a folder is written POSTOFFICE/MAILBOX/FOLDER with no empty part: " + whole);
    if (part == "." || part == "..") throw Failure(ExitCode::Usage, "\"" + part + "\" cannot be part of a folder's name: " + whole);
}

}  // namespace

std::vector<std::string> FolderName::FolderParts() const { return Split(folder, "/\\"); }

FolderName FolderName::Parent() const
{
    const size_t at = folder.rfind('/');
    return {postoffice, mailbox, at == std::string::npos ? std::string() : folder.substr(0, at)};
}

std::string FolderName::Leaf() const { return folder.substr(folder.rfind('/') + 1); }

FolderName FolderName::Child(const std::string& name) const { return {postoffice, mailbox, folder.empty() ? name : folder + "/" + name}; }

FolderName ParseMailboxOrFolder(const std::string& text)
{
    const std::vector<std::string> parts = Split(text, "/\\");
    if (parts.size() != 2) return ParseFolderName(text);
    if (text.size() > kLongestName) throw Failure(ExitCode::Usage, "the mailbox's name is too long");
    for (const std::string& part : parts) CheckPart(text, part);
    return {parts[0], parts[1], {}};
}

FolderName ParseFolderName(const std::string& text)
{
    if (text.size() > kLongestName) throw Failure(ExitCode::Usage, "the folder's name is too long");
    std::vector<std::string> parts = Split(text, "/\\");
    if (parts.size() < 3) throw Failure(ExitCode::Usage, "a folder is written POSTOFFICE/MAILBOX/FOLDER: " + text);
    for (const std::string& part : parts) CheckPart(text, part);
    FolderName name{parts[0], parts[1], parts[2]};
    for (size_t i = 3; i < parts.size(); ++i) name.folder += "/" + parts[i];
    return name;
}

void CheckNewName(std::string_view what, std::string_view name)
{
    bool bad = name.empty() || name.size() > kLongestPart || name == "." || name == ".." || name.back() == ' ' || name.back() == '.';
    for (char c : name)
        bad = bad || static_cast<unsigned char>(c) < 0x20 || c == 0x7F || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
    if (bad) throw Failure(ExitCode::Usage, "not a name for a " + std::string(what) + ": \"" + std::string(name) + "\"");
}

FolderPlace PlaceOf(const FolderName& name)
{
    if (StartsWithNoCase(name.folder, kContactsRoot)) return FolderPlace::Contacts;
    if (StartsWithNoCase(name.folder, kFilesRoot)) return FolderPlace::Files;
    if (EqualNoCase(name.FolderParts().front(), kPublic)) return FolderPlace::Public;
    return FolderPlace::Mailbox;
}

FolderKind KindOf(const FolderName& name)
{
    FolderPlace place = PlaceOf(name);
    if (place == FolderPlace::Contacts) return FolderKind::Contacts;
    if (place == FolderPlace::Files) return FolderKind::Files;
    for (const NamedKind& named : kNamedKinds) {
        if (EqualNoCase(name.folder, named.name)) return named.kind;
    }
    return FolderKind::Mail;
}

void RequireMail(const FolderName& name)
{
    if (KindOf(name) != FolderKind::Mail) throw Failure(ExitCode::Unavailable, "not a mail folder: " + name.Str());
}

}  // namespace vlstore
