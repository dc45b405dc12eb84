#include "provider/FolderAccess.h"

#include "index/IndexTable.h"

namespace velmora {

namespace {

// The registry's mutex for a context that is on a record without an open of its own, else nothing to lock.
void* GuardFor(const TLSStoreIndex& context) { return context.Index && context.OpensOf(context.Index) == 0 ? RegistryMutex() : nullptr; }

}  // namespace

FolderAccess::FolderAccess(TLSStoreIndex& context)
    : context_(context),
      registry_(GuardFor(context)),
      index_(HasOpenIndex(context) ? context.Index.get() : nullptr),
      lock_(index_ ? index_->Mutex : nullptr)
{
    if (index_) DropStaleItems();
}

bool FolderAccess::LoadInFull()
{
    const bool loaded = EnsureLoadLevel(index_->Table, 3);
    DropStaleItems();
    return loaded;
}

void FolderAccess::DropStaleItems()
{
    const uint64_t generation = index_->Table.LoadGeneration;
    if (context_.ItemGeneration == generation) return;
    context_.CurrentFolderItem.Item = nullptr;
    context_.WalkList.Reset();
    context_.ItemGeneration = generation;
}

}  // namespace velmora
