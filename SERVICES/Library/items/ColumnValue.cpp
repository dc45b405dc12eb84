#include "items/ColumnValue.h"

#include <cstring>
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
        const IndexPropertyRef ref = IndexPropertyTable::LookUp(column);
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
    if (size > 0) text = text.substr(0, static_cast<size_t>(size) - 1);
    return text.substr(0, text.find('\0'));
}

}  // namespace

uint64_t GetColumnValue(const STOREITEMTYPE& handle, const PropertyBinding& binding, void** value, uint64_t* size)
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
    const int32_t fixed = PropertyValueSize(binding.ClientType);
    const std::string source(stored);
    switch (ConvertPropertyValue(binding.StoredType, binding.ClientType, source.c_str(), value)) {
        case Conversion::None:
            return kNoProperty;
        case Conversion::SameValue:
            *value = fixed > 0 ? NewTextField(source, static_cast<size_t>(fixed)) : NewText(source);
            break;
        case Conversion::NewValue:
            break;
    }
    *size = fixed >= 0 ? static_cast<uint64_t>(fixed) : std::strlen(static_cast<const char*>(*value)) + 1;
    return kNewAllocation;
}

}  // namespace velmora
