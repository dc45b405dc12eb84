// The words that the whole process shares.
//
// Loading and unloading the library write them, and StoreLibrary_SetAffinity, which a host calls before its threads begin
// to work; everything else reads them without a lock. Two kinds are also made at first use, while threads work, and have
// a guard of their own: the two mutexes (provider/SharedIndexRegistry.h), and a mail root that was empty at the load.
#ifndef VELMORA_FRAME_PROCESSSTATE_H
#define VELMORA_FRAME_PROCESSSTATE_H

#include <cstdint>
#include <string_view>

#include "velmora/index_records.h"

namespace velmora {

inline constexpr uint32_t kNoTlsSlot = 0xFFFFFFFFu;

struct ProcessState {
    char MailRoot[kStoreNameSize] = {};  // while threads work it is read through MailRootText
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
    void* LoggingModule = nullptr;  // nothing in this library sets it
};
ProcessState& Process();

// The mail root as it is now: empty or whole, also while another thread fills it.
std::string_view MailRootText();
// Gives an empty mail root its text, cut at the field. One that has a text keeps it: another thread was faster.
void FillEmptyMailRoot(std::string_view root);

}  // namespace velmora

#endif
