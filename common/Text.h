// Text helpers in plain code. Text is bytes; case folding is ASCII; nothing here depends on a locale.
#ifndef VELMORA_COMMON_TEXT_H
#define VELMORA_COMMON_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace velmora {

inline char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
inline char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }
inline bool IsPathSeparator(char c) { return c == '\\' || c == '/'; }

bool EqualsNoCase(std::string_view a, std::string_view b);
bool BeginsNoCase(std::string_view text, std::string_view prefix);

// As _stricmp: below, equal to or above 0, by the lower-cased bytes taken as unsigned.
int CompareNoCase(std::string_view a, std::string_view b);

// Offset of the first occurrence of `what`, ASCII case ignored; npos when there is none. An empty `what` is found at 0.
size_t FindNoCase(std::string_view text, std::string_view what);
inline bool ContainsNoCase(std::string_view text, std::string_view what) { return FindNoCase(text, what) != std::string_view::npos; }

// Copies into a field of `size` bytes and ends it with a zero; false when the text was cut. A size of 0 writes nothing.
bool CopyBounded(char* field, size_t size, std::string_view text);
// Appends to the zero-terminated text in a field of `size` bytes; false when the text was cut.
bool AppendBounded(char* field, size_t size, std::string_view text);

template <size_t N>
bool CopyBounded(char (&field)[N], std::string_view text)
{
    return CopyBounded(field, N, text);
}
template <size_t N>
bool AppendBounded(char (&field)[N], std::string_view text)
{
    return AppendBounded(field, N, text);
}

// A C string that may be null, as a view.
inline std::string_view TextOrEmpty(const char* text) { return text ? std::string_view(text) : std::string_view(); }

// Numbers as the 32-bit C library reads them: leading blanks, a sign, digits, the rest ignored; clamped at the ends of
// the type. Nothing readable is 0.
int32_t ParseLong(std::string_view text);                 // atol, atoi
int64_t ParseLong64(std::string_view text);               // _atoi64
uint32_t ParseUnsigned(std::string_view text, int base);  // strtoul: base 10 or 16 ("0x" allowed); a minus sign negates modulo 2^32

std::string FormatSigned(int64_t value);
std::string FormatHex8(uint32_t value);  // exactly eight lower-case digits

// printf into a string.
std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace velmora

#endif
