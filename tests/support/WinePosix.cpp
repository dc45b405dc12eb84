#include "tests/support/Wine.h"

namespace velmora::test {

bool RunsUnderWine() { return false; }

}  // namespace velmora::test
