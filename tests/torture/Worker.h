// A worker process: threads that do things to the store until the driver says stop, or is gone.
#ifndef VELMORA_TESTS_TORTURE_WORKER_H
#define VELMORA_TESTS_TORTURE_WORKER_H

#include "tests/torture/Plan.h"

namespace velmora::torture {

// Orders of the driver, one line each. A worker answers kStop with kStopped when all its threads stand between two deeds.
inline constexpr char kStop[] = "stop";
inline constexpr char kStopped[] = "stopped";
inline constexpr char kGo[] = "go";

// The end of the orders is the end of the worker. Gives its exit code.
int RunWorker(const Plan& plan);

}  // namespace velmora::torture

#endif
