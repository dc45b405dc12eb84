// How many operations in a row go wrong, from one on that is counted.
#ifndef VELMORA_TESTS_SUPPORT_FAULTSPAN_H
#define VELMORA_TESTS_SUPPORT_FAULTSPAN_H

#include <cstddef>
#include <cstdint>

namespace velmora::test {

enum class FaultSpan {
    Once,
    Two,
    Three,
    Five,
    Onwards,  // this operation and every later one
};

inline const char* NameOf(FaultSpan span)
{
    constexpr const char* kNames[] = {"Once", "Two", "Three", "Five", "Onwards"};
    return kNames[static_cast<size_t>(span)];
}

// Whether the `seen`-th is among those that fail from the `nth` on.
inline bool IsInSpan(FaultSpan span, uint32_t nth, uint32_t seen)
{
    constexpr uint32_t kLengths[] = {1, 2, 3, 5, UINT32_MAX};
    return seen >= nth && seen - nth < kLengths[static_cast<size_t>(span)];
}

}  // namespace velmora::test

#endif
