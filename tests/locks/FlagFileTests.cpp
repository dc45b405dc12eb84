#include "locks/FlagFiles.h"

#include <new>
#include <string>
#include <vector>

#include "frame/ProcessState.h"
#include "tests/locks/LocksFixture.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/memory/Allocations.h"

namespace velmora::test {
namespace {

constexpr char kChangeText[] = "This file is a flag file that denotes that this folder has been changed";
constexpr char kCachedText[] = "This file is a flag file that there are cached transactions that are not written to disk.";

class FlagFiles : public Locks {
protected:
    void TearDown() override { Switches() = FlagSwitches(); }
    void PutIndex() { WriteFileBytes(folder / "_index.xml", "<BASEELEMENT>"); }
    using Names = std::vector<std::string>;
};

TEST_F(FlagFiles, TheDirtyFlagBearsItsTextWithNoLineEnd)
{
    EXPECT_EQ(MarkFolderDirty(folder.string().c_str()), 1u);
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), kChangeText);
}

TEST_F(FlagFiles, SettingTheFlagTwiceReplacesItsContent)
{
    WriteFileBytes(folder / "_CHANGE.DTY", std::string(500, 'x'));
    EXPECT_EQ(MarkFolderDirty(folder.string().c_str()), 1u);
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), kChangeText);
}

TEST_F(FlagFiles, ANotedFlagIsTakenAway)
{
    const std::string path = folder.string();
    EXPECT_EQ(NoteDirtyMark(path.c_str()), 0u);
    DropNotedMark(path.c_str(), 0);
    MarkFolderDirty(path.c_str());
    const uint64_t noted = NoteDirtyMark(path.c_str());
    EXPECT_NE(noted, 0u);
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), kChangeText);
    DropNotedMark(path.c_str(), noted);
    EXPECT_TRUE(FileNames(folder).empty());
    DropNotedMark(path.c_str(), noted);
    EXPECT_TRUE(FileNames(folder).empty());
}

TEST_F(FlagFiles, AFlagThatIsSetAfterTheNoteStays)
{
    const std::string path = folder.string();
    for (int round = 0; round < 50; ++round) {
        // As fast as it goes: both may be written in one tick of the clock.
        MarkFolderDirty(path.c_str());
        const uint64_t noted = NoteDirtyMark(path.c_str());
        MarkFolderDirty(path.c_str());
        DropNotedMark(path.c_str(), noted);
        EXPECT_EQ(FileNames(folder), Names({"_CHANGE.DTY"}));
        EXPECT_TRUE(StoreIndex_FolderNeedsScan(path.c_str()));
    }
}

// Refuses to make a flag, and has another set when a file of the folder is moved for the second time.
class DropWatch : public platform::FileSeam {
public:
    DropWatch() : before_(platform::ReplaceFileSeam(this)) {}
    ~DropWatch() override { platform::ReplaceFileSeam(before_); }
    DropWatch(const DropWatch&) = delete;
    DropWatch& operator=(const DropWatch&) = delete;
    platform::FileVerdict Before(platform::FileOperation operation, const char* path, uint64_t) override
    {
        platform::FileVerdict verdict;
        if (operation == platform::FileOperation::Open && std::string_view(path).ends_with("_CHANGE.DTY")) verdict.fail = 112;
        if (operation == platform::FileOperation::Move && ++moves == 2 && atTheSecondMove) atTheSecondMove();
        return verdict;
    }
    int moves = 0;
    std::function<void()> atTheSecondMove;

private:
    platform::FileSeam* before_;
};

TEST_F(FlagFiles, ANewerFlagGoesBackWithoutBeingMadeAnew)
{
    const std::string path = folder.string();
    MarkFolderDirty(path.c_str());
    const uint64_t noted = NoteDirtyMark(path.c_str());
    WriteFileBytes(folder / "_CHANGE.DTY", "newer");
    {
        DropWatch fullDisk;
        DropNotedMark(path.c_str(), noted);
    }
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), "newer");
    EXPECT_EQ(FileNames(folder), Names({"_CHANGE.DTY"}));
}

TEST_F(FlagFiles, AFlagThatIsSetWhileANewerOneGoesBackServesForBoth)
{
    const std::string path = folder.string();
    MarkFolderDirty(path.c_str());
    const uint64_t noted = NoteDirtyMark(path.c_str());
    WriteFileBytes(folder / "_CHANGE.DTY", "newer");
    {
        DropWatch watch;
        watch.atTheSecondMove = [&] { WriteFileBytes(folder / "_CHANGE.DTY", "newest"); };
        DropNotedMark(path.c_str(), noted);
        EXPECT_EQ(watch.moves, 2);
    }
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), "newest");
    EXPECT_EQ(FileNames(folder), Names({"_CHANGE.DTY"}));
}

TEST_F(FlagFiles, ALeftoverOfADropThatWasCutOffIsReplacedByTheNext)
{
    const std::string path = folder.string();
    WriteFileBytes(folder / "_CHANGE.TKN", "left");
    MarkFolderDirty(path.c_str());
    DropNotedMark(path.c_str(), NoteDirtyMark(path.c_str()));
    EXPECT_TRUE(FileNames(folder).empty());
}

// A process died while it had a newer flag in its hands.
TEST_F(FlagFiles, AFlagThatWasLeftInADropIsNotedAgain)
{
    const std::string path = folder.string();
    WriteFileBytes(folder / "_CHANGE.TKN", "newer");
    const uint64_t noted = NoteDirtyMark(path.c_str());
    EXPECT_NE(noted, 0u);
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), "newer");
    EXPECT_EQ(FileNames(folder), Names({"_CHANGE.DTY"}));
    DropNotedMark(path.c_str(), noted);
    EXPECT_TRUE(FileNames(folder).empty());
}

TEST_F(FlagFiles, AFlagThatWasLeftInADropAsksForOneScan)
{
    PutIndex();
    for (const bool another : {false, true}) {
        WriteFileBytes(folder / "_CHANGE.TKN", "newer");
        if (another) MarkFolderDirty(folder.string().c_str());
        EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
        EXPECT_EQ(FileNames(folder), (Names{"_index.xml"}));
        EXPECT_FALSE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    }
}

TEST_F(FlagFiles, MarkingADirectoryThatDoesNotExistAnswersOneAndCreatesNothing)
{
    EXPECT_EQ(MarkFolderDirty((folder.string() + "\\gone").c_str()), 1u);
    EXPECT_EQ(MarkFolderDirty(nullptr), 1u);
    EXPECT_TRUE(FileNames(folder).empty());
}

TEST_F(FlagFiles, TheInboxOfAMailboxIsMarkedBelowTheMailRoot)
{
    store.Attach();
    const fs::path inbox = store.MakeFolder("Inbox", "alice");
    EXPECT_EQ(MarkInboxDirty("po", "alice"), 1u);
    EXPECT_EQ(ReadFileBytes(inbox / "_CHANGE.DTY"), kChangeText);
    EXPECT_EQ(MarkInboxDirty(nullptr, nullptr), 1u);
    EXPECT_EQ(MarkInboxDirty("po", "nobody"), 1u);
}

TEST_F(FlagFiles, TheInboxIsOnlyMarkedWhenDirtyTrackingIsExactlyOne)
{
    store.Attach();
    const fs::path inbox = store.MakeFolder("Inbox", "alice");
    for (const uint32_t value : {0u, 2u}) {
        Switches().DirtyTrackingEnabled = value;
        EXPECT_EQ(MarkInboxDirty("po", "alice"), 1u);
        EXPECT_TRUE(FileNames(inbox).empty());
    }
}

TEST_F(FlagFiles, AFolderWithNoFlagAndNoIndexNeedsAScan)
{
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_TRUE(FileNames(folder).empty());
}

TEST_F(FlagFiles, AFolderWithAnIndexAndNoFlagNeedsNoneAndNothingChangesOnDisk)
{
    PutIndex();
    WriteFileBytes(folder / "_CACHED.DTY", "c");
    EXPECT_FALSE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_EQ(FileNames(folder), (Names{"_CACHED.DTY", "_index.xml"})) << "cached transactions are off, so their flag stays";
}

TEST_F(FlagFiles, TheFlagAsksForOneScanAndIsConsumed)
{
    PutIndex();
    MarkFolderDirty(folder.string().c_str());
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_EQ(FileNames(folder), (Names{"_index.xml"}));
    EXPECT_FALSE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
}

TEST_F(FlagFiles, FlagAndIndexAreFoundInAnyCase)
{
    WriteFileBytes(folder / "_INDEX.XML", "");
    EXPECT_FALSE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    WriteFileBytes(folder / "_change.dty", "");
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_EQ(FileNames(folder), (Names{"_INDEX.XML"}));
}

TEST_F(FlagFiles, WithoutDirtyTrackingEveryFolderNeedsAScan)
{
    PutIndex();
    MarkFolderDirty(folder.string().c_str());
    Switches().DirtyTrackingEnabled = 0;
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_EQ(FileNames(folder), (Names{"_index.xml"})) << "the flag is taken all the same";
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
}

// Each allocation fails once: the flag is gone only when the answer says so.
TEST_F(FlagFiles, WithoutMemoryNoFlagIsLostAndNoSearchLeftOpen)
{
    PutIndex();
    const std::string path = folder.string();
    const uint32_t open = OpenHandleCount();
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 200u);
        WriteFileBytes(folder / "_CHANGE.DTY", "");
        WriteFileBytes(folder / "_CHANGE.TKN", "");
        bool told = false;
        uint32_t hits = 0;
        {
            const AllocationFault fault(n, FaultSpan::Once);
            try {
                told = StoreIndex_FolderNeedsScan(path.c_str());
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            hits = AllocationFault::Hits();
        }
        EXPECT_EQ(OpenHandleCount(), open) << n;
        EXPECT_TRUE(told || (FileExists(folder / "_CHANGE.DTY") && FileExists(folder / "_CHANGE.TKN"))) << n;
        if (hits == 0) break;
    }
    EXPECT_GT(failures, 2u);
    EXPECT_EQ(FileNames(folder), (Names{"_index.xml"}));
}

// The same where cached transactions are on: their flag does not go while another one cannot be looked for.
TEST_F(FlagFiles, WithoutMemoryTheFlagOfCachedTransactionsGoesBehindAllThatCanFail)
{
    PutIndex();
    Switches().CachedTransactionsEnabled = 1;
    const std::string path = folder.string();
    uint32_t failures = 0;
    for (uint32_t n = 1;; ++n) {
        ASSERT_LT(n, 200u);
        WriteFileBytes(folder / "_CACHED.DTY", "");
        bool raised = false;
        uint32_t hits = 0;
        {
            const AllocationFault fault(n, FaultSpan::Once);
            try {
                StoreIndex_FolderNeedsScan(path.c_str());
            } catch (const std::bad_alloc&) {
                raised = true;
            }
            hits = AllocationFault::Hits();
        }
        if (raised) {
            ++failures;
            EXPECT_TRUE(FileExists(folder / "_CACHED.DTY")) << n;
        }
        if (hits == 0) break;
    }
    EXPECT_GT(failures, 2u);
    EXPECT_EQ(FileNames(folder), (Names{"_index.xml"}));
}

TEST_F(FlagFiles, AFolderIsMarkedWithoutMemory)
{
    const std::string path = folder.string();
    {
        const AllocationFault fault(1, FaultSpan::Onwards);
        MarkFolderDirty(path.c_str());
    }
    EXPECT_EQ(ReadFileBytes(folder / "_CHANGE.DTY"), kChangeText);
}

TEST_F(FlagFiles, CachedTransactionsAreOffByDefault)
{
    WriteFileBytes(folder / "_CACHED.DTY", "c");
    EXPECT_EQ(MarkCachedTransactions(folder.string().c_str()), 0u);
    EXPECT_EQ(ClearCachedTransactions(folder.string().c_str()), 0u);
    EXPECT_EQ(ReadFileBytes(folder / "_CACHED.DTY"), "c");
}

TEST_F(FlagFiles, CachedTransactionsAreMarkedAndClearedWhenTheyAreOn)
{
    Switches().CachedTransactionsEnabled = 1;
    EXPECT_EQ(MarkCachedTransactions(folder.string().c_str()), 1u);
    EXPECT_EQ(ReadFileBytes(folder / "_CACHED.DTY"), kCachedText);
    EXPECT_EQ(MarkCachedTransactions((folder.string() + "\\gone").c_str()), 0u);
    EXPECT_EQ(MarkCachedTransactions(nullptr), 0u);
    EXPECT_EQ(ClearCachedTransactions(nullptr), 0u);
    EXPECT_EQ(ClearCachedTransactions(folder.string().c_str()), 1u);
    EXPECT_TRUE(FileNames(folder).empty());
    EXPECT_EQ(ClearCachedTransactions(folder.string().c_str()), 1u) << "also with nothing to clear";
}

TEST_F(FlagFiles, TheDirtyCheckClearsCachedTransactionsWhenTheyAreOn)
{
    PutIndex();
    Switches().CachedTransactionsEnabled = 1;
    MarkCachedTransactions(folder.string().c_str());
    EXPECT_FALSE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_EQ(FileNames(folder), (Names{"_index.xml"}));
}

TEST_F(FlagFiles, ANullFolderNeedsAScanAndTouchesNothing)
{
    class CountingSeam : public platform::FileSeam {
    public:
        CountingSeam() : before_(platform::ReplaceFileSeam(this)) {}
        ~CountingSeam() override { platform::ReplaceFileSeam(before_); }
        platform::FileVerdict Before(platform::FileOperation, const char*, uint64_t) override
        {
            ++calls;
            return {};
        }
        int calls = 0;

    private:
        platform::FileSeam* before_;
    };
    Switches().CachedTransactionsEnabled = 1;
    CountingSeam seam;
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(nullptr));
    EXPECT_EQ(MarkFolderDirty(nullptr), 1u);
    EXPECT_EQ(seam.calls, 0);
    EXPECT_TRUE(StoreIndex_FolderNeedsScan(folder.string().c_str()));
    EXPECT_GT(seam.calls, 0);
}

}  // namespace
}  // namespace velmora::test
