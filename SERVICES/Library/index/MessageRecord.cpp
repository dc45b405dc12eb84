// One item's columns as a flat record.
#include <cstring>

#include "common/Text.h"
#include "frame/Guard.h"
#include "frame/Logging.h"
#include "index/IndexTable.h"
#include "velmora/index.h"
#include "velmora/item_record.h"

namespace velmora {

namespace {

// How much of an item goes into the record. Any other mode takes the three numbers alone.
constexpr uint32_t kFlagsAlone = 0;
constexpr uint32_t kEverything = 1;

uint32_t NumberOf(const IndexItemPropertyContainer& item, std::string_view column) { return static_cast<uint32_t>(item.GetNumber(column)); }

template <size_t N>
void TakeText(const IndexItemPropertyContainer& item, std::string_view column, char (&field)[N])
{
    std::memset(field, 0, N);
    item.GetInto(column, field, N);
}

void TakeColumns(const IndexItemPropertyContainer& item, StoreMessageRecord& record)
{
    TakeText(item, "FROM", record.From);
    TakeText(item, "TO", record.To);
    TakeText(item, "CC", record.Cc);
    TakeText(item, "SUBJECT", record.Subject);
    TakeText(item, "RECEIVED", record.Received);
    TakeText(item, "MESSAGEDATE", record.MessageDate);
    record.Size = NumberOf(item, kSize);
    record.Attachments = NumberOf(item, "ATTACHMENTS");
    record.Importance = NumberOf(item, "IMPORTANCE");
}

uint64_t ReadRecord(STOREINDEXTYPE& index, const char* itemId, uint32_t mode, StoreMessageRecord& record)
{
    if (index.Table.LoadLevel == 0) return 0;
    const IndexItemPropertyContainer* const item = FindItem(index.Table, TextOrEmpty(itemId));
    if (!item) return 0;
    record.Seq = NumberOf(*item, kSeq);
    record.Uid = item->Uid();
    record.Idx = NumberOf(*item, kIdx);
    if (mode == kEverything) TakeColumns(*item, record);
    if (mode == kEverything || mode == kFlagsAlone) TakeText(*item, kFlagStatus, record.FlagStatus);
    return 1;
}

}  // namespace

}  // namespace velmora

using namespace velmora;

uint64_t GetStoreItemByMessageID(STOREINDEXTYPE* index, const char* itemId, uint32_t mode, StoreMessageRecord* record)
{
    return GuardedEntry("GetStoreItemByMessageID", uint64_t{0}, [&]() -> uint64_t {
        if (!index) {
            WarnNullIndex("GetStoreItemByMessageID");
            return 0;
        }
        return record ? ReadRecord(*index, itemId, mode, *record) : 0;
    });
}
