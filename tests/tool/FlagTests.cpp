// item flag: what becomes of the flags, and of the counts that the store keeps of them.

#include "tests/tool/DeliveryFixture.h"

namespace velmora::test {

namespace {

using Set = std::set<std::string>;

class ItemFlag : public Delivery {};

}  // namespace

TEST_F(ItemFlag, SetsAndTakesAwayInOneRun)
{
    std::string id = DeliverOne("one", "FLAGGED");
    nlohmann::json rows = JsonInStore({"item", "flag", kInbox, "+SEEN,+answered,+$Later,-FLAGGED,-RECENT", id});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].at("VL_ITEM_ID"), id);
    EXPECT_EQ(rows[0].at("PR_VL_READ"), "1");
    EXPECT_EQ(rows[0].at("PR_VL_FLAGSTATUS"), Get(id, "PR_VL_FLAGSTATUS"));
    EXPECT_EQ(Flags(id), (Set{"\\SEEN", "\\ANSWERED", "\\$Later"}));
    InStore({"item", "flag", kInbox, "--", "-SEEN", id});
    EXPECT_EQ(Flags(id), (Set{"\\ANSWERED", "\\$Later"}));
    EXPECT_EQ(Get(id, "PR_VL_READ"), "0");
}

TEST_F(ItemFlag, AllItemsThatAreNamedAndNoOther)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two", "three"});
    InStore({"item", "flag", kInbox, "+SEEN", ids[0], ids[2], "00000003.mai"});
    EXPECT_EQ(Get(ids[0], "PR_VL_READ"), "1");
    EXPECT_EQ(Get(ids[1], "PR_VL_READ"), "0");
    EXPECT_EQ(Get(ids[2], "PR_VL_READ"), "1");
    EXPECT_EQ(Counts().at("seen"), 2);
}

TEST_F(ItemFlag, WhatIsThereAlreadyIsNotCountedAgain)
{
    std::vector<std::string> ids = ImportSubjects({"one", "two"});
    for (int i = 0; i < 2; ++i) InStore({"item", "flag", kInbox, "+SEEN,+FLAGGED", ids[0]});
    InStore({"item", "flag", kInbox, "+SEEN,-FLAGGED", ids[0], ids[1]});
    InStore({"item", "flag", kInbox, "--", "-ANSWERED", ids[0]});
    EXPECT_EQ(Counts().at("seen"), 2);
    EXPECT_EQ(Counts().at("flagged"), 0);
    EXPECT_EQ(Counts().at("answered"), 0);
}

TEST_F(ItemFlag, ManyItemsInOneRun)
{
    std::vector<std::string> ids = ImportSubjects(std::vector<std::string>(1203, "many"));
    std::vector<std::string> arguments = {"item", "flag", kInbox, "+FLAGGED"};
    arguments.insert(arguments.end(), ids.begin(), ids.end());
    EXPECT_EQ(JsonInStore(arguments).size(), ids.size());
    EXPECT_EQ(Counts().at("flagged"), ids.size());
}

TEST_F(ItemFlag, WrongChangesAreRefused)
{
    std::string id = DeliverOne("one");
    std::map<std::string, std::string> before = TreeOf(Root());
    for (const char* change : {"SEEN", "", "+SEEN,FLAGGED", "+SEEN,", "SIZE=4", "=SEEN"}) {
        ExpectRefusal({"item", "flag", kInbox, change, id}, 64, std::string("a change is written +FLAG or -FLAG: \"") + change + "\"");
    }
    for (const char* change : {"+", "+\\", "++SEEN", "+SEEN FLAGGED", "+a-b", "+$VLGROUP"}) {
        ExpectRefusal({"item", "flag", kInbox, change, id}, 64, std::string("flags are words with commas between: \"") + change + "\"");
    }
    ExpectRefusal({"item", "flag", kInbox, "+SEEN,-seen", id}, 64, "one flag is set and taken away: \"+SEEN,-seen\"");
    ExpectRefusal({"item", "flag", kInbox, "+" + std::string(300, 'x'), id}, 64, "the flags are too long");
    EXPECT_EQ(TreeOf(Root()), before);
}

TEST_F(ItemFlag, WithAnUnknownItemNothingIsChanged)
{
    std::string id = DeliverOne("one");
    ExpectRefusal({"item", "flag", kInbox, "+SEEN", id, "NOPE.MAI"}, 65, "no such item: po/box/Inbox NOPE.MAI");
    ExpectRefusal({"item", "flag", kInbox, "+SEEN", id, "*"}, 65, "no such item: po/box/Inbox *");
    ExpectRefusal({"item", "flag", "po/box/Nope", "+SEEN", id}, 66, "no such folder: po/box/Nope");
    ExpectRefusal({"item", "flag", "po/box/Tasks", "+SEEN", id}, 69, "not a mail folder: po/box/Tasks");
    EXPECT_EQ(Get(id, "PR_VL_READ"), "0");
}

TEST_F(ItemFlag, ABusyFolderIsSaidAndChangesNothing)
{
    std::string id = DeliverOne("one");
    {
        HeldBlock block(FolderPath());
        ExpectRefusal({"item", "flag", kInbox, "+SEEN", id}, 75, "folder is busy (lock held): po/box/Inbox");
    }
    EXPECT_EQ(Get(id, "PR_VL_READ"), "0");
}

TEST_F(ItemFlag, AnItemThatStandsTwiceInTheIndexIsPutRight)
{
    std::string id = DeliverOne("one");
    DoubleInIndex(id);
    InStore({"item", "flag", kInbox, "+SEEN", id});
    EXPECT_EQ(Flags(id), (Set{"\\RECENT", "\\SEEN"}));
    EXPECT_EQ(Get(id, "PR_VL_READ"), "1");
    EXPECT_EQ(JsonInStore({"item", "list", kInbox}).size(), 1u);
    EXPECT_EQ(Counts().at("seen"), 1);
}

TEST_F(ItemFlag, FlagsThatAreNotStoredAreAnError)
{
    std::string id = DeliverOne("one");
    // Without a writer of indexes no change is stored.
    TurnIndexWritersOff();
    Outcome run = InStore({"item", "flag", kInbox, "+SEEN", id}, 74);
    EXPECT_TRUE(run.err.ends_with("\nvlstore: the flags were not stored: po/box/Inbox " + id + "\n")) << run.err;
}

}  // namespace velmora::test
