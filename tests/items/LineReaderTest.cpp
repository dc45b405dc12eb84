#include "items/LineReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/items/Messages.h"

namespace velmora::test {
namespace {

std::vector<std::string> Pieces(std::string_view text, size_t limit, size_t step)
{
    TrickleSource source(text, step);
    LineReader reader(source);
    std::vector<std::string> pieces;
    for (std::string_view piece; reader.Next(limit, piece);) pieces.emplace_back(piece);
    return pieces;
}

TEST(LineReader, PiecesEndBehindTheLineFeedOrAtTheLimit)
{
    const std::vector<std::string> expected = {"ab\r\n", "\n", "0123456789", "01234\n", "tail"};
    for (const size_t step : {1u, 2u, 3u, 7u, 100u}) EXPECT_EQ(Pieces("ab\r\n\n012345678901234\ntail", 10, step), expected) << step;
}

TEST(LineReader, ALineOfExactlyTheLimitIsFollowedByItsLineEndAsAPiece)
{
    const std::vector<std::string> expected = {"0123456789", "\r\n", "x"};
    EXPECT_EQ(Pieces("0123456789\r\nx", 10, 4), expected);
}

TEST(LineReader, AnEmptySourceHasNoPiece) { EXPECT_TRUE(Pieces("", 10, 10).empty()); }

TEST(LineReader, LongInputComesBackWhole)
{
    std::string text;
    for (int i = 0; i < 3000; ++i) text += std::string(static_cast<size_t>(i % 97), 'x') + "\n";
    std::string joined;
    for (const std::string& piece : Pieces(text, 50, 8191)) {
        EXPECT_LE(piece.size(), 50u);
        joined += piece;
    }
    EXPECT_EQ(joined, text);
}

TEST(LineReader, BlocksGoOnBehindTheLastLine)
{
    TrickleSource source("head\nbody without\nregard", 6);
    LineReader reader(source);
    std::string_view piece;
    ASSERT_TRUE(reader.Next(100, piece));
    std::string rest;
    while (reader.NextBlock(5, piece)) {
        EXPECT_LE(piece.size(), 5u);
        rest += piece;
    }
    EXPECT_EQ(rest, "body without\nregard");
}

}  // namespace
}  // namespace velmora::test
