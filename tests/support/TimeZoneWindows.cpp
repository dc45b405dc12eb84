#include "tests/support/TimeZone.h"

#include <time.h>

#include "tests/support/ChildProcess.h"

namespace velmora::test {

void UseZone(const char* zone)
{
    SetVariable("TZ", zone);
    _tzset();
}

}  // namespace velmora::test
