// Groups that are inserted directly: their names, their files, and what a failure leaves of both.
#include <stdexcept>

#include "tests/index/DirectFixture.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class DirectGroup : public Direct {
protected:
    void SetUp() override
    {
        Direct::SetUp();
        PutIndex(inbox, 4, Element("old.GRP", 4, "<NAME>Old</NAME><READ>0</READ>"), "_groups.xml");
        Age(inbox / "_groups.xml");
        before = Groups();
        WriteFileBytes(inbox / "a.GRP", kFile);
        WriteFileBytes(inbox / "b.GRP", "Name:Friends\r\nc@example.org\r\n");
    }
    static uint64_t InsertGroups(const std::string& ids) { return InsertEx(ids, "$VLGROUP"); }
    std::string Groups() const { return ReadFileBytes(inbox / "_groups.xml"); }
    std::string File(const char* name) const { return ReadFileBytes(inbox / name); }
    // As a load of the file has it.
    static std::string NameOf(const char* id)
    {
        HostRecord record("INBOX", 54);
        EXPECT_EQ(StoreIndex_Open(&record, 5), 1u);
        std::string name = "(none)";
        if (const IndexItemPropertyContainer* const item = record.Item(id)) item->GetText("NAME", name);
        return name;
    }
    // Nothing of the call is anywhere, and nobody is sent to look for it.
    void ExpectUntouched()
    {
        EXPECT_EQ(Groups(), before);
        EXPECT_EQ(File("a.GRP"), kFile);
        ExpectTidy();
    }

    static constexpr char kFile[] = "NAME:Board\r\na@example.org\r\n";
    static constexpr char kRest[] = "a@example.org\r\n";
    std::string before;
};

TEST_F(DirectGroup, IsNamedInTheIndexAndItsFileKeepsTheRest)
{
    EXPECT_EQ(InsertGroups("a.GRP"), 1u);
    EXPECT_EQ(NameOf("a.GRP"), "Board");
    EXPECT_EQ(File("a.GRP"), kRest);
    EXPECT_FALSE(FileExists(inbox / "_a.GRP.TMP"));
    EXPECT_EQ(NameOf("old.GRP"), "Old");
    ExpectTidy();
}

TEST_F(DirectGroup, EachOfSeveralEntriesHasItsOwnName)
{
    WriteFileBytes(inbox / "c.GRP", "nobody\r\n");
    EXPECT_EQ(InsertGroups("a.GRP,b.GRP,c.GRP,gone.GRP"), 1u);
    EXPECT_EQ(Ids("INBOX", 54), (std::vector<std::string>{"old.GRP", "a.GRP", "b.GRP", "c.GRP", "gone.GRP"}));
    EXPECT_EQ(NameOf("a.GRP"), "Board");
    EXPECT_EQ(NameOf("b.GRP"), "Friends");
    EXPECT_EQ(NameOf("c.GRP"), "(none)");
    EXPECT_EQ(File("a.GRP"), kRest);
    EXPECT_EQ(File("b.GRP"), "c@example.org\r\n");
    EXPECT_EQ(File("c.GRP"), "nobody\r\n");
    EXPECT_FALSE(FileExists(inbox / "gone.GRP"));
    ExpectTidy();
}

TEST_F(DirectGroup, AFailureOfTheLastEntryLeavesEveryFileItsName)
{
    fs::create_directory(inbox / "d.GRP");
    EXPECT_EQ(InsertGroups("a.GRP,d.GRP"), 1u);
    ExpectUntouched();
    EXPECT_TRUE(FolderCounts().empty());
    EXPECT_EQ(InsertGroups("a.GRP"), 1u) << "and the next call has it all";
    EXPECT_EQ(NameOf("a.GRP"), "Board");
}

TEST_F(DirectGroup, AFailureOfAnEarlierEntryLeavesNoMark)
{
    fs::create_directory(inbox / "d.GRP");
    EXPECT_EQ(InsertGroups("d.GRP,a.GRP"), 1u);
    EXPECT_EQ(Ids("INBOX", 54), (std::vector<std::string>{"old.GRP", "a.GRP"}));
    EXPECT_EQ(File("a.GRP"), kRest);
    ExpectTidy();
}

TEST_F(DirectGroup, AFolderWhoseGroupsSomebodyHoldsAnswersZeroAndIsNotMarked)
{
    {
        const HeldFolder held(inbox, "_groups.blk");
        EXPECT_EQ(InsertGroups("a.GRP"), 0u);
        EXPECT_TRUE(FileExists(inbox / "_groups.blk"));
    }
    EXPECT_TRUE(clock.Sleeps().empty());
    ExpectUntouched();
}

TEST_F(DirectGroup, ASaveThatFailsLeavesTheFileItsNameAndNoMark)
{
    bool loaded = false;
    {
        WatchedFiles files;
        files.fail = [&](FileOperation operation, std::string_view path) {
            if (operation == FileOperation::Open && path.ends_with("a.GRP")) loaded = true;
            return loaded && operation == FileOperation::Open && path.ends_with("_groups.xml") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(InsertGroups("a.GRP"), 1u);
    }
    ExpectUntouched();
}

TEST_F(DirectGroup, GroupsThatCannotBeLoadedAreNotMarked)
{
    WriteFileBytes(inbox / "_groups.xml", "no index");
    EXPECT_EQ(InsertGroups("a.GRP"), 0u);
    EXPECT_EQ(File("a.GRP"), kFile);
    EXPECT_FALSE(IsMarked());
}

TEST_F(DirectGroup, AnExceptionAnywhereLeavesTheFileItsNameAndNoMark)
{
    for (const char* const place : {"_groups.xml", "a.GRP"}) {
        {
            WatchedFiles files;
            files.fail = [&](FileOperation, std::string_view path) -> uint32_t {
                if (path.ends_with(place)) throw std::runtime_error("no luck");
                return 0;
            };
            EXPECT_EQ(InsertGroups("a.GRP"), 0u) << place;
        }
        ExpectUntouched();
    }
}

TEST_F(DirectGroup, AFileThatCannotBeWrittenAnewIsWholeAndTheGroupIsThere)
{
    {
        WatchedFiles files;
        files.fail = [](FileOperation operation, std::string_view path) {
            return operation == FileOperation::Move && path.ends_with("_a.GRP.TMP") ? uint32_t{5} : 0u;
        };
        EXPECT_EQ(InsertGroups("a.GRP"), 1u);
    }
    EXPECT_EQ(NameOf("a.GRP"), "Board");
    EXPECT_EQ(File("a.GRP"), kFile);
    {
        WatchedFiles files;
        files.fail = [](FileOperation operation, std::string_view path) -> uint32_t {
            if (operation == FileOperation::Open && path.ends_with("_b.GRP.TMP")) throw std::runtime_error("no luck");
            return 0;
        };
        EXPECT_EQ(InsertGroups("b.GRP"), 1u) << "the save stands";
    }
    EXPECT_EQ(NameOf("b.GRP"), "Friends");
    ExpectTidy();
}

// ---- A host that saves by itself ----

TEST_F(DirectGroup, InARecordOfAHostKeepsItsFileUntilTheSave)
{
    HostRecord record("INBOX", 54);
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    ASSERT_EQ(StoreIndex_InsertItem(&record, "a.GRP", 1), 1u);
    ASSERT_EQ(StoreIndex_InsertItem(&record, "b.GRP", 1), 1u);
    EXPECT_EQ(record.Item("a.GRP")->View("NAME"), "Board");
    EXPECT_EQ(File("a.GRP"), kFile);
    ASSERT_EQ(StoreIndex_RemoveItem(&record, "b.GRP", 0), 1u);
    ASSERT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(File("a.GRP"), kRest);
    EXPECT_EQ(File("b.GRP"), "Name:Friends\r\nc@example.org\r\n") << "its name is in no index";
    WriteFileBytes(inbox / "a.GRP", kFile);
    ASSERT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(File("a.GRP"), kFile) << "once";
}

TEST_F(DirectGroup, InARecordThatIsLoadedAnewKeepsItsFile)
{
    HostRecord record("INBOX", 54);
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    ASSERT_EQ(StoreIndex_InsertItem(&record, "a.GRP", 1), 1u);
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    ASSERT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(File("a.GRP"), kFile);
}

TEST_F(DirectGroup, WhoseFileIsWrittenInFrontOfTheSaveKeepsWhatWasWritten)
{
    HostRecord record("INBOX", 54);
    ASSERT_EQ(StoreIndex_Open(&record, 5), 1u);
    ASSERT_EQ(StoreIndex_InsertItem(&record, "a.GRP", 1), 1u);
    ASSERT_EQ(StoreIndex_InsertItem(&record, "b.GRP", 1), 1u);
    WriteFileBytes(inbox / "a.GRP", "NAME:Other\r\nz@example.org\r\n");
    WriteFileBytes(inbox / "b.GRP", "NAME:Friends\r\nd@example.org\r\n");
    ASSERT_EQ(StoreIndex_Save(&record), 1u);
    EXPECT_EQ(File("a.GRP"), "NAME:Other\r\nz@example.org\r\n") << "that name stands nowhere else";
    EXPECT_EQ(File("b.GRP"), "d@example.org\r\n");
}

// ---- The mark of the folder's messages ----

TEST_F(DirectGroup, AMarkEmptiesNoGroupsAndWaitsForTheMessages)
{
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX", 54);
    EXPECT_EQ(StoreIndex_Open(&record, 0), 1u);
    EXPECT_NE(record.Item("old.GRP"), nullptr);
    EXPECT_EQ(Groups(), before);
    EXPECT_TRUE(IsMarked());
}

TEST_F(DirectGroup, AFolderWithoutGroupsOpensEmpty)
{
    fs::remove(inbox / "_groups.xml");
    WriteFileBytes(inbox / "_CHANGE.DTY", "");
    HostRecord record("INBOX", 54);
    EXPECT_EQ(StoreIndex_Open(&record, 0), 1u);
    EXPECT_EQ(record.Count(), 0u);
    EXPECT_TRUE(IsMarked());
}

}  // namespace
}  // namespace velmora::test
