// Getting changes back to the disk: save, commit, and the save of changed items before it.
#include <string>
#include <vector>

#include "common/FileStream.h"
#include "common/Mutex.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/StorePaths.h"
#include "index/IndexItem.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "locks/FlagFiles.h"
#include "platform/Clock.h"
#include "platform/win32.h"
#include "velmora/index.h"
#include "velmora/status.h"

namespace velmora {
namespace {

// ---- Save ----

// The record's block file, taken with one attempt.
class RecordBlock {
public:
    explicit RecordBlock(STOREINDEXTYPE& index) : index_(index), held_(AcquireIndexBlock(index)) {}
    ~RecordBlock()
    {
        if (held_) ReleaseIndexBlock(index_);
    }
    RecordBlock(const RecordBlock&) = delete;
    RecordBlock& operator=(const RecordBlock&) = delete;
    bool Held() const { return held_; }

private:
    STOREINDEXTYPE& index_;
    bool held_;
};

// Writes the index with the block held.
uint64_t WriteUnderBlock(STOREINDEXTYPE& index)
{
    if (ReadFileStamp(IndexFilePath(index.Path, index.IndexKind)).lastWrite != index.Table.IndexFileTime)
        StoreLog(kLogDetail,
                 FormatText("StoreIndex_Save::Warning: Store Index was modified while being transacted for folder: %s\n", index.Path));
    // Kept: this road always writes _index.xml, also from a record of group items.
    const uint64_t saved = SaveIndex(index.Table, index.Path, kKindMail);
    if (saved != 0) RunStepsAfterSave(index.Table);
    return saved;
}

// ---- Commit ----

void RefreshCachedDetails(STOREINDEXTYPE& index)
{
    // A table of chosen items cannot tell the counts of the folder.
    if (!index.Table.LoadSelection.empty()) return;
    GetFolderDetails(index.Table, index.CachedDetails);
    SetCachedStatus(index.Postoffice, index.Mailbox, index.Folder, index.CachedDetails);
}

// `status` is right at every moment, so that an exception in a later step does not take it away.
void CommitRecord(STOREINDEXTYPE& index, uint64_t& status)
{
    if (index.Changed != 1) {
        status = 2;
        return;
    }
    if (!*index.Path) {
        PrintLine("WARNING!: StoreIndex Folder has not been set. Commit is ignored\n");
        return;
    }
    const MutexLock lock(index.Mutex, kWaitForever);
    if (!lock.Held()) {
        const std::string text = FormatText("StoreIndex_Commit:: Was abandoned due to mutex timeout %s\n", index.Path);
        DebugTrace(text);
        ReportStoreEvent(text);
        return;
    }
    status = SaveRecord(index);
    RefreshCachedDetails(index);
    StoreLog(kLogProgress, FormatText("StoreIndex_Commit::Committed Index for folder %s\n", index.Path));
}

// ---- Changed items ----

constexpr uint64_t kUnixEpochFileTime = 116444736000000000ull;  // 1970-01-01
constexpr uint64_t kFileTimePerSecond = 10000000ull;

std::string UnixSecondsNow()
{
    const uint64_t now = platform::NowFileTime();
    return FormatSigned(now < kUnixEpochFileTime ? 0 : static_cast<int64_t>((now - kUnixEpochFileTime) / kFileTimePerSecond));
}

// The last write of the item's file as a DOS date (high half) and time (low half); empty when there is no file.
std::string DosStampOfFile(STOREITEMTYPE& handle)
{
    ResolveItemPaths(handle);
    const std::string path = std::string(handle.FolderPath) + "\\" + std::string(handle.Item->Id());
    const uint64_t lastWrite = ReadFileStamp(path).lastWrite;
    if (lastWrite == 0) return {};
    const FILETIME time{static_cast<DWORD>(lastWrite), static_cast<DWORD>(lastWrite >> 32)};
    WORD date = 0;
    WORD timeOfDay = 0;
    if (!FileTimeToDosDateTime(&time, &date, &timeOfDay)) return "0";
    return FormatSigned((int64_t{date} << 16) | timeOfDay);
}

void SaveFlaggedItems(STOREINDEXTYPE& index)
{
    std::vector<IndexItemPropertyContainer*> items;
    ListByUID(index.Table, items);

    STOREITEMTYPE handle;
    CopyBounded(handle.Postoffice, index.Postoffice);
    CopyBounded(handle.Mailbox, index.Mailbox);
    CopyBounded(handle.Folder, index.Folder);
    handle.Class = index.IndexKind;
    const ItemBackend& backend = BackendFor(index.IndexKind);
    for (IndexItemPropertyContainer* const item : items) {
        if (!item->Has(kVlStatus)) continue;
        ClearVlStatus(*item);
        handle.Item = item;
        backend.saveItem(&index, handle);
        const std::string stamp = backend.stampsFromFile ? DosStampOfFile(handle) : UnixSecondsNow();
        if (!stamp.empty()) SetItemProperty(*item, kModifiedDate, stamp);
    }
}

}  // namespace

uint64_t SaveRecord(STOREINDEXTYPE& index)
try {
    const xMutexLock lock(index.Mutex);
    if (index.Table.LoadLevel == 0) return 0;
    // Kept: a record with no directory has nowhere to be saved to. That counts as saved, and hosts go on.
    if (!*index.Path) {
        index.Changed = 0;
        return 1;
    }
    CreateDirectoryA(index.Path, nullptr);

    uint64_t saved = 0;
    const RecordBlock block(index);
    if (block.Held())
        saved = WriteUnderBlock(index);
    else
        StoreLog(kLogDetail, FormatText("StoreIndex_Save::Error - Unable to lock index for folder %s\n", index.Path));
    if (saved != 0) {
        index.Changed = 0;
        return saved;
    }
    StoreLog(kLogDetail, FormatText("StoreIndex_Save::Error - Unable to save index for folder %s\n", index.Path));
    MarkFolderDirty(index.Path);
    return 0;
} catch (...) {
    // No memory is a failed save like any other.
    if (*index.Path) MarkFolderDirty(index.Path);
    throw;
}

bool DropDoubledElements(STOREINDEXTYPE& index)
{
    const RecordBlock block(index);
    if (!block.Held()) return true;
    // What came between the load and the block is in the file alone.
    if (!IsFileOfLoad(index.Table, ReadFileStamp(IndexFilePath(index.Path, index.IndexKind)))) return true;
    index.Table.RewriteRequired = 1;
    if (SaveIndex(index.Table, index.Path, index.IndexKind) == 0) {
        // The table in memory is whole, whatever became of the file.
        MarkFolderDirty(index.Path);
        return true;
    }
    RefreshCachedDetails(index);
    // Under the same block, so that the table has the stamp of what has just been written.
    IndexLoadArguments arguments = LoadArgumentsOf(index);
    arguments.NoBlock = 1;
    const bool loaded = OpenIndexForLoad(index.Table, arguments, 3);
    index.Table.LastLoad.NoBlock = 0;
    return loaded;
}

uint64_t StoreIndex_Commit(STOREINDEXTYPE* index)
{
    if (!index) {
        WarnNullIndex("StoreIndex_Commit");
        return 0;
    }
    uint64_t status = 0;
    GuardedSwallow("StoreIndex_Commit", [&] { CommitRecord(*index, status); });
    return status;
}

uint64_t StoreIndex_SaveChanged(STOREINDEXTYPE* index)
{
    if (!index) return 1;
    const xMutexLock lock(index->Mutex);
    if (index->Table.LoadLevel == 0 || index->Changed != 1) return 1;
    try {
        SaveFlaggedItems(*index);
    } catch (...) {
        if (*index->Path) MarkFolderDirty(index->Path);
        throw;
    }
    StoreIndex_Commit(index);
    // Kept: a commit that failed is not tried again from memory; the flag that it left makes the next open rescan.
    index->Changed = 0;
    return 1;
}

}  // namespace velmora

using namespace velmora;

uint64_t StoreIndex_Save(STOREINDEXTYPE* index)
{
    return GuardedEntry("StoreIndex_Save", uint64_t{0}, [&] { return index ? SaveRecord(*index) : uint64_t{0}; });
}
