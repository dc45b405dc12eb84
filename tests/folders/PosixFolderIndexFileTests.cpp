// Lists of directories whose names only this system allows.
#include <gtest/gtest.h>

#include "tests/folders/FolderFiles.h"

namespace velmora::test {
namespace {

class PosixFolderIndexFile : public FolderFiles {};

TEST_F(PosixFolderIndexFile, TwoCasesOfAWellKnownNameAreListedOnce)
{
    Make("INBOX");
    Make("Inbox");
    Make("inbox");
    EXPECT_EQ(ListedAnew(), Names{"Inbox"});
    EXPECT_EQ(Bytes("_folder.xml"), ListOf({"Inbox", "Inbox", "Inbox"}));
    EXPECT_EQ(Directories(), (Names{"INBOX", "Inbox", "inbox"}));
}

TEST_F(PosixFolderIndexFile, ADirectoryWithAControlByteIsRenamed)
{
    Make(
        "a\x01\x1F"
        "b/below");
    EXPECT_EQ(ListedAnew(), Names{"a__b"});
    EXPECT_EQ(Directories(), Names{"a__b"});
    EXPECT_TRUE(Has("a__b/below"));
}

TEST_F(PosixFolderIndexFile, ADirectoryWithTheEndOfANameInItsNameIsRenamed)
{
    Make("x]]>y/below");
    EXPECT_EQ(ListedAnew(), Names{"x]]_y"});
    EXPECT_EQ(Directories(), Names{"x]]_y"});
    EXPECT_TRUE(Has("x]]_y/below"));
}

// Kept: a carriage return stays in the name on disk and in the list's bytes, and a reader of XML takes it for a line feed.
TEST_F(PosixFolderIndexFile, ACarriageReturnInANameIsListedAsALineFeed)
{
    Make("a\rb");
    Make("c\r\nd");
    EXPECT_EQ(ListedAnew(), (Names{"a\nb", "c\nd"}));
    EXPECT_EQ(Bytes("_folder.xml"), ListOf({"a\rb", "c\r\nd"}));
    EXPECT_EQ(Directories(), (Names{"a\rb", "c\r\nd"}));
}

TEST_F(PosixFolderIndexFile, ADirectoryOfWhiteSpaceAloneIsNotListedAndStays)
{
    Make("  ");
    Make("\t");
    Make(" a");
    EXPECT_EQ(ListedAnew(), Names{" a"});
    EXPECT_EQ(Directories(), (Names{"\t", "  ", " a"}));
}

}  // namespace
}  // namespace velmora::test
