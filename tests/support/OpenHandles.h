// How much the calling process has open, so that a test notices what is left open behind a failure.
#ifndef VELMORA_TESTS_SUPPORT_OPENHANDLES_H
#define VELMORA_TESTS_SUPPORT_OPENHANDLES_H

#include <cstdint>

namespace velmora::test {

// Open file descriptors on POSIX, handles of any kind on Windows.
uint32_t OpenHandleCount();

}  // namespace velmora::test

#endif
