#include "common/Mutex.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <thread>

#include "common/Exception.h"
#include "common/Text.h"
#include "platform/win32.h"

namespace velmora {
namespace {

constexpr uint32_t kShortMs = 20;

// Holds a mutex on another thread until it goes out of scope.
class HeldElsewhere {
public:
    explicit HeldElsewhere(void* handle)
    {
        std::promise<void> taken;
        thread_ = std::thread([this, handle, &taken] {
            MutexLock lock(handle);
            taken.set_value();
            release_.get_future().wait();
        });
        taken.get_future().wait();
    }
    ~HeldElsewhere()
    {
        release_.set_value();
        thread_.join();
    }

private:
    std::promise<void> release_;
    std::thread thread_;
};

// Leaves the mutex with a thread that has ended.
void Abandon(void* handle)
{
    std::thread([handle] { EXPECT_EQ(WaitOnHandle(handle, kWaitForever), WaitResult::Acquired); }).join();
}

bool TakenOnAnotherThread(void* handle)
{
    return std::async(std::launch::async, [handle] { return MutexLock(handle, kShortMs).Held(); }).get();
}

template <typename Body>
std::optional<Exception> Thrown(Body body)
{
    try {
        body();
    } catch (const Exception& error) {
        return error;
    }
    return std::nullopt;
}

TEST(Mutex, TwoObjectsWithOneNameAreTwoMutexes)
{
    const Mutex one("registry");
    const Mutex two("registry");
    ASSERT_NE(one.Get(), nullptr);
    const HeldElsewhere held(one.Get());
    EXPECT_TRUE(MutexLock(two.Get(), kShortMs).Held());
    EXPECT_FALSE(MutexLock(one.Get(), kShortMs).Held());
}

TEST(Mutex, ANullNameMakesANewMutexAtEachCall)
{
    void* one = OpenOrCreateMutex(nullptr);
    void* two = OpenOrCreateMutex(nullptr);
    {
        const HeldElsewhere held(one);
        EXPECT_TRUE(MutexLock(two, kShortMs).Held());
    }
    CloseHandle(one);
    CloseHandle(two);
}

TEST(Mutex, ANameLeadsToTheOneMutexThatBearsIt)
{
    const std::string name = "velmora-test-named-" + std::to_string(GetCurrentProcessId());
    void* const first = OpenOrCreateMutex(name.c_str());
    void* const second = OpenOrCreateMutex(name.c_str());
    void* const other = OpenOrCreateMutex((name + "-other").c_str());
    void* const waiting = OpenMutexA(SYNCHRONIZE, FALSE, name.c_str());
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    ASSERT_NE(waiting, nullptr);
    {
        const HeldElsewhere held(first);
        EXPECT_EQ(WaitOnHandle(waiting, kShortMs), WaitResult::TimedOut);
        EXPECT_TRUE(MutexLock(other, 0).Held());
    }
    EXPECT_TRUE(MutexLock(waiting, 0).Held()) << "made not owned";
    CloseHandle(first);
    CloseHandle(waiting);
    EXPECT_EQ(OpenMutexA(SYNCHRONIZE, FALSE, (name + "-none").c_str()), nullptr);
    void* const still = OpenMutexA(SYNCHRONIZE, FALSE, name.c_str());
    EXPECT_NE(still, nullptr) << "the second handle keeps it";
    for (void* handle : {second, other, still}) CloseHandle(handle);
}

TEST(Mutex, OneThatIsThereIsOpenedWithoutTheRightToWait)
{
    const std::string name = "velmora-test-taken-" + std::to_string(GetCurrentProcessId());
    void* const first = OpenOrCreateMutex(name.c_str());
    void* const second = OpenOrCreateMutex(name.c_str());
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(WaitOnHandle(second, 0), WaitResult::Failed);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(MutexLock(second, 0).Held());
    EXPECT_TRUE(MutexLock(first, 0).Held());
    for (void* handle : {first, second}) CloseHandle(handle);
}

TEST(WaitOnHandle, TellsAcquiredTimedOutAbandonedAndFailed)
{
    const Mutex mutex;
    EXPECT_EQ(WaitOnHandle(mutex.Get(), 0), WaitResult::Acquired);
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
    {
        const HeldElsewhere held(mutex.Get());
        EXPECT_EQ(WaitOnHandle(mutex.Get(), kShortMs), WaitResult::TimedOut);
    }
    Abandon(mutex.Get());
    EXPECT_EQ(WaitOnHandle(mutex.Get(), 0), WaitResult::Abandoned);
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
    EXPECT_EQ(WaitOnHandle(nullptr, 0), WaitResult::Failed);
}

TEST(MutexLock, HoldsForItsScope)
{
    const Mutex mutex;
    {
        const MutexLock lock(mutex.Get());
        EXPECT_TRUE(lock.Held());
        EXPECT_FALSE(TakenOnAnotherThread(mutex.Get()));
    }
    EXPECT_TRUE(TakenOnAnotherThread(mutex.Get()));
}

TEST(MutexLock, OwnerTakesItAgainAndEachLockNeedsItsOwnRelease)
{
    const Mutex mutex;
    const MutexLock outer(mutex.Get());
    {
        const MutexLock inner(mutex.Get(), 0);
        EXPECT_TRUE(inner.Held());
    }
    EXPECT_FALSE(TakenOnAnotherThread(mutex.Get()));
}

TEST(MutexLock, NullHandleIsNotHeld) { EXPECT_FALSE(MutexLock(nullptr).Held()); }

TEST(MutexLock, TimeLimitThatPassesIsQuietAndReleasesNothing)
{
    const Mutex mutex;
    const HeldElsewhere held(mutex.Get());
    {
        const MutexLock lock(mutex.Get(), kShortMs);
        EXPECT_FALSE(lock.Held());
    }
    EXPECT_FALSE(TakenOnAnotherThread(mutex.Get()));
}

TEST(MutexLock, AnAbandonedMutexIsNotHeld)
{
    const Mutex mutex;
    Abandon(mutex.Get());
    EXPECT_FALSE(MutexLock(mutex.Get()).Held());
}

TEST(xMutexLock, HoldsForItsScope)
{
    const Mutex mutex;
    {
        const xMutexLock lock(mutex.Get());
        EXPECT_FALSE(TakenOnAnotherThread(mutex.Get()));
    }
    EXPECT_TRUE(TakenOnAnotherThread(mutex.Get()));
}

TEST(xMutexLock, NullHandleMakesBothStepsNothing)
{
    EXPECT_FALSE(Thrown([] { xMutexLock lock(nullptr); }));
}

TEST(xMutexLock, TimeLimitThatPassesThrows)
{
    const Mutex mutex;
    const HeldElsewhere held(mutex.Get());
    const auto error = Thrown([&] { xMutexLock lock(mutex.Get(), kShortMs); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Message(), FormatText("Failed to lock mutex %p: request timed out", mutex.Get()));
    EXPECT_EQ(error->Source(), "xMutexLock");
    EXPECT_EQ(error->Line(), 71u);
}

TEST(xMutexLock, AnAbandonedMutexThrowsAndStaysWithTheThread)
{
    const Mutex mutex;
    Abandon(mutex.Get());
    const auto error = Thrown([&] { xMutexLock lock(mutex.Get()); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Message(), FormatText("Mutex %p was abandoned by another thread", mutex.Get()));
    EXPECT_EQ(error->Line(), 78u);
    EXPECT_FALSE(TakenOnAnotherThread(mutex.Get()));
    EXPECT_TRUE(ReleaseMutex(mutex.Get()));
}

TEST(xMutexLock, AFailedWaitThrowsWithTheSystemError)
{
    const std::string name = "velmora-test-refused-" + std::to_string(GetCurrentProcessId());
    void* const mutex = CreateMutexA(nullptr, FALSE, name.c_str());
    void* const mayNotWait = OpenMutexA(0, FALSE, name.c_str());
    ASSERT_NE(mayNotWait, nullptr);
    const auto error = Thrown([&] { xMutexLock lock(mayNotWait, 0); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Message(), FormatText("Failed to lock mutex %p with error %u", mayNotWait, unsigned{ERROR_ACCESS_DENIED}));
    EXPECT_EQ(error->Line(), 86u);
    for (void* handle : {mutex, mayNotWait}) CloseHandle(handle);
}

TEST(xMutexLock, AFailedReleaseThrows)
{
    const Mutex mutex;
    const auto error = Thrown([&] {
        xMutexLock lock(mutex.Get());
        ReleaseMutex(mutex.Get());
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Message(), FormatText("Failed to unlock mutex %p with error %u", mutex.Get(), unsigned{ERROR_NOT_OWNER}));
    EXPECT_EQ(error->Line(), 127u);
}

TEST(xMutexLock, AFailedReleaseDuringAnotherExceptionLetsThatOnePass)
{
    const Mutex mutex;
    const auto error = Thrown([&] {
        xMutexLock lock(mutex.Get());
        ReleaseMutex(mutex.Get());
        throw Exception("the first fault");
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Message(), "the first fault");
}

}  // namespace
}  // namespace velmora
