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
    if (details[VELMORA_STATUS_ITEMS] > 100000 || details[VELMORA_STATUS_SEEN] > details[VELMORA_STATUS_ITEMS])
        Fault("the cached counts are " + std::to_string(details[VELMORA_STATUS_ITEMS]) + " and " +
              std::to_string(details[VELMORA_STATUS_SEEN]));
}

bool Hand::TakeBlock(uint32_t keepHandle, void*& handle)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(dice_.Below(200));
    while (WaitForAccessToIndexFileEx(BlockPath().c_str(), keepHandle, &handle) != 1) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void Hand::HoldBlock()
{
    void* handle = nullptr;
    if (!TakeBlock(1, handle)) return;
    Write(Deed::HoldBegin);
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
void Hand::BreakBlock() { DeleteFileA(BlockPath().c_str()); }

}  // namespace velmora::torture
