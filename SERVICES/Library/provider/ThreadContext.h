// What a thread has open: TLSStoreIndex, one for each thread, in the slot TLSFolderContextSlot.
//
// A context is made when its thread begins or at its first call, and belongs to that thread alone. It goes when the thread
// ends or asks for it (StoreLibrary_ThreadRelease).
#ifndef VELMORA_PROVIDER_THREADCONTEXT_H
#define VELMORA_PROVIDER_THREADCONTEXT_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "index/ItemOperations.h"
#include "items/CalendarDocument.h"
#include "provider/SharedIndexRegistry.h"
#include "velmora/index_records.h"

namespace velmora {

struct TLSStoreIndex {
    char Postoffice[kStoreNameSize] = {};  // as the host named them
    char Mailbox[kStoreNameSize] = {};
    char Folder[kStoreNameSize] = {};
    char Key[kStoreNameSize] = {};  // of the open folder in the registry; empty when none is open
    STOREITEMTYPE CurrentFolderItem;
    ItemWalk WalkList;
    std::shared_ptr<SharedIndex> Index;                // null when no folder is open
    std::unique_ptr<CalendarObject> CalendarDocument;  // only with kind 5

    // The load of Index's table that CurrentFolderItem and WalkList point into. Another thread that shares the record may
    // load it anew; the pointers are then dropped before anybody uses them.
    uint64_t ItemGeneration = 0;

    // How many opens of which records are this context's to give back. A close takes no more than that, so a context that
    // closes too often cannot end a record under another thread. A record with an entry here cannot end.
    std::map<SharedIndex*, uint32_t> Opens;
    uint32_t OpensOf(const std::shared_ptr<SharedIndex>& index) const
    {
        const auto found = Opens.find(index.get());
        return found == Opens.end() ? 0 : found->second;
    }
};

// Makes a context and stores it in the slot; arms the hook that releases it when the thread ends. Null when there is no
// memory or no slot.
TLSStoreIndex* TLSStoreIndex_Init(uint32_t slot);
// The slot's context, made if there is none.
TLSStoreIndex* GetTLSStoreIndex(uint32_t slot);
// The calling thread's context, made if there is none.
TLSStoreIndex* CurrentContext();
// The same, but null if there is none.
TLSStoreIndex* ExistingContext();

// What an open of kind 5 reads by the context's names: the folder itself when it is an address, with "http://" in it in any
// case of letters, else "<mail root>\<postoffice>\MAILROOT\<mailbox>\<folder>".
std::string DocumentSource(const TLSStoreIndex& context);

// Closes the thread's folder, in its final form, and destroys the context; nothing without one.
void CloseThreadContext();
// Destroys the context and leaves its folder open in the registry; nothing without one.
void AbandonThreadContext();

}  // namespace velmora

#endif
