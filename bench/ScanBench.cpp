// Folders of messages: what a scan, a walk and the cached counts cost, beside the bare work on the same files.
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "bench/Corpus.h"
#include "bench/Floors.h"
#include "bench/Measure.h"
#include "index/IndexTable.h"
#include "index/ItemBackend.h"
#include "velmora/index_records.h"
#include "velmora/vlaisp.h"

namespace velmora::bench {
namespace {

constexpr char kPostoffice[] = "bench";
constexpr char kMailbox[] = "box";

std::string FolderName(uint32_t size) { return "mail-" + std::to_string(size); }

std::filesystem::path StoreFolder(const std::string& name)
{
    return DataDirectory() / "POSTOFFICES" / kPostoffice / "MAILROOT" / kMailbox / name;
}

std::filesystem::path MailFolder(uint32_t size)
{
    const auto directory = StoreFolder(FolderName(size));
    MakeMessages(directory, size);
    return directory;
}

// A record of our own that is scanned by the mail back-end, as by a caller that holds the block.
class ScannedFolder {
public:
    explicit ScannedFolder(uint32_t size) : path_(MailFolder(size).string())
    {
        StoreIndex_Init(&record_);
        std::strncpy(record_.Path, path_.c_str(), sizeof record_.Path - 1);
    }
    ~ScannedFolder() { StoreIndex_Release(&record_); }
    ScannedFolder(const ScannedFolder&) = delete;
    ScannedFolder& operator=(const ScannedFolder&) = delete;

    uint32_t Scan()
    {
        const uint64_t result = BackendFor(kKindMail).scan(&record_, record_.Table, path_.c_str(), kScanCallerHolds, 0);
        Require(result == 1, "the scan failed");
        return ItemCountOf(record_.Table);
    }

private:
    std::string path_;
    STOREINDEXTYPE record_;
};

// Puts the index out of the way, so that the next scan is a first one. Renamed over the one before, never deleted.
void HideIndex(uint32_t size)
{
    const auto index = MailFolder(size) / "_index.xml";
    if (std::filesystem::exists(index)) std::filesystem::rename(index, index.parent_path() / "_index.before");
}

void EnsureScanned(uint32_t size)
{
    if (!std::filesystem::exists(MailFolder(size) / "_index.xml")) ScannedFolder(size).Scan();
}

void BenchFirstScan(benchmark::State& state, uint32_t size)
{
    MailFolder(size);
    std::unique_ptr<ScannedFolder> folder;
    uint32_t items = 0;
    Measure(
        state,
        [&] {
            HideIndex(size);
            folder = std::make_unique<ScannedFolder>(size);
        },
        [&] { items = folder->Scan(); });
    Require(items == size, "the scan left messages out");
}

void BenchRescan(benchmark::State& state, uint32_t size)
{
    EnsureScanned(size);
    std::unique_ptr<ScannedFolder> folder;
    Measure(
        state, [&] { folder = std::make_unique<ScannedFolder>(size); }, [&] { Require(folder->Scan() == size, "items are missing"); });
}

// Three properties of every item through the exported functions, as a listing reads them.
void BenchWalk(benchmark::State& state, uint32_t size)
{
    EnsureScanned(size);
    Require(StoreFolder_Open(kPostoffice, kMailbox, FolderName(size).c_str(), kKindMail, VELMORA_OPEN_NORMAL) == 1, "no folder");
    constexpr const char* kRead[] = {"PR_SUBJECT", "PR_VL_FROM", "PR_VL_SIZE"};
    Measure(state, {}, [&] {
        uint32_t items = 0;
        for (uint64_t more = StoreFolder_FindFirstItem(); more == 1; more = StoreFolder_FindNextItem(), ++items)
            for (const char* name : kRead) {
                void* value = nullptr;
                uint64_t bytes = 0;
                Require(StoreItem_GetProperty(name, &value, &bytes) != VELMORA_NO_PROPERTY, "a property is missing");
                StoreItem_FreeProperty(value);
            }
        Require(items == size, "the walk left items out");
    });
    state.counters["ns_per_read"] = state.counters[kMedian] * 1e3 / (double{std::size(kRead)} * size);
    StoreFolder_Close();
}

// The open of a folder that has not changed, from nothing in memory.
void BenchOpen(benchmark::State& state, uint32_t size)
{
    EnsureScanned(size);
    const std::string name = FolderName(size);
    Measure(
        state, [] { StoreFolder_Close(); },
        [&] { Require(StoreFolder_Open(kPostoffice, kMailbox, name.c_str(), kKindMail, VELMORA_OPEN_NORMAL) == 1, "no folder"); });
    StoreFolder_Close();
}

// The same folder again by the same record: a look at the flags and at the index file's time, and no file is read.
void BenchReopen(benchmark::State& state, uint32_t size)
{
    EnsureScanned(size);
    STOREINDEXTYPE record;
    StoreIndex_Init(&record);
    std::strncpy(record.Path, MailFolder(size).c_str(), sizeof record.Path - 1);
    Require(StoreIndex_Open(&record, 1) == 1, "no folder");
    Measure(state, {}, [&] { Require(StoreIndex_Open(&record, 1) == 2, "the copy in memory is not good any more"); });
    StoreIndex_Release(&record);
}

void BenchCachedCounts(benchmark::State& state, uint32_t size)
{
    EnsureScanned(size);
    const std::string name = FolderName(size);
    Measure(state, {}, [&] {
        uint32_t details[VELMORA_STATUS_WORDS] = {};
        Require(GetCachedStatus(kPostoffice, kMailbox, name.c_str(), details) == 1, "no counts");
        Require(details[VELMORA_STATUS_ITEMS] == size, "the counts are wrong");
    });
}

}  // namespace

void RegisterScanBenchmarks()
{
    for (const uint32_t size : Sizes()) {
        const int64_t rounds = size <= 100 ? 51 : size <= 10000 ? 7 : 3;
        Register("HeaderLinesFloor", size, rounds, [size](benchmark::State& state) {
            const auto directory = MailFolder(size);
            CountHeaderLines(directory);  // the files' bytes in memory, for the scan as for the floor
            Measure(state, {}, [&] { benchmark::DoNotOptimize(CountHeaderLines(directory)); });
        });
        Register("FirstScan", size, rounds, [size](benchmark::State& state) { BenchFirstScan(state, size); });
        Register("RescanNothingNew", size, rounds, [size](benchmark::State& state) { BenchRescan(state, size); });
        Register("OpenFolder", size, rounds, [size](benchmark::State& state) { BenchOpen(state, size); });
        Register("Reopen", size, rounds, [size](benchmark::State& state) { BenchReopen(state, size); });
        Register("WalkThreeProperties", size, rounds, [size](benchmark::State& state) { BenchWalk(state, size); });
        Register("CachedCounts", size, 1001, [size](benchmark::State& state) { BenchCachedCounts(state, size); });
    }
}

}  // namespace velmora::bench
