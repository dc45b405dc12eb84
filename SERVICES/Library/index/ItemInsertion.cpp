#include "index/ItemInsertion.h"

#include <string_view>

#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/StorePaths.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/SelectionSet.h"
#include "velmora/index.h"

namespace velmora {

namespace {

// Words of the counts that a removal lowers.
constexpr unsigned kItems = 6, kSeen = 7, kNew = 9, kAdded = 10;

// Level at which what is not in memory is not in the folder, and the one below which nothing can be removed.
constexpr int32_t kFull = 3, kIdentifiers = 2;

// The words are signed where they are compared, as they are in the file.
void LowerCount(uint32_t& word)
{
    if (static_cast<int32_t>(word) > 0) --word;
}

void LowerCounts(uint32_t (&details)[13], std::string_view flags)
{
    LowerCount(details[kItems]);
    if (ContainsNoCase(flags, "SEEN")) LowerCount(details[kSeen]);
    if (ContainsNoCase(flags, "RECENT")) {
        LowerCount(details[kNew]);
        LowerCount(details[kAdded]);
    }
}

// Where the files of new items are looked for. Kept: once known it stays, as the directory of the record does.
void PlaceInsertItem(STOREINDEXTYPE& index)
{
    STOREITEMTYPE& handle = index.InsertItem;
    if (*handle.FolderPath) return;
    CopyBounded(handle.Postoffice, index.Postoffice);
    CopyBounded(handle.Mailbox, index.Mailbox);
    CopyBounded(handle.Folder, index.Folder);
    ResolveItemPaths(handle);
}

}  // namespace

uint64_t InsertItemFromFile(STOREINDEXTYPE& index, const char* itemId, uint32_t readHeaders, bool clearTempFlags, InsertionHeader& header)
{
    header.Size = 0;
    index.InsertItem.Item = nullptr;
    const std::string_view id = TextOrEmpty(itemId);
    if (id.empty()) return 1;
    PlaceInsertItem(index);
    // For every kind: who reads a property of the new item through this handle asks the back-end that made it.
    index.InsertItem.Class = index.IndexKind;
    const NewItemFile file{std::string(id), readHeaders, clearTempFlags};
    return BackendFor(index.IndexKind).insertFile(index, file, header) ? 1 : 0;
}

bool EnterNewItem(STOREINDEXTYPE& index, std::unique_ptr<IndexItemPropertyContainer> item)
{
    const bool taken = InsertItem(index.Table, item.get());
    index.InsertItem.Item = taken ? item.release() : nullptr;
    index.LoadedLastUID = index.Table.LastUID;
    return taken;
}

bool InsertBareItem(STOREINDEXTYPE& index, const NewItemFile& file, InsertionHeader&)
{
    auto item = std::make_unique<IndexItemPropertyContainer>();
    SetItemKeyProperty(*item, kId, file.id);
    EnterNewItem(index, std::move(item));
    return true;
}

uint64_t RemoveStoreItemByMessageID(STOREINDEXTYPE* index, const char* idList, uint32_t, InsertionHeader& header, uint32_t (*details)[13])
{
    header.Size = 0;
    if (!index) {
        WarnNullIndex("RemoveStoreItemByMessageID");
        return 0;
    }
    const SelectionSet ids = MakeSelectionSet(TextOrEmpty(idList));
    // Once for the whole list: on a folder that somebody holds each attempt would be refused anew.
    if (!ids.empty() && !EnsureLoadLevel(index->Table, kFull) && index->Table.LoadLevel < kIdentifiers) return 0;
    uint32_t size = 0;
    for (const std::string& id : ids) {
        const IndexItemPropertyContainer* const item = FindLoadedItem(index->Table, id);
        if (!item) continue;
        size += static_cast<uint32_t>(item->GetNumber(kSize));
        if (details) LowerCounts(*details, item->View(kFlagStatus));
    }
    header.Size = static_cast<int32_t>(size);
    return RemoveItems(index->Table, idList);
}

}  // namespace velmora

using namespace velmora;

uint64_t StoreIndex_InsertItem(STOREINDEXTYPE* index, const char* itemId, uint32_t readHeaders)
{
    return GuardedEntry("StoreIndex_InsertItem", uint64_t{0}, [&]() -> uint64_t {
        if (!index) {
            WarnNullIndex("StoreIndex_InsertItem");
            return 0;
        }
        InsertionHeader header;
        return InsertItemFromFile(*index, itemId, readHeaders, true, header);
    });
}

uint64_t StoreIndex_RemoveItem(STOREINDEXTYPE* index, const char* idList, uint32_t reserved)
{
    return GuardedEntry("StoreIndex_RemoveItem", uint64_t{0}, [&] {
        InsertionHeader header;
        return RemoveStoreItemByMessageID(index, idList, reserved, header, nullptr);
    });
}
