// Bringing a folder's index in step with its files.
#include "common/Mutex.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "index/FolderKind.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "locks/FlagFiles.h"
#include "platform/win32.h"
#include "velmora/index.h"

namespace velmora {

LateMark::~LateMark()
{
    if (due_) MarkFolderDirty(index_.Path);
}

void LateMark::NoteScan() { due_ = index_.Table.Content && index_.Table.Content->ScanUnread; }

bool IsFoundByScan(uint32_t indexKind) { return indexKind != kKindGroups; }

uint64_t ScanStoreIndex(STOREINDEXTYPE* index, uint32_t scanMode)
{
    if (!index) {
        WarnNullIndex("StoreIndex_Scan");
        return 0;
    }
    _mkdir(index->Path);

    const xMutexLock lock(index->Mutex);
    // Kept: the name alone decides. A record that was opened for group items becomes a mail folder here, and a folder
    // below a contacts folder is mail.
    index->IndexKind = ClassifyFolderName(index->Folder);
    return BackendFor(index->IndexKind).scan(index, index->Table, index->Path, scanMode, 0);
}

}  // namespace velmora

using namespace velmora;

uint64_t StoreIndex_Scan(STOREINDEXTYPE* index)
{
    return GuardedEntry("StoreIndex_Scan", uint64_t{0}, [&] {
        if (!index) return ScanStoreIndex(nullptr, kScanTakesBlock);
        LateMark mark(*index);
        const uint64_t result = ScanStoreIndex(index, kScanTakesBlock);
        mark.NoteScan();
        return result;
    });
}
