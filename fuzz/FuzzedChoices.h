// The choices of a property from the bytes of an input. Numbers are taken from its end, bytes from its start.
#ifndef VELMORA_FUZZ_FUZZEDCHOICES_H
#define VELMORA_FUZZ_FUZZEDCHOICES_H

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/persistence/Choices.h"

namespace velmora::test {

class FuzzedChoices : public Choices {
public:
    FuzzedChoices(const uint8_t* data, size_t size) : provider_(data, size) {}

    uint32_t Below(uint32_t bound) override { return bound == 0 ? 0 : provider_.ConsumeIntegralInRange<uint32_t>(0, bound - 1); }
    std::string Bytes(uint32_t most) override { return provider_.ConsumeRandomLengthString(most); }
    bool Exhausted() const override { return provider_.remaining_bytes() == 0; }

private:
    mutable FuzzedDataProvider provider_;  // what is left of it cannot be asked for otherwise
};

// Ends the run when a property does not hold.
inline void Require(const std::string& wrong)
{
    if (wrong.empty()) return;
    std::fprintf(stderr, "%s\n", wrong.c_str());
    std::abort();
}

}  // namespace velmora::test

#endif
