#include "tests/torture/Worker.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include "frame/Attach.h"
#include "tests/support/ChildProcess.h"
#include "tests/torture/Hand.h"
#include "tests/torture/HastyClock.h"
#include "tests/torture/IndexWatch.h"
#include "tests/torture/TreeHand.h"
#include "velmora/library.h"

namespace velmora::torture {

namespace {

// Where the threads stand while the driver looks at the store.
class Gate {
public:
    explicit Gate(uint64_t threads) : threads_(threads) {}

    // Between two deeds; false when it is time to end.
    bool Pass()
    {
        std::unique_lock lock(mutex_);
        if (state_ == State::Closed) {
            ++standing_;
            changed_.notify_all();
            changed_.wait(lock, [&] { return state_ != State::Closed; });
            --standing_;
        }
        return state_ != State::Ended;
    }
    // Waits until all threads stand.
    void Close()
    {
        std::unique_lock lock(mutex_);
        state_ = State::Closed;
        changed_.wait(lock, [&] { return standing_ == threads_; });
    }
    void Open() { Change(State::Open); }
    void End() { Change(State::Ended); }

private:
    enum class State { Open, Closed, Ended };
    void Change(State state)
    {
        const std::lock_guard lock(mutex_);
        state_ = state;
        changed_.notify_all();
    }

    const uint64_t threads_;
    std::mutex mutex_;
    std::condition_variable changed_;
    State state_ = State::Open;
    uint64_t standing_ = 0;
};

template <typename AnyHand>
void RunThread(AnyHand hand, uint32_t thread, Journal& journal, Gate& gate)
{
    while (gate.Pass()) {
        try {
            hand.DoSomething();
        } catch (const std::exception& fault) {
            journal.Write(thread, Deed::Fault, 0, {}, 0, std::string("an exception: ") + fault.what());
        }
    }
    StoreLibrary_ThreadRelease();
}

}  // namespace

int RunWorker(const Plan& plan)
{
    test::ParentLine line;
    if (!ProcessAttach()) throw std::runtime_error("the library does not load");
    ListenToTheLibrary();
    HastyClock clock(plan.haste);
    // Every fourth process shares folders between its threads.
    StoreLibrary_SetAffinity(plan.process % 4 == 3 ? 0 : 1);
    Journal journal(plan.worker);
    std::optional<IndexWatch> watch;
    if (plan.trees == 0) {
        watch.emplace(journal);
        clock.beforeSleep = [&] { watch->Resolve(); };
        if (plan.sabotage == "refuse-blocks") watch->RefuseBlocks();
    }
    Gate gate(plan.threads);
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < plan.threads; ++i)
        threads.emplace_back([&, i] {
            if (plan.trees != 0)
                RunThread(TreeHand(plan, i, journal), i, journal, gate);
            else
                RunThread(Hand(plan, i, journal, *watch), i, journal, gate);
        });
    while (const auto order = line.ReadLine()) {
        if (*order == kGo) gate.Open();
        if (*order != kStop) continue;
        gate.Close();
        line.WriteLine(kStopped);
    }
    gate.End();
    for (std::thread& thread : threads) thread.join();
    ThreadDetach();
    ProcessDetach();
    return 0;
}

}  // namespace velmora::torture
