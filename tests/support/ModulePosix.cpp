#include <dlfcn.h>

#include <algorithm>

#include "tests/support/Module.h"

namespace velmora::test {

std::string ModuleFile(const std::string& directory, const std::string& name)
{
    std::string stem = name.substr(0, name.rfind('.'));
    std::transform(stem.begin(), stem.end(), stem.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return directory + "/lib" + stem + ".so";
}

int TakeModuleHandles(const std::string& directory, const std::string& name)
{
    const std::string file = ModuleFile(directory, name);
    int handles = 0;
    while (void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
        dlclose(module);
        if (dlclose(module) != 0 || ++handles > 1000) break;
    }
    return handles;
}

}  // namespace velmora::test
