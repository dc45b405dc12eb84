#include "folders/FolderNames.h"

#include <algorithm>
#include <iterator>

#include "common/Text.h"
#include "velmora/folders.h"

namespace velmora {

namespace {

constexpr const char* kWellKnownNames[] = {"Inbox",    "Outbox", "Deleted Items", "Sent Items", "Calendar",
                                           "Contacts", "Drafts", "Journal",       "Notes",      "Tasks"};

}  // namespace

bool IsRootFolderPath(const char* folderPath) { return IsPathSeparator(folderPath[0]) && folderPath[1] == 0; }

const char* WellKnownFolderName(const char* name)
{
    const auto* const known =
        std::find_if(std::begin(kWellKnownNames), std::end(kWellKnownNames), [&](const char* row) { return EqualsNoCase(name, row); });
    return known == std::end(kWellKnownNames) ? name : *known;
}

bool IsNoFolderName(std::string_view name) { return name.find_first_not_of(". \t\n\r") == std::string_view::npos; }

bool IsChildName(std::string_view name)
{
    return !IsNoFolderName(name) && name.size() < sizeof StoreFolderRecord::FolderName &&
           std::none_of(name.begin(), name.end(), IsPathSeparator);
}

bool SanitiseFolderName(std::string& name)
{
    const std::string given = name;
    for (char& c : name) {
        const auto byte = static_cast<unsigned char>(c);
        const bool stays = byte == '\t' || byte == '\n' || byte == '\r' || (byte >= 32 && byte <= 127);
        if (!stays) c = '_';
    }
    // What ends a name in the file.
    for (size_t at = name.find("]]>"); at != std::string::npos; at = name.find("]]>", at)) name[at + 2] = '_';
    return name != given;
}

}  // namespace velmora
