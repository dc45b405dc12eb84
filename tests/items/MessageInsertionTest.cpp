// A message that is delivered into an open index, with what its deliverer says of it.
#include <gtest/gtest.h>

#include "common/Text.h"
#include "frame/Settings.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "index/ItemInsertion.h"
#include "items/MailScan.h"
#include "tests/items/HookedSeam.h"
#include "tests/support/TestStore.h"
#include "velmora/index.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class MessageInsertion : public testing::Test {
protected:
    void SetUp() override
    {
        folder_ = store_.MakeFolder("Inbox");
        store_.Attach();
        StoreIndex_Init(&index_);
        CopyBounded(index_.Postoffice, "po");
        CopyBounded(index_.Mailbox, "box");
        CopyBounded(index_.Folder, "Inbox");
        StoreIndex_SetPaths(&index_);
        index_.Table.LoadLevel = 3;
    }
    void TearDown() override { StoreIndex_Release(&index_); }

    void Put(const std::string& name, std::string_view headers = "Subject: s\r\n")
    {
        WriteFileBytes(folder_ / name, std::string(headers) + "\r\nbody\r\n");
    }
    uint64_t Insert(const std::string& name, bool clearTempFlags = false, uint32_t readHeaders = 1)
    {
        return InsertItemFromFile(index_, name.c_str(), readHeaders, clearTempFlags, header_);
    }
    std::string Column(const std::string& id, std::string_view column)
    {
        std::string text = "(no item)";
        if (const IndexItemPropertyContainer* const item = FindLoadedItem(index_.Table, id)) {
            text = "(no column)";
            item->GetText(column, text);
        }
        return text;
    }

    TestStore store_;
    std::filesystem::path folder_;
    STOREINDEXTYPE index_;
    InsertionHeader header_;
};

TEST_F(MessageInsertion, HasTheColumnsOfItsHeaderAndTheSizeOfItsFile)
{
    Put("1.MAI", "From: a@example.org\r\nSubject: hello\r\nX-Priority: 0\r\n");
    ASSERT_EQ(Insert("1.MAI", true), 1u);
    EXPECT_EQ(Column("1.MAI", "SUBJECT"), "hello");
    EXPECT_EQ(Column("1.MAI", "FROM"), "a@example.org");
    EXPECT_EQ(Column("1.MAI", "IMPORTANCE"), "3");
    EXPECT_EQ(Column("1.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(Column("1.MAI", "READ"), "0");
    EXPECT_EQ(Column("1.MAI", "STATE"), "0");
    EXPECT_EQ(Column("1.MAI", "VL_STATUS"), "(no column)");
    const auto size = std::filesystem::file_size(folder_ / "1.MAI");
    EXPECT_EQ(Column("1.MAI", "SIZE"), std::to_string(size));
    EXPECT_EQ(header_.Size, static_cast<int32_t>(size));
}

TEST_F(MessageInsertion, IsTheItemThatAScanOfItsFileFindsUnchanged)
{
    Put("1.MAI");
    ASSERT_EQ(Insert("1.MAI", true), 1u);
    MessageListing files;
    files.Read(folder_.string(), 100);
    uint32_t opens = 0;
    const HookedSeam seam([&](FileOperation operation, std::string_view path, uint64_t) {
        if (operation == FileOperation::Open && path.ends_with(".MAI")) ++opens;
        return platform::FileVerdict{};
    });
    ReconcileMessages(index_.Table, folder_.string(), files, 100);
    EXPECT_EQ(opens, 0u);
    EXPECT_EQ(ItemCountOf(index_.Table), 1u);
}

TEST_F(MessageInsertion, WithASizeInFrontOfItsFlagsHasThatSizeAndNoFlags)
{
    Put("1.MAI", "Subject: s\r\nX-VLTempFlags: SIZE=123 \\FLAGGED\r\n");
    Put("2.MAI", "Subject: s\r\nX-VLTempFlags: SIZE=lots\r\n");
    ASSERT_EQ(Insert("1.MAI", true), 1u);
    EXPECT_EQ(Column("1.MAI", "SIZE"), "123");
    EXPECT_EQ(Column("1.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(header_.Size, 123);
    ASSERT_EQ(Insert("2.MAI", true), 1u);
    EXPECT_EQ(Column("2.MAI", "SIZE"), "0");
}

TEST_F(MessageInsertion, WithASizeBehindAFlagHasTheSizeOfItsFile)
{
    Put("1.MAI", "X-VLTempFlags: \\SEEN SIZE=123\r\n");
    ASSERT_EQ(Insert("1.MAI", true), 1u);
    EXPECT_EQ(Column("1.MAI", "SIZE"), std::to_string(std::filesystem::file_size(folder_ / "1.MAI")));
    EXPECT_EQ(Column("1.MAI", "FLAGSTATUS"), "\\SEEN SIZE=123 \\RECENT");
}

TEST_F(MessageInsertion, TakesTheSizeOfItsDelivererInPlaceOfTheFilesOwn)
{
    Put("1.MAI");
    header_.TempFlags = "SIZE=77";
    ASSERT_EQ(Insert("1.MAI"), 1u);
    EXPECT_EQ(Column("1.MAI", "SIZE"), "77");
    EXPECT_EQ(header_.TempFlags, "");
}

TEST_F(MessageInsertion, TakesTheFlagsOfItsDeliverer)
{
    Put("1.MAI");
    header_.TempFlags = "\\FLAGGED";
    header_.Read = 1;
    ASSERT_EQ(Insert("1.MAI"), 1u);
    EXPECT_EQ(Column("1.MAI", "FLAGSTATUS"), "\\FLAGGED \\SEEN");
    EXPECT_EQ(Column("1.MAI", "READ"), "1");
}

TEST_F(MessageInsertion, DropsThemWhenItIsToldTo)
{
    Put("1.MAI");
    header_.TempFlags = "\\FLAGGED";
    ASSERT_EQ(Insert("1.MAI", true), 1u);
    EXPECT_EQ(Column("1.MAI", "FLAGSTATUS"), "\\RECENT");
    EXPECT_EQ(header_.TempFlags, "");
}

TEST_F(MessageInsertion, HandsReadAndItsFlagsOnToTheNextEntryAndNothingElse)
{
    Put("1.MAI", "To: t\r\nSubject: first\r\nX-Priority: 1\r\nX-VLTempFlags: \\FLAGGED\r\nX-Read: 1\r\n");
    Put("2.MAI", "From: second\r\n");
    ASSERT_EQ(Insert("1.MAI"), 1u);
    EXPECT_EQ(header_.Read, 1);
    EXPECT_EQ(header_.TempFlags, "\\FLAGGED \\SEEN");
    ASSERT_EQ(Insert("2.MAI"), 1u);
    EXPECT_EQ(Column("2.MAI", "SUBJECT"), "");
    EXPECT_EQ(Column("2.MAI", "TO"), "");
    EXPECT_EQ(Column("2.MAI", "IMPORTANCE"), "3");
    EXPECT_EQ(Column("2.MAI", "READ"), "1");
    EXPECT_EQ(Column("2.MAI", "FLAGSTATUS"), "\\FLAGGED \\SEEN");
}

TEST_F(MessageInsertion, GetsTheNextUidOfTheFolderWhateverItsFileSays)
{
    store_.SetNumber("UID Branding Enabled", 1);
    ForgetCachedSettings();
    const uint32_t folderUid = GetFolderUniqueId(folder_.string());
    const std::string branded = "Subject: s\r\nX-UID: " + std::to_string(folderUid) + ".70\r\n";
    Put("1.MAI", branded);
    const std::string before = ReadFileBytes(folder_ / "1.MAI");
    index_.Table.LastUID = 40;
    ASSERT_EQ(Insert("1.MAI", true), 1u);
    EXPECT_EQ(Column("1.MAI", "UID"), "41");
    EXPECT_EQ(index_.LoadedLastUID, 41u);
    EXPECT_EQ(ReadFileBytes(folder_ / "1.MAI"), before);
}

TEST_F(MessageInsertion, WithoutItsHeaderIsAnIdAndAUidAndNoFileIsLookedAt)
{
    for (const uint32_t readHeaders : {0u, 2u}) {
        const std::string name = "gone" + std::to_string(readHeaders) + ".MAI";
        header_.TempFlags = "\\FLAGGED";
        uint32_t looks = 0;
        {
            const HookedSeam seam([&](FileOperation, std::string_view path, uint64_t) {
                if (path.ends_with(".MAI")) ++looks;
                return platform::FileVerdict{};
            });
            ASSERT_EQ(Insert(name, true, readHeaders), 1u);
        }
        EXPECT_EQ(looks, 0u);
        ASSERT_NE(FindLoadedItem(index_.Table, name), nullptr);
        EXPECT_NE(Column(name, "UID"), "0");
        EXPECT_EQ(Column(name, "SUBJECT"), "(no column)");
        EXPECT_EQ(Column(name, "FLAGSTATUS"), "(no column)");
        EXPECT_EQ(header_.Size, 0);
    }
}

TEST_F(MessageInsertion, ThatCannotBeReadInsertsNothingAndAnswersZero)
{
    Put("1.MAI");
    header_.TempFlags = "\\FLAGGED";
    header_.Size = 9;
    EXPECT_EQ(Insert("gone.MAI"), 0u);
    EXPECT_EQ(header_.Size, 0);
    EXPECT_EQ(header_.TempFlags, "\\FLAGGED");
    {
        const HookedSeam seam(FailReadsOf("1.MAI"));
        EXPECT_EQ(Insert("1.MAI"), 0u);
    }
    {
        const HookedSeam seam(FailOn(FileOperation::Open, "1.MAI", 32));
        EXPECT_EQ(Insert("1.MAI"), 0u);
    }
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
    EXPECT_EQ(index_.Table.LastUID, 0u);
    EXPECT_EQ(index_.InsertItem.Item, nullptr);
    EXPECT_EQ(Insert("1.MAI"), 1u);
}

TEST_F(MessageInsertion, WithANameThatAnItemCannotHaveIsRefused)
{
    const std::string longest = std::string(59, 'n') + ".MAI";
    const std::string tooLong = "n" + longest;
    Put(longest);
    Put(tooLong);
    EXPECT_EQ(Insert(tooLong), 0u);
    EXPECT_EQ(Insert(tooLong, true, 0), 0u);
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
    EXPECT_EQ(Insert(longest), 1u);
    EXPECT_EQ(Column(longest, "ID"), longest);
}

TEST_F(MessageInsertion, WithANameThatTheFolderItselfUsesIsRefused)
{
    for (const char* const name : {"_index.xml", "_FOLDER.DAT", "_1.MAI", ".1.MAI"}) {
        Put(name);
        EXPECT_EQ(Insert(name), 0u) << name;
    }
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
}

TEST_F(MessageInsertion, ThatLiesInAnotherDirectoryIsRefused)
{
    WriteFileBytes(store_.MakeFolder("Sent") / "9.MAI", "Subject: s\r\n\r\n");
    EXPECT_EQ(Insert("..\\Sent\\9.MAI"), 0u);
    EXPECT_EQ(Insert("../Sent/9.MAI"), 0u);
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
}

}  // namespace
}  // namespace velmora::test
