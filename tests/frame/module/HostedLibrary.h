// The built library as a host has it: loaded by its path, and its functions found by name.
#ifndef VELMORA_TESTS_FRAME_MODULE_HOSTEDLIBRARY_H
#define VELMORA_TESTS_FRAME_MODULE_HOSTEDLIBRARY_H

#include "tests/support/Module.h"
#include "velmora/vlaisp.h"

namespace velmora::test {

struct HostedLibrary {
    explicit HostedLibrary(HMODULE handle) : module(handle) {}
    template <typename Function>
    Function* Find(Function*& function, const char* name)
    {
        function = FunctionOf<Function*>(module, name);
        return function;
    }
    bool FindAll()
    {
        return module && Find(open, "StoreFolder_Open") && Find(setProperty, "StoreItem_SetProperty") &&
               Find(findFirst, "StoreFolder_FindFirstItem") && Find(close, "StoreFolder_Close") && Find(saveAll, "Store_Save") &&
               Find(setAffinity, "StoreLibrary_SetAffinity");
    }
    uint64_t OpenInbox() const { return open("po", "box", "Inbox", 0, 0); }

    HMODULE module;
    decltype(&StoreFolder_Open) open = nullptr;
    decltype(&StoreItem_SetProperty) setProperty = nullptr;
    decltype(&StoreFolder_FindFirstItem) findFirst = nullptr;
    decltype(&StoreFolder_Close) close = nullptr;
    decltype(&Store_Save) saveAll = nullptr;
    decltype(&StoreLibrary_SetAffinity) setAffinity = nullptr;
};

}  // namespace velmora::test

#endif
