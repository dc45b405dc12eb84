// Random numbers with a fixed seed: the same on every machine, so that a failing round can be run again.
#ifndef VELMORA_TESTS_INDEX_DICE_H
#define VELMORA_TESTS_INDEX_DICE_H

#include <cstddef>
#include <cstdint>

namespace velmora::test {

class Dice {
public:
    explicit Dice(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}

    uint64_t Next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_ * 0x2545F4914F6CDD1Du >> 16;
    }
    // 0 to `bound` - 1; 0 for a bound of 0.
    uint32_t Below(size_t bound) { return bound == 0 ? 0 : static_cast<uint32_t>(Next() % bound); }
    char Byte() { return static_cast<char>(Below(256)); }
    bool OneIn(uint32_t chances) { return Below(chances) == 0; }

    template <typename Container>
    auto& Pick(Container& from)
    {
        return from[Below(from.size())];
    }

private:
    uint64_t state_;
};

}  // namespace velmora::test

#endif
