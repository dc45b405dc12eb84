#include "frame/ProcessState.h"

namespace velmora {

ProcessState& Process()
{
    static ProcessState state;
    return state;
}

}  // namespace velmora
