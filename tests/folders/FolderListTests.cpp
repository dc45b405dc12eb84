// Walks through the child folders of a folder.
#include "folders/FolderLists.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <string>

#include "folders/FolderIndexFile.h"
#include "frame/Attach.h"
#include "provider/ThreadContext.h"
#include "tests/counts/CountedFiles.h"
#include "tests/folders/FolderTree.h"

namespace velmora::test {
namespace {

using FolderWalk = FolderTree;

TEST_F(FolderWalk, GivesTheNamesInByteOrder)
{
    for (const char* name : {"b", "Z", "a", "_x"}) Make(name);
    EXPECT_EQ(Walk("/"), (Names{"Z", "_x", "a", "b"}));
}

TEST_F(FolderWalk, TakesEitherSeparatorForTheRootAndGivesWellKnownNamesTheirSpelling)
{
    Make("INBOX");
    EXPECT_EQ(Walk("\\"), Names{"Inbox"});
    EXPECT_EQ(Walk("/"), Names{"Inbox"});
}

TEST_F(FolderWalk, GoesThroughAFolderBelow)
{
    Make("Projects/one");
    Make("Projects/inbox");
    EXPECT_EQ(Walk("/Projects"), (Names{"inbox", "one"}));
    EXPECT_EQ(Walk("Projects\\"), (Names{"inbox", "one"}));
}

TEST_F(FolderWalk, OfAFolderWithoutChildrenAnswersZeroAndLeavesTheName)
{
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
    EXPECT_EQ(ReadFileBytes(mailbox / "_folder.xml"), "<folderindex></folderindex>");
}

TEST_F(FolderWalk, OfAFolderThatIsNotThereAnswersZeroAndLeavesTheName)
{
    StoreFolderRecord record = RecordOf("/nowhere");
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
    EXPECT_FALSE(FileExists(mailbox / "nowhere"));
}

TEST_F(FolderWalk, LeavesTheLastNameAtTheEndAndStaysThere)
{
    Make("a");
    Make("b");
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, HasNoNextWithoutAFirst)
{
    Make("a");
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
}

TEST_F(FolderWalk, GoesByItsPositionAndNotByTheNameInTheRecord)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    CopyBounded(record.FolderName, "zzz");
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, BeginsAnewWithFirst)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
        EXPECT_STREQ(record.FolderName, "a");
    }
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, WritesNothingButTheName)
{
    Make("a");
    StoreFolderRecord record = RecordOf("/", "");
    record.FolderSize = 77;
    record.Reserved[3] = 9;
    StoreFolderRecord expected = record;
    expected.FolderName[0] = 'a';
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0);
}

TEST_F(FolderWalk, OfNoRecordAnswersZero)
{
    EXPECT_EQ(StoreFolderFindFirst(nullptr), 0u);
    EXPECT_EQ(StoreFolderFindNext(nullptr), 0u);
    EXPECT_EQ(StoreFolderFindClose(nullptr), 1u);
}

TEST_F(FolderWalk, OfFieldsWithoutAnEndReadsNothingBehindThem)
{
    StoreFolderRecord record;
    std::memset(&record, 'x', sizeof record);
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    record = RecordOf("/");
    std::memset(record.FolderPath, 'x', sizeof record.FolderPath);
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
}

// Cut at the size of a path, it would be the path of the mailbox again.
TEST_F(FolderWalk, OfADirectoryThatDoesNotFitAPathAnswersZero)
{
    Make("a");
    const std::string path = "/" + std::string(1000, '/');
    StoreFolderRecord record = RecordOf(path);
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
}

TEST_F(FolderWalk, PassesOverANameThatTheRecordHasNoRoomFor)
{
    WriteList(mailbox, {"a", std::string(512, 'b'), "c", std::string(600, 'd')});
    EXPECT_EQ(Walk("/"), (Names{"a", "c"}));
    WriteList(mailbox, {std::string(511, 'b')});
    EXPECT_EQ(Walk("/"), Names{std::string(511, 'b')});
}

TEST_F(FolderWalk, NoticesTheFlagBetweenTwoSteps)
{
    for (const char* name : {"a", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    Make("b");
    Flag(mailbox);
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
    EXPECT_FALSE(FileExists(mailbox / "_folder.dty"));
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "c");
}

TEST_F(FolderWalk, SurvivesTheRemovalOfTheNameThatItStandsAt)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    fs::remove(mailbox / "a");
    Flag(mailbox);
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
    fs::remove(mailbox / "b");
    fs::remove(mailbox / "c");
    Flag(mailbox);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, GivesAFolderThatCameBehindItsPositionAndNoneThatCameInFront)
{
    for (const char* name : {"m", "p"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    for (const char* name : {"a", "n"}) Make(name);
    Flag(mailbox);
    Names names;
    while (StoreFolderFindNext(&record) == 1) names.emplace_back(record.FolderName);
    EXPECT_EQ(names, (Names{"n", "p"}));
}

TEST_F(FolderWalk, ThatIsRebuiltAtEveryStepGivesEachNameOnce)
{
    std::set<std::string> made;
    for (char c = 'a'; c <= 'z'; ++c) {
        Make(std::string(1, c));
        made.insert(std::string(1, c));
    }
    StoreFolderRecord record = RecordOf("/");
    std::multiset<std::string> given;
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
        given.insert(record.FolderName);
        Flag(mailbox);
    }
    EXPECT_EQ(given, std::multiset<std::string>(made.begin(), made.end()));
}

TEST_F(FolderWalk, GivesANameThatTheListHoldsTwiceOnce)
{
    WriteList(mailbox, {"a", "a", "b"});
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    WriteList(mailbox, {"a", "a", "a", "b", "b"});
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
}

TEST_F(FolderWalk, AnswersZeroForADamagedListAndGoesOnBehindIt)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    WriteFileBytes(mailbox / "_folder.xml", "<folderindex><folder>");
    Advance(mailbox / "_folder.xml");
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_FALSE(FileExists(mailbox / "_folder.xml"));
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, OfAnUnchangedFolderListsAndReadsNothing)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    Walk("/");
    StoreFolderRecord record = RecordOf("/");
    const CountedFiles files("box");
    uint64_t steps = 0;
    // From the same place as the walk before.
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) ++steps;
    EXPECT_EQ(steps, 3u);
    EXPECT_EQ(files.Cost().listings, 0u);
}

TEST_F(FolderWalk, ThatIsRepeatedParsesTheListOnce)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    for (int walk = 0; walk < 2; ++walk) {
        const CountedFiles files("box");
        for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
        }
        StoreFolderFindClose(&record);
        // Two looks for the flag and one at the stamp, for First and each Next.
        if (walk == 0) continue;
        EXPECT_EQ(files.Cost().Operations(), 4u * 3) << files.Cost();
    }
}

// ---- What raises ----

TEST_F(FolderWalk, ReportsWhatGoesWrongInNextAndAnswersZero)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    {
        const RaisingFiles broken("_folder.dty");
        EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    }
    EXPECT_TRUE(log.HasEvent("TLS_StoreFolderFindNext handled an exception; session will be dropped.\nThe exception was: out of order"));
    EXPECT_STREQ(record.FolderName, "a");
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, LetsNothingOutOfFirst)
{
    Make("a");
    ASSERT_EQ(Walk("/"), Names{"a"});
    const RaisingFiles broken("_folder.dty");
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 0u);
    EXPECT_STREQ(record.FolderName, "untouched");
    EXPECT_TRUE(log.HasEvent("TLS_StoreFolderFindFirst handled an exception"));
}

// ---- Walks within walks ----

__attribute__((noinline)) Names DeeperWalk(std::string_view folderPath)
{
    StoreFolderRecord record = RecordOf(folderPath);
    Names names;
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record))
        names.emplace_back(record.FolderName);
    return names;
}

TEST_F(FolderWalk, IsNotMovedOnByAWalkOfTheSameFolderInAFunctionBelow)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    Names names;
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
        names.emplace_back(record.FolderName);
        EXPECT_EQ(DeeperWalk("/"), (Names{"a", "b", "c"}));
        ASSERT_LT(names.size(), 10u);
    }
    EXPECT_EQ(names, (Names{"a", "b", "c"}));
}

TEST_F(FolderWalk, IsNotMovedOnByAWalkOfAnotherFolderInTheSameLoop)
{
    for (const char* name : {"a/x", "a/y", "b/z"}) Make(name);
    StoreFolderRecord outer = RecordOf("/");
    Names names;
    for (uint64_t more = StoreFolderFindFirst(&outer); more == 1; more = StoreFolderFindNext(&outer)) {
        StoreFolderRecord inner = RecordOf(std::string("/") + outer.FolderName);
        for (uint64_t below = StoreFolderFindFirst(&inner); below == 1; below = StoreFolderFindNext(&inner))
            names.push_back(std::string(outer.FolderName) + "/" + inner.FolderName);
        ASSERT_LT(names.size(), 10u);
    }
    EXPECT_EQ(names, (Names{"a/x", "a/y", "b/z"}));
}

// Runs `body` one call deeper.
__attribute__((noinline)) void Deeper(const std::function<void()>& body) { body(); }

uint64_t NextFromBelow(StoreFolderRecord& record)
{
    uint64_t more = 0;
    Deeper([&] { more = StoreFolderFindNext(&record); });
    return more;
}

TEST_F(FolderWalk, GoesOnFromAnotherPlaceThanItBegan)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    EXPECT_EQ(NextFromBelow(record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
    EXPECT_EQ(NextFromBelow(record), 1u);
    EXPECT_STREQ(record.FolderName, "c");
    EXPECT_EQ(NextFromBelow(record), 0u);
}

// ---- The end of a walk ----

uint64_t FirstFromBelow(StoreFolderRecord& record)
{
    uint64_t found = 0;
    Deeper([&] { found = StoreFolderFindFirst(&record); });
    return found;
}

void CloseFromBelow(StoreFolderRecord& record)
{
    Deeper([&] { EXPECT_EQ(StoreFolderFindClose(&record), 1u); });
}

TEST_F(FolderWalk, IsOverWhenItIsClosed)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    EXPECT_EQ(StoreFolderFindClose(&record), 1u);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
    EXPECT_STREQ(record.FolderName, "a");
}

TEST_F(FolderWalk, ThatIsClosedDoesNotTakeOverALaterOne)
{
    for (const char* name : {"a", "b", "c", "d"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_EQ(StoreFolderFindClose(&record), 1u);
    EXPECT_EQ(FirstFromBelow(record), 1u);
    EXPECT_STREQ(record.FolderName, "a");
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
    EXPECT_EQ(NextFromBelow(record), 1u);
    EXPECT_STREQ(record.FolderName, "c");
}

TEST_F(FolderWalk, IsClosedFromAnotherPlaceThanItBegan)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    CloseFromBelow(record);
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
}

TEST_F(FolderWalk, IsNotEndedByTheCloseOfAnotherOne)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    Make("a/x");
    StoreFolderRecord record = RecordOf("/");
    Names names;
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
        names.emplace_back(record.FolderName);
        Deeper([] { Walk("/"); });
        StoreFolderRecord inner = RecordOf("/");
        EXPECT_EQ(FirstFromBelow(inner), 1u);
        while (NextFromBelow(inner) == 1) continue;
        CloseFromBelow(inner);
        StoreFolderRecord other = RecordOf("/a");
        EXPECT_EQ(StoreFolderFindFirst(&other), 1u);
        EXPECT_EQ(StoreFolderFindClose(&other), 1u);
        ASSERT_LT(names.size(), 10u);
    }
    EXPECT_EQ(names, (Names{"a", "b", "c"}));
}

__attribute__((noinline)) void WalkAndAskOnceMore(std::string_view folderPath)
{
    StoreFolderRecord record = RecordOf(folderPath);
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) continue;
    EXPECT_EQ(StoreFolderFindNext(&record), 0u);
}

TEST_F(FolderWalk, BehindItsEndMovesNoOtherOneOn)
{
    for (const char* name : {"a", "b", "c"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    Names names;
    for (uint64_t more = StoreFolderFindFirst(&record); more == 1; more = StoreFolderFindNext(&record)) {
        names.emplace_back(record.FolderName);
        WalkAndAskOnceMore("/");
        ASSERT_LT(names.size(), 10u);
    }
    EXPECT_EQ(names, (Names{"a", "b", "c"}));
}

TEST_F(FolderWalk, ThatFoundNoListMovesNoOtherOneOn)
{
    for (const char* name : {"a", "b"}) Make(name);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(StoreFolderFindFirst(&record), 1u);
    WriteFileBytes(mailbox / "_folder.xml", "<folderindex>");
    Advance(mailbox / "_folder.xml");
    WalkAndAskOnceMore("/");
    EXPECT_EQ(StoreFolderFindNext(&record), 1u);
    EXPECT_STREQ(record.FolderName, "b");
}

TEST_F(FolderWalk, ThatIsBegunAnewGoesOnBehindTheEndOfTheOneBefore)
{
    for (const char* name : {"a", "b"}) Make(name);
    for (int walk = 0; walk < 3; ++walk) {
        StoreFolderRecord record = RecordOf("/");
        // The places change from walk to walk, and none is closed.
        EXPECT_EQ(walk == 1 ? FirstFromBelow(record) : StoreFolderFindFirst(&record), 1u);
        EXPECT_EQ(walk == 0 ? NextFromBelow(record) : StoreFolderFindNext(&record), 1u) << walk;
        EXPECT_STREQ(record.FolderName, "b") << walk;
        EXPECT_EQ(StoreFolderFindNext(&record), 0u) << walk;
    }
}

// ---- A caller's own list ----

TEST_F(FolderWalk, GoesThroughAListOfTheCallersOwn)
{
    for (const char* name : {"a", "b"}) Make(name);
    InThread([] {
        TLSFolderList* list = nullptr;
        EXPECT_EQ(CreateTLSFolderList(&list), 1u);
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(InitTLSFolderList(list), 1u);
        StoreFolderRecord record = RecordOf("/");
        EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 1u);
        EXPECT_STREQ(record.FolderName, "a");
        EXPECT_EQ(TLS_StoreFolderFindNext(&record, list), 1u);
        EXPECT_STREQ(record.FolderName, "b");
        EXPECT_EQ(TLS_StoreFolderFindNext(&record, list), 0u);
        EXPECT_EQ(ThreadFolderList(), nullptr) << "no list of the thread's own was made";
        EXPECT_EQ(TLS_StoreFolderFindClose(&record, list), 1u);
        EXPECT_EQ(FreeTLSFolderList(&list), 1u);
        EXPECT_EQ(list, nullptr);
    });
}

TEST_F(FolderWalk, NeedsAListThatIsInitialised)
{
    Make("a");
    TLSFolderList* list = nullptr;
    CreateTLSFolderList(&list);
    StoreFolderRecord record = RecordOf("/");
    EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 0u);
    EXPECT_EQ(TLS_StoreFolderFindNext(&record, list), 0u);
    InitTLSFolderList(list);
    EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 1u);
    EXPECT_EQ(TLS_StoreFolderFindClose(&record, list), 1u);
    EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 0u) << "closed";
    InitTLSFolderList(list);
    EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 1u);
    FreeTLSFolderList(&list);
}

TEST_F(FolderWalk, KeepsTwoListsApart)
{
    for (const char* name : {"a", "b"}) Make(name);
    TLSFolderList* lists[2] = {};
    StoreFolderRecord record = RecordOf("/");
    for (TLSFolderList*& list : lists) {
        CreateTLSFolderList(&list);
        InitTLSFolderList(list);
        EXPECT_EQ(TLS_StoreFolderFindFirst(&record, list), 1u);
    }
    for (TLSFolderList*& list : lists) {
        EXPECT_EQ(TLS_StoreFolderFindNext(&record, list), 1u);
        EXPECT_STREQ(record.FolderName, "b");
        TLS_StoreFolderFindClose(&record, list);
        FreeTLSFolderList(&list);
    }
}

TEST(FolderList, TakesNullAtAnyLevel)
{
    EXPECT_EQ(CreateTLSFolderList(nullptr), 1u);
    EXPECT_EQ(InitTLSFolderList(nullptr), 1u);
    EXPECT_EQ(UnInitTLSFolderList(nullptr), 1u);
    EXPECT_EQ(FreeTLSFolderList(nullptr), 1u);
    TLSFolderList* none = nullptr;
    EXPECT_EQ(FreeTLSFolderList(&none), 1u);
}

TEST(FolderList, IsInitialisedByInitAlone)
{
    TLSFolderList* list = nullptr;
    CreateTLSFolderList(&list);
    EXPECT_EQ(list->Directories, nullptr);
    list->Reserved = 5;
    InitTLSFolderList(list);
    ASSERT_NE(list->Directories, nullptr);
    EXPECT_EQ(list->Reserved, 0u);
    InitTLSFolderList(list);
    EXPECT_NE(list->Directories, nullptr);
    EXPECT_EQ(UnInitTLSFolderList(list), 1u);
    EXPECT_EQ(list->Directories, nullptr);
    EXPECT_EQ(UnInitTLSFolderList(list), 1u);
    FreeTLSFolderList(&list);
}

// ---- What a thread keeps ----

TEST_F(FolderWalk, CloseWithNoListAndNoEarlierCallAnswersOne)
{
    InThread([] {
        StoreFolderRecord record = RecordOf("/");
        EXPECT_EQ(TLS_StoreFolderFindClose(&record, nullptr), 1u);
        EXPECT_EQ(StoreFolderFindClose(&record), 1u);
        EXPECT_EQ(ThreadFolderList(), nullptr);
    });
}

TEST_F(FolderWalk, AThreadReadsAListOnceForItsWalksAtAllDepthsAndKeepsNoWalkThatIsOver)
{
    Make("a");
    Walk("/");
    InThread([&] {
        const CountedFiles files("box");
        for (int i = 0; i < 5; ++i) Walk("/");
        Deeper([] { Walk("/"); });
        EXPECT_EQ(files.Cost().Of(platform::FileOperation::Open), 1u) << files.Cost();
        ASSERT_NE(ThreadFolderList(), nullptr);
        EXPECT_EQ(ThreadFolderList()->Directories->size(), 1u);
        EXPECT_TRUE(ThreadFolderList()->Position.empty());
        // One that nobody closes is replaced by the next one from its place.
        for (int i = 0; i < 5; ++i) DeeperWalk("/");
        EXPECT_EQ(ThreadFolderList()->Position.size(), 1u);
    });
}

TEST_F(FolderWalk, TheReleaseOfAThreadGivesItsListsBack)
{
    Make("a");
    for (const uint32_t affinity : {1u, 0u}) {
        StoreLibrary_SetAffinity(affinity);
        InThread([] {
            Walk("/");
            EXPECT_NE(ThreadFolderList(), nullptr);
            EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
            EXPECT_EQ(ThreadFolderList(), nullptr);
            EXPECT_EQ(Walk("/"), Names{"a"});
        });
    }
    StoreLibrary_SetAffinity(1);
}

TEST_F(FolderWalk, TheEndOfAThreadGivesItsListsBackAlsoWithNoFolderEverOpen)
{
    Make("a");
    for (const uint32_t affinity : {1u, 0u}) {
        StoreLibrary_SetAffinity(affinity);
        InThread([] {
            Walk("/");
            EXPECT_EQ(ExistingContext(), nullptr);
            ThreadDetach();
            EXPECT_EQ(ThreadFolderList(), nullptr);
        });
        InThread([] {
            ThreadAttach();
            Walk("/");
            ThreadDetach();
            EXPECT_EQ(ThreadFolderList(), nullptr);
            EXPECT_EQ(ExistingContext(), nullptr);
        });
    }
    StoreLibrary_SetAffinity(1);
}

TEST_F(FolderWalk, TheEndOfTheLibraryGivesTheListsOfItsThreadBack)
{
    Make("a");
    InThread([] {
        Walk("/");
        EXPECT_NE(ThreadFolderList(), nullptr);
        EXPECT_EQ(StoreLibrary_UnInit(), 1u);
        EXPECT_EQ(ThreadFolderList(), nullptr);
    });
}

TEST_F(FolderWalk, ThreadsWalkSideBySide)
{
    for (char c = 'a'; c <= 'j'; ++c) Make(std::string(1, c));
    std::vector<std::thread> threads;
    std::atomic<uint32_t> whole{0};
    Walk("/");
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int walk = 0; walk < 20; ++walk)
                if (Walk("/").size() == 10) ++whole;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(whole, 80u);
}

}  // namespace
}  // namespace velmora::test
