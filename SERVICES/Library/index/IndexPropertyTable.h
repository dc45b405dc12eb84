// Property names of the whole process and the place that each has in every item.
//
// A name is interned when something is to be stored under it and stays; its slot is the position of its value in an item's
// value array. Slots depend on the order of first use, so they never leave the process: files carry names. ID is slot 0
// (text), UID slot 1 and READ slot 2 (integers), every other name is text.
//
// The table takes at most kMaxPropertyNames names. An item's values are as wide as the highest slot it uses, so a file
// that invents names without end would otherwise take memory without end. A name beyond the bound has slot -1: reads
// find nothing, writes are dropped. The columns that the library itself uses always find a place, whatever came before. Who
// only reads finds a name and interns none: a host may ask for anything, and must not fill the table by that.
//
// Any thread may look up at any time; a look-up of a known name takes no lock.
#ifndef VELMORA_INDEX_INDEXPROPERTYTABLE_H
#define VELMORA_INDEX_INDEXPROPERTYTABLE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

inline constexpr size_t kMaxPropertyNames = 1024;

inline constexpr int32_t kIdSlot = 0;
inline constexpr int32_t kUidSlot = 1;
inline constexpr int32_t kReadSlot = 2;
// Slots that hold an integer instead of a text.
inline constexpr bool IsIntegerSlot(int32_t slot) { return slot == kUidSlot || slot == kReadSlot; }

struct IndexPropertyRef {
    int32_t Slot = -1;
    uint32_t Kind = 0;  // 0 text, 1 integer
};

struct NamedProperty {
    std::string Name;
    IndexPropertyRef Ref;
};

class IndexPropertyTable {
public:
    // The place of `name`, interned if it is new.
    static IndexPropertyRef LookUp(std::string_view name);
    // The place of a name that is interned already; for any other slot -1, as no item has a value of it.
    static IndexPropertyRef Find(std::string_view name);
    // Whether `name` has a place, or would get one from a look-up now.
    static bool CanHold(std::string_view name);
    // All names in ascending byte order, as they stood at the call.
    static std::shared_ptr<const std::vector<NamedProperty>> ByName();
    // Number of names so far, which is also the next slot.
    static size_t Count();
};

}  // namespace velmora

#endif
