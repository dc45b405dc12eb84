#include "common/Array.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora {
namespace {

template <typename Body>
std::string MessageOf(Body body)
{
    try {
        body();
    } catch (const Exception& error) {
        return error.Format();
    }
    return "no exception";
}

TEST(Array, IndexAtOrBeyondTheCountThrows)
{
    Array<char> array(5);
    array.Append('a');
    EXPECT_EQ(array[0], 'a');
    EXPECT_EQ(MessageOf([&] { array[1] = 'b'; }), "Array index out of bounds (Array:102)");
    const Array<char>& constant = array;
    EXPECT_EQ(MessageOf([&] { static_cast<void>(constant[4]); }), "Array index out of bounds (Array:102)");
}

TEST(Array, AnElementOfItsOwnIsAppendedWhole)
{
    // Large enough for the memory to move, and to be given back to the system.
    constexpr uint32_t kCount = 1u << 20;
    Array<uint64_t> array(kCount, 2, 1);
    for (uint32_t i = 0; i < kCount; ++i) array.Append(uint64_t{i} + 7);
    array.Append(array[5]);
    EXPECT_EQ(array[kCount], 12u);
    Array<uint64_t> filled(kCount, 2, 1);
    filled.Append(array.Begin(), kCount);
    filled.Append(filled.Begin() + 1, kCount - 1);
    EXPECT_EQ(filled[kCount], 8u);
    EXPECT_EQ(filled[2 * kCount - 2], uint64_t{kCount} + 6);
    filled.Resize(8 * kCount, filled[3]);
    EXPECT_EQ(filled[8 * kCount - 1], 10u);
}

TEST(Array, AdditiveModeGrowsByTheFactor)
{
    Array<void*> array(5, 5, 0);
    for (int i = 0; i < 5; ++i) array.Append(nullptr);
    EXPECT_EQ(array.Room(), 5u);
    array.Append(nullptr);
    EXPECT_EQ(array.Room(), 10u);
    EXPECT_EQ(array.Count(), 6u);
}

TEST(Array, MultiplyingModeGrowsByTheFactor)
{
    Array<char> array(4, 3, 1);
    array.Append("abcde", 5);
    EXPECT_EQ(array.Room(), 12u);
}

TEST(Array, WhatIsNeededIsTakenWhenItIsMoreThanTheGrowth)
{
    Array<char> array(2, 8);
    const std::string text(100, 'x');
    array.Append(text.data(), 100);
    EXPECT_EQ(array.Room(), 100u);
    EXPECT_EQ(std::string(array.Begin(), array.Count()), text);
}

TEST(Array, GrowthOfNothingStillTakesWhatIsNeeded)
{
    Array<char> additive(0, 0, 0);
    additive.Append('a');
    Array<char> multiplying(0, 2, 1);
    multiplying.Append('b');
    EXPECT_EQ(additive[0], 'a');
    EXPECT_EQ(multiplying[0], 'b');
}

TEST(Array, ReserveNeverShrinks)
{
    Array<char> array(10);
    array.Reserve(3);
    EXPECT_EQ(array.Room(), 10u);
    array.Reserve(20);
    EXPECT_EQ(array.Room(), 20u);
    EXPECT_EQ(array.Count(), 0u);
}

TEST(Array, ASizeBeyondThirtyTwoBitsIsOutOfMemoryAndKeepsTheContent)
{
    Array<char> array;
    array.Append('a');
    EXPECT_EQ(MessageOf([&] { array.Reserve(uint64_t{1} << 32); }), "Out of memory (Array)");
    EXPECT_EQ(array[0], 'a');
    EXPECT_EQ(array.Count(), 1u);
}

TEST(Array, ResizeCutsOrFills)
{
    Array<char> array;
    array.Append("abc", 3);
    array.Resize(5, '-');
    EXPECT_EQ(std::string(array.Begin(), array.Count()), "abc--");
    array.Resize(2, '-');
    EXPECT_EQ(std::string(array.Begin(), array.Count()), "ab");
    array.Clear();
    EXPECT_EQ(array.Count(), 0u);
}

TEST(Array, AppendOfNothingIsAllowed)
{
    Array<char> array;
    array.Append(nullptr, 0);
    EXPECT_EQ(array.Count(), 0u);
}

}  // namespace
}  // namespace velmora
