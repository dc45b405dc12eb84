// What a worker does at the counts and the block of a folder, with nothing loaded.
#include <chrono>
#include <string>
#include <thread>

#include "platform/win32.h"
#include "tests/torture/Hand.h"
#include "velmora/locks.h"
#include "velmora/status.h"

namespace velmora::torture {

void Hand::ReadCounts()
{
    uint32_t details[VELMORA_STATUS_WORDS] = {};
    if (GetCachedStatus(kPostoffice, kMailbox, Name().c_str(), details) != 1) return;
    // Direct calls may count a message as seen no more that never was, and come below nothing.
    const auto items = static_cast<int32_t>(details[VELMORA_STATUS_ITEMS]), seen = static_cast<int32_t>(details[VELMORA_STATUS_SEEN]);
    if (items < 0 || items > 100000 || seen > items)
        Fault("the cached counts are " + std::to_string(items) + " and " + std::to_string(seen));
}

bool Hand::TakeBlock(uint32_t keepHandle, void*& handle)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(dice_.Below(200));
    watch_.BeginCall();
    while (WaitForAccessToIndexFileEx(BlockPath().c_str(), keepHandle, &handle) != 1) {
        if (std::chrono::steady_clock::now() <= end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            continue;
        }
        Told("block", false);
        return false;
    }
    Told("block", true);
    return true;
}

void Hand::HoldBlock()
{
    void* handle = nullptr;
    if (!TakeBlock(1, handle)) return;
    BeginHold();
    Pause(dice_.OneIn(10) ? 1500 : 20);
    if (dice_.OneIn(2) && DeleteFileA(BlockPath().c_str())) Fault("a block that is held by its handle cannot be deleted: it was");
    Write(Deed::HoldEnd);
    UnBlockIndexFileAccessEx(BlockPath().c_str(), 1, &handle);
}

// Anybody may delete such a block, so nothing is done under it.
void Hand::HoldByName()
{
    void* handle = nullptr;
    if (!TakeBlock(0, handle)) return;
    Pause(20);
    UnBlockIndexFileAccessEx(BlockPath().c_str(), 0, &handle);
}

// As whoever takes the block for an orphan. One that somebody holds by its handle stays: what is written under it would run
// into what the next holder writes.
// Without the unblock mode, nobody may.
void Hand::BreakBlock()
{
    if (plan_.unblock != 0) DeleteFileA(BlockPath().c_str());
}

}  // namespace velmora::torture
