// A logging module for the tests: it answers with the four words in a row.
#include <cstdint>

extern "C" __attribute__((visibility("default"))) uint64_t SetLoggingFunction(uint64_t a, uint64_t b, uint64_t c, uint64_t d)
{
    return ((a * 10 + b) * 10 + c) * 10 + d;
}
