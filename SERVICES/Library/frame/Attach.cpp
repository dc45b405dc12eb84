// Process and thread life. The one source file of this room that knows the rooms above: what a thread has open is the
// provider's, and the folder lists that are kept for it are the folders'.
#include "frame/Attach.h"

#include <atomic>

#include "common/Mutex.h"
#include "folders/FolderLists.h"
#include "frame/Companions.h"
#include "frame/Guard.h"
#include "frame/ProcessState.h"
#include "platform/Threads.h"
#include "platform/win32.h"
#include "provider/SharedIndexRegistry.h"
#include "provider/ThreadContext.h"
#include "velmora/library.h"

namespace velmora {

namespace {

// Closes the calling thread's folder. A record that other threads hold as well stays as it is.
void CloseOwnFolder()
{
    if (TLSStoreIndex* const context = ExistingContext()) CloseAllThreadIndexes(*context);
}

void CloseOpenMutex()
{
    if (void* const mutex = std::atomic_ref<void*>(Process().IndexOpenMutex).exchange(nullptr)) CloseHandle(mutex);
}

// Holds a process mutex if that takes no wait; one whose owner thread died in the middle of its work is not held.
class HeldAtOnce {
public:
    explicit HeldAtOnce(void* mutex) : mutex_(mutex), result_(WaitOnHandle(mutex, 0)) {}
    ~HeldAtOnce()
    {
        if (Held() || result_ == WaitResult::Abandoned) ReleaseMutex(mutex_);
    }
    HeldAtOnce(const HeldAtOnce&) = delete;
    HeldAtOnce& operator=(const HeldAtOnce&) = delete;
    bool Held() const { return result_ == WaitResult::Acquired; }

private:
    void* mutex_;
    WaitResult result_;
};

// The library also ends with its process, while other threads are still at work in it. So nothing is waited for and
// nothing is taken from them: what they hold goes with the process.
//
// With the registry held and no record left in it, no thread has IndexOpenMutex or waits for it: a thread takes that with
// a record of its own open or with the registry in its hands.
void GiveBackSharedState()
{
    if (TLSStoreIndex* const context = ExistingContext()) context->CurrentFolderItem.Item = nullptr;
    const HeldAtOnce registry(RegistryMutex());
    if (!registry.Held()) return;
    {
        const HeldAtOnce opens(OpenMutex());
        if (!opens.Held()) return;
        CloseOwnFolder();
    }
    // Kept: SharedIndexRegistryMutex stays open.
    if (SharedIndexKeys().empty()) CloseOpenMutex();
}

void UnInitialise()
{
    ProcessState& process = Process();
    GiveBackSharedState();
    ReleaseThreadFolderLists();
    // The slots of contexts and folder lists stay with the process: other threads may still have values in them.
    TlsFree(process.TLSListPositionSlot);
    process.TLSListPositionSlot = kNoTlsSlot;
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
    // In front of all that can wait: a thread may have folder lists and no context.
    GuardedSwallow("ThreadDetach", ReleaseThreadFolderLists);
    // Kept: with affinity 0 the folder stays open, and its record in the registry until the process ends.
    if (Process().StoreAffinity != 1) GuardedSwallow("ThreadDetach", AbandonThreadContext);
    StoreLibrary_ThreadRelease();
}

}  // namespace velmora

uint64_t StoreLibrary_ThreadRelease()
{
    using namespace velmora;
    GuardedSwallow("StoreLibrary_ThreadRelease", ReleaseThreadFolderLists);
    // Kept: with affinity 0 the context stays, with its folder open.
    if (Process().StoreAffinity == 1) GuardedSwallow("StoreLibrary_ThreadRelease", CloseThreadContext);
    return 1;
}

uint64_t StoreLibrary_UnInit()
{
    velmora::GuardedSwallow("StoreLibrary_UnInit", velmora::UnInitialise);
    return 1;
}
