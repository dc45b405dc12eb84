// Settings files of any bytes: every key and value that comes out is walked.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/shared/RegistryFile.h"

using namespace velmora::platform;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const RegistryContents contents = ParseRegistryFile({reinterpret_cast<const char*>(data), size});
    if (contents.fault && contents.fault->line == 0) std::abort();
    for (const auto& [key, values] : contents.keys) {
        if (!HasRegistryKey(contents.keys, key)) std::abort();
        for (const auto& [name, value] : values)
            if (name.size() > 4 * size || value.data.size() > 4 * size + 8) std::abort();
    }
    return 0;
}
