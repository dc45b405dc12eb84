#include "items/DateForms.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Wine.h"

namespace velmora {
namespace {

constexpr uint64_t kUnixEpoch = 116444736000000000;

std::string TextOf(uint64_t fileTime)
{
    char text[64] = "untouched";
    return FormatFileTimeText(fileTime, text, sizeof text) ? text : std::string("refused ") + text;
}

TEST(DateForms, TheFileTimeOf1970IsUnixZero)
{
    EXPECT_EQ(UnixTimeFromFileTime(kUnixEpoch), 0);
    EXPECT_EQ(UnixTimeToFileTime(0), kUnixEpoch);
}

TEST(DateForms, FileTimesBefore1970TruncateTowardsZero)
{
    EXPECT_EQ(UnixTimeFromFileTime(kUnixEpoch - 1), 0);
    EXPECT_EQ(UnixTimeFromFileTime(kUnixEpoch - 9999999), 0);
    EXPECT_EQ(UnixTimeFromFileTime(kUnixEpoch - 10000000), -1);
    EXPECT_EQ(UnixTimeFromFileTime(0), -11644473600);
}

TEST(DateForms, TheEndOf32BitSecondsIsTheMarkForNoDate) { EXPECT_EQ(UnixTimeToFileTime(0x7FFFFFFF), 0x01E9FD1ED4A5E980u); }

TEST(DateForms, IsoTextGoesToAFileTimeAndBack)
{
    uint64_t fileTime = 0;
    ASSERT_TRUE(ParseIsoDateTime("2011-02-07T10:30:59", fileTime));
    EXPECT_EQ(UnixTimeFromFileTime(fileTime), 1297074659);
    EXPECT_EQ(TextOf(fileTime), "2011-02-07T10:30:59");
}

TEST(DateForms, IsoTextOfAnotherLengthIsRefused)
{
    uint64_t fileTime = 7;
    for (const char* text : {"2011-02-07", "", "2011-02-07T10:30:5", "2011-02-07T10:30:590", "2011-02-07T10:30:59Z"})
        EXPECT_FALSE(ParseIsoDateTime(text, fileTime)) << text;
    EXPECT_EQ(fileTime, 7u);
}

TEST(DateForms, IsoTextThatIsNoDateIsRefused)
{
    uint64_t fileTime = 7;
    for (const char* text : {"2011-13-07T10:30:59", "2011-02-30T10:30:59", "2011-02-07T24:30:59", "2011-02-07T10:60:59",
                             "xxxxxxxxxxxxxxxxxxx", "-111-02-07T10:30:59", "1500-02-07T10:30:59"}) {
        EXPECT_FALSE(ParseIsoDateTime(text, fileTime)) << text;
    }
    EXPECT_EQ(fileTime, 7u);
}

TEST(DateForms, The29thOfFebruaryIsOneOfALeapYear)
{
    uint64_t fileTime = 7;
    EXPECT_TRUE(ParseIsoDateTime("2012-02-29T10:30:59", fileTime));
    EXPECT_EQ(TextOf(fileTime), "2012-02-29T10:30:59");
    if (test::RunsUnderWine()) GTEST_SKIP() << "Wine gives every February 29 days";
    EXPECT_FALSE(ParseIsoDateTime("2011-02-29T10:30:59", fileTime));
}

TEST(DateForms, IsoTextIsReadByPositionAlone)
{
    uint64_t fileTime = 0;
    ASSERT_TRUE(ParseIsoDateTime("2011/02/07 10.30.59", fileTime));
    EXPECT_EQ(TextOf(fileTime), "2011-02-07T10:30:59");
}

TEST(DateForms, AFileTimeThatIsNoDateIsRefused) { EXPECT_EQ(TextOf(UINT64_MAX), "refused untouched"); }

TEST(DateForms, TextIsCutAtTheField)
{
    char text[5];
    ASSERT_TRUE(FormatFileTimeText(kUnixEpoch, text, sizeof text));
    EXPECT_STREQ(text, "1970");
}

TEST(DateForms, TheDosFormHasEvenSecondsOfUtc)
{
    uint64_t fileTime = 0;
    ASSERT_TRUE(ParseIsoDateTime("2011-02-07T10:00:01", fileTime));
    EXPECT_EQ(DosDateTime(FileTimeFromValue(fileTime)), (0x3E47u << 16) | 0x5000u);
    ASSERT_TRUE(ParseIsoDateTime("1980-01-01T00:00:00", fileTime));
    EXPECT_EQ(DosDateTime(FileTimeFromValue(fileTime)), 0x00210000u);
}

TEST(DateForms, TheDosFormOfATimeBefore1980IsZero)
{
    uint64_t fileTime = 0;
    ASSERT_TRUE(ParseIsoDateTime("1979-12-31T23:59:59", fileTime));
    EXPECT_EQ(DosDateTime(FileTimeFromValue(fileTime)), 0u);
    EXPECT_EQ(DosDateTime(FileTimeFromValue(0)), 0u);
}

TEST(DateForms, MonthNamesIgnoreCaseAndTheRestIsDecember)
{
    EXPECT_EQ(MonthFromName("Feb"), 1);
    EXPECT_EQ(MonthFromName("fEB"), 1);
    EXPECT_EQ(MonthFromName("Nov"), 10);
    for (const char* name : {"Dec", "Jan", "", "February", "Fe", "xyz"}) EXPECT_EQ(MonthFromName(name), 11) << name;
}

TEST(DateForms, MonthNumbersBeyondTheYearAreDecember)
{
    const auto name = [](int32_t index) {
        char text[8];
        MonthName(index, text, sizeof text);
        return std::string(text);
    };
    EXPECT_EQ(name(0), "Jan");
    EXPECT_EQ(name(10), "Nov");
    for (const int32_t index : {11, 12, -1, INT32_MAX}) EXPECT_EQ(name(index), "Dec") << index;
}

TEST(DateForms, FieldsOutOfRangeTakeTheirLowestValue)
{
    EXPECT_EQ(ClampDay(0), 1);
    EXPECT_EQ(ClampDay(32), 1);
    EXPECT_EQ(ClampDay(31), 31);
    EXPECT_EQ(ClampHour(24), 24);
    EXPECT_EQ(ClampHour(25), 0);
    EXPECT_EQ(ClampMinuteOrSecond(59), 59);
    EXPECT_EQ(ClampMinuteOrSecond(60), 0);
    EXPECT_EQ(ClampMinuteOrSecond(-1), 0);
}

}  // namespace
}  // namespace velmora
