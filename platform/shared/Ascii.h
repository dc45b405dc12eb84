// ASCII folding on bytes, independent of any locale.
#ifndef VELMORA_PLATFORM_SHARED_ASCII_H
#define VELMORA_PLATFORM_SHARED_ASCII_H

#include <algorithm>
#include <string_view>

namespace velmora::platform {

inline char LowerByte(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
inline char UpperByte(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

inline bool EqualBytesNoCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return LowerByte(x) == LowerByte(y); });
}

}  // namespace velmora::platform

#endif
