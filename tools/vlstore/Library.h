// The store provider, loaded when a verb needs it and not before: its settings are read once, at the load, and the verb's
// arguments decide which settings file that is.
#ifndef VLSTORE_LIBRARY_H
#define VLSTORE_LIBRARY_H

#include "velmora/vlaisp.h"

namespace vlstore {

// The functions that the tool calls, under the types of the public headers. Valid until the process ends.
struct Library {
    decltype(&::StoreFolder_Open) folderOpen = nullptr;
    decltype(&::StoreFolder_Close) folderClose = nullptr;
    decltype(&::StoreFolder_Save) folderSave = nullptr;
    decltype(&::StoreFolder_SelectItem) selectItem = nullptr;
    decltype(&::StoreFolder_FindFirstItem) findFirstItem = nullptr;
    decltype(&::StoreFolder_FindNextItem) findNextItem = nullptr;
    decltype(&::StoreItem_GetProperty) getProperty = nullptr;
    decltype(&::StoreItem_SetProperty) setProperty = nullptr;
    decltype(&::StoreItem_FreeProperty) freeProperty = nullptr;
    decltype(&::StoreItemProperty_GetType) propertyType = nullptr;
    decltype(&::Direct_StoreIndex_InsertItem) insertItem = nullptr;
    decltype(&::Direct_StoreIndex_InsertItemEx) insertItemWithFlags = nullptr;
    decltype(&::Direct_StoreIndex_UpdateItem) updateItem = nullptr;
    decltype(&::Direct_StoreIndex_RemoveItem) removeItem = nullptr;
    decltype(&::StoreIndex_Init) indexInit = nullptr;
    decltype(&::StoreIndex_Get) indexGet = nullptr;
    decltype(&::StoreIndex_Save) indexSave = nullptr;
    decltype(&::StoreIndex_Release) indexRelease = nullptr;
    decltype(&::WaitForAccessToIndexFileEx) takeBlock = nullptr;
    decltype(&::UnBlockIndexFileAccessEx) releaseBlock = nullptr;
    decltype(&::StoreFolderAdd) folderAdd = nullptr;
    decltype(&::StoreFolderRemove) folderRemove = nullptr;
    decltype(&::StoreFolderEdit) folderEdit = nullptr;
    decltype(&::StoreFolderCopy) folderCopy = nullptr;
    decltype(&::StoreFolderGet_Ex) folderSize = nullptr;
    decltype(&::StoreFolder_ReIndexChildFolders) reindexFolders = nullptr;
    decltype(&::TLS_StoreFolderFindFirst) findFirstFolder = nullptr;
    decltype(&::TLS_StoreFolderFindNext) findNextFolder = nullptr;
    decltype(&::TLS_StoreFolderFindClose) closeFolderFind = nullptr;
    decltype(&::CreateTLSFolderList) createFolderList = nullptr;
    decltype(&::InitTLSFolderList) initFolderList = nullptr;
    decltype(&::FreeTLSFolderList) freeFolderList = nullptr;
    decltype(&::RemoveMailboxShares) removeMailboxShares = nullptr;
    decltype(&::GetCachedStatus) getCachedStatus = nullptr;
    decltype(&::StoreLibrary_ThreadRelease) threadRelease = nullptr;
};

// The library from its place beside the executable, else from where the loader looks. Throws Failure with the loader's
// reason, or with the name of the first function that it does not have.
Library LoadLibraryModule();

}  // namespace vlstore

#endif
