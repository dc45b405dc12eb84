#include "common/UnknownPtr.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/FileManagement.h"
#include "platform/win32.h"

namespace velmora {
namespace {

// Tells what is done to it, and may point at another one.
class Told final : public Unknown {
public:
    explicit Told(std::string& log, Told* next = nullptr) : next_(next), log_(log) {}
    void BeforeDestroy() override { log_ += 'b'; }
    void Destroy() override
    {
        log_ += 'd';
        delete this;
    }

private:
    UnknownPtr<Told> next_;
    std::string& log_;
};

using Weak = UnknownWeakPtr<Told>;
using Counted = UnknownPtr<Told>;

TEST(UnknownPtr, CountsWhoPoints)
{
    std::string log;
    auto* const object = new Told(log);
    EXPECT_EQ(object->References(), 0u);
    {
        const Counted first(object);
        EXPECT_EQ(object->Count, 1u);
        {
            const Counted copy(first);
            Counted assigned;
            assigned = first;
            Counted raw;
            raw = object;
            EXPECT_EQ(object->References(), 4u);
        }
        EXPECT_EQ(object->Count, 1u);
        EXPECT_EQ(log, "");
    }
    EXPECT_EQ(log, "bd");
}

TEST(UnknownPtr, TheLastReleaseCallsTheThirdOperationAndThenTheFirst)
{
    std::string log;
    Counted pointer(new Told(log));
    Counted other(pointer);
    other.ReleaseReference();
    EXPECT_TRUE(!other) << "it is cleared in any case";
    EXPECT_EQ(log, "");
    pointer.ReleaseReference();
    EXPECT_TRUE(!pointer);
    EXPECT_EQ(log, "bd");
    pointer.ReleaseReference();
    pointer.AddReference();
    EXPECT_EQ(log, "bd") << "null has no count";
}

TEST(UnknownPtr, AnUnchangedPointerDoesNothing)
{
    std::string log;
    auto* const object = new Told(log);
    Counted pointer(object);
    pointer = object;
    const Counted& same = pointer;
    pointer = same;
    EXPECT_EQ(object->Count, 1u);
    EXPECT_EQ(log, "");
}

TEST(UnknownPtr, AnotherPointerLetsGoOfTheOldObjectAndCountsTheNew)
{
    std::string first, second;
    auto* const later = new Told(second);
    Counted pointer(new Told(first));
    pointer = later;
    EXPECT_EQ(first, "bd");
    EXPECT_EQ(later->Count, 1u);
    EXPECT_EQ(static_cast<Told*>(pointer), later);
    pointer = nullptr;
    EXPECT_EQ(second, "bd");
    EXPECT_TRUE(!pointer);
}

TEST(UnknownPtr, WhatOnlyTheOldObjectHeldIsThereWhenItHasGone)
{
    std::string first, second;
    auto* const next = new Told(second);
    Counted walk(new Told(first, next));
    EXPECT_EQ(next->Count, 1u);
    walk = next;
    EXPECT_EQ(first, "bd");
    EXPECT_EQ(second, "");
    EXPECT_EQ(next->Count, 1u);
}

TEST(UnknownPtr, OneSeenAsItsBaseStillCounts)
{
    std::string log;
    auto* const object = new Told(log);
    Counted counted;
    Weak& seen = counted;
    seen = object;
    EXPECT_EQ(object->Count, 1u);
    Weak const weak(object);
    seen = nullptr;
    EXPECT_EQ(log, "bd");
    EXPECT_EQ(static_cast<Told*>(counted), nullptr);
}

TEST(UnknownPtr, CountsAreRightWhenManyThreadsPointAtOneObject)
{
    std::string log;
    auto* const object = new Told(log);
    const Counted held(object);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int time = 0; time < 5000; ++time) {
                const Counted copy(held);
                EXPECT_GE(object->Count, 2u);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(object->Count, 1u);
    EXPECT_EQ(log, "");
}

TEST(UnknownWeakPtr, PointsAndDoesNotCount)
{
    std::string log;
    auto* const object = new Told(log);
    const Counted keeper(object);
    Weak weak(object);
    const Weak copy(weak);
    EXPECT_EQ(object->Count, 1u);
    EXPECT_EQ(copy.operator->(), object);
    EXPECT_EQ(static_cast<Told*>(weak), object);
    weak = nullptr;
    EXPECT_TRUE(!weak);
    EXPECT_FALSE(!copy);
    weak = copy;
    EXPECT_FALSE(!weak);
    EXPECT_EQ(object->Count, 1u);
}

TEST(UnknownWeakPtr, ComparesByAddress)
{
    std::string log;
    std::array<Told*, 2> objects{new Told(log), new Told(log)};
    if (std::less<>()(objects[1], objects[0])) std::swap(objects[0], objects[1]);
    const Counted low(objects[0]), high(objects[1]);
    const Weak same(objects[0]), none;
    EXPECT_TRUE(low == same && low == objects[0] && !(low == high) && !(low == objects[1]));
    EXPECT_TRUE(low != high && low != objects[1] && !(low != same) && !(low != objects[0]));
    EXPECT_TRUE(low < high && low < objects[1] && !(high < low) && !(high < objects[0]) && !(low < same));
    EXPECT_TRUE(high > low && high > objects[0] && !(low > high) && !(low > objects[1]) && !(low > same));
    EXPECT_TRUE(none < low && none == nullptr && low != nullptr);
}

// Says through which of its operations it was asked.
class Asked : public Weak {
public:
    using Weak::operator=;
    mutable std::string log;
    void AssignPointer(const Weak& other) override
    {
        log += 'a';
        Weak::AssignPointer(other);
    }
    void SetPointer(Told*) override { log += 's'; }
    bool IsEqual(Told*) const override { return (log += '=', true); }
    bool IsLess(Told*) const override { return (log += '<', true); }
    bool IsGreater(Told*) const override { return (log += '>', true); }
};

TEST(UnknownWeakPtr, EachOperationGoesThroughTheOneThatItIsMadeOf)
{
    Asked asked;
    Told* const none = nullptr;
    const Weak weak;
    asked = weak;
    EXPECT_EQ(std::exchange(asked.log, {}), "as");
    asked = none;
    EXPECT_EQ(std::exchange(asked.log, {}), "s");
    EXPECT_TRUE(asked.Weak::operator==(weak) && asked.Weak::operator==(none));
    EXPECT_FALSE(asked.Weak::operator!=(weak) || asked.Weak::operator!=(none));
    EXPECT_TRUE(asked.Weak::operator<(weak) && asked.Weak::operator<(none));
    EXPECT_TRUE(asked.Weak::operator>(weak) && asked.Weak::operator>(none));
    EXPECT_EQ(asked.log, "====<<>>");
}

TEST(FileMutexes, TheTableIsEmptyAlsoWhenFilesHaveBeenUsed)
{
    EXPECT_TRUE(FileManagement::fileMutexes.empty());
    EXPECT_FALSE(FileManagement::Exists("a file that is not there"));
    EXPECT_TRUE(FileManagement::fileMutexes.empty());
}

TEST(FileMutexes, TheMutexOfTheTableIsThereAndItsLabelIsNoNameOfTheSystem)
{
    ASSERT_NE(FileManagement::fileMutexesMutex.Get(), nullptr);
    const MutexLock lock(FileManagement::fileMutexesMutex.Get(), 0);
    EXPECT_TRUE(lock.Held());
    EXPECT_EQ(OpenMutexA(0, FALSE, "FileManagement::fileMutexesMutex"), nullptr);
}

TEST(FileMutexes, AMutexThatIsEnteredGoesWithItsTable)
{
    FileMutexTable table;
    table["a"] = new FileMutex;
    table["b"] = table["a"];
    EXPECT_EQ(table["a"]->Count, 2u);
    table.erase("a");
    EXPECT_EQ(table["b"]->Count, 1u);
}

}  // namespace
}  // namespace velmora
