// Where the counts and sizes of a direct call go when the folder is not simply one of the mailbox's own, and which of a
// folder's words a call leaves alone.
#include "tests/index/DirectFixture.h"
#include "velmora/status.h"

namespace velmora::test {
namespace {

class DirectPlacement : public Direct {
protected:
    void SetUp() override
    {
        Direct::SetUp();
        mailbox = inbox.parent_path();
    }
    static uint64_t InsertInto(const char* folder, const char* id, const char* flags)
    {
        return Direct_StoreIndex_InsertItemEx("po", "box", folder, id, flags);
    }
    // The directory that the library takes for a folder.
    static fs::path DirectoryOf(const char* folder)
    {
        HostRecord record(folder);
        std::string path = record.Path();
        std::replace(path.begin(), path.end(), '\\', '/');
        return path;
    }

    fs::path mailbox;
};

TEST_F(DirectPlacement, AnEmptyFolderIsTheInboxAndItsSavedCountsAreTheMailboxs)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertInto("", "3.MAI", "SIZE=4096"), 1u);
    EXPECT_EQ(Ids().size(), 3u);
    EXPECT_EQ(CountsIn(mailbox / "_FOLDER.DAT"), (Counts{0, 0, 0, 0, 0, 1, 3, 1, 1, 1, 1, 3, 0}));
    EXPECT_EQ(FolderCounts()[kItemsWord], 2);
    // An update and a removal write where they have read.
    EXPECT_EQ(Direct_StoreIndex_UpdateItem("po", "box", "", "3.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(FolderCounts()[kFlaggedWord], 1);
    EXPECT_EQ(CountsIn(mailbox / "_FOLDER.DAT")[kFlaggedWord], 0);
    EXPECT_EQ(Direct_StoreIndex_RemoveItem("po", "box", "", "3.MAI"), 1u);
    EXPECT_EQ(FolderCounts()[kItemsWord], 1);
    EXPECT_EQ(CountsIn(mailbox / "_FOLDER.DAT")[kItemsWord], 1);
}

TEST_F(DirectPlacement, AnEmptyFolderCountsInTheMailboxsSizeTwice)
{
    PutTwoItems();
    WriteFileBytes(mailbox / "_DIRSIZE.TMP", "10");
    WriteFileBytes(inbox / "_DIRSIZE.TMP", "10");
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertInto("", "3.MAI", "SIZE=4096"), 1u);
    EXPECT_EQ(ReadFileBytes(mailbox / "_DIRSIZE.TMP"), "18");
    EXPECT_EQ(ReadFileBytes(inbox / "_DIRSIZE.TMP"), "10");
}

TEST_F(DirectPlacement, APublicFolderHasItsCountsAtHomeAfterUpdatesAlone)
{
    const fs::path shared = DirectoryOf("Public\\News");
    fs::create_directories(shared);
    ASSERT_NE(shared, mailbox / "Public" / "News");
    PutMail(shared, "1.MAI");
    EXPECT_EQ(InsertInto("Public\\News", "1.MAI", ""), 1u);
    EXPECT_EQ(Ids("Public\\News"), (std::vector<std::string>{"1.MAI"}));
    EXPECT_FALSE(FileExists(shared / "_FOLDER.DAT"));
    EXPECT_FALSE(FileExists(mailbox / "Public")) << "a save writes below the mailbox, where there is no such folder";
    EXPECT_FALSE(FileExists(shared / "_CHANGE.DTY"));
    EXPECT_EQ(Direct_StoreIndex_UpdateItem("po", "box", "Public\\News", "1.MAI", "+FLAGGED"), 1u);
    EXPECT_EQ(CountsIn(shared / "_FOLDER.DAT")[kFlaggedWord], 1);
}

TEST_F(DirectPlacement, AFolderOfFilesHasNoCountsAfterAnInsertionAndOneSize)
{
    const char* const folder = "$FILEROOT\\Papers";
    const fs::path papers = DirectoryOf(folder);
    fs::create_directories(papers);
    const fs::path size = store.MailRoot() / "po" / "FILEROOT" / "box" / "_DIRSIZE.TMP";
    fs::create_directories(size.parent_path());
    WriteFileBytes(size, "10");
    WriteFileBytes(mailbox / "_DIRSIZE.TMP", "10");
    PutIndex(papers, 1, Element("a.txt", 1, "<SIZE>4096</SIZE>"));
    Age(papers / "_index.xml");
    EXPECT_EQ(InsertInto(folder, "b.txt", ""), 1u);
    EXPECT_FALSE(FileExists(papers / "_FOLDER.DAT"));
    EXPECT_EQ(Direct_StoreIndex_RemoveItem("po", "box", folder, "a.txt"), 1u);
    EXPECT_EQ(CountsIn(papers / "_FOLDER.DAT").size(), 13u) << "a removal writes them where it has read";
    EXPECT_EQ(ReadFileBytes(size), "6");
    EXPECT_EQ(ReadFileBytes(mailbox / "_DIRSIZE.TMP"), "10");
}

// ---- Words that a call treats in its own way ----

TEST_F(DirectPlacement, AGroupsItemsAreCountedInTheMessagesWords)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    WriteFileBytes(inbox / "a.GRP", "NAME:Board\r\n");
    EXPECT_EQ(InsertEx("a.GRP", "$VLGROUP"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 3, 1, 1, 1, 1, 1, 0})) << "and the last UID is the groups'";
}

TEST_F(DirectPlacement, ARemovalOfEverythingLowersNoCountsAndNoSizes)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0});
    WriteFileBytes(mailbox / "_DIRSIZE.TMP", "10");
    EXPECT_EQ(Remove("*"), 1u);
    EXPECT_TRUE(Ids().empty());
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0}));
    EXPECT_EQ(ReadFileBytes(mailbox / "_DIRSIZE.TMP"), "10");
}

TEST_F(DirectPlacement, AMessageThatWasReadMakesThoseBehindItSeen)
{
    WriteFileBytes(inbox / "b.MAI", "X-Read: 1\r\nSubject: s\r\n\r\n");
    PutMail(inbox, "a.MAI");
    PutMail(inbox, "c.MAI");
    EXPECT_EQ(Insert("a.MAI,b.MAI,c.MAI"), 1u);
    EXPECT_EQ(Column("a.MAI", kRead), "0");
    EXPECT_EQ(Column("b.MAI", kRead), "1");
    EXPECT_EQ(Column("c.MAI", kRead), "1");
    EXPECT_EQ(FolderCounts()[kSeenWord], 2);
}

TEST_F(DirectPlacement, ARemovalFromAFolderWithoutAnIndexMarksItAndMakesNone)
{
    PutMail(inbox, "x.MAI");
    EXPECT_EQ(Remove("x.MAI"), 1u);
    EXPECT_EQ(FileNames(inbox), (std::vector<std::string>{"_CHANGE.DTY", "_FOLDER.DAT", "x.MAI"}));
    EXPECT_EQ(FolderCounts(), Counts(13, 0));
    // Whoever removes a message deletes its file first.
    fs::remove(inbox / "x.MAI");
    PutMail(inbox, "y.MAI");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 1u);
    EXPECT_NE(record.Item("y.MAI"), nullptr);
    ExpectTidy();
}

TEST_F(DirectPlacement, ARemovalOfNothingCountsAllItems)
{
    for (const char* const list : {"", ","}) {
        PutTwoItems();
        fs::remove(inbox / "_FOLDER.DAT");
        const std::string before = IndexBytes();
        EXPECT_EQ(Remove(list), 1u);
        EXPECT_EQ(IndexBytes(), before);
        EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 2, 1, 1, 0, 0, 2, 0})) << list;
    }
    ExpectTidy();
}

TEST_F(DirectPlacement, AnUpdateGoesOnFromTheWordsThatThereAre)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 5, 1, 9, 3});
    EXPECT_EQ(Update("2.MAI", "+SEEN +FLAGGED"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 6, 1, 9, 4, 0, 0, 0, 0, 0})) << "what a short file lacks is zero";
}

}  // namespace
}  // namespace velmora::test
