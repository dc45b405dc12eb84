// Index files: what loads and saves cost, beside a bare pass over the bytes and beside an XML library on the same file.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <pugixml.hpp>
#include <string>

#include "bench/Corpus.h"
#include "bench/Floors.h"
#include "bench/Measure.h"
#include "bench/System.h"
#include "index/IndexItem.h"
#include "index/IndexPersistence.h"
#include "index/IndexTable.h"
#include "velmora/index_records.h"
#include "velmora/vlaisp.h"

namespace velmora::bench {
namespace {

constexpr char kPeakLine[] = "peak KB: ";

// A record of our own on a folder, loaded without locks as a caller that holds the block loads it.
class Folder {
public:
    explicit Folder(std::string path) : path_(std::move(path)) { StoreIndex_Init(&record_); }
    ~Folder() { StoreIndex_Release(&record_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    SORTEDSTOREINDEXTYPE& Table() { return record_.Table; }
    void Load(int32_t level)
    {
        IndexLoadArguments arguments;
        arguments.Owner = &record_;
        arguments.FolderPath = path_;
        arguments.NoBlock = 1;
        arguments.CheckDirty = 0;
        Require(LoadIndex(record_.Table, arguments, level), "the index does not load");
    }
    void Save() { Require(SaveIndex(record_.Table, path_.c_str(), 0) == 1, "the index cannot be saved"); }

private:
    std::string path_;
    STOREINDEXTYPE record_;
};

std::string SourceFolder(uint32_t size)
{
    const auto directory = DataDirectory() / ("index-" + std::to_string(size));
    MakeIndexFile(directory, size);
    return directory.string();
}

// A folder that a benchmark may change, filled from the source.
std::string WorkFolder(const std::string& name, uint32_t size)
{
    const auto directory = DataDirectory() / ("work-" + name + "-" + std::to_string(size));
    OverwriteFile(SourceFolder(size) + "/_index.xml", directory / "_index.xml");
    return directory.string();
}

size_t WalkDocument(const pugi::xml_document& document)
{
    size_t bytes = 0;
    for (const pugi::xml_node element : document.first_child())
        for (const pugi::xml_node child : element) bytes += std::strlen(child.child_value());
    return bytes;
}

// Loads at a level in each round; the table of the round before is freed off the clock.
void BenchLoad(benchmark::State& state, const std::string& path, int32_t level, const std::string& selection)
{
    std::unique_ptr<Folder> folder;
    Measure(
        state,
        [&] {
            folder = std::make_unique<Folder>(path);
            folder->Table().LoadSelection = selection;
        },
        [&] { folder->Load(level); });
    state.counters["items"] = ItemCountOf(folder->Table());
}

// A folder loaded in full before each round, with one change made in it, and then the save alone.
void BenchSave(benchmark::State& state, const std::string& path, const std::function<void(SORTEDSTOREINDEXTYPE&)>& change)
{
    std::unique_ptr<Folder> folder;
    Measure(
        state,
        [&] {
            folder = std::make_unique<Folder>(path);
            folder->Load(3);
            change(folder->Table());
        },
        [&] { folder->Save(); });
}

void ToggleRead(SORTEDSTOREINDEXTYPE& table, size_t position)
{
    IndexItemPropertyContainer& item = *ContentOf(table).Sequence.at(position);
    SetItemProperty(item, kRead, item.GetNumber(kRead) == 1 ? "0" : "1");
}

// A message as it enters the index: a new last item with the columns of its neighbours.
void InsertOne(SORTEDSTOREINDEXTYPE& table)
{
    auto item = std::make_unique<IndexItemPropertyContainer>();
    item->SetText(kId, ItemName(0x800000 + table.LastUID));
    item->SetText("FROM", "Alma Lund <a.lund7@example.net>");
    item->SetText("TO", "Bruno Kral <b.kral9@example.com>");
    item->SetText("SUBJECT", "agenda about the window repair");
    item->SetText("MESSAGEDATE", "2024-05-01T09:30:00");
    item->SetText("RECEIVED", "2024-05-01T09:30:12");
    item->SetText(kFlagStatus, "\\RECENT");
    item->SetText(kSize, "4096");
    Require(InsertItem(table, item.get()), "the item is there already");
    item.release();
}

// The peak that a process of its own reports of a full load; the library may have lines of its own to print. 0 on failure.
long PeakOfChild(const std::string& folder)
{
    const std::string output = OutputOfSelf(kPeakOfLoadOption, folder);
    const size_t at = output.find(kPeakLine);
    return at == std::string::npos ? 0 : std::strtol(output.c_str() + at + sizeof kPeakLine - 1, nullptr, 10);
}

void RegisterReferences(uint32_t size)
{
    Register("MemchrPass", size, RoundsFor(size), [size](benchmark::State& state) {
        const std::string file = SourceFolder(size) + "/_index.xml";
        Measure(state, {}, [&] { benchmark::DoNotOptimize(CountTags(file)); });
        state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(file));
    });
    Register("PugixmlLoadAndWalk", size, RoundsFor(size), [size](benchmark::State& state) {
        const std::string file = SourceFolder(size) + "/_index.xml";
        std::unique_ptr<pugi::xml_document> document;
        Measure(
            state, [&] { document = std::make_unique<pugi::xml_document>(); },
            [&] {
                Require(document->load_file(file.c_str()), "not a document");
                benchmark::DoNotOptimize(WalkDocument(*document));
            });
    });
    Register("PugixmlSave", size, RoundsFor(size), [size](benchmark::State& state) {
        const std::string source = SourceFolder(size) + "/_index.xml";
        const std::string target = WorkFolder("pugixml", size) + "/_index.xml";
        pugi::xml_document document;
        Require(document.load_file(source.c_str()), "not a document");
        Measure(state, {},
                [&] { Require(document.save_file(target.c_str(), "", pugi::format_raw | pugi::format_no_declaration), "cannot save"); });
    });
    constexpr std::pair<const char*, void (*)(const std::string&)> kSmallOnes[] = {
        {"SmallRead", ReadSmall}, {"SmallWrite", WriteSmall}, {"LookByName", LookByName}};
    for (const auto& [name, work] : kSmallOnes) {
        Register(name, size, 1001, [size, work = work](benchmark::State& state) {
            const std::string file = WorkFolder("small", size) + "/_index.xml";
            Measure(state, {}, [&] { work(file); });
        });
    }
}

void RegisterLoads(uint32_t size)
{
    Register("HeaderOnlyOpen", size, 1001, [size](benchmark::State& state) { BenchLoad(state, SourceFolder(size), 1, ""); });
    Register("Identifiers", size, RoundsFor(size), [size](benchmark::State& state) { BenchLoad(state, SourceFolder(size), 2, ""); });
    Register("FullLoad", size, RoundsFor(size), [size](benchmark::State& state) { BenchLoad(state, SourceFolder(size), 3, ""); });
    Register("SelectedLoad", size, RoundsFor(size), [size](benchmark::State& state) {
        BenchLoad(state, SourceFolder(size), 3, ItemName(0) + "," + ItemName(size / 2) + "," + ItemName(size - 1));
    });
    Register("SelectedLoadOfLast", size, RoundsFor(size),
             [size](benchmark::State& state) { BenchLoad(state, SourceFolder(size), 3, ItemName(size - 1)); });
    // In a process of its own, so that nothing measured before counts.
    Register("FullLoadMemory", size, 1, [size](benchmark::State& state) {
        const std::string path = SourceFolder(size);
        long peakKB = 0;
        Measure(state, {}, [&] { peakKB = PeakOfChild(path); });
        Require(peakKB > 0, "the child process failed");
        const auto bytes = std::filesystem::file_size(path + "/_index.xml");
        state.counters["resident_KB"] = static_cast<double>(peakKB);
        state.counters["resident_per_file"] = static_cast<double>(peakKB) * 1024 / static_cast<double>(bytes);
    });
}

void RegisterSaves(uint32_t size)
{
    // As a delivery does it: the header is read, one item goes in, one element is written.
    Register("AppendOne", size, 301, [size](benchmark::State& state) {
        const std::string path = WorkFolder("append", size);
        std::unique_ptr<Folder> folder;
        Measure(
            state, [&] { folder = std::make_unique<Folder>(path); },
            [&] {
                folder->Load(1);
                InsertOne(folder->Table());
                folder->Save();
            });
    });
    const std::pair<const char*, size_t> places[] = {{"FlagChangeFirst", 0}, {"FlagChangeMiddle", size / 2}, {"FlagChangeLast", size - 1}};
    for (const auto& [name, position] : places)
        Register(name, size, RoundsFor(size), [size, name = std::string(name), position = position](benchmark::State& state) {
            BenchSave(state, WorkFolder(name, size), [position](SORTEDSTOREINDEXTYPE& table) { ToggleRead(table, position); });
        });
    // Few enough rounds that a small folder does not run out of items.
    Register("RemoveMiddle", size, std::min<int64_t>(RoundsFor(size), 31), [size](benchmark::State& state) {
        uint32_t next = size / 2;
        BenchSave(state, WorkFolder("remove", size), [&next](SORTEDSTOREINDEXTYPE& table) {
            Require(RemoveItems(table, ItemName(next++).c_str()) == 1, "nothing to remove");
        });
    });
    Register("SaveNothingChanged", size, 1001, [size](benchmark::State& state) {
        Folder folder(WorkFolder("unchanged", size));
        folder.Load(3);
        Measure(state, {}, [&] { folder.Save(); });
    });
    Register("FullRewrite", size, RoundsFor(size), [size](benchmark::State& state) {
        BenchSave(state, WorkFolder("rewrite", size), [](SORTEDSTOREINDEXTYPE& table) { table.RewriteRequired = 1; });
    });
}

}  // namespace

void RegisterIndexBenchmarks()
{
    for (const uint32_t size : Sizes()) {
        RegisterReferences(size);
        RegisterLoads(size);
        RegisterSaves(size);
    }
}

int PrintPeakOfLoad(const std::string& folder)
{
    Folder loaded(folder);
    loaded.Load(3);
    const long peakKB = PeakResidentKB();
    std::printf("%s%ld\n", kPeakLine, peakKB);
    return peakKB > 0 ? 0 : 1;
}

}  // namespace velmora::bench
