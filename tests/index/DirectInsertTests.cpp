#include <stdexcept>

#include "tests/index/DirectFixture.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class DirectInsert : public Direct {
protected:
    static constexpr char kPlain[] = "From: a@example.org\r\nSubject: third\r\n\r\nbody\r\n";
};

TEST_F(DirectInsert, ADeliveredMessageGetsTheNextUidAndCounts)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 1, 1, 1, 2, 1, 0, 0, 0, 2, 0});
    WriteFileBytes(inbox / "3.MAI", kPlain);
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
    EXPECT_EQ(Column("3.MAI", kUid), "3");
    EXPECT_EQ(Column("3.MAI", "SUBJECT"), "third");
    EXPECT_EQ(Column("3.MAI", kFlagStatus), "\\RECENT");
    EXPECT_EQ(Column("3.MAI", kSize), std::to_string(sizeof kPlain - 1));
    EXPECT_EQ(Column("3.MAI", kVlStatus), "none");
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 1, 1, 1, 3, 1, 0, 1, 1, 3, 0}));
    EXPECT_EQ(ReadFileBytes(inbox / "3.MAI"), kPlain);
    ExpectTidy();
}

TEST_F(DirectInsert, OtherElementsStayAsTheyWere)
{
    PutTwoItems();
    const std::string before = IndexBytes();
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    const size_t elements = before.size() - std::string_view("</BASEELEMENT>\r\n").size() - 33;
    EXPECT_EQ(IndexBytes().substr(33, elements), before.substr(33, elements));
    EXPECT_EQ(IndexBytes().substr(0, 33), "<BASEELEMENT LASTUID=\"x00000003\">");
}

TEST_F(DirectInsert, AnEmptyListSavesNothingAndAnswersOne)
{
    PutTwoItems();
    const std::string before = IndexBytes();
    EXPECT_EQ(Insert(""), 1u);
    EXPECT_EQ(InsertEx("", "SEEN"), 1u);
    EXPECT_EQ(Direct_StoreIndex_InsertItem("po", "box", "INBOX", nullptr), 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_EQ(FileNames(inbox), (std::vector<std::string>{"_index.xml"}));
}

TEST_F(DirectInsert, AListOf1001IdsInsertsOnly1000)
{
    PutTwoItems();
    std::string ids;
    for (int number = 0; number < 1001; ++number) {
        const std::string id = FormatText("m%04d.MAI", number);
        WriteFileBytes(inbox / id, "Subject: s\r\n\r\n");
        ids += (number ? "," : "") + id;
    }
    EXPECT_EQ(Insert(ids), 1u);
    const std::vector<std::string> found = Ids();
    ASSERT_EQ(found.size(), 1002u);
    EXPECT_EQ(found[2], "m0000.MAI");
    EXPECT_EQ(found.back(), "m0999.MAI");
    EXPECT_EQ(FolderCounts()[kItemsWord], 1000) << "there were no counts to start from";
    ExpectTidy();
}

TEST_F(DirectInsert, EachEntryHasItsOwnFlagsAndTheRestHasNone)
{
    PutTwoItems();
    for (const char* const id : {"a.MAI", "b.MAI", "c.MAI", "d.MAI"}) PutMail(inbox, id);
    EXPECT_EQ(InsertEx("a.MAI,b.MAI,c.MAI,d.MAI", "\\FLAGGED,,\\ANSWERED \\DRAFT"), 1u);
    EXPECT_EQ(Column("a.MAI", kFlagStatus), "\\FLAGGED \\RECENT");
    EXPECT_EQ(Column("b.MAI", kFlagStatus), "\\RECENT");
    EXPECT_EQ(Column("c.MAI", kFlagStatus), "\\ANSWERED \\DRAFT \\RECENT");
    EXPECT_EQ(Column("d.MAI", kFlagStatus), "\\RECENT");
}

TEST_F(DirectInsert, WithoutAFlagListTheMessageBringsItsFlags)
{
    WriteFileBytes(inbox / "a.MAI", "X-VLTempFlags: \\FLAGGED\r\nSubject: s\r\n\r\n");
    PutMail(inbox, "b.MAI");
    EXPECT_EQ(Insert("a.MAI,b.MAI"), 1u);
    EXPECT_EQ(Column("a.MAI", kFlagStatus), "\\FLAGGED \\RECENT");
    EXPECT_EQ(Column("b.MAI", kFlagStatus), "\\RECENT") << "and another message does not";
}

TEST_F(DirectInsert, WithAnEmptyFlagListOneMessagesFlagsDoNotReachTheNext)
{
    WriteFileBytes(inbox / "a.MAI", "X-VLTempFlags: \\FLAGGED\r\nSubject: s\r\n\r\n");
    PutMail(inbox, "b.MAI");
    EXPECT_EQ(InsertEx("a.MAI,b.MAI", ""), 1u);
    EXPECT_EQ(Column("a.MAI", kFlagStatus), "\\FLAGGED \\RECENT");
    EXPECT_EQ(Column("b.MAI", kFlagStatus), "\\RECENT");
}

TEST_F(DirectInsert, SeenAnywhereInTheFlagListMakesEveryEntrySeen)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 2, 0});
    for (const char* const id : {"a.MAI", "b.MAI", "c.MAI"}) PutMail(inbox, id);
    EXPECT_EQ(InsertEx("a.MAI,b.MAI,c.MAI", "\\FLAGGED,\\Seen"), 1u);
    EXPECT_EQ(Column("a.MAI", kFlagStatus), "\\FLAGGED \\SEEN");
    EXPECT_EQ(Column("b.MAI", kFlagStatus), "\\Seen");
    EXPECT_EQ(Column("c.MAI", kRead), "1");
    EXPECT_EQ(FolderCounts()[kSeenWord], 4);
}

TEST_F(DirectInsert, AMessageThatWasReadCountsAsSeen)
{
    WriteFileBytes(inbox / "a.MAI", "X-Read: 1\r\nSubject: s\r\n\r\n");
    EXPECT_EQ(Insert("a.MAI"), 1u);
    EXPECT_EQ(FolderCounts()[kSeenWord], 1);
    EXPECT_EQ(Column("a.MAI", kFlagStatus), "\\SEEN");
}

TEST_F(DirectInsert, AGroupFlagSendsTheItemsToTheGroups)
{
    PutTwoItems();
    const std::string index = IndexBytes();
    WriteFileBytes(inbox / "a.GRP", "NAME:Friends\r\nmember\r\n");
    bool groupsBlocked = false, indexBlocked = false;
    {
        WatchedFiles files;
        files.fail = [&](FileOperation operation, std::string_view path) {
            if (operation == FileOperation::Open && path.ends_with("_groups.blk")) groupsBlocked = true;
            if (operation == FileOperation::Open && path.ends_with("_index.blk")) indexBlocked = true;
            return 0u;
        };
        EXPECT_EQ(InsertEx("a.GRP", "x $vlgroup"), 1u);
    }
    EXPECT_TRUE(groupsBlocked);
    EXPECT_FALSE(indexBlocked);
    EXPECT_NE(ReadFileBytes(inbox / "_groups.xml").find("a.GRP"), std::string::npos);
    EXPECT_EQ(IndexBytes(), index);
    ExpectTidy();
}

TEST_F(DirectInsert, AnEmptyEntryAddsNothing)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 2, 0});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertEx(",3.MAI,", ",\\FLAGGED"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
    EXPECT_EQ(Column("3.MAI", kFlagStatus), "\\FLAGGED \\RECENT") << "an empty entry has its flags as well";
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 3, 1, 0, 1, 1, 3, 0}));
    ExpectTidy();
}

// The header alone is in memory, so only what the call itself added is known by its name.
TEST_F(DirectInsert, AnIdThatIsListedTwiceIsInTheIndexOnceAndCountsTwice)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 2, 0});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI,3.MAI"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
    EXPECT_EQ(FolderCounts()[kItemsWord], 4);
    // A call of its own does not know it, and a load takes the first of the two.
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
    EXPECT_EQ(Column("3.MAI", kUid), "3");
}

TEST_F(DirectInsert, ACountThatHasNoFileStartsFromZero)
{
    PutTwoItems();
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 1, 3, 0}));
}

TEST_F(DirectInsert, ACountThatHasNoFileStartsFromTheItemsWhereAllAreLoaded)
{
    // A header of the old form makes every load a full one.
    WriteFileBytes(inbox / "_index.xml", "<BASEELEMENT LASTUID=\"00000002\">" +
                                             Element("1.MAI", 1, "<FLAGSTATUS>\\SEEN \\ANSWERED</FLAGSTATUS><READ>1</READ>") +
                                             Element("2.MAI", 2) + "</BASEELEMENT>\r\n");
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(Ids().size(), 3u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 1, 0, 1, 3, 1, 0, 1, 1, 3, 0}));
}

TEST_F(DirectInsert, CountsThatAreTooHighAreLowered)
{
    PutTwoItems();
    PutCounts({0, 9, 0, 9, 9, 9, 2, 9, 9, 9, 9, 9, 0});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(FolderCounts(), (Counts{0, 2, 0, 2, 9, 9, 3, 2, 2, 3, 10, 3, 0}));
}

TEST_F(DirectInsert, AFolderWithoutAnIndexGetsOne)
{
    PutMail(inbox, "a.MAI");
    EXPECT_EQ(Insert("a.MAI"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"a.MAI"}));
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 1, 1, 0}));
    ExpectTidy();
}

TEST_F(DirectInsert, AFolderThatIsNotThereAnswersZeroAndIsNotMade)
{
    EXPECT_EQ(Direct_StoreIndex_InsertItem("po", "box", "Nowhere", "a.MAI"), 0u);
    EXPECT_EQ(Direct_StoreIndex_UpdateItem("po", "box", "Nowhere", "a.MAI", "+SEEN"), 0u);
    EXPECT_EQ(Direct_StoreIndex_RemoveItem("po", "box", "Nowhere", "a.MAI"), 0u);
    EXPECT_FALSE(FileExists(inbox.parent_path() / "Nowhere"));
}

TEST_F(DirectInsert, AFolderThatSomebodyHoldsAnswersZeroAtOnceAndIsMarked)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 2, 0});
    PutMail(inbox, "3.MAI");
    const std::string index = IndexBytes();
    const Counts counts = FolderCounts();
    {
        const HeldFolder held(inbox);
        EXPECT_EQ(Insert("3.MAI"), 0u);
        EXPECT_TRUE(FileExists(inbox / "_index.blk"));
    }
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(IsMarked());
    EXPECT_EQ(IndexBytes(), index);
    EXPECT_EQ(FolderCounts(), counts);
    // The mark leads the next open to the message.
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_NE(record.Item("3.MAI"), nullptr);
}

TEST_F(DirectInsert, AnIndexThatCannotBeLoadedAnswersZeroAndIsMarked)
{
    WriteFileBytes(inbox / "_index.xml", "no index");
    PutMail(inbox, "a.MAI");
    EXPECT_EQ(Insert("a.MAI"), 0u);
    EXPECT_TRUE(IsMarked());
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_NE(record.Item("a.MAI"), nullptr);
}

TEST_F(DirectInsert, AnIndexWithTheTailOfAnotherFileIsNotAppendedTo)
{
    PutTwoItems();
    WriteFileBytes(inbox / "_index.xml", IndexBytes().substr(0, 60));
    Age(inbox / "_index.xml");
    const std::string before = IndexBytes();
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_TRUE(IsMarked());
    EXPECT_TRUE(FolderCounts().empty());
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(DirectInsert, AMissingMessageIsNotCommittedAndTheFolderIsMarked)
{
    PutTwoItems();
    const std::string before = IndexBytes();
    EXPECT_EQ(Insert("gone.MAI"), 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_TRUE(FolderCounts().empty());
    EXPECT_TRUE(IsMarked());
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(DirectInsert, AFailureOfTheLastEntryCommitsNothingAndTheMarkFindsTheOthers)
{
    PutTwoItems();
    PutMail(inbox, "1.MAI");
    PutMail(inbox, "2.MAI");
    PutMail(inbox, "3.MAI");
    const std::string before = IndexBytes();
    EXPECT_EQ(Insert("3.MAI,gone.MAI"), 1u);
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_TRUE(IsMarked());
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_NE(record.Item("3.MAI"), nullptr);
    EXPECT_EQ(record.Count(), 3u);
}

TEST_F(DirectInsert, AFailureOfAnEarlierEntryCountsAndLeavesAMark)
{
    PutTwoItems();
    PutCounts({0, 0, 0, 0, 0, 1, 2, 1, 0, 0, 0, 2, 0});
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("gone.MAI,3.MAI"), 1u);
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
    EXPECT_EQ(FolderCounts(), (Counts{0, 0, 0, 0, 0, 1, 4, 1, 0, 2, 2, 3, 0})) << "until the next scan";
    EXPECT_TRUE(IsMarked());
}

TEST_F(DirectInsert, AnEntryIsCutAt255Bytes)
{
    const fs::path calendar = store.MakeFolder("Calendar");
    const std::string cut = std::string(254, 'x') + "y";
    EXPECT_EQ(Direct_StoreIndex_InsertItem("po", "box", "Calendar", (cut + std::string(100000, 'z')).c_str()), 1u);
    EXPECT_EQ(Ids("Calendar", 2), (std::vector<std::string>{cut}));
    EXPECT_FALSE(FileExists(calendar / "_index.blk"));
    PutTwoItems();
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(InsertEx("3.MAI", std::string(255, 'f') + "SEEN"), 1u);
    EXPECT_EQ(Column("3.MAI", kFlagStatus), std::string(255, 'f') + " \\SEEN") << "the whole list is looked at for it";
}

TEST_F(DirectInsert, ASaveThatFailsLeavesAMarkAndTheCounts)
{
    PutTwoItems();
    PutMail(inbox, "3.MAI");
    const std::string before = IndexBytes();
    bool loaded = false;
    {
        WatchedFiles files;
        files.fail = [&](FileOperation operation, std::string_view path) {
            if (operation == FileOperation::Open && path.ends_with("3.MAI")) loaded = true;
            return loaded && operation == FileOperation::Open && path.ends_with("_index.xml") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(Insert("3.MAI"), 1u);
    }
    EXPECT_EQ(IndexBytes(), before);
    EXPECT_TRUE(FolderCounts().empty());
    EXPECT_TRUE(IsMarked());
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(DirectInsert, AnExceptionAnywhereAnswersZeroLeavesAMarkAndNoBlock)
{
    for (const char* const place : {"_index.xml", "3.MAI", "_FOLDER.DAT"}) {
        PutTwoItems();
        PutMail(inbox, "3.MAI");
        {
            WatchedFiles files;
            files.fail = [&](FileOperation, std::string_view path) -> uint32_t {
                if (path.ends_with(place)) throw std::runtime_error("no luck");
                return 0;
            };
            EXPECT_EQ(InsertEx("3.MAI", "SIZE=4096"), 0u) << place;
        }
        EXPECT_TRUE(IsMarked()) << place;
        EXPECT_FALSE(FileExists(inbox / "_index.blk")) << place;
        for (const std::string& name : FileNames(inbox)) fs::remove(inbox / name);
    }
}

// Whoever is told 0 asks again, and the index would have the message twice.
TEST_F(DirectInsert, AnExceptionBehindTheSaveAnswersOneAndLeavesAMark)
{
    for (const char* const place : {"_FOLDER.DAT", "_DIRSIZE.TMP"}) {
        PutTwoItems();
        PutMail(inbox, "3.MAI");
        const std::string before = IndexBytes();
        bool thrown = false;
        {
            WatchedFiles files;
            files.fail = [&](FileOperation, std::string_view path) -> uint32_t {
                if (!path.ends_with(place) || IndexBytes() == before) return 0;
                thrown = true;
                throw std::runtime_error("no luck");
            };
            EXPECT_EQ(InsertEx("3.MAI", "SIZE=4096"), 1u) << place;
        }
        EXPECT_TRUE(thrown) << place;
        EXPECT_TRUE(IsMarked()) << place;
        EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI", "3.MAI"}));
        EXPECT_FALSE(FileExists(inbox / "_index.blk")) << place;
        for (const std::string& name : FileNames(inbox)) fs::remove(inbox / name);
    }
}

TEST_F(DirectInsert, AnExceptionInFrontOfTheBlockLeavesAMarkToo)
{
    PutTwoItems();
    PutMail(inbox, "3.MAI");
    const NoticeObserver before = ReplaceNoticeObserver([](const char*, const char*, const char*, uint32_t) { throw 7; });
    EXPECT_EQ(Insert("3.MAI"), 0u);
    ReplaceNoticeObserver(before);
    EXPECT_TRUE(IsMarked());
    EXPECT_FALSE(FileExists(inbox / "_index.blk"));
}

TEST_F(DirectInsert, ClientsAreToldAsByEveryTransaction)
{
    PutMail(inbox, "a.MAI");
    const NoticeLog notices;
    EXPECT_EQ(Insert("a.MAI"), 1u);
    const NoticeLog::Notice notice{store.MailRoot().string() + "\\po\\MAILROOT\\box", "INBOX", "COMMIT", 255u};
    EXPECT_EQ(NoticeLog::Seen(), std::vector{notice});
}

TEST_F(DirectInsert, NullArgumentsAreEmptyOnes)
{
    PutTwoItems();
    for (unsigned nulls = 1; nulls < 32; ++nulls) {
        const auto text = [&](unsigned bit, const char* given) { return (nulls >> bit & 1) != 0 ? nullptr : given; };
        const char* const folder = text(2, "INBOX");
        // No folder is the default calendar, whose items need no file.
        const char* const ids = folder ? text(3, "x.MAI") : "";
        // The mailbox decides: without its names there is no such folder, and no folder is its Inbox.
        const uint64_t answer = (nulls & 3) == 0 ? 1 : 0;
        EXPECT_EQ(Direct_StoreIndex_InsertItemEx(text(0, "po"), text(1, "box"), folder, ids, text(4, "SEEN")), answer) << nulls;
        EXPECT_EQ(Direct_StoreIndex_InsertItem(text(0, "po"), text(1, "box"), folder, ids), answer) << nulls;
        EXPECT_EQ(Direct_StoreIndex_UpdateItem(text(0, "po"), text(1, "box"), folder, ids, text(4, "+SEEN")), answer) << nulls;
        EXPECT_EQ(Direct_StoreIndex_RemoveItem(text(0, "po"), text(1, "box"), folder, ids), answer) << nulls;
        EXPECT_FALSE(FileExists(inbox / "_index.blk")) << nulls;
    }
    EXPECT_EQ(Ids(), (std::vector<std::string>{"1.MAI", "2.MAI"}));
    EXPECT_EQ(Direct_StoreIndex_InsertItem("", "", "", ""), 0u);
}

TEST_F(DirectInsert, AHostThatHasTheFolderOpenSeesTheMessageAtItsNextOpen)
{
    PutTwoItems();
    HostRecord record("INBOX");
    ASSERT_EQ(StoreIndex_Open(&record, 1), 1u);
    PutMail(inbox, "3.MAI");
    EXPECT_EQ(Insert("3.MAI"), 1u);
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u);
}

}  // namespace
}  // namespace velmora::test
