// A dozen real messages with their columns worked out by hand from the bytes of the files.

#include <cstdlib>

#include "tests/tool/ToolRun.h"

namespace velmora::test {

namespace fs = std::filesystem;

namespace {

struct KnownMessage {
    const char* file;
    const char* subject;
    const char* from;
    const char* messageDate;
    const char* received;
    const char* size;
    const char* attachments;
};

constexpr KnownMessage kKnownMessages[] = {
    {"attachment_emails-attachment_content_disposition.eml", "testing", "foo@example.com", "2005-06-06T20:21:22", "2005-06-06T20:21:22",
     "691", "1"},
    // The first three "Received:" lines have their date on a folded line, where it is not looked for.
    {"attachment_emails-attachment_pdf.eml", "Another PDF with \xF0\x9F\x8E\x89 Unicode chars in it \xF0\x9F\x8D\xBF",
     "Test Tester <xxxx@xxxx.com>", "2005-05-10T17:26:39", "2005-05-10T17:26:39", "3819", "1"},
    {"mime_emails-raw_email2.eml", "Fwd: Signed email causes file attachments", "xxxxxxxxx xxxxxxx <xxxxxxxxx.xxxxxxx@gmail.com>",
     "2005-05-08T19:09:11", "2005-05-08T19:09:11", "6518", "1"},
    // Two subjects, the second right behind the first: it ends the first one and is not read itself.
    {"mime_emails-raw_email_with_binary_encoded.eml", "Testing outlook", "Mikel Lindsaar <email_test@me.nowhere>", "2007-10-21T09:38:13",
     "2007-10-21T09:38:21", "1260", "0"},
    {"plain_emails-raw_email.eml", "=?EUC-KR?Q?NOTE:_=C7=D1=B1=B9=B8=BB=B7=CE_=C7=CF=B4=C2_=B0=CD?=", "Jamis Buck <jamis@37signals.com>",
     "2005-05-02T22:07:05", "2005-05-02T22:07:05", "558", "0"},
    {"plain_emails-raw_email_string_in_date_field.eml", "=?EUC-KR?Q?NOTE:_=C7=D1=B1=B9=B8=BB=B7=CE_=C7=CF=B4=C2_=B0=CD?=", "mikel@me.com",
     "2008-09-20T17:04:30", "2008-09-20T17:04:30", "711", "0"},
    // A subject of nine lines joins with nothing in between; of "From:" only the first line counts.
    {"error_emails-bad_subject.eml",
     "=?UTF-8?B?TXlTdXJ2ZXk=?==?UTF-8?B?LmNvbTogIFk=?==?UTF-8?B?b3UgaGF2ZSA=?==?UTF-8?B?YSBzdXJ2ZXk=?==?UTF-8?B?IHdhaXRpbmc=?="
     "=?UTF-8?B?ISAg?==?UTF-8?Q?91123105?==?UTF-8?B?"
     "?=",
     "=?UTF-8?B?TXlTdXJ2ZXk=?=", "2010-12-15T17:21:20", "2010-12-15T17:21:20", "2731", "0"},
    {"error_emails-bad_encoded_subject.eml", "=?NONE?B?VEVTVA=?=", "", "", "", "37", "0"},
    {"error_emails-cant_parse_from.eml", "Meet the new MacBook Pro family. Now includes 13-inch.", "Apple <News@InsideApple.Apple.com>",
     "2009-06-12T06:25:02", "2009-06-12T06:25:02", "1109", "0"},
    {"rfc2822-example01.eml", "Saying Hello", "John Doe <jdoe@machine.example>", "1997-11-21T15:55:06", "1997-11-21T15:55:06", "232", "0"},
    // "Sender:" behind "From:" does not count.
    {"rfc2822-example02.eml", "Saying Hello", "John Doe <jdoe@machine.example>", "1997-11-21T15:55:06", "1997-11-21T15:55:06", "280", "0"},
    // Blanks between the names and their colons: none of the headers is known.
    {"rfc2822-example13.eml", "", "", "", "", "304", "0"},
};

class RealMail : public ToolTest {
protected:
    void SetUp() override { MakeStore(); }
};

}  // namespace

TEST_F(RealMail, TheColumnsOfADozenMessagesAreAsReadByHand)
{
    const char* data = std::getenv("VELMORA_TEST_DATA");
    if (!data || !fs::is_directory(fs::path(data) / "mail")) GTEST_SKIP() << "VELMORA_TEST_DATA names no directory with mail in it";
    for (const KnownMessage& known : kKnownMessages) {
        SCOPED_TRACE(known.file);
        nlohmann::json rows = JsonInStore({"import", (fs::path(data) / "mail" / known.file).string(), "--to", kInbox});
        ASSERT_EQ(rows.size(), 1u);
        nlohmann::json item = JsonInStore({"item", "show", kInbox, rows[0].at("VL_ITEM_ID")}).at(0);
        EXPECT_EQ(item.at("PR_SUBJECT"), known.subject);
        EXPECT_EQ(item.at("PR_VL_FROM"), known.from);
        EXPECT_EQ(item.at("PR_VL_MESSAGEDATE"), known.messageDate);
        EXPECT_EQ(item.at("PR_VL_RECEIVED"), known.received);
        EXPECT_EQ(item.at("PR_VL_SIZE"), known.size);
        EXPECT_EQ(item.at("PR_VL_ATTACHMENTS"), known.attachments);
        EXPECT_EQ(item.at("PR_VL_READ"), "0");
        EXPECT_EQ(item.at("PR_VL_FLAGSTATUS"), "\\RECENT");
        EXPECT_EQ(item.at("PR_VL_IMPORTANCE"), "3");
    }
}

}  // namespace velmora::test
