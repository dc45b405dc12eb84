#include "folders/FolderLists.h"

#include <new>
#include <optional>

#include "common/Exception.h"
#include "common/FileManagement.h"
#include "common/Text.h"
#include "folders/FolderIndexFile.h"
#include "folders/FolderRecord.h"
#include "frame/Guard.h"
#include "frame/ProcessState.h"
#include "platform/Threads.h"
#include "platform/win32.h"

namespace velmora {

namespace {

// A thread's own lists, by the place on its stack that a walk is begun at.
struct ThreadFolderTable {
    std::map<const void*, TLSFolderList> Lists;
    uint64_t WalksBegun = 0;
};

ThreadFolderTable* ExistingTable()
{
    const uint32_t slot = Process().TLSFolderListSlot;
    return slot == kNoTlsSlot ? nullptr : static_cast<ThreadFolderTable*>(TlsGetValue(slot));
}

// Null when the process has no slot.
ThreadFolderTable* CurrentTable()
{
    if (ThreadFolderTable* const table = ExistingTable()) return table;
    auto table = std::make_unique<ThreadFolderTable>();
    const uint32_t slot = Process().TLSFolderListSlot;
    if (slot == kNoTlsSlot || !TlsSetValue(slot, table.get())) return nullptr;
    platform::ArmThreadEndHook();
    return table.release();
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

// A walk, in the list that it goes through. None has null for both.
struct Walk {
    TLSFolderList* list = nullptr;
    FolderPosition* position = nullptr;

    explicit operator bool() const { return position != nullptr; }
};

Walk WalkIn(TLSFolderList& list, const std::string& directory)
{
    const auto position = list.Position.find(directory);
    return position == list.Position.end() ? Walk{} : Walk{&list, &position->second};
}

// A walk that is yet to find its first name. None in a list that is not initialised.
Walk Begin(TLSFolderList* own, const void* place, const std::string& directory)
{
    ThreadFolderTable* const table = own ? nullptr : CurrentTable();
    if (!own && !table) return {};
    TLSFolderList& list = own ? *own : table->Lists[place];
    if (!own && !list.Directories) Initialise(list);
    if (!list.Directories) return {};
    FolderPosition& position = list.Position[directory];
    position = {{}, table ? ++table->WalksBegun : 0};
    return {&list, &position};
}

// The walk through `directory` that was begun last in this thread.
Walk LastBegun(ThreadFolderTable& table, const std::string& directory)
{
    Walk last;
    for (auto& [place, list] : table.Lists)
        if (const Walk walk = WalkIn(list, directory); walk && (!last || walk.position->Begun > last.position->Begun)) last = walk;
    return last;
}

Walk WalkFrom(ThreadFolderTable& table, const void* place, const std::string& directory)
{
    const auto here = table.Lists.find(place);
    return here == table.Lists.end() ? Walk{} : WalkIn(here->second, directory);
}

// The walk that a Next goes on with: the one that was begun at its place on the stack or, when none is under way there, the last
// one begun, wherever. That may have ended: behind its end a Next is not to move the walk of a caller further up.
Walk WalkToGoOnWith(TLSFolderList* own, const void* place, const std::string& directory)
{
    if (own) return own->Directories ? WalkIn(*own, directory) : Walk{};
    ThreadFolderTable* const table = ExistingTable();
    if (!table) return {};
    const Walk here = WalkFrom(*table, place, directory);
    return here && !here.position->Ended ? here : LastBegun(*table, directory);
}

// Kept: of the thread's own lists none is given back here. What they have parsed serves the thread's next walks, and goes with
// the thread.
void EndWalk(const void* place, const std::string& directory)
{
    ThreadFolderTable* const table = ExistingTable();
    if (!table) return;
    const Walk here = WalkFrom(*table, place, directory);
    const Walk walk = here ? here : LastBegun(*table, directory);
    if (walk) walk.list->Position.erase(directory);
}

// Whether the flag of a directory cannot be taken away only because somebody has it open at this moment. One that goes now is
// set again: the directories were listed before it went.
bool FlagIsInUse(const std::string& directory)
{
    if (DeleteFileA((directory + "\\" + kHierarchyFlagName).c_str())) {
        MarkHierarchyDirty(directory);
        return true;
    }
    const uint32_t error = GetLastError();
    return error == ERROR_SHARING_VIOLATION || NamesNothing(error);
}

// The names that a step of a walk goes by. Null when they cannot be had.
const FolderEntryList* EntriesFor(const StoreFolderRecord& record, TLSFolderList& list, const std::string& directory)
{
    FolderEntryList* entries = nullptr;
    try {
        GetFolderEntryList(entries, directory, IsRootFolderPath(RecordText(record.FolderPath).c_str()), list);
    } catch (const Exception&) {
        // The list is written by then. Somebody who just sets the flag is no reason to end the walk.
        if (!FlagIsInUse(directory)) throw;
        LoadFolderIndex(entries, directory, list);
    }
    return entries;
}

using NameIterator = std::map<std::string, std::string>::const_iterator;

uint64_t Give(StoreFolderRecord& record, FolderPosition& position, const FolderEntryList& entries, NameIterator next)
{
    position.Ended = next == entries.Names.end();
    if (position.Ended) return 0;
    position.Name = next->first;
    CopyBounded(record.FolderName, next->first);
    return 1;
}

uint64_t FindFirst(StoreFolderRecord& record, TLSFolderList* own, const void* place)
{
    if (!IsForThisMachine()) return 0;
    const std::optional<std::string> directory = FolderDirectoryOf(record);
    if (!directory) return 0;
    const Walk walk = Begin(own, place, *directory);
    if (!walk) return 0;
    const FolderEntryList* const entries = EntriesFor(record, *walk.list, *directory);
    return entries ? Give(record, *walk.position, *entries, entries->Names.begin()) : 0;
}

uint64_t FindNext(StoreFolderRecord& record, TLSFolderList* own, const void* place)
{
    if (!IsForThisMachine()) return 0;
    const std::optional<std::string> directory = FolderDirectoryOf(record);
    if (!directory) return 0;
    const Walk walk = WalkToGoOnWith(own, place, *directory);
    if (!walk || walk.position->Ended) return 0;
    // Every step looks at the files again, so a walk notices what others have done to the folder.
    const FolderEntryList* const entries = EntriesFor(record, *walk.list, *directory);
    return entries ? Give(record, *walk.position, *entries, entries->Names.upper_bound(walk.position->Name)) : 0;
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
            if (const std::optional<std::string> directory = FolderDirectoryOf(*record)) EndWalk(place, *directory);
        }
        return 1;
    });
}

}  // namespace

void ReleaseThreadFolderLists()
{
    ThreadFolderTable* const table = ExistingTable();
    if (!table) return;
    TlsSetValue(Process().TLSFolderListSlot, nullptr);
    delete table;
}

size_t ThreadFolderListCount()
{
    const ThreadFolderTable* const table = ExistingTable();
    return table ? table->Lists.size() : 0;
}

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
