// Process and thread life. The one source file of this room that knows the rooms above: what a thread has open is the
// provider's.
#include "frame/Attach.h"

#include "common/Mutex.h"
#include "frame/Companions.h"
#include "frame/Guard.h"
#include "frame/ProcessState.h"
#include "platform/Threads.h"
#include "platform/win32.h"
#include "provider/ThreadContext.h"
#include "velmora/index.h"
#include "velmora/library.h"

namespace velmora {

namespace {

void ReleaseOwnFolder()
{
    if (TLSStoreIndex* context = ExistingContext()) {
        context->CurrentFolderItem.Item = nullptr;
        if (context->Index) StoreIndex_Release(context->Index.get());
    }
}

void UnInitialise()
{
    ProcessState& process = Process();
    ReleaseOwnFolder();
    // The slots of contexts and folder lists stay with the process: other threads may still have values in them.
    TlsFree(process.TLSListPositionSlot);
    process.TLSListPositionSlot = kNoTlsSlot;
    if (process.IndexOpenMutex) CloseHandle(process.IndexOpenMutex);
    process.IndexOpenMutex = nullptr;
    FreeNotifyModule();
}

}  // namespace

bool ProcessAttach()
{
    GuardedSwallow("ProcessAttach", LoadCompanionsAtAttach);
    if (StoreLibrary_Init() == 0) return false;
    platform::SetThreadEndHook(ThreadDetach);
    return true;
}

void ProcessDetach()
{
    // A thread that ends from here on has nothing to give back to.
    platform::SetThreadEndHook(nullptr);
    // Kept: the options and the post office configuration modules are not freed; they stay until the process ends.
    StoreLibrary_UnInit();
}

void ThreadAttach()
{
    TlsSetValue(Process().TLSListPositionSlot, nullptr);
    GetTLSStoreIndex(Process().TLSFolderContextSlot);
}

void ThreadDetach()
{
    if (!ExistingContext()) return;
    if (Process().StoreAffinity == 1)
        StoreLibrary_ThreadRelease();
    else
        GuardedSwallow("ThreadDetach", AbandonThreadContext);
}

}  // namespace velmora

uint64_t StoreLibrary_ThreadRelease()
{
    using namespace velmora;
    if (Process().StoreAffinity == 1) GuardedSwallow("StoreLibrary_ThreadRelease", CloseThreadContext);
    return 1;
}

uint64_t StoreLibrary_UnInit()
{
    velmora::GuardedSwallow("StoreLibrary_UnInit", velmora::UnInitialise);
    return 1;
}
