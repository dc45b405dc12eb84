#include <gtest/gtest.h>

#include "common/Text.h"
#include "items/MessageHeader.h"
#include "tests/items/Messages.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

using std::string_literals::operator""s;

// ---- The block and its lines ----

TEST(HeaderBlock, EndsBeforeTheBlankLine)
{
    const MessageHeader header = ParseText("Subject: one\r\nTo: a\r\n\r\nSubject: body\r\n");
    EXPECT_EQ(header.HeaderText, "Subject: one\r\nTo: a");
    EXPECT_STREQ(header.Subject, "one");
}

TEST(HeaderBlock, OfLineFeedsKeepsItsBlankLine)
{
    const MessageHeader header = ParseText("Subject: one\nTo: a\n\nSubject: body\n");
    EXPECT_EQ(header.HeaderText, "Subject: one\nTo: a\n\n");
    EXPECT_STREQ(header.Subject, "one");
    EXPECT_EQ(header.To, "a");
}

TEST(HeaderBlock, ALoneCarriageReturnAtTheStartEndsIt)
{
    EXPECT_STREQ(ParseText("\rSubject: x\r\n").Subject, "");
    EXPECT_EQ(ParseText("\r\nSubject: x\r\n").HeaderText, "\r\n");
}

TEST(HeaderBlock, OnlyOneLineEndIsRemoved)
{
    EXPECT_EQ(ParseText("To: a\r\r\n\r\n").To, "a\r");
    EXPECT_EQ(ParseText("To: a\r").To, "a\r");
}

TEST(HeaderBlock, AFileThatEndsBeforeAnyBlankLineIsParsedAsFarAsItGoes)
{
    const MessageHeader header = ParseText("From: me\r\nSubject: no end");
    EXPECT_STREQ(header.From, "me");
    EXPECT_STREQ(header.Subject, "no end");
    EXPECT_EQ(header.HeaderText, "From: me\r\nSubject: no end");
}

TEST(HeaderBlock, AnEmptyMessageHasEmptyColumns)
{
    const MessageHeader header = ParseText("");
    EXPECT_STREQ(header.From, "");
    EXPECT_STREQ(header.Subject, "");
    EXPECT_STREQ(header.MessageDate, "");
    EXPECT_EQ(header.Importance, 3);
    EXPECT_EQ(header.HeaderText, "");
}

TEST(HeaderBlock, TheSecondHundredAndSecondLineIsNotSeen)
{
    EXPECT_STREQ(ParseText(Repeat("X: y\r\n", 200) + "Subject: seen\r\n\r\n").Subject, "seen");
    const MessageHeader header = ParseText(Repeat("X: y\r\n", 201) + "Subject: unseen\r\nTo: x\r\n\r\n");
    EXPECT_STREQ(header.Subject, "");
    EXPECT_EQ(header.To, "");
    EXPECT_EQ(header.HeaderText, Repeat("X: y\r\n", 201));
}

TEST(HeaderBlock, TheAttachmentTestTakesOverBehindTheIgnoredLine)
{
    const std::string start = "Content-Type: multipart/mixed\r\n" + Repeat("X: y\r\n", 200);
    EXPECT_EQ(ParseText(start + "ignored\r\nContent-Disposition: attachment\r\n").Attachments, 1);
    EXPECT_EQ(ParseText(start + "Content-Disposition: attachment\r\nnext\r\n").Attachments, 0);
}

TEST(HeaderBlock, ALongLineArrivesInPiecesOf2047Bytes)
{
    // The second piece begins with a blank, so it is taken for a continuation, and loses that byte.
    const std::string value(2047 - 4, 'v');
    EXPECT_EQ(ParseText("To: " + value + " tail\r\n\r\n").To, value + "tail");
    // One that does not is a line of its own, and may be a header.
    const MessageHeader header = ParseText("To: " + value + "Subject: inside\r\n\r\n");
    EXPECT_EQ(header.To, value);
    EXPECT_STREQ(header.Subject, "inside");
}

TEST(HeaderBlock, ALineEndThatFallsIntoTheNextPieceEndsTheBlock)
{
    const std::string line = "To: " + std::string(2047 - 4, 'v');
    const MessageHeader header = ParseText(line + "\r\nSubject: not reached\r\n\r\n");
    EXPECT_STREQ(header.Subject, "");
    EXPECT_EQ(header.HeaderText, line + "\r\n");
}

TEST(HeaderBlock, TextsEndAtAZeroByte)
{
    const MessageHeader header = ParseText("Subject: one\0two\r\nTo: a\r\n\r\n"s);
    EXPECT_STREQ(header.Subject, "one");
    EXPECT_EQ(header.To, "a");
    EXPECT_EQ(header.HeaderText, "Subject: oneTo: a");
}

TEST(HeaderBlock, ALineThatBeginsWithAZeroByteIsEmptyAndEndsNothing)
{
    const MessageHeader header = ParseText("To: a\r\n\0\r\n more\r\nSubject: s\r\n\r\n"s);
    EXPECT_EQ(header.To, "a");
    EXPECT_STREQ(header.Subject, "s");
}

TEST(HeaderBlock, ASourceThatTricklesGivesTheSame)
{
    const std::string text = "To: " + std::string(3000, 'v') + "\r\nSubject: s\r\n\r\nbody";
    const MessageHeader whole = ParseText(text);
    for (const size_t step : {1u, 13u, 2047u}) {
        TrickleSource source(text, step);
        MessageHeader header;
        ParseMessageHeaders(source, header, {});
        EXPECT_EQ(header.HeaderText, whole.HeaderText) << step;
        EXPECT_STREQ(header.Subject, "s") << step;
    }
}

TEST(HeaderBlock, TenMegabytesWithoutALineEndAreReadInPiecesAndEnd)
{
    const std::string text = "Subject: " + std::string(10u << 20, 'x');
    const MessageHeader header = ParseText(text);
    EXPECT_EQ(std::string(header.Subject).size(), 1023u);
    EXPECT_EQ(header.HeaderText.size(), 201u * 2047u);
}

TEST(HeaderBlock, BytesOfEveryValueAreTakenAsTheyAre)
{
    std::string value;
    for (int c = 1; c < 256; ++c)
        if (c != '\n') value += static_cast<char>(c);
    EXPECT_EQ(ParseText("Subject: x" + value + "\r\n\r\n").Subject, "x" + value);
}

// ---- Rows with continuation lines ----

struct FoldingRow {
    const char* name;
    std::string (*value)(const MessageHeader&);
    size_t room;  // bytes that the value may have; 0 no bound
};

class FoldingHeader : public testing::TestWithParam<FoldingRow> {
protected:
    std::string Value(const std::string& text) const { return GetParam().value(ParseText(text)); }
    std::string Name() const { return GetParam().name; }
    std::string LowerName() const
    {
        std::string name = Name();
        for (char& c : name) c = LowerAscii(c);
        return name;
    }
    std::string UpperName() const
    {
        std::string name = Name();
        for (char& c : name) c = UpperAscii(c);
        return name;
    }
};

TEST_P(FoldingHeader, TakesTheTextBehindTheColonWithoutLeadingBlanks)
{
    EXPECT_EQ(Value(Name() + "value\r\n\r\n"), "value");
    EXPECT_EQ(Value(Name() + " \t  value : more \r\n\r\n"), "value : more ");
    EXPECT_EQ(Value(Name() + "\r\n\r\n"), "");
}

TEST_P(FoldingHeader, IgnoresTheCaseOfItsName)
{
    EXPECT_EQ(Value(LowerName() + " value\r\n\r\n"), "value");
    EXPECT_EQ(Value(UpperName() + " value\r\n\r\n"), "value");
}

TEST_P(FoldingHeader, ContinuationLinesLoseTheirFirstByteAlone)
{
    EXPECT_EQ(Value(Name() + " one\r\n two\r\n\t\tthree\r\nX: y\r\n four\r\n\r\n"), "onetwo\tthree");
}

TEST_P(FoldingHeader, AnEmptyValueMayBeContinued) { EXPECT_EQ(Value(Name() + "\r\n value\r\n\r\n"), "value"); }

TEST_P(FoldingHeader, ASecondOneRightBehindOnlyEndsTheContinuation)
{
    EXPECT_EQ(Value(Name() + " one\r\n" + Name() + " two\r\n\r\n"), "one");
    EXPECT_EQ(Value(Name() + " one\r\n" + Name() + " two\r\n more\r\n\r\n"), "one");
    EXPECT_EQ(Value(Name() + " one\r\n more\r\n" + Name() + " two\r\n\r\n"), "onemore");
}

TEST_P(FoldingHeader, IsCutAtItsField)
{
    const size_t room = GetParam().room;
    const std::string text = Name() + std::string(1500, 'a') + "\r\n " + std::string(1500, 'b') + "\r\n\r\n";
    const std::string all = std::string(1500, 'a') + std::string(1500, 'b');
    EXPECT_EQ(Value(text), room == 0 ? all : all.substr(0, room));
    const std::string folded = Name() + std::string(400, 'a') + "\r\n " + std::string(1500, 'b') + "\r\n\r\n";
    const std::string foldedAll = std::string(400, 'a') + std::string(1500, 'b');
    EXPECT_EQ(Value(folded), room == 0 ? foldedAll : foldedAll.substr(0, room));
}

INSTANTIATE_TEST_SUITE_P(Rows, FoldingHeader,
                         testing::Values(FoldingRow{"To:", [](const MessageHeader& h) { return h.To; }, 0},
                                         FoldingRow{"CC:", [](const MessageHeader& h) { return h.Cc; }, 0},
                                         FoldingRow{"Reply-To:", [](const MessageHeader& h) { return std::string(h.ReplyTo); }, 511},
                                         FoldingRow{"Sender:", [](const MessageHeader& h) { return std::string(h.From); }, 511},
                                         FoldingRow{"Subject:", [](const MessageHeader& h) { return std::string(h.Subject); }, 1023}),
                         [](const auto& tested) {
                             std::string name = tested.param.name;
                             std::erase_if(name, [](char c) { return c == ':' || c == '-'; });
                             return name;
                         });

TEST(FoldingHeaders, ASecondOneElsewhereReplacesTheFirst)
{
    const MessageHeader header = ParseText(
        "To: one\r\nCC: one\r\nReply-To: one\r\nSubject: one\r\nX: y\r\n"
        "To: two\r\nCC: two\r\nReply-To: two\r\nSubject: two\r\n\r\n");
    EXPECT_EQ(header.To, "two");
    EXPECT_EQ(header.Cc, "two");
    EXPECT_STREQ(header.ReplyTo, "two");
    EXPECT_STREQ(header.Subject, "two");
}

TEST(FoldingHeaders, OneMayFollowAnother)
{
    const MessageHeader header = ParseText("To: a\r\n b\r\nCc: c\r\n d\r\nTo: e\r\n f\r\n\r\n");
    EXPECT_EQ(header.To, "ef");
    EXPECT_EQ(header.Cc, "cd");
}

TEST(FoldingHeaders, AContinuationWithNoHeaderBeforeItIsNothing) { EXPECT_EQ(ParseText(" To: a\r\n\tSubject: b\r\n\r\n").To, ""); }

// ---- From and Sender ----

TEST(FromHeader, ReplacesSenderAndItself)
{
    EXPECT_STREQ(ParseText("Sender: s\r\nFrom: f\r\n\r\n").From, "f");
    EXPECT_STREQ(ParseText("From: f\r\nFrom: g\r\n\r\n").From, "g");
}

TEST(FromHeader, SenderBehindItIsIgnoredWithItsContinuation) { EXPECT_STREQ(ParseText("From: f\r\nSender: s\r\n more\r\n\r\n").From, "f"); }

TEST(FromHeader, SenderBehindAnEmptyOneCounts) { EXPECT_STREQ(ParseText("From:\r\nSender: s\r\n more\r\n\r\n").From, "smore"); }

TEST(FromHeader, IgnoresTheCaseOfItsName)
{
    EXPECT_STREQ(ParseText("FROM: f\r\n\r\n").From, "f");
    EXPECT_STREQ(ParseText("from: f\r\n\r\n").From, "f");
}

TEST(FromHeader, IsNotContinued) { EXPECT_STREQ(ParseText("From: \"A\"\r\n <a@b>\r\n\r\n").From, "\"A\""); }

TEST(FromHeader, EndsTheContinuationOfSender) { EXPECT_STREQ(ParseText("Sender: s\r\nFrom: f\r\n tail\r\n\r\n").From, "f"); }

TEST(FromHeader, IsCutAt511Bytes) { EXPECT_EQ(ParseText("From: " + std::string(600, 'x') + "\r\n\r\n").From, std::string(511, 'x')); }

TEST(FromHeader, AnEmptyOneHasAnUnknownName)
{
    const MessageHeader header = ParseText("From: \t \r\n\r\n");
    EXPECT_STREQ(header.From, "");
    EXPECT_STREQ(header.FromName, "Unknown");
    EXPECT_STREQ(ParseText("From: x\r\n\r\n").FromName, "");
    EXPECT_STREQ(ParseText("To: x\r\n\r\n").FromName, "");
}

// ---- Private and numeric rows ----

TEST(ReadHeader, MarksReadAndAddsSeen)
{
    const MessageHeader header = ParseText("x-read: 1\r\n\r\n");
    EXPECT_EQ(header.Read, 1);
    EXPECT_EQ(header.TempFlags, "\\SEEN");
    EXPECT_EQ(ParseText("X-Read: 0\r\n\r\n").Read, 0);
    EXPECT_EQ(ParseText("X-Read:1\r\n\r\n").Read, 0);
    EXPECT_EQ(ParseText("X-Read: 10\r\n\r\n").Read, 1);
}

TEST(ReadHeader, TemporaryFlagsBehindItReplaceSeen)
{
    EXPECT_EQ(ParseText("X-Read: 1\r\nX-VLTempFlags: \\FLAGGED\r\n\r\n").TempFlags, "\\FLAGGED");
    EXPECT_EQ(ParseText("X-VLTempFlags: \\FLAGGED\r\nX-Read: 1\r\n\r\n").TempFlags, "\\FLAGGED \\SEEN");
    EXPECT_EQ(ParseText("X-Read: 1\r\nX-VLTempFlags: \\FLAGGED\r\n\r\n").Read, 1);
}

TEST(TempFlagsHeader, IgnoresTheCaseOfItsName)
{
    EXPECT_EQ(ParseText("x-vltempflags: \\FLAGGED\r\n\r\n").TempFlags, "\\FLAGGED");
    EXPECT_EQ(ParseText("X-VLTEMPFLAGS: \\FLAGGED\r\n\r\n").TempFlags, "\\FLAGGED");
}

TEST(TempFlagsHeader, AddsToNothingOfTheCaller)
{
    MessageHeader header;
    header.TempFlags = "before";
    MemorySource first("Subject: x\r\n\r\n");
    ParseMessageHeaders(first, header, {});
    EXPECT_EQ(header.TempFlags, "before");
    HeaderParseOptions clearing;
    clearing.clearTempFlags = true;
    MemorySource second("Subject: x\r\n\r\n");
    ParseMessageHeaders(second, header, clearing);
    EXPECT_EQ(header.TempFlags, "");
}

TEST(UidHeader, CountsInItsOwnFolderWhenItIsHonoured)
{
    EXPECT_EQ(ParseText("X-UID: 99.7\r\n\r\n", HonouringUid(), 99).Uid, 7);
    EXPECT_EQ(ParseText("x-uid: 99.7\r\n\r\n", HonouringUid(), 99).Uid, 7);
    EXPECT_EQ(ParseText("X-UID: 99.7\r\n\r\n", HonouringUid(), 98).Uid, 0);
    EXPECT_EQ(ParseText("X-UID: 99.7\r\n\r\n", {}, 99).Uid, 0);
    EXPECT_EQ(ParseText("X-UID: 4000000000.7\r\n\r\n", HonouringUid(), 4000000000u).Uid, 7);
}

TEST(UidHeader, WithoutADotIsIgnored)
{
    EXPECT_EQ(ParseText("X-UID: 7\r\n\r\n", HonouringUid(), 7).Uid, 0);
    EXPECT_EQ(ParseText("X-UID: 7\r\n\r\n", HonouringUid(), 0).Uid, 0);
}

TEST(UidHeader, AParseStartsWithNone)
{
    MessageHeader header;
    header.Uid = 5;
    header.Attachments = 1;
    MemorySource source("Subject: x\r\n\r\n");
    ParseMessageHeaders(source, header, {});
    EXPECT_EQ(header.Uid, 0);
    EXPECT_EQ(header.Attachments, 0);
}

TEST(ClassHeader, IsTheRestOfTheLineCutAt127Bytes)
{
    EXPECT_STREQ(ParseText("x-vl-class:  A b\r\n\r\n").Class, " A b");
    EXPECT_EQ(ParseText("X-VL-Class: " + std::string(200, 'c') + "\r\n\r\n").Class, std::string(127, 'c'));
    EXPECT_STREQ(ParseText("X-VL-Class:A\r\n\r\n").Class, "");
}

TEST(PriorityHeader, BelowOneOrWithoutANumberIsThree)
{
    EXPECT_EQ(ParseText("X-Priority: 1\r\n\r\n").Importance, 1);
    EXPECT_EQ(ParseText("X-Priority: 5 (Lowest)\r\n\r\n").Importance, 5);
    EXPECT_EQ(ParseText("X-Priority: 0\r\n\r\n").Importance, 3);
    EXPECT_EQ(ParseText("X-Priority: -1\r\n\r\n").Importance, 3);
    EXPECT_EQ(ParseText("X-Priority: high\r\n\r\n").Importance, 3);
    EXPECT_EQ(ParseText("Subject: x\r\n\r\n").Importance, 3);
}

TEST(PriorityHeader, IgnoresTheCaseOfItsName)
{
    EXPECT_EQ(ParseText("x-priority: 1\r\n\r\n").Importance, 1);
    EXPECT_EQ(ParseText("X-PRIORITY: 1\r\n\r\n").Importance, 1);
}

TEST(PriorityHeader, ReadsAtMost64Bytes)
{
    EXPECT_EQ(ParseText("X-Priority: " + std::string(63, '0') + "57\r\n\r\n").Importance, 5);
    EXPECT_EQ(ParseText("X-Priority: " + std::string(64, '0') + "5\r\n\r\n").Importance, 3);
}

TEST(MessageIdHeader, IsTheRestOfTheLineCutAt511Bytes)
{
    EXPECT_STREQ(ParseText("Message-Id: <a@b>\r\n\r\n").MessageId, "<a@b>");
    EXPECT_EQ(ParseText("Message-ID: " + std::string(600, 'm') + "\r\n\r\n").MessageId, std::string(511, 'm'));
    EXPECT_STREQ(ParseText("Message-ID:<a@b>\r\n\r\n").MessageId, "");
}

// ---- Dates ----

constexpr char kMonday[] = "Mon, 7 Feb 2011 10:00:00 +0000";
constexpr char kTuesday[] = "Tue, 8 Feb 2011 11:00:00 +0000";
constexpr char kMondayIso[] = "2011-02-07T10:00:00";
constexpr char kTuesdayIso[] = "2011-02-08T11:00:00";

std::string Line(std::string_view name, std::string_view value) { return std::string(name) + std::string(value) + "\r\n"; }

TEST(DateHeader, GivesBothDatesWhenNothingWasReceivedBefore)
{
    const MessageHeader header = ParseText(Line("Date: ", kMonday) + "\r\n");
    EXPECT_STREQ(header.MessageDate, kMondayIso);
    EXPECT_STREQ(header.Received, kMondayIso);
}

TEST(DateHeader, IgnoresTheCaseOfItsNameForBothDates)
{
    for (const char* name : {"date: ", "DATE: "}) {
        const MessageHeader header = ParseText(Line(name, kMonday) + "\r\n");
        EXPECT_STREQ(header.MessageDate, kMondayIso) << name;
        EXPECT_STREQ(header.Received, kMondayIso) << name;
    }
}

TEST(DateHeader, LeavesAReceivedDateThatStandsBeforeIt)
{
    const MessageHeader header = ParseText(Line("Received: by x; ", kTuesday) + Line("Date: ", kMonday) + "\r\n");
    EXPECT_STREQ(header.MessageDate, kMondayIso);
    EXPECT_STREQ(header.Received, kTuesdayIso);
}

TEST(DateHeader, BeforeTheReceivedLinesIsTheReceivedDate)
{
    const MessageHeader header = ParseText(Line("Date: ", kMonday) + Line("Received: by x; ", kTuesday) + "\r\n");
    EXPECT_STREQ(header.Received, kMondayIso);
}

TEST(DateHeader, ThatCannotBeReadLeavesTheFieldsEmpty)
{
    const MessageHeader header = ParseText("Date: yesterday\r\n\r\n");
    EXPECT_STREQ(header.MessageDate, "");
    EXPECT_STREQ(header.Received, "");
    EXPECT_STREQ(ParseText("Date: Mon, 7 Feb 2011 10:00:00\r\n\r\n").MessageDate, "");
    EXPECT_STREQ(ParseText("Date:" + std::string(kMonday) + "\r\n\r\n").MessageDate, "");
}

TEST(DateHeader, ASecondOneReplacesTheMessageDateAlone)
{
    const MessageHeader header = ParseText(Line("Date: ", kMonday) + Line("Date: ", kTuesday) + "\r\n");
    EXPECT_STREQ(header.MessageDate, kTuesdayIso);
    EXPECT_STREQ(header.Received, kMondayIso);
}

TEST(ReceivedHeader, TheFirstWithADateOnItsLineCounts)
{
    const MessageHeader header =
        ParseText("Received: from a by b\r\n" + Line("Received: by c; ", kMonday) + Line("Received: by d; ", kTuesday) + "\r\n");
    EXPECT_STREQ(header.Received, kMondayIso);
}

TEST(ReceivedHeader, IgnoresTheCaseOfItsName)
{
    EXPECT_STREQ(ParseText(Line("received: by x; ", kMonday) + "\r\n").Received, kMondayIso);
    EXPECT_STREQ(ParseText(Line("RECEIVED: by x; ", kMonday) + "\r\n").Received, kMondayIso);
}

TEST(ReceivedHeader, ADateFoldedToTheNextLineIsNotFollowed)
{
    const MessageHeader header =
        ParseText("Received: from a by b;\r\n\t" + std::string(kTuesday) + "\r\n" + Line("Date: ", kMonday) + "\r\n");
    EXPECT_STREQ(header.Received, kMondayIso);
}

TEST(ReceivedHeader, OnlyTheFirstSemicolonWithABlankIsLookedAt)
{
    // "c;" is taken for the day, "7" for the month and "Feb" for the year.
    const MessageHeader header = ParseText("Received: by a;b; c; 7 Feb 2011 10:00:00 +0000\r\n\r\n");
    EXPECT_STREQ(header.Received, "2000-12-01T00:00:00");
}

TEST(ReceivedHeader, AnUnreadableDateLeavesTheNextItsTurn)
{
    const MessageHeader header = ParseText("Received: by a; soon\r\n" + Line("Received: by b; ", kTuesday) + "\r\n");
    EXPECT_STREQ(header.Received, kTuesdayIso);
}

// ---- Attachments ----

TEST(Attachments, AMixedMessageCountsByItsParts)
{
    const std::string head = "Content-Type: multipart/mixed; boundary=x\r\n\r\n--x\r\n";
    EXPECT_EQ(ParseText(head + "Content-Disposition: attachment; filename=a\r\n").Attachments, 1);
    EXPECT_EQ(ParseText(head + "content-disposition: ATTACHMENT\r\n").Attachments, 1);
    EXPECT_EQ(ParseText(head + "Content-Disposition: inline\r\n").Attachments, 0);
    EXPECT_EQ(ParseText(head + " Content-Disposition: attachment\r\n").Attachments, 0);
    EXPECT_EQ(ParseText(head + "Content-Disposition:attachment\r\n").Attachments, 0);
    EXPECT_EQ(ParseText(head).Attachments, 0);
}

TEST(Attachments, OtherTypesAreNotLookedInto)
{
    const std::string body = "\r\n\r\nContent-Disposition: attachment\r\n";
    EXPECT_EQ(ParseText("Content-Type: multipart/related" + body).Attachments, 0);
    EXPECT_EQ(ParseText("Content-Type:multipart/mixed" + body).Attachments, 0);
    EXPECT_EQ(ParseText("Subject: x" + body).Attachments, 0);
    EXPECT_EQ(ParseText("CONTENT-TYPE: Multipart/Mixed" + body).Attachments, 1);
}

TEST(Attachments, TheLastContentTypeWins)
{
    const std::string body = "\r\n\r\nContent-Disposition: attachment\r\n";
    EXPECT_EQ(ParseText("Content-Type: multipart/mixed\r\nContent-Type: text/plain" + body).Attachments, 0);
    EXPECT_EQ(ParseText("Content-Type: text/plain\r\nContent-Type: multipart/mixed" + body).Attachments, 1);
}

TEST(Attachments, AnAttachmentDispositionInTheHeaderSettlesIt)
{
    EXPECT_EQ(ParseText("Content-Type: text/plain\r\nContent-Disposition: Attachment; filename=x\r\n\r\nbody").Attachments, 1);
    EXPECT_EQ(ParseText("Content-Type: multipart/mixed\r\nContent-Disposition: attachment\r\n\r\nno part").Attachments, 1);
    EXPECT_EQ(ParseText("Content-Disposition: attachment\r\nContent-Type: multipart/mixed\r\n\r\nno part").Attachments, 1);
    EXPECT_EQ(ParseText("Content-Disposition: attachment\r\nContent-Type: text/plain\r\n\r\nbody").Attachments, 0);
}

TEST(Attachments, AnInlineDispositionInTheHeaderSettlesNothing)
{
    EXPECT_EQ(ParseText("Content-Type: multipart/mixed\r\nContent-Disposition: inline\r\n\r\nno part").Attachments, 0);
    EXPECT_EQ(ParseText("Content-Disposition: inline\r\n\r\n").Attachments, 0);
}

TEST(Attachments, TheBodyIsReadInPiecesOf2046Bytes)
{
    const std::string head = "Content-Type: multipart/mixed\r\n\r\n";
    EXPECT_EQ(ParseText(head + std::string(2046, 'x') + "Content-Disposition: attachment\r\n").Attachments, 1);
    EXPECT_EQ(ParseText(head + std::string(2047, 'x') + "Content-Disposition: attachment\r\n").Attachments, 0);
}

TEST(Attachments, AreFoundFarIntoALongBody)
{
    const std::string head = "Content-Type: multipart/mixed\r\n\r\n";
    EXPECT_EQ(ParseText(head + Repeat("line of text\r\n", 100000) + "Content-Disposition: attachment").Attachments, 1);
}

// ---- The record ----

TEST(AddFlagStatus, PutsABackslashInFrontOfABareFlag)
{
    std::string list;
    EXPECT_TRUE(AddFlagStatus(list, "SEEN"));
    EXPECT_EQ(list, "\\SEEN");
    EXPECT_TRUE(AddFlagStatus(list, "\\FLAGGED"));
    EXPECT_EQ(list, "\\SEEN \\FLAGGED");
    EXPECT_TRUE(AddFlagStatus(list, "a\\b"));
    EXPECT_EQ(list, "\\SEEN \\FLAGGED a\\b");
}

TEST(AddFlagStatus, FindsAFlagAnywhereInAnyCase)
{
    std::string list = "x\\seenlater";
    EXPECT_FALSE(AddFlagStatus(list, "SEEN"));
    EXPECT_EQ(list, "x\\seenlater");
    list = "SEEN";
    EXPECT_TRUE(AddFlagStatus(list, "SEEN"));
    EXPECT_EQ(list, "SEEN \\SEEN");
}

TEST(MessageHeaderReset, EmptiesTextsAndLeavesWhatCallersSet)
{
    MessageHeader header =
        ParseText("From: f\r\nTo: t\r\nCC: c\r\nReply-To: r\r\nSubject: s\r\nX-Read: 1\r\nX-VL-Class: k\r\nX-Priority: 1\r\n" +
                  Line("Date: ", kMonday) + "Message-ID: m\r\nContent-Disposition: attachment\r\n\r\n");
    header.Size = 9;
    header.Uid = 4;
    header.ModifiedDate = 5;
    header.FolderUid = 6;
    CopyBounded(header.ItemId, "a.MAI");
    MessageHeader_Reset(header);
    for (const char* text : {header.From, header.FromName, header.ReplyTo, header.MessageId, header.ItemId, header.Received,
                             header.MessageDate, header.Subject, header.Class}) {
        EXPECT_STREQ(text, "");
    }
    EXPECT_EQ(header.HeaderText + header.To + header.Cc + header.TempFlags, "");
    EXPECT_EQ(header.Read, 0);
    EXPECT_EQ(header.Size, 0);
    EXPECT_EQ(header.Importance, 3);
    EXPECT_EQ(header.Attachments, 1);
    EXPECT_EQ(header.Uid, 4);
    EXPECT_EQ(header.ModifiedDate, 5u);
    EXPECT_EQ(header.FolderUid, 6u);
}

std::string Text(const IndexItemPropertyContainer& item, std::string_view column)
{
    std::string text = "(none)";
    item.GetText(column, text);
    return text;
}

TEST(SetItemProperties, WritesEveryColumn)
{
    MessageHeader header = ParseText("From: f\r\nTo: t\r\nCC: c\r\nSubject: s\r\nX-VL-Class: k\r\nX-Priority: 1\r\n" +
                                     Line("Date: ", kMonday) + Line("Received: x; ", kTuesday) + "Content-Disposition: attachment\r\n\r\n");
    CopyBounded(header.ItemId, "a.MAI");
    header.Uid = 12;
    header.Size = 345;
    header.ModifiedDate = 4000000000u;
    IndexItemPropertyContainer item;
    MessageHeader_SetItemProperties(item, header, false);
    const std::pair<const char*, const char*> expected[] = {
        {"ID", "a.MAI"},
        {"UID", "12"},
        {"MESSAGEDATE", kMondayIso},
        {"MODIFIEDDATE", "4000000000"},
        {"IMPORTANCE", "1"},
        {"FLAGSTATUS", "\\RECENT"},
        {"ATTACHMENTS", "1"},
        {"FROM", "f"},
        {"TO", "t"},
        {"CC", "c"},
        {"SUBJECT", "s"},
        {"RECEIVED", kMondayIso},
        {"READ", "0"},
        {"STATE", "0"},
        {"CLASS", "k"},
        {"SIZE", "345"},
    };
    for (const auto& [column, value] : expected) EXPECT_EQ(Text(item, column), value) << column;
}

TEST(SetItemProperties, OfTheIdentityStopBehindTheUid)
{
    MessageHeader header = ParseText("Subject: s\r\n\r\n");
    CopyBounded(header.ItemId, "a.MAI");
    IndexItemPropertyContainer item;
    MessageHeader_SetItemProperties(item, header, true);
    EXPECT_EQ(Text(item, "ID"), "a.MAI");
    EXPECT_EQ(Text(item, "UID"), "0");
    EXPECT_EQ(Text(item, "SUBJECT"), "(none)");
    EXPECT_EQ(Text(item, "STATE"), "(none)");
}

TEST(SetItemProperties, FlagsComeFromTheMessageAndItsReadState)
{
    const auto flags = [](std::string_view text) {
        MessageHeader header = ParseText(text);
        IndexItemPropertyContainer item;
        MessageHeader_SetItemProperties(item, header, false);
        return Text(item, "FLAGSTATUS");
    };
    EXPECT_EQ(flags("\r\n"), "\\RECENT");
    EXPECT_EQ(flags("X-Read: 1\r\n\r\n"), "\\SEEN");
    EXPECT_EQ(flags("X-VLTempFlags: \\FLAGGED\r\n\r\n"), "\\FLAGGED \\RECENT");
    EXPECT_EQ(flags("X-Read: 1\r\nX-VLTempFlags: \\FLAGGED\r\n\r\n"), "\\FLAGGED \\SEEN");
    EXPECT_EQ(flags("X-VLTempFlags: \\recent\r\n\r\n"), "\\recent");
}

TEST(SetItemProperties, AReadMessageWithAnEmptyListIsRecent)
{
    MessageHeader header = ParseText("X-Read: 1\r\nX-VLTempFlags: \r\n\r\n");
    IndexItemPropertyContainer item;
    MessageHeader_SetItemProperties(item, header, false);
    EXPECT_EQ(Text(item, "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(Text(item, "READ"), "1");
}

TEST(ParseMessageHeadersOfAFile, TellsTheLastWriteInDosForm)
{
    const TempDirectory directory;
    const std::string path = directory.Str() + "/a.MAI";
    WriteFileBytes(path, "Subject: from a file\r\n\r\n");
    MessageHeader header;
    ASSERT_EQ(ReadMessageHeaders(path, header, {}), MessageRead::Whole);
    EXPECT_STREQ(header.Subject, "from a file");
    EXPECT_GT(header.ModifiedDate >> 16, 0x5000u);  // some day behind 2020
}

TEST(ParseMessageHeadersOfAFile, ThatCannotBeOpenedChangesNothing)
{
    const TempDirectory directory;
    MessageHeader header;
    header.TempFlags = "kept";
    header.ModifiedDate = 3;
    HeaderParseOptions clearing;
    clearing.clearTempFlags = true;
    EXPECT_EQ(ReadMessageHeaders(directory.Str() + "/none.MAI", header, clearing), MessageRead::NoMessage);
    std::filesystem::create_directory(directory / "dir.MAI");
    EXPECT_NE(ReadMessageHeaders(directory.Str() + "/dir.MAI", header, clearing), MessageRead::Whole);
    EXPECT_EQ(header.TempFlags, "kept");
    EXPECT_EQ(header.ModifiedDate, 3u);
}

}  // namespace
}  // namespace velmora::test
