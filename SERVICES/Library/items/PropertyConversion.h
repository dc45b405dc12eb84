// Values of one type code made into values of another.
#ifndef VELMORA_ITEMS_PROPERTYCONVERSION_H
#define VELMORA_ITEMS_PROPERTYCONVERSION_H

#include <cstdint>
#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Bytes of a value of a fixed size, -1 for one of its own length, 0 for a type that nothing converts to.
int32_t PropertyValueSize(int32_t type);

enum class Conversion : int32_t {
    None = -1,      // there is no way from the one type to the other; `result` is null
    SameValue = 1,  // `result` is the caller's own value
    NewValue = 2,   // `result` is an allocation of malloc that the caller frees
};

// Sources that are text (PropText, PropString) are converted to text, numbers and flags; the other sources have no rows
// yet. A source without a rule of its own for a target goes by the rules of the type behind it: PropString by those of
// PropText. A null value counts as an empty text.
[[nodiscard]] Conversion ConvertPropertyValue(int32_t fromType, int32_t toType, const void* value, void** result);

// "PUBLIC" 0, "PRIVATE" 2, "CONFIDENTIAL" 3, exactly so; anything else 0.
int32_t ParseSensitivity(std::string_view text);

// An allocation of malloc with the text, ended by a zero. Throws std::bad_alloc.
char* NewText(std::string_view text);

// The same in a field of `size` bytes (at least 1): the text cut to fit, zeros behind it.
char* NewTextField(std::string_view text, size_t size);

}  // namespace velmora

#endif
