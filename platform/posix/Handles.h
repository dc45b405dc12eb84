// Handles: what a HANDLE or an HKEY stands for.
//
// A handle is a number with a slot and a generation in it, never an address, so that a handle closed twice, or one that a
// caller made up, is error 6 and not a fault. Looking one up takes no lock.
#ifndef VELMORA_PLATFORM_POSIX_HANDLES_H
#define VELMORA_PLATFORM_POSIX_HANDLES_H

#include <memory>

#include "platform/win32.h"

namespace velmora::platform {

enum class HandleKind : uint32_t { File, Mutex, Search, RegistryKey, EventSource };

// Base of everything behind a handle. Destroyed when its handle is closed.
struct HandleObject {
    explicit HandleObject(HandleKind ofKind) : kind(ofKind) {}
    virtual ~HandleObject() = default;
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;
    const HandleKind kind;
};

// Takes the object over. Null (error 4) when a million handles are open.
HANDLE MakeHandle(std::unique_ptr<HandleObject> object);

// The object, or null with error 6 when the handle is no open one. The object lives until the handle is closed.
HandleObject* LookUpHandle(HANDLE handle);

// Gives the object back to the caller and makes the handle invalid. Null with error 6, also when another kind is meant.
std::unique_ptr<HandleObject> TakeHandle(HANDLE handle, HandleKind kind);

template <typename T>
T* HandleAs(HANDLE handle)
{
    HandleObject* object = LookUpHandle(handle);
    if (object && object->kind == T::kKind) return static_cast<T*>(object);
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

// How many handles are open, for tests that look for leaks.
size_t OpenHandleCount();

}  // namespace velmora::platform

#endif
