// Text helpers of the tool. Case folding is ASCII, as in the store.
#ifndef VLSTORE_TEXT_H
#define VLSTORE_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vlstore {

// A path of either system with "/" between its parts.
std::string WithSlashes(std::string path);

std::string UpperAscii(std::string_view text);
bool EqualNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
bool EndsWithNoCase(std::string_view text, std::string_view suffix);

// Valid UTF-8 in every case: what is UTF-8 already stays, any other byte becomes the code point of its number.
std::string ToUtf8(std::string_view bytes);
// Code points of a valid UTF-8 text.
size_t CountCodePoints(std::string_view utf8);
// The bytes of its first `count` code points.
std::string_view FirstCodePoints(std::string_view utf8, size_t count);
// Length in bytes of the UTF-8 sequence at the start of `bytes`; 0 when there is none.
size_t Utf8SequenceLength(std::string_view bytes);
// Whether one character, as Utf8SequenceLength measures it, is a control that a terminal may obey: C0, DEL, C1 as a code
// point, or a lone byte in the place of one.
bool IsControl(std::string_view character);
void AppendCodePoint(std::string& utf8, uint32_t codePoint);

// A decimal or "0x" number of 32 bits, nothing before or behind it.
std::optional<uint32_t> ParseNumber(std::string_view text);

}  // namespace vlstore

#endif
