// Sending one event to the system's log daemon.
#ifndef VELMORA_PLATFORM_POSIX_EVENTLOG_H
#define VELMORA_PLATFORM_POSIX_EVENTLOG_H

#include <string>

#include "platform/win32.h"

namespace velmora::platform {

// One datagram with the identity "Velmora" to the daemon's socket; never waits. `severity` as the daemon counts: 3 error,
// 4 warning, 6 information. 0 or why it was not sent.
DWORD SendToLogDaemon(const char* socketPath, int severity, const std::string& text);

}  // namespace velmora::platform

#endif
