// Searches in a file system that has no short names.
#include <cerrno>

#include "tests/platform/PlatformTest.h"
#include "tests/platform/PosixSystemCalls.h"

namespace velmora::test {

namespace {

using PosixFind = PlatformTest;

TEST_F(PosixFind, ALongerExtensionIsAnother)
{
    for (const char* name : {"a.MAI", "d.main", "mail.maildir"}) MakeFile(name);
    EXPECT_EQ(Search(At("*.MAI")), std::vector<std::string>{"a.MAI"});
}

// What cannot be described now is not gone: a listing that left it out would be taken for the whole folder.
TEST_F(PosixFind, ASearchEndsWithTheErrorOfAFileThatCannotBeDescribed)
{
    for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) MakeFile(name);
    SystemCalls calls;
    calls.undescribed = "b.MAI";
    calls.undescribedError = EIO;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(At("*.MAI").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_STREQ(found.cFileName, "a.MAI");
    EXPECT_FALSE(FindNextFileA(search, &found));
    EXPECT_NE(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    FindClose(search);

    calls.undescribed = "a.MAI";
    EXPECT_EQ(FindFirstFileA(At("*.MAI").c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_NE(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(PosixFind, AFileThatWentMeanwhileIsLeftOut)
{
    for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) MakeFile(name);
    SystemCalls calls;
    calls.undescribed = "b.MAI";
    calls.undescribedError = ENOENT;
    EXPECT_EQ(Search(At("*.MAI")), (std::vector<std::string>{"a.MAI", "c.MAI"}));
}

}  // namespace

}  // namespace velmora::test
