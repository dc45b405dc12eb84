// Companion modules: "dir\NAME.DLL" is dir/libname.so, a bare name is looked for where the loader looks.
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/posix/Paths.h"
#include "platform/shared/Ascii.h"

namespace velmora::platform {

namespace {

// "lib", the name in lower case without its extension, ".so".
std::string LibraryNameOf(std::string_view leaf)
{
    constexpr std::string_view kExtension = ".dll";
    if (leaf.size() > kExtension.size() && EqualBytesNoCase(leaf.substr(leaf.size() - kExtension.size()), kExtension)) {
        leaf.remove_suffix(kExtension.size());
    }
    std::string name(leaf);
    std::transform(name.begin(), name.end(), name.begin(), LowerByte);
    return "lib" + name + ".so";
}

HMODULE FailModule(DWORD error)
{
    SetLastError(error);
    return nullptr;
}

DWORD Answer(std::string_view path, LPSTR field, DWORD size)
{
    const size_t length = std::min<size_t>(path.size(), size == 0 ? 0 : size - 1);
    if (size > 0) {
        std::memcpy(field, path.data(), length);
        field[length] = '\0';
    }
    const bool cut = length < path.size();
    SetLastError(cut ? ERROR_INSUFFICIENT_BUFFER : ERROR_SUCCESS);
    return cut ? size : static_cast<DWORD>(length);
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

HMODULE LoadLibraryA(LPCSTR path)
{
    PathText native;
    if (const DWORD error = ToSystemPath(path, native); error != 0) return FailModule(ERROR_MOD_NOT_FOUND);
    std::string name = LibraryNameOf(native.Leaf());
    if (const size_t start = native.LeafStart(); start > 0) {
        name.insert(0, native.text, start);
        if (ToSystemPath(name.c_str(), native) != 0) return FailModule(ERROR_MOD_NOT_FOUND);
        DWORD error = 0;
        if (WithSpelling(native, error, [](const char* file) { return access(file, F_OK); }) != 0) return FailModule(ERROR_MOD_NOT_FOUND);
        name = native.View();
    }
    const HMODULE module = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    return module ? module : FailModule(ERROR_MOD_NOT_FOUND);
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name)
{
    // A small number in the place of a name is an ordinal, which libraries here do not have.
    constexpr uintptr_t kLastOrdinal = 0xFFFF;
    void* address = nullptr;
    if (!module) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (reinterpret_cast<uintptr_t>(name) > kLastOrdinal) address = dlsym(module, name);
    if (!address) SetLastError(ERROR_PROC_NOT_FOUND);
    return reinterpret_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE module)
{
    if (module && dlclose(module) == 0) return TRUE;
    return Fail(ERROR_INVALID_HANDLE);
}

DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size)
{
    if (module) {
        link_map* map = nullptr;
        if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || !map) return static_cast<DWORD>(Fail(ERROR_MOD_NOT_FOUND));
        return Answer(map->l_name, path, size);
    }
    char program[kPathSize];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
    if (length < 0) return static_cast<DWORD>(Fail(PresentError()));
    return Answer({program, static_cast<size_t>(length)}, path, size);
}
