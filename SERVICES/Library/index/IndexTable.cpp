#include "index/IndexTable.h"

#include <algorithm>
#include <memory>
#include <unordered_set>
#include <utility>

#include "common/Text.h"
#include "frame/Guard.h"
#include "index/IndexPersistence.h"

namespace velmora {

namespace {

// Words of _FOLDER.DAT that a full computation fills.
constexpr unsigned kAnswered = 3, kFlagged = 4, kFirstSeen = 5, kItems = 6, kSeen = 7, kRecent = 8, kLastUid = 11;

IndexPropertyRef SeqRef()
{
    static const IndexPropertyRef ref = IndexPropertyTable::LookUp(kSeq);
    return ref;
}

// Gives the item its UID, if it has none, and enters it in the two maps.
bool EnterInMaps(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer* item)
{
    const uint32_t given = item->Uid();
    if (given == 0) {
        // No UID is left to give; the insert fails as it does for a UID that is taken.
        if (table.LastUID == UINT32_MAX) return false;
        ++table.LastUID;
        item->SetNumber(IndexPropertyRef{kUidSlot, 1}, static_cast<int32_t>(table.LastUID));
    } else if (given > table.LastUID) {
        table.LastUID = given;
    }
    IndexTableContent& content = ContentOf(table);
    // Room in the sequence comes first, so that nothing can fail once the item is in the maps.
    if (content.Sequence.size() == content.Sequence.capacity()) content.Sequence.reserve(std::max<size_t>(16, content.Sequence.size() * 2));
    if (!content.ByUID.Insert(item->Uid(), item)) return false;
    try {
        if (content.ByID.Insert(item)) {
            item->Owner = &table;
            return true;
        }
    } catch (...) {
        content.ByUID.Erase(item->Uid());
        throw;
    }
    content.ByUID.Erase(item->Uid());
    return false;
}

// There is room in RemovedItems, so that nothing fails between the maps and the sequence.
void TakeFromMaps(IndexTableContent& content, IndexItemPropertyContainer* item) noexcept
{
    content.RemovedItems.push_back(item);
    content.ByUID.Erase(item->Uid());
    content.ByID.Erase(item->Id());
}

void TakeWithMark(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer* item) noexcept
{
    // Kept: the mark goes with its item, so changes to later items that were not saved yet are not written by the next
    // save in place; they live on in memory only. New items are found again by the writer.
    if (static_cast<int32_t>(item->Uid()) == table.FirstDirtyUID) table.FirstDirtyUID = 0;
    TakeFromMaps(*table.Content, item);
}

void NumberSequence(IndexTableContent& content)
{
    uint32_t seq = 0;
    for (IndexItemPropertyContainer* const item : content.Sequence) item->SetNumber(SeqRef(), static_cast<int32_t>(++seq));
}

void RemoveItemSet(SORTEDSTOREINDEXTYPE& table, const SelectionSet& set)
{
    IndexTableContent& content = ContentOf(table);
    const bool all = set.contains("*");
    content.RemovedItems.reserve(content.RemovedItems.size() + (all ? content.Sequence.size() : set.size()));
    for (const std::string& id : set)
        if (IndexItemPropertyContainer* const item = content.ByID.Find(id)) TakeWithMark(table, item);
    size_t kept = 0;
    for (IndexItemPropertyContainer* const item : content.Sequence) {
        if (all && content.ByID.Find(item->Id()) == item) TakeFromMaps(content, item);
        if (!all && !set.contains(item->Id())) content.Sequence[kept++] = item;
    }
    content.Sequence.resize(kept);
    NumberSequence(content);
}

void CountItem(const IndexItemPropertyContainer& item, IndexPropertyRef flagStatus, uint32_t (&details)[13])
{
    ++details[kItems];
    const std::string_view flags = item.View(flagStatus);
    const IndexPropertyRef read{kReadSlot, 1};
    if (ContainsNoCase(flags, "\\SEEN") || (item.Has(read) && item.GetNumber(read) == 1)) {
        ++details[kSeen];
        if (details[kFirstSeen] == 0) details[kFirstSeen] = details[kItems];
    }
    if (ContainsNoCase(flags, "\\ANSWERED")) ++details[kAnswered];
    if (ContainsNoCase(flags, "\\FLAGGED")) ++details[kFlagged];
    if (ContainsNoCase(flags, "\\RECENT")) ++details[kRecent];
}

}  // namespace

bool IsFileOfLoad(const SORTEDSTOREINDEXTYPE& table, const FileStamp& stamp)
{
    if (table.Content && table.Content->ReadAsDocument)
        return stamp.lastWrite == (table.Content->DamagedFile ? table.Content->DamagedFileTime : table.IndexFileTime);
    return stamp.lastWrite == table.IndexFileTime && static_cast<uint32_t>(stamp.size) == table.IndexFileSize;
}

IndexTableContent& ContentOf(SORTEDSTOREINDEXTYPE& table)
{
    if (!table.Content) table.Content = new IndexTableContent;
    return *table.Content;
}

uint32_t ItemCountOf(const SORTEDSTOREINDEXTYPE& table)
{
    return table.Content ? static_cast<uint32_t>(table.Content->Sequence.size()) : 0;
}

bool IsWritableId(std::string_view id)
{
    constexpr size_t kLongest = 980;
    return !id.empty() && id.size() <= kLongest && id.find_first_of("\">") == std::string_view::npos &&
           id.find_first_not_of('-') != std::string_view::npos;
}

bool InsertItem(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer* item)
{
    if (!IsWritableId(item->Id())) return false;
    item->SetNumber(SeqRef(), static_cast<int32_t>(ItemCountOf(table) + 1));
    if (!EnterInMaps(table, item)) return false;
    ContentOf(table).Sequence.push_back(item);
    MarkItemChanged(*item);
    return true;
}

bool InsertLoadedItem(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer* item) { return EnterInMaps(table, item); }

IndexItemPropertyContainer* FindLoadedItem(const SORTEDSTOREINDEXTYPE& table, std::string_view id)
{
    return table.Content ? table.Content->ByID.Find(id) : nullptr;
}

IndexItemPropertyContainer* FindItem(SORTEDSTOREINDEXTYPE& table, std::string_view id)
{
    EnsureLoadLevel(table, 3);
    return FindLoadedItem(table, id);
}

bool IsFreeId(const SORTEDSTOREINDEXTYPE& table, std::string_view id)
{
    constexpr int32_t kFull = 3;
    return IsWritableId(id) && table.LoadLevel >= kFull && table.LoadSelection.empty() && !FindLoadedItem(table, id);
}

bool RenameItem(SORTEDSTOREINDEXTYPE& table, IndexItemPropertyContainer& item, std::string_view id)
{
    if (!IsFreeId(table, id) || FindLoadedItem(table, item.Id()) != &item) return false;
    IdOrder& byId = ContentOf(table).ByID;
    byId.Erase(item.Id());
    try {
        item.SetText(IndexPropertyRef{kIdSlot, 0}, id);
    } catch (...) {
        // The place that it has just left is still there, so this takes no memory.
        byId.Insert(&item);
        throw;
    }
    byId.Insert(&item);
    if (item.FileOffset != 0) table.RewriteRequired = 1;
    MarkItemChanged(item);
    return true;
}

uint64_t RemoveItems(SORTEDSTOREINDEXTYPE& table, const char* idList)
{
    EnsureLoadLevel(table, 2);
    if (table.LoadLevel == 0) return 0;
    RemoveItemSet(table, MakeSelectionSet(TextOrEmpty(idList)));
    return 1;
}

void RemoveItems(SORTEDSTOREINDEXTYPE& table, const std::vector<IndexItemPropertyContainer*>& items)
{
    if (items.empty()) return;
    IndexTableContent& content = ContentOf(table);
    const std::unordered_set<const IndexItemPropertyContainer*> removed(items.begin(), items.end());
    content.RemovedItems.reserve(content.RemovedItems.size() + items.size());
    for (IndexItemPropertyContainer* const item : items) TakeWithMark(table, item);
    std::erase_if(content.Sequence, [&](const IndexItemPropertyContainer* item) { return removed.contains(item); });
    NumberSequence(content);
}

void AddStepAfterSave(SORTEDSTOREINDEXTYPE& table, const IndexItemPropertyContainer& item, std::function<void()> step)
{
    ContentOf(table).StepsAfterSave.push_back({&item, std::move(step)});
}

void RunStepsAfterSave(SORTEDSTOREINDEXTYPE& table)
{
    if (!table.Content) return;
    const std::vector<StepAfterSave> steps = std::exchange(table.Content->StepsAfterSave, {});
    for (const StepAfterSave& step : steps) {
        // Removed items are alive until the next load, and in no file.
        if (FindLoadedItem(table, step.item->Id()) == step.item) GuardedSwallow("RunStepsAfterSave", step.run);
    }
}

void ListByUID(SORTEDSTOREINDEXTYPE& table, std::vector<IndexItemPropertyContainer*>& list)
{
    EnsureLoadLevel(table, 3);
    list.clear();
    if (!table.Content) return;
    list.reserve(table.Content->ByUID.Count());
    table.Content->ByUID.ForEach([&](uint32_t, IndexItemPropertyContainer* item) { list.push_back(item); });
}

void ListByID(SORTEDSTOREINDEXTYPE& table, std::vector<IndexItemPropertyContainer*>& list)
{
    EnsureLoadLevel(table, 3);
    list.clear();
    if (table.Content) list = table.Content->ByID.Sorted();
}

uint64_t GetFolderDetails(SORTEDSTOREINDEXTYPE& table, uint32_t (&details)[13])
{
    uint64_t result = 0;
    GuardedRethrow("SORTEDSTOREINDEXTYPE::GetFolderDetails", [&] {
        if (!EnsureLoadLevel(table, 3)) return;
        std::fill(std::begin(details), std::end(details), 0u);
        details[kLastUid] = table.LastUID;
        const IndexPropertyRef flagStatus = IndexPropertyTable::LookUp(kFlagStatus);
        if (table.Content)
            table.Content->ByUID.ForEach([&](uint32_t, IndexItemPropertyContainer* item) { CountItem(*item, flagStatus, details); });
        result = 1;
    });
    return result;
}

void UnInit(SORTEDSTOREINDEXTYPE& table)
{
    GuardedSwallow("SORTEDSTOREINDEXTYPE::UnInit", [&] {
        ++table.LoadGeneration;
        if (const std::unique_ptr<IndexTableContent> content{table.Content}) {
            table.Content = nullptr;
            for (IndexItemPropertyContainer* const item : content->Sequence) delete item;
            for (IndexItemPropertyContainer* const item : content->RemovedItems) delete item;
        }
        table.LoadLevel = 0;
        table.LastUID = 0;
        table.FirstDirtyUID = 0;
        table.RewriteRequired = 0;
        table.IndexFileTime = 0;
    });
}

bool EnsureLoadLevel(SORTEDSTOREINDEXTYPE& table, int32_t level)
{
    if (table.LoadLevel >= level) return true;
    if (table.LastLoad.FolderPath.empty()) return false;
    return LoadIndex(table, IndexLoadArguments(table.LastLoad), level);
}

}  // namespace velmora
