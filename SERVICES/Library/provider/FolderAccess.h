// The calling thread's folder for the time of one call.
#ifndef VELMORA_PROVIDER_FOLDERACCESS_H
#define VELMORA_PROVIDER_FOLDERACCESS_H

#include <cstdint>

#include "frame/Guard.h"
#include "provider/SharedIndexRegistry.h"
#include "provider/ThreadContext.h"

namespace velmora {

// Locks the record of a context and makes its item pointers good.
//
// A record that is shared may be loaded anew by another thread between two calls, which deletes its items. So the record's
// Mutex is held while any of them is looked at, and pointers from an earlier load are dropped first: the thread then has
// no current item and its walk is at the end.
//
// A context without an open of its own has nothing to keep the record from ending, and holds the registry meanwhile.
class FolderAccess {
public:
    // Throws Exception when the record's Mutex cannot be had.
    explicit FolderAccess(TLSStoreIndex& context);
    FolderAccess(const FolderAccess&) = delete;
    FolderAccess& operator=(const FolderAccess&) = delete;

    // Null when no folder is open.
    SharedIndex* Index() const { return index_; }
    // Loads the table in full, for a call that is about to take pointers. False when it cannot be.
    bool LoadInFull();

private:
    void DropStaleItems();

    TLSStoreIndex& context_;
    ProcessLock registry_;
    SharedIndex* index_;
    RecordLock lock_;
};

// The frame of an exported function: runs `body(context, index)` on the thread's open folder. Without one, and after an
// exception, the answer is `otherwise`.
template <typename Body>
uint64_t WithOpenFolder(const char* name, uint64_t otherwise, Body body)
{
    return GuardedEntry(name, otherwise, [&]() -> uint64_t {
        TLSStoreIndex* const context = CurrentContext();
        if (!context) return otherwise;
        FolderAccess access(*context);
        return access.Index() ? body(*context, access) : otherwise;
    });
}

}  // namespace velmora

#endif
