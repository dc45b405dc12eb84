// An error of the component model that stands behind the XML facility.
#ifndef VELMORA_PLATFORM_COMERROR_H
#define VELMORA_PLATFORM_COMERROR_H

#include <cstdint>
#include <string>

namespace velmora {

// An error of the platform's component model, with the four texts that a report gives. Only the XML facility raises it.
struct ComError {
    uint32_t code = 0;
    std::string meaning;
    std::string source;
    std::string description;
};

}  // namespace velmora

#endif
