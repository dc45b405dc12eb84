// Thread-local slots, and what runs at the end of a thread.
#include <atomic>
#include <set>
#include <thread>

#include "platform/Threads.h"
#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

TEST(ThreadSlots, EachThreadHasItsOwnValueAndBeginsWithNull)
{
    const DWORD slot = TlsAlloc();
    ASSERT_NE(slot, TLS_OUT_OF_INDEXES);
    int mine = 0;
    EXPECT_TRUE(TlsSetValue(slot, &mine));
    std::thread([&] {
        SetLastError(ERROR_ACCESS_DENIED);
        EXPECT_EQ(TlsGetValue(slot), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS) << "a null value is no failure";
        int other = 0;
        EXPECT_TRUE(TlsSetValue(slot, &other));
        EXPECT_EQ(TlsGetValue(slot), &other);
    }).join();
    EXPECT_EQ(TlsGetValue(slot), &mine);
    EXPECT_TRUE(TlsFree(slot));
}

TEST(ThreadSlots, OneGivenOutAgainIsEmpty)
{
    const DWORD slot = TlsAlloc();
    int value = 0;
    EXPECT_TRUE(TlsSetValue(slot, &value));
    EXPECT_TRUE(TlsFree(slot));
    std::vector<DWORD> slots;
    do {
        slots.push_back(TlsAlloc());
        ASSERT_NE(slots.back(), TLS_OUT_OF_INDEXES);
        EXPECT_EQ(TlsGetValue(slots.back()), nullptr);
    } while (slots.back() != slot && slots.size() < 50);
    EXPECT_EQ(slots.back(), slot);
    for (DWORD taken : slots) EXPECT_TRUE(TlsFree(taken));
}

TEST(ThreadSlots, AtLeast64AreToBeHadAndTheyAreDifferent)
{
    std::set<DWORD> slots;
    for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES && slots.size() < 2000; slot = TlsAlloc())
        EXPECT_TRUE(slots.insert(slot).second);
    EXPECT_GE(slots.size(), 64u);
    EXPECT_LT(slots.size(), 2000u) << "they end";
    for (DWORD slot : slots) EXPECT_TRUE(TlsFree(slot));
}

TEST(ThreadSlots, AnUnknownOneIs87)
{
    EXPECT_EQ(ErrorOf(TlsSetValue(100'000, nullptr)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ErrorOf(TlsFree(100'000)), ERROR_INVALID_PARAMETER);
    SetLastError(0);
    EXPECT_EQ(TlsGetValue(100'000), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(ThreadIdentity, ThreadsHaveDifferentNumbers)
{
    const DWORD mine = GetCurrentThreadId();
    EXPECT_NE(mine, 0u);
    EXPECT_EQ(mine, GetCurrentThreadId());
    std::thread([&] { EXPECT_NE(GetCurrentThreadId(), mine); }).join();
    EXPECT_NE(GetCurrentProcessId(), 0u);
}

TEST(ThreadErrors, TheLastErrorBelongsToItsThread)
{
    // Begun before and joined after the look: both may set this thread's.
    std::atomic<int> step{0};
    std::thread other([&] {
        EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
        while (step != 1) {
        }
        SetLastError(ERROR_PATH_NOT_FOUND);
        step = 2;
        while (step != 3) {
        }
        EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    });
    SetLastError(ERROR_SHARING_VIOLATION);
    step = 1;
    while (step != 2) {
    }
    EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
    step = 3;
    other.join();
}

std::atomic<int> ends{0};
std::atomic<DWORD> endedThread{0};
DWORD slotOfHook = 0;
std::atomic<void*> valueAtEnd{nullptr};

void CountEnd()
{
    ++ends;
    endedThread = GetCurrentThreadId();
    valueAtEnd = TlsGetValue(slotOfHook);
}

class ThreadEnd : public testing::Test {
protected:
    ThreadEnd()
    {
        ends = 0;
        slotOfHook = TlsAlloc();
        platform::SetThreadEndHook(CountEnd);
    }
    ~ThreadEnd() override
    {
        platform::SetThreadEndHook(nullptr);
        TlsFree(slotOfHook);
    }
};

TEST_F(ThreadEnd, TheHookRunsOnEachThreadThatArmedItWithItsValuesStillThere)
{
    int value = 0;
    DWORD id = 0;
    std::thread([&] {
        id = GetCurrentThreadId();
        TlsSetValue(slotOfHook, &value);
        platform::ArmThreadEndHook();
        EXPECT_EQ(ends, 0);
    }).join();
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(endedThread, id);
    EXPECT_EQ(valueAtEnd, &value);
}

TEST_F(ThreadEnd, ArmedTwiceRunsOnce)
{
    std::thread([] {
        platform::ArmThreadEndHook();
        platform::ArmThreadEndHook();
    }).join();
    EXPECT_EQ(ends, 1);
}

TEST_F(ThreadEnd, AThreadThatDidNotArmItEndsWithoutIt)
{
    std::thread([] { TlsSetValue(slotOfHook, nullptr); }).join();
    EXPECT_EQ(ends, 0);
}

TEST_F(ThreadEnd, AHookTakenAwayDoesNotRun)
{
    std::thread([] {
        platform::ArmThreadEndHook();
        platform::SetThreadEndHook(nullptr);
    }).join();
    EXPECT_EQ(ends, 0);
}

TEST_F(ThreadEnd, ManyThreadsEachRunIt)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 32; ++i) threads.emplace_back(platform::ArmThreadEndHook);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(ends, 32);
}

}  // namespace

}  // namespace velmora::test
