// The entry of the shared library: what the system runs when a process loads it and when its threads come and go.
#include "frame/Attach.h"
#include "platform/ModuleEntry.h"

VELMORA_MODULE_ENTRY(velmora::ProcessAttach, velmora::ProcessDetach, velmora::ThreadAttach, velmora::ThreadDetach)
