#include "common/Mutex.h"

#include <exception>
#include <string>

#include "common/Exception.h"
#include "common/Text.h"
#include "platform/win32.h"

namespace velmora {

namespace {

constexpr char kHolderName[] = "xMutexLock";

std::string HandleText(const void* handle) { return FormatText("%p", handle); }
std::string SystemErrorText() { return FormatSigned(GetLastError()); }

}  // namespace

WaitResult WaitOnHandle(void* handle, uint32_t timeoutMs)
{
    switch (WaitForSingleObject(handle, timeoutMs)) {
        case WAIT_OBJECT_0:
            return WaitResult::Acquired;
        case WAIT_ABANDONED:
            return WaitResult::Abandoned;
        case WAIT_TIMEOUT:
            return WaitResult::TimedOut;
        default:
            return WaitResult::Failed;
    }
}

void* OpenOrCreateMutex(const char* name)
{
    void* handle = OpenMutexA(0, FALSE, name);
    return handle ? handle : CreateMutexA(nullptr, FALSE, name);
}

// Kept: the name is not passed on to the system.
Mutex::Mutex(const char*) : Handle(OpenOrCreateMutex(nullptr)) {}

Mutex::~Mutex()
{
    if (Handle) CloseHandle(Handle);
    Handle = nullptr;
}

MutexLock::MutexLock(void* handle, uint32_t timeoutMs) : Handle(handle), Timeout(timeoutMs)
{
    // Kept: an abandoned mutex counts as not held, though the system has given it to this thread, and is not given back.
    if (Handle) Locked = WaitForSingleObject(Handle, Timeout) == WAIT_OBJECT_0;
}

MutexLock::~MutexLock()
{
    if (Handle && Locked && ReleaseMutex(Handle)) Locked = false;
}

xMutexLock::xMutexLock(void* handle, uint32_t timeoutMs) : Handle(handle), Timeout(timeoutMs), unwindings_(std::uncaught_exceptions())
{
    if (!Handle) return;
    switch (WaitOnHandle(Handle, Timeout)) {
        case WaitResult::Acquired:
            return;
        case WaitResult::TimedOut:
            throw Exception("Failed to lock mutex " + HandleText(Handle) + ": request timed out", kHolderName, 71);
        case WaitResult::Abandoned:
            throw Exception("Mutex " + HandleText(Handle) + " was abandoned by another thread", kHolderName, 78);
        case WaitResult::Failed:
            throw Exception("Failed to lock mutex " + HandleText(Handle) + " with error " + SystemErrorText(), kHolderName, 86);
    }
}

xMutexLock::~xMutexLock() noexcept(false)
{
    if (!Handle || ReleaseMutex(Handle)) return;
    // While another exception is on its way out, a second one would end the process; the first says enough.
    if (std::uncaught_exceptions() > unwindings_) return;
    throw Exception("Failed to unlock mutex " + HandleText(Handle) + " with error " + SystemErrorText(), kHolderName, 127);
}

}  // namespace velmora
