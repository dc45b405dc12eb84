#include <windows.h>

#include "tests/support/Wine.h"

namespace velmora::test {

bool RunsUnderWine()
{
    const HMODULE system = GetModuleHandleA("ntdll.dll");
    return system && GetProcAddress(system, "wine_get_version");
}

}  // namespace velmora::test
