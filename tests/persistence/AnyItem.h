// Items of every sort that an index has to carry, from a property's choices.
#ifndef VELMORA_TESTS_PERSISTENCE_ANYITEM_H
#define VELMORA_TESTS_PERSISTENCE_ANYITEM_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/persistence/Choices.h"

namespace velmora::test {

inline constexpr size_t kLongestId = 980;
inline constexpr size_t kLongestColumn = 1021;  // "/" and the name make a tag of 1,022 bytes

// Bytes of every value, of lengths up to and beyond the reader's buffers, and texts that look like the format itself.
std::string AnyValue(Choices& choices);
// A value for that column: READ holds an integer.
std::string AnyValueOf(std::string_view column, Choices& choices);

// Column names that an index file can carry, the longest among them; and others that stay in memory.
const std::vector<std::string>& WrittenColumns();
const std::vector<std::string>& UnwrittenColumns();

// An ID of any bytes, which a table may have to refuse.
std::string AnyId(Choices& choices);
bool IsIdOfAFile(std::string_view id);
// An ID that no other number gives, without the marks of lists of IDs.
std::string NumberedId(uint32_t number, Choices& choices);

}  // namespace velmora::test

#endif
