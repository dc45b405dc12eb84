// Whether calls are forwarded to a remote administration host.
#ifndef VELMORA_REMOTE_REMOTEHOST_H
#define VELMORA_REMOTE_REMOTEHOST_H

#include <cstdint>

namespace velmora {

enum class RemoteLibrary : uint32_t { Store };

// The first call of every function that can be forwarded: 0 the call is for this machine, 1 it is forwarded, 2 a host is
// named and cannot be reached.
uint32_t CheckRemoteHost(RemoteLibrary library);

}  // namespace velmora

#endif
