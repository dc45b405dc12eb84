// The exported functions on the items of the thread's open folder.
#include "velmora/item.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/StorePaths.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemOperations.h"
#include "items/CalendarDocument.h"
#include "items/PropertyTypes.h"
#include "provider/FolderAccess.h"

static_assert(VELMORA_NO_PROPERTY == velmora::kNoProperty);

namespace velmora {

namespace {

void TakeClass(STOREITEMTYPE& handle, const SharedIndex& index)
{
    if (handle.Class == kUnknownItemClass) handle.Class = index.IndexKind;
}

void TakeNamesOf(STOREITEMTYPE& handle, const SharedIndex& index)
{
    CopyBounded(handle.Folder, index.Folder);
    CopyBounded(handle.Postoffice, index.Postoffice);
    CopyBounded(handle.Mailbox, index.Mailbox);
}

// Fills what the handle does not say yet from its folder.
void CompleteHandle(STOREITEMTYPE& handle, const SharedIndex& index)
{
    if (!*handle.Postoffice) CopyBounded(handle.Postoffice, index.Postoffice);
    if (!*handle.Mailbox) CopyBounded(handle.Mailbox, index.Mailbox);
    if (!*handle.Folder) CopyBounded(handle.Folder, index.Folder);
    TakeClass(handle, index);
}

// The document that the thread has open in place of a folder.
CalendarObject* OpenDocumentOf(TLSStoreIndex* context)
{
    return context && context->CurrentFolderItem.Class == kKindCalendarDocument ? context->CalendarDocument.get() : nullptr;
}

struct PropertyAnswer {
    uint64_t status = 0;
    void* value = nullptr;
    uint64_t size = 0;
};

PropertyAnswer GetFromDocument(CalendarObject& document, const char* name)
{
    PropertyAnswer answer;
    answer.status = GetCalendarObjectProperty(document, name, &answer.value, &answer.size);
    return answer;
}

PropertyAnswer GetFromFolder(TLSStoreIndex& context, const SharedIndex& index, const char* name)
{
    STOREITEMTYPE& handle = context.CurrentFolderItem;
    if (!*handle.Postoffice) TakeNamesOf(handle, index);
    // Also behind a selection, which fills the names alone: back-ends find the item's file by its directory.
    ResolveItemPaths(handle);
    TakeClass(handle, index);
    PropertyAnswer answer;
    answer.status = ReadItemProperty(&handle, name, &answer.value, &answer.size);
    return answer;
}

// Hands an answer to the host; a host that has no place for the value gets the status alone.
uint64_t HandOver(const PropertyAnswer& answer, void** value, uint64_t* size)
{
    if (value)
        *value = answer.value;
    else
        std::free(answer.value);
    if (size) *size = answer.size;
    return answer.status;
}

uint64_t SelectInFolder(TLSStoreIndex& context, FolderAccess& folder, const char* itemId)
{
    SharedIndex& index = *folder.Index();
    CompleteHandle(context.CurrentFolderItem, index);
    folder.LoadInFull();
    return SelectItem(context.CurrentFolderItem, index, itemId) ? 1 : 0;
}

uint64_t SelectByField(TLSStoreIndex& context, FolderAccess& folder, const char* field, const char* value, uint32_t exact)
{
    SharedIndex& index = *folder.Index();
    CompleteHandle(context.CurrentFolderItem, index);
    folder.LoadInFull();
    return SelectItemByField(context.CurrentFolderItem, index, field, value, exact) ? 1 : 0;
}

uint64_t CreateItem(TLSStoreIndex& context, FolderAccess& folder, const char* itemId)
{
    SharedIndex& index = *folder.Index();
    CompleteHandle(context.CurrentFolderItem, index);
    if (index.Table.LoadLevel != 0) folder.LoadInFull();
    return SelectOrCreateItem(index, context.CurrentFolderItem, itemId);
}

// Kinds whose items a deletion takes out of the index.
bool IsDeletedFromIndex(uint32_t kind) { return kind <= kKindTasks; }

uint64_t DeleteItem(TLSStoreIndex& context, FolderAccess& folder, const char* itemId)
{
    SharedIndex& index = *folder.Index();
    STOREITEMTYPE& handle = context.CurrentFolderItem;
    // Kept: before anything is looked at, so that the next save runs also when nothing was deleted.
    index.Changed = 1;
    CompleteHandle(handle, index);
    if (!itemId || !*itemId) return 1;
    folder.LoadInFull();
    if (!SelectItem(handle, index, itemId)) return 0;
    ResolveItemPaths(handle);
    if (!IsDeletedFromIndex(handle.Class)) return 1;
    // Kept: the file first. When only one of the two goes, the next scan of the folder puts that right.
    (void)BackendFor(handle.Class).deleteItemFile(handle, itemId);
    RemoveItems(index.Table, std::vector<IndexItemPropertyContainer*>{handle.Item});
    handle.Item = nullptr;
    return 1;
}

uint64_t SaveCurrentItem(TLSStoreIndex& context, FolderAccess& folder)
{
    STOREITEMTYPE& handle = context.CurrentFolderItem;
    CompleteHandle(handle, *folder.Index());
    if (handle.Item) BackendFor(handle.Class).saveItem(folder.Index(), handle);
    return 1;
}

uint64_t BeginWalk(TLSStoreIndex& context, FolderAccess& folder)
{
    SharedIndex& index = *folder.Index();
    STOREITEMTYPE& handle = context.CurrentFolderItem;
    handle.Class = index.IndexKind;
    if (index.Table.LoadLevel == 0) return 0;
    folder.LoadInFull();
    context.WalkList.Reset();
    ListByUID(index.Table, context.WalkList.Items);
    WalkFirst(context.WalkList, handle);
    return handle.Item ? 1 : 0;
}

uint64_t ContinueWalk(TLSStoreIndex& context, FolderAccess& folder)
{
    STOREITEMTYPE& handle = context.CurrentFolderItem;
    handle.Class = folder.Index()->IndexKind;
    if (folder.Index()->Table.LoadLevel == 0) return 0;
    WalkNext(context.WalkList, handle);
    return handle.Item ? 1 : 0;
}

}  // namespace

}  // namespace velmora

using namespace velmora;

uint64_t StoreItem_GetProperty(const char* name, void** value, uint64_t* size)
{
    return GuardedEntry("StoreItem_GetProperty", uint64_t{0}, [&]() -> uint64_t {
        const char* const asked = name ? name : "";
        if (CalendarObject* const document = OpenDocumentOf(CurrentContext()))
            return HandOver(GetFromDocument(*document, asked), value, size);
        return WithOpenFolder("StoreItem_GetProperty", 0, [&](TLSStoreIndex& context, FolderAccess& folder) {
            return HandOver(GetFromFolder(context, *folder.Index(), asked), value, size);
        });
    });
}

uint64_t StoreItem_SetProperty(const char* itemId, const char* name, const void* value)
{
    return WithOpenFolder("StoreItem_SetProperty", 0, [&](TLSStoreIndex& context, FolderAccess& folder) -> uint64_t {
        SharedIndex& index = *folder.Index();
        STOREITEMTYPE& handle = context.CurrentFolderItem;
        TakeClass(handle, index);
        if (!*handle.Postoffice) TakeNamesOf(handle, index);
        if (index.Table.LoadLevel != 0) folder.LoadInFull();
        // Kept: whether the back-end stored it or not, the answer is 1.
        BackendFor(handle.Class).setProperty(&index, handle, itemId, name ? name : "", value);
        return 1;
    });
}

uint64_t StoreItem_FreeProperty(void* value)
{
    std::free(value);
    return 1;
}

uint64_t StoreItem_SaveToStore() { return WithOpenFolder("StoreItem_SaveToStore", 1, SaveCurrentItem); }

uint64_t StoreItemProperty_GetType(const char* name, uint32_t classHint)
{
    return GuardedEntry("StoreItemProperty_GetType", uint64_t{0}, [&]() -> uint64_t { return PropertyClientType(name, classHint); });
}

uint64_t StoreFolder_CreateItem(const char* itemId)
{
    return WithOpenFolder("StoreFolder_CreateItem", 0,
                          [&](TLSStoreIndex& context, FolderAccess& folder) { return CreateItem(context, folder, itemId); });
}

uint64_t StoreFolder_DeleteItem(const char* itemId)
{
    return WithOpenFolder("StoreFolder_DeleteItem", 0,
                          [&](TLSStoreIndex& context, FolderAccess& folder) { return DeleteItem(context, folder, itemId); });
}

uint64_t StoreFolder_SelectItemByField(const char* field, const char* value)
{
    return WithOpenFolder("StoreFolder_SelectItemByField", 0,
                          [&](TLSStoreIndex& context, FolderAccess& folder) { return SelectByField(context, folder, field, value, 0); });
}

uint64_t StoreFolder_SelectItemByField_Ex(const char* field, const char* value, uint32_t exact)
{
    return WithOpenFolder("StoreFolder_SelectItemByField_Ex", 0, [&](TLSStoreIndex& context, FolderAccess& folder) {
        return SelectByField(context, folder, field, value, exact);
    });
}

uint64_t StoreFolder_SelectItem(const char* itemId)
{
    return WithOpenFolder("StoreFolder_SelectItem", 0,
                          [&](TLSStoreIndex& context, FolderAccess& folder) { return SelectInFolder(context, folder, itemId); });
}

uint64_t StoreFolder_FindFirstItem()
{
    return GuardedEntry("StoreFolder_FindFirstItem", uint64_t{0}, []() -> uint64_t {
        if (CalendarObject* const document = OpenDocumentOf(CurrentContext())) {
            RewindCalendarObject(*document);
            return NextCalendarEvent(*document);
        }
        return WithOpenFolder("StoreFolder_FindFirstItem", 0, BeginWalk);
    });
}

uint64_t StoreFolder_FindNextItem()
{
    return GuardedEntry("StoreFolder_FindNextItem", uint64_t{0}, []() -> uint64_t {
        if (CalendarObject* const document = OpenDocumentOf(CurrentContext())) return NextCalendarEvent(*document);
        return WithOpenFolder("StoreFolder_FindNextItem", 0, ContinueWalk);
    });
}

uint64_t StoreFolder_FindClose()
{
    return GuardedEntry("StoreFolder_FindClose", uint64_t{1}, []() -> uint64_t {
        // Kept: the end of a walk gives up the thread's open of the folder as well.
        CloseThreadIndex(CurrentContext(), 1);
        return 1;
    });
}
