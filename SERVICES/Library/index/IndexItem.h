// One item of an index: its properties, and where its element stands in the index file.
#ifndef VELMORA_INDEX_INDEXITEM_H
#define VELMORA_INDEX_INDEXITEM_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "common/Array.h"
#include "index/IndexPropertyTable.h"
#include "index/TextArena.h"
#include "velmora/index_records.h"

namespace velmora {

// Columns that the core itself gives meaning to. SetItemProperty knows kFlagStatus by its address.
inline constexpr char kId[] = "ID";
inline constexpr char kUid[] = "UID";
inline constexpr char kRead[] = "READ";
inline constexpr char kSeq[] = "SEQ";
inline constexpr char kIdx[] = "IDX";
inline constexpr char kFlagStatus[] = "FLAGSTATUS";
inline constexpr char kSize[] = "SIZE";
inline constexpr char kVlStatus[] = "VL_STATUS";
inline constexpr char kModifiedDate[] = "MODIFIEDDATE";

// A property is present when its slot lies inside the values and, for text, its value is set.
// Kept: integers count as present as soon as the slot exists, also with the value 0, so nearly every item has a READ.
//
// An item has no lock; whoever reaches it through a shared record holds that record's Mutex.
class IndexItemPropertyContainer {
public:
    // `room`: values that fit before the array grows.
    explicit IndexItemPropertyContainer(uint32_t room = 5) : Values(room, 5) {}
    virtual ~IndexItemPropertyContainer();
    IndexItemPropertyContainer(const IndexItemPropertyContainer&) = delete;
    IndexItemPropertyContainer& operator=(const IndexItemPropertyContainer&) = delete;

    bool Has(std::string_view name) const { return Has(IndexPropertyTable::Find(name)); }
    bool Has(IndexPropertyRef ref) const;

    // True when present; an absent property leaves `value` untouched. Integers are given as signed decimal text.
    bool GetText(std::string_view name, std::string& value) const { return GetText(IndexPropertyTable::Find(name), value); }
    bool GetText(IndexPropertyRef ref, std::string& value) const;
    // The text where it lies, with no copy; empty when absent or an integer. Valid until the property is set again.
    std::string_view View(IndexPropertyRef ref) const;
    std::string_view View(std::string_view name) const { return View(IndexPropertyTable::Find(name)); }
    // As an integer of 32 bits; text is read as atol does. Absent gives 0.
    int32_t GetNumber(std::string_view name) const { return GetNumber(IndexPropertyTable::Find(name)); }
    int32_t GetNumber(IndexPropertyRef ref) const;
    // Into a caller's buffer, emptied first; false when absent. Text is cut at the buffer.
    bool GetInto(std::string_view name, char* buffer, size_t size) const;

    std::string_view Id() const { return View(IndexPropertyRef{kIdSlot, 0}); }
    // Values up to the highest slot in use, and those that there is memory for.
    uint32_t Width() const { return Values.Count(); }
    uint32_t Room() const { return Values.Room(); }
    uint32_t Uid() const { return static_cast<uint32_t>(GetNumber(IndexPropertyRef{kUidSlot, 1})); }

    void SetText(std::string_view name, std::string_view value) { SetText(IndexPropertyTable::LookUp(name), value); }
    void SetText(IndexPropertyRef ref, std::string_view value);
    void SetNumber(std::string_view name, int32_t value) { SetNumber(IndexPropertyTable::LookUp(name), value); }
    void SetNumber(IndexPropertyRef ref, int32_t value);
    // One block of memory for texts that are about to be set: those that fit take no memory of their own. For the first
    // texts of a new item, whose sizes are known; the block lives as long as the item.
    void ReserveTexts(size_t count, size_t bytes);
    // For loaders: the text lies in the arena of the table that will own the item. Replaces like SetText.
    void AdoptText(IndexPropertyRef ref, ItemText* text);
    void Remove(IndexPropertyRef ref);

    // All properties but ID and UID go; the value array starts anew.
    void ResetKeepingKeys();
    // Every present property as text, by name.
    void CopyTo(std::map<std::string, std::string>& properties) const;

    SORTEDSTOREINDEXTYPE* Owner = nullptr;  // the table that holds the item; null until it has been inserted
    uint32_t FileOffset = 0;                // of the item's element in the index file; 0 if it has never been there
    uint32_t FileLength = 0;                // of that element, in bytes

private:
    void Extend(int32_t slot);
    static void Release(void* entry);
    // Memory for a text of that size, and how the entry of it is marked.
    ItemText* MakeText(size_t size, uintptr_t& mark);

    // By slot: an integer itself, or an ItemText. The lowest bit of the pointer is set when the text is not to be freed by
    // itself, because it lies in the block or in a table's arena.
    Array<void*> Values;
    std::unique_ptr<char[]> block_;
    uint32_t blockSize_ = 0;
    uint32_t blockUsed_ = 0;
};

// Notes in the item's table that the item changed; an item outside a table notes nothing.
void MarkItemChanged(IndexItemPropertyContainer& item);

// Sets a text and marks the item changed, except for SEQ. True when the property is present afterwards.
bool SetItemKeyProperty(IndexItemPropertyContainer& item, const char* name, std::string_view value);

// The same; and when `name` is kFlagStatus itself, READ follows: "1" when the flags hold "\SEEN", else "0".
// Kept: the name is compared by address, so only callers inside the library move READ; a host that writes FLAGSTATUS by
// name leaves READ as it was.
bool SetItemProperty(IndexItemPropertyContainer& item, const char* name, std::string_view value);

// Takes VL_STATUS away, if it is there, and marks the item changed.
void ClearVlStatus(IndexItemPropertyContainer& item);

}  // namespace velmora

#endif
