#include "common/Text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace velmora {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int DigitValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = LowerAscii(c);
    return lower >= 'a' && lower <= 'z' ? lower - 'a' + 10 : 99;
}

// What stands in front of the digits: blanks and one sign. `text` is left at the digits.
bool TakeSign(std::string_view& text)
{
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
    return negative;
}

// The digits at the beginning of `text` as a number; `limit` when the number is above it.
uint64_t TakeDigits(std::string_view text, unsigned base, uint64_t limit)
{
    uint64_t value = 0;
    for (const char c : text) {
        const auto digit = static_cast<unsigned>(DigitValue(c));
        if (digit >= base) break;
        if (value > (limit - digit) / base) return limit;
        value = value * base + digit;
    }
    return value;
}

int64_t ParseSigned(std::string_view text, uint64_t largest)
{
    const bool negative = TakeSign(text);
    // One more fits below zero than above it.
    const uint64_t magnitude = TakeDigits(text, 10, negative ? largest + 1 : largest);
    return static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
}

}  // namespace

bool EqualsNoCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return LowerAscii(x) == LowerAscii(y); });
}

bool BeginsNoCase(std::string_view text, std::string_view prefix) { return EqualsNoCase(text.substr(0, prefix.size()), prefix); }

int CompareNoCase(std::string_view a, std::string_view b)
{
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        const int difference = static_cast<unsigned char>(LowerAscii(a[i])) - static_cast<unsigned char>(LowerAscii(b[i]));
        if (difference != 0) return difference;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

size_t FindNoCase(std::string_view text, std::string_view what)
{
    if (what.empty()) return 0;
    const char first = LowerAscii(what.front());
    for (size_t at = 0; at + what.size() <= text.size(); ++at)
        if (LowerAscii(text[at]) == first && EqualsNoCase(text.substr(at, what.size()), what)) return at;
    return std::string_view::npos;
}

bool CopyBounded(char* field, size_t size, std::string_view text)
{
    if (size == 0) return false;
    const size_t length = std::min(text.size(), size - 1);
    if (length > 0) std::memmove(field, text.data(), length);
    field[length] = 0;
    return length == text.size();
}

bool AppendBounded(char* field, size_t size, std::string_view text)
{
    const auto* end = static_cast<const char*>(size ? std::memchr(field, 0, size) : nullptr);
    if (!end) return false;
    const auto used = static_cast<size_t>(end - field);
    return CopyBounded(field + used, size - used, text);
}

int32_t ParseLong(std::string_view text) { return static_cast<int32_t>(ParseSigned(text, INT32_MAX)); }

int64_t ParseLong64(std::string_view text) { return ParseSigned(text, INT64_MAX); }

uint32_t ParseUnsigned(std::string_view text, int base)
{
    const bool negative = TakeSign(text);
    // "0x" counts only with a digit behind it; otherwise the number is the "0" and the rest is ignored.
    if (base == 16 && text.size() > 2 && text[0] == '0' && LowerAscii(text[1]) == 'x' && DigitValue(text[2]) < 16) text.remove_prefix(2);
    constexpr uint64_t kTooLarge = uint64_t{UINT32_MAX} + 1;
    const uint64_t magnitude = TakeDigits(text, static_cast<unsigned>(base), kTooLarge);
    if (magnitude == kTooLarge) return UINT32_MAX;
    const auto value = static_cast<uint32_t>(magnitude);
    return negative ? 0 - value : value;
}

std::string FormatSigned(int64_t value) { return std::to_string(value); }

std::string FormatHex8(uint32_t value) { return FormatText("%08" PRIx32, value); }

std::string FormatText(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

}  // namespace velmora
