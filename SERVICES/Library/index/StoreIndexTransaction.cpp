// A change to a folder that nobody has open: take the block, load as little as will do, change, save, let go.
//
// The record is the caller's own and has no Mutex; the block file is the only lock. Between begin and end it is held
// by its handle (keepHandle 1) or only by its name (keepHandle 0), where anybody may delete it.
#include <string>
#include <utility>

#include "common/FileStream.h"
#include "common/Mutex.h"
#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/StorePaths.h"
#include "index/CachedDetails.h"
#include "index/ChangeNotice.h"
#include "index/FolderKind.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "locks/BlockFile.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"
#include "velmora/index.h"
#include "velmora/locks.h"

namespace velmora {
namespace {

constexpr int32_t kFullLevel = 3;
constexpr uint32_t kTransactionNoticeFlags = 255;  // goes out with a transaction's announcement

void PlaceRecord(STOREINDEXTYPE& index, const char* postoffice, const char* mailbox, const char* folder)
{
    CopyBounded(index.Postoffice, TextOrEmpty(postoffice));
    CopyBounded(index.Mailbox, TextOrEmpty(mailbox));
    CopyBounded(index.Folder, TextOrEmpty(folder));
    if (index.IndexKind != kKindGroups) index.IndexKind = ClassifyFolderName(folder);
    index.Changed = 0;
    index.Path[0] = 0;
    index.LoadedLastUID = 0;
    index.Mutex = nullptr;  // Kept: not closed, whoever made it has it still; a direct change's own record never has one
    ::StoreIndex_SetPaths(&index);
}

std::string MailboxDirectory(const char* postoffice, const char* mailbox)
{
    char root[kStoreNameSize] = {};
    ResolvePostofficeRoot(root, sizeof(root), postoffice);
    return std::string(root) + "\\MAILROOT\\" + mailbox;
}

// Kept: always below the mailbox, by the folder's name as it was given. The counts of a folder that stands elsewhere
// ($VCFROOT, Public) do not go there, and nowhere at all when the mailbox has no directory of that name. False when older
// counts may stand there now.
bool WriteDetails(STOREINDEXTYPE& index, uint32_t (*details)[kDetailWords])
{
    if (ContainsNoCase(index.Folder, "$FILEROOT")) return true;
    uint32_t computed[kDetailWords] = {};
    if (!details) {
        if (!index.Table.LoadSelection.empty()) return true;
        if (!GetFolderDetails(index.Table, computed)) return false;
        details = &computed;
    }
    const std::string path = MailboxDirectory(index.Postoffice, index.Mailbox) + "\\" + index.Folder + "\\" + kCachedDetailsFile;
    return ReplaceCachedDetails(path, *details);
}

// What comes behind the save, or instead of one. It cannot turn the answer: whoever is told that a change was not made comes
// again with what the index has already. Where it breaks off, a scan makes up for it.
template <typename Step>
void RunBehindSave(const STOREINDEXTYPE& index, Step step)
{
    bool done = false;
    GuardedSwallow("StoreIndex_SaveAndClose", [&] { done = step(); });
    if (!done && IsFoundByScan(index.IndexKind)) MarkFolderDirty(index.Path);
}

void CommitTransaction(STOREINDEXTYPE& index, uint32_t (*details)[kDetailWords])
try {
    // The directory is there: the block file stands in it.
    StoreLog(kLogProgress, FormatText("StoreIndex_SaveAndClose::Committing Index for folder %s\n", index.Path));
    const xMutexLock lock(index.Mutex);
    const uint64_t lastWrite = ReadFileStamp(IndexFilePath(index.Path, index.IndexKind)).lastWrite;
    const uint64_t saved = SaveIndex(index.Table, index.Path, index.IndexKind);
    if (saved != 0) RunStepsAfterSave(index.Table);
    const bool changedMeanwhile = lastWrite != index.Table.IndexFileTime;
    if (changedMeanwhile)
        StoreLog(kLogProgress, FormatText("StoreIndex_SaveAndClose::Failed to commit index for folder %s. Index was changed while being "
                                          "transacted. Folder will be marked as dirty.\n",
                                          index.Path));
    if (!changedMeanwhile && saved != 0) {
        RunBehindSave(index, [&] {
            const bool written = WriteDetails(index, details);
            StoreLog(kLogProgress, FormatText("StoreIndex_SaveAndClose::SetCacheDetailsToFile for folder %s\n", index.Path));
            return written;
        });
        return;
    }
    StoreLog(kLogProgress,
             FormatText("StoreIndex_SaveAndClose::Failed to commit index for folder %s. Folder will be marked as dirty.\n", index.Path));
    // Kept: the line is the same for group items, which the mark would not bring back.
    if (IsFoundByScan(index.IndexKind)) MarkFolderDirty(index.Path);
} catch (...) {
    // How far it came is not known.
    if (IsFoundByScan(index.IndexKind)) MarkFolderDirty(index.Path);
    throw;
}

// Lets a transaction's block go at the end of the scope, whatever happened in it.
class TransactionBlock {
public:
    TransactionBlock(const STOREINDEXTYPE& index, uint32_t keepHandle, void*& handle)
        : path_(BlockPathOf(index.Path, index.IndexKind)), keepHandle_(keepHandle), handle_(handle)
    {
    }
    ~TransactionBlock()
    {
        if (held_) ::UnBlockIndexFileAccessEx(path_.text, keepHandle_, &handle_);
    }
    TransactionBlock(const TransactionBlock&) = delete;
    TransactionBlock& operator=(const TransactionBlock&) = delete;
    // One attempt.
    [[nodiscard]] bool Take() { return held_ = ::WaitForAccessToIndexFileEx(path_.text, 1, &handle_) != 0; }
    // It is held already, by the begin of the transaction.
    void TakeOver() { held_ = true; }
    void KeepHeld() { held_ = false; }

private:
    BlockPath path_;
    uint32_t keepHandle_;
    void*& handle_;
    bool held_ = false;
};

}  // namespace

uint64_t StoreIndex_BeginTransaction(STOREINDEXTYPE& index, const char* postoffice, const char* mailbox, const char* folder,
                                     uint32_t keepHandle, void*& handle, int32_t level)
{
    PlaceRecord(index, postoffice, mailbox, folder);
    // Without memory for a path the block would be taken at the root of the drive.
    if (!*index.Path) return 0;
    // Kept: in every notification mode, where an open announces only in mode 4. Clients learn of deliveries by this alone.
    if (mailbox) NotifyClients(MailboxDirectory(index.Postoffice, mailbox).c_str(), index.Folder, "COMMIT", kTransactionNoticeFlags);

    TransactionBlock block(index, keepHandle, handle);
    if (!block.Take()) return 0;
    if (keepHandle == 0) {
        // The caller's word keeps the handle's value, which tells it that a block was had; nothing uses it any more.
        void* closing = handle;
        CloseBlockHandle(closing);
    }

    const xMutexLock lock(index.Mutex);
    IndexLoadArguments arguments = LoadArgumentsOf(index);
    arguments.NoBlock = 1;
    if (!OpenIndexForLoad(index.Table, arguments, level)) return 0;
    // A chosen item that stands twice in the file can only be saved with all the others.
    if (!index.Table.LoadSelection.empty() && index.Table.Content && index.Table.Content->DoubledIds) {
        index.Table.LoadSelection.clear();
        if (!OpenIndexForLoad(index.Table, arguments, kFullLevel)) return 0;
    }
    block.KeepHeld();
    return 1;
}

uint64_t StoreIndex_SaveAndClose(STOREINDEXTYPE& index, bool commit, uint32_t keepHandle, void*& handle, uint32_t (*details)[kDetailWords],
                                 const std::function<void()>& lastStep)
{
    ::StoreIndex_SetPaths(&index);
    TransactionBlock block(index, keepHandle, handle);
    block.TakeOver();
    if (commit) CommitTransaction(index, details);
    if (lastStep)
        RunBehindSave(index, [&] {
            lastStep();
            return true;
        });
    return 1;
}

}  // namespace velmora
