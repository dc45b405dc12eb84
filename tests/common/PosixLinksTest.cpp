// Trees with symbolic links in them.
#include "common/FileManagement.h"
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

}  // namespace
}  // namespace velmora
