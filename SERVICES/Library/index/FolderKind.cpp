#include "index/FolderKind.h"

#include <string_view>

#include "common/Text.h"
#include "index/ItemBackend.h"

namespace velmora {
namespace {

struct NamedKind {
    std::string_view name;
    uint32_t kind;
};

constexpr NamedKind kNamedKinds[] = {
    {"CALENDAR", kKindCalendar},
    {"TASKS", kKindTasks},
    {"CONTACTS", kKindContacts},
};

}  // namespace

uint32_t ClassifyFolderName(const char* folder)
{
    // Kept: no name at all is a calendar; hosts that pass null for the default calendar rely on it.
    if (!folder) return kKindCalendar;
    std::string_view name(folder);
    while (!name.empty() && IsPathSeparator(name.front())) name.remove_prefix(1);
    for (const NamedKind& named : kNamedKinds)
        if (EqualsNoCase(name, named.name)) return named.kind;
    return kKindMail;
}

}  // namespace velmora
