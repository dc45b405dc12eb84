#include <unistd.h>

#include "tests/support/StandardOutput.h"

namespace velmora::test {

int SendStandardOutputTo(std::FILE* file)
{
    std::fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    dup2(fileno(file), STDOUT_FILENO);
    return before;
}

void RestoreStandardOutput(int before)
{
    std::fflush(stdout);
    dup2(before, STDOUT_FILENO);
    close(before);
}

}  // namespace velmora::test
