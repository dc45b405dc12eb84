#include <windows.h>

#include <stdexcept>

#include "tests/support/OpenHandles.h"

namespace velmora::test {

uint32_t OpenHandleCount()
{
    DWORD count = 0;
    if (!GetProcessHandleCount(GetCurrentProcess(), &count)) throw std::runtime_error("the handles cannot be counted");
    return count;
}

}  // namespace velmora::test
