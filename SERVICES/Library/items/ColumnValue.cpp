#include "items/ColumnValue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "index/IndexItem.h"
#include "index/ItemBackend.h"
#include "items/PropertyConversion.h"

namespace velmora {

namespace {

constexpr uint64_t kNewAllocation = 2;
constexpr std::string_view kClassColumn = "!CLASS";

bool IsCopiedText(int32_t type) { return type == PropString || type == PropStringCopy; }

// The column as text: in `text`, or where it lies in the item with `text` untouched.
bool ReadColumn(const STOREITEMTYPE& handle, std::string_view column, std::string& text, std::string_view& read)
{
    if (!handle.Item) return false;
    if (column == kClassColumn) {
        text = std::to_string(handle.Class);
    } else {
        if (column.starts_with('@')) column.remove_prefix(1);
        const IndexPropertyRef ref = IndexPropertyTable::Find(column);
        if (!handle.Item->Has(ref)) return false;
        if (ref.Kind == 0) {
            read = handle.Item->View(ref);
            return true;
        }
        handle.Item->GetText(ref, text);
    }
    read = text;
    return true;
}

// Text ends at its first zero byte, and a value of a fixed size at its size.
std::string_view CutToType(std::string_view text, int32_t type)
{
    const int32_t size = PropertyValueSize(type);
    if (size >= 0) text = text.substr(0, size > 0 ? static_cast<size_t>(size) - 1 : 0);
    return text.substr(0, text.find('\0'));
}

// The same value in memory of its own, for a conversion that hands through what it was given.
void* CopyOf(const void* value, int32_t type)
{
    // All of them have a fixed size: file times, and text in fields.
    const auto size = static_cast<size_t>(PropertyValueSize(type));
    if (type != PropFileTime) return NewTextField(PropertyValueText(type, value), size);
    void* const copy = std::malloc(size);
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, value, size);
    return copy;
}

uint64_t SizeOfValue(const void* value, int32_t type)
{
    const int32_t size = PropertyValueSize(type);
    if (size >= 0) return static_cast<uint64_t>(size);
    if (type != PropWideString) return std::strlen(static_cast<const char*>(value)) + 1;
    return (std::char_traits<char16_t>::length(static_cast<const char16_t*>(value)) + 1) * sizeof(char16_t);
}

}  // namespace

uint64_t GetColumnValue(const STOREITEMTYPE& handle, const PropertyBinding& binding, void** value, uint64_t* size, std::string_view name)
{
    *value = nullptr;
    *size = 0;
    std::string owned;
    std::string_view column;
    if (!ReadColumn(handle, binding.Column, owned, column)) return kNoProperty;
    const std::string_view stored = CutToType(column, binding.StoredType);

    // The common case costs one allocation: the one that the caller gets.
    if (binding.StoredType == PropString && IsCopiedText(binding.ClientType)) {
        *value = NewText(stored);
        *size = stored.size() + 1;
        return kNewAllocation;
    }
    std::string source(stored);
    // A stored number is read to its full width, however short the column is, and wide text to an end of two bytes.
    constexpr size_t kWidestNumber = 8;
    constexpr size_t kWideEnd = 2;
    source.resize(std::max(source.size() + kWideEnd, kWidestNumber), '\0');
    return GetConvertedValue(source.c_str(), binding, value, size, name);
}

uint64_t GetConvertedValue(const void* stored, const PropertyBinding& binding, void** value, uint64_t* size, std::string_view name)
{
    *value = nullptr;
    *size = 0;
    // Not into `value`: what is only handed through is not the caller's to free, and its copy may fail.
    void* converted = nullptr;
    switch (ConvertPropertyValue(binding.StoredType, binding.ClientType, stored, &converted, name)) {
        case Conversion::None:
            return kNoProperty;
        case Conversion::SameValue:
            converted = CopyOf(stored, binding.ClientType);
            break;
        case Conversion::NewValue:
            break;
    }
    *value = converted;
    *size = SizeOfValue(*value, binding.ClientType);
    return kNewAllocation;
}

}  // namespace velmora
