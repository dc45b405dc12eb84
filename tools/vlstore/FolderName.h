// A folder as it is written on the command line: POSTOFFICE/MAILBOX/FOLDER, where FOLDER may have parts of its own.
#ifndef VLSTORE_FOLDERNAME_H
#define VLSTORE_FOLDERNAME_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

struct FolderName {
    std::string postoffice;
    std::string mailbox;
    std::string folder;  // with "/" between its parts; empty for the mailbox itself

    std::string Str() const { return postoffice + "/" + mailbox + (folder.empty() ? "" : "/" + folder); }
    std::vector<std::string> FolderParts() const;
    // The folder that this one stands in; of a folder at the root, the mailbox.
    FolderName Parent() const;
    // Its last part.
    std::string Leaf() const;
    FolderName Child(const std::string& name) const;
};

// Throws Failure (usage) for a text that has fewer than three parts, an empty part, "." or "..", or that is longer than
// the library's name fields: those cut a name, and a cut name is another folder.
FolderName ParseFolderName(const std::string& text);
// The same, with POSTOFFICE/MAILBOX for the mailbox itself.
FolderName ParseMailboxOrFolder(const std::string& text);

// Throws Failure (usage) for a name that cannot be a directory of its own on every platform.
void CheckNewName(std::string_view what, std::string_view name);

// Where a folder lies by its name.
enum class FolderPlace {
    Mailbox,   // below the mailbox
    Public,    // "Public" and below: shared by the post office
    Files,     // "$FILEROOT" and below: the files of the mailbox
    Contacts,  // "$VCFROOT" and below: the address book of the post office
};
FolderPlace PlaceOf(const FolderName& name);

// What a folder holds by its name, with the numbers that the API has for it. A folder below the calendar, the tasks or the
// contacts holds mail.
enum class FolderKind : uint32_t { Mail = 0, Contacts = 1, Calendar = 2, Tasks = 3, Files = 4 };
FolderKind KindOf(const FolderName& name);
// Throws Failure (unavailable) for a folder of another kind.
void RequireMail(const FolderName& name);

}  // namespace vlstore

#endif
