// An index record as a host holds it, of one folder of the plan.
#ifndef VELMORA_TESTS_TORTURE_OWNRECORD_H
#define VELMORA_TESTS_TORTURE_OWNRECORD_H

#include "common/Text.h"
#include "tests/torture/Plan.h"
#include "velmora/index.h"
#include "velmora/index_records.h"

namespace velmora::torture {

struct OwnRecord : STOREINDEXTYPE {
    explicit OwnRecord(const std::string& folder)
    {
        StoreIndex_Init(this);
        CopyBounded(Postoffice, kPostoffice);
        CopyBounded(Mailbox, kMailbox);
        CopyBounded(Folder, folder);
        StoreIndex_SetPaths(this);
    }
    ~OwnRecord() { StoreIndex_Release(this); }
    OwnRecord(const OwnRecord&) = delete;
    OwnRecord& operator=(const OwnRecord&) = delete;
};

}  // namespace velmora::torture

#endif
