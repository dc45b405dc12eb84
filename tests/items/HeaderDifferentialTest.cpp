// The header parser against a plain reader of the same rules, on thousands of messages made at random.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/index/Dice.h"
#include "tests/items/PlainHeader.h"

namespace velmora::test {
namespace {

std::string RandomText(Dice& dice)
{
    static const char* const kWords[] = {
        "a",  "Alma <a@example.net>",           "; ", ": ",   "7.8", "multipart/mixed", "attachment", "\\SEEN", "1",
        "\t", "Mon, 7 Feb 2011 10:00:00 +0100", " ",  "0.12", "-3"};
    std::string text;
    for (uint32_t count = dice.Below(4); count > 0; --count) text += kWords[dice.Below(std::size(kWords))];
    if (dice.OneIn(40)) text.append(dice.Below(5000), 'x');
    if (dice.OneIn(30)) text += '\0';
    if (dice.OneIn(30)) text += dice.Byte();
    return text;
}

std::string RandomLine(Dice& dice)
{
    static const char* const kNames[] = {"To:",
                                         "cc: ",
                                         "CC:",
                                         "Reply-To: ",
                                         "Sender: ",
                                         "sender:",
                                         "Subject: ",
                                         "From: ",
                                         "FROM:",
                                         "X-Read: 1",
                                         "X-UID: ",
                                         "X-UID: 7.",
                                         "X-VL-Class: ",
                                         "X-Other: ",
                                         "X-VLTempFlags: ",
                                         "X-Priority: ",
                                         "Date: ",
                                         "Message-ID: ",
                                         "Received: ",
                                         "Content-Type: ",
                                         "Content-Type: multipart/mixed; ",
                                         "Content-Disposition: ",
                                         "Content-Disposition: attachment"};
    static const std::string kLines[] = {"Received: by a; Mon, 7 Feb 2011 10:00:00 +0100", "Received: by b; Tue, 8 Feb 2011 11:00:00 +0000",
                                         "Date: Wed, 9 Feb 2011 12:00:00 -0500",
                                         // The number has its last digit behind the bytes that are read of it.
                                         "X-Priority: " + std::string(63, '0') + "45"};
    std::string line = dice.OneIn(3)   ? " "
                       : dice.OneIn(6) ? "\t"
                       : dice.OneIn(6) ? kLines[dice.Below(std::size(kLines))]
                                       : kNames[dice.Below(std::size(kNames))];
    line += RandomText(dice);
    return line + (dice.OneIn(2) ? "\r\n" : dice.OneIn(10) ? "\r\r\n" : "\n");
}

std::string RandomMessage(Dice& dice)
{
    std::string message;
    const uint32_t lines = dice.OneIn(30) ? 190 + dice.Below(20) : dice.Below(14);
    for (uint32_t line = 0; line < lines; ++line) message += RandomLine(dice);
    if (!dice.OneIn(4)) message += dice.OneIn(2) ? "\r\n" : "\n";
    for (uint32_t line = dice.Below(4); line > 0; --line) message += RandomLine(dice);
    return message;
}

TEST(HeaderDifferential, EveryFieldAndColumnIsAsThePlainReaderHasIt)
{
    const size_t steps[] = {SIZE_MAX, 1, 3, 64, 2047, 8191};
    for (uint64_t seed = 1; seed <= 6000; ++seed) {
        Dice dice(seed);
        const std::string message = RandomMessage(dice);
        HeaderCircumstances circumstances;
        circumstances.folderUid = dice.OneIn(2) ? 7 : 0;
        circumstances.tempFlags = dice.OneIn(2) ? "\\FLAGGED" : "";
        circumstances.clearTempFlags = dice.OneIn(2);
        circumstances.honourUid = !dice.OneIn(3);
        circumstances.step = steps[dice.Below(std::size(steps))];
        ASSERT_EQ(HeaderDisagreement(message, circumstances), "") << "seed " << seed << "\n" << message.substr(0, 3000);
    }
}

// The plain reader itself, on a message whose columns are known.
TEST(HeaderDifferential, ThePlainReaderKnowsTheRulesThatCount)
{
    const HeaderReading reading =
        ReadHeaderPlainly("To: a\r\n b\r\nSender: s\r\nFROM: f\n g\nSubject: one\nSubject: two\nSubject: three\n\r\nSubject: body\r\n", {});
    EXPECT_EQ(reading.columns.at("TO"), "ab");
    EXPECT_EQ(reading.columns.at("FROM"), "f");
    EXPECT_EQ(reading.columns.at("SUBJECT"), "three");
    EXPECT_EQ(reading.columns.at("FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(reading.columns.at("RECEIVED"), "");
    EXPECT_EQ(reading.fields.at("Uid"), "0");
}

}  // namespace
}  // namespace velmora::test
