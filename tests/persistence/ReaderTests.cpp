// What a good file gives at each level and selection.
#include <gtest/gtest.h>

#include <string>

#include "tests/persistence/FastReader.h"
#include "tests/persistence/IndexBytes.h"

namespace velmora::test {
namespace {

const std::string kThree = Element("2011A.MAI", 17, {{"FLAGS", "SEEN"}, {"SIZE", "2048"}}) + Element("b.MAI", 20, {{"SUBJECT", ""}}) +
                           Element("c.MAI", 21, {{"READ", "1"}, {"SUBJECT", "a &lt;b&gt; &amp;amp; &#xe9;\r\n"}});

// --- levels --------------------------------------------------------------------------------------------------------

TEST(StreamReader, AFullPassGivesEveryPropertyDecoded)
{
    Parsed parsed(IndexFile(0x1F, kThree));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(parsed.table.LastUID, 0x1Fu);
    EXPECT_EQ(parsed.table.RewriteRequired, 0);
    EXPECT_EQ(parsed.table.FirstDirtyUID, 0);
    EXPECT_EQ(IdsInSequence(parsed.table), "2011A.MAI b.MAI c.MAI");
    auto* first = parsed.Item("2011A.MAI");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->Uid(), 17u);
    EXPECT_EQ(first->Owner, &parsed.table);
    EXPECT_EQ(TextOf(*first, "FLAGS"), "SEEN");
    EXPECT_EQ(TextOf(*first, "SIZE"), "2048");
    EXPECT_FALSE(first->Has("SUBJECT"));
    EXPECT_EQ(TextOf(*first, kIdx), "1");
    EXPECT_EQ(TextOf(*first, kSeq), "1");
    auto* second = parsed.Item("b.MAI");
    EXPECT_TRUE(second->Has("SUBJECT"));
    EXPECT_EQ(TextOf(*second, "SUBJECT"), "");
    auto* third = parsed.Item("c.MAI");
    EXPECT_EQ(third->GetNumber(kRead), 1);
    EXPECT_EQ(TextOf(*third, "SUBJECT"), "a <b> &amp; \xE9\r\n");
    EXPECT_EQ(TextOf(*third, kIdx), "3");
    EXPECT_EQ(TextOf(*third, kSeq), "3");
}

TEST(StreamReader, OffsetsAndLengthsNameTheElementsBytes)
{
    const std::string bytes = IndexFile(0x1F, kThree);
    for (const int32_t level : {2, 3}) {
        Parsed parsed(bytes, AtLevel(level));
        for (const char* id : {"2011A.MAI", "b.MAI", "c.MAI"}) {
            const auto* item = parsed.Item(id);
            ASSERT_NE(item, nullptr);
            const std::string element = bytes.substr(item->FileOffset, item->FileLength);
            EXPECT_EQ(element.substr(0, 13 + std::string(id).size()), "<ELEMENT ID=\"" + std::string(id));
            EXPECT_EQ(element.substr(element.size() - 10), "</ELEMENT>");
        }
        EXPECT_EQ(parsed.Item("2011A.MAI")->FileOffset, 33u);
        EXPECT_EQ(parsed.Item("b.MAI")->FileOffset, 33 + parsed.Item("2011A.MAI")->FileLength);
    }
}

TEST(StreamReader, LevelTwoGivesTheAttributesAlone)
{
    Parsed parsed(IndexFile(0x1F, kThree), AtLevel(2));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(IdsInSequence(parsed.table), "2011A.MAI b.MAI c.MAI");
    auto* third = parsed.Item("c.MAI");
    EXPECT_FALSE(third->Has("SUBJECT"));
    EXPECT_EQ(third->GetNumber(kRead), 0);
    EXPECT_EQ(third->Uid(), 21u);
    EXPECT_EQ(TextOf(*third, kSeq), "3");
}

TEST(StreamReader, AFileWithNoItemsIsGood)
{
    Parsed parsed(IndexFile(77, ""));
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(parsed.table.LastUID, 77u);
    EXPECT_EQ(ItemCountOf(parsed.table), 0u);
}

TEST(StreamReader, WhiteSpaceBetweenTagsAndBehindTheEndIsIgnored)
{
    Parsed parsed(" \r\n" + Header(5) + "\r\n  " + Element("a", 1) + "\n\n" + Element("b", 2) + "\t" + kRootEnd + "rest without a tag");
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(parsed.Item("a")->FileOffset, 3u + 33u + 4u);
    EXPECT_EQ(IdsInSequence(parsed.table), "a b");
}

TEST(StreamReader, AStreamThatEndsInsideATagBehindTheRootIsStillGood)
{
    Parsed parsed(IndexFile(5, Element("a", 1)) + "<unfinished");
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
}

TEST(StreamReader, AnyAttributeNameIsStoredAsAProperty)
{
    Parsed parsed(Header(5) + "<ELEMENT SUBJECT=\"s\" ID=\"a\" UID=\"1\" X=\"o p\">" + "</ELEMENT>" + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(TextOf(*parsed.Item("a"), "SUBJECT"), "s");
    EXPECT_EQ(TextOf(*parsed.Item("a"), "X"), "o p");
}

TEST(StreamReader, AnEmptyAttributeValueSwallowsTheTextUpToTheNextQuote)
{
    Parsed parsed(Header(5) + "<ELEMENT ID=\"a\" X=\"\" UID=\"7\">" + "</ELEMENT>" + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(TextOf(*parsed.Item("a"), "X"), "\" UID=");
    EXPECT_EQ(parsed.Item("a")->Uid(), 6u);
}

TEST(StreamReader, AttributesAreNotDecoded)
{
    Parsed parsed(Header(5) + Element("a&amp;b", 1) + kRootEnd);
    EXPECT_NE(parsed.Item("a&amp;b"), nullptr);
}

TEST(StreamReader, ATagThatOnlyBeginsWithElementCountsAsOne)
{
    Parsed parsed(Header(5) + "<ELEMENTARY ID=\"a\" UID=\"1\"></ELEMENTAL>" + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(IdsInSequence(parsed.table), "a");
    Parsed property(Header(5) + "<ELEMENT ID=\"a\" UID=\"1\"><ELEMENTS>x</ELEMENTS></ELEMENT>" + kRootEnd);
    EXPECT_EQ(property.outcome.fault, "Encountered element start tag nested within another element");
}

TEST(StreamReader, SeqAndIdxOfAFileAreReplaced)
{
    Parsed parsed(IndexFile(5, Element("a", 1, {{"IDX", "77"}, {"SEQ", "88"}})));
    EXPECT_EQ(TextOf(*parsed.Item("a"), kIdx), "1");
    EXPECT_EQ(TextOf(*parsed.Item("a"), kSeq), "1");
}

TEST(StreamReader, ALaterPropertyOfTheSameNameWins)
{
    Parsed parsed(IndexFile(5, Element("a", 1, {{"TO", "first"}, {"TO", "second and longer"}, {"TO", "3"}})));
    EXPECT_EQ(TextOf(*parsed.Item("a"), "TO"), "3");
}

TEST(StreamReader, AChildNamedUidOrIdIsTheItemsKey)
{
    Parsed parsed(IndexFile(5, Element("a", 1, {{"UID", "9"}, {"ID", "z"}})));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good);
    ASSERT_NE(parsed.Item("z"), nullptr);
    EXPECT_EQ(parsed.Item("z")->Uid(), 9u);
    EXPECT_EQ(parsed.Item("a"), nullptr);
    EXPECT_EQ(parsed.table.LastUID, 9u);
}

TEST(StreamReader, ZeroBytesInAValueAreKept)
{
    const std::string value("a\0b&#0;c", 8);
    Parsed parsed(IndexFile(5, Element("a", 1, {{"TO", value}})));
    EXPECT_EQ(TextOf(*parsed.Item("a"), "TO"), std::string("a\0b\0c", 5));
}

TEST(StreamReader, AnEmptyPropertyNameIsAName)
{
    Parsed parsed(Header(5) + "<ELEMENT ID=\"a\" UID=\"1\"><>x</></ELEMENT>" + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(TextOf(*parsed.Item("a"), ""), "x");
}

// --- UIDs ----------------------------------------------------------------------------------------------------------

TEST(StreamReader, EqualUidsPassTheOrderCheckAndTheSecondItemIsRefused)
{
    Parsed parsed(IndexFile(5, Element("a", 3) + Element("b", 3) + Element("c", 4)));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(IdsInSequence(parsed.table), "a c");
    EXPECT_EQ(parsed.Item("b"), nullptr);
    EXPECT_EQ(TextOf(*parsed.Item("c"), kIdx), "3");
    EXPECT_EQ(TextOf(*parsed.Item("c"), kSeq), "2");
}

TEST(StreamReader, TheSecondItemOfAnIdIsRefused)
{
    Parsed parsed(IndexFile(5, Element("a", 3, {{"TO", "first"}}) + Element("a", 4, {{"TO", "second"}}) + Element("c", 5)));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(IdsInSequence(parsed.table), "a c");
    EXPECT_EQ(TextOf(*parsed.Item("a"), "TO"), "first");
    EXPECT_EQ(TextOf(*parsed.Item("c"), kIdx), "3");
}

TEST(StreamReader, AnItemWithNoUidGetsTheNextOneAndMarksNothingDirty)
{
    Parsed parsed(Header(40) + "<ELEMENT ID=\"a\"></ELEMENT>" + Element("b", "0") + Element("c", 90) + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(parsed.Item("a")->Uid(), 41u);
    EXPECT_EQ(parsed.Item("b")->Uid(), 42u);
    EXPECT_EQ(parsed.table.LastUID, 90u);
    EXPECT_EQ(parsed.table.FirstDirtyUID, 0);
}

TEST(StreamReader, TheLargestLastUidLoadsAndLeavesNoUidToGive)
{
    Parsed parsed(IndexFile(UINT32_MAX, Element("a", 5) + Element("b", "2147483647")));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(parsed.table.LastUID, UINT32_MAX);
    EXPECT_EQ(ItemCountOf(parsed.table), 2u);
    EXPECT_EQ(Add(parsed.table, "c"), nullptr);
    EXPECT_EQ(parsed.table.LastUID, UINT32_MAX);
    EXPECT_NE(Add(parsed.table, "d", 6), nullptr);
}

TEST(StreamReader, UidsBeyondTheSignedRangeAreHeldAtItsEnd)
{
    Parsed parsed(IndexFile(5, Element("a", "4294967295")));
    EXPECT_EQ(parsed.Item("a")->Uid(), 0x7FFFFFFFu);
    EXPECT_EQ(parsed.table.LastUID, 0x7FFFFFFFu);
}

// --- the root ------------------------------------------------------------------------------------------------------

TEST(StreamReader, ARootClosedAtOnceIsAnEmptyIndexToBeRewritten)
{
    for (const int32_t level : {1, 2, 3}) {
        Parsed parsed("<BASEELEMENT LASTUID=\"x0000002a\"/>", AtLevel(level));
        EXPECT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
        EXPECT_EQ(parsed.table.RewriteRequired, 1);
        EXPECT_EQ(parsed.table.LastUID, 42u);
        EXPECT_EQ(ItemCountOf(parsed.table), 0u);
    }
}

TEST(StreamReader, TheOldFormIsReadInFullAndRewritten)
{
    Parsed parsed("<BASEELEMENT LASTUID=\"30\">" + Element("a", 9) + Element("b", 3) + Element("c", 5) + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(parsed.table.LastUID, 30u);
    EXPECT_EQ(parsed.table.RewriteRequired, 1);
    // The elements stand by ID; the sequence goes by UID, and IDX by the file.
    EXPECT_EQ(IdsInSequence(parsed.table), "b c a");
    EXPECT_EQ(TextOf(*parsed.Item("b"), kSeq), "1");
    EXPECT_EQ(TextOf(*parsed.Item("a"), kSeq), "3");
    EXPECT_EQ(TextOf(*parsed.Item("a"), kIdx), "1");
}

TEST(StreamReader, AnOldFormTakesNoSelection)
{
    ParseOptions options = AtLevel(3, "b");
    TestTable table;
    table.LoadSelection = "b";
    const std::string bytes = "<BASEELEMENT LASTUID=\"30\">" + Element("a", 9) + Element("b", 3) + kRootEnd;
    MemorySource source(bytes);
    EXPECT_EQ(ParseIndexStream(table, source, options).result, ParseResult::Good);
    EXPECT_EQ(table.LoadSelection, "");
    EXPECT_EQ(IdsInSequence(table), "b a");
}

TEST(StreamReader, ARootWithoutTheAttributeIsOfTheOldFormWithLastUidFromItsItems)
{
    Parsed parsed("<BASEELEMENT>" + Element("a", 9) + kRootEnd);
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(parsed.table.LastUID, 9u);
    EXPECT_EQ(parsed.table.RewriteRequired, 1);
}

TEST(StreamReader, LastUidHasThreeForms)
{
    const auto read = [](std::string_view tag, RootForm form) {
        uint32_t lastUid = 4711;
        EXPECT_EQ(ParseLastUID(tag, lastUid), form) << tag;
        return lastUid;
    };
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"x0000001f\"", RootForm::New), 31u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"xffffffff\"", RootForm::New), UINT32_MAX);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"x123456789a\"", RootForm::New), UINT32_MAX);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"x\"", RootForm::New), 0u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"x1fnonsense\"", RootForm::New), 31u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"01f\"", RootForm::Old), 31u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"0x1f\"", RootForm::Old), 31u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"0\"", RootForm::Old), 0u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"123\"", RootForm::Old), 123u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"4294967295\"", RootForm::Old), 0xFFFFFFFFu);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"nonsense\"", RootForm::Old), 0u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"X1f\"", RootForm::Old), 0u);
    // Nobody gave a number below zero; without its sign hardly a UID would be left.
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"-5\"", RootForm::Old), 0u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\" -5\"", RootForm::Old), 0u);
    EXPECT_EQ(read("BASEELEMENT LASTUID=\"x-5\"", RootForm::New), 0u);
}

TEST(StreamReader, AMissingLastUidLeavesTheNumber)
{
    for (const char* tag : {"BASEELEMENT", "BASEELEMENT LASTUID=", "BASEELEMENT LASTUID=\"", "BASEELEMENT LASTUID=\"x12",
                            "BASEELEMENT lastuid=\"x1\"", "BASEELEMENT LASTUID=\"\""}) {
        uint32_t lastUid = 4711;
        EXPECT_EQ(ParseLastUID(tag, lastUid), RootForm::Old) << tag;
        EXPECT_EQ(lastUid, 4711u) << tag;
    }
    uint32_t lastUid = 4711;
    EXPECT_EQ(ParseLastUID("BASEELEMENT LASTUID=\"\" NEXT=\"1\"", lastUid), RootForm::Old);
    EXPECT_EQ(lastUid, 0u);  // the empty value swallows the text up to the next quote, which is no number
}

// --- selections ----------------------------------------------------------------------------------------------------

TEST(StreamReader, ASelectionMakesItemsOnlyForItsIds)
{
    Parsed parsed(IndexFile(0x1F, kThree), AtLevel(3, "c.MAI,2011A.MAI,none"));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(IdsInSequence(parsed.table), "2011A.MAI c.MAI");
    EXPECT_EQ(TextOf(*parsed.Item("c.MAI"), kSeq), "2");
    EXPECT_EQ(TextOf(*parsed.Item("c.MAI"), kIdx), "2");
    EXPECT_EQ(parsed.table.RewriteRequired, 0);
}

TEST(StreamReader, AStarSelectsEverything)
{
    Parsed parsed(IndexFile(0x1F, kThree), AtLevel(3, "*"));
    EXPECT_EQ(IdsInSequence(parsed.table), "2011A.MAI b.MAI c.MAI");
}

TEST(StreamReader, ASelectionOfNothingThatIsThereIsGoodAndEmpty)
{
    Parsed parsed(IndexFile(0x1F, kThree), AtLevel(3, "other"));
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(ItemCountOf(parsed.table), 0u);
    EXPECT_EQ(parsed.table.LastUID, 0x1Fu);
}

TEST(StreamReader, ASelectionComparesTheAttributeNameInAnyCaseAndTheIdByItsBytes)
{
    Parsed lower(Header(5) + "<ELEMENT id=\"a\" ID=\"b\" UID=\"1\"></ELEMENT>" + kRootEnd, AtLevel(3, "b"));
    EXPECT_EQ(lower.outcome.result, ParseResult::Good) << lower.outcome.fault;
    EXPECT_EQ(ItemCountOf(lower.table), 0u);
    Parsed bytes(IndexFile(5, Element("a.mai", 1)), AtLevel(3, "A.MAI"));
    EXPECT_EQ(ItemCountOf(bytes.table), 0u);
}

TEST(StreamReader, AnItemBegunByAnAttributeBeforeItsIdAndThenSkippedIsDropped)
{
    Parsed parsed(Header(5) + "<ELEMENT UID=\"1\" ID=\"a\"><TO>x</TO></ELEMENT>" + Element("b", 2) + kRootEnd, AtLevel(3, "b"));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(IdsInSequence(parsed.table), "b");
}

TEST(StreamReader, ElementsSkippedBySelectionAreNoTombstones)
{
    ParseOptions options = AtLevel(3, "c");
    options.garbageThreshold = 1;
    Parsed parsed(IndexFile(5, Element("a", 1) + Element("b", 2) + Element("c", 3)), options);
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(parsed.table.RewriteRequired, 0);
}

// --- tombstones ----------------------------------------------------------------------------------------------------

std::string Tombstones(size_t count)
{
    std::string bytes;
    for (size_t i = 0; i < count; ++i) bytes += Element("---------", "---", {{"SUBJECT", "gone"}});
    return bytes;
}

TEST(StreamReader, ATombstoneMakesNoItemAndItsChildrenMeanNothing)
{
    Parsed parsed(IndexFile(9, Element("a", 1) + Tombstones(3) + Element("b", 2)));
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(IdsInSequence(parsed.table), "a b");
    EXPECT_EQ(parsed.table.RewriteRequired, 0);
    EXPECT_EQ(TextOf(*parsed.Item("b"), kIdx), "2");
}

TEST(StreamReader, AnyAttributeOfDashesAloneMarksATombstone)
{
    Parsed parsed(Header(9) + "<ELEMENT ID=\"a\" UID=\"1\" X=\"-\"><TO>x</TO></ELEMENT>" + Element("b", 2) + kRootEnd);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(IdsInSequence(parsed.table), "b");
}

TEST(StreamReader, TombstonesBelowTheThresholdAskForNothing)
{
    Parsed parsed(IndexFile(9, Element("a", 1) + Tombstones(499)));
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(parsed.table.RewriteRequired, 0);
}

TEST(StreamReader, TombstonesAtTheThresholdAskForARewriteInAFullPass)
{
    Parsed parsed(IndexFile(9, Element("a", 1) + Tombstones(500) + Element("b", 2)));
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good);
    EXPECT_EQ(parsed.table.RewriteRequired, 1);
    EXPECT_EQ(IdsInSequence(parsed.table), "a b");
}

TEST(StreamReader, TombstonesAtTheThresholdEndAPartialPassAtOnce)
{
    // What stands behind the 500th tombstone is not read: the fault in it is not seen.
    const std::string bytes = IndexFile(9, Element("a", 1) + Tombstones(500) + "</ELEMENT>" + Element("b", 2));
    for (const ParseOptions& options : {AtLevel(2), AtLevel(3, "a"), AtLevel(2, "a")}) {
        Parsed parsed(bytes, options);
        EXPECT_EQ(parsed.outcome.result, ParseResult::RepeatInFull);
        EXPECT_EQ(ItemCountOf(parsed.table), 0u);
        EXPECT_EQ(parsed.table.LastUID, 0u);
    }
    const Parsed full(bytes);
    EXPECT_EQ(full.outcome.result, ParseResult::Malformed);
}

TEST(StreamReader, APartialPassStopsReadingItsSource)
{
    struct CountingSource : MemorySource {
        using MemorySource::MemorySource;
        size_t Read(char* buffer, size_t size) override
        {
            const size_t got = MemorySource::Read(buffer, size);
            total += got;
            return got;
        }
        size_t total = 0;
    };
    std::string elements = Tombstones(1);
    for (uint32_t uid = 1; uid <= 20000; ++uid) elements += Element("x" + std::to_string(uid), uid);
    const std::string bytes = IndexFile(9, elements);
    CountingSource source(bytes);
    TestTable table;
    ParseOptions options = AtLevel(2);
    options.garbageThreshold = 1;
    EXPECT_EQ(ParseIndexStream(table, source, options).result, ParseResult::RepeatInFull);
    EXPECT_LT(source.total, bytes.size() / 4);
}

TEST(StreamReader, AThresholdOfZeroIsAlwaysReached)
{
    ParseOptions options = AtLevel(3);
    options.garbageThreshold = 0;
    Parsed full(IndexFile(9, Element("a", 1)), options);
    EXPECT_EQ(full.outcome.result, ParseResult::Good);
    EXPECT_EQ(full.table.RewriteRequired, 1);
    options.level = 2;
    EXPECT_EQ(Parsed(IndexFile(9, Element("a", 1)), options).outcome.result, ParseResult::RepeatInFull);
}

// --- item files ----------------------------------------------------------------------------------------------------

TEST(StreamReader, ItemsWhoseFileIsGoneAreSkippedSilently)
{
    NamedFiles files({"a", "c"});
    ParseOptions options;
    options.files = &files;
    Parsed parsed(IndexFile(9, Element("a", 1) + Element("b", 2, {{"TO", "x"}}) + Element("c", 3)), options);
    ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(IdsInSequence(parsed.table), "a c");
    EXPECT_EQ(parsed.table.RewriteRequired, 1);
    EXPECT_EQ(files.questions, 3);
}

TEST(StreamReader, VerifyingBelowLevelThreeAsksForNoRewrite)
{
    NamedFiles files({"a"});
    ParseOptions options = AtLevel(2);
    options.files = &files;
    Parsed parsed(IndexFile(9, Element("a", 1) + Element("b", 2)), options);
    EXPECT_EQ(IdsInSequence(parsed.table), "a");
    EXPECT_EQ(parsed.table.RewriteRequired, 0);
}

TEST(StreamReader, ASelectionIsNotVerified)
{
    NamedFiles files({});
    ParseOptions options = AtLevel(3, "a");
    options.files = &files;
    Parsed parsed(IndexFile(9, Element("a", 1) + Element("b", 2)), options);
    EXPECT_EQ(IdsInSequence(parsed.table), "a");
    EXPECT_EQ(files.questions, 0);
}

// --- sizes ---------------------------------------------------------------------------------------------------------

// Removed elements of a mebibyte each, and an item behind them.
class LargeSource : public ByteSource {
public:
    explicit LargeSource(uint64_t mebibytes) : left_(mebibytes << 20), piece_(Element("-", "-", {{"SUBJECT", std::string(kMebibyte, 'x')}}))
    {
        const size_t surplus = piece_.size() - kMebibyte;
        piece_.erase(piece_.find('x'), surplus);
        rest_ = Element("a", 7) + kRootEnd;
        given_ = Header(7);
    }
    size_t Read(char* buffer, size_t size) override
    {
        if (at_ == given_.size()) NextPiece();
        const size_t got = given_.copy(buffer, size, at_);
        at_ += got;
        return got;
    }

private:
    static constexpr size_t kMebibyte = size_t{1} << 20;
    void NextPiece()
    {
        at_ = 0;
        if (left_ == 0) {
            given_.clear();
            given_.swap(rest_);
            return;
        }
        left_ -= kMebibyte;
        if (given_.size() != piece_.size()) given_ = piece_;
    }
    uint64_t left_;
    std::string piece_, rest_, given_;
    size_t at_ = 0;
};

TEST(StreamReader, AnElementBeyondFourGigabytesAsksForAFullRewrite)
{
    for (const uint64_t mebibytes : {4095u, 4096u}) {
        TestTable table;
        LargeSource source(mebibytes);
        ParseOptions options;
        options.garbageThreshold = 100000;
        ASSERT_EQ(ParseIndexStream(table, source, options).result, ParseResult::Good);
        EXPECT_EQ(IdsByUid(table), "a");
        EXPECT_EQ(table.RewriteRequired, mebibytes == 4096 ? 1 : 0);
    }
}

TEST(StreamReader, ATagOf1022BytesIsWholeAndOneOf1023LosesItsEnd)
{
    const auto elementWithTagOf = [](size_t size) {
        const std::string fixed = "ELEMENT UID=\"1\" ID=\"a\" X=\"";
        return "<" + fixed + std::string(size - fixed.size() - 1, 'x') + "\">" + "</ELEMENT>" + Element("b", 2);
    };
    Parsed whole(IndexFile(9, elementWithTagOf(1022)));
    ASSERT_EQ(whole.outcome.result, ParseResult::Good) << whole.outcome.fault;
    EXPECT_EQ(TextOf(*whole.Item("a"), "X").size(), 1022u - 27u);
    EXPECT_EQ(whole.Item("a")->FileLength, 1024u + 10u);
    EXPECT_EQ(whole.Item("b")->FileOffset, 33u + 1034u);

    // The ">" is read as the text before the next tag, so every offset behind it is one too high.
    Parsed cut(IndexFile(9, elementWithTagOf(1023)));
    ASSERT_EQ(cut.outcome.result, ParseResult::Good) << cut.outcome.fault;
    EXPECT_EQ(cut.Item("a")->FileLength, 1025u + 1u + 10u);
    EXPECT_EQ(cut.Item("b")->FileOffset, 33u + 1035u + 1u);

    // One byte more, and the closing quote is cut off as well.
    Parsed broken(IndexFile(9, elementWithTagOf(1024)));
    EXPECT_EQ(broken.outcome.result, ParseResult::Malformed);
    EXPECT_EQ(broken.outcome.fault.substr(0, 38), "Unable to parse ID attribute, Tag=[ELE");
    EXPECT_EQ(broken.outcome.fault.size(), 35u + 1023u + 1u);
}

TEST(StreamReader, ALongTagIsCutAndItsRestIsText)
{
    const std::string name(1500, 'N');
    Parsed parsed(Header(9) + "<ELEMENT ID=\"a\" UID=\"1\"><" + name + ">value</" + name + "></ELEMENT>" + kRootEnd);
    // The start tag is cut to 1,023 bytes of the name, the end tag to "/" and 1,022.
    EXPECT_EQ(parsed.outcome.result, ParseResult::Malformed);
    EXPECT_EQ(parsed.outcome.fault, "Encountered property end tag (/" + std::string(1022, 'N') +
                                        ") that does not match previous property start tag (" + std::string(1023, 'N') + ")");
}

TEST(StreamReader, ATextOfAnyLengthComesBackWhole)
{
    for (const size_t size : {1021u, 1022u, 1023u, 1024u, 2045u, 2046u, 2047u, 8190u, 8191u, 8192u, 8193u, 16384u, 100000u, 3000000u}) {
        std::string value(size, 'v');
        for (size_t i = 0; i < size; i += 7) value[i] = static_cast<char>('a' + i % 26);
        Parsed parsed(IndexFile(9, Element("a", 1, {{"TO", value}, {"X", "behind"}}) + Element("b", 2)));
        ASSERT_EQ(parsed.outcome.result, ParseResult::Good) << size;
        ASSERT_EQ(TextOf(*parsed.Item("a"), "TO"), value) << size;
        ASSERT_EQ(TextOf(*parsed.Item("a"), "X"), "behind") << size;
        ASSERT_EQ(parsed.Item("b")->FileOffset, 33u + Element("a", 1, {{"TO", value}, {"X", "behind"}}).size()) << size;
    }
}

TEST(StreamReader, ATextOfExactly1023BytesAtTheEndOfTheStreamIsDropped)
{
    Parsed parsed(IndexFile(9, Element("a", 1)) + std::string(1023, 't'));
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    Parsed tag(IndexFile(9, Element("a", 1)) + "<" + std::string(1023, 'T'));
    // 1,023 bytes are a whole read: the end of the stream is not seen, and the tag counts.
    EXPECT_EQ(tag.outcome.fault,
              "Encountered property tag (" + std::string(1023, 'T') + ") after already encountering a root element end tag");
    Parsed shorter(IndexFile(9, Element("a", 1)) + "<" + std::string(1022, 'T'));
    EXPECT_EQ(shorter.outcome.result, ParseResult::Good) << shorter.outcome.fault;
}

}  // namespace
}  // namespace velmora::test
