#include "common/UnknownPtr.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/FileManagement.h"
#include "platform/win32.h"
#include "tests/support/TestStore.h"

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

// Says when it counts and lets go.
class Counting : public Counted {
public:
    using Counted::Counted;
    using Counted::operator=;
    std::string log;
    void AddReference() override
    {
        log += '+';
        Counted::AddReference();
    }
    void ReleaseReference() override
    {
        log += this->Pointer ? '-' : '0';
        Counted::ReleaseReference();
    }
};

TEST(UnknownPtr, AnUnchangedPointerDoesNothing)
{
    std::string log;
    auto* const object = new Told(log);
    Counting pointer(object);
    pointer = object;
    const Weak& same = pointer;
    static_cast<Weak&>(pointer) = same;
    EXPECT_EQ(pointer.log, "");
    EXPECT_EQ(object->Count, 1u);
    EXPECT_EQ(log, "");
    Counted none;
    const Counted& noneToo = none;
    none = noneToo;
    EXPECT_TRUE(!none);
}

TEST(UnknownPtr, AnotherPointerIsLetGoOfAndThenCounted)
{
    std::string log;
    Counting pointer(new Told(log));
    Weak& seen = pointer;
    const Weak other(new Told(log));
    seen = other;
    EXPECT_EQ(pointer.log, "-+");
    EXPECT_EQ(log, "bd");
}

TEST(UnknownPtr, DeletedAsItsBaseItLetsGo)
{
    std::string log;
    Weak* const pointer = new Counted(new Told(log));
    delete pointer;
    EXPECT_EQ(log, "bd");
}

// What its end does with the pointer that it is let go by.
class Resetting final : public Unknown {
public:
    enum class Sets { Another, Itself };
    Resetting(UnknownPtr<Resetting>& pointer, Sets sets, std::string& log) : pointer_(pointer), sets_(sets), log_(log) {}
    void BeforeDestroy() override
    {
        log_ += !pointer_ ? 'b' : 'B';
        if (sets_ == Sets::Another) pointer_ = new Resetting(pointer_, Sets::Itself, log_);
        if (sets_ == Sets::Itself) const UnknownPtr<Resetting> own(this);
    }
    void Destroy() override
    {
        log_ += 'd';
        delete this;
    }

private:
    UnknownPtr<Resetting>& pointer_;
    const Sets sets_;
    std::string& log_;
};

TEST(UnknownPtr, IsClearWhenTheObjectEnds)
{
    std::string log;
    UnknownPtr<Resetting> pointer;
    pointer = new Resetting(pointer, Resetting::Sets::Itself, log);
    pointer.ReleaseReference();
    EXPECT_EQ(log, "bd") << "and a pointer that its end makes at it does not end it again";
}

TEST(UnknownPtr, WhatTheObjectsEndHasSetIsLetGoOfToo)
{
    std::string log;
    UnknownPtr<Resetting> pointer;
    pointer = new Resetting(pointer, Resetting::Sets::Another, log);
    pointer = nullptr;
    EXPECT_EQ(log, "bdbd");
    EXPECT_TRUE(!pointer);
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

TEST(UnknownPtr, TheLastOfManyThreadsEndsTheObjectOnce)
{
    for (int round = 0; round < 200; ++round) {
        std::string log;
        auto first = std::make_unique<Counted>(new Told(log));
        auto second = std::make_unique<Counted>(*first);
        std::atomic<int> ready = 0;
        std::vector<std::thread> threads;
        for (std::unique_ptr<Counted>* const pointer : {&first, &second}) {
            threads.emplace_back([&ready, pointer] {
                ++ready;
                while (ready < 2) {
                }
                pointer->reset();
            });
        }
        for (std::thread& thread : threads) thread.join();
        ASSERT_EQ(log, "bd") << round;
    }
}

// What the hosts of another language would count on: the table of operations, and what stands behind it.
TEST(UnknownPtr, IsATableOfOperationsAndOnePointer)
{
    EXPECT_EQ(sizeof(Weak), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(Counted), 2 * sizeof(void*));
    std::string log;
    auto* const object = new Told(log);
    const Counted held(object);
    EXPECT_EQ(static_cast<const void*>(&object->Count), reinterpret_cast<const char*>(object) + sizeof(void*));
    EXPECT_EQ(sizeof object->Count, sizeof(uint32_t));
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
    // Named, since a comparison by its sign may be one that the compiler turns round.
    EXPECT_TRUE(asked.Weak::operator==(weak) && asked.Weak::operator==(none));
    EXPECT_FALSE(asked.Weak::operator!=(weak) || asked.Weak::operator!=(none));
    EXPECT_TRUE(asked.Weak::operator<(weak) && asked.Weak::operator<(none));
    EXPECT_TRUE(asked.Weak::operator>(weak) && asked.Weak::operator>(none));
    EXPECT_EQ(asked.log, "====<<>>");
}

TEST(FileMutexes, TheTableIsEmptyAlsoWhenFilesHaveBeenUsed)
{
    EXPECT_TRUE(FileManagement::fileMutexes.empty());
    const test::TempDirectory directory;
    const std::string root = directory.Path().string();
    FileManagement::WriteWholeFile(root + "\\a\\f", "bytes");
    FileManagement::MovePath(root + "\\a", root + "\\b");
    FileManagement::CopyTree(root + "\\b", root + "\\c");
    FileManagement::RemoveTree(root + "\\b");
    EXPECT_TRUE(FileManagement::fileMutexes.empty());
}

TEST(FileMutexes, TheMutexOfTheTableIsThereAndItsLabelIsNoNameOfTheSystem)
{
    ASSERT_NE(FileManagement::fileMutexesMutex.Get(), nullptr);
    const MutexLock lock(FileManagement::fileMutexesMutex.Get(), 0);
    EXPECT_TRUE(lock.Held());
    EXPECT_EQ(OpenMutexA(0, FALSE, "FileManagement::fileMutexesMutex"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
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
