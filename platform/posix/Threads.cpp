#include "platform/Threads.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>

#include "platform/win32.h"

namespace velmora::platform {

namespace {

std::atomic<void (*)()> endHook{nullptr};

void RunEndHook(void*)
{
    if (void (*hook)() = endHook.load(std::memory_order_acquire)) hook();
}

std::atomic<bool> keyIsLive{false};

// The system runs a key's destructor on each thread that set a value, after the thread's C++ objects are gone. Deleting
// the key with this object keeps a thread that outlives an unloaded library from calling into it.
class EndKey {
public:
    EndKey() { keyIsLive.store(pthread_key_create(&key_, RunEndHook) == 0, std::memory_order_release); }
    ~EndKey()
    {
        if (keyIsLive.exchange(false, std::memory_order_acq_rel)) pthread_key_delete(key_);
    }
    EndKey(const EndKey&) = delete;
    EndKey& operator=(const EndKey&) = delete;
    void Arm() const
    {
        if (keyIsLive.load(std::memory_order_acquire)) pthread_setspecific(key_, &keyIsLive);
    }

private:
    pthread_key_t key_{};
};

}  // namespace

void SetThreadEndHook(void (*hook)()) { endHook.store(hook, std::memory_order_release); }

void ArmThreadEndHook()
{
    static const EndKey endKey;
    endKey.Arm();
}

}  // namespace velmora::platform

DWORD GetCurrentThreadId() { return static_cast<DWORD>(gettid()); }

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }
