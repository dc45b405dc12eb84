// Groups: their text, and how a new one gets into the index and what becomes of its file.
#include "items/GroupItem.h"

#include <gtest/gtest.h>

#include "common/Text.h"
#include "index/IndexTable.h"
#include "tests/items/HookedSeam.h"
#include "tests/support/TestStore.h"
#include "velmora/index.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

TEST(GroupText, TheFirstLineNamesTheGroupAndTheRestRemains)
{
    const GroupText text = ParseGroupText("NAME:Board\r\na@example.org\r\nb@example.org\r\n");
    EXPECT_TRUE(text.named);
    EXPECT_EQ(text.name, "Board");
    EXPECT_EQ(text.rest, "a@example.org\r\nb@example.org\r\n");
}

TEST(GroupText, TheMarkCountsInAnyCaseAndAnywhereInTheLine)
{
    EXPECT_EQ(ParseGroupText("X-name: The Board \r\nrest").name, " The Board ");
    EXPECT_EQ(ParseGroupText("NAME:NAME:x\r\n").name, "NAME:x");
    EXPECT_EQ(ParseGroupText("NAME:\r\nrest").name, "");
    EXPECT_TRUE(ParseGroupText("NAME:\r\nrest").named);
}

TEST(GroupText, ALaterLineNamesNothing)
{
    const std::string_view text = "a@example.org\r\nNAME:Board\r\n";
    EXPECT_FALSE(ParseGroupText(text).named);
    EXPECT_EQ(ParseGroupText(text).rest, text);
    EXPECT_FALSE(ParseGroupText("").named);
    EXPECT_FALSE(ParseGroupText("\r\nNAME:x").named);
}

TEST(GroupText, WithNoLineEndTheWholeTextIsTheFirstLine)
{
    const GroupText text = ParseGroupText("NAME:Board\na@example.org\n");
    EXPECT_EQ(text.name, "Board\na@example.org\n");
    EXPECT_EQ(text.rest, "");
}

TEST(GroupText, TheFirstLineCountsUpTo1023Bytes)
{
    const std::string long1 = "NAME:" + std::string(2000, 'n');
    EXPECT_EQ(ParseGroupText(long1 + "\r\nrest").name, std::string(1018, 'n'));
    EXPECT_EQ(ParseGroupText(long1 + "\r\nrest").rest, "rest");
    EXPECT_EQ(ParseGroupText(long1).name.size() + ParseGroupText(long1).rest.size(), 2000u) << "with no line end nothing is lost";
    const std::string late = std::string(1019, 'x') + "NAME:y\r\nrest";
    EXPECT_FALSE(ParseGroupText(late).named);
    EXPECT_EQ(ParseGroupText(late).rest, late);
}

TEST(GroupText, ANameEndsAtAZeroByteAndTheRestDoesNot)
{
    const GroupText text = ParseGroupText(std::string_view("NAME:a\0b\r\nc\0d", 13));
    EXPECT_EQ(text.name, "a");
    EXPECT_EQ(text.rest, std::string_view("c\0d", 3));
}

class GroupItem : public testing::Test {
protected:
    void SetUp() override
    {
        folder_ = store_.MakeFolder("Inbox");
        store_.Attach();
        StoreIndex_Init(&index_);
        CopyBounded(index_.Postoffice, "po");
        CopyBounded(index_.Mailbox, "box");
        CopyBounded(index_.Folder, "Inbox");
        index_.IndexKind = kKindGroups;
        StoreIndex_SetPaths(&index_);
        index_.Table.LoadLevel = 3;
        WriteFileBytes(folder_ / "a.GRP", kFile);
    }
    void TearDown() override { StoreIndex_Release(&index_); }

    uint64_t Insert(const char* name)
    {
        InsertionHeader header;
        return InsertItemFromFile(index_, name, 1, false, header);
    }
    // What a save does behind itself.
    void Save() { RunStepsAfterSave(index_.Table); }
    std::string Name(const char* id)
    {
        std::string text = "(no item)";
        if (const IndexItemPropertyContainer* const item = FindLoadedItem(index_.Table, id)) {
            text = "(no column)";
            item->GetText("NAME", text);
        }
        return text;
    }
    std::string File(const char* name = "a.GRP") { return ReadFileBytes(folder_ / name); }
    std::vector<std::string> Files() { return FileNames(folder_); }

    static constexpr char kFile[] = "NAME:Board\r\na@example.org\r\nb@example.org\r\n";
    static constexpr char kRest[] = "a@example.org\r\nb@example.org\r\n";
    const std::vector<std::string> onlyItself_{"a.GRP"};
    TestStore store_;
    std::filesystem::path folder_;
    STOREINDEXTYPE index_;
};

TEST_F(GroupItem, GetsItsNameAndItsFileKeepsTheRest)
{
    EXPECT_EQ(Insert("a.GRP"), 1u);
    EXPECT_EQ(Name("a.GRP"), "Board");
    EXPECT_EQ(File(), kFile) << "until the index file has the name";
    Save();
    EXPECT_EQ(File(), kRest);
    EXPECT_EQ(Files(), onlyItself_);
    EXPECT_EQ(index_.InsertItem.Class, kKindGroups);
    EXPECT_EQ(FindLoadedItem(index_.Table, "a.GRP")->Uid(), 1u);
    EXPECT_FALSE(FindLoadedItem(index_.Table, "a.GRP")->Has("VL_STATUS"));
}

TEST_F(GroupItem, ThroughTheExportIsTheSame)
{
    EXPECT_EQ(StoreIndex_InsertItem(&index_, "a.GRP", 0), 1u);
    EXPECT_EQ(Name("a.GRP"), "Board");
    Save();
    EXPECT_EQ(File(), kRest);
}

TEST_F(GroupItem, WithoutANameKeepsItsFile)
{
    WriteFileBytes(folder_ / "a.GRP", kRest);
    EXPECT_EQ(Insert("a.GRP"), 1u);
    Save();
    EXPECT_EQ(Name("a.GRP"), "(no column)");
    EXPECT_EQ(File(), kRest);
}

TEST_F(GroupItem, WithoutAFileIsItsIdAndNoFileIsMade)
{
    EXPECT_EQ(Insert("gone.GRP"), 1u);
    Save();
    EXPECT_EQ(Name("gone.GRP"), "(no column)");
    EXPECT_EQ(Files(), onlyItself_);
}

TEST_F(GroupItem, KeepsItsFileWhenTheIndexDoesNotTakeIt)
{
    ASSERT_EQ(Insert("a.GRP"), 1u);
    Save();
    WriteFileBytes(folder_ / "a.GRP", "NAME:Other\r\nc@example.org\r\n");
    EXPECT_EQ(Insert("a.GRP"), 1u);
    Save();
    EXPECT_EQ(Name("a.GRP"), "Board");
    EXPECT_EQ(File(), "NAME:Other\r\nc@example.org\r\n") << "the name stands nowhere else";
}

TEST_F(GroupItem, ThatCannotBeReadNowIsNotInserted)
{
    {
        const HookedSeam seam(FailReadsOf("a.GRP"));
        EXPECT_EQ(Insert("a.GRP"), 0u);
    }
    {
        const HookedSeam seam(FailOn(FileOperation::Open, "a.GRP", 32));
        EXPECT_EQ(Insert("a.GRP"), 0u);
    }
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
    EXPECT_EQ(File(), kFile);
    EXPECT_EQ(Insert("a.GRP"), 1u);
}

TEST_F(GroupItem, WhoseFileCannotBeWrittenAnewKeepsItWhole)
{
    const auto fails = [&](HookedSeam::Hook hook) {
        {
            const HookedSeam seam(std::move(hook));
            EXPECT_EQ(Insert("a.GRP"), 1u);
            Save();
        }
        EXPECT_EQ(Name("a.GRP"), "Board");
        EXPECT_EQ(File(), kFile);
        EXPECT_EQ(Files(), onlyItself_);
        EXPECT_EQ(RemoveItems(index_.Table, "a.GRP"), 1u);
    };
    fails(FailOn(FileOperation::Open, "_a.GRP.TMP", 5));
    fails(FailOn(FileOperation::Move, "_a.GRP.TMP", 5));
    fails([](FileOperation operation, std::string_view, uint64_t) {
        platform::FileVerdict verdict;
        if (operation == FileOperation::Write) verdict.writeLimit = 3;
        return verdict;
    });
}

TEST_F(GroupItem, InAnotherDirectoryIsNotTouched)
{
    const auto sent = store_.MakeFolder("Sent");
    WriteFileBytes(sent / "b.GRP", kFile);
    EXPECT_EQ(Insert("../Sent/b.GRP"), 1u);
    Save();
    EXPECT_EQ(ReadFileBytes(sent / "b.GRP"), kFile);
    EXPECT_EQ(Name("../Sent/b.GRP"), "(no column)");
}

TEST_F(GroupItem, WithANameThatTheFolderItselfUsesIsNotTouched)
{
    for (const char* const name : {"_index.xml", "_groups.xml", ".GRP"}) {
        WriteFileBytes(folder_ / name, kFile);
        EXPECT_EQ(Insert(name), 1u);
        Save();
        EXPECT_EQ(File(name), kFile) << name;
        EXPECT_EQ(Name(name), "(no column)") << name;
    }
}

TEST_F(GroupItem, OfADirectoryIsNone)
{
    std::filesystem::create_directory(folder_ / "d.GRP");
    EXPECT_EQ(Insert("d.GRP"), 0u);
    EXPECT_EQ(ItemCountOf(index_.Table), 0u);
}

TEST_F(GroupItem, ThatIsRenamedInFrontOfTheSaveTakesItsNameAlong)
{
    ASSERT_EQ(Insert("a.GRP"), 1u);
    ASSERT_TRUE(RenameItem(index_.Table, *FindLoadedItem(index_.Table, "a.GRP"), "z.GRP"));
    std::filesystem::rename(folder_ / "a.GRP", folder_ / "z.GRP");
    Save();
    EXPECT_EQ(Name("z.GRP"), "Board");
    EXPECT_EQ(Files(), (std::vector<std::string>{"z.GRP"})) << "nothing is made under the old name";
}

}  // namespace
}  // namespace velmora::test
