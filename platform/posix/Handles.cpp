#include "platform/posix/Handles.h"

#include <array>
#include <atomic>
#include <mutex>
#include <new>
#include <vector>

namespace velmora::platform {

namespace {

constexpr uint32_t kIndexBits = 20;
constexpr uint32_t kSlotsPerChunk = 1024;
constexpr uint32_t kChunks = (1u << kIndexBits) / kSlotsPerChunk;

static_assert(sizeof(HANDLE) == 8, "a handle holds a slot and a generation");

struct Slot {
    std::atomic<uint64_t> key{0};  // the handle that is open here; 0 for none
    std::atomic<HandleObject*> object{nullptr};
    uint64_t generation = 0;  // under the table's lock
};

struct Table {
    std::array<std::atomic<Slot*>, kChunks> chunks{};
    std::mutex lock;  // guards what follows, and the generations
    std::vector<uint32_t> freeSlots;
    uint32_t slotsMade = 0;
    size_t open = 0;
};

// Never destroyed: static objects of other rooms close their handles after this file's would be gone.
Table& TheTable()
{
    static Table& table = *new Table;
    return table;
}

// Handles are multiples of four, as they are on Windows.
uint64_t KeyOf(uint32_t index, uint64_t generation) { return ((generation << kIndexBits) | index) << 2; }

Slot* SlotOf(uint64_t key)
{
    const auto index = static_cast<uint32_t>((key >> 2) & ((1u << kIndexBits) - 1));
    Slot* chunk = TheTable().chunks[index / kSlotsPerChunk].load(std::memory_order_acquire);
    return chunk ? chunk + index % kSlotsPerChunk : nullptr;
}

uint64_t KeyFrom(HANDLE handle) { return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(handle)); }

// A slot that nobody uses; false when there is none.
bool ClaimSlot(Table& table, uint32_t& index)
{
    if (!table.freeSlots.empty()) {
        index = table.freeSlots.back();
        table.freeSlots.pop_back();
        return true;
    }
    if (table.slotsMade == kChunks * kSlotsPerChunk) return false;
    index = table.slotsMade;
    if (index % kSlotsPerChunk == 0) {
        // Room for every slot that may be given back, so that closing a handle never needs memory.
        table.freeSlots.reserve(index + kSlotsPerChunk);
        table.chunks[index / kSlotsPerChunk].store(new Slot[kSlotsPerChunk], std::memory_order_release);
    }
    ++table.slotsMade;
    return true;
}

}  // namespace

HANDLE MakeHandle(std::unique_ptr<HandleObject> object)
try {
    Table& table = TheTable();
    std::lock_guard<std::mutex> hold(table.lock);
    uint32_t index = 0;
    if (!ClaimSlot(table, index)) {
        SetLastError(ERROR_TOO_MANY_OPEN_FILES);
        return nullptr;
    }
    Slot& slot = table.chunks[index / kSlotsPerChunk].load(std::memory_order_relaxed)[index % kSlotsPerChunk];
    const uint64_t key = KeyOf(index, ++slot.generation);
    slot.object.store(object.release(), std::memory_order_relaxed);
    slot.key.store(key, std::memory_order_release);
    ++table.open;
    return reinterpret_cast<HANDLE>(static_cast<uintptr_t>(key));
} catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HandleObject* LookUpHandle(HANDLE handle)
{
    const uint64_t key = KeyFrom(handle);
    Slot* slot = key != 0 ? SlotOf(key) : nullptr;
    if (slot && slot->key.load(std::memory_order_acquire) == key) return slot->object.load(std::memory_order_relaxed);
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

std::unique_ptr<HandleObject> TakeHandle(HANDLE handle, HandleKind kind)
{
    HandleObject* object = LookUpHandle(handle);
    uint64_t key = KeyFrom(handle);
    // Of two threads that close one handle, one gets the object.
    if (!object || object->kind != kind || !SlotOf(key)->key.compare_exchange_strong(key, 0, std::memory_order_acq_rel)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    Table& table = TheTable();
    std::lock_guard<std::mutex> hold(table.lock);
    table.freeSlots.push_back(static_cast<uint32_t>((KeyFrom(handle) >> 2) & ((1u << kIndexBits) - 1)));
    --table.open;
    return std::unique_ptr<HandleObject>(object);
}

size_t OpenHandleCount()
{
    Table& table = TheTable();
    std::lock_guard<std::mutex> hold(table.lock);
    return table.open;
}

}  // namespace velmora::platform
