#include "frame/StorePaths.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "common/Text.h"
#include "frame/ProcessState.h"
#include "platform/FileSeam.h"
#include "tests/support/Captured.h"
#include "tests/support/TestStore.h"
#include "velmora/index.h"

namespace velmora {
namespace {

// A store with a post office "po" whose roots are there, so that one level below them can be made.
class PathsTest : public testing::Test {
protected:
    PathsTest()
    {
        CopyBounded(Process().MailRoot, store_.MailRoot().string());
        std::filesystem::create_directories(PostofficeDirectory());
    }

    std::filesystem::path PostofficeDirectory() { return store_.MailRoot() / "po"; }
    bool IsDirectory(const char* name) { return std::filesystem::is_directory(PostofficeDirectory() / name); }
    // `path` without the post office's directory.
    std::string Below(const std::string& path)
    {
        const std::string root = store_.MailRoot().string() + "\\po";
        return path.substr(0, root.size()) == root ? path.substr(root.size()) : "not below the post office: " + path;
    }
    void TurnPublicFoldersOff() { store_.SetNumber("Public Folders Enabled", 0); }

    std::string IndexPath(const char* folder)
    {
        STOREINDEXTYPE index;
        CopyBounded(index.Postoffice, "po");
        CopyBounded(index.Mailbox, "box");
        CopyBounded(index.Folder, folder);
        EXPECT_EQ(StoreIndex_SetPaths(&index), 1u);
        return Below(index.Path);
    }
    std::string ItemPath(const char* folder)
    {
        STOREITEMTYPE item;
        CopyBounded(item.Postoffice, "po");
        CopyBounded(item.Mailbox, "box");
        CopyBounded(item.Folder, folder);
        EXPECT_EQ(ResolveItemPaths(item), 1u);
        return Below(item.FolderPath);
    }
    std::string FolderPath(const char* folder)
    {
        char path[1024];
        EXPECT_EQ(ResolveFolderPath("po", "box", folder, path, sizeof path), path);
        return Below(path);
    }
    std::string StatusPath(const char* folder)
    {
        char path[kStatusPathSize];
        EXPECT_EQ(ResolveStatusPath(path, sizeof path, "po", "box", folder), 1u);
        return Below(path);
    }

    test::TestStore store_;
};

// ---- The names of public folders ----

TEST(IsPublicFolderName, StandsAloneOrBeforeASeparatorAtOffsetZeroOrOne)
{
    for (const char* name : {"Public", "/Public", "\\Public", "\\Public/x", "Public\\x", "public/x/y", "PUBLIC"})
        EXPECT_TRUE(IsPublicFolderName(name)) << name;
    for (const char* name : {"Publicity", "/x/Public", "//Public", "", "Publi", "Inbox", "/Publicity/x"})
        EXPECT_FALSE(IsPublicFolderName(name)) << name;
}

TEST(IsPublicFolderName, AnyByteMayStandBeforeIt) { EXPECT_TRUE(IsPublicFolderName("xPublic/y")); }

TEST(IsPublicFolderName, OnlyTheFirstHitCounts) { EXPECT_FALSE(IsPublicFolderName("PublicPublic")); }

// ---- The directory of an index ----

using SetPaths = PathsTest;

TEST_F(SetPaths, NullIndexIsWarnedOfAndAnswersZero)
{
    uint64_t result = 1;
    EXPECT_EQ(test::CaptureStdout([&] { result = StoreIndex_SetPaths(nullptr); }),
              "WARNING!: StoreIndex is NULL when passed to StoreIndex_SetPaths\n");
    EXPECT_EQ(result, 0u);
}

TEST_F(SetPaths, APathOnceSetSticksUntilItIsCleared)
{
    STOREINDEXTYPE index;
    CopyBounded(index.Postoffice, "po");
    CopyBounded(index.Mailbox, "box");
    CopyBounded(index.Folder, "Inbox");
    StoreIndex_SetPaths(&index);
    CopyBounded(index.Folder, "Sent");
    CopyBounded(index.Mailbox, "other");
    EXPECT_EQ(StoreIndex_SetPaths(&index), 1u);
    EXPECT_EQ(Below(index.Path), "\\MAILROOT\\box\\Inbox");
    index.Path[0] = 0;
    StoreIndex_SetPaths(&index);
    EXPECT_EQ(Below(index.Path), "\\MAILROOT\\other\\Sent");
}

TEST_F(SetPaths, AMailFolderStandsBelowItsMailboxAsItIsSpelled)
{
    EXPECT_EQ(IndexPath("Inbox"), "\\MAILROOT\\box\\Inbox");
    EXPECT_EQ(IndexPath("/Inbox"), "\\MAILROOT\\box\\/Inbox");
    EXPECT_EQ(IndexPath("\\a/b\\"), "\\MAILROOT\\box\\\\a/b\\");
    EXPECT_FALSE(IsDirectory("MAILROOT"));
}

TEST_F(SetPaths, AnEmptyFolderIsTheInboxInCapitals) { EXPECT_EQ(IndexPath(""), "\\MAILROOT\\box\\INBOX"); }

TEST_F(SetPaths, ContactsStandBelowTheirRootWhichIsMade)
{
    EXPECT_EQ(IndexPath("$VCFROOT"), "\\VCFROOT");
    EXPECT_TRUE(IsDirectory("VCFROOT"));
    EXPECT_EQ(IndexPath("$vcfroot/friends"), "\\VCFROOT\\friends");
    EXPECT_TRUE(IsDirectory("VCFROOT/friends"));
    EXPECT_EQ(IndexPath("$VCFROOT\\work"), "\\VCFROOT\\work");
    EXPECT_EQ(IndexPath("$VCFROOT/"), "\\VCFROOT\\");
}

TEST_F(SetPaths, OneLevelOfADirectoryIsMadeAndNoMore)
{
    EXPECT_EQ(IndexPath("$VCFROOT/friends"), "\\VCFROOT\\friends");
    EXPECT_FALSE(IsDirectory("VCFROOT"));
}

TEST_F(SetPaths, ContactsAreSpecialByTheBeginningOfTheName) { EXPECT_EQ(IndexPath("$VCFROOTX/friends"), "\\VCFROOT"); }

TEST_F(SetPaths, TheRestOfASpecialNameCountsFromTheUnskippedName)
{
    EXPECT_EQ(IndexPath("/$VCFROOT/friends"), "\\VCFROOT\\/friends");
    EXPECT_EQ(IndexPath("/$FILEROOT/x"), "\\FILEROOT\\box\\T/x");
    EXPECT_EQ(IndexPath("\\\\$FILEROOT\\x"), "\\FILEROOT\\box\\OT\\x");
}

TEST_F(SetPaths, FilesStandBelowRootAndMailboxWithADoubledSeparatorBeforeTheRest)
{
    EXPECT_EQ(IndexPath("$FILEROOT/docs"), "\\FILEROOT\\box\\/docs");
    EXPECT_EQ(IndexPath("$fileroot\\docs"), "\\FILEROOT\\box\\\\docs");
    EXPECT_TRUE(IsDirectory("FILEROOT/box/docs"));
}

TEST_F(SetPaths, FilesOfAMailboxAreMadeStepByStep)
{
    EXPECT_EQ(IndexPath("$FILEROOT"), "\\FILEROOT\\box");
    EXPECT_TRUE(IsDirectory("FILEROOT/box"));
    EXPECT_EQ(IndexPath("$FILEROOTX"), "\\FILEROOT\\box");
}

TEST_F(SetPaths, PublicFoldersStandBelowTheirRootWhichIsMade)
{
    EXPECT_EQ(IndexPath("Public"), "\\PUBROOT");
    EXPECT_TRUE(IsDirectory("PUBROOT"));
    EXPECT_EQ(IndexPath("/public/news"), "\\PUBROOT\\news");
    EXPECT_TRUE(IsDirectory("PUBROOT/news"));
    EXPECT_EQ(IndexPath("\\\\Public\\news/old"), "\\PUBROOT\\news/old");
    EXPECT_EQ(IndexPath("Public/"), "\\PUBROOT\\");
}

TEST_F(SetPaths, APublicNameBehindAnotherByteIsTheRootItself) { EXPECT_EQ(IndexPath("xPublic/news"), "\\PUBROOT"); }

TEST_F(SetPaths, NamesThatOnlyBeginLikePublicAreMail)
{
    EXPECT_EQ(IndexPath("Publicity"), "\\MAILROOT\\box\\Publicity");
    EXPECT_EQ(IndexPath("x/Public"), "\\MAILROOT\\box\\x/Public");
}

TEST_F(SetPaths, WithPublicFoldersOffPublicIsAPlainMailFolder)
{
    TurnPublicFoldersOff();
    EXPECT_EQ(IndexPath("Public"), "\\MAILROOT\\box\\Public");
    EXPECT_EQ(IndexPath("Public/news"), "\\MAILROOT\\box\\Public/news");
    EXPECT_FALSE(IsDirectory("PUBROOT"));
}

TEST_F(SetPaths, AFaultBelowIsReportedAndAnswersZero)
{
    class ThrowingSeam : public platform::FileSeam {
    public:
        ThrowingSeam() : before_(platform::ReplaceFileSeam(this)) {}
        ~ThrowingSeam() override { platform::ReplaceFileSeam(before_); }
        platform::FileVerdict Before(platform::FileOperation, const char*, uint64_t) override { throw std::runtime_error("no memory"); }

    private:
        platform::FileSeam* before_;
    };
    STOREINDEXTYPE index;
    CopyBounded(index.Postoffice, "po");
    CopyBounded(index.Folder, "$VCFROOT");
    const test::CapturedLog log;
    const ThrowingSeam seam;
    EXPECT_EQ(StoreIndex_SetPaths(&index), 0u);
    EXPECT_TRUE(log.HasTrace("StoreIndex_SetPaths handled an exception; session will be dropped.\nThe exception was: no memory\n"));
}

TEST_F(SetPaths, LongNamesAreCutAtTheField)
{
    STOREINDEXTYPE index;
    std::memset(index.Postoffice, 'p', sizeof index.Postoffice);
    std::memset(index.Mailbox, 'm', sizeof index.Mailbox);
    std::memset(index.Folder, 'f', sizeof index.Folder);
    EXPECT_EQ(StoreIndex_SetPaths(&index), 1u);
    EXPECT_EQ(std::strlen(index.Path), 1023u);
}

TEST_F(SetPaths, AnEmptyMailRootGivesARelativePath)
{
    Process().MailRoot[0] = 0;
    STOREINDEXTYPE index;
    CopyBounded(index.Postoffice, "po");
    CopyBounded(index.Mailbox, "box");
    StoreIndex_SetPaths(&index);
    EXPECT_STREQ(index.Path, "\\po\\MAILROOT\\box\\INBOX");
}

// ---- The directory of an item ----

using ItemPaths = PathsTest;

TEST_F(ItemPaths, APathThatIsSetIsKept)
{
    STOREITEMTYPE item;
    CopyBounded(item.FolderPath, "elsewhere");
    CopyBounded(item.Folder, "Inbox");
    EXPECT_EQ(ResolveItemPaths(item), 1u);
    EXPECT_STREQ(item.FolderPath, "elsewhere");
}

TEST_F(ItemPaths, MailIsAsForAnIndex)
{
    EXPECT_EQ(ItemPath("Inbox"), "\\MAILROOT\\box\\Inbox");
    EXPECT_EQ(ItemPath("/Inbox"), "\\MAILROOT\\box\\/Inbox");
    EXPECT_EQ(ItemPath(""), "\\MAILROOT\\box\\INBOX");
    EXPECT_FALSE(IsDirectory("MAILROOT"));
}

TEST_F(ItemPaths, ContactsAreAsForAnIndex)
{
    EXPECT_EQ(ItemPath("$VCFROOT"), "\\VCFROOT");
    EXPECT_EQ(ItemPath("$VCFROOT\\friends"), "\\VCFROOT\\friends");
    EXPECT_TRUE(IsDirectory("VCFROOT/friends"));
}

TEST_F(ItemPaths, ALeadingSeparatorHidesASpecialName)
{
    EXPECT_EQ(ItemPath("/$VCFROOT/friends"), "\\MAILROOT\\box\\/$VCFROOT/friends");
    EXPECT_EQ(ItemPath("/$FILEROOT"), "\\MAILROOT\\box\\/$FILEROOT");
}

TEST_F(ItemPaths, FilesHaveNoDoubledSeparatorHere)
{
    std::filesystem::create_directories(PostofficeDirectory() / "FILEROOT/box");
    EXPECT_EQ(ItemPath("$FILEROOT"), "\\FILEROOT\\box");
    EXPECT_EQ(ItemPath("$FILEROOT/docs"), "\\FILEROOT\\box\\docs");
    EXPECT_TRUE(IsDirectory("FILEROOT/box/docs"));
    EXPECT_EQ(ItemPath("$FILEROOT\\"), "\\FILEROOT\\box\\");
    EXPECT_EQ(ItemPath("$FILEROOTX"), "\\FILEROOT\\box");
}

TEST_F(ItemPaths, FilesAreMadeOnceAtTheEnd)
{
    EXPECT_EQ(ItemPath("$FILEROOT"), "\\FILEROOT\\box");
    EXPECT_FALSE(IsDirectory("FILEROOT"));
}

TEST_F(ItemPaths, PublicTakesTheRestOnlyAtTheVeryBeginning)
{
    EXPECT_EQ(ItemPath("Public"), "\\PUBROOT");
    EXPECT_TRUE(IsDirectory("PUBROOT"));
    EXPECT_EQ(ItemPath("public/news"), "\\PUBROOT\\news");
    EXPECT_TRUE(IsDirectory("PUBROOT/news"));
    EXPECT_EQ(ItemPath("/Public/news"), "\\PUBROOT");
    EXPECT_EQ(ItemPath("Public\\"), "\\PUBROOT\\");
}

TEST_F(ItemPaths, WithPublicFoldersOffPublicIsAPlainMailFolder)
{
    TurnPublicFoldersOff();
    EXPECT_EQ(ItemPath("Public/news"), "\\MAILROOT\\box\\Public/news");
}

// ---- The directory of a folder record ----

using FolderPaths = PathsTest;

TEST_F(FolderPaths, ContactsBelowASlashFollowTheRootWithNoSeparator)
{
    EXPECT_EQ(FolderPath("$VCFROOT/x"), "\\VCFROOTx");
    EXPECT_EQ(FolderPath("$vcfroot/x/y"), "\\VCFROOTx/y");
    EXPECT_EQ(FolderPath("$VCFROOT/x/"), "\\VCFROOTx/") << "only mail loses a separator at its end";
}

TEST_F(FolderPaths, ContactsBelowABackslashAreTheRootItself)
{
    EXPECT_EQ(FolderPath("$VCFROOT\\x"), "\\VCFROOT");
    EXPECT_EQ(FolderPath("$VCFROOT"), "\\VCFROOT");
    EXPECT_EQ(FolderPath("$VCFROOTX"), "\\VCFROOT");
    EXPECT_FALSE(IsDirectory("VCFROOT"));
}

TEST_F(FolderPaths, FilesTakeTheRestWithItsOwnSeparator)
{
    EXPECT_EQ(FolderPath("$FILEROOT/docs"), "\\FILEROOT\\box/docs");
    EXPECT_EQ(FolderPath("$FILEROOT\\docs\\"), "\\FILEROOT\\box\\docs\\");
    EXPECT_EQ(FolderPath("$FILEROOT"), "\\FILEROOT\\box");
    EXPECT_EQ(FolderPath("$FILEROOTX"), "\\FILEROOT\\box");
}

TEST_F(FolderPaths, PublicAllowsOneLeadingSeparator)
{
    EXPECT_EQ(FolderPath("Public"), "\\PUBROOT");
    EXPECT_EQ(FolderPath("/Public"), "\\PUBROOT");
    EXPECT_EQ(FolderPath("\\public/news"), "\\PUBROOT\\news");
    EXPECT_EQ(FolderPath("Public\\news/"), "\\PUBROOT\\news/");
    EXPECT_EQ(FolderPath("xPublic/news"), "\\PUBROOT");
}

TEST_F(FolderPaths, WithPublicFoldersOffPublicIsAPlainMailFolder)
{
    TurnPublicFoldersOff();
    EXPECT_EQ(FolderPath("/Public/news"), "\\MAILROOT\\box/Public/news");
}

TEST_F(FolderPaths, MailGetsOneSeparatorAndLosesOneAtItsEnd)
{
    EXPECT_EQ(FolderPath("Inbox"), "\\MAILROOT\\box\\Inbox");
    EXPECT_EQ(FolderPath("/Inbox"), "\\MAILROOT\\box/Inbox");
    EXPECT_EQ(FolderPath("a\\b\\"), "\\MAILROOT\\box\\a\\b");
    EXPECT_EQ(FolderPath("a//"), "\\MAILROOT\\box\\a/");
}

TEST_F(FolderPaths, AnEmptyFolderIsTheMailboxItself)
{
    EXPECT_EQ(FolderPath(""), "\\MAILROOT\\box");
    EXPECT_EQ(FolderPath(nullptr), "\\MAILROOT\\box");
    EXPECT_EQ(FolderPath("\\"), "\\MAILROOT\\box");
}

TEST_F(FolderPaths, TextIsCutAtTheSize)
{
    char path[8] = "xxxxxxx";
    CopyBounded(Process().MailRoot, "C:\\store");
    ResolveFolderPath("po", "box", "Inbox", path, 5);
    EXPECT_STREQ(path, "C:\\s");
    EXPECT_EQ(path[5], 'x');
}

// ---- The directory of a cached status ----

using StatusPaths = PathsTest;

TEST_F(StatusPaths, NoFolderIsTheMailbox) { EXPECT_EQ(StatusPath(nullptr), "\\MAILROOT\\box"); }

TEST_F(StatusPaths, MailStandsAsItIsSpelled)
{
    EXPECT_EQ(StatusPath("Inbox"), "\\MAILROOT\\box\\Inbox");
    EXPECT_EQ(StatusPath("/Inbox/"), "\\MAILROOT\\box\\/Inbox/");
    EXPECT_EQ(StatusPath(""), "\\MAILROOT\\box\\");
}

TEST_F(StatusPaths, SpecialNamesAreTakenLiterally)
{
    EXPECT_EQ(StatusPath("$FILEROOT/docs"), "\\MAILROOT\\box\\$FILEROOT/docs");
    EXPECT_EQ(StatusPath("$VCFROOT"), "\\MAILROOT\\box\\$VCFROOT");
}

TEST_F(StatusPaths, PublicAllowsOneLeadingSeparator)
{
    EXPECT_EQ(StatusPath("Public"), "\\PUBROOT");
    EXPECT_EQ(StatusPath("/Public\\news"), "\\PUBROOT\\news");
    EXPECT_EQ(StatusPath("xPublic/news"), "\\PUBROOT");
    TurnPublicFoldersOff();
    EXPECT_EQ(StatusPath("Public"), "\\MAILROOT\\box\\Public");
}

TEST_F(StatusPaths, TheResultHoldsUpTo2048BytesAndNoMoreThanTheBuffer)
{
    const std::string folder(3000, 'f');
    char path[kStatusPathSize + 10];
    ResolveStatusPath(path, sizeof path, "po", "box", folder.c_str());
    EXPECT_EQ(std::strlen(path), 2047u);
    ResolveStatusPath(path, 16, "po", "box", folder.c_str());
    EXPECT_EQ(std::strlen(path), 15u);
}

// ---- The mailbox of a path, and the bad mail check ----

class MailboxDirectory : public testing::Test {
protected:
    MailboxDirectory() { CopyBounded(Process().MailRoot, "C:\\store"); }
    std::string Of(const char* path)
    {
        char directory[1024] = "untouched";
        return MailboxDirectoryOf(path, directory) ? directory : std::string("none:") + directory;
    }
};

TEST_F(MailboxDirectory, EndsBehindTheMailboxName)
{
    EXPECT_EQ(Of("C:\\store\\po\\MAILROOT\\box\\Inbox\\sub"), "C:\\store\\po\\MAILROOT\\box");
    EXPECT_EQ(Of("C:\\store\\po\\mailroot\\box\\/Inbox"), "C:\\store\\po\\mailroot\\box");
}

TEST_F(MailboxDirectory, IsNoneWithNothingBehindTheMailbox)
{
    EXPECT_EQ(Of("C:\\store\\po\\MAILROOT\\box"), "none:untouched");
    EXPECT_EQ(Of("C:\\store\\po\\PUBROOT\\news"), "none:untouched");
    EXPECT_EQ(Of("C:\\store\\po\\MAILROOT/box/Inbox"), "none:untouched");
    EXPECT_EQ(Of(""), "none:untouched");
    EXPECT_EQ(Of(nullptr), "none:untouched");
}

TEST_F(MailboxDirectory, ASeparatorBehindTheMailboxIsEnough)
{
    EXPECT_EQ(Of("C:\\store\\po\\MAILROOT\\box\\"), "C:\\store\\po\\MAILROOT\\box");
}

TEST_F(MailboxDirectory, OfAnEmptyMailboxKeepsTheSeparatorBeforeIt)
{
    EXPECT_EQ(Of("C:\\store\\po\\MAILROOT\\\\Inbox"), "C:\\store\\po\\MAILROOT\\");
    EXPECT_EQ(Of("C:\\store\\po\\MAILROOT\\"), "none:untouched");
}

TEST_F(MailboxDirectory, AMailRootOfThatNameIsPassedOver)
{
    CopyBounded(Process().MailRoot, "D:\\MAILROOT\\all");
    EXPECT_EQ(Of("d:\\mailroot\\all\\po\\MAILROOT\\box\\Inbox"), "d:\\mailroot\\all\\po\\MAILROOT\\box");
    EXPECT_EQ(Of("E:\\MAILROOT\\all\\po\\MAILROOT\\box\\Inbox"), "E:\\MAILROOT\\all");
}

TEST_F(MailboxDirectory, IsCutAtTheBuffer)
{
    const std::string path = "C:\\store\\po\\MAILROOT\\" + std::string(2000, 'b') + "\\Inbox";
    EXPECT_EQ(Of(path.c_str()), path.substr(0, 1023));
}

class BadMail : public testing::Test {
protected:
    BadMail() { CopyBounded(Process().BadMailDirectory, "C:\\Bad"); }
    ~BadMail() override { Process().BadMailDirectory[0] = 0; }
};

TEST_F(BadMail, PathMustBeginWithTheDirectoryByteForByte)
{
    EXPECT_TRUE(IsPathInBadMail("C:\\Bad\\1.MAI"));
    EXPECT_TRUE(IsPathInBadMail("C:\\Badly\\1.MAI"));
    EXPECT_FALSE(IsPathInBadMail("C:\\bad\\1.MAI"));
    EXPECT_FALSE(IsPathInBadMail("xC:\\Bad\\1.MAI"));
    EXPECT_FALSE(IsPathInBadMail(""));
    EXPECT_FALSE(IsPathInBadMail(nullptr));
}

TEST_F(BadMail, PathMustNotClimbOrDoubleASeparator)
{
    EXPECT_FALSE(IsPathInBadMail("C:\\Bad\\..\\1.MAI"));
    EXPECT_FALSE(IsPathInBadMail("C:\\Bad\\1..MAI"));
    EXPECT_FALSE(IsPathInBadMail("C:\\Bad\\\\1.MAI"));
    EXPECT_FALSE(IsPathInBadMail("C:\\Bad//1.MAI"));
    EXPECT_TRUE(IsPathInBadMail("C:\\Bad\\/1.MAI"));
}

TEST_F(BadMail, WithNoDirectoryEveryPathBeginsWell)
{
    Process().BadMailDirectory[0] = 0;
    EXPECT_TRUE(IsPathInBadMail("anything"));
    EXPECT_TRUE(IsPathInBadMail(""));
    EXPECT_FALSE(IsPathInBadMail(".."));
}

}  // namespace
}  // namespace velmora
