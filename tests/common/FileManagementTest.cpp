#include "common/FileManagement.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/FileIterator.h"
#include "platform/win32.h"
#include "tests/common/FileManagementFixture.h"

namespace velmora {
namespace {

TEST_F(FileManagementTest, ParentDirectoryIsTheTextBeforeTheLastSeparator)
{
    EXPECT_EQ(FileManagement::ParentDirectory("C:\\store\\po"), "C:\\store");
    EXPECT_EQ(FileManagement::ParentDirectory("/store/po"), "/store");
    EXPECT_EQ(FileManagement::ParentDirectory("store\\po/box"), "store\\po");
}

TEST_F(FileManagementTest, ParentDirectorySkipsTrailingSeparatorsAndRuns)
{
    EXPECT_EQ(FileManagement::ParentDirectory("C:\\store\\po\\\\"), "C:\\store");
    EXPECT_EQ(FileManagement::ParentDirectory("C:\\store\\//\\po"), "C:\\store");
}

TEST_F(FileManagementTest, ParentDirectoryOfADriveOrABareNameIsEmpty)
{
    EXPECT_EQ(FileManagement::ParentDirectory("C:\\"), "");
    EXPECT_EQ(FileManagement::ParentDirectory("name"), "");
    EXPECT_EQ(FileManagement::ParentDirectory("/name"), "");
    EXPECT_EQ(FileManagement::ParentDirectory("\\\\//"), "");
    EXPECT_EQ(FileManagement::ParentDirectory(""), "");
}

TEST_F(FileManagementTest, FileNameIsTheTextBehindTheLastSeparator)
{
    EXPECT_EQ(FileManagement::FileName("C:\\store\\_index.xml"), "_index.xml");
    EXPECT_EQ(FileManagement::FileName("store/po\\x"), "x");
    EXPECT_EQ(FileManagement::FileName("store\\"), "");
    EXPECT_EQ(FileManagement::FileName("name"), "");
    EXPECT_EQ(FileManagement::FileName(""), "");
}

TEST_F(FileManagementTest, OnlyANameThatTheSystemRefusesIsInvalid)
{
    WriteFileBytes(directory_ / "file", "");
    EXPECT_TRUE(FileManagement::IsValidPath(Path("file")));
    EXPECT_TRUE(FileManagement::IsValidPath(Path("missing")));
    EXPECT_TRUE(FileManagement::IsValidPath(Path("no/such/directory")));
    const FailingSeam seam(platform::FileOperation::Search, ERROR_INVALID_NAME);
    EXPECT_FALSE(FileManagement::IsValidPath(Path("file")));
}

TEST_F(FileManagementTest, ExistsForFilesAndDirectories)
{
    MakeTree();
    EXPECT_TRUE(FileManagement::Exists(Path("a")));
    EXPECT_TRUE(FileManagement::Exists(Path("a/one")));
    EXPECT_TRUE(FileManagement::Exists(Path("A/ONE")));
    EXPECT_FALSE(FileManagement::Exists(Path("a/two")));
    EXPECT_FALSE(FileManagement::Exists(Path("x/two")));
}

TEST_F(FileManagementTest, NothingBearsANameThatIsMissingOrImpossible)
{
    for (const uint32_t error : {2u, 3u, 123u, 206u}) {
        EXPECT_TRUE(NamesNothing(error));
        const FailingSeam seam(platform::FileOperation::Search, error);
        EXPECT_FALSE(FileManagement::MayExist(Path("file"))) << error;
    }
    for (const uint32_t error : {5u, 32u, 1117u}) {
        EXPECT_FALSE(NamesNothing(error));
        const FailingSeam seam(platform::FileOperation::Search, error);
        EXPECT_TRUE(FileManagement::MayExist(Path("file"))) << error;
    }
    EXPECT_FALSE(NamesNothing(0));
    EXPECT_FALSE(FileManagement::MayExist(Path("bad|name")));
    EXPECT_FALSE(FileManagement::MayExist(Path(std::string(300, 'x'))));
    EXPECT_FALSE(FileManagement::MayExist(Path("missing")));
}

TEST_F(FileManagementTest, CreateDirectoriesMakesTheParentsFromTheTop)
{
    EXPECT_TRUE(FileManagement::CreateDirectories(directory_.Str() + "\\x\\y/z\\"));
    EXPECT_TRUE(std::filesystem::is_directory(directory_ / "x/y/z"));
}

TEST_F(FileManagementTest, CreateDirectoriesOnAnExistingDirectoryMakesNoCall)
{
    MakeTree();
    const FailingSeam seam(platform::FileOperation::MakeDirectory, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(FileManagement::CreateDirectories(Path("a/b")));
    EXPECT_EQ(seam.calls, 0);
}

TEST_F(FileManagementTest, CreateDirectoriesOnTheRootMakesNoCall)
{
    const FailingSeam seam(platform::FileOperation::MakeDirectory, ERROR_ACCESS_DENIED);
    for (const char* root : {"/", "\\"}) EXPECT_TRUE(FileManagement::CreateDirectories(root)) << root;
    EXPECT_EQ(seam.calls, 0);
}

TEST_F(FileManagementTest, CreateDirectoriesTakesAPatternForNoDirectory)
{
    MakeTree();
    EXPECT_FALSE(FileManagement::CreateDirectories(directory_.Str() + "\\a\\*", true));
}

TEST_F(FileManagementTest, CreateDirectoriesStopsAtABareName)
{
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.Path());
    EXPECT_TRUE(FileManagement::CreateDirectories("bare"));
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_directory(directory_ / "bare"));
}

TEST_F(FileManagementTest, CreateDirectoriesTellsWhatIsWrong)
{
    EXPECT_EQ(MessageOf([] { FileManagement::CreateDirectories(""); }), "Empty path");
    WriteFileBytes(directory_ / "file", "");
    EXPECT_EQ(MessageOf([&] { FileManagement::CreateDirectories(Path("file")); }), "Failed to create directory (" + Path("file") + ")");
    const FailingSeam seam(platform::FileOperation::Search, ERROR_INVALID_NAME);
    EXPECT_EQ(MessageOf([&] { FileManagement::CreateDirectories(Path("x")); }), "Invalid path: " + Path("x"));
}

TEST_F(FileManagementTest, CreateDirectoriesQuietlyAnswersFalse)
{
    WriteFileBytes(directory_ / "file", "");
    EXPECT_FALSE(FileManagement::CreateDirectories("", true));
    EXPECT_FALSE(FileManagement::CreateDirectories(Path("file"), true));
    const FailingSeam seam(platform::FileOperation::Search, ERROR_INVALID_NAME);
    EXPECT_FALSE(FileManagement::CreateDirectories(Path("x"), true));
}

TEST_F(FileManagementTest, CreateDirectoriesMakesParentsLoudlyEvenWhenQuiet)
{
    WriteFileBytes(directory_ / "file", "");
    EXPECT_EQ(MessageOf([&] { FileManagement::CreateDirectories(Path("file/x/y"), true); }),
              "Failed to create directory (" + Path("file") + ")");
}

TEST_F(FileManagementTest, CreateDirectoriesOfAnEndlessPathIsAnInvalidPath)
{
    std::string path = "x";
    for (int i = 0; i < 100000; ++i) path += "/x";
    EXPECT_FALSE(FileManagement::CreateDirectories(path, true));
}

TEST_F(FileManagementTest, CreateDirectoriesLooksAtNothingForAPathBeyondTheBound)
{
    std::string path = directory_.Str();
    while (path.size() <= 4095) path += "/x";
    const FailingSeam seam(platform::FileOperation::Search, ERROR_ACCESS_DENIED);
    EXPECT_EQ(MessageOf([&] { FileManagement::CreateDirectories(path); }), "Invalid path: " + path);
    EXPECT_EQ(seam.calls, 0);
}

TEST_F(FileManagementTest, CreateDirectoriesMakesAPathOfManyPartsOneByOne)
{
    const std::string path = DeepPath(kDeepEverywhere);
    EXPECT_TRUE(FileManagement::CreateDirectories(path));
    EXPECT_TRUE(std::filesystem::is_directory(path));
    const FailingSeam seam(platform::FileOperation::MakeDirectory, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(FileManagement::CreateDirectories(path));
    EXPECT_EQ(seam.calls, 0);
}

TEST_F(FileManagementTest, WriteWholeFileMakesItsParents)
{
    FileManagement::WriteWholeFile(Path("p/q/file"), std::string_view("a\0\r\n", 4));
    EXPECT_EQ(ReadFileBytes(directory_ / "p/q/file"), std::string("a\0\r\n", 4));
    FileManagement::WriteWholeFile(Path("p/q/file"), "b");
    EXPECT_EQ(ReadFileBytes(directory_ / "p/q/file"), "b");
}

TEST_F(FileManagementTest, WriteWholeFileThatCannotBeOpenedThrows)
{
    MakeTree();
    EXPECT_EQ(MessageOf([&] { FileManagement::WriteWholeFile(Path("a/b"), "x"); }), "Failed to open file " + Path("a/b") + " for output");
}

TEST_F(FileManagementTest, WriteWholeFileThatCannotBeWrittenThrows)
{
    const FailingSeam seam(platform::FileOperation::Write, ERROR_DISK_FULL);
    EXPECT_EQ(MessageOf([&] { FileManagement::WriteWholeFile(Path("file"), "x"); }), "Failed to write file " + Path("file"));
}

TEST_F(FileManagementTest, RemoveTreeOnAMissingPathDoesNothing)
{
    FileManagement::RemoveTree(Path("missing"));
    FileManagement::RemoveTree(Path("no/such/path"));
}

TEST_F(FileManagementTest, RemoveTreeRemovesAFileOrEverything)
{
    MakeTree();
    FileManagement::RemoveTree(Path("a/one"));
    EXPECT_FALSE(FileExists(directory_ / "a/one"));
    FileManagement::RemoveTree(Path("a"));
    EXPECT_FALSE(FileExists(directory_ / "a"));
}

TEST_F(FileManagementTest, RemoveTreeTellsWhichCallFailed)
{
    MakeTree();
    {
        const FailingSeam seam(platform::FileOperation::Delete, ERROR_SHARING_VIOLATION);
        EXPECT_EQ(MessageOf([&] { FileManagement::RemoveTree(Path("a/one")); }),
                  "Call to DeleteFile failed for " + Path("a/one") + " (GetLastError() returned 32)");
        EXPECT_EQ(MessageOf([&] { FileManagement::RemoveTree(Path("a/b/c")); }),
                  "Call to RemoveDirectory failed for " + Path("a/b/c") + " (GetLastError() returned 32)");
    }
    EXPECT_TRUE(FileExists(directory_ / "a/b/two"));
}

TEST_F(FileManagementTest, RemoveTreeTellsOfAPathThatCannotBeAskedFor)
{
    MakeTree();
    const FailingSeam seam(platform::FileOperation::Search, ERROR_ACCESS_DENIED, "one");
    EXPECT_EQ(MessageOf([&] { FileManagement::RemoveTree(Path("a/one")); }),
              "Call to DeleteFile failed for " + Path("a/one") + " (GetLastError() returned 5)");
    EXPECT_TRUE(FileExists(directory_ / "a/one"));
}

// As when somebody else removes the same tree.
TEST_F(FileManagementTest, RemoveTreeLeavesAtThatWhatGoesMeanwhile)
{
    MakeTree();
    {
        const FailingSeam seam(platform::FileOperation::Delete, ERROR_FILE_NOT_FOUND, "one");
        EXPECT_EQ(MessageOf([&] { FileManagement::RemoveTree(Path("a/one")); }), "no exception");
        EXPECT_EQ(seam.calls, 1);
    }
    const FailingSeam seam(platform::FileOperation::Delete, ERROR_PATH_NOT_FOUND, "c");
    EXPECT_EQ(MessageOf([&] { FileManagement::RemoveTree(Path("a/b/c")); }), "no exception");
}

TEST_F(FileManagementTest, RemoveTreeRemovesADeepTree)
{
    const std::string path = DeepPath(kDeepEverywhere);
    std::filesystem::create_directories(path);
    WriteFileBytes(path + "/f", "x");
    FileManagement::RemoveTree(Path("deep"));
    EXPECT_FALSE(FileExists(directory_ / "deep"));
}

TEST_F(FileManagementTest, MovePathMakesTheParentOfItsTarget)
{
    MakeTree();
    FileManagement::MovePath(Path("a/one"), Path("x/y/uno"));
    EXPECT_EQ(ReadFileBytes(directory_ / "x/y/uno"), "1");
    EXPECT_FALSE(FileExists(directory_ / "a/one"));
    FileManagement::MovePath(Path("a"), Path("x/a"));
    EXPECT_EQ(ReadFileBytes(directory_ / "x/a/b/two"), "22");
}

TEST_F(FileManagementTest, MovePathTellsWhatIsWrong)
{
    MakeTree();
    EXPECT_EQ(MessageOf([&] { FileManagement::MovePath(Path("missing"), Path("x")); }), "File not found: " + Path("missing"));
    EXPECT_EQ(MessageOf([&] { FileManagement::MovePath(Path("a/one"), Path("a/b/two")); }),
              "Call to MoveFile failed (GetLastError() returned 183)");
    EXPECT_EQ(ReadFileBytes(directory_ / "a/b/two"), "22");
}

TEST_F(FileManagementTest, CopyTreeCopiesAFileOverWhatIsThere)
{
    MakeTree();
    EXPECT_TRUE(FileManagement::CopyTree(Path("a/one"), Path("a/b/two")));
    EXPECT_EQ(ReadFileBytes(directory_ / "a/b/two"), "1");
    EXPECT_TRUE(FileManagement::CopyTree(Path("a/one"), Path("new/place/one")));
    EXPECT_EQ(ReadFileBytes(directory_ / "new/place/one"), "1");
}

TEST_F(FileManagementTest, CopyTreeCopiesADirectoryWithAllThatIsInIt)
{
    MakeTree();
    EXPECT_TRUE(FileManagement::CopyTree(Path("a"), Path("copy/of/a")));
    EXPECT_EQ(ReadFileBytes(directory_ / "copy/of/a/one"), "1");
    EXPECT_EQ(ReadFileBytes(directory_ / "copy/of/a/b/two"), "22");
    EXPECT_TRUE(std::filesystem::is_directory(directory_ / "copy/of/a/b/c"));
    EXPECT_TRUE(FileExists(directory_ / "a/b/two"));
}

TEST_F(FileManagementTest, CopyTreeIntoItselfEnds)
{
    MakeTree();
    EXPECT_TRUE(FileManagement::CopyTree(Path("a"), Path("a/b/copy")));
    EXPECT_EQ(ReadFileBytes(directory_ / "a/b/copy/b/two"), "22");
    EXPECT_FALSE(FileExists(directory_ / "a/b/copy/b/copy"));
}

TEST_F(FileManagementTest, CopyTreeTellsWhatIsWrong)
{
    MakeTree();
    EXPECT_EQ(MessageOf([&] { FileManagement::CopyTree(Path("missing"), Path("x")); }), "File not found: " + Path("missing"));
    const FailingSeam seam(platform::FileOperation::Copy, ERROR_DISK_FULL);
    EXPECT_EQ(MessageOf([&] { FileManagement::CopyTree(Path("a"), Path("x")); }), "Call to CopyFile failed (GetLastError() returned 112)");
}

TEST_F(FileManagementTest, CopyTreeOfADirectoryThatCannotBeListedCopiesNothing)
{
    MakeTree();
    const FailingSeam seam(platform::FileOperation::Search, ERROR_ACCESS_DENIED, "a\\b\\*");
    EXPECT_EQ(MessageOf([&] { FileManagement::CopyTree(directory_.Str() + "\\a", Path("copy")); }),
              "Call to CopyFile failed (GetLastError() returned 5)");
    EXPECT_EQ(seam.calls, 1);
    EXPECT_FALSE(FileExists(directory_ / "copy"));
}

TEST_F(FileManagementTest, CopyTreeOfAPatternIsNoCopy)
{
    MakeTree();
    EXPECT_NE(MessageOf([&] { FileManagement::CopyTree(directory_.Str() + "\\a\\*", Path("copy")); }), "no exception");
    EXPECT_FALSE(FileManagement::CopyTree(directory_.Str() + "\\a\\*", Path("copy"), true));
    EXPECT_FALSE(FileExists(directory_ / "copy"));
}

TEST_F(FileManagementTest, RemoveTreeOfADirectoryThatCannotBeListedTellsThatItIsNotEmpty)
{
    MakeTree();
    const FailingSeam seam(platform::FileOperation::Search, ERROR_ACCESS_DENIED, "b\\*");
    const std::string path = directory_.Str() + "\\a";
    EXPECT_EQ(MessageOf([&] { FileManagement::RemoveTree(path); }),
              "Call to RemoveDirectory failed for " + path + "\\b (GetLastError() returned 145)");
    EXPECT_TRUE(FileExists(directory_ / "a/b/two"));
}

TEST_F(FileManagementTest, CopyTreeQuietlyAnswersFalse)
{
    MakeTree();
    EXPECT_FALSE(FileManagement::CopyTree(Path("missing"), Path("x"), true));
    const FailingSeam seam(platform::FileOperation::Copy, ERROR_DISK_FULL);
    EXPECT_FALSE(FileManagement::CopyTree(Path("a"), Path("x"), true));
    EXPECT_EQ(seam.calls, 1);
}

TEST_F(FileManagementTest, IteratorReturnsEveryNameAndThenEmpty)
{
    MakeTree();
    FileIterator iterator(Path("a") + "\\*");
    EXPECT_FALSE(iterator.HasMore());
    std::vector<std::string> names;
    for (std::string name = iterator.First(); !name.empty(); name = iterator.Next()) {
        EXPECT_TRUE(iterator.HasMore());
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{".", "..", "b", "one"}));
    EXPECT_FALSE(iterator.HasMore());
    EXPECT_EQ(iterator.Next(), "");
}

TEST_F(FileManagementTest, IteratorWithAMaskReturnsOnlySuchEntries)
{
    MakeTree();
    FileIterator iterator(Path("a") + "\\*", kDirectoryAttribute);
    EXPECT_EQ(iterator.First(), ".");
    EXPECT_EQ(iterator.Next(), "..");
    EXPECT_EQ(iterator.Next(), "b");
    EXPECT_EQ(iterator.Attributes() & kDirectoryAttribute, kDirectoryAttribute);
    EXPECT_EQ(iterator.Next(), "");
    EXPECT_FALSE(iterator.HasMore());
    EXPECT_EQ(iterator.First(), ".");
}

TEST_F(FileManagementTest, IteratorWithNothingToFindIsEmptyAtOnce)
{
    MakeTree();
    FileIterator missing(Path("a/*.MAI"));
    EXPECT_EQ(missing.First(), "");
    EXPECT_FALSE(missing.HasMore());
    EXPECT_EQ(missing.Next(), "");
    FileIterator onlyDirectories(Path("a/one"), kDirectoryAttribute);
    EXPECT_EQ(onlyDirectories.First(), "");
    EXPECT_FALSE(onlyDirectories.HasMore());
}

TEST_F(FileManagementTest, IteratorTellsAFailedSearchFromAFinishedOne)
{
    MakeTree();
    FileIterator whole(Path("a") + "\\*");
    for (std::string name = whole.First(); !name.empty(); name = whole.Next()) EXPECT_EQ(whole.Error(), 0u);
    EXPECT_EQ(whole.Error(), 0u);
    FileIterator nothing(Path("a") + "\\*.MAI");
    EXPECT_EQ(nothing.First(), "");
    EXPECT_EQ(nothing.Error(), 0u);
    FileIterator missing(Path("x") + "\\*");
    EXPECT_EQ(missing.First(), "");
    EXPECT_EQ(missing.Error(), ERROR_PATH_NOT_FOUND);
    {
        const FailingSeam seam(platform::FileOperation::Search, ERROR_ACCESS_DENIED);
        EXPECT_EQ(whole.First(), "");
        EXPECT_EQ(whole.Error(), ERROR_ACCESS_DENIED);
    }
    EXPECT_EQ(whole.First(), ".");
    EXPECT_EQ(whole.Error(), 0u) << "a new search";
}

TEST_F(FileManagementTest, IteratorThatIsLeftEarlyClosesItsSearch)
{
    MakeTree();
    // Each listing that stayed open would hold a descriptor or the memory of its names, more of them than a process may.
    for (int i = 0; i < 5000; ++i) {
        FileIterator iterator(Path("a") + "\\*");
        ASSERT_EQ(iterator.First(), ".");
    }
}

}  // namespace
}  // namespace velmora
