// Memory that runs out: operator new fails when a test says so, on the thread that says it, and is counted. It is replaced, in
// all its forms but the aligned ones, in the executables that take this source in, and in no other: tests/CMakeLists.txt
// names them.
#ifndef VELMORA_TESTS_SUPPORT_MEMORY_ALLOCATIONS_H
#define VELMORA_TESTS_SUPPORT_MEMORY_ALLOCATIONS_H

#include <cstdint>

#include "tests/support/FaultSpan.h"

namespace velmora::test {

// The allocations that the calling thread has asked for, from its begin on.
uint64_t AllocationsAskedFor();

// While it lives, the thread's n-th allocation fails, counted from 1, and as many behind it as `span` says.
class AllocationFault {
public:
    AllocationFault(uint32_t nth, FaultSpan span);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    // The allocations that failed.
    static uint32_t Hits();
};

}  // namespace velmora::test

#endif
