// Opening a folder: the copy in memory, the file, or a scan of the folder first.
//
// An open takes the block file only for the dirty check and lets it go; the load that follows takes it again for itself.
// A block that cannot be had is no error of the open: it goes on with what can be read without.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/FileStream.h"
#include "common/Mutex.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/ProcessState.h"
#include "frame/StorePaths.h"
#include "index/ChangeNotice.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "locks/FlagFiles.h"
#include "velmora/index.h"

namespace velmora {

IndexLoadArguments LoadArgumentsOf(STOREINDEXTYPE& index)
{
    IndexLoadArguments arguments;
    arguments.Owner = &index;
    arguments.FolderPath = index.Path;
    arguments.IndexKind = index.IndexKind;
    arguments.Postoffice = index.Postoffice;
    arguments.Mailbox = index.Mailbox;
    arguments.CheckDirty = 0;
    return arguments;
}

namespace {

constexpr uint32_t kOpenChecked = 1;
constexpr uint32_t kOpenRescan = 2;
constexpr uint32_t kOpenCheckedQuiet = 4;
constexpr uint32_t kOpenReload = 5;
constexpr uint32_t kOpenCheckedToo = 6;

constexpr uint32_t kAnnouncingMode = 4;      // of StoreEventNotificationMode
constexpr uint32_t kOpenNoticeFlags = 1023;  // goes out with an open's announcement

void AnnounceOpen(const STOREINDEXTYPE& index)
{
    if (Process().StoreEventNotificationMode != kAnnouncingMode) return;
    char mailboxDirectory[kStoreNameSize] = {};
    if (MailboxDirectoryOf(index.Path, mailboxDirectory)) NotifyClients(mailboxDirectory, index.Folder, "COMMIT", kOpenNoticeFlags);
}

// Kept: the whole path is compared, and no placed record has a path of one name. A host that fills Path itself can.
uint32_t NewMailOf(const STOREINDEXTYPE& index)
{
    if (index.IndexKind != kKindMail || Process().StoreEventNotificationMode == kAnnouncingMode) return 0;
    std::string_view path(index.Path);
    if (!path.empty() && path.front() == '\\') path.remove_prefix(1);
    if (!EqualsNoCase(path, "Inbox")) return 0;
    char mailboxDirectory[kStoreNameSize] = {};
    return MailboxDirectoryOf(index.Path, mailboxDirectory) ? TakeNewMailCounter(mailboxDirectory) : 0;
}

// The dirty check with the block held; true when the folder was scanned.
bool ScanIfDirty(STOREINDEXTYPE& index, uint32_t newCount, LateMark& mark)
{
    if (!BackendFor(index.IndexKind).scannedByOpen) return false;
    if (!StoreIndex_FolderNeedsScan(index.Path) && newCount == 0) return false;
    try {
        ScanStoreIndex(&index, kScanCallerHolds);
        mark.NoteScan();
        // What the scan has saved is not saved again: on a disk that has become full meanwhile, that would lose it.
        const bool pending = index.Table.FirstDirtyUID != 0 || index.Table.RewriteRequired != 0;
        if (pending && SaveIndex(index.Table, index.Path, index.IndexKind) == 0) MarkFolderDirty(index.Path);
    } catch (...) {
        // The flag that asked for the scan is gone.
        MarkFolderDirty(index.Path);
        throw;
    }
    StoreLog(kLogProgress, std::string("StoreIndex_Open::Performing StoreIndex_Scan(VL_STOREINDEX_CHECKDIRTY) on folder ") + index.Path);
    return true;
}

// Waits for the block and brings the index file in step with the folder; true when a scan was done.
bool CheckFolder(STOREINDEXTYPE& index, LateMark& mark)
{
    const uint32_t newCount = NewMailOf(index);
    HeldBlock block(BlockPathOf(index.Path, index.IndexKind));
    if (!block.Wait()) return false;

    const xMutexLock lock(index.Mutex);
    const bool scanned = ScanIfDirty(index, newCount, mark);
    // Mutex is still held here, so another thread that gets it finds the block free.
    // Kept: the line speaks of the scan, which need not have run, and comes also when the block has gone by itself; who
    // reads the output knows it so.
    if (block.Release() != BlockDelete::Deleted) PrintLine("ScanFoldersOrdered::Unable to remove blocking file");
    return scanned;
}

// Whether the copy in memory came from the file as it is now.
bool IsCurrent(const STOREINDEXTYPE& index)
{
    uint64_t known = 0;
    {
        const xMutexLock lock(index.Mutex);
        known = index.Table.IndexFileTime;
    }
    return known != 0 && ReadFileStamp(IndexFilePath(index.Path, index.IndexKind)).lastWrite == known;
}

// A message that was scanned and then inserted directly stands twice in the file and in the counts.
bool HasDoubledElements(const STOREINDEXTYPE& index)
{
    // Kept: group items are counted in the words of the folder's messages, so no load of them can tell those.
    return index.IndexKind != kKindGroups && index.Table.Content && index.Table.Content->DoubledIds;
}

uint64_t Reload(STOREINDEXTYPE& index, bool checkDirty)
{
    const xMutexLock lock(index.Mutex);
    StoreIndex_Reset(&index);
    if (!*index.Path) {
        StoreLog(kLogDetail, "StoreIndex_Open:: (Error) Attempted to open a blank folder name\n");
        return 0;
    }

    // Kept: a change that was not saved is lost here without a word; hosts save before they open again.
    index.Changed = 0;
    IndexLoadArguments arguments = LoadArgumentsOf(index);
    // The mark speaks of messages. Group items are in no file but this one: a rebuild would empty it, and take the mark away.
    arguments.CheckDirty = checkDirty && IsFoundByScan(index.IndexKind);
    const bool loaded = OpenIndexForLoad(index.Table, arguments, 3);
    if (!loaded || (HasDoubledElements(index) && !DropDoubledElements(index))) {
        DebugTrace(std::string("StoreIndex_Open::Error opening store index in: ") + index.Path + "\n");
        return 0;
    }
    StoreLog(kLogDetail, std::string("StoreIndex_Open::Loaded index for folder ") + index.Path);
    // Kept: _index.xml is measured, also for a folder's group items.
    index.IndexFileBytes = static_cast<int32_t>(std::min<uint64_t>(ReadFileStamp(IndexFilePath(index.Path, kKindMail)).size, INT32_MAX));
    EnsureLoadLevel(index.Table, 3);
    index.ItemCount = ItemCountOf(index.Table);
    index.LoadedLastUID = index.Table.LastUID;
    return 1;
}

void Rescan(STOREINDEXTYPE& index, LateMark& mark)
{
    const xMutexLock lock(index.Mutex);
    ScanStoreIndex(&index, kScanTakesBlock);
    mark.NoteScan();
    StoreLog(kLogProgress,
             std::string("StoreIndex_Open::Performing StoreIndex_Scan(VL_STOREINDEX_REINDEX) on folder ") + index.Path + "\n");
}

uint64_t OpenRecord(STOREINDEXTYPE& index, uint32_t mode)
{
    if (mode == kOpenChecked || mode == kOpenCheckedToo) AnnounceOpen(index);

    bool reload = mode == kOpenRescan || mode == kOpenReload;
    // Behind the reload, at the end.
    LateMark mark(index);
    if (mode == kOpenRescan) Rescan(index, mark);
    const bool checked = mode == kOpenChecked || mode == kOpenCheckedToo || mode == kOpenCheckedQuiet;
    // A record with no place would take a block and write an index at the root of the drive; the reload refuses it.
    if (checked) reload = !*index.Path || CheckFolder(index, mark);

    if (!reload && IsCurrent(index)) {
        StoreLog(kLogDetail, std::string("StoreIndex_Open::Using cached index for folder ") + index.Path);
        return 2;
    }
    return Reload(index, mode != kOpenReload);
}

void GetRecord(STOREINDEXTYPE& index)
{
    const IndexGet how = BackendFor(index.IndexKind).indexGet;
    if (how == IndexGet::Open) {
        ::StoreIndex_Open(&index, kOpenReload);
        return;
    }
    // As in an open: no folder, no block file.
    if (!*index.Path) return;
    const xMutexLock lock(index.Mutex);
    IndexLoadArguments arguments = LoadArgumentsOf(index);
    arguments.SkipIfLoaded = how == IndexGet::LoadOnce;
    OpenIndexForLoad(index.Table, arguments, 3);
}

}  // namespace
}  // namespace velmora

using namespace velmora;

uint64_t StoreIndex_Open(STOREINDEXTYPE* index, uint32_t mode)
{
    if (!index) {
        StoreLog(kLogDetail, "StoreIndex_Open::WARNING!: StoreIndex is NULL when passed to StoreIndex_Open");
        return 0;
    }
    uint64_t result = 0;
    GuardedRethrow("StoreIndex_Open", [&] { result = OpenRecord(*index, mode); });
    return result;
}

uint64_t StoreIndex_Get(STOREINDEXTYPE* index)
{
    if (!index) {
        WarnNullIndex("StoreIndex_Get");
        return 0;
    }
    // Kept: the answer is 1 whatever became of the load; a host looks at what is in the record.
    GuardedSwallow("StoreIndex_Get", [&] { GetRecord(*index); });
    return 1;
}
