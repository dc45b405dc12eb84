// Values of one type code made into values of another.
//
// A value is what its type says: text of types 1, 2, 4, 5, 6, 8, 11, 14 and 15 ends with a zero byte, type 16 with a zero
// of 16 bits, and numbers take 4 (7, 10, 12) or 8 (3, 9) bytes at any address. Nothing behind a value is read.
#ifndef VELMORA_ITEMS_PROPERTYCONVERSION_H
#define VELMORA_ITEMS_PROPERTYCONVERSION_H

#include <cstdint>
#include <string_view>

#include "items/PropertyBinding.h"

namespace velmora {

// Bytes of a value of a fixed size, -1 for one of its own length, 0 for a type that nothing converts to.
int32_t PropertyValueSize(int32_t type);

enum class Conversion : int32_t {
    None = -1,      // there is no way from the one type to the other, or not for this value; `result` is null
    SameValue = 1,  // `result` is the caller's own value
    NewValue = 2,   // `result` is an allocation of malloc that the caller frees
};

// The rules are one table of pairs. A source without a rule of its own for a target goes by the rules of the type behind it:
// PropBool by those of PropInt32, that by those of PropDouble, that by those of PropString, and that, like PropWideString, by
// those of PropText.
// Kept: on that way a number reaches the rules of text as the bytes that it is, and a 32-bit number converted to PropDouble
// gives its own four bytes and four zero ones.
//
// A null value counts as an empty text where the source is PropText or PropString; for the others there is none to convert.
// `propertyName` matters for PR_BIRTHDAY alone, in any case: there the last moment of 32-bit Unix time (2038-01-19 03:14:07)
// stands for no date, and an empty text is its stored form. `resultSize` may be null; PropCalendarDecoded gives its length
// there, without the end. Throws std::bad_alloc.
[[nodiscard]] Conversion ConvertPropertyValue(int32_t fromType, int32_t toType, const void* value, void** result,
                                              std::string_view propertyName = {}, uint64_t* resultSize = nullptr);

// The bytes of a value up to its first zero byte, and no further than the value goes: what the rules of text make of it.
// Null gives an empty text.
std::string_view PropertyValueText(int32_t type, const void* value);

// "PUBLIC" 0, "PRIVATE" 2, "CONFIDENTIAL" 3, exactly so; anything else 0.
int32_t ParseSensitivity(std::string_view text);

// 1 for "TRUE" in any case, else the number that the text begins with; 0 for no text.
int32_t ParseBooleanText(std::string_view text);

// An allocation of malloc with the text, ended by a zero. Throws std::bad_alloc.
char* NewText(std::string_view text);

// The same in a field of `size` bytes (at least 1): the text cut to fit, zeros behind it.
char* NewTextField(std::string_view text, size_t size);

}  // namespace velmora

#endif
