// Adding, removing, renaming and copying folders while something goes wrong, and by names that are odd at their ends.
#include <gtest/gtest.h>

#include <functional>

#include "tests/folders/FolderOperations.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

using platform::FileOperation;

class FolderOperationsFault : public FolderOperations {
protected:
    // Each allocation fails once: what was changed is flagged, or listed as it is.
    void ListsTellWhatIsThere(const std::function<uint64_t()>& change, const std::function<void()>& restore)
    {
        uint32_t failures = 0;
        for (uint32_t n = 1;; ++n) {
            ASSERT_LT(n, 2000u);
            restore();
            for (const char* below : {"", "a"}) EXPECT_EQ(ListedAnew(below), Directories(below));
            uint64_t result = 0;
            uint32_t hits = 0;
            CaptureStdout([&] {
                const AllocationFault fault(n, FaultSpan::Once);
                result = change();
                hits = AllocationFault::Hits();
            });
            for (const char* below : {"", "a"}) EXPECT_EQ(ListedAnew(below), Directories(below)) << n << " " << result;
            if (hits == 0) {
                EXPECT_EQ(result, 1u);
                break;
            }
            if (result == 0) ++failures;
        }
        EXPECT_GT(failures, 3u);
    }
    void Clear(const char* below) const { fs::remove_all(box / below); }
};

TEST_F(FolderOperationsFault, WithoutMemoryNoAddIsLeftUnlisted)
{
    Make("a");
    ListsTellWhatIsThere([] { return Add(Record("/a", "new")); },
                         [this] {
                             Clear("a/new");
                             Put("a/_folder.dty", "DIRTY");
                         });
}

TEST_F(FolderOperationsFault, WithoutMemoryNoRemovalIsLeftListed)
{
    ListsTellWhatIsThere([] { return Remove(Record("/a", "b")); },
                         [this] {
                             Make("a/b/c");
                             Put("a/_folder.dty", "DIRTY");
                         });
}

TEST_F(FolderOperationsFault, WithoutMemoryNoRenameIsLeftUnlisted)
{
    ListsTellWhatIsThere([] { return Edit(Record("/a", "b"), Record("/", "new")); },
                         [this] {
                             Clear("new");
                             Make("a/b");
                             for (const char* flag : {"_folder.dty", "a/_folder.dty"}) Put(flag, "DIRTY");
                         });
}

// The cached size cannot go: the folder has gone, and what is listed tells it.
TEST_F(FolderOperationsFault, ARemovalThatCannotHaveTheMailboxCountedAgainAnswersZeroBehindTheFlag)
{
    Make("a");
    Make("b");
    Put("_DIRSIZE.TMP", "1234");
    EXPECT_EQ(ListedAnew(), (Names{"a", "b"}));
    {
        const WatchedFiles files([](FileOperation operation, std::string_view path) -> uint32_t {
            return operation == FileOperation::Delete && path.ends_with("_DIRSIZE.TMP") ? ERROR_SHARING_VIOLATION : 0;
        });
        EXPECT_EQ(CaptureStdout([] { EXPECT_EQ(Remove(Record("/", "a")), 0u); }), "");
    }
    EXPECT_FALSE(Has("a"));
    EXPECT_TRUE(Has("_DIRSIZE.TMP"));
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), Names{"b"});
    EXPECT_EQ(Remove(Record("/", "a")), 1u) << "once more, for the size";
    EXPECT_FALSE(Has("_DIRSIZE.TMP"));
}

// What cannot be asked for may be there, so it is listed and scanned once more than needed.
TEST_F(FolderOperationsFault, ACopyMarksAMergedFolderWhoseIndexCannotBeAskedFor)
{
    Make("a");
    Make("b");
    Put("b/_index.xml", "<BASEELEMENT/>");
    {
        bool copied = false;
        const WatchedFiles files([&](FileOperation operation, std::string_view path) -> uint32_t {
            copied = copied || (operation == FileOperation::Search && path.ends_with("a\\*"));
            return copied && operation == FileOperation::Search && path.ends_with("_index.xml") ? ERROR_ACCESS_DENIED : 0;
        });
        EXPECT_EQ(Copy(Record("/", "a"), Record("/", "b")), 1u);
    }
    EXPECT_TRUE(Has("b/_CHANGE.DTY"));
}

TEST_F(FolderAdd, OfANameWithASeparatorAtItsEndMakesTheFolderAndMarksItsParent)
{
    EXPECT_EQ(Add(Record("/", "a/")), 1u);
    EXPECT_EQ(Directories(), Names{"a"});
    EXPECT_TRUE(IsFlagged());
    EXPECT_EQ(ListedAnew(), Names{"a"});
    EXPECT_EQ(Add(Record("/", "a\\")), 0u) << "it is there";
    EXPECT_EQ(Directories(), Names{"a"});
    EXPECT_EQ(ListedAnew(), Names{"a"});
}

TEST_F(FolderCopy, DoesNotCountSeparatorsAtTheEnd)
{
    Make("a/c");
    EXPECT_EQ(ListedAnew(), Names{"a"});
    EXPECT_EQ(Copy(Record("/", "a\\"), Record("/", "b//")), 1u);
    EXPECT_EQ(Directories(), (Names{"a", "b"}));
    EXPECT_EQ(Directories("b"), Names{"c"});
    EXPECT_TRUE(IsFlagged());
    EXPECT_FALSE(IsFlagged("b"));
    EXPECT_EQ(ListedAnew(), (Names{"a", "b"}));
}

// A special name is none behind the slash that the path comes back with.
TEST_F(FolderRemove, OfAFolderOfFilesGivesThePathOfAFolderOfTheMailboxBack)
{
    const fs::path files = store.MailRoot() / "po/FILEROOT/box";
    for (const char* name : {"x/y", "x/z"}) fs::create_directories(files / name);
    StoreFolderRecord record = Record("$FILEROOT\\x", "y");
    EXPECT_EQ(StoreFolderRemove(&record), 1u);
    EXPECT_FALSE(FileExists(files / "x/y"));
    EXPECT_STREQ(record.FolderPath, "/$FILEROOT/x");
    CopyBounded(record.FolderName, "z");
    EXPECT_EQ(StoreFolderRemove(&record), 1u) << "there is none in the mailbox";
    EXPECT_TRUE(FileExists(files / "x/z"));
    EXPECT_EQ(Remove(Record("$FILEROOT\\x", "z")), 1u);
    EXPECT_FALSE(FileExists(files / "x/z"));
}

}  // namespace
}  // namespace velmora::test
