// What a public property name means in a kind of folder: a column of the index, and the types on both sides of it.
#ifndef VELMORA_ITEMS_PROPERTYBINDING_H
#define VELMORA_ITEMS_PROPERTYBINDING_H

#include <array>
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

// For the compile-time check of every table: no two names differ in case alone.
template <size_t N>
constexpr bool NamesAreUnique(const std::array<NamedBinding, N>& table)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    const auto sameName = [lower](std::string_view a, std::string_view b) {
        if (a.size() != b.size()) return false;
        for (size_t i = 0; i < a.size(); ++i)
            if (lower(a[i]) != lower(b[i])) return false;
        return true;
    };
    for (size_t i = 0; i < N; ++i)
        for (size_t j = i + 1; j < N; ++j)
            if (sameName(table[i].name, table[j].name)) return false;
    return true;
}

// The row of `name` in any case; null when there is none.
template <size_t N>
const PropertyBinding* FindBinding(const std::array<NamedBinding, N>& table, std::string_view name)
{
    for (const NamedBinding& row : table)
        if (EqualsNoCase(row.name, name)) return &row.binding;
    return nullptr;
}

}  // namespace velmora

#endif
