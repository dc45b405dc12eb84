#include "tests/provider/CApi.h"

#include <string.h>

#include "velmora/vlaisp.h"

#define ENTRY(name)                 \
    {                               \
#name, (void (*)(void))name \
    }

const struct CApiEntry kCApi[] = {
    ENTRY(CreateTLSFolderList),
    ENTRY(Direct_StoreIndex_InsertItem),
    ENTRY(Direct_StoreIndex_InsertItemEx),
    ENTRY(Direct_StoreIndex_RemoveItem),
    ENTRY(Direct_StoreIndex_UpdateItem),
    ENTRY(FreeTLSFolderList),
    ENTRY(GetCachedStatus),
    ENTRY(GetStoreItemByMessageID),
    ENTRY(InitTLSFolderList),
    ENTRY(Memory_Allocate),
    ENTRY(Memory_Free),
    ENTRY(RemoveMailboxShares),
    ENTRY(ScanFolders),
    ENTRY(SetCachedStatus),
    ENTRY(SetLoggingFunction),
    ENTRY(StoreFolderAdd),
    ENTRY(StoreFolderCopy),
    ENTRY(StoreFolderEdit),
    ENTRY(StoreFolderFindClose),
    ENTRY(StoreFolderFindFirst),
    ENTRY(StoreFolderFindNext),
    ENTRY(StoreFolderGet),
    ENTRY(StoreFolderGetSize),
    ENTRY(StoreFolderGet_Ex),
    ENTRY(StoreFolderRemove),
    ENTRY(StoreFolder_Close),
    ENTRY(StoreFolder_CreateItem),
    ENTRY(StoreFolder_DeleteItem),
    ENTRY(StoreFolder_FindClose),
    ENTRY(StoreFolder_FindFirstItem),
    ENTRY(StoreFolder_FindNextItem),
    ENTRY(StoreFolder_GetContentsModificationDate),
    ENTRY(StoreFolder_GetHierarchyModificationDate),
    ENTRY(StoreFolder_Open),
    ENTRY(StoreFolder_OpenItem),
    ENTRY(StoreFolder_ReIndexChildFolders),
    ENTRY(StoreFolder_Save),
    ENTRY(StoreFolder_SelectItem),
    ENTRY(StoreFolder_SelectItemByField),
    ENTRY(StoreFolder_SelectItemByField_Ex),
    ENTRY(StoreGetDeliveredMessageCount),
    ENTRY(StoreIndex_Get),
    ENTRY(StoreIndex_GetItemPropertyItem),
    ENTRY(StoreIndex_Init),
    ENTRY(StoreIndex_InsertItem),
    ENTRY(StoreIndex_Open),
    ENTRY(StoreIndex_Release),
    ENTRY(StoreIndex_RemoveItem),
    ENTRY(StoreIndex_Save),
    ENTRY(StoreIndex_Scan),
    ENTRY(StoreIndex_SetItemPropertyItem),
    ENTRY(StoreIndex_SetPaths),
    ENTRY(StoreItemProperty_GetType),
    ENTRY(StoreItem_FreeProperty),
    ENTRY(StoreItem_GetProperty),
    ENTRY(StoreItem_SaveToStore),
    ENTRY(StoreItem_SetProperty),
    ENTRY(StoreLibrary_Init),
    ENTRY(StoreLibrary_SetAffinity),
    ENTRY(StoreLibrary_ThreadInit),
    ENTRY(StoreLibrary_ThreadRelease),
    ENTRY(StoreLibrary_UnInit),
    ENTRY(Store_Save),
    ENTRY(TLS_StoreFolderFindClose),
    ENTRY(TLS_StoreFolderFindFirst),
    ENTRY(TLS_StoreFolderFindNext),
    ENTRY(UnBlockIndexFileAccessEx),
    ENTRY(UnInitTLSFolderList),
    ENTRY(UnixTimeFromFileTime),
    ENTRY(UnixTimeToFileTime),
    ENTRY(WaitForAccessToIndexFileEx),
};

const size_t kCApiCount = sizeof(kCApi) / sizeof(kCApi[0]);

size_t ListFolderInC(const char* postoffice, const char* mailbox, const char* folder, char* subject, size_t size)
{
    size_t count = 0;
    uint64_t more;
    subject[0] = '\0';
    if (StoreFolder_Open(postoffice, mailbox, folder, 0, VELMORA_OPEN_NORMAL) == 0) return 0;
    for (more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem()) {
        void* value = NULL;
        uint64_t valueSize = 0;
        if (StoreItem_GetProperty("PR_SUBJECT", &value, &valueSize) != VELMORA_NO_PROPERTY && count == 0) {
            strncpy(subject, (const char*)value, size - 1);
            subject[size - 1] = '\0';
        }
        StoreItem_FreeProperty(value);
        ++count;
    }
    StoreFolder_Close();
    return count;
}
