// folder list, add, rename, copy, size and reindex.

#include <algorithm>

#include "tests/tool/FolderFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class FolderList : public FolderVerb {};
class FolderAdd : public FolderVerb {};
class FolderRename : public FolderVerb {};
class FolderCopy : public FolderVerb {};
class FolderSize : public FolderVerb {};
class FolderReindex : public FolderVerb {};

}  // namespace

TEST_F(FolderList, IsATreeForAPersonAndRowsWithDepthForAProgram)
{
    MakeFolders();
    EXPECT_EQ(InStore({"folder", "list", "po/box", "--recursive"}).out,
              "FOLDER\nCalendar\nContacts\nDeleted Items\nDrafts\nInbox\n  Letters\n  Projects\n    2026\nJournal\nNotes\nOutbox\nSent "
              "Items\nTasks\n");
    nlohmann::json rows = JsonInStore({"folder", "list", kInbox, "--recursive"});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[2], nlohmann::json({{"VL_POSTOFFICE", "po"},
                                       {"VL_MAILBOX", "box"},
                                       {"VL_FOLDER", "Inbox/Projects/2026"},
                                       {"name", "2026"},
                                       {"depth", 1},
                                       {"there", true}}));
    EXPECT_EQ(InStore({"--format", "tab", "folder", "list", "po/box/inbox"}).out,
              "VL_POSTOFFICE\tVL_MAILBOX\tVL_FOLDER\tname\tdepth\tthere\npo\tbox\tinbox/Letters\tLetters\t0\tyes\npo\tbox\tinbox/"
              "Projects\tProjects\t0\tyes\n");
    EXPECT_EQ(InStore({"folder", "list", "po/box/Outbox"}).out, "FOLDER\n");
}

TEST_F(FolderList, WhatDoesNotExistIsAnError)
{
    ExpectRefusal({"folder", "list", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"folder", "list", "po/nobody"}, 66, "no such mailbox: po/nobody");
    ExpectRefusal({"folder", "list", "nowhere/box"}, 66, "no such post office: nowhere");
    ExpectRefusal({"folder", "list", "po"}, 64, "a folder is written POSTOFFICE/MAILBOX/FOLDER: po");
    ExpectRefusal({"folder", "list", "po/.."}, 64, "\"..\" cannot be part of a folder's name: po/..");
    EXPECT_FALSE(fs::exists(FolderPath("Nope")));
}

TEST_F(FolderList, AListedFolderThatIsGoneIsNoted)
{
    MakeFolders();
    EXPECT_EQ(Listed(kInbox).size(), 2u);
    fs::remove_all(FolderPath("Inbox/Letters"));
    Outcome run = InStore({"--format", "json", "folder", "list", kInbox, "--recursive"});
    EXPECT_EQ(nlohmann::json::parse(run.out).at(0).at("there"), false);
    EXPECT_EQ(run.err, "vlstore: note: listed, but not there; \"folder reindex\" lists anew: po/box/Inbox/Letters\n");
}

TEST_F(FolderList, ADamagedListIsMadeAnew)
{
    MakeFolders();
    Listed(kInbox);
    WriteFileBytes(FolderPath("Inbox/_folder.xml"), "<folderindex><folder>");
    EXPECT_EQ(Listed(kInbox), (std::vector<std::string>{"Inbox/Letters", "Inbox/Projects"}));
}

TEST_F(FolderList, AListThatNamesWhatIsNoChildLeadsNowhere)
{
    MakeFolders();
    Listed(kInbox);
    WriteFileBytes(FolderPath("Inbox/_folder.xml"),
                   "<folderindex><folder><name>..</name></folder><folder><name>../Outbox</name></folder><folder><name>.</name></folder>"
                   "<folder><name>a&#27;[2Jb</name></folder></folderindex>");
    nlohmann::json rows = JsonInStore({"folder", "list", kInbox, "--recursive"});
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows.back().at("name"), "a\x1b[2Jb");
    for (const auto& row : rows) EXPECT_EQ(row.at("there"), false) << row;
    Outcome run = InStore({"folder", "list", kInbox});
    EXPECT_EQ(run.out.find('\x1b'), std::string::npos) << run.out;
    EXPECT_EQ(run.err.find('\x1b'), std::string::npos) << run.err;
}

TEST_F(FolderList, OfTwoThousandFoldersEachComesOnceAlsoFromTheListsThatTheFirstTimeLeaves)
{
    std::vector<std::string> made;
    for (int i = 0; i < 40; ++i) {
        const std::string parent = "Inbox/" + std::to_string(i);
        made.push_back(parent);
        for (int j = 0; j < 49; ++j) {
            made.push_back(parent + "/" + std::to_string(j));
            fs::create_directories(FolderPath(made.back()));
        }
    }
    std::sort(made.begin(), made.end());
    for (int round = 0; round < 2; ++round) {
        std::vector<std::string> listed = Listed(kInbox, true);
        std::sort(listed.begin(), listed.end());
        EXPECT_EQ(listed, made) << round;
    }
}

TEST_F(FolderAdd, MakesAFolderWithTheSpellingThatTheStoreHasForIt)
{
    EXPECT_EQ(JsonInStore({"folder", "add", "po/box/Inbox/New"}),
              nlohmann::json::array({{{"VL_POSTOFFICE", "po"},
                                      {"VL_MAILBOX", "box"},
                                      {"VL_FOLDER", "Inbox/New"},
                                      {"VL_FOLDER_PATH", FolderPath("Inbox/New").string()}}}));
    EXPECT_EQ(Listed(kInbox), std::vector<std::string>{"Inbox/New"});
    fs::remove(FolderPath("Drafts"));
    EXPECT_EQ(JsonInStore({"folder", "add", "po/box/DRAFTS"}).at(0).at("VL_FOLDER"), "Drafts");
    EXPECT_TRUE(fs::is_directory(FolderPath("Drafts")));
}

TEST_F(FolderAdd, IsALineForEachNameInTabForm)
{
    EXPECT_TRUE(InStore({"--format", "tab", "folder", "add", "po/box/Inbox/New"})
                    .out.starts_with("VL_POSTOFFICE\tpo\nVL_MAILBOX\tbox\nVL_FOLDER\tInbox/New\nVL_FOLDER_PATH\t"));
}

TEST_F(FolderAdd, RefusesWhatWouldSurprise)
{
    MakeFolders();
    ExpectRefusalThatWritesNothing({"folder", "add", "po/box/Inbox/projects"}, 73, "there is a folder already: po/box/Inbox/projects");
    ExpectRefusalThatWritesNothing({"folder", "add", "po/box/Nope/New"}, 66, "no such folder: po/box/Nope");
    ExpectRefusalThatWritesNothing({"folder", "add", "po/box/Public"}, 64, "a name that the store keeps for itself: po/box/Public");
    ExpectRefusalThatWritesNothing({"folder", "add", "po/box/$FILEROOT"}, 64, "a name that the store keeps for itself: po/box/$FILEROOT");
    ExpectRefusalThatWritesNothing({"folder", "add", "po/box/Inbox/\xC3\xA9t\xC3\xA9"}, 64,
                                   "the store would rename it: a folder's name has no bytes above 127: po/box/Inbox/\xC3\xA9t\xC3\xA9");
    for (const char* name : {"po/box/Inbox/a*", "po/box/Inbox/a:b", "po/box/Inbox/a\nb", "po/box/Inbox/a ", "po/box/Inbox/a.",
                             "po/box/Inbox//a", "po/box/Inbox/..", "po/box"})
        WritesNothing({"folder", "add", name}, 64);
    InStore({"settings", "set", "Public Folders Enabled", "0"});
    InStore({"folder", "add", "po/box/Public"});
}

TEST_F(FolderAdd, ADryRunWritesNothing)
{
    EXPECT_EQ(WritesNothing({"folder", "add", "po/box/Inbox/New", "--dry-run"}).out, "would add po/box/Inbox/New\n");
    EXPECT_FALSE(fs::exists(FolderPath("Inbox/New")));
}

TEST_F(FolderRename, TakesEverythingAlong)
{
    MakeFolders();
    EXPECT_EQ(InStore({"folder", "rename", "po/box/Inbox/Projects", "Works"}).out,
              "renamed po/box/Inbox/Projects to po/box/Inbox/Works, with 1 folder and 1 item file in it\n");
    EXPECT_EQ(Listed(kInbox, true), (std::vector<std::string>{"Inbox/Letters", "Inbox/Works", "Inbox/Works/2026"}));
    EXPECT_EQ(JsonInStore({"item", "list", "po/box/Inbox/Works"}).size(), 1u);
    nlohmann::json moved = JsonInStore({"folder", "rename", "po/box/inbox/works", "po/box/Outbox/Old"}).at(0);
    EXPECT_EQ(moved, nlohmann::json({{"from", "po/box/Inbox/Works"}, {"to", "po/box/Outbox/Old"}, {"folders", 1}, {"files", 1}}));
    EXPECT_EQ(Listed(kInbox), std::vector<std::string>{"Inbox/Letters"});
    EXPECT_EQ(Listed("po/box/Outbox", true), (std::vector<std::string>{"Outbox/Old", "Outbox/Old/2026"}));
}

TEST_F(FolderRename, IsALineForEachNameInTabForm)
{
    MakeFolders();
    EXPECT_EQ(InStore({"--format", "tab", "folder", "rename", "po/box/Inbox/Projects", "Works"}).out,
              "from\tpo/box/Inbox/Projects\nto\tpo/box/Inbox/Works\nfolders\t1\nfiles\t1\n");
}

TEST_F(FolderRename, RefusesWhatWouldSurprise)
{
    MakeFolders();
    ExpectRefusalThatWritesNothing({"folder", "rename", "po/box/Nope", "New"}, 66, "no such folder: po/box/Nope");
    ExpectRefusalThatWritesNothing({"folder", "rename", "po/box/Inbox/Letters", "projects"}, 73,
                                   "there is a folder already: po/box/Inbox/projects");
    ExpectRefusalThatWritesNothing({"folder", "rename", "po/box/Inbox/Letters", "po/box/Nope/New"}, 66, "no such folder: po/box/Nope");
    ExpectRefusalThatWritesNothing({"folder", "rename", "po/box/Inbox/Projects", "po/box/inbox/PROJECTS/2026/In"}, 64,
                                   "cannot rename a folder into itself: po/box/Inbox/Projects to po/box/inbox/PROJECTS/2026/In");
    ExpectRefusalThatWritesNothing({"folder", "rename", kInbox, "po/box/Other"}, 64,
                                   "every mailbox has this folder; --well-known renames it all the same: po/box/Inbox");
    WritesNothing({"folder", "rename", "po/box/Inbox/Letters", "a*"}, 64);
    HeldBlock block(FolderPath("Inbox/Projects/2026"));
    Outcome held = InStore({"folder", "rename", "po/box/Inbox/Projects", "Works"}, 75);
    EXPECT_TRUE(held.err.starts_with("vlstore: folder is busy (lock held): po/box/Inbox/Projects, by ")) << held.err;
    EXPECT_TRUE(fs::exists(FolderPath("Inbox/Projects")));
}

TEST_F(FolderRename, ADryRunWritesNothing)
{
    MakeFolders();
    EXPECT_EQ(WritesNothing({"folder", "rename", "po/box/Inbox/Projects", "Works", "--dry-run"}).out,
              "would rename po/box/Inbox/Projects to po/box/Inbox/Works, with 1 folder and 1 item file in it\n");
}

TEST_F(FolderCopy, CopiesEverything)
{
    MakeFolders();
    EXPECT_EQ(InStore({"folder", "copy", "po/box/Inbox/Projects", "po/box/Outbox/Copy"}).out,
              "copied po/box/Inbox/Projects to po/box/Outbox/Copy, with 1 folder and 1 item file in it\n");
    EXPECT_EQ(Listed("po/box/Outbox", true), (std::vector<std::string>{"Outbox/Copy", "Outbox/Copy/2026"}));
    EXPECT_EQ(JsonInStore({"item", "list", "po/box/Outbox/Copy"}), JsonInStore({"item", "list", "po/box/Inbox/Projects"}));
    EXPECT_EQ(Listed(kInbox).size(), 2u);
}

TEST_F(FolderCopy, IsALineForEachNameInTabForm)
{
    MakeFolders();
    EXPECT_EQ(InStore({"--format", "tab", "folder", "copy", "po/box/Inbox/Projects", "po/box/Outbox/Copy"}).out,
              "from\tpo/box/Inbox/Projects\nto\tpo/box/Outbox/Copy\nfolders\t1\nfiles\t1\n");
}

TEST_F(FolderCopy, RefusesWhatWouldSurprise)
{
    MakeFolders();
    ExpectRefusalThatWritesNothing({"folder", "copy", "po/box/Nope", "New"}, 66, "no such folder: po/box/Nope");
    ExpectRefusalThatWritesNothing({"folder", "copy", kInbox, "po/box/Inbox/Projects/Self"}, 64,
                                   "cannot copy a folder into itself: po/box/Inbox to po/box/Inbox/Projects/Self");
    ExpectRefusalThatWritesNothing({"folder", "copy", kInbox, "inbox"}, 64,
                                   "cannot copy a folder into itself: po/box/Inbox to po/box/inbox");
    // Message would come over message.
    ExpectRefusalThatWritesNothing({"folder", "copy", "po/box/Inbox/Letters", "po/box/Outbox"}, 73,
                                   "there is a folder already: po/box/Outbox");
    WriteFileBytes(FolderPath("Inbox/Letters") / "_index.blk", "");
    WritesNothing({"folder", "copy", "po/box/Inbox/Letters", "More"}, 75);
    EXPECT_FALSE(fs::exists(FolderPath("Inbox/More")));
}

TEST_F(FolderCopy, ADryRunWritesNothing)
{
    MakeFolders();
    EXPECT_EQ(WritesNothing({"folder", "copy", "po/box/Inbox/Projects", "Works", "--dry-run"}).out,
              "would copy po/box/Inbox/Projects to po/box/Inbox/Works, with 1 folder and 1 item file in it\n");
}

TEST_F(FolderSize, IsTheSumOfTheItems)
{
    MakeFolders();
    const size_t bytes = MessageOf("one").size();
    EXPECT_EQ(InStore({"folder", "size", "po/box"}).out, std::to_string(bytes) + "\n");
    EXPECT_EQ(InStore({"folder", "size", "po/box/Inbox/Letters"}).out, "0\n");
    nlohmann::json rows = JsonInStore({"folder", "size", kInbox, "--recursive"});
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0], nlohmann::json({{"folder", "po/box/Inbox"}, {"bytes", bytes}}));
    EXPECT_EQ(rows[2], nlohmann::json({{"folder", "po/box/Inbox/Projects"}, {"bytes", bytes}}));
    EXPECT_EQ(rows[3], nlohmann::json({{"folder", "po/box/Inbox/Projects/2026"}, {"bytes", 0}}));
    InStore({"item", "deliver", "po/box/Inbox/Projects", MakeFile("large.eml", MessageOf("large") + std::string(5000, 'x')).string()});
    EXPECT_EQ(JsonInStore({"folder", "size", kInbox, "--kilobytes"}).at(0).at("kilobytes"), 5);
    ExpectRefusal({"folder", "size", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
}

TEST_F(FolderReindex, IsALineForEachFolderInTabForm)
{
    MakeFolders();
    EXPECT_EQ(InStore({"--format", "tab", "folder", "reindex", kInbox, "--recursive"}).out,
              "folder\tfolders\npo/box/Inbox\t2\npo/box/Inbox/Letters\t0\npo/box/Inbox/Projects\t1\npo/box/Inbox/Projects/2026\t0\n");
}

TEST_F(FolderReindex, ListsWhatCameAndWentBehindTheStore)
{
    MakeFolders();
    EXPECT_EQ(Listed(kInbox, true).size(), 3u);
    fs::create_directory(FolderPath("Inbox/Projects/Behind"));
    fs::remove_all(FolderPath("Inbox/Letters"));
    EXPECT_EQ(WritesNothing({"folder", "reindex", kInbox, "--recursive", "--dry-run"}).out.substr(0, 16), "would list anew\n");
    EXPECT_EQ(Listed(kInbox, true).size(), 3u);
    nlohmann::json rows = JsonInStore({"folder", "reindex", kInbox});
    EXPECT_EQ(rows, nlohmann::json::array({{{"folder", "po/box/Inbox"}, {"folders", 1}}}));
    EXPECT_EQ(Listed(kInbox, true), (std::vector<std::string>{"Inbox/Projects", "Inbox/Projects/2026"}));
    EXPECT_EQ(JsonInStore({"folder", "reindex", "po/box", "--recursive"}).size(), 14u);
    EXPECT_EQ(Listed(kInbox, true), (std::vector<std::string>{"Inbox/Projects", "Inbox/Projects/2026", "Inbox/Projects/Behind"}));
    ExpectRefusal({"folder", "reindex", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
}

}  // namespace velmora::test
