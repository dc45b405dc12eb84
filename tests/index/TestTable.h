// A table of one test's own, emptied at its end, and items to put into it.
#ifndef VELMORA_TESTS_INDEX_TESTTABLE_H
#define VELMORA_TESTS_INDEX_TESTTABLE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "index/IndexTable.h"

namespace velmora::test {

// Stands alone, with no folder behind it; it counts as loaded in full.
struct TestTable : SORTEDSTOREINDEXTYPE {
    TestTable() { LoadLevel = 3; }
    ~TestTable() { UnInit(*this); }
};

inline std::unique_ptr<IndexItemPropertyContainer> NewItem(std::string_view id, uint32_t uid = 0)
{
    auto item = std::make_unique<IndexItemPropertyContainer>();
    item->SetText(kId, id);
    if (uid != 0) item->SetNumber(kUid, static_cast<int32_t>(uid));
    return item;
}

// Inserts a new item and gives it back; null, and nothing kept, when the table refuses it.
inline IndexItemPropertyContainer* Add(SORTEDSTOREINDEXTYPE& table, std::string_view id, uint32_t uid = 0)
{
    auto item = NewItem(id, uid);
    if (!InsertItem(table, item.get())) return nullptr;
    return item.release();
}

inline std::string TextOf(const IndexItemPropertyContainer& item, std::string_view name)
{
    std::string value = "(absent)";
    item.GetText(name, value);
    return value;
}

// The IDs of a list of items, joined by blanks.
inline std::string IdsOf(const std::vector<IndexItemPropertyContainer*>& items)
{
    std::string ids;
    for (const IndexItemPropertyContainer* item : items) {
        if (!ids.empty()) ids += ' ';
        ids += item->Id();
    }
    return ids;
}

inline std::string IdsInSequence(SORTEDSTOREINDEXTYPE& table) { return IdsOf(ContentOf(table).Sequence); }

inline std::string IdsByUid(const SORTEDSTOREINDEXTYPE& table)
{
    std::vector<IndexItemPropertyContainer*> items;
    if (table.Content) table.Content->ByUID.ForEach([&](uint32_t, IndexItemPropertyContainer* item) { items.push_back(item); });
    return IdsOf(items);
}

inline std::string IdsById(const SORTEDSTOREINDEXTYPE& table)
{
    return table.Content ? IdsOf(table.Content->ByID.Sorted()) : std::string();
}

}  // namespace velmora::test

#endif
