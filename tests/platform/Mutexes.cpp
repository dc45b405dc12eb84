// Mutexes: recursion, time limits, owners, abandonment, names.
#include <chrono>
#include <thread>

#include "tests/platform/PlatformTest.h"

namespace velmora::test {

namespace {

template <typename Body>
void OnAnotherThread(Body body)
{
    std::thread(body).join();
}

TEST(Mutexes, AreRecursive)
{
    Opened mutex(CreateMutexA(nullptr, FALSE, nullptr));
    ASSERT_TRUE(mutex.IsOpen());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
    for (int held = 3; held > 0; --held) {
        OnAnotherThread([&] { EXPECT_EQ(WaitForSingleObject(mutex.Get(), 0), WAIT_TIMEOUT); });
        EXPECT_TRUE(ReleaseMutex(mutex.Get()));
    }
    OnAnotherThread([&] {
        EXPECT_EQ(WaitForSingleObject(mutex.Get(), 0), WAIT_OBJECT_0);
        EXPECT_TRUE(ReleaseMutex(mutex.Get()));
    });
    EXPECT_EQ(ErrorOf(ReleaseMutex(mutex.Get())), ERROR_NOT_OWNER);
}

TEST(Mutexes, AWaitEndsAtItsTimeLimit)
{
    Opened mutex(CreateMutexA(nullptr, TRUE, nullptr));
    OnAnotherThread([&] {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(WaitForSingleObject(mutex.Get(), 30), WAIT_TIMEOUT);
        const auto waited = std::chrono::steady_clock::now() - begin;
        EXPECT_GE(waited, std::chrono::milliseconds(25));
    });
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
}

TEST(Mutexes, AWaitEndsWhenTheOwnerReleases)
{
    Opened mutex(CreateMutexA(nullptr, TRUE, nullptr));
    DWORD result = WAIT_FAILED;
    std::thread waiter([&] {
        result = WaitForSingleObject(mutex.Get(), 60'000);
        ReleaseMutex(mutex.Get());
    });
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
    waiter.join();
    EXPECT_EQ(result, WAIT_OBJECT_0);
}

TEST(Mutexes, AnotherThreadCannotRelease)
{
    Opened mutex(CreateMutexA(nullptr, TRUE, nullptr));
    OnAnotherThread([&] { EXPECT_EQ(ErrorOf(ReleaseMutex(mutex.Get())), ERROR_NOT_OWNER); });
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
}

TEST(Mutexes, AnOwnerThatDiedIsReportedOnceAsAbandoned)
{
    Opened mutex(CreateMutexA(nullptr, FALSE, nullptr));
    for (DWORD timeout : {DWORD{0}, DWORD{1000}, DWORD{INFINITE}}) {
        OnAnotherThread([&] {
            EXPECT_EQ(WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
            EXPECT_EQ(WaitForSingleObject(mutex.Get(), INFINITE), WAIT_OBJECT_0);
        });
        EXPECT_EQ(WaitForSingleObject(mutex.Get(), timeout), WAIT_ABANDONED);
        OnAnotherThread([&] { EXPECT_EQ(WaitForSingleObject(mutex.Get(), 0), WAIT_TIMEOUT); });
        EXPECT_TRUE(ReleaseMutex(mutex.Get())) << "the abandoned mutex belongs to the thread that was told";
        EXPECT_EQ(WaitForSingleObject(mutex.Get(), 0), WAIT_OBJECT_0);
        EXPECT_TRUE(ReleaseMutex(mutex.Get()));
        EXPECT_EQ(ErrorOf(ReleaseMutex(mutex.Get())), ERROR_NOT_OWNER);
    }
}

TEST(Mutexes, UnnamedOnesAreSeparate)
{
    Opened one(CreateMutexA(nullptr, TRUE, nullptr));
    Opened other(CreateMutexA(nullptr, FALSE, nullptr));
    OnAnotherThread([&] {
        EXPECT_EQ(WaitForSingleObject(other.Get(), 0), WAIT_OBJECT_0);
        EXPECT_TRUE(ReleaseMutex(other.Get()));
    });
    EXPECT_TRUE(ReleaseMutex(one.Get()));
}

TEST(Mutexes, OneNameIsOneMutex)
{
    const std::string name = "velmora-test-mutex-" + std::to_string(GetCurrentProcessId());
    EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    Opened made(CreateMutexA(nullptr, TRUE, name.c_str()));
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    Opened opened(OpenMutexA(MUTEX_ALL_ACCESS, FALSE, name.c_str()));
    ASSERT_TRUE(opened.IsOpen());
    Opened again(CreateMutexA(nullptr, TRUE, name.c_str()));
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    OnAnotherThread([&] {
        EXPECT_EQ(WaitForSingleObject(opened.Get(), 0), WAIT_TIMEOUT);
        EXPECT_EQ(WaitForSingleObject(again.Get(), 0), WAIT_TIMEOUT);
    });
    EXPECT_TRUE(ReleaseMutex(opened.Get())) << "the owner may release through any of its handles";
    EXPECT_EQ(ErrorOf(ReleaseMutex(made.Get())), ERROR_NOT_OWNER) << "one that was there is not taken by making it";
    made.Close();
    opened.Close();
    again.Close();
    EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()), nullptr) << "it goes with its last handle";
}

TEST(Mutexes, OneThatIsOpenedWithoutTheRightToWaitIs5)
{
    const std::string name = "velmora-test-mutex-" + std::to_string(GetCurrentProcessId());
    Opened made(CreateMutexA(nullptr, FALSE, name.c_str()));
    Opened opened(OpenMutexA(0, FALSE, name.c_str()));
    ASSERT_TRUE(opened.IsOpen());
    EXPECT_EQ(WaitForSingleObject(opened.Get(), 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    Opened waiting(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str()));
    EXPECT_EQ(WaitForSingleObject(waiting.Get(), 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(made.Get()));
}

TEST(Mutexes, OpeningOneWithoutANameFails)
{
    EXPECT_EQ(OpenMutexA(0, FALSE, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(Mutexes, OneThatIsClosedWhileOwnedDoesNoHarm)
{
    HANDLE mutex = CreateMutexA(nullptr, TRUE, nullptr);
    EXPECT_TRUE(CloseHandle(mutex));
    EXPECT_EQ(ErrorOf(ReleaseMutex(mutex)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);

    HANDLE ownedElsewhere = CreateMutexA(nullptr, FALSE, nullptr);
    OnAnotherThread([&] {
        EXPECT_EQ(WaitForSingleObject(ownedElsewhere, INFINITE), WAIT_OBJECT_0);
        OnAnotherThread([&] { EXPECT_TRUE(CloseHandle(ownedElsewhere)); });
    });
    // What was left behind is cleared away by the next ones.
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(CloseHandle(CreateMutexA(nullptr, FALSE, nullptr)));
}

TEST(Mutexes, GuardWhatManyThreadsCount)
{
    Opened mutex(CreateMutexA(nullptr, FALSE, nullptr));
    int count = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 1000; ++i) {
                while (WaitForSingleObject(mutex.Get(), t % 2 == 0 ? INFINITE : 1000) != WAIT_OBJECT_0) {
                }
                ++count;
                ReleaseMutex(mutex.Get());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(count, 4000);
}

}  // namespace

}  // namespace velmora::test
