// What the benchmarks ask of the operating system for themselves.
#ifndef VELMORA_BENCH_SYSTEM_H
#define VELMORA_BENCH_SYSTEM_H

#include <string>

namespace velmora::bench {

// Sets a variable of the environment, for this process and its children.
void SetVariable(const char* name, const std::string& value);

// The peak of this process's resident memory, in KB; 0 when the system does not tell.
long PeakResidentKB();

// What a new process of this program with `option` and `argument` prints. Empty when it failed.
std::string OutputOfSelf(const std::string& option, const std::string& argument);

}  // namespace velmora::bench

#endif
