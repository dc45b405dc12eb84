#include "CachedCounts.h"

#include "FlagList.h"
#include "OpenFolder.h"
#include "Text.h"

namespace vlstore {

namespace {

constexpr CountName kCounts[] = {
    {"items", VELMORA_STATUS_ITEMS, true},
    {"seen", VELMORA_STATUS_SEEN, true},
    {"recent", VELMORA_STATUS_RECENT, true},
    {"answered", VELMORA_STATUS_ANSWERED, true},
    {"flagged", VELMORA_STATUS_FLAGGED, true},
    {"firstSeen", VELMORA_STATUS_FIRST_SEEN, true},
    {"addedSinceCount", VELMORA_STATUS_ADDED, false},
    {"newSinceCount", VELMORA_STATUS_NEW, false},
    {"lastUid", VELMORA_STATUS_LAST_UID, false},
};

// A flag counts wherever it stands in the text, as it does for the store.
bool Mentions(const std::string& flagStatus, std::string_view flag) { return UpperAscii(flagStatus).find(flag) != std::string::npos; }

}  // namespace

std::span<const CountName> CountNames() { return kCounts; }

std::optional<CachedCounts> CachedCounts::Read(const Store& store, const FolderName& name)
{
    CachedCounts counts;
    uint64_t read =
        store.Functions().getCachedStatus(name.postoffice.c_str(), name.mailbox.c_str(), name.folder.c_str(), counts.words_.data());
    if (read != 1) return std::nullopt;
    return counts;
}

CachedCounts CachedCounts::Compute(OpenFolder& folder)
{
    CachedCounts counts;
    auto& words = counts.words_;
    for (bool more = folder.First(); more; more = folder.Next()) {
        std::string flags = TextOf(folder.Get("PR_VL_FLAGSTATUS"));
        ++words[VELMORA_STATUS_ITEMS];
        if (Mentions(flags, kSeenFlag) || TextOf(folder.Get("PR_VL_READ")) == "1") {
            ++words[VELMORA_STATUS_SEEN];
            if (words[VELMORA_STATUS_FIRST_SEEN] == 0) words[VELMORA_STATUS_FIRST_SEEN] = words[VELMORA_STATUS_ITEMS];
        }
        if (Mentions(flags, "\\RECENT")) ++words[VELMORA_STATUS_RECENT];
        if (Mentions(flags, "\\ANSWERED")) ++words[VELMORA_STATUS_ANSWERED];
        if (Mentions(flags, "\\FLAGGED")) ++words[VELMORA_STATUS_FLAGGED];
    }
    return counts;
}

bool CachedCounts::IsOneInsertAfter(const CachedCounts& before) const
{
    // Whatever else is inserted meanwhile adds as much to the one as to the other. A full count sets the first to 0, and
    // every item that it takes up adds to the second: the two differ by one at least if ours is among them.
    uint32_t added = words_[VELMORA_STATUS_ADDED] - before.words_[VELMORA_STATUS_ADDED];
    uint32_t numbered = words_[VELMORA_STATUS_LAST_UID] - before.words_[VELMORA_STATUS_LAST_UID];
    return added == numbered && added >= 1 && added <= INT32_MAX;
}

}  // namespace vlstore
