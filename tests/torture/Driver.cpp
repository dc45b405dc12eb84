#include "tests/torture/Driver.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "tests/index/Dice.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestStore.h"
#include "tests/torture/FolderOracle.h"
#include "tests/torture/HastyClock.h"
#include "tests/torture/OwnRecord.h"
#include "tests/torture/Tally.h"
#include "tests/torture/Tree.h"
#include "tests/torture/TreeOracle.h"
#include "tests/torture/Worker.h"

namespace velmora::torture {

namespace fs = std::filesystem;

namespace {

using Time = std::chrono::steady_clock;

constexpr char kProviders[] = "SOFTWARE\\Wow6432Node\\Velmora\\Velmora\\Providers";
// For all of them together. A deed may wait for a block for two minutes and a half.
constexpr auto kStopTimeout = std::chrono::seconds(240);
// Between the end of a process's output and its own.
constexpr auto kEndTimeout = std::chrono::seconds(10);
constexpr uint64_t kMostPrinted = 100;  // faults; the others are counted
constexpr auto kBetweenChecks = std::chrono::seconds(5);

struct Fighter {
    uint64_t number;
    std::unique_ptr<test::ChildProcess> process;
};

class Driver {
public:
    explicit Driver(const Plan& plan);
    int Run();

private:
    // None where the tree is fought for.
    uint32_t MessageFolders() const { return plan_.trees != 0 ? 0 : static_cast<uint32_t>(plan_.folders); }
    void MakeStore();
    void Start();
    void Fight(Time::time_point end);
    void KillOne();
    void LookForTheDead();
    bool StopAll();
    void TellWhyItDoesNotStop(Fighter& fighter, Time::time_point until);
    void LetGo();
    void EndAll();
    void Check(bool last);
    void LookAtBlocks(const std::map<uint32_t, History>& histories);
    void Report();
    void KeepStore();
    fs::path ErrorFileOf(uint64_t fighter) { return store_.Directory().Path() / "journals" / (std::to_string(fighter) + ".err"); }
    // Of one process, with what it wrote to its standard error.
    void FaultOf(const Fighter& fighter, const std::string& text)
    {
        Fault("process " + std::to_string(fighter.number) + " " + text + ": " + test::ReadFileBytes(ErrorFileOf(fighter.number)));
    }
    void Fault(const std::string& text)
    {
        if (++faults_ > kMostPrinted) return;
        std::printf("torture: FAULT (seed %llu) %s\n", static_cast<unsigned long long>(plan_.seed), text.c_str());
    }

    Plan plan_;
    test::Dice dice_;
    test::TestStore store_;
    std::unique_ptr<HastyClock> clock_;
    std::vector<Fighter> fighters_;
    std::vector<JournalReader> journals_;
    std::vector<FolderOracle> oracles_;
    std::optional<TreeOracle> tree_;
    AllowanceCounts counts_;
    Tally tally_;
    std::map<uint64_t, int64_t> deaths_;  // when each was killed
    uint64_t started_ = 0, killed_ = 0, checks_ = 0, faults_ = 0;
    Time::duration fought_{};
};

Driver::Driver(const Plan& plan) : plan_(plan), dice_(plan.seed)
{
    plan_.mailRoot = store_.MailRoot().string();
    MakeStore();
}

void Driver::MakeStore()
{
    const Strategy& strategy = StrategyOf(plan_);
    store_.SetNumber("Use XML Stream Index Deserialisation", strategy.streamReader ? 1 : 0);
    store_.SetNumber("Use XML Stream Index Serialisation", strategy.streamWriter ? 1 : 0);
    // With it, a block that is left behind costs a second and not a minute.
    store_.SetNumber("Index Unblock Mode", static_cast<uint32_t>(plan_.unblock), kProviders);
    store_.SetNumber("Backup Index", static_cast<uint32_t>(plan_.backup));
    store_.SetNumber("Backup Index Interval", 0);
    store_.SetNumber("Index Garbage Collection Threshold", 20);
    fs::create_directory(store_.Directory().Path() / "journals");
    if (plan_.trees != 0) {
        for (const char* const path : kKeptFolders) fs::create_directories(TreeDirectory(plan_.mailRoot, path));
        tree_.emplace(plan_, store_.Directory().Path() / "journals" / "look.txt", counts_);
    }
    for (uint32_t folder = 0; folder < MessageFolders(); ++folder) {
        store_.MakeFolder(FolderName(folder), kMailbox, kPostoffice);
        oracles_.emplace_back(plan_, folder, counts_);
    }
    store_.Attach();
    clock_ = std::make_unique<HastyClock>(plan_.haste);
    // Every folder has an index before anybody fights for it.
    for (uint32_t folder = 0; folder < MessageFolders(); ++folder) {
        OwnRecord record(FolderName(folder));
        if (StoreIndex_Open(&record, 1) != 1) throw std::runtime_error("an empty folder cannot be opened");
    }
}

void Driver::Start()
{
    const uint64_t number = ++started_;
    const fs::path journals = store_.Directory().Path() / "journals";
    const fs::path journal = journals / (std::to_string(number) + ".txt");
    journals_.emplace_back(journal, number);
    test::ChildOptions options;
    options.stderrPath = ErrorFileOf(number);
    options.environment = {{"VELMORA_EVENTLOG", (journals / (std::to_string(number) + ".log")).string()}};
    fighters_.push_back(
        {number, std::make_unique<test::ChildProcess>(test::OwnProgramPath(), WorkerArguments(plan_, number, journal), options)});
}

void Driver::LookForTheDead()
{
    for (Fighter& fighter : fighters_) {
        const auto code = fighter.process->Ended();
        if (!code) continue;
        FaultOf(fighter, "ended by itself with " + std::to_string(*code));
        fighter.process.reset();
    }
    std::erase_if(fighters_, [](const Fighter& fighter) { return !fighter.process; });
    while (fighters_.size() < plan_.processes) Start();
}

void Driver::KillOne()
{
    const size_t which = dice_.Below(fighters_.size());
    fighters_[which].process->KillNow();
    deaths_[fighters_[which].number] = TimeNow();
    fighters_.erase(fighters_.begin() + static_cast<std::ptrdiff_t>(which));
    ++killed_;
}

void Driver::Fight(Time::time_point end)
{
    const Time::time_point begin = Time::now();
    while (Time::now() < end) {
        LookForTheDead();
        if (plan_.kills == 0) {
            std::this_thread::sleep_until(std::min(end, Time::now() + std::chrono::milliseconds(200)));
            continue;
        }
        // From nothing to twice the mean.
        const auto pause = std::chrono::microseconds(dice_.Below(2 * 60000000 / plan_.kills + 1));
        std::this_thread::sleep_until(std::min(end, Time::now() + pause));
        if (Time::now() < end) KillOne();
    }
    LookForTheDead();
    fought_ += Time::now() - begin;
}

bool Driver::StopAll()
{
    for (Fighter& fighter : fighters_) fighter.process->WriteLine(kStop);
    const Time::time_point end = Time::now() + kStopTimeout;
    bool all = true;
    for (Fighter& fighter : fighters_) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Time::now()).count();
        if (fighter.process->ReadLine(left > 0 ? static_cast<uint32_t>(left) : 0) == kStopped) continue;
        TellWhyItDoesNotStop(fighter, std::min(end, Time::now() + kEndTimeout));
        all = false;
    }
    return all;
}

// One that died since it was looked at gives no answer either, and by the end of its output it may not quite have ended.
void Driver::TellWhyItDoesNotStop(Fighter& fighter, Time::time_point until)
{
    std::optional<int> code = fighter.process->Ended();
    while (!code && Time::now() < until) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        code = fighter.process->Ended();
    }
    FaultOf(fighter, code ? "ended by itself with " + std::to_string(*code) : "does not come to a stop");
}

void Driver::LetGo()
{
    for (Fighter& fighter : fighters_) fighter.process->WriteLine(kGo);
}

void Driver::EndAll()
{
    for (Fighter& fighter : fighters_) fighter.process->CloseInput();
    for (Fighter& fighter : fighters_) {
        const int code = fighter.process->Wait();
        if (code != 0) FaultOf(fighter, "ended with " + std::to_string(code));
    }
    fighters_.clear();
}

// All that live stand between two deeds, and hold nothing. A thread that was killed may have left the block of the folder
// at which it was.
void Driver::LookAtBlocks(const std::map<uint32_t, History>& histories)
{
    for (uint32_t folder = 0; folder < MessageFolders(); ++folder) {
        const fs::path block = FolderDirectory(plan_.mailRoot, folder) / "_index.blk";
        if (!fs::exists(block)) continue;
        const auto history = histories.find(folder);
        if (history == histories.end() || history->second.cutDeeds == 0)
            Fault(FolderName(folder) + ": no block is left that nobody holds: no thread was killed at this folder");
        else if (plan_.unblock == 0)
            fs::remove(block);  // the checks do not wait for it as an open would
    }
}

void Driver::Check(bool last)
{
    std::vector<Record> records;
    for (JournalReader& journal : journals_) journal.ReadOn(records);
    tally_.Take(records);
    if (tree_)
        for (const std::string& fault : tree_->Check(records)) Fault(fault);
    const std::map<uint32_t, History> histories = tree_ ? std::map<uint32_t, History>() : MakeHistories(records, deaths_);
    LookAtBlocks(histories);
    const History nothing;
    for (uint32_t folder = 0; folder < MessageFolders(); ++folder) {
        const auto history = histories.find(folder);
        for (const std::string& fault :
             oracles_[folder].Check(history == histories.end() ? nothing : history->second, last || dice_.OneIn(3)))
            Fault(fault);
    }
    ++checks_;
    if (!last || faults_ != 0) return;
    for (const std::string& fault : tally_.TooLittle(plan_, std::chrono::duration<double>(fought_).count())) Fault("store: " + fault);
}

void Driver::Report()
{
    const double seconds = std::chrono::duration<double>(fought_).count();
    std::printf("torture: %.0f seconds, %llu processes, %llu killed, %llu steps told (%.0f a second), %llu checks, %llu faults\n", seconds,
                static_cast<unsigned long long>(started_), static_cast<unsigned long long>(killed_),
                static_cast<unsigned long long>(tally_.Done()), static_cast<double>(tally_.Done()) / std::max(seconds, 0.001),
                static_cast<unsigned long long>(checks_), static_cast<unsigned long long>(faults_));
    std::printf("torture: what succeeded, of what was tried: %s\n", tally_.Report().c_str());
    std::printf("torture: what was allowed, how often and why\n%s", counts_.Report().c_str());
}

void Driver::KeepStore()
{
    const std::string own = store_.Directory().Path().filename().string();
    const fs::path kept = fs::temp_directory_path() / ("velmora-torture-" + std::to_string(plan_.seed) + own.substr(own.rfind('-')));
    std::error_code error;
    fs::rename(store_.Directory().Path(), kept, error);
    if (error)
        std::printf("torture: the store could not be kept: %s\n", error.message().c_str());
    else
        std::printf("torture: the store and the journals are in %s\n", kept.string().c_str());
}

int Driver::Run()
{
    const auto all = std::chrono::seconds(plan_.seconds);
    while (faults_ == 0 && fought_ < all) {
        Fight(Time::now() + std::min<Time::duration>(kBetweenChecks, all - fought_));
        const bool last = fought_ >= all;
        if (!StopAll()) break;
        Check(last);
        if (!last && faults_ == 0) LetGo();
    }
    if (faults_ == 0) EndAll();
    fighters_.clear();
    Report();
    if (faults_ != 0 || plan_.keep) KeepStore();
    return faults_ == 0 ? 0 : 1;
}

}  // namespace

int RunDriver(Plan plan)
{
    if (plan.seed == 0) plan.seed = std::random_device()() + 1u;
    if (plan.strategy == 0) plan.strategy = 1 + plan.seed % std::size(kStrategies);
    std::printf(
        "torture: --seed=%llu --seconds=%llu --processes=%llu --threads=%llu --folders=%llu --kills=%llu --haste=%llu --backup=%llu "
        "--unblock=%llu --strategy=%llu --trees=%llu\n",
        static_cast<unsigned long long>(plan.seed), static_cast<unsigned long long>(plan.seconds),
        static_cast<unsigned long long>(plan.processes), static_cast<unsigned long long>(plan.threads),
        static_cast<unsigned long long>(plan.folders), static_cast<unsigned long long>(plan.kills),
        static_cast<unsigned long long>(plan.haste), static_cast<unsigned long long>(plan.backup),
        static_cast<unsigned long long>(plan.unblock), static_cast<unsigned long long>(plan.strategy),
        static_cast<unsigned long long>(plan.trees));
    std::fflush(stdout);
    return Driver(plan).Run();
}

}  // namespace velmora::torture
