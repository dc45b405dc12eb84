// Thread-local slots. A slot that is freed and given out again is empty in every thread: each value carries the
// generation of its slot.
#include <array>
#include <atomic>
#include <mutex>

#include "platform/posix/Errors.h"

namespace velmora::platform {

namespace {

constexpr DWORD kSlots = 128;

// Trivial, so that values can still be read while a thread's other objects are being destroyed.
struct ThreadValue {
    void* value;
    uint64_t generation;
};
thread_local std::array<ThreadValue, kSlots> threadValues{};

struct SlotState {
    std::atomic<uint64_t> generation{0};  // odd while the slot is given out
};
std::array<SlotState, kSlots> slots;
std::mutex slotsLock;

uint64_t LiveGeneration(DWORD slot)
{
    const uint64_t generation = slot < kSlots ? slots[slot].generation.load(std::memory_order_acquire) : 0;
    return generation % 2 == 1 ? generation : 0;
}

}  // namespace

}  // namespace velmora::platform

using namespace velmora::platform;

DWORD TlsAlloc()
{
    std::lock_guard<std::mutex> hold(slotsLock);
    for (DWORD slot = 0; slot < kSlots; ++slot) {
        if (LiveGeneration(slot) != 0) continue;
        slots[slot].generation.fetch_add(1, std::memory_order_acq_rel);
        return slot;
    }
    SetLastError(ERROR_NO_MORE_ITEMS);
    return TLS_OUT_OF_INDEXES;
}

BOOL TlsFree(DWORD slot)
{
    std::lock_guard<std::mutex> hold(slotsLock);
    if (LiveGeneration(slot) == 0) return Fail(ERROR_INVALID_PARAMETER);
    slots[slot].generation.fetch_add(1, std::memory_order_acq_rel);
    return TRUE;
}

LPVOID TlsGetValue(DWORD slot)
{
    const uint64_t generation = LiveGeneration(slot);
    if (generation == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    SetLastError(ERROR_SUCCESS);  // a null value is told from a failure by this
    const ThreadValue& entry = threadValues[slot];
    return entry.generation == generation ? entry.value : nullptr;
}

BOOL TlsSetValue(DWORD slot, LPVOID value)
{
    const uint64_t generation = LiveGeneration(slot);
    if (generation == 0) return Fail(ERROR_INVALID_PARAMETER);
    threadValues[slot] = {value, generation};
    return TRUE;
}
