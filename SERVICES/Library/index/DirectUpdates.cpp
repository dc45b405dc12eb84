// The direct calls: one change to a folder that nobody has open, from the block to the size files.
//
// The record is the call's own and has no Mutex, so the block file is the only lock. Everything that a call writes it
// writes under the block, the cached counts and the sizes too: otherwise the next holder's counts could be written over by
// those that this call has read before.
#include <algorithm>
#include <string>
#include <string_view>

#include "common/FileManagement.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "index/CachedDetails.h"
#include "index/DirectorySize.h"
#include "index/FlagChanges.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemInsertion.h"
#include "index/ListEntries.h"
#include "index/SelectionSet.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "locks/FlagFiles.h"
#include "velmora/direct.h"
#include "velmora/index.h"

namespace velmora {
namespace {

constexpr int32_t kHeaderLevel = 1;
constexpr int32_t kFullLevel = 3;
constexpr uint32_t kReadHeaders = 1;
constexpr char kGroupsFlag[] = "$VLGROUP";
constexpr char kSizeForm[] = "SIZE=";

enum Word : unsigned { kAnswered = 3, kFlagged = 4, kItems = 6, kSeen = 7, kNew = 9, kAdded = 10, kLastUid = 11 };

enum class Holding : uint32_t { ByName = 0, ByHandle = 1 };

// The words are signed, and a file may hold any number: they stop at the last one.
void AddTo(uint32_t& word, int32_t change)
{
    word = static_cast<uint32_t>(
        static_cast<int32_t>(std::clamp(int64_t{static_cast<int32_t>(word)} + change, int64_t{INT32_MIN}, int64_t{INT32_MAX})));
}

// The counters that a change of flags moves.
struct CountedFlag {
    const char* name;
    Word word;
};
constexpr CountedFlag kCountedFlags[] = {{"SEEN", kSeen}, {"FLAGGED", kFlagged}, {"ANSWERED", kAnswered}};

// A folder for the length of one call: its record, its block and its counts. Whatever ends the scope lets the block go.
class DirectFolder {
public:
    DirectFolder(const char* postoffice, const char* mailbox, const char* folder, Holding holding)
        : postoffice_(postoffice), mailbox_(mailbox), folder_(folder), holding_(holding)
    {
        StoreIndex_Init(&record_);
    }
    ~DirectFolder()
    {
        if (begun_) GuardedSwallow("StoreIndex_SaveAndClose", [&] { SaveAndClose(false, nullptr, {}); });
        StoreIndex_Release(&record_);
    }
    DirectFolder(const DirectFolder&) = delete;
    DirectFolder& operator=(const DirectFolder&) = delete;

    STOREINDEXTYPE& Record() { return record_; }
    uint32_t (&Details())[kDetailWords] { return details_; }

    // Takes the block, loads, and reads the counts.
    [[nodiscard]] bool Begin(int32_t level)
    {
        begun_ = StoreIndex_BeginTransaction(record_, postoffice_, mailbox_, folder_, static_cast<uint32_t>(holding_), handle_, level) != 0;
        if (begun_) ReadDetails();
        return begun_;
    }

    uint64_t SaveAndClose(bool commit, uint32_t (*details)[kDetailWords], const std::function<void()>& lastStep)
    {
        begun_ = false;  // the end lets the block go, also by an exception
        if (!detailsKnown_) MarkDirty();
        return StoreIndex_SaveAndClose(record_, commit, static_cast<uint32_t>(holding_), handle_, detailsKnown_ ? details : nullptr,
                                       lastStep);
    }

    // Kept: in the record's directory, where they were read. A commit writes them below the mailbox, which is not the same
    // place for a folder that stands elsewhere.
    void WriteDetails()
    {
        if (detailsKnown_ && !ReplaceCachedDetails(DetailsPath(), details_)) MarkDirty();
    }
    void AdjustSizes(int64_t kilobytes) const { AdjustDirectorySize(postoffice_, mailbox_, kilobytes, folder_); }

    void MarkDirty() noexcept
    {
        if (!IsFoundByScan(record_.IndexKind)) return;
        // Its place may be what could not be had.
        if (!*record_.Path) StoreIndex_SetPaths(&record_);
        if (*record_.Path) MarkFolderDirty(record_.Path);
    }

private:
    std::string DetailsPath() const { return std::string(record_.Path) + "\\" + kCachedDetailsFile; }

    // Words that no file has start from the items, where all of them are in memory, and else from zero. Nothing starts from a
    // file that cannot be read now: it stays as it is, or all items are counted, and a scan counts again.
    void ReadDetails()
    {
        const SORTEDSTOREINDEXTYPE& table = record_.Table;
        const bool whole = table.LoadLevel == kFullLevel && table.LoadSelection.empty();
        if (whole) GetFolderDetails(record_.Table, details_);
        // Doubled elements were counted twice, and this save is the last that knows of them.
        if (whole && table.Content && table.Content->DoubledIds) return;
        const std::string path = DetailsPath();
        detailsKnown_ = ReadCachedDetails(path, details_) || whole || !FileManagement::MayExist(path);
    }

    STOREINDEXTYPE record_;
    const char* const postoffice_;
    const char* const mailbox_;
    const char* const folder_;
    const Holding holding_;
    void* handle_ = nullptr;
    bool begun_ = false;
    uint32_t details_[kDetailWords] = {};
    bool detailsKnown_ = true;
};

// ---- Insert ----

// Whether there can ever be an item of that name: the index can carry it, and its kind has files of such names.
bool CanBeItem(uint32_t indexKind, std::string_view id)
{
    const auto takesName = BackendFor(indexKind).takesName;
    return IsWritableId(id) && (!takesName || takesName(id));
}

// One call's entries into an index whose header is loaded, and what they come to.
class Insertion {
public:
    Insertion(DirectFolder& folder, const char* flagList) : folder_(folder), hasFlags_(flagList != nullptr)
    {
        // Kept: "SEEN" anywhere in the list counts for every entry, and no entry takes it back; nor what one message said.
        if (ContainsNoCase(TextOrEmpty(flagList), "SEEN")) header_.Read = 1;
    }

    void Insert(std::string_view id, std::string_view flags)
    {
        STOREINDEXTYPE& record = folder_.Record();
        // Such a name undoes nothing, and no mark helps it: it is as if it did not stand in the list.
        if (!id.empty() && !CanBeItem(record.IndexKind, id)) return;
        header_.TempFlags = flags;
        lastResult_ = 1;
        if (id.empty()) return;

        lastResult_ = InsertItemFromFile(record, std::string(id).c_str(), kReadHeaders, !hasFlags_, header_);
        if (lastResult_ == 1)
            kilobytes_ += RoundedKilobytes(header_.Size);
        else
            failed_ = true;
        // A new item holds no change that its own file lacks.
        if (record.InsertItem.Item) ClearVlStatus(*record.InsertItem.Item);
        Count();
    }

    bool LastSucceeded() const { return lastResult_ == 1; }
    bool AnyFailed() const { return failed_; }
    int64_t Kilobytes() const { return kilobytes_; }

private:
    // Kept: also for an entry that failed.
    void Count()
    {
        uint32_t(&details)[kDetailWords] = folder_.Details();
        // The record's own word is that of its last insertion, and 0 while there was none.
        details[kLastUid] = folder_.Record().Table.LastUID;
        AddTo(details[kItems], 1);
        AddTo(details[kNew], 1);
        AddTo(details[kAdded], 1);
        if (header_.Read == 1) AddTo(details[kSeen], 1);
    }

    DirectFolder& folder_;
    const bool hasFlags_;
    InsertionHeader header_;
    uint64_t lastResult_ = 0;
    bool failed_ = false;
    int64_t kilobytes_ = 0;
};

uint64_t InsertEntries(DirectFolder& folder, const char* idList, const char* flagList)
{
    if (!folder.Begin(kHeaderLevel)) {
        folder.MarkDirty();
        return 0;
    }
    Insertion insertion(folder, flagList);
    ListEntries ids(TextOrEmpty(idList));
    ListEntries flags(TextOrEmpty(flagList));
    while (ids.HasMore()) insertion.Insert(ids.Take(), flags.Take());
    // Not quietly, and in front of the save: without memory for the mark the answer must not be 1, and nothing in the index.
    if (insertion.AnyFailed() && IsFoundByScan(folder.Record().IndexKind)) MarkFolderDirty(folder.Record().Path);
    // Kept: the last entry that can be an item decides. What came in before it is in the folder's files, and a scan finds it there.
    return folder.SaveAndClose(insertion.LastSucceeded(), &folder.Details(), [&] { folder.AdjustSizes(insertion.Kilobytes()); });
}

uint64_t InsertDirectly(const char* postoffice, const char* mailbox, const char* folder, const char* idList, const char* flagList)
{
    DirectFolder direct(postoffice, mailbox, folder, Holding::ByHandle);
    // Kept: a folder has one file of counts, and its groups are counted there like messages, with a LastUID of their own.
    if (ContainsNoCase(TextOrEmpty(flagList), kGroupsFlag)) direct.Record().IndexKind = kKindGroups;
    try {
        return InsertEntries(direct, idList, flagList);
    } catch (...) {
        direct.MarkDirty();
        throw;
    }
}

// ---- Update ----

// A selection of nothing means all to a load; a list of commas alone says the same, and its table stands for the file.
void Select(STOREINDEXTYPE& record, const SelectionSet& set, std::string_view list)
{
    if (!set.empty()) record.Table.LoadSelection = list;
}

void ChangeFlags(IndexItemPropertyContainer& item, const char* change)
{
    std::string flags;
    item.GetText(kFlagStatus, flags);
    if (ApplyFlagChanges(flags, change)) SetItemProperty(item, kFlagStatus, flags);
}

// Kept: the counters follow the text of the change, so they move for a flag that an item had already as well, and one of
// them can go below zero.
void CountChange(uint32_t (&details)[kDetailWords], std::string_view change)
{
    const int32_t sign = change.find('-') != std::string_view::npos ? -1 : 1;
    for (const CountedFlag& flag : kCountedFlags)
        if (ContainsNoCase(change, flag.name)) AddTo(details[flag.word], sign);
}

uint64_t UpdateDirectly(const char* postoffice, const char* mailbox, const char* folder, const char* idList, const char* change)
{
    DirectFolder direct(postoffice, mailbox, folder, Holding::ByName);
    const std::string_view list = TextOrEmpty(idList);
    const SelectionSet ids = MakeSelectionSet(list);
    Select(direct.Record(), ids, list);
    if (!direct.Begin(kFullLevel)) return 0;

    const std::string_view text = TextOrEmpty(change);
    const bool givesSize = text.starts_with(kSizeForm);
    bool found = false;
    for (const std::string& id : ids) {
        IndexItemPropertyContainer* const item = FindItem(direct.Record().Table, id);
        if (!item) continue;
        found = true;
        if (givesSize) {
            SetItemProperty(*item, kSize, text.substr(sizeof kSizeForm - 1));
            continue;
        }
        if (!change) continue;
        ChangeFlags(*item, change);
        CountChange(direct.Details(), text);
    }
    return direct.SaveAndClose(found, nullptr, [&] { direct.WriteDetails(); });
}

// ---- Remove ----

// The entries of a list, cut as they are taken: what a load chooses must be what is removed then.
std::string CutList(std::string_view list)
{
    std::string cut;
    for (ListEntries entries(list); entries.HasMore();) {
        if (!cut.empty()) cut += ',';
        cut += entries.Take();
    }
    return cut;
}

// Kept: "*" empties the index and lowers no count and no size. These follow the IDs, and there is none of that name.
uint64_t RemoveDirectly(const char* postoffice, const char* mailbox, const char* folder, const char* idList)
{
    DirectFolder direct(postoffice, mailbox, folder, Holding::ByHandle);
    const std::string list = CutList(TextOrEmpty(idList));
    Select(direct.Record(), MakeSelectionSet(list), list);
    if (!direct.Begin(kFullLevel)) return 0;

    InsertionHeader header;
    int64_t kilobytes = 0;
    for (ListEntries ids(list); ids.HasMore();) {
        const std::string id(ids.Take());
        if (id.empty()) continue;
        if (RemoveStoreItemByMessageID(&direct.Record(), id.c_str(), 1, header, &direct.Details()) != 0)
            kilobytes -= RoundedKilobytes(header.Size);
    }
    return direct.SaveAndClose(true, &direct.Details(), [&] {
        direct.AdjustSizes(kilobytes);
        direct.WriteDetails();
    });
}

}  // namespace
}  // namespace velmora

using namespace velmora;

uint64_t Direct_StoreIndex_InsertItemEx(const char* postoffice, const char* mailbox, const char* folder, const char* idList,
                                        const char* flagList)
{
    return GuardedEntry("Direct_StoreIndex_InsertItemEx", uint64_t{0},
                        [&] { return InsertDirectly(postoffice, mailbox, folder, idList, flagList); });
}

uint64_t Direct_StoreIndex_InsertItem(const char* postoffice, const char* mailbox, const char* folder, const char* idList)
{
    return GuardedEntry("Direct_StoreIndex_InsertItem", uint64_t{0},
                        [&] { return InsertDirectly(postoffice, mailbox, folder, idList, nullptr); });
}

uint64_t Direct_StoreIndex_UpdateItem(const char* postoffice, const char* mailbox, const char* folder, const char* idList,
                                      const char* change)
{
    return GuardedEntry("Direct_StoreIndex_UpdateItem", uint64_t{0},
                        [&] { return UpdateDirectly(postoffice, mailbox, folder, idList, change); });
}

uint64_t Direct_StoreIndex_RemoveItem(const char* postoffice, const char* mailbox, const char* folder, const char* idList)
{
    return GuardedEntry("Direct_StoreIndex_RemoveItem", uint64_t{0}, [&] { return RemoveDirectly(postoffice, mailbox, folder, idList); });
}
