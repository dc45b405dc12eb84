// item deliver: what a delivery leaves in the folder, and what it does not take.

#include <memory>

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

TEST_F(Delivery, AMessageIsAnItemWithItsBytesAsTheyAre)
{
    std::string bytes = MessageOf("one") + std::string("\0\xFF\r\n", 4);
    fs::path file = MakeFile("one.eml", bytes);
    nlohmann::json rows = JsonInStore({"item", "deliver", kInbox, file.string()});
    ASSERT_EQ(rows.size(), 1u);
    std::string id = rows[0].at("VL_ITEM_ID");
    EXPECT_EQ(rows[0].at("source"), file.string());
    EXPECT_EQ(Messages(), std::vector<std::string>{id});
    EXPECT_EQ(ReadFileBytes(FolderPath() / id), bytes);
    nlohmann::json listed = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].at("VL_ITEM_ID"), id);
    EXPECT_EQ(listed[0].at("PR_SUBJECT"), "one");
    EXPECT_EQ(listed[0].at("PR_VL_SIZE"), std::to_string(bytes.size()));
    EXPECT_EQ(listed[0].at("PR_VL_FLAGSTATUS"), "\\RECENT");
}

TEST_F(Delivery, StandardInputIsAMessageOfAnyBytes)
{
    std::string bytes = MessageOf("typed") + std::string("\r\n\0\x1A\xFF\n", 6);
    for (std::vector<std::string> arguments : {std::vector<std::string>{"item", "deliver", kInbox}, {"item", "deliver", kInbox, "-"}}) {
        arguments.insert(arguments.begin(), {"--format", "json"});
        Outcome run = InStoreWith({.input = bytes}, arguments);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        nlohmann::json row = nlohmann::json::parse(run.out).at(0);
        EXPECT_EQ(row.at("source"), "standard input");
        EXPECT_EQ(ReadFileBytes(FolderPath() / row.at("VL_ITEM_ID").get<std::string>()), bytes);
    }
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 2u);
}

// A text as the tab format writes it.
std::string InTab(const std::string& text)
{
    std::string escaped;
    for (char c : text) escaped.append(c == '\\' ? "\\\\" : std::string(1, c));
    return escaped;
}

TEST_F(Delivery, SeveralMessagesAreReportedInTheirOrder)
{
    std::vector<std::string> arguments = {"--format", "tab", "item", "deliver", kInbox};
    for (const char* name : {"b", "a", "c"}) arguments.push_back(MakeFile(std::string(name) + ".eml", MessageOf(name)).string());
    std::vector<std::string> lines = Lines(InStore(arguments).out);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "VL_ITEM_ID\tsource");
    nlohmann::json listed = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(listed.size(), 3u);
    const char* subjects[] = {"b", "a", "c"};
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(listed[i].at("PR_SUBJECT"), subjects[i]);
        EXPECT_EQ(lines[i + 1], listed[i].at("VL_ITEM_ID").get<std::string>() + "\t" + InTab(arguments[5 + i]));
    }
}

TEST_F(Delivery, AFolderIsNotOpenedOrScannedForIt)
{
    DeliverOne("first");
    // What a scan would find, and what it would write.
    WriteFileBytes(FolderPath() / "UNSEEN.MAI", MessageOf("not indexed"));
    nlohmann::json before = Counts();
    std::string id = DeliverOne("second");
    nlohmann::json after = Counts();
    EXPECT_EQ(after.at("items"), 2);
    EXPECT_EQ(after.at("addedSinceCount"), before.at("addedSinceCount").get<int>() + 1);
    EXPECT_EQ(after.at("lastUid"), before.at("lastUid").get<int>() + 1);
    std::string index = ReadFileBytes(FolderPath() / "_index.xml");
    EXPECT_NE(index.find(id), std::string::npos);
    EXPECT_EQ(index.find("UNSEEN.MAI"), std::string::npos);
}

TEST_F(Delivery, FlagsAreThoseOfTheItem)
{
    std::string seen = DeliverOne("seen", "SEEN,\\flagged"), recent = DeliverOne("recent", "Answered,$Later");
    EXPECT_EQ(Flags(seen), (std::set<std::string>{"\\SEEN", "\\FLAGGED"}));
    EXPECT_EQ(Get(seen, "PR_VL_READ"), "1");
    EXPECT_EQ(Flags(recent), (std::set<std::string>{"\\ANSWERED", "\\$Later", "\\RECENT"}));
    EXPECT_EQ(Get(recent, "PR_VL_READ"), "0");
    EXPECT_EQ(Counts().at("seen"), 1);
    EXPECT_EQ(Counts().at("items"), 2);
}

TEST_F(Delivery, WhatIsNoFlagIsRefusedAndNothingIsDelivered)
{
    fs::path file = MakeFile("a.eml", MessageOf("a"));
    for (const char* flags : {",", "SEEN,", "SEEN FLAGGED", "+SEEN", "SIZE=5", "$VLGROUP", "x$vlgroup", "a/b", "\\"}) {
        ExpectRefusal({"item", "deliver", kInbox, file.string(), "--flags", flags}, 64,
                      std::string("flags are words with commas between: \"") + flags + "\"");
    }
    ExpectRefusal({"item", "deliver", kInbox, file.string(), "--flags", "Unseen"}, 64, "the store would count \"Unseen\" as SEEN");
    ExpectRefusal({"item", "deliver", kInbox, file.string(), "--flags", std::string(300, 'x')}, 64, "the flags are too long");
    EXPECT_EQ(Messages(), std::vector<std::string>{});
}

TEST_F(Delivery, AnEmptyMessageIsRefused)
{
    fs::path empty = MakeFile("empty.eml", "");
    Outcome run = InStore({"--format", "tab", "item", "deliver", kInbox, empty.string()}, 65);
    EXPECT_EQ(run.out, "VL_ITEM_ID\tsource\n");
    EXPECT_EQ(run.err,
              "vlstore: not delivered: empty message: " + empty.string() + "\nvlstore: delivered only 0 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(InStore({"item", "deliver", kInbox}, 65).err,
              "vlstore: not delivered: empty message: standard input\nvlstore: delivered only 0 of 1 messages into po/box/Inbox\n");
    EXPECT_EQ(Messages(), std::vector<std::string>{});
}

TEST_F(Delivery, AFileThatCannotBeReadIsNamedAndTheOthersCome)
{
    fs::path a = MakeFile("a.eml", MessageOf("a")), c = MakeFile("c.eml", MessageOf("c"));
    for (const std::string& bad : {(Directory().Path() / "nothing.eml").string(), Directory().Path().string(),
                                   (Directory().Path() / std::string(3000, 'x')).string()}) {
        SCOPED_TRACE(bad);
        size_t before = Messages().size();
        Outcome run = InStore({"--format", "tab", "item", "deliver", kInbox, a.string(), bad, c.string()}, 66);
        std::vector<std::string> lines = Lines(run.out);
        ASSERT_EQ(lines.size(), 3u);
        EXPECT_TRUE(lines[1].ends_with("\t" + InTab(a.string())) && lines[2].ends_with("\t" + InTab(c.string()))) << run.out;
        EXPECT_TRUE(run.err.starts_with("vlstore: not delivered: cannot read " + bad + ": ")) << run.err;
        EXPECT_TRUE(run.err.ends_with("\nvlstore: delivered only 2 of 3 messages into po/box/Inbox\n")) << run.err;
        EXPECT_EQ(Messages().size(), before + 2);
    }
}

TEST_F(Delivery, UnknownFoldersAreRefused)
{
    fs::path file = MakeFile("a.eml", MessageOf("a"));
    std::map<std::string, std::string> before = TreeOf(Root());
    ExpectRefusal({"item", "deliver", "nope/box/Inbox", file.string()}, 66, "no such post office: nope");
    ExpectRefusal({"item", "deliver", "po/nope/Inbox", file.string()}, 66, "no such mailbox: po/nope");
    ExpectRefusal({"item", "deliver", "po/box/Nope", file.string()}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"item", "deliver", "po/box/Calendar", file.string()}, 69, "not a mail folder: po/box/Calendar");
    ExpectRefusal({"item", "deliver", "po/box/" + std::string(2000, 'x'), file.string()}, 64, "the folder's name is too long");
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(Delivery, ABusyFolderIsSaidBeforeAnythingIsWritten)
{
    DeliverOne("first");
    fs::path file = MakeFile("a.eml", MessageOf("a"));
    HeldBlock block(FolderPath());
    ExpectRefusal({"item", "deliver", kInbox, file.string()}, 75, "folder is busy (lock held): po/box/Inbox");
    EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(Delivery, AMessageThatCannotBeIndexedStaysAndIsReported)
{
    DeliverOne("first");
    // The folder is taken behind the first of two messages, while the tool waits for the second one.
    fs::path file = MakeFile("second.eml", MessageOf("second"));
    std::unique_ptr<HeldBlock> block;
    RunOptions options;
    options.openInput = true;
    options.meanwhile = [&](ChildProcess& process) {
        constexpr size_t kItemsWord = 6;
        AwaitTrue([this] { return ReadFileBytes(FolderPath() / "_FOLDER.DAT")[4 * kItemsWord] == 2; });
        AwaitTrue([this] { return !fs::exists(FolderPath() / "_index.blk"); });
        block = std::make_unique<HeldBlock>(FolderPath());
        process.Write(MessageOf("third"));
        process.CloseInput();
    };
    Outcome run = InStoreWith(options, {"--format", "tab", "item", "deliver", kInbox, file.string(), "-"});
    EXPECT_EQ(run.exitCode, 74);
    std::vector<std::string> lines = Lines(run.out);
    ASSERT_EQ(lines.size(), 3u);
    std::string id = lines[2].substr(0, lines[2].find('\t'));
    EXPECT_EQ(run.err,
              "vlstore: delivered, but not indexed yet: " + id +
                  " from standard input: folder is busy (lock held): po/box/Inbox\nvlstore: delivered with faults: 2 of 2 messages into "
                  "po/box/Inbox\n");
    EXPECT_EQ(ReadFileBytes(FolderPath() / id), MessageOf("third"));
    block.reset();
    nlohmann::json listed = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(listed.size(), 3u);
    EXPECT_EQ(listed[2].at("VL_ITEM_ID"), id);
    EXPECT_EQ(Counts().at("items"), 3);
}

TEST_F(Delivery, ALeftBehindPrivateFileIsNoneOfItsBusiness)
{
    WriteFileBytes(FolderPath() / "_0000000000000001.MAI", "half a mess");
    std::string id = DeliverOne("one");
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
    EXPECT_EQ(ReadFileBytes(FolderPath() / "_0000000000000001.MAI"), "half a mess");
    EXPECT_FALSE(fs::exists(FolderPath() / ("_" + id)));
}

TEST_F(Delivery, AnItemThatAScanFoundFirstIsCountedOnce)
{
    // As when the scan of another process comes between a message and its insert: marked, so that the next open scans.
    DeliverOne("first");
    WriteFileBytes(FolderPath() / "LOOSE.MAI", MessageOf("loose"));
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", "x");
    std::string id = DeliverOne("second", "FLAGGED");
    EXPECT_EQ(Counts().at("items"), 3);
    EXPECT_EQ(Flags(id), (std::set<std::string>{"\\FLAGGED", "\\RECENT"}));
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 3u);
    InStore({"folder", "counts", kInbox, "--verify"});
}

}  // namespace velmora::test
