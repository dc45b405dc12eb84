// Where standard output goes, on either platform.
#ifndef VELMORA_TESTS_SUPPORT_STANDARDOUTPUT_H
#define VELMORA_TESTS_SUPPORT_STANDARDOUTPUT_H

#include <cstdio>

namespace velmora::test {

// Sends standard output into `file` from now on. The answer is for RestoreStandardOutput.
int SendStandardOutputTo(std::FILE* file);
void RestoreStandardOutput(int before);

}  // namespace velmora::test

#endif
