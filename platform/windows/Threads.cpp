// The end of a thread through a fiber-local slot, whose callback the system runs on each ending thread that set it. The
// library's own entry is told of threads as well (ModuleEntry.h); a program that links the rooms directly is not, and
// running the hook twice is running it once.
#include "platform/Threads.h"

#include <atomic>

#include "platform/win32.h"

namespace velmora::platform {

namespace {

std::atomic<void (*)()> endHook{nullptr};

void CALLBACK RunEndHook(void* armed)
{
    if (!armed) return;
    if (void (*hook)() = endHook.load(std::memory_order_acquire)) hook();
}

// Freed with this object: a thread that outlives an unloaded library does not call into it. Freeing runs the callback for
// every thread that is armed, and those still at work must not be ended, so the hook is taken away first.
class EndSlot {
public:
    EndSlot() : slot_(FlsAlloc(RunEndHook)) {}
    ~EndSlot()
    {
        endHook.store(nullptr, std::memory_order_release);
        if (slot_ != FLS_OUT_OF_INDEXES) FlsFree(slot_);
    }
    EndSlot(const EndSlot&) = delete;
    EndSlot& operator=(const EndSlot&) = delete;
    void Arm()
    {
        if (slot_ != FLS_OUT_OF_INDEXES) FlsSetValue(slot_, this);
    }

private:
    DWORD slot_;
};

}  // namespace

void SetThreadEndHook(void (*hook)()) { endHook.store(hook, std::memory_order_release); }

void ArmThreadEndHook()
{
    static EndSlot slot;
    slot.Arm();
}

}  // namespace velmora::platform
