// What an open announces to clients, and the counters of new mail beside it.
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

TEST_F(OpenLife, NotificationModeFourAnnouncesTheOpen)
{
    store.SetNumber("Store Event Notification Mode", 4);
    MakeIndexedInbox();
    HostRecord record("INBOX");
    NoticeLog notices;
    const std::string mailbox = record.Path().substr(0, record.Path().size() - std::string("\\INBOX").size());
    const NoticeLog::Notice notice{mailbox, "INBOX", "COMMIT", 1023u};
    StoreIndex_Open(&record, 1);
    EXPECT_EQ(notices.Seen(), (std::vector{notice}));
    StoreIndex_Open(&record, 6);
    EXPECT_EQ(notices.Seen(), (std::vector{notice, notice}));
    for (const uint32_t mode : {0u, 2u, 3u, 4u, 5u, 7u}) StoreIndex_Open(&record, mode);
    EXPECT_EQ(notices.Seen().size(), 2u) << "only the modes 1 and 6 announce";
}

TEST_F(OpenLife, WithoutNotificationModeFourNothingIsAnnounced)
{
    store.SetNumber("Store Event Notification Mode", 3);
    MakeIndexedInbox();
    HostRecord record("INBOX");
    NoticeLog notices;
    StoreIndex_Open(&record, 1);
    EXPECT_TRUE(notices.Seen().empty());
}

TEST_F(OpenLife, AFolderOutsideTheMailboxesIsNotAnnounced)
{
    store.SetNumber("Store Event Notification Mode", 4);
    store.MakeFolder("INBOX");
    Attach();
    HostRecord record("$VCFROOT");
    NoticeLog notices;
    StoreIndex_Open(&record, 1);
    EXPECT_TRUE(notices.Seen().empty());
}

TEST_F(OpenLife, AnOpenOfAPlacedInboxLeavesTheNewMailCounters)
{
    MakeIndexedInbox();
    WriteFileBytes(inbox.parent_path() / "_5.NEW", "");
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_TRUE(FileExists(inbox.parent_path() / "_5.NEW"));
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

TEST_F(OpenLife, ABareInboxPathHasNoMailboxWhoseCountersCouldBeTaken)
{
    MakeIndexedInbox();
    const fs::path box = inbox.parent_path();
    WriteFileBytes(box / "_5.NEW", "");
    const fs::path before = fs::current_path();
    fs::current_path(box);
    for (const char* const path : {"INBOX", "Inbox"}) {
        HostRecord record("INBOX");
        CopyBounded(record->Path, path);
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
        EXPECT_EQ(record.Count(), 2u);
    }
    fs::current_path(before);
    EXPECT_TRUE(FileExists(box / "_5.NEW"));
    EXPECT_FALSE(HasLinePart("Performing StoreIndex_Scan"));
}

}  // namespace
}  // namespace velmora::test
