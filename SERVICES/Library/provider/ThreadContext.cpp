#include "provider/ThreadContext.h"

#include <new>

#include "common/Text.h"
#include "frame/ProcessState.h"
#include "frame/StorePaths.h"
#include "platform/Threads.h"
#include "platform/win32.h"

namespace velmora {

namespace {

void DestroyContext(TLSStoreIndex* context)
{
    TlsSetValue(Process().TLSFolderContextSlot, nullptr);
    delete context;
}

}  // namespace

TLSStoreIndex* TLSStoreIndex_Init(uint32_t slot)
{
    if (slot == kNoTlsSlot) return nullptr;
    auto* const context = new (std::nothrow) TLSStoreIndex;
    if (!context) {
        OutputDebugStringA("TLSStoreIndex_Init::Unable to allocate STOREINDEXTYPE structure\n");
        return nullptr;
    }
    if (!TlsSetValue(slot, context)) {
        delete context;
        return nullptr;
    }
    platform::ArmThreadEndHook();
    return context;
}

TLSStoreIndex* GetTLSStoreIndex(uint32_t slot)
{
    if (slot == kNoTlsSlot) return nullptr;
    void* const value = TlsGetValue(slot);
    return value ? static_cast<TLSStoreIndex*>(value) : TLSStoreIndex_Init(slot);
}

TLSStoreIndex* CurrentContext() { return GetTLSStoreIndex(Process().TLSFolderContextSlot); }

TLSStoreIndex* ExistingContext()
{
    const uint32_t slot = Process().TLSFolderContextSlot;
    return slot == kNoTlsSlot ? nullptr : static_cast<TLSStoreIndex*>(TlsGetValue(slot));
}

std::string DocumentSource(const TLSStoreIndex& context)
{
    if (ContainsNoCase(context.Folder, "http://")) return context.Folder;
    return PlainMailboxDirectory(context.Postoffice, context.Mailbox) + "\\" + context.Folder;
}

void CloseThreadContext()
{
    TLSStoreIndex* const context = ExistingContext();
    if (!context) return;
    CloseAllThreadIndexes(*context);
    if (context->CalendarDocument) CloseCalendarObject(*context->CalendarDocument);
    DestroyContext(context);
}

void AbandonThreadContext()
{
    if (TLSStoreIndex* const context = ExistingContext()) DestroyContext(context);
}

}  // namespace velmora
