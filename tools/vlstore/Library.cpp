#include "Library.h"

#include <filesystem>
#include <string>

#include "ExitCode.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

template <typename Function>
void Resolve(void* module, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(FindSymbol(module, name));
    if (!function) throw Failure(ExitCode::Unavailable, InstalledModulePath().filename().string() + " has no function " + name);
}

void* OpenStoreModule()
{
    std::error_code ignored;
    fs::path beside = InstalledModulePath();
    std::string reason;
    void* module = OpenModule(fs::exists(beside, ignored) ? beside : beside.filename(), reason);
    if (!module) throw Failure(ExitCode::Unavailable, "cannot load the store library: " + reason);
    return module;
}

}  // namespace

Library LoadLibraryModule()
{
    void* module = OpenStoreModule();
    Library library;
    Resolve(module, "StoreFolder_Open", library.folderOpen);
    Resolve(module, "StoreFolder_Close", library.folderClose);
    Resolve(module, "StoreFolder_Save", library.folderSave);
    Resolve(module, "StoreFolder_SelectItem", library.selectItem);
    Resolve(module, "StoreFolder_FindFirstItem", library.findFirstItem);
    Resolve(module, "StoreFolder_FindNextItem", library.findNextItem);
    Resolve(module, "StoreItem_GetProperty", library.getProperty);
    Resolve(module, "StoreItem_SetProperty", library.setProperty);
    Resolve(module, "StoreItem_FreeProperty", library.freeProperty);
    Resolve(module, "StoreItemProperty_GetType", library.propertyType);
    Resolve(module, "Direct_StoreIndex_InsertItem", library.insertItem);
    Resolve(module, "Direct_StoreIndex_InsertItemEx", library.insertItemWithFlags);
    Resolve(module, "Direct_StoreIndex_UpdateItem", library.updateItem);
    Resolve(module, "Direct_StoreIndex_RemoveItem", library.removeItem);
    Resolve(module, "StoreIndex_Init", library.indexInit);
    Resolve(module, "StoreIndex_Get", library.indexGet);
    Resolve(module, "StoreIndex_Save", library.indexSave);
    Resolve(module, "StoreIndex_Release", library.indexRelease);
    Resolve(module, "WaitForAccessToIndexFileEx", library.takeBlock);
    Resolve(module, "UnBlockIndexFileAccessEx", library.releaseBlock);
    Resolve(module, "StoreFolderAdd", library.folderAdd);
    Resolve(module, "StoreFolderRemove", library.folderRemove);
    Resolve(module, "StoreFolderEdit", library.folderEdit);
    Resolve(module, "StoreFolderCopy", library.folderCopy);
    Resolve(module, "StoreFolderGet_Ex", library.folderSize);
    Resolve(module, "StoreFolder_ReIndexChildFolders", library.reindexFolders);
    Resolve(module, "TLS_StoreFolderFindFirst", library.findFirstFolder);
    Resolve(module, "TLS_StoreFolderFindNext", library.findNextFolder);
    Resolve(module, "TLS_StoreFolderFindClose", library.closeFolderFind);
    Resolve(module, "CreateTLSFolderList", library.createFolderList);
    Resolve(module, "InitTLSFolderList", library.initFolderList);
    Resolve(module, "FreeTLSFolderList", library.freeFolderList);
    Resolve(module, "RemoveMailboxShares", library.removeMailboxShares);
    Resolve(module, "GetCachedStatus", library.getCachedStatus);
    Resolve(module, "StoreLibrary_ThreadRelease", library.threadRelease);
    return library;
}

}  // namespace vlstore
