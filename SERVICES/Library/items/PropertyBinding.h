// What a public property name means in a kind of folder: a column of the index, and the types on both sides of it.
#ifndef VELMORA_ITEMS_PROPERTYBINDING_H
#define VELMORA_ITEMS_PROPERTYBINDING_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "common/Text.h"

namespace velmora {

// Type codes of property values.
enum PropertyType : int32_t {
    PropText = 1,  // text in a field of 1024 bytes
    PropOpaque2 = 2,
    PropFileTime = 3,  // 64-bit FILETIME
    PropDateText = 4,  // ISO text in a field of 1024 bytes
    PropOpaque5 = 5,
    PropUnixTimeText = 6,  // decimal seconds since 1970 in a field of 1024 bytes
    PropInt32 = 7,
    PropString = 8,  // zero-terminated bytes of any length
    PropDouble = 9,
    PropBool = 10,          // 4 bytes, 0 or 1
    PropCalendarText = 11,  // a source only
    PropSensitivity = 12,   // 4 bytes
    PropAllDayDate = 13,    // has no conversion
    PropStringCopy = 14,    // as PropString, a target only
    PropCalendarDecoded = 15,
    PropWideString = 16,  // zero-terminated UTF-16
};

enum class PropertyStorage : int32_t { Column = 0, ItemFile = 1, FileTime = 2, FileConstant = 3 };

struct PropertyBinding {
    // "@" in front means a key column (one that the index is ordered by), "!" a value that is computed, not stored.
    // Empty when the name is not known.
    const char* Column = "";
    int32_t Position = 0;  // which component of a ";"-separated text, from 1; 0 in tables that do not split
    int32_t ClientType = PropString;
    int32_t StoredType = PropString;
    PropertyStorage Storage = PropertyStorage::Column;
};

// One row of a kind's table.
struct NamedBinding {
    std::string_view name;
    PropertyBinding binding;
};

// Rows as most tables have them; everything else of a row is as PropertyBinding has it.
constexpr PropertyBinding NumberColumn(const char* column) { return {column, 0, PropInt32, PropText}; }
constexpr PropertyBinding MomentColumn(const char* column) { return {column, 0, PropFileTime, PropUnixTimeText}; }
constexpr PropertyBinding InItemFile(const char* column, int32_t clientType = PropString, int32_t storedType = PropString)
{
    return {column, 0, clientType, storedType, PropertyStorage::ItemFile};
}

constexpr char LowerNameByte(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

// A kind's names, found in any case and in constant time: every property that a host reads begins with this look-up. The
// slots are filled at compile time.
template <size_t N>
class BindingTable {
public:
    constexpr explicit BindingTable(const std::array<NamedBinding, N>& rows) : rows_(rows)
    {
        for (uint8_t& slot : slots_) slot = kFree;
        for (size_t row = 0; row < N; ++row) {
            size_t at = SlotOf(rows_[row].name);
            while (slots_[at] != kFree) at = (at + 1) % kSlots;
            slots_[at] = static_cast<uint8_t>(row);
        }
    }

    // The row of `name`; null when there is none.
    const PropertyBinding* Find(std::string_view name) const
    {
        for (size_t at = SlotOf(name); slots_[at] != kFree; at = (at + 1) % kSlots)
            if (EqualsNoCase(rows_[slots_[at]].name, name)) return &rows_[slots_[at]].binding;
        return nullptr;
    }

    // For the compile-time check of every table: no two names differ in case alone.
    constexpr bool NamesAreUnique() const
    {
        for (size_t i = 0; i < N; ++i)
            for (size_t j = i + 1; j < N; ++j)
                if (SameName(rows_[i].name, rows_[j].name)) return false;
        return true;
    }

private:
    static constexpr uint8_t kFree = 0xFF;
    static constexpr size_t kSlots = std::bit_ceil(4 * N);
    static_assert(N < kFree);

    // The length and a few bytes tell the names of a table apart; the names begin alike, so their ends count.
    static constexpr size_t SlotOf(std::string_view name)
    {
        const size_t length = name.size();
        if (length == 0) return 0;
        size_t hash = length;
        for (const size_t at : {length - 1, length - 1 - length / 8, length - 1 - length / 4, length / 2, length / 3})
            hash = hash * 31 + static_cast<unsigned char>(LowerNameByte(name[at]));
        return (hash ^ (hash >> 10)) % kSlots;
    }

    static constexpr bool SameName(std::string_view a, std::string_view b)
    {
        if (a.size() != b.size()) return false;
        for (size_t i = 0; i < a.size(); ++i)
            if (LowerNameByte(a[i]) != LowerNameByte(b[i])) return false;
        return true;
    }

    std::array<NamedBinding, N> rows_;
    std::array<uint8_t, kSlots> slots_{};
};

// What a table answers: its row, or on a miss a binding with no column.
template <size_t N>
[[nodiscard]] bool ResolveIn(const BindingTable<N>& table, std::string_view name, PropertyBinding& binding, int32_t missPosition = 0)
{
    const PropertyBinding* const found = table.Find(name);
    binding = found ? *found : PropertyBinding{};
    if (!found) binding.Position = missPosition;
    return found != nullptr;
}

}  // namespace velmora

#endif
