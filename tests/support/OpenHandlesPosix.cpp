#include <dirent.h>

#include <stdexcept>

#include "tests/support/OpenHandles.h"

namespace velmora::test {

uint32_t OpenHandleCount()
{
    DIR* const directory = opendir("/proc/self/fd");
    if (!directory) throw std::runtime_error("/proc/self/fd cannot be read");
    uint32_t count = 0;
    while (const dirent* const entry = readdir(directory))
        if (entry->d_name[0] != '.') ++count;
    closedir(directory);
    // The search's own is not counted.
    return count - 1;
}

}  // namespace velmora::test
