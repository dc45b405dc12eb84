#include "provider/SharedIndexRegistry.h"

#include <atomic>
#include <map>

#include "common/Mutex.h"
#include "common/Text.h"
#include "frame/ProcessState.h"
#include "platform/win32.h"
#include "provider/ThreadContext.h"
#include "velmora/index.h"

namespace velmora {

namespace {

using Registry = std::map<std::string, std::shared_ptr<SharedIndex>, std::less<>>;

// Never destroyed: threads may still be inside the library while the process ends.
Registry& Records()
{
    static Registry& records = *new Registry;
    return records;
}

// With no lock of its own: the end of the process comes here too, when a thread may have been stopped inside one.
void* MadeAtNeed(void*& word)
{
    std::atomic_ref<void*> mutex(word);
    if (void* const made = mutex.load()) return made;
    void* const mine = OpenOrCreateMutex(nullptr);
    void* theirs = nullptr;
    if (!mine || mutex.compare_exchange_strong(theirs, mine)) return mine;
    CloseHandle(mine);
    return theirs;
}

// The count is part of a record that hosts know as plain words, and one more open is added with no lock.
std::atomic_ref<uint32_t> Count(SharedIndex& index) { return std::atomic_ref<uint32_t>(index.RefCount); }

void EndSelection(TLSStoreIndex& context)
{
    context.CurrentFolderItem.Item = nullptr;
    context.WalkList.Reset();
}

void MakeIdle(TLSStoreIndex& context)
{
    EndSelection(context);
    for (char* const field : {context.Postoffice, context.Mailbox, context.Folder, context.Key}) *field = '\0';
    STOREITEMTYPE& item = context.CurrentFolderItem;
    for (char* const field : {item.Postoffice, item.Mailbox, item.Folder, item.FolderPath}) *field = '\0';
    context.Index.reset();
}

// The last close, under the registry's mutex. Nobody has a count, so nobody is inside the record.
void EndRecord(SharedIndex& index)
{
    Records().erase(index.Key);
    StoreIndex_Release(&index);
    index.Path[0] = '\0';
    index.Retired = true;
}

// Gives back one of the context's opens of `index`; a context that has none left takes nothing from the others. True
// when the record has ended. The caller keeps the record's memory.
bool GiveBackOpen(TLSStoreIndex& context, SharedIndex& index)
{
    const auto mine = context.Opens.find(&index);
    if (mine == context.Opens.end()) return index.Retired;
    if (--mine->second == 0) context.Opens.erase(mine);
    if (Count(index).fetch_sub(1) != 1) return false;
    EndRecord(index);
    return true;
}

std::shared_ptr<SharedIndex> MakeRecord(const char* key)
{
    auto index = std::make_shared<SharedIndex>();
    StoreIndex_Init(index.get());
    index->Mutex = OpenOrCreateMutex(nullptr);
    if (!index->Mutex) return nullptr;
    index->Key = key;
    return index;
}

}  // namespace

SharedIndex::~SharedIndex() { StoreIndex_Release(this); }

void* RegistryMutex() { return MadeAtNeed(Process().SharedIndexRegistryMutex); }
void* OpenMutex() { return MadeAtNeed(Process().IndexOpenMutex); }

ProcessLock::ProcessLock(void* mutex) : mutex_(mutex), held_(false)
{
    if (!mutex_) return;
    const WaitResult result = WaitOnHandle(mutex_, kWaitForever);
    held_ = result == WaitResult::Acquired || result == WaitResult::Abandoned;
}

ProcessLock::~ProcessLock()
{
    if (held_) ReleaseMutex(mutex_);
}

void LetAbandonedMutexGo(void* mutex)
{
    if (mutex) ReleaseMutex(mutex);
}

RecordLock::RecordLock(void* mutex)
try : lock_(mutex) {
} catch (...) {
    LetAbandonedMutexGo(mutex);
    throw;
}

uint32_t IndexReferences(SharedIndex& index) { return Count(index).load(); }

bool HasOpenIndex(TLSStoreIndex& context)
{
    if (!context.Index) return false;
    if (context.OpensOf(context.Index) != 0) return true;
    {
        const ProcessLock registry(RegistryMutex());
        if (!context.Index->Retired) return true;
    }
    MakeIdle(context);
    return false;
}

bool AddOpen(TLSStoreIndex& context)
{
    SharedIndex& index = *context.Index;
    uint32_t& mine = context.Opens[&index];
    // An open of this context keeps the record from ending, and no lock is needed.
    if (mine != 0) {
        Count(index).fetch_add(1);
        ++mine;
        return true;
    }
    const ProcessLock registry(RegistryMutex());
    if (!registry.Held() || index.Retired) {
        context.Opens.erase(&index);
        return false;
    }
    Count(index).fetch_add(1);
    ++mine;
    return true;
}

std::shared_ptr<SharedIndex> FindSharedIndex(const TLSStoreIndex& context)
{
    const ProcessLock registry(RegistryMutex());
    if (!registry.Held()) return nullptr;
    const auto found = Records().find(std::string_view(context.Key));
    return found == Records().end() ? nullptr : found->second;
}

Attach AttachSharedIndex(TLSStoreIndex& context)
{
    const ProcessLock registry(RegistryMutex());
    if (!registry.Held()) return Attach::Refused;
    std::shared_ptr<SharedIndex> index = FindSharedIndex(context);
    const Attach attached = index ? Attach::Found : Attach::New;
    if (!index) {
        index = MakeRecord(context.Key);
        if (!index) return Attach::Refused;
        Records().emplace(index->Key, index);
    }
    ++context.Opens[index.get()];
    Count(*index).fetch_add(1);
    context.Index = std::move(index);
    return attached;
}

uint64_t CloseThreadIndex(TLSStoreIndex* context, uint32_t final)
{
    if (!context) return 0;
    bool idle = final != 0;
    if (context->Index) {
        const ProcessLock registry(RegistryMutex());
        if (registry.Held()) {
            const ProcessLock opens(OpenMutex());
            EndSelection(*context);
            if (GiveBackOpen(*context, *context->Index)) idle = true;
        }
    }
    // Kept: otherwise the context stays on the record while other opens hold it.
    if (idle) MakeIdle(*context);
    return 1;
}

void CloseAllThreadIndexes(TLSStoreIndex& context)
{
    CloseThreadIndex(&context, 1);
    const ProcessLock registry(RegistryMutex());
    if (!registry.Held()) return;
    while (!context.Opens.empty()) {
        SharedIndex& index = *context.Opens.begin()->first;
        const auto found = Records().find(index.Key);
        const std::shared_ptr<SharedIndex> keep = found == Records().end() ? nullptr : found->second;
        GiveBackOpen(context, index);
    }
}

void ForEachSharedIndex(const std::function<void(SharedIndex&)>& visit)
{
    const ProcessLock registry(RegistryMutex());
    if (!registry.Held()) return;
    for (const auto& [key, index] : Records()) visit(*index);
}

std::vector<std::string> SharedIndexKeys()
{
    std::vector<std::string> keys;
    ForEachSharedIndex([&](SharedIndex& index) { keys.push_back(index.Key); });
    return keys;
}

}  // namespace velmora
