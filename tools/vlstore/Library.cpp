#include "Library.h"

#include <filesystem>
#include <string>

#include "ExitCode.h"
#include "System.h"

namespace vlstore {

namespace fs = std::filesystem;

namespace {

constexpr const char* kModuleName = "libvlaisp.so";

template <typename Function>
void Resolve(void* module, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(FindSymbol(module, name));
    if (!function) throw Failure(ExitCode::Unavailable, std::string(kModuleName) + " has no function " + name);
}

void* OpenStoreModule()
{
    std::error_code ignored;
    fs::path beside = ExecutableDirectory() / ".." / "lib" / kModuleName;
    std::string path = fs::exists(beside, ignored) ? beside.lexically_normal().string() : kModuleName;
    std::string reason;
    void* module = OpenModule(path, reason);
    if (!module) throw Failure(ExitCode::Unavailable, "cannot load the store library: " + reason);
    return module;
}

}  // namespace

Library LoadLibraryModule()
{
    void* module = OpenStoreModule();
    Library library;
    Resolve(module, "StoreFolder_Open", library.folderOpen);
    Resolve(module, "StoreFolder_Close", library.folderClose);
    Resolve(module, "StoreFolder_Save", library.folderSave);
    Resolve(module, "StoreFolder_SelectItem", library.selectItem);
    Resolve(module, "StoreFolder_FindFirstItem", library.findFirstItem);
    Resolve(module, "StoreFolder_FindNextItem", library.findNextItem);
    Resolve(module, "StoreItem_GetProperty", library.getProperty);
    Resolve(module, "StoreItem_SetProperty", library.setProperty);
    Resolve(module, "StoreItem_FreeProperty", library.freeProperty);
    Resolve(module, "GetCachedStatus", library.getCachedStatus);
    Resolve(module, "StoreLibrary_ThreadRelease", library.threadRelease);
    return library;
}

}  // namespace vlstore
