#include "tests/support/Module.h"

namespace velmora::test {

std::string ModuleFile(const std::string& directory, const std::string& name) { return directory + "\\" + name; }

int TakeModuleHandles(const std::string& directory, const std::string& name)
{
    const std::string file = ModuleFile(directory, name);
    int handles = 0;
    while (const HMODULE module = GetModuleHandleA(file.c_str())) {
        if (!FreeLibrary(module) || ++handles > 1000) break;
    }
    return handles;
}

}  // namespace velmora::test
