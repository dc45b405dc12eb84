// No call is forwarded yet: every process works on the directories of its own machine.
#include "remote/RemoteHost.h"

namespace velmora {

uint32_t CheckRemoteHost(RemoteLibrary) { return 0; }

}  // namespace velmora
