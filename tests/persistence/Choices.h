// Where a property takes its choices from: random numbers from a seed in a test, the bytes of an input in a fuzz target.
#ifndef VELMORA_TESTS_PERSISTENCE_CHOICES_H
#define VELMORA_TESTS_PERSISTENCE_CHOICES_H

#include <cstdint>
#include <string>

#include "tests/index/Dice.h"

namespace velmora::test {

class Choices {
public:
    virtual ~Choices() = default;

    // 0 to `bound` - 1; 0 for a bound of 0 and when nothing is left to choose from.
    virtual uint32_t Below(uint32_t bound) = 0;
    // Any bytes, at most that many.
    virtual std::string Bytes(uint32_t most) = 0;
    // Every further choice is the first one.
    virtual bool Exhausted() const = 0;

    bool OneIn(uint32_t chances) { return Below(chances) + 1 == chances; }

    template <typename Container>
    auto& Pick(Container& from)
    {
        return from[Below(static_cast<uint32_t>(std::size(from)))];
    }
};

class SeededChoices : public Choices {
public:
    explicit SeededChoices(uint64_t seed) : dice_(seed) {}

    uint32_t Below(uint32_t bound) override { return dice_.Below(bound); }
    std::string Bytes(uint32_t most) override
    {
        std::string bytes(dice_.Below(most + 1), '\0');
        for (char& byte : bytes) byte = dice_.OneIn(3) ? dice_.Byte() : "ab<>&;#x\r\n\t \""[dice_.Below(13)];
        return bytes;
    }
    bool Exhausted() const override { return false; }

private:
    Dice dice_;
};

}  // namespace velmora::test

#endif
