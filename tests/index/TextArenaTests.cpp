#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "index/TextArena.h"
#include "tests/index/Dice.h"

namespace velmora::test {
namespace {

ItemText* Put(TextArena& arena, std::string_view bytes)
{
    ItemText* text = arena.Allocate(bytes.size());
    bytes.copy(text->Bytes, bytes.size());
    return text;
}

TEST(TextArena, TextsOfAllSizesKeepTheirBytes)
{
    TextArena arena;
    Dice dice(1);
    std::vector<std::pair<ItemText*, std::string>> texts;
    for (int i = 0; i < 5000; ++i) {
        const size_t size = dice.OneIn(200) ? dice.Below(3000000) : dice.Below(300);
        std::string bytes(size, static_cast<char>('a' + i % 26));
        texts.emplace_back(Put(arena, bytes), std::move(bytes));
        if (texts.size() > 400) break;
    }
    for (const auto& [text, bytes] : texts) {
        ASSERT_EQ(reinterpret_cast<uintptr_t>(text) % 4, 0u);
        ASSERT_EQ(text->View(), bytes);
    }
}

TEST(TextArena, WhatIsGivenBackIsUsedForTheNextText)
{
    TextArena arena;
    Put(arena, "first");
    ItemText* shrunk = Put(arena, std::string(1000, 'x'));
    arena.Shrink(shrunk, 3);
    EXPECT_EQ(shrunk->View(), "xxx");
    ItemText* next = Put(arena, "next");
    EXPECT_LT(reinterpret_cast<char*>(next) - reinterpret_cast<char*>(shrunk), 100);
    EXPECT_EQ(shrunk->View(), "xxx");
    arena.Shrink(next, 0);
    EXPECT_EQ(next->View(), "");
}

TEST(TextArena, ALargeTextCanBeShrunkAndOthersGoOn)
{
    TextArena arena;
    ItemText* before = Put(arena, "before");
    ItemText* large = Put(arena, std::string(5000000, 'l'));
    arena.Shrink(large, 10);
    ItemText* behind = Put(arena, "behind");
    EXPECT_EQ(before->View(), "before");
    EXPECT_EQ(large->View(), "llllllllll");
    EXPECT_EQ(behind->View(), "behind");
}

TEST(TextArena, AClearedArenaCanBeFilledAgain)
{
    TextArena arena;
    for (int i = 0; i < 3; ++i) {
        Put(arena, std::string(2000000, 'x'));
        arena.Clear();
        arena.Clear();
        EXPECT_EQ(Put(arena, "again")->View(), "again");
    }
}

}  // namespace
}  // namespace velmora::test
