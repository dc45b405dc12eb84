// System mutexes and their scoped holders. Every mutex is recursive; one without a name is private to its process, and
// the library makes no other.
#ifndef VELMORA_COMMON_MUTEX_H
#define VELMORA_COMMON_MUTEX_H

#include <cstdint>

namespace velmora {

inline constexpr uint32_t kWaitForever = 0xFFFFFFFFu;

enum class WaitResult : uint32_t { Failed = 0, Acquired = 1, TimedOut = 2, Abandoned = 3 };

// Waits on a system handle for at most `timeoutMs` milliseconds.
[[nodiscard]] WaitResult WaitOnHandle(void* handle, uint32_t timeoutMs);

// Opens the mutex of that name, or makes it, not owned. Null when neither works; a null name always makes a new one.
// Kept: one that is there already is opened with no access, so its handle tells that the name is taken and no more; a
// wait on it fails with 5.
void* OpenOrCreateMutex(const char* name);

// Owns one mutex. The name is a label for the reader: two objects with one name are two mutexes.
class Mutex {
public:
    explicit Mutex(const char* label = nullptr);
    virtual ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void* Get() const { return Handle; }

private:
    void* Handle;
};

// Holds a mutex quietly: whoever needs to know asks Held(). A null handle is not held.
class MutexLock {
public:
    explicit MutexLock(void* handle, uint32_t timeoutMs = kWaitForever);
    virtual ~MutexLock();
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    bool Held() const { return Locked; }

private:
    void* Handle;
    uint32_t Timeout;
    bool Locked = false;
};

// Holds a mutex or throws Exception: on a time-out, on a mutex whose owner thread died, on any other failure. A null
// handle makes both steps nothing. The destructor throws when the mutex cannot be given back, except while another
// exception is passing through the scope.
//
// Kept: an abandoned mutex is reported as a failure although the system has given it to this thread, and it stays with
// the thread until that ends. Abandonment means that a thread died in the middle of an index operation.
class xMutexLock {
public:
    explicit xMutexLock(void* handle, uint32_t timeoutMs = kWaitForever);
    virtual ~xMutexLock() noexcept(false);
    xMutexLock(const xMutexLock&) = delete;
    xMutexLock& operator=(const xMutexLock&) = delete;

private:
    void* Handle;
    uint32_t Timeout;
    int unwindings_;  // exceptions under way when the lock was taken
};

}  // namespace velmora

#endif
