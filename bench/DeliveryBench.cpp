// Changes to a folder that nobody has open: deliveries by one process and by four, and flags, beside the bare work.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/Corpus.h"
#include "bench/Floors.h"
#include "bench/Measure.h"
#include "bench/System.h"
#include "velmora/vlaisp.h"

namespace velmora::bench {
namespace {

constexpr char kPostoffice[] = "bench";
constexpr char kMailbox[] = "box";
constexpr char kSecondsLine[] = "seconds: ";
constexpr uint32_t kProcesses = 4;
constexpr uint32_t kDeliveriesOfEach = 500;

std::filesystem::path StoreFolder(const std::string& name)
{
    return DataDirectory() / "POSTOFFICES" / kPostoffice / "MAILROOT" / kMailbox / name;
}

// A folder of `size` items with its counts, as the last delivery left it. Message files of earlier runs stay in it.
std::string FilledFolder(const std::string& kind, uint32_t size)
{
    const std::string name = kind + "-" + std::to_string(size);
    const auto source = DataDirectory() / ("index-" + std::to_string(size));
    OverwriteFile(MakeIndexFile(source, size), StoreFolder(name) / "_index.xml");
    uint32_t counts[VELMORA_STATUS_WORDS] = {};
    counts[VELMORA_STATUS_ITEMS] = counts[VELMORA_STATUS_LAST_UID] = size;
    Require(SetCachedStatus(kPostoffice, kMailbox, name.c_str(), counts) == 1, "the counts cannot be written");
    return name;
}

// Names that no earlier run has used.
class MessageNames {
public:
    MessageNames(const std::string& folder, uint32_t writer) : writer_(writer)
    {
        for (const auto& entry : std::filesystem::directory_iterator(StoreFolder(folder)))
            if (entry.path().extension() == ".MAI") ++next_;
    }
    std::string Next()
    {
        char name[32];
        std::snprintf(name, sizeof name, "%X%07X.MAI", 0xA + writer_, next_++);
        return name;
    }

private:
    uint32_t writer_;
    uint32_t next_ = 0;
};

std::vector<std::string> SomeMessages()
{
    std::vector<std::string> texts;
    for (uint32_t number = 0; number < 100; ++number) texts.push_back(MessageText(number));
    return texts;
}

// What a delivery agent does: the message file first, then one call.
void Deliver(const std::string& folder, const std::string& name, const std::string& text)
{
    WriteMessageFile(StoreFolder(folder), name, text);
    while (Direct_StoreIndex_InsertItem(kPostoffice, kMailbox, folder.c_str(), name.c_str()) != 1) std::this_thread::yield();
}

void BenchDeliver(benchmark::State& state, uint32_t size)
{
    const std::string folder = FilledFolder("deliver", size);
    const auto texts = SomeMessages();
    MessageNames names(folder, 0);
    size_t next = 0;
    Measure(state, {}, [&] { Deliver(folder, names.Next(), texts[next++ % texts.size()]); });
    Require(!std::filesystem::exists(StoreFolder(folder) / "_CHANGE.DTY"), "a delivery was not written");
    uint32_t counts[VELMORA_STATUS_WORDS] = {};
    Require(GetCachedStatus(kPostoffice, kMailbox, folder.c_str(), counts) == 1 && counts[VELMORA_STATUS_ITEMS] == size + next,
            "the counts are wrong");
}

void BenchDeliveryFloor(benchmark::State& state, uint32_t size)
{
    const std::string folder = FilledFolder("floor", size);
    const auto texts = SomeMessages();
    MessageNames names(folder, 0);
    size_t next = 0;
    Measure(state, {}, [&] { DeliverBare(StoreFolder(folder), names.Next(), texts[next++ % texts.size()]); });
}

// Several processes deliver into one folder at once, and each calls again when another one holds the folder. The time is
// that of the slowest.
void BenchDeliverByFour(benchmark::State& state, uint32_t size)
{
    const std::string folder = FilledFolder("deliver4", size);
    double slowest = 0;
    for (auto _ : state) {
        std::vector<double> seconds(kProcesses, 0);
        std::vector<std::thread> children;
        for (uint32_t child = 0; child < kProcesses; ++child)
            children.emplace_back([&, child] {
                const std::string output =
                    OutputOfSelf(kDeliverOption, DataDirectory().string() + "|" + folder + "|" + std::to_string(child));
                const size_t at = output.find(kSecondsLine);
                if (at != std::string::npos) seconds[child] = std::strtod(output.c_str() + at + sizeof kSecondsLine - 1, nullptr);
            });
        for (std::thread& child : children) child.join();
        for (const double time : seconds) {
            Require(time > 0, "a child process failed");
            slowest = std::max(slowest, time);
        }
        state.SetIterationTime(slowest);
    }
    state.counters[kMedian] = slowest * 1e6 / (kProcesses * kDeliveriesOfEach);
}

void BenchFlagUpdate(benchmark::State& state, uint32_t size, const char* kind, uint32_t item)
{
    const std::string folder = FilledFolder(kind, size);
    const std::string id = ItemName(item);
    bool set = false;
    Measure(state, {}, [&] {
        set = !set;
        Require(Direct_StoreIndex_UpdateItem(kPostoffice, kMailbox, folder.c_str(), id.c_str(), set ? "+FLAGGED" : "-FLAGGED") == 1,
                "the flag was not set");
    });
    Require(!std::filesystem::exists(StoreFolder(folder) / "_CHANGE.DTY"), "a flag was not written");
}

}  // namespace

int PrintDeliveryTime(const std::string& argument)
{
    std::istringstream parts(argument);
    std::string directory, folder, child;
    if (!std::getline(parts, directory, '|') || !std::getline(parts, folder, '|') || !std::getline(parts, child)) return 2;
    DataDirectory() = directory;
    const auto texts = SomeMessages();
    MessageNames names(folder, 1 + static_cast<uint32_t>(std::strtoul(child.c_str(), nullptr, 10)));
    const auto begin = std::chrono::steady_clock::now();
    for (uint32_t i = 0; i < kDeliveriesOfEach; ++i) Deliver(folder, names.Next(), texts[i % texts.size()]);
    std::printf("%s%.6f\n", kSecondsLine, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    return 0;
}

void RegisterDeliveryBenchmarks()
{
    for (const uint32_t size : Sizes()) {
        Register("DeliveryFloor", size, 1001, [size](benchmark::State& state) { BenchDeliveryFloor(state, size); });
        Register("DeliverOne", size, 1001, [size](benchmark::State& state) { BenchDeliver(state, size); });
        Register("DeliverByFour", size, 1, [size](benchmark::State& state) { BenchDeliverByFour(state, size); });
        const int64_t rounds = RoundsFor(size);
        Register("FlagUpdateFirst", size, rounds, [size](benchmark::State& state) { BenchFlagUpdate(state, size, "first", 0); });
        Register("FlagUpdateMiddle", size, rounds, [size](benchmark::State& state) { BenchFlagUpdate(state, size, "middle", size / 2); });
        Register("FlagUpdateLast", size, rounds, [size](benchmark::State& state) { BenchFlagUpdate(state, size, "last", size - 1); });
    }
}

}  // namespace velmora::bench
