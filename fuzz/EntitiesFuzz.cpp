// Any bytes must come back after encoding and decoding, and any text must decode as by the plain rules.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "persistence/Entities.h"
#include "tests/persistence/PlainReader.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::string text = bytes;
    EncodeEntities(text);
    for (const char c : text)
        if (c == '<' || c == '>' || static_cast<signed char>(c) < 0) std::abort();
    DecodeEntities(text);
    if (text != bytes) std::abort();

    std::string decoded = bytes;
    DecodeEntities(decoded);
    // The plain rules go over the text again after each reference.
    if (size <= 2000 && decoded != test::PlainDecode(bytes)) std::abort();
    return 0;
}
