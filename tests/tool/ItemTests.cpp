// item list, show, get and set, and folder status.

#include <chrono>
#include <thread>

#include "tests/tool/ItemFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class FolderStatus : public Item {};
class BusyFolder : public Item {};
class UnknownThings : public Item {};

}  // namespace

TEST_F(Item, ListHasTheColumnsOfTheApiInTheOrderOfArrival)
{
    std::vector<std::string> ids = ImportSubjects({"first", "second"});
    nlohmann::json rows = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(rows.size(), 2u);
    nlohmann::json expected = {{"VL_ITEM_ID", ids[0]},
                               {"PR_SUBJECT", "first"},
                               {"PR_VL_FROM", "Ada <ada@example.org>"},
                               {"PR_VL_MESSAGEDATE", "2023-01-02T03:04:05"},
                               {"PR_VL_SIZE", std::to_string(fs::file_size(FolderPath() / ids[0]))},
                               {"PR_VL_READ", "0"},
                               {"PR_VL_ATTACHMENTS", "0"},
                               {"PR_VL_FLAGSTATUS", "\\RECENT"}};
    EXPECT_EQ(rows[0], expected);
    EXPECT_EQ(rows[1].at("VL_ITEM_ID"), ids[1]);
}

TEST_F(Item, AnEmptyFolderIsAnEmptyArray)
{
    EXPECT_EQ(InStore({"--format", "json", "item", "list", kInbox}).out, "[]\n");
    EXPECT_EQ(InStore({"--format", "tab", "item", "list", kInbox}).out,
              "VL_ITEM_ID\tPR_SUBJECT\tPR_VL_FROM\tPR_VL_MESSAGEDATE\tPR_VL_SIZE\tPR_VL_READ\tPR_VL_ATTACHMENTS\tPR_VL_FLAGSTATUS\n");
}

TEST_F(Item, ATableIsWholeWithoutATerminal)
{
    ImportSubjects({std::string(300, 's'), "short"});
    std::vector<std::string> lines = Lines(InStore({"item", "list", kInbox}).out);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[1].find(std::string(300, 's') + "  Ada <ada@example.org>"), std::string::npos);
}

TEST_F(Item, ATableIsCutToTheColumnsThatTheEnvironmentAsksFor)
{
    ImportSubjects({std::string(300, 's'), "short"});
    ScopedVariable columns("COLUMNS", "120");
    std::vector<std::string> lines = Lines(InStore({"item", "list", kInbox}).out);
    ASSERT_EQ(lines.size(), 3u);
    for (const std::string& line : lines) EXPECT_LE(line.size(), 120u);
    EXPECT_NE(lines[2].find("short"), std::string::npos);
}

TEST_F(Item, ATableShowsNoControlsToATerminal)
{
    ImportSubjects(
        {"a\x1B[2Jb\x9B"
         "c\xC2\x9B"
         "d\x7F"
         "e\xC2\xA0"
         "f"});
    std::string table = InStore({"item", "list", kInbox}).out;
    EXPECT_NE(table.find("a [2Jb c d e\xC2\xA0"
                         "f  "),
              std::string::npos)
        << table;
}

TEST_F(Item, JsonIsUtf8WhateverTheBytes)
{
    ImportSubjects({"gr\xFC\xDF", "gr\xC3\xBC\xC3\x9F", "mixed \xC3\xBC \xC3 \xED\xA0\x80 \xF5", "control \x01\x1F \"quoted\" \\"});
    nlohmann::json rows = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0].at("PR_SUBJECT"), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(rows[1].at("PR_SUBJECT"), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(rows[2].at("PR_SUBJECT"), "mixed \xC3\xBC \xC3\x83 \xC3\xAD\xC2\xA0\xC2\x80 \xC3\xB5");
    EXPECT_EQ(rows[3].at("PR_SUBJECT"), "control \x01\x1F \"quoted\" \\");
}

TEST_F(Item, TabFormEscapesWhatWouldBreakALine)
{
    ImportSubjects({"a\tb\\c"});
    std::string out = InStore({"--format", "tab", "item", "list", kInbox}).out;
    EXPECT_NE(out.find("00000001.MAI\ta\\tb\\\\c\t"), std::string::npos) << out;
}

TEST_F(Item, ShowHasEveryPropertyOfTheMailTable)
{
    ImportSubjects({"shown"});
    nlohmann::json rows = JsonInStore({"item", "show", kInbox, "00000001.MAI"});
    ASSERT_EQ(rows.size(), 1u);
    for (const char* name : {"PR_VL_MODIFIEDDATE", "PR_VL_MESSAGEDATE", "PR_VL_IMPORTANCE", "PR_SENSITIVITY", "PR_VL_FLAGSTATUS",
                             "PR_VL_ATTACHMENTS", "PR_VL_FROM", "PR_VL_TO", "PR_VL_CC", "PR_SUBJECT", "PR_VL_RECEIVED", "PR_VL_READ",
                             "PR_VL_STATE", "PR_VL_SIZE", "PR_VL_CLASS", "VL_ITEM_ID", "VL_ITEM_CLASS"}) {
        EXPECT_TRUE(rows[0].contains(name)) << name;
    }
    EXPECT_EQ(rows[0].at("PR_SUBJECT"), "shown");
    EXPECT_EQ(rows[0].at("PR_VL_IMPORTANCE"), "3");
    EXPECT_EQ(rows[0].at("PR_VL_RECEIVED"), "2023-01-02T03:04:05");
    EXPECT_EQ(rows[0].at("VL_ITEM_CLASS"), 0);
    EXPECT_EQ(rows[0].at("PR_SENSITIVITY"), nullptr);
}

TEST_F(Item, GetGivesTheBareValue)
{
    ImportSubjects({"  a subject  "});
    EXPECT_EQ(InStore({"item", "get", kInbox, "00000001.MAI", "PR_SUBJECT"}).out, "a subject  \n");
    EXPECT_EQ(InStore({"item", "get", kInbox, "00000001.mai", "pr_subject"}).out, "a subject  \n");
    EXPECT_EQ(JsonInStore({"item", "get", kInbox, "00000001.mai", "pr_subject"}),
              nlohmann::json::array({{{"VL_ITEM_ID", "00000001.MAI"}, {"PR_SUBJECT", "a subject  "}}}));
    EXPECT_EQ(Get("00000001.MAI", "VL_FOLDER"), "Inbox");
}

TEST_F(Item, ASetIsSeenByTheNextProcess)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two", "three"});
    EXPECT_EQ(InStore({"item", "set", kInbox, ids[1], "PR_VL_READ", "1"}).out, "1\n");
    nlohmann::json rows = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].at("PR_VL_READ"), "0");
    EXPECT_EQ(rows[1].at("PR_VL_READ"), "1");
    EXPECT_EQ(rows[2].at("PR_VL_READ"), "0");
    EXPECT_EQ(JsonInStore({"folder", "status", kInbox})[0].at("seen"), 1);
}

TEST_F(Item, ASetTextComesBackAsItIs)
{
    ImportSubjects({"one"});
    for (const char* text : {"plain", "<tag> & \"quoted\" 'single'", "", "gr\xC3\xBC\xC3\x9F", "&#65; &amp;", "  blanks  "}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(InStore({"item", "set", kInbox, "00000001.MAI", "PR_SUBJECT", text}).out, std::string(text) + "\n");
        EXPECT_EQ(Get("00000001.MAI", "PR_SUBJECT"), text);
    }
}

TEST_F(Item, ASensitivityIsANumber)
{
    ImportSubjects({"one"});
    InStore({"item", "set", kInbox, "00000001.MAI", "PR_SENSITIVITY", "2"});
    EXPECT_EQ(JsonInStore({"item", "get", kInbox, "00000001.MAI", "PR_SENSITIVITY"})[0].at("PR_SENSITIVITY"), 2);
    ExpectRefusal({"item", "set", kInbox, "00000001.MAI", "PR_SENSITIVITY", "much"}, 65,
                  "PR_SENSITIVITY takes a number of 32 bits: \"much\"");
}

TEST_F(Item, AValueThatIsNotStoredAsGivenIsAnError)
{
    ImportSubjects({"one"});
    // Without a writer of indexes no change is stored.
    TurnIndexWritersOff();
    Outcome run = InStore({"item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "1"}, 74);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("vlstore: note: this store saves no indexes")) << run.err;
    EXPECT_TRUE(run.err.ends_with("\nvlstore: not stored as given: PR_VL_READ of 00000001.MAI is now \"0\"\n")) << run.err;
}

TEST_F(Item, AValueThatIsNoneOfItsPropertyIsRefused)
{
    ImportSubjects({"one"});
    std::map<std::string, std::string> before = TreeOf(Root());
    for (const char* value : {"x", "yes", "", "2", "01"}) {
        ExpectRefusal({"item", "set", kInbox, "00000001.MAI", "PR_VL_READ", value}, 65,
                      std::string("PR_VL_READ takes 0 or 1: \"") + value + "\"");
    }
    for (const char* name : {"PR_VL_SIZE", "PR_VL_ATTACHMENTS", "PR_VL_IMPORTANCE"}) {
        for (const char* value : {"abc", "", "1x", "1.5", " 1"}) {
            ExpectRefusal({"item", "set", kInbox, "00000001.MAI", name, value}, 65,
                          std::string(name) + " takes a decimal number: \"" + value + "\"");
        }
    }
    EXPECT_EQ(TreeOf(Root()), before);
    EXPECT_EQ(InStore({"item", "set", kInbox, "00000001.MAI", "PR_VL_SIZE", "77"}).out, "77\n");
}

TEST_F(Item, WhatTheStoreKeepsItselfCannotBeSet)
{
    ImportSubjects({"one"});
    std::map<std::string, std::string> before = TreeOf(Root());
    for (const char* name : {"VL_ITEM_ID", "VL_ITEM_CLASS", "VL_ITEM_MODIFIEDDATE", "PR_VL_MODIFIEDDATE"}) {
        ExpectRefusal({"item", "set", kInbox, "00000001.MAI", name, "1"}, 65, std::string("the store keeps this property itself: ") + name);
    }
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(Item, TheLibrarysOwnLinesNeverReachStandardOutput)
{
    ImportSubjects({"one"});
    // The library says on standard output what it does at a load and at a change of folder.
    Outcome run = InStore({"--verbose", "--format", "json", "item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "1"});
    EXPECT_EQ(nlohmann::json::parse(run.out).size(), 1u);
    EXPECT_NE(run.err, "");
    Outcome quiet = InStore({"--format", "json", "item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "0"});
    EXPECT_EQ(nlohmann::json::parse(quiet.out).size(), 1u);
    EXPECT_EQ(quiet.err, "");
}

TEST_F(UnknownThings, AreOneLineEachAndMakeNothing)
{
    ImportSubjects({"one"});
    std::map<std::string, std::string> before = TreeOf(Root());
    ExpectRefusal({"item", "list", "nope/box/Inbox"}, 66, "no such post office: nope");
    ExpectRefusal({"item", "list", "po/nope/Inbox"}, 66, "no such mailbox: po/nope");
    ExpectRefusal({"item", "list", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"item", "list", "po/box/Inbox/Nope"}, 66, "no such folder: po/box/Inbox/Nope");
    ExpectRefusal({"item", "list", "po/box/Public/Nope"}, 66, "no such folder: po/box/Public/Nope");
    ExpectRefusal({"folder", "status", "po/box/Nope"}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"item", "show", kInbox, "00000009.MAI"}, 65, "no such item: po/box/Inbox 00000009.MAI");
    ExpectRefusal({"item", "get", kInbox, "00000009.MAI", "PR_SUBJECT"}, 65, "no such item: po/box/Inbox 00000009.MAI");
    ExpectRefusal({"item", "set", kInbox, "00000009.MAI", "PR_VL_READ", "1"}, 65, "no such item: po/box/Inbox 00000009.MAI");
    ExpectRefusal({"item", "get", kInbox, "00000001.MAI", "PR_NOPE"}, 65, "no such property: PR_NOPE");
    ExpectRefusal({"item", "set", kInbox, "00000001.MAI", "PR_NOPE", "1"}, 65, "no such property: PR_NOPE");
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(UnknownThings, ANameWithAColonLeadsNowhereElse)
{
    for (const char* name : {"c:", "c:x", "z:POSTOFFICES"}) {
        SCOPED_TRACE(name);
        ExpectRefusal({"item", "list", std::string("po/box/") + name}, 66, std::string("no such folder: po/box/") + name);
    }
}

TEST_F(UnknownThings, AFileWhereAFolderShouldBeIsNoFolder)
{
    WriteFileBytes(FolderPath("Plain"), "x");
    ExpectRefusal({"item", "list", "po/box/Plain"}, 66, "no such folder: po/box/Plain");
}

TEST_F(UnknownThings, FoldersOfOtherKindsAreNotListed)
{
    for (const char* folder : {"Calendar", "TASKS", "contacts", "$VCFROOT", "$FILEROOT/x"}) {
        std::map<std::string, std::string> before = TreeOf(Root());
        ExpectRefusal({"item", "list", std::string("po/box/") + folder}, 69, std::string("not a mail folder: po/box/") + folder);
        EXPECT_EQ(TreeOf(Root()), before);
    }
}

TEST_F(UnknownThings, APublicFolderLiesAtThePostOffice)
{
    fs::create_directories(Root() / "POSTOFFICES" / "po" / "PUBROOT" / "News");
    fs::path file = MakeFile("a.eml", "Subject: news\n\n");
    InStore({"import", file.string(), "--to", "po/box/Public/News"});
    EXPECT_EQ(JsonInStore({"item", "list", "po/box/public/news"}).size(), 1u);
    EXPECT_TRUE(fs::exists(Root() / "POSTOFFICES" / "po" / "PUBROOT" / "News" / "00000001.MAI"));
}

TEST_F(FolderStatus, CountsWithoutOpening)
{
    ImportSubjects({"one", "two", "three"});
    InStore({"item", "set", kInbox, "00000002.MAI", "PR_VL_FLAGSTATUS", "\\SEEN \\ANSWERED \\FLAGGED"});
    std::map<std::string, std::string> before = TreeOf(Root());
    nlohmann::json status = JsonInStore({"folder", "status", kInbox})[0];
    EXPECT_EQ(status.at("VL_FOLDER_PATH"), FolderPath().string());
    EXPECT_EQ(status.at("items"), 3);
    EXPECT_EQ(status.at("seen"), 1);
    EXPECT_EQ(status.at("firstSeen"), 2);
    EXPECT_EQ(status.at("answered"), 1);
    EXPECT_EQ(status.at("flagged"), 1);
    EXPECT_EQ(status.at("recent"), 2);
    EXPECT_EQ(status.at("lastUid"), 3);
    EXPECT_EQ(status.at("indexBytes"), fs::file_size(FolderPath() / "_index.xml"));
    EXPECT_EQ(status.at("dirty"), false);
    EXPECT_EQ(status.at("block"), "free");
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(FolderStatus, AFolderThatWasNeverOpenedHasNoCounts)
{
    nlohmann::json status = JsonInStore({"folder", "status", "po/box/Calendar"})[0];
    EXPECT_EQ(status.at("items"), nullptr);
    EXPECT_EQ(status.at("indexBytes"), nullptr);
    EXPECT_TRUE(fs::is_empty(FolderPath("Calendar")));
}

TEST_F(FolderStatus, SeesTheDirtyFlagAndTheBlock)
{
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", "x");
    {
        HeldBlock block(FolderPath());
        nlohmann::json status = JsonInStore({"folder", "status", kInbox})[0];
        EXPECT_EQ(status.at("dirty"), true);
        EXPECT_EQ(status.at("block"), "held");
    }
    WriteFileBytes(FolderPath() / "_index.blk", "");
    EXPECT_EQ(JsonInStore({"folder", "status", kInbox})[0].at("block"), "left behind");
}

TEST_F(BusyFolder, IsSaidAtOnce)
{
    ImportSubjects({"one"});
    HeldBlock block(FolderPath());
    auto begin = std::chrono::steady_clock::now();
    ExpectRefusal({"item", "list", kInbox}, 75, "folder is busy (lock held): po/box/Inbox");
    ExpectRefusal({"item", "set", kInbox, "00000001.MAI", "PR_VL_READ", "1"}, 75, "folder is busy (lock held): po/box/Inbox");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_TRUE(fs::exists(FolderPath() / "_index.blk"));
}

TEST_F(BusyFolder, IsWaitedForWhenThatIsAskedFor)
{
    ImportSubjects({"one"});
    HeldBlock block(FolderPath());
    std::thread holder([&block] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        block.Release();
    });
    EXPECT_EQ(JsonInStore({"--wait", "item", "list", kInbox}).size(), 1u);
    holder.join();
}

TEST_F(BusyFolder, ABlockThatNobodyHoldsIsBrokenByTheLibrary)
{
    ImportSubjects({"one"});
    InStore({"settings", "set", "Index Unblock Mode", "1", "--key", "Providers"});
    WriteFileBytes(FolderPath() / "_index.blk", "");
    Outcome run = InStore({"--format", "tab", "item", "list", kInbox});
    EXPECT_EQ(Lines(run.out).size(), 2u);
    EXPECT_EQ(run.err, "vlstore: note: waiting up to a minute for a block file that no process holds: " +
                           (FolderPath() / "_index.blk").string() + "\n");
    EXPECT_FALSE(fs::exists(FolderPath() / "_index.blk"));
}

}  // namespace velmora::test
