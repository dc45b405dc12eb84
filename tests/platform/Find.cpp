// Directory searches.
#include <algorithm>

#include "tests/platform/PlatformTest.h"
#include "tests/support/Wine.h"

namespace velmora::test {

namespace {

using Names = std::vector<std::string>;

class Find : public PlatformTest {
protected:
    // What a pattern finds, without the two names of directories themselves.
    Names Matches(const std::string& pattern)
    {
        Names names = Search(At(pattern));
        std::erase_if(names, [](const std::string& name) { return name == "." || name == ".."; });
        return names;
    }
};

TEST_F(Find, StarDotStarIsEverything)
{
    MakeFile("noextension");
    MakeFile("with.ext");
    MakeDirectory("directory");
    DWORD end = 0;
    EXPECT_EQ(Search(At("*.*"), &end), (Names{".", "..", "directory", "noextension", "with.ext"}));
    EXPECT_EQ(end, ERROR_NO_MORE_FILES);
    EXPECT_EQ(Search(At("*")), (Names{".", "..", "directory", "noextension", "with.ext"}));
}

TEST_F(Find, StarDotIsNoExtension)
{
    // Wine passes over the dot.
    if (RunsUnderWine()) GTEST_SKIP() << "Wine gives every name for \"*.\"";
    MakeFile("plain");
    MakeFile("with.ext");
    MakeFile("two.dots.ext");
    EXPECT_EQ(Matches("*."), Names{"plain"});
}

TEST_F(Find, AnExtensionMatchesInAnyCase)
{
    for (const char* name : {"a.MAI", "b.mai", "c.mai.bak", "d.mad", "mai", "e.x.Mai"}) MakeFile(name);
    EXPECT_EQ(Matches("*.MAI"), (Names{"a.MAI", "b.mai", "e.x.Mai"}));
}

TEST_F(Find, AQuestionMarkIsOneByte)
{
    for (const char* name : {"abc", "abcd", "abc.x"}) MakeFile(name);
    EXPECT_EQ(Matches("???"), Names{"abc"});
    EXPECT_EQ(Matches("a?c"), Names{"abc"});
    EXPECT_EQ(Matches("???.x"), Names{"abc.x"});
    EXPECT_EQ(Matches("?bc*"), (Names{"abc", "abc.x", "abcd"}));
}

TEST_F(Find, AQuestionMarkIsOneByteOrNoneAtTheEndOfAPart)
{
    // Wine has one meaning for it.
    if (RunsUnderWine()) GTEST_SKIP() << "a question mark is always one byte under Wine";
    for (const char* name : {"a", "ab", "abc", "abcd", "ab.x", "abc.x"}) MakeFile(name);
    EXPECT_EQ(Matches("???"), (Names{"a", "ab", "abc"}));
    EXPECT_EQ(Matches("a?c"), Names{"abc"});
    EXPECT_EQ(Matches("???.x"), (Names{"ab.x", "abc.x"}));
    EXPECT_EQ(Matches("?bc*"), (Names{"abc", "abc.x", "abcd"}));
}

TEST_F(Find, ADotBeforeAStarMayBeTheEnd)
{
    for (const char* name : {"a", "a.b", "ab"}) MakeFile(name);
    EXPECT_EQ(Matches("a.*"), (Names{"a", "a.b"}));
}

TEST_F(Find, ADotBeforeAQuestionMarkMayBeTheEnd)
{
    if (RunsUnderWine()) GTEST_SKIP() << "a question mark is always one byte under Wine";
    for (const char* name : {"a", "a.b", "ab"}) MakeFile(name);
    EXPECT_EQ(Matches("a.?"), (Names{"a", "a.b"}));
}

TEST_F(Find, StarsInTheMiddleMatchAnyRun)
{
    for (const char* name : {"_12.NEW", "_3.new", "12.NEW", "_x.old", "a-middle-z", "amiddlez", "az"}) MakeFile(name);
    EXPECT_EQ(Matches("_*.NEW"), (Names{"_12.NEW", "_3.new"}));
    EXPECT_EQ(Matches("a*middle*z"), (Names{"a-middle-z", "amiddlez"}));
    EXPECT_EQ(Matches("**z"), (Names{"a-middle-z", "amiddlez", "az"}));
}

TEST_F(Find, NamesComeSortedByTheirUpperCase)
{
    for (const char* name : {"b", "A", "c", "_x", "Z9", "z10", "aa", "B1", "longer-name-1", "LONGER-NAME-0"}) MakeFile(name);
    EXPECT_EQ(Matches("*"), (Names{"A", "aa", "b", "B1", "c", "LONGER-NAME-0", "longer-name-1", "z10", "Z9", "_x"}));
}

TEST_F(Find, ASearchForNothingIs2AndInAMissingDirectory3)
{
    DWORD error = 0;
    EXPECT_TRUE(Search(At("missing"), &error).empty());
    EXPECT_EQ(error, ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(Search(At("*.none"), &error).empty());
    EXPECT_EQ(error, ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(Search(At("no\\missing"), &error).empty());
    EXPECT_EQ(error, ERROR_PATH_NOT_FOUND);
    EXPECT_TRUE(Search(At("no\\*"), &error).empty());
    EXPECT_EQ(error, ERROR_PATH_NOT_FOUND);
    EXPECT_TRUE(Search(Root() + "\\", &error).empty());
    EXPECT_EQ(error, ERROR_FILE_NOT_FOUND);
}

TEST_F(Find, OneNameGivesItsDetailsAndEnds)
{
    const std::string path = MakeFile("Message.MAI", "0123456789");
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("message.mai").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(found.cFileName, "Message.MAI");
    EXPECT_EQ(found.nFileSizeLow, 10u);
    EXPECT_EQ(found.nFileSizeHigh, 0u);
    EXPECT_EQ(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_EQ(Number(found.ftLastWriteTime), LastWriteOf(path));
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    EXPECT_LE(Number(found.ftCreationTime), Number(now));
    EXPECT_GT(Number(found.ftCreationTime), Number(now) - uint64_t{600} * 10'000'000);
    EXPECT_EQ(ErrorOf(FindNextFileA(search, &found)), ERROR_NO_MORE_FILES);
    EXPECT_TRUE(FindClose(search));
}

TEST_F(Find, ASearchWithNoWildcardFindsOneEntryOfThatNameOnly)
{
    MakeFile("Name");
    MakeFile("Name.txt");
    MakeFile("NameX");
    MakeDirectory("Sub");
    DWORD end = 0;
    EXPECT_EQ(Search(At("name"), &end), Names{"Name"});
    EXPECT_EQ(end, ERROR_NO_MORE_FILES);
    EXPECT_EQ(Search(At("sub")), Names{"Sub"});
    EXPECT_TRUE(Search(At("nam"), &end).empty());
    EXPECT_EQ(end, ERROR_FILE_NOT_FOUND);
}

uint64_t CreationOf(const std::string& path)
{
    WIN32_FIND_DATAA found{};
    const HANDLE search = FindFirstFileA(path.c_str(), &found);
    EXPECT_NE(search, INVALID_HANDLE_VALUE) << path << " error " << GetLastError();
    EXPECT_TRUE(FindClose(search));
    return Number(found.ftCreationTime);
}

TEST_F(Find, TheCreationTimeIsNotTheLastWrite)
{
    // Wine does not ask its file system for the birth time.
    if (RunsUnderWine()) GTEST_SKIP() << "Wine gives the last write as the creation time";
    const std::string path = MakeFile("f", "text");
    const uint64_t created = CreationOf(path);
    const uint64_t hour = uint64_t{3600} * 10'000'000;
    {
        Opened file(OpenToUpdate(path));
        const FILETIME written = FileTime(created - hour);
        ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &written));
        FILETIME creation{};
        ASSERT_TRUE(GetFileTime(file.Get(), &creation, nullptr, nullptr));
        EXPECT_EQ(Number(creation), created);
    }
    EXPECT_EQ(LastWriteOf(path), created - hour);
    EXPECT_EQ(CreationOf(path), created);
}

TEST_F(Find, ADirectorysOwnCreationTimeDoesNotMoveWhenFilesComeAndGo)
{
    if (RunsUnderWine()) GTEST_SKIP() << "Wine gives the last write as the creation time";
    MakeDirectory("d");
    const std::string itself = At("d\\.");
    const uint64_t created = CreationOf(itself);
    EXPECT_NE(created, 0u);
    for (int i = 0; i < 3; ++i) {
        // Long enough for the directory's last write to be another one.
        const auto lastWrite = [&] {
            WIN32_FIND_DATAA found{};
            FindClose(FindFirstFileA(itself.c_str(), &found));
            return Number(found.ftLastWriteTime);
        };
        const uint64_t before = lastWrite();
        do {
            MakeFile("d\\f");
            EXPECT_TRUE(DeleteFileA(At("d\\f").c_str()));
        } while (lastWrite() == before);
        EXPECT_EQ(CreationOf(itself), created);
    }
}

TEST_F(Find, ADirectoryIsToldByItsAttribute)
{
    MakeDirectory("sub");
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("s*").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_NE(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
    EXPECT_TRUE(FindClose(search));
}

TEST_F(Find, WhatComesAndGoesDuringASearchDoesNotHarmIt)
{
    for (int i = 0; i < 20; ++i) MakeFile("f" + std::to_string(100 + i));
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("f*").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    int seen = 0;
    do {
        ++seen;
        DeleteFileA(At(found.cFileName).c_str());
        MakeFile("g" + std::to_string(seen));
    } while (FindNextFileA(search, &found));
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
    EXPECT_TRUE(FindClose(search));
    EXPECT_EQ(seen, 20);
    EXPECT_TRUE(Matches("f*").empty());
}

TEST_F(Find, ASearchThatFoundNothingIs6)
{
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("missing").c_str(), &found);
    ASSERT_EQ(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ErrorOf(FindNextFileA(search, &found)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ErrorOf(FindClose(search)), ERROR_INVALID_HANDLE);
}

}  // namespace

}  // namespace velmora::test
