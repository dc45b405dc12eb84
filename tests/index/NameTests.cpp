// Folder names and lists of IDs.
#include <gtest/gtest.h>

#include "index/FolderKind.h"
#include "index/IndexPersistence.h"
#include "index/SelectionSet.h"

namespace velmora::test {
namespace {

TEST(FolderKind, OnlyTheExactNamesHaveAKindOfTheirOwn)
{
    EXPECT_EQ(ClassifyFolderName("CALENDAR"), 2u);
    EXPECT_EQ(ClassifyFolderName("Tasks"), 3u);
    EXPECT_EQ(ClassifyFolderName("contacts"), 1u);
    EXPECT_EQ(ClassifyFolderName("Inbox"), 0u);
    EXPECT_EQ(ClassifyFolderName(""), 0u);
    EXPECT_EQ(ClassifyFolderName("CONTACTS2"), 0u);
    EXPECT_EQ(ClassifyFolderName("CONTACT"), 0u);
}

TEST(FolderKind, LeadingSeparatorsAreSkipped)
{
    EXPECT_EQ(ClassifyFolderName("/CALENDAR"), 2u);
    EXPECT_EQ(ClassifyFolderName("\\/\\//tasks"), 3u);
    EXPECT_EQ(ClassifyFolderName("///"), 0u);
    EXPECT_EQ(ClassifyFolderName("CALENDAR/"), 0u);
}

TEST(FolderKind, AFolderBelowASpecialOneIsMail)
{
    EXPECT_EQ(ClassifyFolderName("CONTACTS/Work"), 0u);
    EXPECT_EQ(ClassifyFolderName("/CALENDAR\\Home"), 0u);
}

TEST(FolderKind, NoNameIsACalendar) { EXPECT_EQ(ClassifyFolderName(nullptr), 2u); }

TEST(SelectionSet, EmptyTokensVanish)
{
    EXPECT_TRUE(MakeSelectionSet("").empty());
    EXPECT_TRUE(MakeSelectionSet({}).empty());
    EXPECT_TRUE(MakeSelectionSet(",,,").empty());
    EXPECT_EQ(MakeSelectionSet(",b,,a,"), (SelectionSet{"a", "b"}));
    EXPECT_EQ(MakeSelectionSet("a,a"), (SelectionSet{"a"}));
    EXPECT_EQ(MakeSelectionSet(" a , b"), (SelectionSet{" a ", " b"}));
}

TEST(SelectionSet, AStarMatchesEverythingAndNamesMatchByTheirBytes)
{
    EXPECT_TRUE(SelectionContains(MakeSelectionSet("x,*"), "any"));
    EXPECT_TRUE(SelectionContains(MakeSelectionSet("*"), ""));
    EXPECT_TRUE(SelectionContains(MakeSelectionSet("a,b"), "b"));
    EXPECT_FALSE(SelectionContains(MakeSelectionSet("a,b"), "B"));
    EXPECT_FALSE(SelectionContains(MakeSelectionSet("a*"), "ab"));
    EXPECT_FALSE(SelectionContains({}, "a"));
}

TEST(IndexFileName, GroupsHaveAFileOfTheirOwn)
{
    EXPECT_STREQ(IndexFileName(54), "_groups.xml");
    for (const uint32_t kind : {0u, 1u, 2u, 3u, 4u, 5u, 53u, 55u}) EXPECT_STREQ(IndexFileName(kind), "_index.xml");
}

}  // namespace
}  // namespace velmora::test
