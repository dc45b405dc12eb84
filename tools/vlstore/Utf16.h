// UTF-16 with the little end first and a byte order mark, as regedit writes its exports.
#ifndef VLSTORE_UTF16_H
#define VLSTORE_UTF16_H

#include <string>
#include <string_view>

namespace vlstore {

// True when `bytes` begin with the mark.
bool IsUtf16(std::string_view bytes);
// The mark is left out; half a pair and an odd last byte become U+FFFD.
std::string Utf16ToUtf8(std::string_view bytes);
// The mark goes in front; a byte that is not UTF-8 becomes the code point of its number.
std::string Utf8ToUtf16(std::string_view utf8);

}  // namespace vlstore

#endif
