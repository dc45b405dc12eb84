// StoreFolder_Open, StoreFolder_OpenItem, the closes and the saves: what moves a thread's context from folder to folder.
#include "velmora/folder.h"

#include <string>

#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "frame/ProcessState.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/StoreIndexLife.h"
#include "items/CalendarDocument.h"
#include "platform/win32.h"
#include "provider/FolderAccess.h"
#include "velmora/index.h"

namespace velmora {

namespace {

constexpr int32_t kFullLoad = 3;
constexpr uint32_t kOpenChecked = 1;  // the mode of StoreIndex_Open

// What a host asks to be opened; the names are not null.
struct FolderName {
    const char* postoffice;
    const char* mailbox;
    const char* folder;
    uint32_t kind;
};

void TakeNames(TLSStoreIndex& context, const FolderName& name)
{
    CopyBounded(context.Postoffice, name.postoffice);
    CopyBounded(context.Mailbox, name.mailbox);
    CopyBounded(context.Folder, name.folder);
    context.CurrentFolderItem.Class = name.kind;
    CopyBounded(context.CurrentFolderItem.Folder, name.folder);
}

// "[postoffice][mailbox][folder]", then "[item]" for an item that is opened on its own, then with affinity 1 a number that
// tells threads apart: the low half of their context's address, as a signed number. Cut at 1,023 bytes.
// Kept: the names stand as the host spelt them, so two spellings of one folder make two records, which do not see each
// other's unsaved changes.
std::string RegistryKey(const TLSStoreIndex& context, const FolderName& name, const char* itemId)
{
    std::string key = std::string("[") + name.postoffice + "][" + name.mailbox + "][" + name.folder + "]";
    if (itemId) key += std::string("[") + itemId + "]";
    if (Process().StoreAffinity == 1)
        key += "[" + FormatSigned(static_cast<int32_t>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&context)))) + "]";
    if (key.size() >= kStoreNameSize) key.resize(kStoreNameSize - 1);
    return key;
}

// Puts the context under `key`. The end of the folder before has emptied its names, and what would be left of them would
// lead the back-ends into the wrong directory: context and handle start anew with the names of this call.
Attach AttachUnder(TLSStoreIndex& context, const FolderName& name, const std::string& key)
{
    TakeNames(context, name);
    STOREITEMTYPE& item = context.CurrentFolderItem;
    for (char* const field : {item.Postoffice, item.Mailbox, item.FolderPath}) *field = '\0';
    item.Item = nullptr;
    context.WalkList.Reset();
    context.Index.reset();
    CopyBounded(context.Key, key);
    return AttachSharedIndex(context);
}

// Gives a record its names and its directory, unless another thread that shares it was faster. True when it was done
// here. The caller holds IndexOpenMutex.
bool PlaceRecord(SharedIndex& index, const FolderName& name)
{
    if (*index.Path) return false;
    const RecordLock lock(index.Mutex);
    CopyBounded(index.Postoffice, name.postoffice);
    CopyBounded(index.Mailbox, name.mailbox);
    CopyBounded(index.Folder, name.folder);
    index.IndexKind = name.kind;
    StoreIndex_SetPaths(&index);
    return true;
}

// An exception of the open counts as its failure: nothing may be thrown out of an exported function.
uint64_t OpenIndexQuietly(SharedIndex& index)
{
    uint64_t opened = 0;
    try {
        opened = StoreIndex_Open(&index, kOpenChecked);
    } catch (...) {
        // StoreIndex_Open has reported it.
        LetAbandonedMutexGo(index.Mutex);
    }
    return opened;
}

// The open that a call has counted: it is given back unless the call comes to say that it stands.
class CountedOpen {
public:
    explicit CountedOpen(TLSStoreIndex& context) : context_(context) {}
    ~CountedOpen()
    {
        if (!kept_) CloseThreadIndex(&context_, 0);
    }
    CountedOpen(const CountedOpen&) = delete;
    CountedOpen& operator=(const CountedOpen&) = delete;
    void Keep() { kept_ = true; }

private:
    TLSStoreIndex& context_;
    bool kept_ = false;
};

uint64_t OpenRecord(SharedIndex& index, const FolderName& name, uint32_t mode)
{
    const ProcessLock opens(OpenMutex());
    if (!opens.Held()) return 0;
    PlaceRecord(index, name);
    if (mode == VELMORA_OPEN_UNLOADED) return 2;
    // Kept: 2, an index that is loaded already and up to date, becomes 1 here; 2 is what a thread's own second open answers.
    return OpenIndexQuietly(index) == 0 ? 0 : 1;
}

uint64_t OpenDocument(TLSStoreIndex& context)
{
    context.CalendarDocument = std::make_unique<CalendarObject>();
    return OpenCalendarObject(*context.CalendarDocument, DocumentSource(context));
}

uint64_t OpenFolder(TLSStoreIndex& context, const FolderName& name, uint32_t mode)
{
    TakeNames(context, name);
    if (name.kind == kKindCalendarDocument) return OpenDocument(context);

    const std::string key = RegistryKey(context, name, nullptr);
    if (HasOpenIndex(context)) {
        // Kept: nothing on disk is looked at, so what others have changed there since is not seen.
        if (key == context.Key && AddOpen(context)) {
            PrintLine("StoreFolder_Open::Piggybacking Index\n");
            return 2;
        }
        PrintLine("Thread superceeded current index. Closing Original and creating new\n");
        CloseThreadIndex(&context, 0);
    }
    if (AttachUnder(context, name, key) == Attach::Refused) return 0;

    // IndexOpenMutex is free again at a close: that takes the registry's mutex first, and two threads that took the two in
    // different orders would wait for each other for ever.
    CountedOpen counted(context);
    const uint64_t result = OpenRecord(*context.Index, name, mode);
    if (result != 0) counted.Keep();
    return result;
}

// ---- One item ----

bool IsLoaded(TLSStoreIndex& context)
{
    const FolderAccess folder(context);
    return folder.Index() && folder.Index()->Table.LoadLevel != 0;
}

// An empty table that counts as loaded, so that the item functions work on it. It stands for one item and not for the
// folder, and says so by its selection: otherwise a save would put it in the place of the whole index.
void MakeEmptyIndex(SharedIndex& index, const char* itemId)
{
    const RecordLock lock(index.Mutex);
    UnInit(index.Table);
    index.Table.LoadLevel = kFullLoad;
    index.Table.LoadSelection = itemId && *itemId ? itemId : "*";
}

uint64_t OpenItem(TLSStoreIndex& context, const FolderName& name, const char* itemId)
{
    TakeNames(context, name);
    const std::string key = RegistryKey(context, name, itemId);
    if (HasOpenIndex(context)) {
        // Kept: no open is counted here, so one close is enough for any number of these.
        if (key == context.Key && IsLoaded(context)) {
            OutputDebugStringA("StoreFolder_OpenItem::Piggybacking Index\n");
            return 2;
        }
        OutputDebugStringA("StoreFolder_OpenItem::Thread superceeded current index (folder change or thread change). Closing Original\n");
        CloseThreadIndex(&context, 0);
        context.Key[0] = '\0';
        context.Index.reset();
    }
    if (!OpenMutex()) return 1;
    if (AttachUnder(context, name, key) == Attach::Refused) {
        PrintLine("StoreFolder_OpenItem::Unable to LoadEmptyIndex");
        WarnNullIndex("StoreIndex_GetItem");
        return 1;
    }

    CountedOpen counted(context);
    const ProcessLock opens(OpenMutex());
    if (!opens.Held()) {
        counted.Keep();
        return 1;
    }
    SharedIndex& index = *context.Index;
    if (PlaceRecord(index, name)) MakeEmptyIndex(index, itemId);
    counted.Keep();
    STOREITEMTYPE& item = context.CurrentFolderItem;
    CopyBounded(item.Postoffice, context.Postoffice);
    CopyBounded(item.Mailbox, context.Mailbox);
    CopyBounded(item.Folder, context.Folder);
    CopyBounded(item.FolderPath, index.Path);
    // No kind reads a single item from its file yet, so none is current.
    OutputDebugStringA("StoreFolder_OpenItem::Loading Item from Backend into CurrentFolderItem");
    return 1;
}

// ---- Close ----

// Kept: behind an open of kind 5 a close is the document's, and an index that was open before it stays open.
void CloseFolder(TLSStoreIndex& context)
{
    if (context.CurrentFolderItem.Class != kKindCalendarDocument) {
        CloseThreadIndex(&context, 0);
        return;
    }
    if (context.CalendarDocument) CloseCalendarObject(*context.CalendarDocument);
    context.CalendarDocument.reset();
}

}  // namespace

}  // namespace velmora

using namespace velmora;

uint64_t StoreFolder_Open(const char* postoffice, const char* mailbox, const char* folder, uint32_t kind, uint32_t mode)
{
    return GuardedEntry("StoreFolder_Open", uint64_t{0}, [&]() -> uint64_t {
        TLSStoreIndex* const context = CurrentContext();
        if (!context || !postoffice || !mailbox || !folder) return 0;
        return OpenFolder(*context, {postoffice, mailbox, folder, kind}, mode);
    });
}

uint64_t StoreFolder_OpenItem(const char* postoffice, const char* mailbox, const char* folder, const char* itemId, uint32_t kind)
{
    return GuardedEntry("StoreFolder_OpenItem", uint64_t{0}, [&]() -> uint64_t {
        TLSStoreIndex* const context = CurrentContext();
        if (!context) return 0;
        const auto orEmpty = [](const char* text) { return text ? text : ""; };
        return OpenItem(*context, {orEmpty(postoffice), orEmpty(mailbox), orEmpty(folder), kind}, orEmpty(itemId));
    });
}

uint64_t StoreFolder_Close()
{
    return GuardedEntry("StoreFolder_Close", uint64_t{1}, []() -> uint64_t {
        if (TLSStoreIndex* const context = CurrentContext()) CloseFolder(*context);
        return 1;
    });
}

uint64_t StoreFolder_Save(uint32_t)
{
    return WithOpenFolder("StoreFolder_Save", 1,
                          [](TLSStoreIndex&, FolderAccess& folder) { return StoreIndex_SaveChanged(folder.Index()); });
}

uint64_t Store_Save(uint32_t)
{
    GuardedSwallow("Store_Save", [] {
        // A folder that cannot be saved does not keep the others from it.
        ForEachSharedIndex([](SharedIndex& index) {
            GuardedSwallow("Store_Save", [&] {
                const RecordLock lock(index.Mutex);
                StoreIndex_SaveChanged(&index);
            });
        });
    });
    return 1;
}
