#include <io.h>

#include "tests/support/StandardOutput.h"

namespace velmora::test {

int SendStandardOutputTo(std::FILE* file)
{
    std::fflush(stdout);
    const int before = _dup(_fileno(stdout));
    _dup2(_fileno(file), _fileno(stdout));
    return before;
}

void RestoreStandardOutput(int before)
{
    std::fflush(stdout);
    _dup2(before, _fileno(stdout));
    _close(before);
}

}  // namespace velmora::test
