// The process-wide registry of open folders: key text to record.
//
// A key names post office, mailbox and folder as the host spelled them, and with affinity 1 the thread as well, so a
// record is shared between threads only with affinity 0. The record's RefCount is the number of opens that hold it; the
// last close takes it out of the registry and empties it.
//
// Who may touch what:
//
//   the registry, the end of a record    SharedIndexRegistryMutex
//   placing and loading a record         IndexOpenMutex
//   a record's table, its items          the record's Mutex
//   RefCount                             atomically; it reaches 0 only under SharedIndexRegistryMutex
//
// taken in this order: SharedIndexRegistryMutex, IndexOpenMutex, the record's Mutex.
//
// A context whose own opens are all closed stays on the record as long as others hold it. Such a context has no count to
// keep the record from ending, so the memory of a record outlives its end (`Retired`) until the last context lets go.
#ifndef VELMORA_PROVIDER_SHAREDINDEXREGISTRY_H
#define VELMORA_PROVIDER_SHAREDINDEXREGISTRY_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/Mutex.h"
#include "velmora/index_records.h"

namespace velmora {

struct TLSStoreIndex;

// A record that lives in the registry.
struct SharedIndex : STOREINDEXTYPE {
    std::string Key;       // that it was entered under
    bool Retired = false;  // its last close has been; set and read under SharedIndexRegistryMutex

    SharedIndex() = default;
    ~SharedIndex();
};

// The two process mutexes, made at their first use if the load of the library has not made them.
void* RegistryMutex();
void* OpenMutex();

// Holds one of them, quietly. A mutex whose owner thread died counts as held: what these two guard is changed in single
// steps, and a refusal would leave the mutex with this thread and stop every other one for good.
class ProcessLock {
public:
    explicit ProcessLock(void* mutex);
    ~ProcessLock();
    ProcessLock(const ProcessLock&) = delete;
    ProcessLock& operator=(const ProcessLock&) = delete;
    bool Held() const { return held_; }

private:
    void* mutex_;
    bool held_;
};

// Gives back a record's Mutex that came to this thread as abandoned; nothing when it is not this thread's.
void LetAbandonedMutexGo(void* mutex);

// Holds a record's Mutex or throws, as xMutexLock does. An abandoned one is a failure of this call and goes back at once:
// left with this thread, it would stop every other thread of the record, the next open among them with IndexOpenMutex in
// its hands, and this thread's own close would then wait for that one.
class RecordLock {
public:
    explicit RecordLock(void* mutex);

private:
    xMutexLock lock_;
};

// The opens that hold the record.
uint32_t IndexReferences(SharedIndex& index);

// True when the context is on a record that has not ended. A context whose record has ended is idle afterwards.
bool HasOpenIndex(TLSStoreIndex& context);
// One more open of the context's record, which is an open one. False when the record has just ended.
bool AddOpen(TLSStoreIndex& context);

// The record under the context's Key; null when there is none.
std::shared_ptr<SharedIndex> FindSharedIndex(const TLSStoreIndex& context);

enum class Attach : uint64_t {
    Refused = 0,  // no memory or no mutex: the context has no record
    New = 1,
    Found = 2,
};
// Gives the context the record of its Key, made if there is none, and adds one open. Refused leaves Index as it was.
[[nodiscard]] Attach AttachSharedIndex(TLSStoreIndex& context);

// Gives back one of the context's opens, if it has one left, and ends the current item and the walk. The last open of a
// record ends it. With `final`, and after the last open, the context is idle afterwards. 0 for a null context, else 1.
uint64_t CloseThreadIndex(TLSStoreIndex* context, uint32_t final);

// Gives back every open that the context still has, of whatever record: its thread is ending.
void CloseAllThreadIndexes(TLSStoreIndex& context);

// Visits all records in the order of their keys. The registry is locked throughout: no folder is opened or closed.
void ForEachSharedIndex(const std::function<void(SharedIndex&)>& visit);
// The keys in their order, for tests and diagnosis.
std::vector<std::string> SharedIndexKeys();

}  // namespace velmora

#endif
