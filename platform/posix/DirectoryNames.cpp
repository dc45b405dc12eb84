#include "platform/posix/DirectoryNames.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "platform/posix/Errors.h"
#include "platform/shared/Ascii.h"

namespace velmora::platform {

namespace {

constexpr size_t kDirectoriesKept = 16;
constexpr int64_t kYoungNanoseconds = 20'000'000;
constexpr auto kOwnChangesTrusted = std::chrono::seconds(10);

// Names in one block of memory with a hash table of where they stand: some 30 bytes a name.
class NameTable {
public:
    // Keeps the one of two names that differ only in case whose bytes come first.
    void Add(std::string_view name)
    {
        if ((count_ + 1) * 2 > places_.size()) Grow();
        uint32_t& place = PlaceOf(name);
        if (place == 0) {
            place = Store(name);
            ++count_;
        } else if (name < NameAt(place)) {
            std::memcpy(&text_[place], name.data(), name.size());
        }
    }

    // The spelling of a name, or an empty text.
    std::string_view Find(std::string_view name) const
    {
        if (places_.empty()) return {};
        const uint32_t place = places_[IndexOf(name)];
        return place == 0 ? std::string_view() : NameAt(place);
    }

private:
    static uint32_t Hash(std::string_view name)
    {
        uint32_t hash = 2166136261u;
        for (char c : name) hash = (hash ^ static_cast<unsigned char>(LowerByte(c))) * 16777619u;
        return hash;
    }

    std::string_view NameAt(uint32_t place) const { return {&text_[place], static_cast<unsigned char>(text_[place - 1])}; }

    // Where the name stands, or the free place where it would.
    size_t IndexOf(std::string_view name) const
    {
        size_t index = Hash(name) & (places_.size() - 1);
        while (places_[index] != 0 && !EqualBytesNoCase(NameAt(places_[index]), name)) index = (index + 1) & (places_.size() - 1);
        return index;
    }
    uint32_t& PlaceOf(std::string_view name) { return places_[IndexOf(name)]; }

    uint32_t Store(std::string_view name)
    {
        text_.push_back(static_cast<char>(static_cast<unsigned char>(name.size())));
        const auto place = static_cast<uint32_t>(text_.size());
        text_.append(name);
        return place;
    }

    void Grow()
    {
        std::vector<uint32_t> old = std::move(places_);
        places_.assign(old.empty() ? 64 : old.size() * 2, 0);
        for (uint32_t place : old) {
            if (place != 0) PlaceOf(NameAt(place)) = place;
        }
    }

    std::string text_;              // a length byte before each name
    std::vector<uint32_t> places_;  // offsets behind the length byte; 0 is free
    size_t count_ = 0;
};

struct KeptDirectory {
    DirectoryIdentity identity;
    NameTable names;
    bool settled = false;  // listed long enough after its last change for that to be the last
    std::chrono::steady_clock::time_point listedAt;
    uint64_t lastUse = 0;

    bool HoldsFor(const DirectoryIdentity& now, bool forCreation) const
    {
        if (!identity.Unchanged(now)) return false;
        return settled || (forCreation && std::chrono::steady_clock::now() - listedAt < kOwnChangesTrusted);
    }
};

struct Keeper {
    std::mutex lock;
    std::vector<std::shared_ptr<KeptDirectory>> kept;  // their contents are under the lock as well
    uint64_t uses = 0;
};

std::atomic<size_t> keptCount{0};
std::atomic<uint64_t> listings{0};

Keeper& TheKeeper()
{
    static Keeper& keeper = *new Keeper;
    return keeper;
}

DirectoryIdentity IdentityOf(const struct stat& info)
{
    return {static_cast<uint64_t>(info.st_dev), static_cast<uint64_t>(info.st_ino), info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

KeptDirectory* KeptOf(Keeper& keeper, const DirectoryIdentity& identity)
{
    for (const auto& entry : keeper.kept) {
        if (entry->identity.SameDirectory(identity)) return entry.get();
    }
    return nullptr;
}

using OpenDirectory = std::unique_ptr<DIR, int (*)(DIR*)>;

// 0 or an error.
template <typename Each>
DWORD ForEachName(DIR* opened, Each each)
{
    listings.fetch_add(1, std::memory_order_relaxed);
    for (errno = 0; const dirent* entry = readdir(opened); errno = 0) {
        const std::string_view name(entry->d_name);
        if (name.size() <= 255) each(name);
    }
    return errno == 0 ? 0 : PresentError();
}

// 0 or an error. The identity is taken before the names are read, so a change while reading shows afterwards.
DWORD List(const char* path, KeptDirectory& directory)
{
    const OpenDirectory opened(opendir(path), closedir);
    if (!opened) return PresentError();
    struct stat info = {};
    if (fstat(dirfd(opened.get()), &info) != 0) return PresentError();
    directory.identity = IdentityOf(info);
    directory.listedAt = std::chrono::steady_clock::now();
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const int64_t age = (now.tv_sec - info.st_mtim.tv_sec) * 1'000'000'000 + (now.tv_nsec - info.st_mtim.tv_nsec);
    directory.settled = age > kYoungNanoseconds;
    return ForEachName(opened.get(), [&](std::string_view name) { directory.names.Add(name); });
}

void Keep(Keeper& keeper, std::shared_ptr<KeptDirectory> directory)
{
    std::erase_if(keeper.kept, [&](const auto& entry) { return entry->identity.SameDirectory(directory->identity); });
    if (keeper.kept.size() == kDirectoriesKept) {
        keeper.kept.erase(
            std::min_element(keeper.kept.begin(), keeper.kept.end(), [](const auto& a, const auto& b) { return a->lastUse < b->lastUse; }));
    }
    keeper.kept.push_back(std::move(directory));
    keptCount.store(keeper.kept.size(), std::memory_order_relaxed);
}

DWORD FindIn(const KeptDirectory& directory, char* name, size_t length)
{
    const std::string_view spelling = directory.names.Find({name, length});
    if (spelling.empty()) return ERROR_FILE_NOT_FOUND;
    std::memcpy(name, spelling.data(), length);
    return 0;
}

// FindInDirectory with nothing kept, where there is no memory for the names.
DWORD FindByReading(const char* path, char* name, size_t length)
{
    const OpenDirectory opened(opendir(path), closedir);
    if (!opened) return PresentError();
    bool found = false;
    char spelling[256];
    const DWORD error = ForEachName(opened.get(), [&](std::string_view each) {
        if (!EqualBytesNoCase(each, {name, length}) || (found && each >= std::string_view(spelling, length))) return;
        found = true;
        std::memcpy(spelling, each.data(), length);
    });
    if (error != 0) return error;
    if (!found) return ERROR_FILE_NOT_FOUND;
    std::memcpy(name, spelling, length);
    return 0;
}

}  // namespace

DWORD IdentifyDirectory(const char* path, DirectoryIdentity& identity)
{
    struct stat info = {};
    if (stat(path, &info) != 0) return PresentError();
    if (!S_ISDIR(info.st_mode)) return ERROR_PATH_NOT_FOUND;
    identity = IdentityOf(info);
    return 0;
}

DWORD FindInDirectory(const char* directory, const DirectoryIdentity& identity, char* name, size_t length, bool forCreation)
try {
    Keeper& keeper = TheKeeper();
    {
        std::lock_guard<std::mutex> hold(keeper.lock);
        KeptDirectory* kept = KeptOf(keeper, identity);
        if (kept && kept->HoldsFor(identity, forCreation)) {
            kept->lastUse = ++keeper.uses;
            return FindIn(*kept, name, length);
        }
    }
    auto listed = std::make_shared<KeptDirectory>();
    if (const DWORD error = List(directory, *listed); error != 0) return error;
    const DWORD result = FindIn(*listed, name, length);
    std::lock_guard<std::mutex> hold(keeper.lock);
    listed->lastUse = ++keeper.uses;
    Keep(keeper, std::move(listed));
    return result;
} catch (const std::bad_alloc&) {
    return FindByReading(directory, name, length);
}

bool AnyDirectoryKept() { return keptCount.load(std::memory_order_relaxed) != 0; }

void NoteChange(const char* directory, const DirectoryIdentity& before, std::string_view created)
{
    if (!AnyDirectoryKept()) return;
    DirectoryIdentity now;
    if (IdentifyDirectory(directory, now) != 0) return;
    Keeper& keeper = TheKeeper();
    std::lock_guard<std::mutex> hold(keeper.lock);
    KeptDirectory* kept = KeptOf(keeper, now);
    if (!kept || !kept->identity.Unchanged(before)) return;
    try {
        if (!created.empty() && created.size() <= 255) kept->names.Add(created);
        kept->identity = now;
    } catch (const std::bad_alloc&) {
        kept->identity = {};  // it is listed again at the next look
    }
    kept->settled = false;
}

uint64_t DirectoryListings() { return listings.load(std::memory_order_relaxed); }

}  // namespace velmora::platform
