// Trees as only this side's file system has them: with symbolic links, and a thousand directories deep.
#include "common/FileManagement.h"

#include "platform/win32.h"
#include "tests/common/FileManagementFixture.h"

namespace velmora {
namespace {

TEST_F(FileManagementTest, RemoveTreeRemovesALinkAndNotWhatItLeadsTo)
{
    MakeTree();
    std::filesystem::create_directories(directory_ / "outside/deep");
    WriteFileBytes(directory_ / "outside/kept", "k");
    std::filesystem::create_directory_symlink(directory_ / "outside", directory_ / "a/b/link");
    std::filesystem::create_symlink(directory_ / "outside/kept", directory_ / "a/file-link");
    std::filesystem::create_directory_symlink(directory_ / "a", directory_ / "a/b/loop");
    FileManagement::RemoveTree(Path("a"));
    EXPECT_FALSE(FileExists(directory_ / "a"));
    EXPECT_EQ(ReadFileBytes(directory_ / "outside/kept"), "k");
    EXPECT_TRUE(std::filesystem::is_directory(directory_ / "outside/deep"));

    std::filesystem::create_directory_symlink(directory_ / "outside", directory_ / "link");
    FileManagement::RemoveTree(Path("link"));
    EXPECT_FALSE(std::filesystem::is_symlink(directory_ / "link"));
    EXPECT_EQ(ReadFileBytes(directory_ / "outside/kept"), "k");
}

TEST_F(FileManagementTest, CopyTreeDoesNotFollowALinkOutOfTheTree)
{
    MakeTree();
    std::filesystem::create_directories(directory_ / "outside");
    WriteFileBytes(directory_ / "outside/secret", "s");
    std::filesystem::create_directory_symlink(directory_ / "outside", directory_ / "a/link");
    EXPECT_EQ(MessageOf([&] { FileManagement::CopyTree(Path("a"), Path("copy")); }), "Call to CopyFile failed (GetLastError() returned 5)");
    EXPECT_FALSE(FileExists(directory_ / "copy/link"));
    EXPECT_FALSE(FileManagement::CopyTree(Path("a/link"), Path("other"), true));
    EXPECT_FALSE(FileExists(directory_ / "other"));
    EXPECT_EQ(ReadFileBytes(directory_ / "outside/secret"), "s");
}

TEST_F(FileManagementTest, CopyTreeOfALoopOfLinksEnds)
{
    MakeTree();
    std::filesystem::create_directory_symlink(directory_ / "a", directory_ / "a/b/loop");
    EXPECT_FALSE(FileManagement::CopyTree(Path("a"), Path("copy"), true));
    EXPECT_FALSE(FileExists(directory_ / "copy/b/loop"));
}

TEST_F(FileManagementTest, CreateDirectoriesTakesADoubledRootForTheRoot)
{
    const FailingSeam seam(platform::FileOperation::MakeDirectory, ERROR_ACCESS_DENIED);
    for (const char* root : {"\\\\", "//"}) EXPECT_TRUE(FileManagement::CreateDirectories(root)) << root;
    EXPECT_EQ(seam.calls, 0);
}

TEST_F(FileManagementTest, CreateDirectoriesMakesATreeOfAThousandParts)
{
    const std::string path = DeepPath(2000 + Path("deep").size());
    EXPECT_TRUE(FileManagement::CreateDirectories(path));
    EXPECT_TRUE(std::filesystem::is_directory(path));
    const FailingSeam seam(platform::FileOperation::MakeDirectory, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(FileManagement::CreateDirectories(path));
    EXPECT_EQ(seam.calls, 0);
}

TEST_F(FileManagementTest, RemoveTreeOfADeepTreeNeedsNoDeepStack)
{
    std::filesystem::path path = directory_ / "deep";
    std::filesystem::create_directory(path);
    for (int i = 0; i < 1000; ++i) std::filesystem::create_directory(path /= "d");
    FileManagement::RemoveTree(Path("deep"));
    EXPECT_FALSE(FileExists(directory_ / "deep"));
}

}  // namespace
}  // namespace velmora
