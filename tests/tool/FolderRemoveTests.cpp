// folder remove and share list.

#include "tests/tool/FolderFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class FolderRemove : public FolderVerb {
protected:
    void Share(const std::vector<std::string>& folders) const
    {
        std::string shares = "<SHARES>";
        for (const std::string& folder : folders) {
            shares += "<SHARE><RESOURCE>/" + folder + "</RESOURCE><NOTE>x</NOTE></SHARE>";
            WriteFileBytes(FolderPath(folder) / "_Access.XML", "<LIST><ITEM USER=\"ada\"/><ITEM USER=\"b&amp;b\"/></LIST>");
        }
        WriteFileBytes(FolderPath("_SHARES.XML"), shares + "</SHARES>");
    }
};
class ShareList : public FolderRemove {};

}  // namespace

TEST_F(FolderRemove, TakesEverythingBelowAndNothingElse)
{
    MakeFolders();
    Listed(kInbox, true);
    EXPECT_EQ(InStore({"folder", "remove", "po/box/Inbox/Projects", "--yes"}).out,
              "removed po/box/Inbox/Projects, with 1 folder, 1 item file and 0 shares in it\n");
    EXPECT_FALSE(fs::exists(FolderPath("Inbox/Projects")));
    EXPECT_EQ(Listed(kInbox, true), std::vector<std::string>{"Inbox/Letters"});
    ExpectRefusal({"folder", "remove", "po/box/Inbox/Projects", "--yes"}, 66, "no such folder: po/box/Inbox/Projects");
}

TEST_F(FolderRemove, TakesTheSharesOfItAndOfThoseBelow)
{
    MakeFolders();
    Share({"Inbox", "Inbox/Projects", "Inbox/Projects/2026"});
    nlohmann::json row = JsonInStore({"folder", "remove", "po/box/inbox/projects", "--yes"}).at(0);
    EXPECT_EQ(row, nlohmann::json({{"removed", "po/box/Inbox/Projects"}, {"folders", 1}, {"files", 1}, {"shares", 2}}));
    nlohmann::json left = JsonInStore({"share", "list", "po/box"});
    ASSERT_EQ(left.size(), 2u) << left;
    EXPECT_EQ(left[0].at("VL_FOLDER"), "Inbox");
}

TEST_F(FolderRemove, IsALineForEachNameInTabForm)
{
    MakeFolders();
    Share({"Inbox/Projects"});
    EXPECT_EQ(InStore({"--format", "tab", "folder", "remove", "po/box/Inbox/Projects", "--yes"}).out,
              "removed\tpo/box/Inbox/Projects\nfolders\t1\nfiles\t1\nshares\t1\n");
}

TEST_F(FolderRemove, AsksForAWordWhereMoreGoesThanAFolder)
{
    MakeFolders();
    Listed(kInbox);
    ExpectRefusalThatWritesNothing({"folder", "remove", "po/box", "--yes"}, 64, "that is a whole mailbox; --mailbox removes it: po/box");
    ExpectRefusalThatWritesNothing({"folder", "remove", "po/box", "--mailbox"}, 64,
                                   "nobody can be asked here; --yes removes without asking");
    ExpectRefusalThatWritesNothing({"folder", "remove", "po/box/INBOX", "--yes"}, 64,
                                   "every mailbox has this folder; --well-known removes it all the same: po/box/INBOX");
    ExpectRefusalThatWritesNothing({"folder", "remove", "po/box/Inbox/Letters", "--yes", "--mailbox"}, 64,
                                   "not a mailbox: po/box/Inbox/Letters");
    ExpectRefusalThatWritesNothing({"folder", "remove", "po/nobody", "--yes", "--mailbox"}, 66, "no such mailbox: po/nobody");
    ExpectRefusalThatWritesNothing({"folder", "remove", "po/box/Inbox/Letters"}, 64,
                                   "nobody can be asked here; --yes removes without asking");
    InStore({"folder", "remove", kInbox, "--yes", "--well-known"});
    EXPECT_FALSE(fs::exists(FolderPath()));
    InStore({"folder", "remove", "po/box", "--yes", "--mailbox"});
    EXPECT_FALSE(fs::exists(FolderPath("")));
    ExpectRefusal({"folder", "list", "po/box"}, 66, "no such mailbox: po/box");
}

TEST_F(FolderRemove, AFolderInUseStays)
{
    MakeFolders();
    HeldBlock block(FolderPath("Inbox/Projects/2026"));
    InStore({"folder", "remove", "po/box/Inbox/Projects", "--yes"}, 75);
    EXPECT_TRUE(fs::exists(FolderPath("Inbox/Projects/2026")));
    EXPECT_EQ(Listed(kInbox, true).size(), 3u);
}

TEST_F(FolderRemove, ADryRunWritesNothing)
{
    MakeFolders();
    Share({"Inbox/Projects"});
    EXPECT_EQ(WritesNothing({"folder", "remove", "po/box/Inbox/Projects", "--dry-run"}).out,
              "would remove po/box/Inbox/Projects, with 1 folder, 1 item file and 1 share in it\n");
    WritesNothing({"folder", "remove", "po/box", "--mailbox", "--dry-run"});
}

TEST_F(ShareList, NamesFoldersAndUsers)
{
    MakeFolders();
    EXPECT_EQ(InStore({"share", "list", "po/box"}).out, "FOLDER  user  inShares  there\n");
    Share({"Inbox", "Inbox/Letters"});
    fs::remove(FolderPath("Inbox/Letters/_Access.XML"));
    WriteFileBytes(FolderPath("Inbox/Projects/2026/_access.xml"), "<LIST><ITEM USER=\"eve\"/></LIST>");
    EXPECT_EQ(
        WritesNothing({"share", "list", "po/box"}).out,
        "FOLDER               user  inShares  there\nInbox                ada   yes       yes\nInbox                b&b   yes       yes\n"
        "Inbox/Letters              yes       yes\nInbox/Projects/2026  eve   no        yes\n");
    fs::remove_all(FolderPath("Inbox/Letters"));
    EXPECT_EQ(JsonInStore({"share", "list", "po/box"}).at(2),
              nlohmann::json({{"VL_FOLDER", "Inbox/Letters"}, {"user", nullptr}, {"inShares", true}, {"there", false}}));
}

TEST_F(ShareList, IsALineForEachUserInTabForm)
{
    MakeFolders();
    Share({"Inbox", "Inbox/Letters"});
    fs::remove(FolderPath("Inbox/Letters/_Access.XML"));
    EXPECT_EQ(InStore({"--format", "tab", "share", "list", "po/box"}).out,
              "VL_FOLDER\tuser\tinShares\tthere\nInbox\tada\tyes\tyes\nInbox\tb&b\tyes\tyes\nInbox/Letters\t\tyes\tyes\n");
}

TEST_F(ShareList, ABadAccessListHasALineAndTheOthersTheirRows)
{
    MakeFolders();
    Share({"Inbox", "Inbox/Letters", "Inbox/Projects"});
    const std::string bad = "<LIST>\n<ITEM USER=\"ada\"></LIST>";
    const fs::path first = FolderPath("Inbox/_Access.XML"), second = FolderPath("Inbox/Projects/_Access.XML");
    for (const fs::path& access : {first, second}) WriteFileBytes(access, bad);
    Outcome run = InStore({"--format", "tab", "share", "list", "po/box"}, 65);
    EXPECT_EQ(run.out,
              "VL_FOLDER\tuser\tinShares\tthere\nInbox\t\tyes\tyes\nInbox/Letters\tada\tyes\tyes\nInbox/Letters\tb&b\tyes\tyes\n"
              "Inbox/Projects\t\tyes\tyes\n");
    const std::string fault = ": byte 24, line 2: </LIST> closes <ITEM>\n";
    EXPECT_EQ(run.err, "vlstore: " + first.string() + fault + "vlstore: " + second.string() + fault);
}

TEST_F(ShareList, AFaultIsToldWithItsPlace)
{
    fs::path shares = FolderPath("_Shares.xml"), access = FolderPath("Inbox/_Access.XML");
    WriteFileBytes(access, "<LIST>\n<ITEM USER=\"ada\"></LIST>");
    Outcome run = InStore({"share", "list", "po/box"}, 65);
    EXPECT_EQ(run.err, "vlstore: " + access.string() + ": byte 24, line 2: </LIST> closes <ITEM>\n");
    WriteFileBytes(shares, "<SHARES><SHARE></SHARES>");
    ExpectRefusal({"share", "list", "po/box"}, 65, shares.string() + ": byte 15, line 1: </SHARES> closes <SHARE>");
    ExpectRefusal({"share", "list", "po/nobody"}, 66, "no such mailbox: po/nobody");
    ExpectRefusal({"share", "list", kInbox}, 64, std::string("a mailbox is written POSTOFFICE/MAILBOX: ") + kInbox);
}

}  // namespace velmora::test
