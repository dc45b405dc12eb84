// The driver: starts the workers, kills some, stops them all from time to time, and has the oracle look at the store.
#ifndef VELMORA_TESTS_TORTURE_DRIVER_H
#define VELMORA_TESTS_TORTURE_DRIVER_H

#include "tests/torture/Plan.h"

namespace velmora::torture {

// 0 when nothing was found wrong, 1 when something was; what it is has been printed.
int RunDriver(Plan plan);

}  // namespace velmora::torture

#endif
