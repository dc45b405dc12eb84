// Names without regard to case, and both separators.
#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

class Paths : public PlatformTest {};

TEST_F(Paths, BothSeparatorsSeparate)
{
    MakeDirectory("d");
    MakeFile("d\\f", "text");
    std::string forward = At("d/f");
    EXPECT_EQ(Contents(forward), "text");
    for (char& c : forward) c = c == '\\' ? '/' : c;
    EXPECT_EQ(Contents(forward), "text");
}

TEST_F(Paths, AFileIsFoundInAnySpelling)
{
    MakeFile("Message One.MAI", "text");
    for (const char* spelling : {"Message One.MAI", "message one.mai", "MESSAGE ONE.MAI", "mESSAGE oNE.mAI"}) {
        EXPECT_EQ(Contents(At(spelling)), "text") << spelling;
    }
    EXPECT_FALSE(IsThere(At("message two.mai")));
}

TEST_F(Paths, DirectoriesOnTheWayAreFoundInAnySpelling)
{
    MakeDirectory("Post");
    MakeDirectory("Post\\Office");
    MakeFile("Post\\Office\\_index.xml", "text");
    EXPECT_EQ(Contents(At("POST\\office\\_INDEX.XML")), "text");
    EXPECT_EQ(ErrorOfHandle(OpenToRead(At("POST\\office\\_other.xml"))), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorOfHandle(OpenToRead(At("POST\\home\\_index.xml"))), ERROR_PATH_NOT_FOUND);
}

TEST_F(Paths, OneDirectoryInTheMiddleMayBeSpelledInAnotherCase)
{
    MakeDirectory("Post");
    MakeDirectory("Post\\Office");
    MakeDirectory("Post\\Office\\Box");
    MakeFile("Post\\Office\\Box\\Message.MAI", "text");
    EXPECT_EQ(Contents(At("Post\\OFFICE\\Box\\Message.MAI")), "text");
    EXPECT_TRUE(IsThere(At("Post\\office\\Box")));
    EXPECT_EQ(Search(At("Post\\OFFICE\\Box\\*.mai")), std::vector<std::string>{"Message.MAI"});
    MakeFile("Post\\oFFICE\\Box\\_index.xml", "index");
    EXPECT_EQ(Contents(At("Post\\Office\\Box\\_index.xml")), "index");
    EXPECT_EQ(Search(At("Post\\*")), (std::vector<std::string>{".", "..", "Office"})) << "no second directory is made";
    EXPECT_TRUE(DeleteFileA(At("Post\\OFFICE\\Box\\Message.MAI").c_str()));
    EXPECT_FALSE(IsThere(At("Post\\Office\\Box\\Message.MAI")));
}

TEST_F(Paths, PrivateFilesAreFoundInTheSpellingsTheyAreKnownBy)
{
    for (const char* name : {"_change.dty", "_CACHED.DTY", "_FOLDER.DAT", "_index.xml", "_Shares.xml", "_Access.XML", "_groups.blk"}) {
        MakeFile(name, name);
    }
    EXPECT_EQ(Contents(At("_CHANGE.DTY")), "_change.dty");
    EXPECT_EQ(Contents(At("_cached.dty")), "_CACHED.DTY");
    EXPECT_EQ(Contents(At("_folder.dat")), "_FOLDER.DAT");
    EXPECT_EQ(Contents(At("_INDEX.XML")), "_index.xml");
    EXPECT_EQ(Contents(At("_shares.XML")), "_Shares.xml");
    EXPECT_EQ(Contents(At("_access.xml")), "_Access.XML");
    EXPECT_EQ(Contents(At("_GROUPS.BLK")), "_groups.blk");
}

TEST_F(Paths, WhatIsMadeBearsItsMakersSpelling)
{
    MakeFile("MixedCase.Txt");
    MakeDirectory("SubDir");
    EXPECT_EQ(Search(At("mixed*")), std::vector<std::string>{"MixedCase.Txt"});
    EXPECT_EQ(Search(At("subdir")), std::vector<std::string>{"SubDir"});
}

TEST_F(Paths, AFileIsNotMadeTwiceInTwoSpellings)
{
    MakeFile("Name.txt", "first");
    MakeFile("_index.blk");
    EXPECT_EQ(ErrorOfHandle(CreateBlock(At("NAME.TXT"))), ERROR_FILE_EXISTS);
    EXPECT_EQ(ErrorOfHandle(CreateBlock(At("_INDEX.BLK"))), ERROR_FILE_EXISTS);
    MakeFile("NAME.TXT", "second");
    EXPECT_EQ(Contents(At("Name.txt")), "second");
    EXPECT_EQ(Search(At("name.*")), std::vector<std::string>{"Name.txt"});
    EXPECT_EQ(ErrorOf(CreateDirectoryA(At("name.TXT").c_str(), nullptr)), ERROR_ALREADY_EXISTS);
    MakeFile("other");
    EXPECT_EQ(ErrorOf(MoveFileA(At("other").c_str(), At("NAME.txt").c_str())), ERROR_ALREADY_EXISTS);
}

TEST_F(Paths, AFileMadeAndDeletedInAnotherSpellingIsGone)
{
    MakeFile("One.mai");
    EXPECT_TRUE(DeleteFileA(At("ONE.MAI").c_str()));
    EXPECT_FALSE(IsThere(At("One.mai")));
    EXPECT_EQ(ErrorOf(DeleteFileA(At("one.mai").c_str())), ERROR_FILE_NOT_FOUND);
    MakeFile("one.MAI");
    EXPECT_EQ(Search(At("*.mai")), std::vector<std::string>{"one.MAI"});
}

TEST_F(Paths, FilesThatComeOneAfterAnotherAreAllFound)
{
    for (int i = 0; i < 50; ++i) {
        const std::string number = std::to_string(i);
        MakeFile("File" + number + ".Txt", number);
        EXPECT_EQ(Contents(At("FILE" + number + ".TXT")), number);
        EXPECT_FALSE(IsThere(At("FILE" + number + ".NOT")));
        EXPECT_EQ(ErrorOfHandle(CreateBlock(At("file" + number + ".txt"))), ERROR_FILE_EXISTS);
    }
}

TEST_F(Paths, AFileDeletedAndMovedBackUnderItsNameIsThere)
{
    for (int i = 0; i < 5; ++i) {
        MakeFile("_Message.MAI", std::to_string(i));
        DeleteFileA(At("Message.MAI").c_str());
        EXPECT_TRUE(MoveFileA(At("_Message.MAI").c_str(), At("Message.MAI").c_str())) << GetLastError();
        EXPECT_EQ(Contents(At("message.mai")), std::to_string(i));
    }
}

TEST_F(Paths, BytesAbove127AreNamesLikeOthers)
{
    const std::string name = "m\xC3\xBCll";
    MakeFile(name + ".TXT", "text");
    EXPECT_EQ(Contents(At(name + ".txt")), "text");
}

TEST_F(Paths, ANameOf255BytesFits)
{
    // A long directory on the way would exceed what the real thing takes, so the name alone is long.
    const std::string name = std::string(200, 'n') + ".TXT";
    MakeFile(name, "text");
    EXPECT_EQ(Contents(At(std::string(200, 'N') + ".txt")), "text");
    EXPECT_EQ(Search(At("*.txt")), std::vector<std::string>{name});
}

}  // namespace

}  // namespace velmora::test
