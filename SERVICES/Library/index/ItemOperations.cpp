#include "index/ItemOperations.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "common/Mutex.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/StorePaths.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "locks/FlagFiles.h"
#include "velmora/index.h"

namespace velmora {

namespace {

// Status of a get that found something.
constexpr uint64_t kAnswered = 2;

using HandleField = char (STOREITEMTYPE::*)[kStoreNameSize];
struct ContextProperty {
    std::string_view name;
    HandleField field;
};
constexpr ContextProperty kContextProperties[] = {
    {"VL_MAILBOX", &STOREITEMTYPE::Mailbox},
    {"VL_POSTOFFICE", &STOREITEMTYPE::Postoffice},
    {"VL_FOLDER", &STOREITEMTYPE::Folder},
    {"VL_FOLDER_PATH", &STOREITEMTYPE::FolderPath},
};

const char* ContextText(STOREITEMTYPE& handle, std::string_view name)
{
    for (const ContextProperty& property : kContextProperties) {
        if (!EqualsNoCase(property.name, name)) continue;
        // A selection fills the names alone. Without names there is no directory either.
        if (property.field == &STOREITEMTYPE::FolderPath && *handle.Postoffice) ResolveItemPaths(handle);
        return handle.*property.field;
    }
    return "";
}

// Whether an index file can carry a column of that name: hosts of some kinds name columns themselves, and what the reader
// would not take for a tag would cost the folder its index.
bool IsColumnName(std::string_view name)
{
    constexpr size_t kLongestColumn = 1000;  // the reader knows tags of up to 1,023 bytes
    if (name.empty() || name.size() > kLongestColumn) return false;
    // The reader takes a tag by how it begins.
    if (name.starts_with("ELEMENT") || name.starts_with("BASEELEMENT")) return false;
    for (const char c : name)
        if (static_cast<unsigned char>(c) <= ' ' || std::string_view("<>&\"'/!?").find(c) != std::string_view::npos) return false;
    return true;
}

bool HasValue(const IndexItemPropertyContainer& item, std::string_view column, std::string_view value)
{
    std::string present;
    return item.GetText(column, present) && present == value;
}

// What an item of a table is found by. Its maps hold the item under the value that it came in with, so a UID stays and an ID
// is moved by the table.
bool IsKeyOfTable(std::string_view column) { return column == kId || column == kUid; }

// Whether `value` may become the key of `item`, or of the item of `table` that is to be made with the ID `itemId`.
bool IsAllowedKey(const SORTEDSTOREINDEXTYPE* table, const IndexItemPropertyContainer* item, std::string_view itemId,
                  std::string_view column, std::string_view value)
{
    if (item && (!item->Owner || HasValue(*item, column, value))) return true;
    if (column != kId) return false;
    return (!item && value == itemId) || (table && IsFreeId(*table, value));
}

bool WriteColumn(IndexItemPropertyContainer& item, bool key, const char* name, std::string_view text)
{
    if (item.Owner && std::string_view(name) == kId && item.Id() != text) return RenameItem(*item.Owner, item, text);
    return key ? SetItemKeyProperty(item, name, text) : SetItemProperty(item, name, text);
}

}  // namespace

void WalkFirst(ItemWalk& walk, STOREITEMTYPE& handle)
{
    walk.Position = 0;
    WalkNext(walk, handle);
}

void WalkNext(ItemWalk& walk, STOREITEMTYPE& handle)
{
    handle.Item = walk.Position < walk.Items.size() ? walk.Items[walk.Position++] : nullptr;
}

uint64_t SelectOrCreateItem(STOREINDEXTYPE& index, STOREITEMTYPE& handle, const char* itemId)
{
    if (index.Table.LoadLevel == 0) return 0;
    if (SelectItem(handle, index, itemId) || !itemId || !*itemId) return 1;

    const xMutexLock lock(index.Mutex);
    auto item = std::make_unique<IndexItemPropertyContainer>();
    if (!SetItemKeyProperty(*item, kId, itemId) || !InsertItem(index.Table, item.get())) return 0;
    handle.Item = item.release();
    return 1;
}

bool SelectItem(STOREITEMTYPE& handle, STOREINDEXTYPE& index, const char* itemId)
{
    handle.Item = FindItem(index.Table, TextOrEmpty(itemId));
    return handle.Item != nullptr;
}

bool SelectItemByField(STOREITEMTYPE& handle, STOREINDEXTYPE& index, const char* field, const char* value, uint32_t exact)
{
    if (!field || !value) return false;
    const xMutexLock lock(index.Mutex);
    std::vector<IndexItemPropertyContainer*> items;
    ListByUID(index.Table, items);
    // Behind the load, which may be the first to learn the name.
    const IndexPropertyRef column = IndexPropertyTable::Find(field);
    const std::string_view wanted = value;
    std::string text;
    for (IndexItemPropertyContainer* const item : items) {
        if (!item->GetText(column, text)) continue;
        if (exact != 0 ? text != wanted : !EqualsNoCase(text, wanted)) continue;
        handle.Item = item;
        return true;
    }
    return false;
}

uint64_t GetContextProperty(STOREITEMTYPE* handle, const char* name, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    if (!handle) return kNoProperty;
    const char* const text = ContextText(*handle, TextOrEmpty(name));
    if (!*text) return kNoProperty;

    const size_t bytes = std::strlen(text) + 1;
    *value = std::malloc(bytes);
    if (!*value) return kNoProperty;
    std::memcpy(*value, text, bytes);
    *size = bytes;
    return kAnswered;
}

uint64_t ReadItemProperty(STOREITEMTYPE* handle, const char* name, void** value, uint64_t* size)
{
    *value = nullptr;
    *size = 0;
    if (!handle) return kNoProperty;
    const uint64_t status = BackendFor(handle->Class).getProperty(*handle, name ? name : "", value, size);
    // An item's place in the store is read by the same call as its columns.
    return status == kNoProperty ? GetContextProperty(handle, name, value, size) : status;
}

uint64_t WriteColumnValue(STOREINDEXTYPE* index, STOREITEMTYPE& handle, const char* itemId, const char* column, const char* value)
{
    if (!column) return 0;
    const bool key = *column == '@';
    const char* const name = key ? column + 1 : column;
    const std::string_view id = TextOrEmpty(itemId);
    const std::string_view text = TextOrEmpty(value);
    // Everything that refuses the write comes before the item is made for it.
    const bool fetches = index && (!id.empty() || !handle.Item);
    if (!IsColumnName(name) || !IndexPropertyTable::CanHold(name) || (fetches && index->Table.LoadLevel == 0)) return 0;
    const IndexItemPropertyContainer* const known = IsKeyOfTable(name) && fetches ? FindItem(index->Table, id) : handle.Item;
    const SORTEDSTOREINDEXTYPE* const table = index ? &index->Table : known ? known->Owner : nullptr;
    if (IsKeyOfTable(name) && !IsAllowedKey(table, known, id, name, text)) return 0;

    if (fetches && SelectOrCreateItem(*index, handle, itemId) == 0) return 0;
    if (!handle.Item || !WriteColumn(*handle.Item, key, name, text)) return 0;

    if (index) {
        index->Changed = 1;
        MarkCachedTransactions(index->Path);
    }
    // The next save writes the item's own file.
    SetItemProperty(*handle.Item, kVlStatus, "1");
    return 1;
}

}  // namespace velmora

using namespace velmora;

uint64_t StoreIndex_GetItemPropertyItem(STOREITEMTYPE* item, const char* name, void** value, uint64_t* size)
{
    void* answer = nullptr;
    uint64_t answerSize = 0;
    const uint64_t status =
        GuardedEntry("StoreIndex_GetItemPropertyItem", kNoProperty, [&] { return ReadItemProperty(item, name, &answer, &answerSize); });
    if (value)
        *value = answer;
    else
        std::free(answer);
    if (size) *size = answerSize;
    return status;
}

uint64_t StoreIndex_SetItemPropertyItem(STOREITEMTYPE* item, const char* itemId, const char* name, const void* value)
{
    return GuardedEntry("StoreIndex_SetItemPropertyItem", uint64_t{0}, [&]() -> uint64_t {
        if (!item) return 0;
        return BackendFor(item->Class).setProperty(nullptr, *item, itemId ? itemId : "", name ? name : "", value);
    });
}
