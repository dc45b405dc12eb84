#include "persistence/ReplacedFile.h"

#include <algorithm>
#include <vector>

#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "locks/FlagFiles.h"
#include "persistence/IndexTags.h"

namespace velmora {

namespace {

using Item = IndexItemPropertyContainer;

// Items that are in no file yet and bear UIDs that the file has passed: others have given those too. Whether there were any.
bool GiveNewUids(SORTEDSTOREINDEXTYPE& index, uint32_t lastUidInFile)
{
    IndexTableContent& content = ContentOf(index);
    std::vector<Item*> ours;
    content.ByUID.ForEach([&](uint32_t uid, Item* item) {
        if (item->FileOffset == 0 && uid <= lastUidInFile) ours.push_back(item);
    });
    for (Item* const item : ours) {
        // Of a damaged file an item with no place in it may be one that the file holds.
        if (content.DamagedFile || index.LastUID == UINT32_MAX) break;
        const uint32_t uid = item->Uid();
        content.ByUID.Insert(++index.LastUID, item);
        item->SetNumber(IndexPropertyRef{kUidSlot, 1}, static_cast<int32_t>(index.LastUID));
        content.ByUID.Erase(uid);
    }
    return !ours.empty();
}

}  // namespace

bool RebuildsFromFiles(uint32_t indexKind) { return indexKind != kKindGroups && BackendFor(indexKind).rebuild != nullptr; }

void TakeOverReplacedFile(SORTEDSTOREINDEXTYPE& index, const std::string& folderPath, uint32_t indexKind, std::string_view head,
                          bool asLoaded)
{
    const bool damaged = ContentOf(index).DamagedFile;
    const uint32_t lastUid = damaged ? LastUidToldBy(head) : LastUidOfRoot(head);
    const bool tells = damaged ? lastUid != 0 : TellsLastUid(head);
    const bool othersAdded = lastUid > index.LastUID;
    index.LastUID = std::max(index.LastUID, lastUid);
    if (asLoaded) return;
    const bool renumbered = GiveNewUids(index, lastUid);
    if ((renumbered || othersAdded || !tells) && RebuildsFromFiles(indexKind)) MarkFolderDirty(folderPath.c_str());
}

}  // namespace velmora
