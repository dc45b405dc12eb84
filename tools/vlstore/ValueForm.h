// Values of properties as they cross the API, and as a person reads and writes them.
#ifndef VLSTORE_VALUEFORM_H
#define VLSTORE_VALUEFORM_H

#include <cstdint>
#include <optional>
#include <string>

#include "Output.h"

namespace vlstore {

// What a host is handed, and hands over, for a property.
enum class ValueForm {
    Text,      // bytes ended by a zero; a person sees them as they are
    Int32,     // signed
    Double,    // eight bytes
    Bool,      // a number of 32 bits, 0 or not; "yes" or "no"
    FileTime,  // 100-nanosecond ticks since 1601 as a number of 64 bits; "2024-03-04T07:15:30Z"
};

// The form of one of the API's type codes; a code that no property has counts as text.
ValueForm FormOfCode(uint64_t code);
// "text", "int32", "double", "bool", "filetime".
const char* NameOf(ValueForm form);

// A value of the library's; absent when there are fewer bytes than the form has.
Cell ReadValue(ValueForm form, const void* bytes, uint64_t size);

// What a person wrote; none when it is no value of that form. A time is in UTC and of whole seconds.
std::optional<Cell> ParseValue(ValueForm form, const std::string& text);
// What to tell who wrote something else: "a number of 32 bits".
const char* WantedFor(ValueForm form);
// The bytes that the library takes for a value that ParseValue made.
std::string BytesOf(ValueForm form, const Cell& value);
// Whether the one came back for the other. The store keeps numbers with a point to two places.
bool IsSameValue(const Cell& given, const Cell& stored);

}  // namespace vlstore

#endif
