#include "tests/faults/Counts.h"

#include <algorithm>
#include <map>

#include "common/Text.h"

namespace velmora::test {

namespace {

uint32_t UidOf(const Columns& columns) { return static_cast<uint32_t>(std::stoul(columns.at("UID"))); }

bool HasFlag(const Columns& columns, const char* flag)
{
    const auto flags = columns.find("FLAGSTATUS");
    return flags != columns.end() && ContainsNoCase(flags->second, flag);
}

bool IsSeen(const Columns& columns)
{
    const auto read = columns.find("READ");
    return (read != columns.end() && read->second == "1") || HasFlag(columns, "\\SEEN");
}

}  // namespace

std::optional<Counts> ReadCounts()
{
    Counts counts{};
    if (GetCachedStatus("po", "box", "INBOX", counts.data()) != 1) return std::nullopt;
    return counts;
}

Counts CountsOf(const Listing& listing)
{
    std::map<uint32_t, const Columns*> byUid;
    for (const auto& [id, columns] : listing) byUid[UidOf(columns)] = &columns;
    Counts counts{};
    for (const auto& [uid, columns] : byUid) {
        ++counts[VELMORA_STATUS_ITEMS];
        if (IsSeen(*columns)) {
            ++counts[VELMORA_STATUS_SEEN];
            if (counts[VELMORA_STATUS_FIRST_SEEN] == 0) counts[VELMORA_STATUS_FIRST_SEEN] = counts[VELMORA_STATUS_ITEMS];
        }
        if (HasFlag(*columns, "\\ANSWERED")) ++counts[VELMORA_STATUS_ANSWERED];
        if (HasFlag(*columns, "\\FLAGGED")) ++counts[VELMORA_STATUS_FLAGGED];
        if (HasFlag(*columns, "\\RECENT")) ++counts[VELMORA_STATUS_RECENT];
        counts[VELMORA_STATUS_LAST_UID] = uid;
    }
    return counts;
}

bool AreCountsOf(const Counts& counts, const Listing& listing, const std::vector<uint32_t>& words)
{
    Counts expected = CountsOf(listing);
    if (counts[VELMORA_STATUS_LAST_UID] > expected[VELMORA_STATUS_LAST_UID])
        expected[VELMORA_STATUS_LAST_UID] = counts[VELMORA_STATUS_LAST_UID];
    if (words.empty()) return counts == expected;
    return std::all_of(words.begin(), words.end(), [&](uint32_t word) { return counts[word] == expected[word]; });
}

std::string Text(const Counts& counts)
{
    std::string text;
    for (const uint32_t word : counts) text += (text.empty() ? "" : " ") + std::to_string(word);
    return text;
}

}  // namespace velmora::test
