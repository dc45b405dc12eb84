// Shared libraries as the tests load them: under their names on Windows, "dir\\NAME.DLL", on either platform.
#ifndef VELMORA_TESTS_SUPPORT_MODULE_H
#define VELMORA_TESTS_SUPPORT_MODULE_H

#include <string>

#include "platform/win32.h"

namespace velmora::test {

// A function of a module, null when it has none of that name.
template <typename Function>
Function FunctionOf(HMODULE module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Where the file of "dir\\NAME.DLL" is on this platform.
std::string ModuleFile(const std::string& directory, const std::string& name);

// Frees a module until it has left the process, and tells how often it had been loaded.
int TakeModuleHandles(const std::string& directory, const std::string& name);

}  // namespace velmora::test

#endif
