// A record from its set-up to its release.
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "index/IndexTable.h"
#include "index/StoreIndexLife.h"
#include "index/StoreIndexSteps.h"
#include "platform/win32.h"
#include "velmora/index.h"

namespace velmora {

uint64_t StoreIndex_Reset(STOREINDEXTYPE* index)
{
    if (!index) {
        // Kept: the line names StoreIndex_Release, which is where hosts meet it.
        StoreLog(kLogDetail, "StoreIndex_Release::WARNING!: StoreIndex is NULL when passed to StoreIndex_Release\n");
        return 0;
    }
    index->InsertItem.Item = nullptr;
    GuardedSwallow("StoreIndex_Reset", [&] { UnInit(index->Table); });
    index->IndexFileBytes = 0;
    return 1;
}

namespace {

void EmptyRecord(STOREINDEXTYPE& index)
{
    UnInit(index.Table);
    // The next load of this record is of another folder.
    index.Table.LastLoad = {};
    index.Table.LoadSelection.clear();
    for (char* const text : {index.Path, index.Postoffice, index.Mailbox, index.Folder}) *text = 0;

    STOREITEMTYPE& insert = index.InsertItem;
    insert.Item = nullptr;
    for (char* const text : {insert.Postoffice, insert.Mailbox, insert.Folder, insert.FolderPath}) *text = 0;

    index.ItemCount = 0;
    index.IndexKind = 0;
    index.Changed = 0;
    index.LoadedLastUID = 0;
    index.IndexFileBytes = 0;
    index.RefCount = 0;
    for (uint32_t& word : index.CachedDetails) word = 0;
    index.Mutex = nullptr;  // Kept: forgotten and not closed; a record that has one is released first
}

}  // namespace
}  // namespace velmora

using namespace velmora;

uint64_t StoreIndex_Init(STOREINDEXTYPE* index)
{
    return GuardedEntry("StoreIndex_Init", uint64_t{0}, [&]() -> uint64_t {
        if (!index) {
            WarnNullIndex("StoreIndex_Init");
            return 0;
        }
        EmptyRecord(*index);
        return 1;
    });
}

uint64_t StoreIndex_Release(STOREINDEXTYPE* index)
{
    return GuardedEntry("StoreIndex_Release", uint64_t{0}, [&]() -> uint64_t {
        if (!index) return 0;
        StoreIndex_Reset(index);
        if (index->Mutex) CloseHandle(index->Mutex);
        index->Mutex = nullptr;
        return 1;
    });
}
