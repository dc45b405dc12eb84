#include "common/Exception.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(Exception, FormatIsMessageBlankAndPlaceInBrackets)
{
    const Exception error("Out of memory", "Array", 457);
    EXPECT_EQ(error.Message(), "Out of memory");
    EXPECT_EQ(error.Source(), "Array");
    EXPECT_EQ(error.Line(), 457u);
    EXPECT_EQ(error.Format(), "Out of memory (Array:457)");
}

TEST(Exception, FormatWithoutSourceIsTheMessageAndABlank)
{
    EXPECT_EQ(Exception("Empty path").Format(), "Empty path ");
    EXPECT_EQ(Exception("Empty path", "", 12).Format(), "Empty path ");
}

TEST(Exception, FormatLeavesOutALineOfZero)
{
    EXPECT_EQ(Exception("Empty path", "FileManagement").Format(), "Empty path (FileManagement)");
}

TEST(Exception, FormatWithoutMessageIsThePlaceAlone)
{
    EXPECT_EQ(Exception("", "Array", 102).Format(), "(Array:102)");
    EXPECT_EQ(Exception("").Format(), "");
}

TEST(Exception, IsAStandardExceptionWithTheFormattedText)
{
    try {
        throw Exception("Array index out of bounds", "Array", 102);
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "Array index out of bounds (Array:102)");
    }
}

}  // namespace
}  // namespace velmora
