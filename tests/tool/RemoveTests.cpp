// item remove: what is gone, what stays, and what a dry run leaves alone.

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

class ItemRemove : public Delivery {};

}  // namespace

TEST_F(ItemRemove, TakesItemAndMessageAndNoOther)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two", "three"});
    nlohmann::json rows = JsonInStore({"item", "remove", kInbox, ids[0], "00000003.mai", "--yes"});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].at("VL_ITEM_ID"), ids[0]);
    EXPECT_EQ(rows[1].at("VL_ITEM_ID"), ids[2]);
    EXPECT_EQ(Messages(), std::vector<std::string>{ids[1]});
    nlohmann::json listed = JsonInStore({"item", "list", kInbox});
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].at("VL_ITEM_ID"), ids[1]);
    EXPECT_EQ(Counts().at("items"), 1);
    // Nor does a scan bring one back.
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", "x");
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
}

TEST_F(ItemRemove, MoreThanOneCallTakes)
{
    std::vector<std::string> ids = ImportSubjects(std::vector<std::string>(250, "many"));
    std::vector<std::string> arguments = {"item", "remove", kInbox, "--yes"};
    arguments.insert(arguments.end(), ids.begin(), ids.end() - 1);
    EXPECT_EQ(InStore(arguments).out.substr(0, 43), "removed 249 of 249 items from po/box/Inbox\n");
    EXPECT_EQ(Messages(), std::vector<std::string>{ids.back()});
    EXPECT_EQ(Counts().at("items"), 1);
}

TEST_F(ItemRemove, ADryRunWritesNothing)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    // A folder that an open would scan.
    WriteFileBytes(FolderPath() / "_CHANGE.DTY", "x");
    std::map<std::string, std::string> before = TreeOf(Root());
    fs::file_time_type touched = fs::last_write_time(FolderPath());
    EXPECT_EQ(InStore({"item", "remove", kInbox, ids[0], "00000002.mai", "--dry-run"}).out,
              "would remove 2 items from po/box/Inbox\nID\n00000001.MAI\n00000002.MAI\n");
    ExpectRefusal({"item", "remove", kInbox, ids[0], "NOPE.MAI", "--dry-run", "--yes"}, 65, "no such item: po/box/Inbox NOPE.MAI");
    for (const char* name : {"_index.xml", "_CHANGE.DTY", "../Outbox", "."}) {
        ExpectRefusal({"item", "remove", kInbox, name, "--dry-run"}, 65, std::string("no such item: po/box/Inbox ") + name);
    }
    EXPECT_EQ(TreeOf(Root()), before);
    EXPECT_EQ(fs::last_write_time(FolderPath()), touched);
}

TEST_F(ItemRemove, WithoutATerminalOneMustSayYes)
{
    std::vector<std::string> ids = ImportSubjects({"one"});
    std::map<std::string, std::string> before = TreeOf(Root());
    ExpectRefusal({"item", "remove", kInbox, ids[0]}, 64, "nobody can be asked here; --yes removes without asking");
    Outcome run = InStoreWith({.input = "y\n"}, {"item", "remove", kInbox, ids[0]});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(ItemRemove, WithAnUnknownItemNothingIsRemoved)
{
    std::vector<std::string> ids = ImportSubjects({"one"});
    ExpectRefusal({"item", "remove", kInbox, ids[0], "NOPE.MAI", "--yes"}, 65, "no such item: po/box/Inbox NOPE.MAI");
    ExpectRefusal({"item", "remove", kInbox, std::string(2000, 'x'), "--yes"}, 65, "no such item: po/box/Inbox " + std::string(2000, 'x'));
    ExpectRefusal({"item", "remove", "po/box/Nope", ids[0], "--yes"}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"item", "remove", "po/box/Contacts", ids[0], "--yes"}, 69, "not a mail folder: po/box/Contacts");
    EXPECT_EQ(Messages(), ids);
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
}

TEST_F(ItemRemove, AnItemWhoseMessageIsGoneCanBeRemoved)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    fs::remove(FolderPath() / ids[0]);
    InStore({"item", "remove", kInbox, ids[0], "--yes"});
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
}

TEST_F(ItemRemove, AnItemThatStandsTwiceInTheIndexIsGoneFromBothPlaces)
{
    std::string id = DeliverOne("one"), other = DeliverOne("two");
    DoubleInIndex(id);
    InStore({"item", "remove", kInbox, id, "--yes"});
    EXPECT_EQ(Messages(), std::vector<std::string>{other});
    EXPECT_EQ(ReadFileBytes(FolderPath() / "_index.xml").find(id), std::string::npos);
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
    EXPECT_EQ(Counts().at("items"), 1);
}

TEST_F(ItemRemove, AnIndexThatNamesAFileElsewhereRemovesNothing)
{
    std::vector<std::string> ids = ImportSubjects({"one"});
    std::string index = ReadFileBytes(FolderPath() / "_index.xml");
    fs::path victim = FolderPath("Outbox") / "KEPT.MAI";
    WriteFileBytes(victim, "kept");
    std::string elsewhere = "../Outbox/KEPT.MAI";
    size_t at = index.find(ids[0]);
    ASSERT_NE(at, std::string::npos);
    WriteFileBytes(FolderPath() / "_index.xml", index.replace(at, ids[0].size(), elsewhere));
    Outcome run = InStore({"item", "remove", kInbox, elsewhere, "--yes"}, 65);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(ReadFileBytes(victim), "kept");
}

TEST_F(ItemRemove, ABusyFolderIsSaidAndLosesNothing)
{
    std::vector<std::string> ids = ImportSubjects({"one"});
    HeldBlock block(FolderPath());
    ExpectRefusal({"item", "remove", kInbox, ids[0], "--yes"}, 75, "folder is busy (lock held): po/box/Inbox");
    EXPECT_EQ(Messages(), ids);
}

TEST_F(ItemRemove, WhatTheIndexKeepsKeepsItsMessage)
{
    std::vector<std::string> ids = ImportSubjects({"one"});
    // Without a writer of indexes no item leaves the index.
    TurnIndexWritersOff();
    Outcome run = InStore({"--format", "tab", "item", "remove", kInbox, ids[0], "--yes"}, 74);
    EXPECT_EQ(run.out, "VL_ITEM_ID\n");
    EXPECT_TRUE(run.err.ends_with("vlstore: not removed: " + ids[0] +
                                  ": it is still listed\nvlstore: removed only 0 of 1 item from po/box/Inbox\n"))
        << run.err;
    EXPECT_EQ(Messages(), ids);
}

}  // namespace velmora::test
