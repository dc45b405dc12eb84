#include "index/FlagChanges.h"

#include <gtest/gtest.h>

#include <string>

namespace velmora::test {
namespace {

struct Outcome {
    std::string flags;
    bool changed;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << "(" << outcome.flags << "), " << (outcome.changed ? "changed" : "not changed");
}

Outcome Applied(std::string flags, std::string_view change)
{
    const bool changed = ApplyFlagChanges(flags, change);
    return {flags, changed};
}

TEST(FlagChange, APlusAddsAFlagWithABackslashBehindOneBlank)
{
    EXPECT_EQ(Applied("", "+SEEN"), (Outcome{"\\SEEN", true}));
    EXPECT_EQ(Applied("\\RECENT", "+SEEN"), (Outcome{"\\RECENT \\SEEN", true}));
    EXPECT_EQ(Applied("\\RECENT", "+\\SEEN"), (Outcome{"\\RECENT \\SEEN", true}));
    EXPECT_EQ(Applied("\\Recent", "+SEEN +Flagged"), (Outcome{"\\Recent \\SEEN \\Flagged", true})) << "spelled as given";
}

TEST(FlagChange, AFlagThatIsThereInAnyCaseIsNotAddedAgain)
{
    EXPECT_EQ(Applied("\\Seen", "+SEEN"), (Outcome{"\\Seen", false}));
    EXPECT_EQ(Applied("\\seen", "+\\SEEN"), (Outcome{"\\seen", false}));
    EXPECT_EQ(Applied("\\UNSEEN", "+SEEN"), (Outcome{"\\UNSEEN", false})) << "also inside another flag";
}

TEST(FlagChange, AMinusTakesAFlagOutInAnyCase)
{
    EXPECT_EQ(Applied("\\SEEN \\FLAGGED", "-seen"), (Outcome{"\\FLAGGED", true}));
    EXPECT_EQ(Applied("\\SEEN \\FLAGGED", "-\\Flagged"), (Outcome{"\\SEEN", true}));
    EXPECT_EQ(Applied("\\UNSEEN \\SEEN", "-SEEN"), (Outcome{"\\UNSEEN", true})) << "whole flags only";
    EXPECT_EQ(Applied("\\SEEN \\X \\seen", "-SEEN"), (Outcome{"\\X", true})) << "each time it is there";
}

TEST(FlagChange, AMinusOfAFlagThatIsNotThereCountsAsAChange)
{
    EXPECT_EQ(Applied("\\FLAGGED", "-SEEN"), (Outcome{"\\FLAGGED", true}));
    EXPECT_EQ(Applied("", "-SEEN"), (Outcome{"", true}));
    EXPECT_EQ(Applied("\\A", "-"), (Outcome{"\\A", true}));
}

TEST(FlagChange, AMinusMakesRunsOfBlanksOne)
{
    EXPECT_EQ(Applied("  \\A   \\B  \\SEEN  ", "-SEEN"), (Outcome{"\\A \\B", true}));
    EXPECT_EQ(Applied("\\A   \\B", "+C"), (Outcome{"\\A   \\B \\C", true})) << "a plus leaves them";
}

TEST(FlagChange, AListWithoutASignReplacesTheFlags)
{
    EXPECT_EQ(Applied("\\SEEN \\FLAGGED", "ANSWERED"), (Outcome{"\\ANSWERED", true}));
    EXPECT_EQ(Applied("\\SEEN", "SEEN"), (Outcome{"\\SEEN", true}));
    EXPECT_EQ(Applied("\\SEEN", "\\A \\B,C"), (Outcome{"\\A \\B \\C", true}));
    EXPECT_EQ(Applied("\\SEEN", "A +B,-A"), (Outcome{"\\B", true})) << "signs behind the first one work on what it left";
}

TEST(FlagChange, TheFirstTokenEndsAtABlankAndLaterOnesAtACommaAlone)
{
    EXPECT_EQ(Applied("\\RECENT", "+SEEN +FLAGGED,-RECENT"), (Outcome{"\\SEEN \\FLAGGED", true}));
    EXPECT_EQ(Applied("", "+SEEN,+FLAGGED"), (Outcome{"\\SEEN,+FLAGGED", true})) << "one token";
    EXPECT_EQ(Applied("", "+A +B +C"), (Outcome{"\\A \\B +C", true})) << "two tokens";
    EXPECT_EQ(Applied("", "+A +B, -A"), (Outcome{"\\A \\B \\ -A", true})) << "a token begins right behind its comma";
    EXPECT_EQ(Applied("", "+A ,,+B,"), (Outcome{"\\A \\B", true})) << "empty ones do nothing";
}

TEST(FlagChange, AnEmptyChangeEmptiesTheListAndChangesNothing)
{
    EXPECT_EQ(Applied("\\SEEN", ""), (Outcome{"", false}));
    EXPECT_EQ(Applied("\\SEEN", " "), (Outcome{"", false})) << "its first token is empty";
    EXPECT_EQ(Applied("\\SEEN", " +A"), (Outcome{"\\A", true}));
}

TEST(FlagChange, AMinusKeepsAThousandFlagsOf255Bytes)
{
    std::string many, kept;
    for (int flag = 0; flag < 1001; ++flag) many += "\\F" + std::to_string(flag) + " ";
    for (int flag = 0; flag < 1000; ++flag) kept += (flag ? " \\F" : "\\F") + std::to_string(flag);
    EXPECT_EQ(Applied(many, "-X"), (Outcome{kept, true}));
    EXPECT_EQ(Applied("\\" + std::string(300, 'a') + " \\B", "-X"), (Outcome{"\\" + std::string(254, 'a') + " \\B", true}));
    // A longer flag is never one of the list: it can be added, and not be taken out.
    const std::string longFlag(300, 'a');
    EXPECT_EQ(Applied("", "+" + longFlag), (Outcome{"\\" + longFlag, true}));
    EXPECT_EQ(Applied("\\" + longFlag, "-" + longFlag), (Outcome{"\\" + longFlag.substr(0, 254), true}));
}

}  // namespace
}  // namespace velmora::test
