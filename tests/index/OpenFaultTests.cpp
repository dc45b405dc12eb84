// An open in which something fails: a folder that cannot be listed, a message that cannot be read, a full disk, damage.
#include "common/Exception.h"
#include "tests/index/LifeFixture.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

// The flag is taken before the scan that it asks for, so a scan that cannot list the folder sets another.
TEST_F(OpenLife, AScanThatCannotListTheFolderAsksForAnother)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX");
    {
        WatchedFiles files;
        files.fail = [](FileOperation operation, std::string_view path) {
            return operation == FileOperation::Search && path.ends_with("*.MAI") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    }
    EXPECT_TRUE(HasLineAt(8, CheckDirtyLine(record)));
    EXPECT_EQ(record.Count(), 2u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
    ForgetLines();
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_TRUE(HasLineAt(8, CheckDirtyLine(record)));
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
}

// A message that nobody may read, in an inbox of three.
class UnreadMessage : public OpenLife {
protected:
    UnreadMessage()
    {
        MakeIndexedInbox();
        PutMail(inbox, "3.MAI");
        WriteFileBytes(inbox / "_CHANGE.DTY", "");
        files.fail = [this](FileOperation operation, std::string_view path) {
            if (operation == FileOperation::Search && path.ends_with("*.MAI")) ++listings;
            const bool refused = operation == FileOperation::Open && path.ends_with("3.MAI");
            opens += refused;
            return refused ? uint32_t{5} : 0u;
        };
    }
    WatchedFiles files;
    uint32_t listings = 0;
    uint32_t opens = 0;
};

TEST_F(UnreadMessage, CostsOneScanAnOpenAndNoRewrite)
{
    for (const uint32_t mode : {1u, 1u, 2u, 1u}) {
        HostRecord record("INBOX");
        // A scan of mode 2 does not take the flag, and a load that meets one scans again.
        if (mode == 2) fs::remove(inbox / "_CHANGE.DTY");
        listings = opens = 0;
        EXPECT_EQ(StoreIndex_Open(&record, mode), 1u);
        EXPECT_EQ(listings, 1u) << mode;
        EXPECT_EQ(opens, 1u) << mode;
        EXPECT_EQ(record.Count(), 2u);
        EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY")) << "a later open looks again";
    }
    files.fail = nullptr;
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u);
    EXPECT_FALSE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(UnreadMessage, MarksTheFolderBehindAScanOfTheHosts)
{
    HostRecord record("INBOX");
    fs::remove(inbox / "_CHANGE.DTY");
    EXPECT_EQ(StoreIndex_Scan(&record), 1u);
    EXPECT_TRUE(FileExists(inbox / "_CHANGE.DTY"));
}

TEST_F(OpenLife, ADiskThatFillsUpBehindTheScanLosesNoIndex)
{
    MakeIndexedInbox();
    PutMail(inbox, "3.MAI");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    {
        HostRecord record("INBOX");
        WatchedFiles files;
        bool full = false;
        files.fail = [&](FileOperation operation, std::string_view path) {
            // The last file of a scan.
            if (operation == FileOperation::Open && path.ends_with("_FOLDER.DAT")) full = true;
            return full && operation == FileOperation::Write ? uint32_t{112} : 0u;
        };
        EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
        EXPECT_TRUE(full);
        EXPECT_EQ(record.Count(), 3u);
    }
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 1u);
    EXPECT_EQ(record.Count(), 3u);
}

TEST_F(OpenLife, ADamagedFileLeavesTheRecordUnloaded)
{
    inbox = store.MakeFolder("INBOX");
    PutIndex(inbox, 2, Element("1.MAI", 1) + "<ELEMENT ID=\"2.MAI\" UID=");
    Attach();
    HostRecord record("INBOX");
    EXPECT_EQ(StoreIndex_Open(&record, 5), 0u);
    EXPECT_EQ(record->Table.LoadLevel, 0);
}

TEST_F(OpenLife, AFolderThatDoesNotExistFailsAtOnce)
{
    store.MakeFolder("INBOX");
    Attach();
    HostRecord record("nowhere");
    EXPECT_EQ(StoreIndex_Open(&record, 1), 0u);
    EXPECT_TRUE(clock.Sleeps().empty());
    EXPECT_TRUE(log.HasTrace("StoreIndex_Open::Error opening store index in: " + record.Path() + "\n"));
}

TEST_F(OpenLife, AnExceptionIsReportedAndGoesOnToTheCaller)
{
    MakeIndexedInbox();
    HostRecord record("INBOX");
    GiveAbandonedMutex(*record);
    EXPECT_THROW(StoreIndex_Open(&record, 5), Exception);
    ASSERT_FALSE(log.Traces().empty());
    EXPECT_EQ(log.Traces().back().rfind("StoreIndex_Open handled an exception; session will be dropped.\nThe exception was: ", 0), 0u);
    EXPECT_TRUE(log.HasEvent("StoreIndex_Open handled an exception; session will be dropped.\n"));
}

}  // namespace
}  // namespace velmora::test
