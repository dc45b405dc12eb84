// The words that the whole process shares. They are written while the library loads, before threads begin to work, and
// by StoreLibrary_SetAffinity; everything else reads them. Nothing here has a lock.
#ifndef VELMORA_FRAME_PROCESSSTATE_H
#define VELMORA_FRAME_PROCESSSTATE_H

#include <cstdint>

#include "velmora/index_records.h"

namespace velmora {

inline constexpr uint32_t kNoTlsSlot = 0xFFFFFFFFu;

struct ProcessState {
    char MailRoot[kStoreNameSize] = {};
    char LegacyMailRoot[kStoreNameSize] = {};
    char BadMailDirectory[kStoreNameSize] = {};
    uint32_t StoreEventNotificationMode = 0;
    uint32_t MailboxSizeCalcMode = 0;
    uint32_t AllowCustomPostofficePaths = 0;
    uint32_t StoreAffinity = 1;  // 1: each thread has its own index objects; 0: threads share them
    void* IndexOpenMutex = nullptr;
    void* SharedIndexRegistryMutex = nullptr;
    uint32_t TLSFolderContextSlot = kNoTlsSlot;
    uint32_t TLSFolderListSlot = kNoTlsSlot;
    uint32_t TLSListPositionSlot = kNoTlsSlot;
    void* NotifyModule = nullptr;
    void* NotifyRemote = nullptr;  // function of the notify module; null when absent
    void* OptionsModule = nullptr;
    void* PostofficeModule = nullptr;
};
ProcessState& Process();

}  // namespace velmora

#endif
