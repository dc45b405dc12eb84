// Trees of folders: what their listing and their size cost, beside the bare work on the same files.
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "bench/Corpus.h"
#include "bench/Floors.h"
#include "bench/Measure.h"
#include "velmora/folders.h"

namespace velmora::bench {
namespace {

constexpr char kPostoffice[] = "bench";
constexpr int64_t kRounds = 9;

std::string Mailbox(uint32_t folders) { return "tree-" + std::to_string(folders); }

std::vector<std::filesystem::path> TreeOf(uint32_t folders)
{
    return MakeTree(DataDirectory() / "POSTOFFICES" / kPostoffice / "MAILROOT" / Mailbox(folders), folders);
}

StoreFolderRecord RootOf(const std::string& mailbox)
{
    StoreFolderRecord record{};
    std::strncpy(record.Postoffice, kPostoffice, sizeof record.Postoffice - 1);
    std::strncpy(record.Mailbox, mailbox.c_str(), sizeof record.Mailbox - 1);
    std::strncpy(record.FolderPath, "/", sizeof record.FolderPath - 1);
    return record;
}

void Walk(uint32_t folders)
{
    StoreFolderRecord record = RootOf(Mailbox(folders));
    Require(StoreFolderGetSize(&record) == 1 && record.FolderSize != 0, "the tree has no size");
}

// Every list has to be made anew, as when nobody has listed the tree yet.
void BenchFirstWalk(benchmark::State& state, uint32_t folders)
{
    const auto directories = TreeOf(folders);
    Measure(
        state,
        [&] {
            for (const auto& directory : directories) std::ofstream(directory / "_folder.dty") << "DIRTY";
        },
        [&] { Walk(folders); });
}

void BenchWalk(benchmark::State& state, uint32_t folders)
{
    TreeOf(folders);
    Walk(folders);
    Measure(state, {}, [&] { Walk(folders); });
}

void BenchWalkFloor(benchmark::State& state, uint32_t folders)
{
    std::vector<std::string> directories;
    for (const auto& directory : TreeOf(folders)) directories.push_back(directory.string());
    Walk(folders);
    Measure(state, {}, [&] {
        size_t bytes = 0;
        for (const std::string& directory : directories) bytes += MeasureBare(directory);
        Require(bytes != 0, "nothing was read");
    });
}

// One folder with that many children.
std::string FlatMailbox(uint32_t folders)
{
    const std::string mailbox = "flat-" + std::to_string(folders);
    for (uint32_t folder = 0; folder < folders; ++folder)
        std::filesystem::create_directories(DataDirectory() / "POSTOFFICES" / kPostoffice / "MAILROOT" / mailbox /
                                            ("Folder" + std::to_string(folder)));
    return mailbox;
}

void ListAll(const std::string& mailbox, TLSFolderList* list, uint32_t folders)
{
    StoreFolderRecord record = RootOf(mailbox);
    uint32_t names = 0;
    for (uint64_t more = TLS_StoreFolderFindFirst(&record, list); more == 1; more = TLS_StoreFolderFindNext(&record, list)) ++names;
    Require(names == folders, "folders are missing");
}

// `again`: with a list that has been read.
void BenchListing(benchmark::State& state, uint32_t folders, bool again)
{
    const std::string mailbox = FlatMailbox(folders);
    TLSFolderList* list = nullptr;
    CreateTLSFolderList(&list);
    const auto prepare = [&] {
        InitTLSFolderList(list);
        if (again) ListAll(mailbox, list, folders);
    };
    prepare();
    ListAll(mailbox, list, folders);
    Measure(state, prepare, [&] { ListAll(mailbox, list, folders); });
    UnInitTLSFolderList(list);
    FreeTLSFolderList(&list);
}

void BenchListingFloor(benchmark::State& state, uint32_t folders)
{
    const std::string directory = (DataDirectory() / "POSTOFFICES" / kPostoffice / "MAILROOT" / FlatMailbox(folders)).string();
    Measure(state, {}, [&] {
        for (uint32_t step = 0; step <= folders; ++step) LookForThree(directory);
    });
}

}  // namespace

void RegisterTreeBenchmarks()
{
    for (const uint32_t folders : TreeSizes()) {
        Register("SizeWalkFloor", folders, kRounds, [folders](benchmark::State& state) { BenchWalkFloor(state, folders); });
        Register("SizeWalkFirst", folders, 3, [folders](benchmark::State& state) { BenchFirstWalk(state, folders); });
        Register("SizeWalk", folders, kRounds, [folders](benchmark::State& state) { BenchWalk(state, folders); });
        Register("FolderListingFloor", folders, kRounds, [folders](benchmark::State& state) { BenchListingFloor(state, folders); });
        Register("FolderListing", folders, kRounds, [folders](benchmark::State& state) { BenchListing(state, folders, false); });
        Register("FolderListingAgain", folders, kRounds, [folders](benchmark::State& state) { BenchListing(state, folders, true); });
    }
}

}  // namespace velmora::bench
