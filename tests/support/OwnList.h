// A caller's own list of folders, made and given back as a host does it.
#ifndef VELMORA_TESTS_SUPPORT_OWNLIST_H
#define VELMORA_TESTS_SUPPORT_OWNLIST_H

#include "velmora/folders.h"

namespace velmora::test {

class OwnList {
public:
    OwnList()
    {
        CreateTLSFolderList(&list_);
        InitTLSFolderList(list_);
    }
    ~OwnList()
    {
        UnInitTLSFolderList(list_);
        FreeTLSFolderList(&list_);
    }
    OwnList(const OwnList&) = delete;
    OwnList& operator=(const OwnList&) = delete;
    operator TLSFolderList*() const { return list_; }

private:
    TLSFolderList* list_ = nullptr;
};

}  // namespace velmora::test

#endif
