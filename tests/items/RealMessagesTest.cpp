// Messages as they arrive in the world, broken ones among them. They lie outside the project, in the directory that
// VELMORA_TEST_DATA names.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "items/MailScan.h"
#include "items/MessageHeader.h"
#include "tests/support/TestStore.h"

namespace velmora::test {
namespace {

class RealMessages : public testing::Test {
protected:
    void SetUp() override
    {
        const char* const data = std::getenv("VELMORA_TEST_DATA");
        if (!data) GTEST_SKIP() << "VELMORA_TEST_DATA names no directory with messages";
        mail_ = std::filesystem::path(data) / "mail";
        for (const auto& entry : std::filesystem::directory_iterator(mail_))
            if (entry.path().extension() == ".eml") files_.push_back(entry.path());
        std::sort(files_.begin(), files_.end());
        ASSERT_GE(files_.size(), 100u);
    }

    std::filesystem::path mail_;
    std::vector<std::filesystem::path> files_;
};

TEST_F(RealMessages, EveryHeaderIsTheBeginningOfItsFile)
{
    for (const auto& path : files_) {
        const std::string bytes = ReadFileBytes(path);
        MessageHeader header;
        ASSERT_EQ(ReadMessageHeaders(path.string(), header, {}), MessageRead::Whole) << path;
        EXPECT_FALSE(header.HeaderText.empty()) << path;
        EXPECT_EQ(bytes.compare(0, header.HeaderText.size(), header.HeaderText), 0) << path;
        EXPECT_NE(header.ModifiedDate, 0u) << path;
        // The header block ends at the first empty line, wherever that is.
        const size_t crlf = bytes.find("\r\n\r\n");
        if (crlf == std::string::npos || bytes.find("\n\n") != std::string::npos) continue;
        EXPECT_EQ(header.HeaderText.size(), crlf) << path;
    }
}

TEST_F(RealMessages, EveryMessageIsIndexedByAScan)
{
    TestStore store;
    const auto folder = store.MakeFolder("Inbox");
    for (size_t i = 0; i < files_.size(); ++i) std::filesystem::copy_file(files_[i], folder / (std::to_string(1000 + i) + ".MAI"));
    SORTEDSTOREINDEXTYPE table;
    EXPECT_EQ(ScanFoldersOrdered(nullptr, table, folder.string(), kScanTakesBlock, 0), 1u);
    EXPECT_EQ(ItemCountOf(table), files_.size());
    for (size_t i = 0; i < files_.size(); ++i) {
        const IndexItemPropertyContainer* const item = FindLoadedItem(table, std::to_string(1000 + i) + ".MAI");
        ASSERT_NE(item, nullptr) << files_[i];
        EXPECT_EQ(item->Uid(), i + 1) << files_[i];
        EXPECT_EQ(static_cast<uint64_t>(item->GetNumber(kSize)), std::filesystem::file_size(files_[i])) << files_[i];
    }
    UnInit(table);
    delete table.Content;
}

struct Pinned {
    const char* file;
    const char* from;
    const char* to;
    const char* cc;
    const char* subject;
    const char* messageDate;
    const char* received;
    int32_t attachments;
};

// Read off the files by eye.
const Pinned kPinned[] = {
    // Plain.
    {"rfc2822-example05.eml", "John Doe <jdoe@machine.example>", "Mary Smith <mary@example.net>", "", "Saying Hello", "1997-11-21T15:55:06",
     "1997-11-21T15:55:06", 0},
    // Every Received line has its date folded away.
    {"plain_emails-basic_email.eml", "Mikel Lindsaar <test@lindsaar.net>", "Mikel Lindsaar <raasdnil@gmail.com>", "", "Testing 123",
     "2008-11-22T04:04:59", "2008-11-22T04:04:59", 0},
    // A year behind 3000: written as it stands, the month one too low.
    {"plain_emails-raw_email_bad_time.eml", "\"=?windows-1251?B?wPLo6u7iYQ==?=\" <yusuf75thu@auracom.net>", "<abcdefg@AAAAAAAAA.net>", "",
     "[0]: XXXXXXX XXXXX XXXXX !", "3609-05-30T15:33:50", "3609-05-30T15:33:50", 0},
    {"error_emails-header_fields_with_empty_values.eml", "=?iso-8859-1?Q?J=F8rn_St=F8ylen?= <jorn@prikkprikkprikk.no>",
     "AF Test <aftest@adfontesmedier.no>", "", "Testmail", "2009-10-30T19:07:42", "2009-10-30T19:07:42", 0},
    // multipart/mixed with an attachment part.
    {"attachment_emails-attachment_content_disposition.eml", "foo@example.com", "blah@example.com", "", "testing", "2005-06-06T20:21:22",
     "2005-06-06T20:21:22", 1},
    // A Received line with its date.
    {"multi_charset-japanese_attachment.eml", "Mikel Lindsaar <raasdnil@gmail.com>", "Mikel Lindsaar <raasdnil@gmail.com>", "", "testing",
     "2009-10-16T12:39:34", "2009-10-16T12:39:34", 1},
    // A subject over four lines, one of them blank; a first line that is no header.
    {"rfc2822-example14.eml", "Atsushi Yoshida <atsushi@example.com>", "rudeboyjet@gmail.com", "",
     "Re: TEST=?ISO-2022-JP?B?GyRCJUYlOSVIGyhC?= =?ISO-2022-JP?B?GyRCJUYlOSVIGyhC?=", "2011-08-19T01:47:17", "2011-08-19T01:47:17", 0},
    // No date at all, two content types.
    {"error_emails-multiple_content_types.eml", "<redacted@flashmail.net>", "<redacted@Enron.com>", "", "Redacted", "", "", 0},
    // No subject; a sender behind the author; three Received lines with dates.
    {"plain_emails-raw_email5.eml", "xxx@xxxx.xxx", "xxxxxxxxxxx@xxxx.xxxx.xxx", "", "", "2005-05-10T20:27:03", "2005-05-10T20:27:05", 0},
    // An inline part before the attached one; a comment behind the zone.
    {"attachment_emails-attachment_message_rfc822_inline_image.eml", "test@example.com", "foo@example.com", "", "test",
     "2020-04-21T13:40:22", "2020-04-21T13:40:22", 1},
    {"rfc2822-example03.eml", "\"Joe Q. Public\" <john.q.public@example.com>",
     "Mary Smith <mary@x.test>, jdoe@example.org, Who? <one@y.test>", R"(<boss@nil.test>, "Giant; \"Big\" Box" <sysservices@example.net>)",
     "", "2003-07-01T08:52:37", "2003-07-01T08:52:37", 0},
    // A year before 1970: written as it stands, the month one too low.
    {"rfc2822-example04.eml", "Pete <pete@silly.example>", "A Group:Chris Jones <c@a.test>,joe@where.test,John <jdoe@one.test>;",
     "Undisclosed recipients:;", "", "1969-01-13T23:32:54", "1969-01-13T23:32:54", 0},
    // A date that lost its hour; a sender before the author; an empty Cc.
    {"error_emails-bad_date_header2.eml", "\"Free-Quilting.com\" <enews@Free-Quilting.com>", "<someone@live.com>", "",
     "40% OFF holiday patterns and fabric!", "", "", 0},
    // A month that is none is December.
    {"plain_emails-raw_email_with_bad_date.eml", "\"Darrell Shaw\" <subventive@vodtravel.com>", "<sydney@xxxxxxxx.xxx>", "",
     "Microsoft Vlsta & Office2007, Just released for 79$ Save 1599.95$ 0ff Retai|", "2007-12-29T20:13:00", "2007-12-29T20:13:00", 0},
    // A zone that is none is UTC; bytes above 127.
    {"error_emails-trademark_character_in_subject.eml", "j@yahoo-example.com",
     "c@ra-example.com,e-r-w-a-4462@app.ar.com,leads@ga-example.com", "", "GA.com\xC3\xB4 has a lead for you", "2010-10-12T16:21:05",
     "2010-10-12T16:21:05", 0},
    // The sixth Received line is the first with its date, and has no day name.
    {"error_emails-empty_group_lists.eml", "Cecil Edwards <ceciledwards@sbcglobal.net>", "undisclosed recipients: ;", "",
     "Western Union Swift Money Transfer", "2009-12-03T18:50:22", "2009-12-03T18:50:22", 0},
    // Lines that end with LF alone.
    {"attachment_emails-attachment_pdf_lf.eml", "Test Tester <xxxx@xxxx.com>", "xxxx@xxxx.com, xxxx@xxxx.com", "",
     "Another PDF with \xF0\x9F\x8E\x89 Unicode chars in it \xF0\x9F\x8D\xBF", "2005-05-10T17:26:39", "2005-05-10T17:26:39", 1},
};

TEST_F(RealMessages, HaveTheColumnsThatAReaderSees)
{
    for (const Pinned& expected : kPinned) {
        SCOPED_TRACE(expected.file);
        MessageHeader header;
        ASSERT_EQ(ReadMessageHeaders((mail_ / expected.file).string(), header, {}), MessageRead::Whole);
        EXPECT_STREQ(header.From, expected.from);
        EXPECT_EQ(header.To, expected.to);
        EXPECT_EQ(header.Cc, expected.cc);
        EXPECT_STREQ(header.Subject, expected.subject);
        EXPECT_STREQ(header.MessageDate, expected.messageDate);
        EXPECT_STREQ(header.Received, expected.received);
        EXPECT_EQ(header.Attachments, expected.attachments);
        EXPECT_EQ(header.Importance, 3);
        EXPECT_EQ(header.Read, 0);
        EXPECT_EQ(header.TempFlags, "");
    }
}

}  // namespace
}  // namespace velmora::test
