// Every message that the reader can give, byte for byte, and that the first one is kept.
#include <gtest/gtest.h>

#include <string>

#include "tests/persistence/FastReader.h"
#include "tests/persistence/IndexBytes.h"

namespace velmora::test {
namespace {

std::string FaultOf(std::string_view bytes, int32_t level = 3)
{
    const Parsed parsed(bytes, AtLevel(level));
    EXPECT_EQ(parsed.outcome.result, ParseResult::Malformed);
    return parsed.outcome.fault;
}

const std::string kHeader = Header(9);
const std::string kEnd = kRootEnd;

TEST(ReaderFault, RootEndBeforeRootStart)
{
    EXPECT_EQ(FaultOf("</BASEELEMENT>"), "Encountered root element end tag before root element start tag");
}

TEST(ReaderFault, RootEndTwice)
{
    EXPECT_EQ(FaultOf(kHeader + kEnd + kEnd), "Encountered root element end tag after already encountering a root element end tag");
}

TEST(ReaderFault, RootEndAfterARootClosedAtOnce)
{
    EXPECT_EQ(FaultOf("<BASEELEMENT LASTUID=\"x00000000\"/>" + kEnd),
              "Encountered root element end tag after already encountering a root element end tag");
}

TEST(ReaderFault, RootStartTwice)
{
    EXPECT_EQ(FaultOf(kHeader + kHeader + kEnd), "Encountered root element start tag after already encountering a root element start tag");
}

TEST(ReaderFault, ElementBeforeRootStart)
{
    const std::string expected = "Encountered element tag before encountering a root element start tag";
    EXPECT_EQ(FaultOf(Element("a", 1) + kHeader + kEnd), expected);
    EXPECT_EQ(FaultOf("</ELEMENT>" + kHeader + kEnd), expected);
}

TEST(ReaderFault, ElementAfterRootEnd)
{
    const std::string expected = "Encountered element tag after already encountering a root element end tag";
    EXPECT_EQ(FaultOf(kHeader + kEnd + Element("a", 1)), expected);
    EXPECT_EQ(FaultOf(kHeader + kEnd + "</ELEMENT>"), expected);
}

TEST(ReaderFault, ElementNestedWithinAProperty)
{
    const std::string expected = "Encountered element start tag nested within a property (SUBJECT)";
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><SUBJECT><ELEMENT ID=\"b\" UID=\"2\">" + kEnd), expected);
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><SUBJECT>x</ELEMENT>" + kEnd), expected);
}

TEST(ReaderFault, ElementNestedWithinAnotherElement)
{
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><ELEMENT ID=\"b\" UID=\"2\"></ELEMENT>" + kEnd),
              "Encountered element start tag nested within another element");
}

TEST(ReaderFault, ElementEndWithNoStart)
{
    EXPECT_EQ(FaultOf(kHeader + "</ELEMENT>" + kEnd), "Encountered element end tag before encountering a matching element start tag");
    EXPECT_EQ(FaultOf(kHeader + Element("a", 1) + "</ELEMENT>" + kEnd),
              "Encountered element end tag before encountering a matching element start tag");
}

TEST(ReaderFault, UidOutOfOrderNamesAllThreeNumbers)
{
    EXPECT_EQ(FaultOf(kHeader + Element("a", 12) + Element("b", 7) + kEnd),
              "Encountered element with UID out of order. This UID=7, Previous UID=12, Largest/Last UID=12");
    EXPECT_EQ(FaultOf(Header(500) + Element("a", 12) + Element("b", 7) + kEnd),
              "Encountered element with UID out of order. This UID=7, Previous UID=12, Largest/Last UID=500");
}

TEST(ReaderFault, UidsAreOrderedWithoutASign)
{
    // As the writer writes them: a UID beyond 2^31 stands in signed decimal.
    Parsed parsed(Header(0x80000002u) + Element("a", "2147483647") + Element("b", "-2147483648") + Element("c", "-2147483646") + kEnd);
    EXPECT_EQ(parsed.outcome.result, ParseResult::Good) << parsed.outcome.fault;
    EXPECT_EQ(FaultOf(Header(5) + Element("a", "-2") + Element("b", 7) + kEnd),
              "Encountered element with UID out of order. This UID=7, Previous UID=4294967294, Largest/Last UID=4294967294");
}

TEST(ReaderFault, AttributeWithNoQuoteGivesTheWholeTag)
{
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=a UID=1></ELEMENT>" + kEnd), "Unable to parse ID attribute, Tag=[ELEMENT ID=a UID=1]");
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a></ELEMENT>" + kEnd), "Unable to parse ID attribute, Tag=[ELEMENT ID=\"a]");
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"></ELEMENT>" + kEnd),
              "Unable to parse ID attribute, Tag=[ELEMENT ID=\"a\" UID=\"]");
}

TEST(ReaderFault, AnEmptyLastValueHasNoClosingQuote)
{
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"\"></ELEMENT>" + kEnd), "Unable to parse ID attribute, Tag=[ELEMENT ID=\"\"]");
}

TEST(ReaderFault, ElementWithoutAnId)
{
    const std::string expected = "Encountered element start tag without an ID";
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT UID=\"1\"></ELEMENT>" + kEnd), expected);
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT></ELEMENT>" + kEnd), expected);
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT id=\"a\" UID=\"1\"></ELEMENT>" + kEnd), expected);
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT  ID=\"a\"></ELEMENT>" + kEnd), expected);  // the second blank belongs to the name
}

TEST(ReaderFault, PropertyBeforeRootStart)
{
    EXPECT_EQ(FaultOf("<SUBJECT>x</SUBJECT>" + kHeader + kEnd),
              "Encountered property tag (SUBJECT) before encountering a root element start tag");
    EXPECT_EQ(FaultOf("</SUBJECT>" + kHeader + kEnd), "Encountered property tag (/SUBJECT) before encountering a root element start tag");
}

TEST(ReaderFault, PropertyAfterRootEnd)
{
    EXPECT_EQ(FaultOf(kHeader + kEnd + "<SUBJECT>"),
              "Encountered property tag (SUBJECT) after already encountering a root element end tag");
    EXPECT_EQ(FaultOf(kHeader + kEnd + "</SUBJECT>"),
              "Encountered property tag (/SUBJECT) after already encountering a root element end tag");
}

TEST(ReaderFault, PropertyOutsideAnElement)
{
    EXPECT_EQ(FaultOf(kHeader + "<SUBJECT>x</SUBJECT>" + kEnd), "Encountered property tag (SUBJECT) outside an element");
    EXPECT_EQ(FaultOf(kHeader + Element("a", 1) + "</SUBJECT>" + kEnd), "Encountered property tag (/SUBJECT) outside an element");
}

TEST(ReaderFault, PropertyNestedWithinAnother)
{
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><TO><CC>x</CC></TO></ELEMENT>" + kEnd),
              "Encountered property start tag (CC) nested within another property (TO)");
}

TEST(ReaderFault, ASelfClosedPropertyNestsTheNextOne)
{
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><FOO/><CC>x</CC></ELEMENT>" + kEnd),
              "Encountered property start tag (CC) nested within another property (FOO/)");
}

TEST(ReaderFault, PropertyEndThatDoesNotMatch)
{
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><TO>x</CC></ELEMENT>" + kEnd),
              "Encountered property end tag (/CC) that does not match previous property start tag (TO)");
    EXPECT_EQ(FaultOf(kHeader + "<ELEMENT ID=\"a\" UID=\"1\"></CC></ELEMENT>" + kEnd),
              "Encountered property end tag (/CC) that does not match previous property start tag ()");
}

TEST(ReaderFault, NoRootStart)
{
    EXPECT_EQ(FaultOf(""), "Did not find root element start tag");
    EXPECT_EQ(FaultOf("no tag at all"), "Did not find root element start tag");
    EXPECT_EQ(FaultOf("<BASEELEMENT LASTUID="), "Did not find root element start tag");
}

TEST(ReaderFault, NoRootEnd)
{
    EXPECT_EQ(FaultOf(kHeader), "Did not find root element end tag");
    EXPECT_EQ(FaultOf(kHeader + Element("a", 1)), "Did not find root element end tag");
    EXPECT_EQ(FaultOf(kHeader + Element("a", 1) + "</BASEELEMENT"), "Did not find root element end tag");
}

TEST(ReaderFault, OnlyTheFirstFaultIsKept)
{
    EXPECT_EQ(FaultOf("</ELEMENT>" + kHeader + kHeader + "</X>" + Element("b", 2)),
              "Encountered element tag before encountering a root element start tag");
}

TEST(ReaderFault, ThePassRunsToTheEndAndKeepsWhatItInserted)
{
    Parsed parsed(kHeader + Element("a", 12) + Element("b", 7) + "<X>" + Element("c", 20, {{"TO", "x"}}) + kEnd);
    EXPECT_EQ(parsed.outcome.result, ParseResult::Malformed);
    EXPECT_EQ(IdsByUid(parsed.table), "b a c");
}

TEST(ReaderFault, AMessageHasNoBound)
{
    const std::string name(1000, 'N');
    EXPECT_EQ(FaultOf(kHeader + "<" + name + ">" + kEnd), "Encountered property tag (" + name + ") outside an element");
}

TEST(ReaderFault, TheThreePlacesAreCheckedInOrder)
{
    // Neither root has started and no element is open: the first reason counts.
    EXPECT_EQ(FaultOf("</X>"), "Encountered property tag (/X) before encountering a root element start tag");
    EXPECT_EQ(FaultOf(kHeader + kEnd + "</X>"), "Encountered property tag (/X) after already encountering a root element end tag");
}

TEST(ReaderFault, LevelTwoChecksTheSamePlacesOfElements)
{
    EXPECT_EQ(FaultOf(kHeader + Element("a", 12) + Element("b", 7) + kEnd, 2),
              "Encountered element with UID out of order. This UID=7, Previous UID=12, Largest/Last UID=12");
    EXPECT_EQ(FaultOf(kHeader + "<SUBJECT>x</SUBJECT>" + kEnd, 2), "Encountered property tag (SUBJECT) outside an element");
}

TEST(ReaderFault, LevelTwoAcceptsMismatchedPropertyTagsThatLevelThreeRefuses)
{
    const std::string bytes = kHeader + "<ELEMENT ID=\"a\" UID=\"1\"><TO>x</CC></ELEMENT>" + Element("b", 2) + kEnd;
    Parsed identifiers(bytes, AtLevel(2));
    EXPECT_EQ(identifiers.outcome.result, ParseResult::Good);
    EXPECT_EQ(identifiers.outcome.fault, "");
    EXPECT_EQ(IdsByUid(identifiers.table), "a b");
    const Parsed full(bytes);
    EXPECT_EQ(full.outcome.result, ParseResult::Malformed);
}

}  // namespace
}  // namespace velmora::test
