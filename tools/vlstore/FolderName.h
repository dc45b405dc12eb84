// A folder as it is written on the command line: POSTOFFICE/MAILBOX/FOLDER, where FOLDER may have parts of its own.
#ifndef VLSTORE_FOLDERNAME_H
#define VLSTORE_FOLDERNAME_H

#include <string>
#include <string_view>
#include <vector>

namespace vlstore {

struct FolderName {
    std::string postoffice;
    std::string mailbox;
    std::string folder;  // with "/" between its parts

    std::string Str() const { return postoffice + "/" + mailbox + "/" + folder; }
    std::vector<std::string> FolderParts() const;
};

// Throws Failure (usage) for a text that has fewer than three parts, an empty part, "." or "..", or that is longer than
// the library's name fields: those cut a name, and a cut name is another folder.
FolderName ParseFolderName(const std::string& text);

// Throws Failure (usage) for a name that cannot be a directory of its own on every platform.
void CheckNewName(std::string_view what, std::string_view name);

// Where a folder lies by its name, and whether it holds mail.
enum class FolderPlace {
    Mailbox,      // below the mailbox
    Public,       // "Public" and below: shared by the post office
    SpecialRoot,  // $VCFROOT, $FILEROOT
};
FolderPlace PlaceOf(const FolderName& name);
// False for the calendar, the tasks and the contacts folder, and for the special roots. A folder below one of the three is mail.
bool HoldsMail(const FolderName& name);

}  // namespace vlstore

#endif
