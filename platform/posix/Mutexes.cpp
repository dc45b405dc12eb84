// Mutexes: recursive, private to the process, waited for with a limit, and abandoned when their owner's thread dies.
//
// A closed handle may leave a mutex that a thread still owns. The system keeps such a mutex in a list of that thread, so
// its memory must stay until the thread gives it up or ends: it waits among the strays and is freed by a later call.
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "platform/posix/Errors.h"
#include "platform/posix/Handles.h"

namespace velmora::platform {

namespace {

// A number for each thread that is never used again (the system's thread numbers are).
uint64_t ThreadToken()
{
    static std::atomic<uint64_t> next{1};
    thread_local const uint64_t token = next.fetch_add(1, std::memory_order_relaxed);
    return token;
}

class SystemMutex {
public:
    SystemMutex()
    {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&mutex_, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~SystemMutex() { pthread_mutex_destroy(&mutex_); }
    SystemMutex(const SystemMutex&) = delete;
    SystemMutex& operator=(const SystemMutex&) = delete;

    DWORD Wait(DWORD timeoutMs)
    {
        const int result = Lock(timeoutMs);
        switch (result) {
            case 0:
                break;
            case EOWNERDEAD:
                pthread_mutex_consistent(&mutex_);
                depth_ = 0;
                break;
            case EBUSY:
            case ETIMEDOUT:
                return WAIT_TIMEOUT;
            default:
                SetLastError(WindowsErrorOf(result));
                return WAIT_FAILED;
        }
        ++depth_;
        owner_.store(ThreadToken(), std::memory_order_relaxed);
        return result == 0 ? WAIT_OBJECT_0 : WAIT_ABANDONED;
    }

    // False when the calling thread does not own it.
    bool Release()
    {
        if (owner_.load(std::memory_order_relaxed) != ThreadToken()) return false;
        if (--depth_ == 0) owner_.store(0, std::memory_order_relaxed);
        return pthread_mutex_unlock(&mutex_) == 0;
    }

    // Leaves the mutex unlocked when it is the caller's, nobody's or a dead thread's; false when a live thread owns it.
    bool GiveUp()
    {
        if (owner_.load(std::memory_order_relaxed) != ThreadToken() && Wait(0) == WAIT_TIMEOUT) return false;
        while (Release()) {
        }
        return true;
    }

private:
    int Lock(DWORD timeoutMs)
    {
        if (timeoutMs == INFINITE) return pthread_mutex_lock(&mutex_);
        // Most waits end here; and of the two calls this is the one whose dead owners the thread sanitizer knows.
        const int atOnce = pthread_mutex_trylock(&mutex_);
        if (timeoutMs == 0 || atOnce != EBUSY) return atOnce;
        timespec until{};
        clock_gettime(CLOCK_REALTIME, &until);
        until.tv_sec += static_cast<time_t>(timeoutMs / 1000);
        until.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000;
        if (until.tv_nsec >= 1000000000) {
            until.tv_nsec -= 1000000000;
            ++until.tv_sec;
        }
        return pthread_mutex_timedlock(&mutex_, &until);
    }

    pthread_mutex_t mutex_;
    std::atomic<uint64_t> owner_{0};
    uint32_t depth_ = 0;  // the owner's
};

struct World {
    std::mutex lock;
    std::map<std::string, std::weak_ptr<SystemMutex>> named;
    std::vector<std::unique_ptr<SystemMutex>> strays;
};

// Never destroyed: mutexes of static objects are closed late.
World& TheWorld()
{
    static World& world = *new World;
    return world;
}

void SweepStrays(World& world)
{
    std::erase_if(world.strays, [](const std::unique_ptr<SystemMutex>& stray) { return stray->GiveUp(); });
}

// Runs when the last handle of a mutex is closed.
void Retire(SystemMutex* mutex)
{
    std::unique_ptr<SystemMutex> owned(mutex);
    World& world = TheWorld();
    std::lock_guard<std::mutex> hold(world.lock);
    if (!world.strays.empty()) SweepStrays(world);
    if (owned->GiveUp()) return;
    try {
        world.strays.push_back(std::move(owned));
    } catch (const std::bad_alloc&) {
        // Its owner still has it: it stays for good.
        static_cast<void>(owned.release());
    }
}

std::shared_ptr<SystemMutex> NewMutex()
{
    // Made here, where no memory is a failure like any other: a close cannot fail.
    TheWorld();
    return {new SystemMutex, Retire};
}

struct MutexObject : HandleObject {
    static constexpr HandleKind kKind = HandleKind::Mutex;
    MutexObject(std::shared_ptr<SystemMutex> of, DWORD access)
        : HandleObject(kKind), mutex(std::move(of)), mayWait((access & SYNCHRONIZE) != 0)
    {
    }
    std::shared_ptr<SystemMutex> mutex;
    const bool mayWait;
};

// The mutex of that name, made when it is missing; `existed` tells which.
std::shared_ptr<SystemMutex> NamedMutex(const char* name, bool& existed)
{
    World& world = TheWorld();
    std::lock_guard<std::mutex> hold(world.lock);
    std::erase_if(world.named, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<SystemMutex>& entry = world.named[name];
    std::shared_ptr<SystemMutex> mutex = entry.lock();
    existed = mutex != nullptr;
    if (!mutex) entry = mutex = NewMutex();
    return mutex;
}

std::shared_ptr<SystemMutex> ExistingMutex(const char* name)
{
    World& world = TheWorld();
    std::lock_guard<std::mutex> hold(world.lock);
    const auto entry = world.named.find(name);
    return entry != world.named.end() ? entry->second.lock() : nullptr;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES, BOOL owned, LPCSTR name)
{
    bool existed = false;
    std::shared_ptr<SystemMutex> mutex = name && *name ? NamedMutex(name, existed) : NewMutex();
    if (owned && !existed) mutex->Wait(INFINITE);
    const HANDLE handle = MakeHandle(std::make_unique<MutexObject>(std::move(mutex), MUTEX_ALL_ACCESS));
    if (handle) SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

HANDLE OpenMutexA(DWORD access, BOOL, LPCSTR name)
{
    if (!name || !*name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::shared_ptr<SystemMutex> mutex = ExistingMutex(name);
    if (!mutex) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    return MakeHandle(std::make_unique<MutexObject>(std::move(mutex), access));
}

DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs)
{
    const MutexObject* object = HandleAs<MutexObject>(handle);
    if (!object) return WAIT_FAILED;
    if (!object->mayWait) {
        SetLastError(ERROR_ACCESS_DENIED);
        return WAIT_FAILED;
    }
    const std::shared_ptr<SystemMutex> mutex = object->mutex;  // stays while waited for, should another thread close it
    return mutex->Wait(timeoutMs);
}

BOOL ReleaseMutex(HANDLE handle)
{
    const MutexObject* object = HandleAs<MutexObject>(handle);
    if (!object) return FALSE;
    return object->mutex->Release() ? TRUE : Fail(ERROR_NOT_OWNER);
}
