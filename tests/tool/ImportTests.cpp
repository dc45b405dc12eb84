// import: every form of source, counts in and counts out, and what must not happen.

#include <cstdlib>

#include "tests/tool/ImportFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDirtyText = "This file is a flag file that denotes that this folder has been changed";

}  // namespace

TEST_F(Import, AFileBecomesOneItemWithItsBytesAsTheyAre)
{
    for (const std::string& lineEnd : {std::string("\n"), std::string("\r\n")}) {
        std::string bytes = Mail("one", lineEnd) + std::string("\0\xFF\r", 3);
        nlohmann::json rows = ImportJson(MakeFile("one.eml", bytes));
        ASSERT_EQ(rows.size(), 1u);
        EXPECT_EQ(ItemBytes(rows[0].at("VL_ITEM_ID")), bytes);
    }
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"one", "one"}));
    EXPECT_EQ(ItemFiles(), (std::vector<std::string>{"00000001.MAI", "00000002.MAI"}));
}

TEST_F(Import, NamesGoOnBehindTheHighestInTheFolder)
{
    WriteFileBytes(FolderPath() / "000000fe.mai", Mail("before"));
    WriteFileBytes(FolderPath() / "ZZ.MAI", Mail("other"));
    MakeFile("in/a.eml", Mail("a"));
    MakeFile("in/b.eml", Mail("b"));
    nlohmann::json rows = ImportJson(Directory().Path() / "in");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].at("VL_ITEM_ID"), "000000FF.MAI");
    EXPECT_EQ(rows[1].at("VL_ITEM_ID"), "00000100.MAI");
    EXPECT_EQ(Subjects().size(), 4u);
}

TEST_F(Import, AFullRangeOfNamesIsAnErrorAndReplacesNothing)
{
    WriteFileBytes(FolderPath() / "FFFFFFFF.MAI", Mail("last"));
    fs::path file = MakeFile("one.eml", Mail("one"));
    InStore({"import", file.string(), "--to", kInbox}, 73);
    EXPECT_EQ(ItemFiles(), std::vector<std::string>{"FFFFFFFF.MAI"});
    EXPECT_EQ(ItemBytes("FFFFFFFF.MAI"), Mail("last"));
}

TEST_F(Import, ADirectoryIsTakenFlatAndByName)
{
    MakeFile("in/b.eml", Mail("b"));
    MakeFile("in/a", Mail("a"));
    MakeFile("in/c.MAI", "no header at all");
    MakeFile("in/.hidden.eml", Mail("hidden"));
    MakeFile("in/below/d.eml", Mail("d"));
    MakeFile("in/LICENSE", "Permission is hereby granted: to all\n");
    Outcome run = InStore({"import", (Directory().Path() / "in").string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 3 of 3 messages into po/box/Inbox\n");
    fs::path in = Directory().Path() / "in";
    EXPECT_EQ(run.err, "vlstore: skipped, hidden: " + (in / ".hidden.eml").string() + "\nvlstore: skipped, a directory: " +
                           (in / "below").string() + "\nvlstore: skipped, not a message: " + (in / "LICENSE").string() + "\n");
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"a", "b", ""}));
}

TEST_F(Import, EverythingThatIsLeftOutOfAMaildirIsNamed)
{
    fs::path md = Directory().Path() / "md";
    MakeFile("md/cur/1.host;2,S", Mail("seen"));
    MakeFile("md/cur/.lock", "");
    MakeFile("md/tmp/5.host", Mail("unfinished"));
    MakeFile("md/.Sent/cur/1.host;2,S", Mail("sent"));
    MakeFile("md/uidlist", "3 V1");
    Outcome run = InStore({"import", md.string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 1 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(SortedLines(run.err), (std::set<std::string>{
                                        "vlstore: skipped, another folder: " + (md / ".Sent").string(),
                                        "vlstore: skipped, hidden: " + (md / "cur" / ".lock").string(),
                                        "vlstore: skipped, not a message: " + (md / "uidlist").string(),
                                        "vlstore: skipped, not delivered yet: " + (md / "tmp" / "5.host").string(),
                                    }));
}

TEST_F(Import, AMboxIsSplitAtItsSeparators)
{
    std::string mbox =
        "From a@b Thu Jan  1 00:00:00 1970\nSubject: first\n\nbody\nFrom here no blank line\n>From quoted\n>>From twice\n> From kept\n\n"
        "From c@d Thu Jan  1 00:00:00 1970\nSubject: second\n\n\n\n"
        "From e@f Thu Jan  1 00:00:00 1970\nSubject: third\n\nno line end";
    nlohmann::json rows = ImportJson(MakeFile("some.mbox", mbox));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[1].at("source"), (Directory().Path() / "some.mbox").string() + "#2");
    EXPECT_EQ(ItemBytes(rows[0].at("VL_ITEM_ID")),
              "Subject: first\n\nbody\nFrom here no blank line\nFrom quoted\n>From twice\n> From kept\n");
    EXPECT_EQ(ItemBytes(rows[1].at("VL_ITEM_ID")), "Subject: second\n\n\n");
    EXPECT_EQ(ItemBytes(rows[2].at("VL_ITEM_ID")), "Subject: third\n\nno line end");
}

TEST_F(Import, AParagraphThatBeginsWithFromStaysInItsMessage)
{
    std::string body =
        "\nFrom here on it is text.\n\nFrom Thu Jan  1 00:00:00 1970\n\nFrom a@b Thu Jan  1 00:00:00\n\n"
        "From a@b Thursday Jan  1 00:00:00 1970\n\nFrom a@b Thu Jan 1st 00:00:00 1970\n\nFrom a@b Thu Jan 1 noon 1970\n";
    std::string mbox = "From a@b Thu Jan  1 00:00:00 1970\nSubject: one\n" + body;
    nlohmann::json rows = ImportJson(MakeFile("some.mbox", mbox));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(ItemBytes(rows[0].at("VL_ITEM_ID")), "Subject: one\n" + body);
}

TEST_F(Import, ASeparatorMayNameItsSenderAndItsZoneInSeveralForms)
{
    std::string mbox;
    std::vector<std::string> subjects;
    for (const char* separator :
         {"From - Thu Jan  1 00:00:00 1970", "From a@b  Fri Dec 31 23:59 1999", "From Ada L <a@b> Sat Feb 29 1:02:03 2020 +0100",
          "From a@b Sun Mar 15 01:02:03 MET 2009", "From a@b Mon Apr 6 01:02:03 -0700 2015 remote from host"}) {
        subjects.push_back(std::to_string(subjects.size()));
        mbox += std::string(separator) + "\nSubject: " + subjects.back() + "\n\n\n";
    }
    EXPECT_EQ(ImportJson(MakeFile("some", mbox)).size(), 5u);
    EXPECT_EQ(Subjects(), subjects);
}

TEST_F(Import, AMboxWithCarriageReturnsKeepsThem)
{
    std::string mbox =
        "From a Thu Jan 01 00:00:00 1970\r\nSubject: one\r\n\r\nbody\r\n\r\nFrom b Thu Jan 01 00:00:00 1970\r\nSubject: "
        "two\r\n\r\nbody\r\n\r\n";
    nlohmann::json rows = ImportJson(MakeFile("named-otherwise", mbox));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(ItemBytes(rows[0].at("VL_ITEM_ID")), "Subject: one\r\n\r\nbody\r\n");
    EXPECT_EQ(ItemBytes(rows[1].at("VL_ITEM_ID")), "Subject: two\r\n\r\nbody\r\n");
}

TEST_F(Import, AMessageFileThatBeginsAsAnMboxIsOneMessage)
{
    std::string bytes = "From a@b Thu Jan  1 00:00:00 1970\nSubject: one\n\nbody\n\nFrom the start again\n";
    nlohmann::json rows = ImportJson(MakeFile("one.eml", bytes));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(ItemBytes(rows[0].at("VL_ITEM_ID")), bytes);
}

TEST_F(Import, AnEmptyMboxHasNoMessages)
{
    Outcome run = InStore({"import", MakeFile("empty.mbox", "").string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 0 of 0 messages into po/box/Inbox\n");
    EXPECT_TRUE(fs::is_empty(FolderPath()));
}

TEST_F(Import, AFileThatBeginsWithALineTooLongForASeparatorIsAMessage)
{
    std::string line = "From a@b Thu Jan  1 00:00:00 1970 " + std::string(1000, 'x');
    nlohmann::json rows = ImportJson(MakeFile("named-otherwise", line + "\nSubject: x\n\nbody\n"));
    EXPECT_EQ(rows.size(), 1u);
}

TEST_F(Import, AFileThatIsCalledAnMboxAndIsNoneIsRefused)
{
    fs::path file = MakeFile("some.mbox", Mail("x"));
    ExpectRefusal({"import", file.string(), "--to", kInbox}, 65, "not an mbox: " + file.string());
    EXPECT_TRUE(fs::is_empty(FolderPath()));
}

TEST_F(Import, AMaildirBringsItsFlags)
{
    MakeFile("md/new/3.host", Mail("new"));
    MakeFile("md/cur/1.host;2,S", Mail("seen"));
    MakeFile("md/cur/2.host!2,FRS", Mail("all"));
    MakeFile("md/cur/4.host;2,", Mail("none"));
    MakeFile("md/tmp/5.host", Mail("unfinished"));
    EXPECT_EQ(ImportJson(Directory().Path() / "md").size(), 4u);
    std::map<std::string, std::pair<std::string, std::string>> flags;
    for (const auto& row : JsonInStore({"item", "list", kInbox})) {
        flags[row.at("PR_SUBJECT")] = {row.at("PR_VL_READ"), row.at("PR_VL_FLAGSTATUS")};
    }
    using Flags = std::pair<std::string, std::string>;
    ASSERT_EQ(flags.size(), 4u);
    EXPECT_EQ(flags["new"], Flags("0", "\\RECENT"));
    EXPECT_EQ(flags["seen"], Flags("1", "\\SEEN"));
    EXPECT_EQ(flags["all"], Flags("1", "\\SEEN \\ANSWERED \\FLAGGED"));
    EXPECT_EQ(flags["none"], Flags("0", "\\RECENT"));
    nlohmann::json status = JsonInStore({"folder", "status", kInbox});
    EXPECT_EQ(status[0].at("seen"), 2);
    EXPECT_EQ(status[0].at("items"), 4);
}

TEST_F(Import, SeveralPathsComeInTheirOrder)
{
    fs::path b = MakeFile("b.eml", Mail("b"));
    fs::path a = MakeFile("a.eml", Mail("a"));
    Outcome run = InStore({"import", b.string(), a.string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 2 of 2 messages into po/box/Inbox\n");
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"b", "a"}));
}

TEST_F(Import, ADryRunWritesNothing)
{
    ImportSubjects({"there already"});
    MakeFile("in/a.eml", Mail("a"));
    MakeFile("in/b.mbox", "From a Thu Jan 1 00:00 1970\n" + Mail("b") + "\nFrom c Thu Jan 1 00:00 1970\n" + Mail("c"));
    std::map<std::string, std::string> before = TreeOf(Root());
    Outcome run = InStore({"import", (Directory().Path() / "in").string(), "--to", kInbox, "--dry-run"});
    EXPECT_EQ(run.out, "would import 3 messages into po/box/Inbox\n");
    EXPECT_EQ(JsonInStore({"import", (Directory().Path() / "in").string(), "--to", kInbox, "--dry-run"}).size(), 3u);
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(Import, ADryRunIntoAFolderThatIsNotThereFailsAsTheRealOneWould)
{
    fs::path file = MakeFile("a.eml", Mail("a"));
    ExpectRefusal({"import", file.string(), "--to", "po/box/Nope", "--dry-run"}, 66, "no such folder: po/box/Nope");
}

TEST_F(Import, APathThatIsNotThereIsOneLineAndNothingIsWritten)
{
    fs::path file = MakeFile("a.eml", Mail("a"));
    ExpectRefusal({"import", file.string(), "/nowhere/at/all", "--to", kInbox}, 66, "no such file or directory: /nowhere/at/all");
    EXPECT_TRUE(fs::is_empty(FolderPath()));
}

TEST_F(Import, MoreMessagesThanTheIndexTakesAreRefusedBeforeAnyIsWritten)
{
    InStore({"settings", "set", "Maximum Index Rows", "3"});
    ImportSubjects({"one", "two"});
    std::map<std::string, std::string> before = TreeOf(FolderPath());
    fs::path file = MakeFile("a.eml", Mail("a"));
    ExpectRefusal({"import", file.string(), "--to", kInbox}, 65,
                  "the folder would hold 3 messages, and its index takes fewer than 3; raise it with: vlstore settings set "
                  "\"Maximum Index Rows\" NUMBER");
    EXPECT_EQ(TreeOf(FolderPath()), before);
}

TEST_F(Import, WhatTheStoreDoesNotListIsNamedAndTheExitCodeSaysSo)
{
    // A limit of 0 ends the scan at its first file.
    InStore({"settings", "set", "Maximum Index Rows", "0"});
    fs::path file = MakeFile("a.eml", Mail("a"));
    Outcome run = InStore({"import", file.string(), "--to", kInbox}, 74);
    EXPECT_EQ(run.out, "imported 0 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(run.err,
              "vlstore: not listed: 00000001.MAI from " + file.string() + "\nvlstore: imported only 0 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(ItemBytes("00000001.MAI"), Mail("a"));
}

TEST_F(Import, AHeldFolderIsBusyBeforeAnythingIsWritten)
{
    HeldBlock block(FolderPath());
    fs::path file = MakeFile("a.eml", Mail("a"));
    ExpectRefusal({"import", file.string(), "--to", kInbox}, 75, "folder is busy (lock held): po/box/Inbox");
    EXPECT_EQ(FileNames(FolderPath()), std::vector<std::string>{"_index.blk"});
}

TEST_F(Import, WhatAKilledImportLeftIsFoundByTheNextOpen)
{
    ImportSubjects({"before"});
    Outcome run = InStoreWith({.meanwhile =
                                   [this](ChildProcess& child) {
                                       AwaitTrue([this] { return fs::exists(FolderPath() / "00000002.MAI"); });
                                       child.KillNow();
                                   }},
                              {"import", ManyMessages().string(), "--to", kInbox});
    ASSERT_EQ(run.exitCode, -1) << "it came to its end before it could be killed";
    std::vector<std::string> files = ItemFiles();
    std::erase_if(files, [](const std::string& name) { return name.starts_with('_'); });
    ASSERT_GE(files.size(), 2u);
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), files.size());
}

TEST_F(Import, AStoreThatSavesNoIndexesIsNoted)
{
    TurnIndexWritersOff();
    Outcome run = InStore({"import", MakeFile("a.eml", Mail("a")).string(), "--to", kInbox});
    EXPECT_EQ(run.out, "imported 1 of 1 messages into po/box/Inbox\n");
    EXPECT_TRUE(run.err.starts_with("vlstore: note: this store saves no indexes")) << run.err;
}

TEST_F(Import, ADirtyFlagThatWasThereIsTakenIntoAccount)
{
    WriteFileBytes(FolderPath() / "0000000A.MAI", Mail("delivered"));
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", kDirtyText);
    ImportSubjects({"imported"});
    EXPECT_EQ(Subjects(), (std::vector<std::string>{"delivered", "imported"}));
    EXPECT_FALSE(fs::exists(FolderPath() / "_CHANGE.DTY"));
}

TEST_F(Import, NoPrivateFileOfTheImportStays)
{
    ImportSubjects({"one", "two"});
    for (const std::string& name : FileNames(FolderPath())) EXPECT_FALSE(name.starts_with("_0")) << name;
}

TEST_F(Import, AStaleTemporaryFileIsPassedOver)
{
    WriteFileBytes(FolderPath() / "_00000001.MAI", "left by a run that was killed");
    std::vector<std::string> ids = ImportSubjects({"one"});
    EXPECT_EQ(ids, std::vector<std::string>{"00000002.MAI"});
    EXPECT_EQ(ReadFileBytes(FolderPath() / "_00000001.MAI"), "left by a run that was killed");
}

TEST_F(Import, AFolderWithinAFolderIsAFolder)
{
    fs::create_directories(FolderPath("Inbox/Below"));
    fs::path file = MakeFile("a.eml", Mail("a"));
    InStore({"import", file.string(), "--to", "po/box/Inbox/Below"});
    EXPECT_EQ(JsonInStore({"item", "list", "po/box/Inbox/Below"}).size(), 1u);
    EXPECT_EQ(JsonInStore({"item", "list", "PO/BOX/inbox\\below"}).size(), 1u);
}

TEST_F(Import, TwoThousandMessagesComeThroughAndInOrder)
{
    constexpr int kMessages = 2000;
    std::vector<std::string> subjects;
    for (int i = 0; i < kMessages; ++i) subjects.push_back("message " + std::to_string(i));
    ImportSubjects(subjects);
    EXPECT_EQ(Subjects(), subjects);
}

TEST_F(Import, EveryRealMessageIsImportedAndListed)
{
    const char* data = std::getenv("VELMORA_TEST_DATA");
    if (!data || !fs::is_directory(fs::path(data) / "mail")) GTEST_SKIP() << "VELMORA_TEST_DATA names no directory with mail in it";
    std::map<std::string, std::string> expected;  // path to bytes
    std::set<std::string> others;                 // a licence, an empty file
    for (const auto& entry : fs::directory_iterator(fs::path(data) / "mail")) {
        if (entry.path().extension() == ".eml")
            expected[entry.path().string()] = ReadFileBytes(entry.path());
        else
            others.insert(entry.path().string());
    }
    ASSERT_GT(expected.size(), 50u);
    std::string skipped = InStore({"import", (fs::path(data) / "mail").string(), "--to", kInbox, "--dry-run"}).err;
    EXPECT_EQ(SortedLines(skipped).size(), others.size());
    for (const std::string& other : others) EXPECT_NE(skipped.find(": " + other + "\n"), std::string::npos) << other;
    nlohmann::json rows = ImportJson(fs::path(data) / "mail");
    std::map<std::string, std::string> sizes;  // item to size
    for (const auto& row : rows) {
        std::string source = row.at("source");
        ASSERT_TRUE(expected.contains(source)) << source;
        std::string id = row.at("VL_ITEM_ID");
        EXPECT_EQ(ItemBytes(id), expected[source]) << source;
        sizes[id] = std::to_string(expected[source].size());
    }
    EXPECT_EQ(rows.size(), expected.size());
    nlohmann::json listed = JsonInStore({"item", "list", kInbox});
    EXPECT_EQ(listed.size(), expected.size());
    for (const auto& row : listed) EXPECT_EQ(row.at("PR_VL_SIZE"), sizes[row.at("VL_ITEM_ID")]);
}

}  // namespace velmora::test
