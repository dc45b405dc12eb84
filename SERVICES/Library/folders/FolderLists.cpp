#include "folders/FolderLists.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "folders/FolderIndexFile.h"
#include "folders/FolderNames.h"
#include "folders/FolderRecord.h"
#include "frame/Guard.h"
#include "frame/ProcessState.h"
#include "platform/Threads.h"
#include "platform/win32.h"

namespace velmora {

namespace {

LocalFolderList* ExistingList()
{
    const uint32_t slot = Process().TLSFolderListSlot;
    return slot == kNoTlsSlot ? nullptr : static_cast<LocalFolderList*>(TlsGetValue(slot));
}

// Null when the process has no slot.
TLSFolderList* CurrentList()
{
    if (TLSFolderList* const list = ExistingList()) return list;
    auto list = std::make_unique<LocalFolderList>();
    const uint32_t slot = Process().TLSFolderListSlot;
    if (slot == kNoTlsSlot || !TlsSetValue(slot, list.get())) return nullptr;
    platform::ArmThreadEndHook();
    return list.release();
}

void Initialise(TLSFolderList& list)
{
    auto directories = std::make_unique<FolderDirectories>();
    delete list.Directories;
    list.Directories = directories.release();
    list.Position.clear();
    list.Reserved = 0;
}

void UnInitialise(TLSFolderList& list)
{
    delete list.Directories;
    list.Directories = nullptr;
    list.Position.clear();
}

// The list that a step goes through and the place that its walk was begun at, which counts in the library's own lists alone.
// `list` is null where there is none.
struct Stand {
    TLSFolderList* list = nullptr;
    const void* place = nullptr;
};

Stand StandOf(TLSFolderList* own, const void* place) { return own ? Stand{own} : Stand{ExistingList(), place}; }

// The walk through the directory that was begun last at `place` or, when that is null, wherever; null when there is none.
FolderPosition* LastBegun(TLSFolderList& list, const std::string& directory, const void* place = nullptr)
{
    const auto last = std::find_if(list.Position.rbegin(), list.Position.rend(), [&](const FolderPosition& walk) {
        return (!place || walk.Place == place) && walk.Directory == directory;
    });
    return last == list.Position.rend() ? nullptr : &*last;
}

// A walk that is yet to find its first name. Null in a list that is not initialised.
FolderPosition* Begin(const Stand& stand, const std::string& directory)
{
    if (!stand.list || !stand.list->Directories) return nullptr;
    std::vector<FolderPosition>& walks = stand.list->Position;
    FolderPosition begun{directory, stand.place, {}};
    // The one before it, if any, is no walk of its own any more.
    if (const FolderPosition* const before = LastBegun(*stand.list, directory, stand.place))
        walks.erase(walks.begin() + (before - walks.data()));
    return &walks.emplace_back(std::move(begun));
}

// The walk that a Next goes on with: the one that was begun at its place on the stack or, when none is under way there, the last
// one begun, wherever. That may have ended: behind its end a Next is not to move the walk of a caller further up.
FolderPosition* WalkToGoOnWith(const Stand& stand, const std::string& directory)
{
    if (!stand.list) return nullptr;
    FolderPosition* const here = LastBegun(*stand.list, directory, stand.place);
    return here && !here->Ended ? here : LastBegun(*stand.list, directory);
}

// Kept: what the thread's own list has parsed is not given back here. It serves the thread's next walks, and goes with the
// thread.
void EndWalk(const Stand& stand, const std::string& directory)
{
    if (!stand.list) return;
    const FolderPosition* const here = LastBegun(*stand.list, directory, stand.place);
    const FolderPosition* const ended = here ? here : LastBegun(*stand.list, directory);
    if (ended) stand.list->Position.erase(stand.list->Position.begin() + (ended - stand.list->Position.data()));
}

// The names that a step of a walk goes by. Null when they cannot be had.
const FolderEntryList* EntriesFor(const StoreFolderRecord& record, TLSFolderList& list, const std::string& directory)
{
    FolderEntryList* entries = nullptr;
    GetFolderEntryList(entries, directory, IsRootFolderPath(RecordText(record.FolderPath).c_str()), list);
    return entries;
}

using NameIterator = std::map<std::string, std::string>::const_iterator;

uint64_t Give(StoreFolderRecord& record, FolderPosition& walk, const FolderEntryList& entries, NameIterator next)
{
    walk.Ended = next == entries.Names.end();
    if (walk.Ended) return 0;
    walk.Name = next->first;
    CopyBounded(record.FolderName, next->first);
    return 1;
}

uint64_t FindFirst(StoreFolderRecord& record, TLSFolderList* own, const void* place)
{
    if (!IsForThisMachine()) return 0;
    const std::optional<std::string> directory = FolderDirectoryOf(record);
    if (!directory) return 0;
    const Stand stand = own ? Stand{own} : Stand{CurrentList(), place};
    FolderPosition* const walk = Begin(stand, *directory);
    if (!walk) return 0;
    const FolderEntryList* const entries = EntriesFor(record, *stand.list, *directory);
    return entries ? Give(record, *walk, *entries, entries->Names.begin()) : 0;
}

uint64_t FindNext(StoreFolderRecord& record, TLSFolderList* own, const void* place)
{
    if (!IsForThisMachine()) return 0;
    const std::optional<std::string> directory = FolderDirectoryOf(record);
    if (!directory) return 0;
    const Stand stand = StandOf(own, place);
    FolderPosition* const walk = WalkToGoOnWith(stand, *directory);
    if (!walk || walk->Ended) return 0;
    // Every step looks at the files again, so a walk notices what others have done to the folder.
    const FolderEntryList* const entries = EntriesFor(record, *stand.list, *directory);
    return entries ? Give(record, *walk, *entries, entries->Names.upper_bound(walk->Name)) : 0;
}

uint64_t GuardedFirst(StoreFolderRecord* record, TLSFolderList* list, const void* place)
{
    return GuardedEntry("TLS_StoreFolderFindFirst", uint64_t{0}, [&] { return record ? FindFirst(*record, list, place) : 0; });
}

uint64_t GuardedNext(StoreFolderRecord* record, TLSFolderList* list, const void* place)
{
    return GuardedEntry("TLS_StoreFolderFindNext", uint64_t{0}, [&] { return record ? FindNext(*record, list, place) : 0; });
}

uint64_t GuardedClose(const StoreFolderRecord* record, TLSFolderList* list, const void* place)
{
    return GuardedEntry("TLS_StoreFolderFindClose", uint64_t{1}, [&]() -> uint64_t {
        if (record && !IsForThisMachine()) return 0;
        if (list) {
            UnInitialise(*list);
        } else if (record) {
            if (const std::optional<std::string> directory = FolderDirectoryOf(*record)) EndWalk(StandOf(nullptr, place), *directory);
        }
        return 1;
    });
}

}  // namespace

void ReleaseThreadFolderLists()
{
    const std::unique_ptr<LocalFolderList> list(ExistingList());
    if (list) TlsSetValue(Process().TLSFolderListSlot, nullptr);
}

const TLSFolderList* ThreadFolderList() { return ExistingList(); }

}  // namespace velmora

using namespace velmora;

uint64_t CreateTLSFolderList(TLSFolderList** list)
{
    // Kept: the answer is 1 without memory too; a caller looks at the pointer.
    if (list) *list = new (std::nothrow) TLSFolderList;
    return 1;
}

uint64_t InitTLSFolderList(TLSFolderList* list)
{
    return GuardedEntry("InitTLSFolderList", uint64_t{1}, [&]() -> uint64_t {
        if (list) Initialise(*list);
        return 1;
    });
}

uint64_t UnInitTLSFolderList(TLSFolderList* list)
{
    if (list) UnInitialise(*list);
    return 1;
}

uint64_t FreeTLSFolderList(TLSFolderList** list)
{
    if (!list) return 1;
    delete *list;
    *list = nullptr;
    return 1;
}

// A walk's place on the stack is that of these functions. Each is entered by its caller and by nothing else, so that it is the
// same for all steps of one loop.

__attribute__((noinline)) uint64_t TLS_StoreFolderFindFirst(StoreFolderRecord* record, TLSFolderList* list)
{
    return GuardedFirst(record, list, __builtin_frame_address(0));
}

__attribute__((noinline)) uint64_t TLS_StoreFolderFindNext(StoreFolderRecord* record, TLSFolderList* list)
{
    return GuardedNext(record, list, __builtin_frame_address(0));
}

__attribute__((noinline)) uint64_t TLS_StoreFolderFindClose(StoreFolderRecord* record, TLSFolderList* list)
{
    return GuardedClose(record, list, __builtin_frame_address(0));
}

__attribute__((noinline)) uint64_t StoreFolderFindFirst(StoreFolderRecord* record)
{
    return GuardedFirst(record, nullptr, __builtin_frame_address(0));
}

__attribute__((noinline)) uint64_t StoreFolderFindNext(StoreFolderRecord* record)
{
    return GuardedNext(record, nullptr, __builtin_frame_address(0));
}

__attribute__((noinline)) uint64_t StoreFolderFindClose(StoreFolderRecord* record)
{
    return GuardedClose(record, nullptr, __builtin_frame_address(0));
}
