// Several threads on one record, and what threads leave behind.
#include <atomic>

#include "platform/win32.h"
#include "tests/provider/ProviderFixture.h"

namespace velmora::test {
namespace {

class SharedRecord : public Provider {
protected:
    void SetUp() override
    {
        Provider::SetUp();
        SetAffinity(0);
    }
    size_t LinesWith(std::string_view part) const
    {
        size_t count = 0;
        for (const auto& [level, text] : log.Lines()) count += text.find(part) != std::string::npos;
        return count;
    }
};

TEST_F(SharedRecord, ASecondThreadFindsTheRecordAndItsOpenStillLooksAtTheDisk)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    const SharedIndex* const record = CurrentContext()->Index.get();
    InThread([&] {
        EXPECT_EQ(Open("INBOX"), 1u);
        EXPECT_EQ(CurrentContext()->Index.get(), record);
        EXPECT_EQ(References(), 2u);
        StoreFolder_Close();
    });
    EXPECT_EQ(References(), 1u);
    EXPECT_EQ(LinesWith("StoreIndex_Open::Loaded index"), 1u);
    EXPECT_EQ(LinesWith("StoreIndex_Open::Using cached index"), 1u);
    StoreFolder_Close();
}

TEST_F(SharedRecord, AttachTellsANewRecordFromAFoundOne)
{
    TLSStoreIndex a;
    TLSStoreIndex b;
    CopyBounded(a.Key, "[k]");
    CopyBounded(b.Key, "[k]");
    EXPECT_EQ(FindSharedIndex(a), nullptr);
    EXPECT_EQ(AttachSharedIndex(a), Attach::New);
    EXPECT_EQ(AttachSharedIndex(b), Attach::Found);
    EXPECT_EQ(FindSharedIndex(b), a.Index);
    EXPECT_EQ(IndexReferences(*a.Index), 2u);
    EXPECT_NE(a.Index->Mutex, nullptr);
    EXPECT_EQ(static_cast<uint64_t>(Attach::New), 1u);
    EXPECT_EQ(static_cast<uint64_t>(Attach::Found), 2u);
    CloseThreadIndex(&a, 1);
    CloseThreadIndex(&b, 1);
    EXPECT_EQ(FindSharedIndex(b), nullptr);
}

TEST_F(SharedRecord, AChangeOfOneThreadIsSeenByTheOtherBeforeItIsSaved)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    InThread([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        ASSERT_EQ(StoreItem_SetProperty("2.MAI", "PR_SUBJECT", "shared"), 1u);
        StoreFolder_Close();
    });
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "shared");
    StoreFolder_Close();
}

TEST_F(SharedRecord, EachThreadHasItsOwnCurrentItem)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
    InThread([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        EXPECT_EQ(Property("VL_ITEM_ID"), std::nullopt);
        ASSERT_EQ(StoreFolder_SelectItem("3.MAI"), 1u);
        StoreFolder_Close();
    });
    EXPECT_EQ(Property("VL_ITEM_ID"), "1.MAI");
    StoreFolder_Close();
}

// ---- Closing more often than opening ----

TEST_F(SharedRecord, AThreadThatClosesTooOftenTakesNothingFromTheOthers)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    Worker other;
    other.Do([] { ASSERT_EQ(Open("INBOX"), 1u); });
    for (int i = 0; i < 5; ++i) other.Do([] { EXPECT_EQ(StoreFolder_Close(), 1u); });
    other.Do([] { EXPECT_EQ(StoreFolder_FindClose(), 1u); });
    EXPECT_EQ(References(), 1u);
    EXPECT_EQ(Walk().size(), 3u);
    EXPECT_EQ(StoreFolder_Close(), 1u);
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(SharedRecord, ASecondItemOpenWithItsOwnCloseTakesNothingFromTheOthers)
{
    ASSERT_EQ(StoreFolder_OpenItem("po", "box", "CONTACTS", "a.vcf", 1), 1u);
    Worker other;
    other.Do([] {
        ASSERT_EQ(StoreFolder_OpenItem("po", "box", "CONTACTS", "a.vcf", 1), 1u);
        ASSERT_EQ(StoreFolder_OpenItem("po", "box", "CONTACTS", "a.vcf", 1), 2u);
        StoreFolder_Close();
        StoreFolder_Close();
    });
    EXPECT_EQ(References(), 1u);
    EXPECT_TRUE(CurrentContext()->Index);
    StoreFolder_Close();
}

TEST_F(SharedRecord, AThreadThatHasClosedStaysOnTheRecordWhileOthersHoldIt)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    Worker other;
    other.Do([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        StoreFolder_Close();
        EXPECT_STREQ(CurrentContext()->Key, "[po][box][INBOX]");
        EXPECT_EQ(Walk().size(), 3u);
        std::string printed;
        printed = CaptureStdout([] { EXPECT_EQ(Open("INBOX"), 2u); });
        EXPECT_EQ(printed, "StoreFolder_Open::Piggybacking Index\n");
        EXPECT_EQ(References(), 2u);
        StoreFolder_Close();
    });
    EXPECT_EQ(References(), 1u);
    StoreFolder_Close();
}

TEST_F(SharedRecord, AThreadThatHasClosedIsIdleOnceTheRecordEnds)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    Worker other;
    other.Do([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u);
        StoreFolder_Close();
        ASSERT_EQ(StoreFolder_SelectItem("1.MAI"), 1u) << "still on the record";
    });
    StoreFolder_Close();
    EXPECT_TRUE(SharedIndexKeys().empty());
    other.Do([] {
        EXPECT_EQ(Property("PR_SUBJECT"), std::nullopt);
        EXPECT_EQ(StoreFolder_FindFirstItem(), 0u);
        EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
        EXPECT_EQ(StoreFolder_SelectItem("1.MAI"), 0u);
        EXPECT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", "x"), 0u);
        EXPECT_EQ(StoreFolder_Save(0), 1u);
        EXPECT_TRUE(BeginsIdle());
    });
}

TEST_F(SharedRecord, AnEndedRecordIsNotPiggybackedOn)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    Worker other;
    other.Do([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        StoreFolder_Close();
    });
    StoreFolder_Close();
    other.Do([] {
        EXPECT_EQ(Open("INBOX"), 1u) << "a new record";
        EXPECT_EQ(Walk().size(), 3u);
        EXPECT_EQ(StoreFolder_Close(), 1u);
    });
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(SharedRecord, AnEndedRecordIsClosedByItsLastFollower)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    Worker other;
    other.Do([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        StoreFolder_Close();
    });
    StoreFolder_Close();
    other.Do([] {
        EXPECT_EQ(StoreFolder_Close(), 1u);
        EXPECT_TRUE(BeginsIdle());
    });
}

// ---- A record that is loaded anew under other threads ----

class Reloaded : public SharedRecord {
protected:
    // Another process wrote the index; a second thread's open picks it up.
    void ReloadInAnotherThread()
    {
        PutMail(inbox, "4.MAI", "four");
        WriteFileBytes(inbox / "_CHANGE.DTY", "");
        InThread([] {
            ASSERT_EQ(Open("INBOX"), 1u);
            StoreFolder_Close();
        });
    }
};

TEST_F(Reloaded, TheCurrentItemOfAnotherThreadIsGone)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    ReloadInAnotherThread();
    EXPECT_EQ(Property("PR_SUBJECT"), std::nullopt);
    EXPECT_EQ(CurrentContext()->CurrentFolderItem.Item, nullptr);
    EXPECT_EQ(Property("VL_FOLDER"), "INBOX");
    EXPECT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    EXPECT_EQ(Property("PR_SUBJECT"), "two");
    StoreFolder_Close();
}

TEST_F(Reloaded, TheWalkOfAnotherThreadIsAtItsEnd)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    ASSERT_EQ(StoreFolder_FindFirstItem(), 1u);
    ReloadInAnotherThread();
    EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
    EXPECT_EQ(StoreFolder_FindNextItem(), 0u);
    EXPECT_EQ(Walk().size(), 4u);
    StoreFolder_Close();
}

TEST_F(Reloaded, ASetWithNoIdWritesToNoItem)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    ASSERT_EQ(StoreFolder_SelectItem("2.MAI"), 1u);
    ReloadInAnotherThread();
    EXPECT_EQ(StoreItem_SetProperty("", "PR_SUBJECT", "stale"), 1u);
    EXPECT_EQ(CurrentContext()->Index->Changed, 0u);
    StoreFolder_Close();
}

// ---- Failures ----

TEST_F(SharedRecord, AFailedOpenOfARecordThatOthersHoldKeepsTheThreadOnIt)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    Age(inbox);  // so that the copy in memory no longer counts
    void* block = nullptr;
    const std::string path = inbox.string() + "\\_index.blk";
    ASSERT_EQ(WaitForAccessToIndexFileEx(path.c_str(), 1, &block), 1u);
    Worker other;
    other.Do([] {
        EXPECT_EQ(Open("INBOX"), 0u);
        EXPECT_STREQ(CurrentContext()->Key, "[po][box][INBOX]");
        EXPECT_TRUE(CurrentContext()->Index);
        EXPECT_EQ(References(), 1u);
        CaptureStdout([] { EXPECT_EQ(Open("INBOX"), 2u) << "the next one looks at nothing"; });
        StoreFolder_Close();
    });
    ASSERT_EQ(UnBlockIndexFileAccessEx(path.c_str(), 1, &block), 1u);
    StoreFolder_Close();
    EXPECT_TRUE(SharedIndexKeys().empty());
}

class Abandoned : public SharedRecord {
protected:
    // A thread ends in the middle of an operation on the record.
    void SetUp() override
    {
        SharedRecord::SetUp();
        ASSERT_EQ(Open("INBOX"), 1u);
        ASSERT_EQ(StoreItem_SetProperty("1.MAI", "PR_SUBJECT", "changed"), 1u);
        InThread([] {
            ASSERT_EQ(Open("INBOX"), 1u);
            ASSERT_EQ(WaitForSingleObject(CurrentContext()->Index->Mutex, INFINITE), WAIT_OBJECT_0);
        });
    }
    bool Reported(const char* function) const
    {
        return log.HasEvent(std::string(function) + " handled an exception; session will be dropped.") &&
               log.HasEvent("was abandoned by another thread");
    }
};

TEST_F(Abandoned, AnOpenFailsOnceAndStopsNobody)
{
    Worker other;
    other.Do([] {
        EXPECT_EQ(Open("INBOX"), 0u);
        StoreFolder_FindClose();
    });
    EXPECT_TRUE(Reported("StoreIndex_Open"));
    InThread([] {
        EXPECT_EQ(Open("INBOX"), 1u) << "while the thread that failed lives on";
        StoreFolder_Close();
    });
    other.Do([] {
        EXPECT_EQ(Open("INBOX"), 1u);
        StoreFolder_Close();
    });
}

TEST_F(Abandoned, AnItemCallFailsOnceAndNothingIsThrown)
{
    EXPECT_EQ(StoreFolder_FindFirstItem(), 0u);
    EXPECT_TRUE(Reported("StoreFolder_FindFirstItem"));
    EXPECT_EQ(StoreFolder_FindFirstItem(), 1u);
}

TEST_F(Abandoned, ASaveOfEverythingPassesTheRecordOver)
{
    EXPECT_EQ(Store_Save(0), 1u);
    EXPECT_TRUE(Reported("Store_Save"));
    EXPECT_EQ(CurrentContext()->Index->Changed, 1u);
    EXPECT_EQ(Store_Save(0), 1u);
    EXPECT_EQ(CurrentContext()->Index->Changed, 0u);
}

// An open that fails closes its folder, and a close takes the registry before it waits for opens to end.
TEST_F(SharedRecord, FailingOpensAndClosesDoNotWaitForEachOther)
{
    constexpr int kRounds = 100;
    // A file in the place of a folder, one for each thread: with two on one record a failed open stays on it.
    const char* const files[] = {"plain0", "plain1"};
    for (const char* const file : files) WriteFileBytes(inbox.parent_path() / file, "");
    std::atomic<int> failed{0};
    std::vector<std::thread> threads;
    for (const char* const file : files) {
        threads.emplace_back([&failed, file] {
            for (int round = 0; round < kRounds; ++round) failed += Open(file) == 0;
        });
        threads.emplace_back([] {
            for (int round = 0; round < kRounds; ++round) {
                Open("Sent", 200);
                StoreFolder_Close();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failed, 2 * kRounds);
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(SharedRecord, AThreadThatFindsARecordBeforeItIsPlacedPlacesIt)
{
    // What is left when a thread has made the record and has not come to its open yet.
    TLSStoreIndex early;
    CopyBounded(early.Key, "[po][box][INBOX]");
    ASSERT_EQ(AttachSharedIndex(early), Attach::New);
    EXPECT_EQ(Open("INBOX"), 1u);
    EXPECT_EQ(CurrentContext()->Index, early.Index);
    EXPECT_EQ(Walk().size(), 3u);
    CloseThreadIndex(&early, 1);
    StoreFolder_Close();
}

// A thread died with the record before its folder was known.
TEST_F(SharedRecord, AnOpenThatFindsItsRecordAbandonedUnplacedGivesItsOpenBack)
{
    for (const bool item : {false, true}) {
        TLSStoreIndex early;
        CopyBounded(early.Key, item ? "[po][box][INBOX][1.MAI]" : "[po][box][INBOX]");
        ASSERT_EQ(AttachSharedIndex(early), Attach::New);
        InThread([&] { ASSERT_EQ(WaitForSingleObject(early.Index->Mutex, INFINITE), WAIT_OBJECT_0); });
        EXPECT_EQ(item ? StoreFolder_OpenItem("po", "box", "INBOX", "1.MAI", 0) : Open("INBOX"), 0u);
        EXPECT_EQ(early.Index->RefCount, 1u) << item;
        StoreFolder_FindClose();
        CloseThreadIndex(&early, 1);
        EXPECT_TRUE(SharedIndexKeys().empty());
    }
}

// ---- The end of threads ----

TEST_F(SharedRecord, AThreadThatEndsLeavesItsFolderOpen)
{
    InThread([] { ASSERT_EQ(Open("INBOX"), 1u); });
    EXPECT_EQ(SharedIndexKeys(), (Keys{"[po][box][INBOX]"}));
    ASSERT_EQ(Open("INBOX"), 1u);
    EXPECT_EQ(References(), 2u);
    StoreFolder_Close();
    EXPECT_EQ(SharedIndexKeys(), (Keys{"[po][box][INBOX]"}));
}

TEST_F(SharedRecord, AReleaseLeavesTheFolderOpenAndTheContextInPlace)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    const TLSStoreIndex* const context = CurrentContext();
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
    EXPECT_EQ(ExistingContext(), context);
    EXPECT_EQ(Walk().size(), 3u);
    StoreFolder_Close();
}

using OwnRecord = Provider;

TEST_F(OwnRecord, ThreadsHaveRecordsOfTheirOwn)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    const SharedIndex* const mine = CurrentContext()->Index.get();
    InThread([&] {
        ASSERT_EQ(Open("INBOX"), 1u);
        EXPECT_NE(CurrentContext()->Index.get(), mine);
        EXPECT_EQ(References(), 1u);
        EXPECT_EQ(SharedIndexKeys().size(), 2u);
    });
    EXPECT_EQ(SharedIndexKeys().size(), 1u) << "the end of a thread closes its folder";
}

TEST_F(OwnRecord, TheEndOfAThreadGivesBackAllItsOpens)
{
    InThread([] {
        ASSERT_EQ(Open("INBOX"), 1u);
        CaptureStdout([] {
            ASSERT_EQ(Open("INBOX"), 2u);
            ASSERT_EQ(Open("Sent"), 1u);
            ASSERT_EQ(Open("Sent"), 2u);
        });
        EXPECT_EQ(SharedIndexKeys().size(), 2u);
    });
    EXPECT_TRUE(SharedIndexKeys().empty());
}

TEST_F(OwnRecord, AReleaseClosesTheFolderAndTheNextCallStartsAnew)
{
    ASSERT_EQ(Open("INBOX"), 1u);
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u);
    EXPECT_EQ(ExistingContext(), nullptr);
    EXPECT_TRUE(SharedIndexKeys().empty());
    EXPECT_EQ(StoreLibrary_ThreadRelease(), 1u) << "also with no context";
    EXPECT_EQ(StoreFolder_FindFirstItem(), 0u);
    EXPECT_EQ(Open("INBOX"), 1u);
}

TEST_F(OwnRecord, AContextBeginsEmpty)
{
    InThread([] {
        EXPECT_EQ(ExistingContext(), nullptr);
        const TLSStoreIndex* const context = TLSStoreIndex_Init(Process().TLSFolderContextSlot);
        ASSERT_NE(context, nullptr);
        EXPECT_EQ(context->Index, nullptr);
        EXPECT_EQ(context->CalendarDocument, nullptr);
        EXPECT_EQ(context->CurrentFolderItem.Item, nullptr);
        EXPECT_EQ(context->CurrentFolderItem.Class, 0xFFFFFFFFu);
        EXPECT_STREQ(context->Key, "");
        EXPECT_EQ(GetTLSStoreIndex(Process().TLSFolderContextSlot), context);
        EXPECT_EQ(GetTLSStoreIndex(kNoTlsSlot), nullptr);
    });
}

TEST_F(OwnRecord, WithNoSlotEveryCallAnswersAsWithNoFolder)
{
    const uint32_t slot = Process().TLSFolderContextSlot;
    Process().TLSFolderContextSlot = kNoTlsSlot;
    EXPECT_EQ(Open("INBOX"), 0u);
    EXPECT_EQ(StoreFolder_OpenItem("po", "box", "INBOX", "1.MAI", 0), 0u);
    EXPECT_EQ(StoreFolder_FindFirstItem(), 0u);
    EXPECT_EQ(Property("VL_FOLDER"), std::nullopt);
    EXPECT_EQ(StoreFolder_Save(0), 1u);
    EXPECT_EQ(StoreFolder_Close(), 1u);
    EXPECT_EQ(StoreFolder_FindClose(), 1u);
    Process().TLSFolderContextSlot = slot;
}

}  // namespace
}  // namespace velmora::test
