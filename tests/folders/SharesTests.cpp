// What goes with a shared folder: its entry in the mailbox's list, its access list, and the entries of its users.
#include "folders/Shares.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "frame/Companions.h"
#include "frame/ProcessState.h"
#include "tests/folders/FolderTree.h"
#include "tests/support/ChildProcess.h"

namespace velmora::test {
namespace {

class Shares : public FolderTree {
protected:
    void SetUp() override
    {
        FolderTree::SetUp();
        config = store.Directory() / "config";
        fs::create_directory(config);
        store.SetText("Configuration Directory", config.string());
    }

    static std::string Share(const std::string& folder) { return "<SHARE><RESOURCE>" + folder + "</RESOURCE></SHARE>"; }
    void WriteShares(const std::string& shares, const char* name = "_Shares.xml") const
    {
        WriteFileBytes(mailbox / name, "<SHARES>" + shares + "</SHARES>");
    }
    // A list of users who have access to a folder, or of resources that a user may reach.
    static void WriteUsers(const fs::path& file, const Names& users)
    {
        std::string text = "<LIST>";
        for (const std::string& user : users) text += "<ITEM USER=\"" + user + "\"/>";
        WriteFileBytes(file, text + "</LIST>");
    }
    void WriteResources(const std::string& user, const Names& resources) const
    {
        fs::create_directories(Security());
        std::string text = "<LIST>";
        for (const std::string& resource : resources) text += "<ITEM URI=\"" + resource + "\" RIGHTS=\"7\"/>";
        WriteFileBytes(Security() / (user + ".xml"), text + "</LIST>");
    }
    fs::path Security() const { return config / "Postoffices" / "po" / "Security"; }
    // As the library forms it.
    std::string SecurityFile(const std::string& name) const { return config.string() + "\\Postoffices\\po\\Security\\" + name + ".xml"; }

    static uint32_t Remove(const std::string& folder)
    {
        char buffer[kFolderPathSize] = {};
        CopyBounded(buffer, folder);
        return RemoveFolderShareEntries(buffer, "box", "po");
    }
    bool IsShared(const std::string& folder) const
    {
        return FileExists(mailbox / "_Shares.xml") && ReadFileBytes(mailbox / "_Shares.xml").find(">" + folder + "<") != std::string::npos;
    }
    bool HasAccess(const std::string& user, const std::string& resource) const
    {
        const fs::path file = Security() / (user + ".xml");
        return FileExists(file) && ReadFileBytes(file).find("\"" + resource + "\"") != std::string::npos;
    }

    fs::path config;
};

// ---- One folder ----

TEST_F(Shares, OfAFolderGoFromAllThreeFiles)
{
    WriteShares(Share("/a") + Share("/b"));
    WriteUsers(Make("a") / "_Access.XML", {"ann", "bob"});
    WriteResources("ann", {"SF:po/box/a", "SF:po/box/b"});
    WriteResources("bob", {"SF:po/box/c", "SF:po/box/a"});
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_FALSE(IsShared("/a"));
    EXPECT_TRUE(IsShared("/b"));
    EXPECT_FALSE(FileExists(mailbox / "a" / "_Access.XML"));
    EXPECT_FALSE(HasAccess("ann", "SF:po/box/a"));
    EXPECT_TRUE(HasAccess("ann", "SF:po/box/b"));
    EXPECT_FALSE(HasAccess("bob", "SF:po/box/a"));
    EXPECT_TRUE(HasAccess("bob", "SF:po/box/c"));
}

TEST_F(Shares, TheLastOneTakesTheListAlong)
{
    WriteShares(Share("/a"));
    WriteUsers(Make("a") / "_Access.XML", {});
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_FALSE(FileExists(mailbox / "_Shares.xml"));
}

TEST_F(Shares, AListWithACommentLeftInItStays)
{
    WriteShares(Share("/a") + "<!-- of another hand -->");
    WriteUsers(Make("a") / "_Access.XML", {});
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_NE(ReadFileBytes(mailbox / "_Shares.xml").find("of another hand"), std::string::npos);
}

TEST_F(Shares, WhiteSpaceLeftInAListDoesNotKeepIt)
{
    WriteShares("\r\n  " + Share("/a") + "\r\n");
    WriteUsers(Make("a") / "_Access.XML", {});
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_FALSE(FileExists(mailbox / "_Shares.xml"));
}

TEST_F(Shares, LeaveWhatTheyDoNotTouchAsItStands)
{
    WriteShares("<NOTE by=\"x\">kept &amp; whole</NOTE><SHARE id=\"7\"><NAME>n</NAME><RESOURCE>/b</RESOURCE></SHARE>" + Share("/a"));
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a", "SF:po/box/b"});
    EXPECT_EQ(Remove("/a"), 1u);
    const std::string shares = ReadFileBytes(mailbox / "_Shares.xml");
    EXPECT_NE(shares.find("<NOTE by=\"x\">kept &amp; whole</NOTE>"), std::string::npos) << shares;
    EXPECT_NE(shares.find("<SHARE id=\"7\"><NAME>n</NAME><RESOURCE>/b</RESOURCE></SHARE>"), std::string::npos) << shares;
    const std::string resources = ReadFileBytes(Security() / "ann.xml");
    EXPECT_NE(resources.find("RIGHTS=\"7\""), std::string::npos) << resources;
}

TEST_F(Shares, TheLastEntryOfAUserTakesTheFileAlong)
{
    WriteShares(Share("/a"));
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a"});
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
}

TEST_F(Shares, AnAccessListWithNoUsersGoesAllTheSame)
{
    WriteShares(Share("/a"));
    WriteFileBytes(Make("a") / "_Access.XML", "<LIST/>");
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_FALSE(FileExists(mailbox / "a" / "_Access.XML"));
}

TEST_F(Shares, OfAFolderThatIsNotSharedLeaveItsAccessListAlone)
{
    WriteShares(Share("/b"));
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a"});
    EXPECT_EQ(Remove("/a"), 0u);
    EXPECT_TRUE(FileExists(mailbox / "a" / "_Access.XML"));
    EXPECT_TRUE(HasAccess("ann", "SF:po/box/a"));
    EXPECT_TRUE(IsShared("/b"));
}

TEST_F(Shares, OfAMailboxThatSharesNothingAreNone)
{
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(Remove("/a"), 0u); }), "");
    WriteFileBytes(mailbox / "_Shares.xml", "<SHARES><SHARE>");
    EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(Remove("/a"), 0u); }), "");
    EXPECT_TRUE(FileExists(mailbox / "a" / "_Access.XML"));
    EXPECT_EQ(ReadFileBytes(mailbox / "_Shares.xml"), "<SHARES><SHARE>");
}

TEST_F(Shares, AreFoundByTheirExactSpellingAlone)
{
    WriteShares(Share("/Projects"));
    EXPECT_EQ(Remove("/projects"), 0u);
    EXPECT_EQ(Remove("/Projects/"), 0u);
    EXPECT_TRUE(IsShared("/Projects"));
}

TEST_F(Shares, GoOneAtATimeWhenAFolderIsSharedTwice)
{
    WriteShares(Share("/a") + Share("/a"));
    EXPECT_EQ(Remove("/a"), 0u) << "no access list";
    EXPECT_TRUE(IsShared("/a"));
    EXPECT_EQ(Remove("/a"), 0u);
    EXPECT_FALSE(FileExists(mailbox / "_Shares.xml"));
}

TEST_F(Shares, GoFromTheListAlsoWhenTheAccessListDoesNotLoad)
{
    WriteShares(Share("/a") + Share("/b"));
    WriteFileBytes(Make("a") / "_Access.XML", "<LIST>");
    EXPECT_EQ(Remove("/a"), 0u);
    EXPECT_FALSE(IsShared("/a"));
    EXPECT_TRUE(FileExists(mailbox / "a" / "_Access.XML"));
}

TEST_F(Shares, OfOneUserThatFailDoNotKeepTheOthers)
{
    WriteShares(Share("/a"));
    WriteFileBytes(Make("a") / "_Access.XML", "<LIST><ITEM USER=\"nobody\"/><ITEM USER=\"torn\"/><ITEM/><ITEM USER=\"ann\"/></LIST>");
    WriteResources("ann", {"SF:po/box/a"});
    WriteFileBytes(Security() / "torn.xml", "<LIST><ITEM");
    EXPECT_EQ(Remove("/a"), 1u);
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
    EXPECT_TRUE(FileExists(Security() / "torn.xml"));
}

// ---- Paths ----

TEST_F(Shares, GetSlashesAndOneInFrontInTheCallersBuffer)
{
    WriteShares(Share("/a/b/c"));
    char buffer[kFolderPathSize] = "a\\b/c";
    WriteUsers(Make("a/b/c") / "_Access.XML", {});
    EXPECT_EQ(RemoveFolderShareEntries(buffer, "box", "po"), 1u);
    EXPECT_STREQ(buffer, "/a/b/c");
    EXPECT_FALSE(FileExists(mailbox / "a/b/c/_Access.XML"));
}

TEST_F(Shares, OfAPathWithNoRoomForTheSlashAreNone)
{
    char buffer[kFolderPathSize];
    std::memset(buffer, 'a', sizeof buffer);
    EXPECT_EQ(RemoveFolderShareEntries(buffer, "box", "po"), 0u) << "no end";
    buffer[kFolderPathSize - 1] = 0;
    WriteShares(Share("/" + std::string(buffer)) + Share("/" + std::string(buffer).substr(1)));
    const std::string before = ReadFileBytes(mailbox / "_Shares.xml");
    EXPECT_EQ(RemoveFolderShareEntries(buffer, "box", "po"), 0u);
    EXPECT_EQ(ReadFileBytes(mailbox / "_Shares.xml"), before);
    buffer[kFolderPathSize - 2] = 0;
    RemoveFolderShareEntries(buffer, "box", "po");
    EXPECT_EQ(buffer[0], '/');
    EXPECT_EQ(std::strlen(buffer), kFolderPathSize - 1);
}

TEST_F(Shares, OfNoPathAreNone) { EXPECT_EQ(RemoveFolderShareEntries(nullptr, "box", "po"), 0u); }

TEST_F(Shares, OfAFolderOfFilesLieBelowItsOwnRoot)
{
    const fs::path files = store.MailRoot() / "po" / "FILEROOT" / "box" / "plans";
    fs::create_directories(files);
    WriteShares(Share("/$fileroot/plans"));
    WriteUsers(files / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/$fileroot/plans"});
    EXPECT_EQ(Remove("$fileroot\\plans"), 1u);
    EXPECT_FALSE(FileExists(files / "_Access.XML"));
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
}

TEST_F(Shares, AreFoundByAPathWithBytesOfAnyKind)
{
    const std::string folder = "/caf\xE9 & <b> \"x\"";
    WriteShares("<SHARE><RESOURCE>/caf&#xE9; &amp; &lt;b&gt; \"x\"</RESOURCE></SHARE>" + Share("/b"));
    EXPECT_EQ(Remove(folder), 0u) << "no access list";
    EXPECT_EQ(ReadFileBytes(mailbox / "_Shares.xml").find("caf"), std::string::npos);
    EXPECT_TRUE(IsShared("/b"));
}

TEST_F(Shares, OfAPathWithAQuoteAreNotFoundAndNothingBreaks)
{
    WriteShares(Share("/it's") + Share("/b"));
    WriteUsers(Make("it's") / "_Access.XML", {"ann"});
    const std::string said = CaptureStdout([] {
        EXPECT_EQ(Remove("/it's"), 0u);
        EXPECT_EQ(Remove("/x' or '1'='1"), 0u);
        EXPECT_EQ(Remove("/x'] | //SHARE['"), 0u);
        EXPECT_EQ(Remove("'"), 0u);
    });
    EXPECT_EQ(said, "");
    EXPECT_TRUE(IsShared("/it's"));
    EXPECT_TRUE(IsShared("/b"));
    EXPECT_TRUE(FileExists(mailbox / "it's" / "_Access.XML"));
}

TEST_F(Shares, OfAMailboxWithAQuoteKeepTheEntriesOfTheirUsers)
{
    store.MakeFolder("a", "o'box");
    WriteFileBytes(store.MailRoot() / "po/MAILROOT/o'box/_Shares.xml", "<SHARES>" + Share("/a") + "</SHARES>");
    WriteUsers(store.MailRoot() / "po/MAILROOT/o'box/a/_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/o'box/a", "SF:po/box/b"});
    char buffer[kFolderPathSize] = "/a";
    EXPECT_EQ(CaptureStdout([&] { EXPECT_EQ(RemoveFolderShareEntries(buffer, "o'box", "po"), 1u); }), "");
    EXPECT_TRUE(HasAccess("ann", "SF:po/o'box/a"));
}

TEST_F(Shares, OfAPathWithStepsUpTouchNoOtherAccessList)
{
    const std::string folder = "/../other/a";
    WriteUsers(store.MakeFolder("a", "other") / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/../other/a"});
    WriteShares(Share(folder) + Share("/b"));
    const std::string before = ReadFileBytes(mailbox / "_Shares.xml");
    for (const std::string& path : {folder, std::string("\\..\\other\\a"), std::string("../other/a")}) {
        EXPECT_EQ(Remove(path), 0u) << path;
        EXPECT_EQ(ReadFileBytes(mailbox / "_Shares.xml"), before) << path;
    }
    EXPECT_TRUE(FileExists(store.MailRoot() / "po/MAILROOT/other/a/_Access.XML"));
    EXPECT_TRUE(HasAccess("ann", "SF:po/box/../other/a"));
}

TEST_F(Shares, OfAMailboxOrPostOfficeWithStepsUpTouchNothing)
{
    // Each pair of names would lead to a list that is there, and that names a folder with an access list.
    const std::string list = "<SHARES>" + Share("/a") + "</SHARES>";
    struct Place {
        const char *mailbox, *postoffice;
        fs::path directory;  // of the mailbox that is meant by them
    };
    const Place places[] = {
        {"..", "po", store.MailRoot() / "po"},
        {"box/../../b", "po", store.MailRoot() / "po" / "b"},
        {"..\\..\\c", "po", store.MailRoot() / "c"},
        {".", "po", store.MailRoot() / "po" / "MAILROOT"},
        {"box", "../d", store.MailRoot().parent_path() / "d" / "MAILROOT" / "box"},
        {"box", "po\\..", store.MailRoot() / "MAILROOT" / "box"},
    };
    for (const Place& place : places) {
        SCOPED_TRACE(std::string(place.mailbox) + " of " + place.postoffice);
        fs::create_directories(place.directory / "a");
        WriteFileBytes(place.directory / "_Shares.xml", list);
        WriteUsers(place.directory / "a" / "_Access.XML", {"ann"});
        EXPECT_EQ(RemoveMailboxShares(place.mailbox, place.postoffice), 0u);
        char folder[kFolderPathSize] = "a";
        EXPECT_EQ(RemoveFolderShareEntries(folder, place.mailbox, place.postoffice), 0u);
        EXPECT_STREQ(folder, "/a");
        EXPECT_EQ(ReadFileBytes(place.directory / "_Shares.xml"), list);
        EXPECT_TRUE(FileExists(place.directory / "a" / "_Access.XML"));
    }
    EXPECT_FALSE(FileExists(config / "Postoffices"));
}

TEST_F(Shares, OfAUserOfAPostOfficeWithStepsUpTouchNothing)
{
    const fs::path outside = config / "Security" / "ann.xml";
    fs::create_directories(outside.parent_path());
    fs::create_directories(config / "Postoffices");
    WriteFileBytes(outside, "<LIST><ITEM URI=\"SF:po/box/a\"/></LIST>");
    for (const char* postoffice : {"..", "po/../..", "..\\x", "."}) {
        EXPECT_EQ(SecurityFilePath("ann", postoffice), "") << postoffice;
        EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a", postoffice), 0u) << postoffice;
    }
    EXPECT_TRUE(FileExists(outside));
    EXPECT_TRUE(FileNames(config / "Postoffices").empty());
    EXPECT_EQ(FileNames(config).size(), 2u);
}

TEST_F(Shares, AreReadFromFilesInAnySpelling)
{
    for (const char* name : {"_shares.xml", "_SHARES.XML", "_Shares.XML", "_Shares.xml"}) {
        for (const char* access : {"_Access.XML", "_access.xml", "_ACCESS.XML", "_Access.xml"}) {
            WriteShares(Share("/a"), name);
            WriteUsers(Make("a") / access, {});
            EXPECT_EQ(Remove("/a"), 1u) << name << " " << access;
            EXPECT_FALSE(FileExists(mailbox / name)) << name;
            EXPECT_FALSE(FileExists(mailbox / "a" / access)) << access;
        }
    }
}

TEST_F(Shares, AreSavedUnderTheSpellingThatTheyHave)
{
    WriteShares(Share("/a") + Share("/b"), "_SHARES.XML");
    Remove("/a");
    Names found;
    for (const std::string& name : FileNames(mailbox))
        if (EqualsNoCase(name, "_shares.xml")) found.push_back(name);
    EXPECT_EQ(found, Names{"_SHARES.XML"});
    EXPECT_EQ(ReadFileBytes(mailbox / "_SHARES.XML").find("/a"), std::string::npos);
}

TEST_F(Shares, OfAPostOfficeWithARootOfItsOwnLieThere)
{
    const fs::path root = store.Directory() / "own root";
    SetVariable("VELMORA_TEST_POSTOFFICE_ROOT", root.string().c_str());
    store.SetText("Application Directory", VELMORA_TEST_FOLDER_MODULES "/root");
    store.SetNumber("Allow Custom Postoffice Paths", 1);
    Process().AllowCustomPostofficePaths = 1;
    ForgetOptionsModule();
    WriteShares(Share("/a"));
    fs::create_directories(root / "MAILROOT/box/a");
    fs::create_directories(root / "FILEROOT/box/b");
    WriteFileBytes(root / "MAILROOT/box/_Shares.xml", "<SHARES>" + Share("/a") + Share("/$FILEROOT/b") + "</SHARES>");
    WriteUsers(root / "MAILROOT/box/a/_Access.XML", {"ann"});
    WriteUsers(root / "FILEROOT/box/b/_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a", "SF:po/box/$FILEROOT/b", "SF:po/box/c"});
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    Process().AllowCustomPostofficePaths = 0;
    ForgetOptionsModule();
    EXPECT_FALSE(FileExists(root / "MAILROOT/box/_Shares.xml"));
    EXPECT_FALSE(FileExists(root / "MAILROOT/box/a/_Access.XML"));
    EXPECT_FALSE(FileExists(root / "FILEROOT/box/b/_Access.XML"));
    EXPECT_FALSE(HasAccess("ann", "SF:po/box/a"));
    EXPECT_TRUE(HasAccess("ann", "SF:po/box/c"));
    EXPECT_TRUE(IsShared("/a")) << "the list below the mail root is another's";
}

// ---- Users ----

TEST_F(Shares, AUserIsNamedByThePartBehindTheFirstSlash)
{
    EXPECT_EQ(SecurityFilePath("ann", "po"), SecurityFile("ann"));
    EXPECT_EQ(SecurityFilePath("a/b/c", "po"), SecurityFile("b"));
    EXPECT_EQ(SecurityFilePath("a/b", "po"), SecurityFile("b"));
    EXPECT_EQ(SecurityFilePath("/b/", "po"), SecurityFile("b"));
    EXPECT_EQ(SecurityFilePath("a//b", "po"), SecurityFile(""));
    EXPECT_EQ(SecurityFilePath("a/", "po"), SecurityFile(""));
    EXPECT_EQ(SecurityFilePath(("a/" + std::string(1023, 'b')).c_str(), "po"), SecurityFile(std::string(1023, 'b')));
    EXPECT_EQ(SecurityFilePath(("a/" + std::string(1024, 'b')).c_str(), "po"), SecurityFile(""));
}

TEST_F(Shares, TheDirectoriesOnTheWayToAUserAreMade)
{
    EXPECT_FALSE(FileExists(config / "Postoffices"));
    SecurityFilePath("ann", "po");
    EXPECT_TRUE(fs::is_directory(Security()));
    EXPECT_TRUE(FileNames(Security()).empty());
}

TEST_F(Shares, AUserIsAlwaysAFileOfTheDirectory)
{
    EXPECT_EQ(SecurityFilePath("..\\ann", "po"), "");
    EXPECT_EQ(SecurityFilePath("a/..\\..\\ann/c", "po"), "");
    EXPECT_EQ(SecurityFilePath("../ann/..", "po"), SecurityFile("ann"));
    EXPECT_EQ(SecurityFilePath("a/../c", "po"), SecurityFile(".."));

    fs::create_directories(Security());
    const fs::path outside = Security().parent_path() / "ann.xml";
    WriteFileBytes(outside, "<LIST><ITEM URI=\"SF:po/box/a\"/></LIST>");
    EXPECT_EQ(RemoveUserAccess("..\\ann", "SF:po/box/a", "po"), 0u);
    EXPECT_TRUE(FileExists(outside));
}

TEST_F(Shares, WithNoConfigurationDirectoryNoUserHasAFile)
{
    store.RemoveSetting("Configuration Directory");
    EXPECT_EQ(SecurityFilePath("ann", "po"), "");
    EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a", "po"), 0u);
    store.SetText("Configuration Directory", "");
    EXPECT_EQ(SecurityFilePath("ann", "po"), "");
}

TEST_F(Shares, AUsersEntryIsFoundByItsExactResource)
{
    WriteResources("ann", {"SF:po/box/a", "SF:po/box/b"});
    EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/A", "po"), 0u);
    EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a' or '1'='1", "po"), 0u);
    EXPECT_EQ(RemoveUserAccess("bob", "SF:po/box/a", "po"), 0u);
    EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a", "po"), 1u);
    EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a", "po"), 0u);
    EXPECT_EQ(RemoveUserAccess("x/ann/y", "SF:po/box/b", "po"), 1u);
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
}

TEST_F(Shares, AnEntryThatIsNoChildOfTheRootIsAnErrorThatIsTold)
{
    fs::create_directories(Security());
    const std::string text = "<ALL><LIST><ITEM URI=\"SF:po/box/a\"/></LIST></ALL>";
    WriteFileBytes(Security() / "ann.xml", text);
    const std::string said = CaptureStdout([] { EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a", "po"), 0u); });
    EXPECT_EQ(said.find("Error:\nCode = "), 0u) << said;
    EXPECT_NE(said.find("\nCode meaning = "), std::string::npos) << said;
    EXPECT_EQ(ReadFileBytes(Security() / "ann.xml"), text);
}

TEST_F(Shares, WithNoDocumentFacilityTellTheErrorAndStay)
{
    WriteShares(Share("/a"));
    store.SetText("XML Version", "6", "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers\\Store");
    for (const auto& call : {+[] { return uint64_t{Remove("/a")}; }, +[] { return RemoveMailboxShares("box", "po"); },
                             +[] { return uint64_t{RemoveUserAccess("ann", "SF:po/box/a", "po")}; }}) {
        const std::string said = CaptureStdout([&] { EXPECT_EQ(call(), 0u); });
        EXPECT_EQ(said.find("Error:\nCode = 80004003\n"), 0u) << said;
    }
    EXPECT_TRUE(IsShared("/a"));
}

// ---- What cannot be written ----

TEST_F(Shares, ThatCannotBeSavedStayWithTheirAccessList)
{
    WriteShares(Share("/a") + Share("/b"));
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a"});
    const std::string before = ReadFileBytes(mailbox / "_Shares.xml");
    std::string said;
    {
        const FailingFiles full(platform::FileOperation::Open, "_Shares.xml.tmp", 112);
        said = CaptureStdout([] { EXPECT_EQ(Remove("/a"), 0u); });
        EXPECT_EQ(full.Failed(), 1u);
    }
    EXPECT_EQ(said.find("Error:\nCode = "), 0u) << said;
    EXPECT_EQ(ReadFileBytes(mailbox / "_Shares.xml"), before);
    EXPECT_TRUE(FileExists(mailbox / "a" / "_Access.XML"));
    EXPECT_TRUE(HasAccess("ann", "SF:po/box/a"));
    EXPECT_EQ(Remove("/a"), 1u);
}

TEST_F(Shares, OfAUserWhoseFileCannotBeSavedDoNotKeepTheOthers)
{
    WriteShares(Share("/a"));
    WriteUsers(Make("a") / "_Access.XML", {"ann", "bob"});
    WriteResources("ann", {"SF:po/box/a", "SF:po/box/b"});
    WriteResources("bob", {"SF:po/box/a", "SF:po/box/b"});
    std::string said;
    {
        const FailingFiles full(platform::FileOperation::Open, "ann.xml.tmp", 112);
        said = CaptureStdout([] { EXPECT_EQ(Remove("/a"), 1u); });
        EXPECT_EQ(full.Failed(), 1u);
    }
    EXPECT_EQ(said.find("Error:\nCode = "), 0u) << said;
    EXPECT_TRUE(HasAccess("ann", "SF:po/box/a"));
    EXPECT_FALSE(HasAccess("bob", "SF:po/box/a"));
    EXPECT_FALSE(FileExists(mailbox / "a" / "_Access.XML"));
}

// What a file that cannot be deleted tells stays told: the call goes on.
TEST_F(Shares, GoOnWhereAFileCannotBeDeleted)
{
    WriteShares(Share("/a"));
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a"});
    {
        const FailingFiles list(platform::FileOperation::Delete, "_Shares.xml", 5);
        const FailingFiles access(platform::FileOperation::Delete, "_Access.XML", 5);
        EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(Remove("/a"), 1u); }), "");
        EXPECT_EQ(access.Failed(), 1u);
    }
    EXPECT_TRUE(FileExists(mailbox / "a" / "_Access.XML"));
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
}

TEST_F(Shares, OfAnotherFailureAreToldInOneLine)
{
    WriteShares(Share("/a"));
    WriteUsers(Make("a") / "_Access.XML", {});
    {
        const RaisingFiles broken("_Shares.xml");
        EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(Remove("/a"), 0u); }), "General error loading index file\n");
        EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(RemoveMailboxShares("box", "po"), 0u); }), "General error loading index file\n");
    }
    const RaisingFiles broken("ann.xml");
    EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(RemoveUserAccess("ann", "SF:po/box/a", "po"), 0u); }), "General error loading index file\n");
    EXPECT_TRUE(IsShared("/a"));
}

// ---- A mailbox ----

TEST_F(Shares, ThatAreNoChildOfTheRootAreAnErrorThatIsToldAndStay)
{
    const std::string text = "<ALL><SHARES>" + Share("/a") + "</SHARES></ALL>";
    WriteFileBytes(mailbox / "_Shares.xml", text);
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    const std::string said = CaptureStdout([] {
        EXPECT_EQ(Remove("/a"), 0u);
        EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    });
    EXPECT_EQ(said.find("Error:\nCode = "), 0u) << said;
    EXPECT_EQ(ReadFileBytes(mailbox / "_Shares.xml"), text);
    EXPECT_TRUE(FileExists(mailbox / "a" / "_Access.XML"));
}

// The normal form of no path is "/", which stands in a list by itself alone.
TEST_F(Shares, OfTheMailboxItselfGoByTheirSlash)
{
    WriteShares("<SHARE><RESOURCE/></SHARE>" + Share("/") + Share("/b"));
    WriteUsers(mailbox / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/"});
    EXPECT_EQ(Remove(""), 1u);
    EXPECT_FALSE(IsShared("/"));
    EXPECT_FALSE(FileExists(mailbox / "_Access.XML"));
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
    EXPECT_EQ(Remove("/"), 0u);
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    EXPECT_FALSE(IsShared("/b"));
    EXPECT_NE(ReadFileBytes(mailbox / "_Shares.xml").find("RESOURCE"), std::string::npos) << "an empty one is no path";
}

TEST_F(Shares, OfAMailboxGoAllAtOnce)
{
    WriteShares(Share("/a") + Share("/b/c") + Share("/gone"));
    WriteUsers(Make("a") / "_Access.XML", {"ann"});
    WriteUsers(Make("b/c") / "_Access.XML", {"x/ann", "bob"});
    WriteResources("ann", {"SF:po/box/a", "SF:po/box/b/c"});
    WriteResources("bob", {"SF:po/other/a", "SF:po/box/b/c"});
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    EXPECT_FALSE(FileExists(mailbox / "_Shares.xml"));
    EXPECT_FALSE(FileExists(mailbox / "a" / "_Access.XML"));
    EXPECT_FALSE(FileExists(mailbox / "b" / "c" / "_Access.XML"));
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
    EXPECT_TRUE(HasAccess("bob", "SF:po/other/a"));
    EXPECT_FALSE(HasAccess("bob", "SF:po/box/b/c"));
}

TEST_F(Shares, WithoutAResourceArePassedOver)
{
    WriteShares("<SHARE/><SHARE><NAME>n</NAME></SHARE>" + Share("/a") + Share(std::string(1024, 'x')) + Share("/it's"));
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    EXPECT_FALSE(IsShared("/a"));
    const std::string left = ReadFileBytes(mailbox / "_Shares.xml");
    EXPECT_NE(left.find("<NAME>n</NAME>"), std::string::npos);
    EXPECT_TRUE(IsShared(std::string(1024, 'x')));
    EXPECT_TRUE(IsShared("/it's"));
}

// The path is looked for in its normal form.
TEST_F(Shares, ThatStandInTheListInAnotherFormStay)
{
    WriteShares(Share("a\\b") + Share("/c"));
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    EXPECT_TRUE(IsShared("a\\b"));
    EXPECT_FALSE(IsShared("/c"));
}

TEST_F(Shares, OfAMailboxWithNoListThatLoadsAreAFailure)
{
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 0u);
    EXPECT_EQ(RemoveMailboxShares("nobody", "po"), 0u);
    EXPECT_EQ(RemoveMailboxShares(nullptr, nullptr), 0u);
    WriteFileBytes(mailbox / "_Shares.xml", "");
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 0u);
    EXPECT_TRUE(FileExists(mailbox / "_Shares.xml"));
    WriteFileBytes(mailbox / "_Shares.xml", "<SHARES/>");
    EXPECT_EQ(RemoveMailboxShares("box", "po"), 1u);
    EXPECT_TRUE(FileExists(mailbox / "_Shares.xml")) << "nothing was taken out of it";
}

// ---- With the folder ----

TEST_F(Shares, GoWithTheFolderThatIsRemoved)
{
    Make("a/b");
    WriteShares(Share("/a/b") + Share("/c"));
    WriteUsers(mailbox / "a" / "b" / "_Access.XML", {"ann"});
    WriteResources("ann", {"SF:po/box/a/b"});
    StoreFolderRecord record = RecordOf("a\\b", "");
    EXPECT_EQ(StoreFolderRemove(&record), 1u);
    EXPECT_STREQ(record.FolderPath, "/a/b");
    EXPECT_FALSE(FileExists(mailbox / "a" / "b"));
    EXPECT_FALSE(IsShared("/a/b"));
    EXPECT_TRUE(IsShared("/c"));
    EXPECT_FALSE(FileExists(Security() / "ann.xml"));
}

}  // namespace
}  // namespace velmora::test
