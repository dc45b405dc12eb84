// Whose a saved document is, and who may read it: as before.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/Xml.h"
#include "tests/platform/PlatformTest.h"
#include "tests/platform/PosixSystemCalls.h"
#include "tests/support/TestStore.h"

namespace velmora::test {

namespace {

class XmlRights : public PlatformTest {
protected:
    static void Save(const std::string& path, const char* name)
    {
        const auto document = platform::XmlDocument::Create();
        document->CreateRoot(name);
        document->Save(path);
    }
    // The path as the system takes it.
    std::string File(const std::string& name) const
    {
        std::string path = At(name);
        for (char& c : path)
            if (c == '\\') c = '/';
        return path;
    }
    struct stat Of(const std::string& name) const
    {
        struct stat info = {};
        EXPECT_EQ(lstat(File(name).c_str(), &info), 0) << name;
        return info;
    }
};

TEST_F(XmlRights, OfASavedFileStayAsTheyWere)
{
    Save(At("_s.xml"), "a");
    ASSERT_EQ(chmod(File("_s.xml").c_str(), 0600), 0);
    Save(At("_S.XML"), "b");
    EXPECT_EQ(Of("_s.xml").st_mode & 07777, mode_t{0600});
    EXPECT_EQ(ReadFileBytes(File("_s.xml")), "<b/>");
}

// A file system may tell only at the close that bytes did not reach the file.
TEST_F(XmlRights, AFileWhoseCloseFailsTakesNobodysPlace)
{
    Save(At("f.xml"), "a");
    {
        SystemCalls calls;
        calls.closingError = EIO;
        EXPECT_THROW(Save(At("f.xml"), "b"), ComError);
    }
    EXPECT_EQ(ReadFileBytes(File("f.xml")), "<a/>");
    EXPECT_FALSE(FileExists(File("f.xml.tmp")));
    Save(At("f.xml"), "b");
    EXPECT_EQ(ReadFileBytes(File("f.xml")), "<b/>");
}

TEST_F(XmlRights, AFileOfAnotherUserStaysTheirs)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
    Save(At("s.xml"), "a");
    ASSERT_EQ(chown(File("s.xml").c_str(), 12345, 54321), 0);
    Save(At("s.xml"), "b");
    EXPECT_EQ(Of("s.xml").st_uid, uid_t{12345});
    EXPECT_EQ(Of("s.xml").st_gid, gid_t{54321});
    EXPECT_EQ(ReadFileBytes(File("s.xml")), "<b/>");
}

TEST_F(XmlRights, ALinkIsWrittenThroughAndNotReplaced)
{
    Save(At("real.xml"), "a");
    ASSERT_EQ(symlink("real.xml", File("link.xml").c_str()), 0);
    ASSERT_EQ(link(File("real.xml").c_str(), File("other.xml").c_str()), 0);
    Save(At("link.xml"), "b");
    EXPECT_TRUE(S_ISLNK(Of("link.xml").st_mode));
    EXPECT_EQ(ReadFileBytes(File("other.xml")), "<b/>");
    Save(At("other.xml"), "c");
    EXPECT_EQ(ReadFileBytes(File("real.xml")), "<c/>");
    EXPECT_NE(access(File("other.xml.tmp").c_str(), F_OK), 0);
}

}  // namespace

}  // namespace velmora::test
