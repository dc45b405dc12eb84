#include "Text.h"

#include <algorithm>
#include <charconv>

namespace vlstore {

namespace {

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

unsigned char ByteAt(std::string_view bytes, size_t at) { return static_cast<unsigned char>(bytes[at]); }

}  // namespace

std::string WithSlashes(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

std::string UpperAscii(std::string_view text)
{
    std::string upper(text);
    for (char& c : upper) c = UpperAscii(c);
    return upper;
}

bool EqualNoCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return UpperAscii(x) == UpperAscii(y); });
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix)
{
    return text.size() >= prefix.size() && EqualNoCase(text.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && EqualNoCase(text.substr(text.size() - suffix.size()), suffix);
}

size_t Utf8SequenceLength(std::string_view bytes)
{
    if (bytes.empty()) return 0;
    unsigned char lead = ByteAt(bytes, 0);
    if (lead < 0x80) return 1;
    size_t length = lead >= 0xC2 && lead <= 0xDF ? 2 : lead >= 0xE0 && lead <= 0xEF ? 3 : lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
    if (length == 0 || bytes.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((ByteAt(bytes, i) & 0xC0) != 0x80) return 0;
    }
    // The second byte rules out overlong forms, surrogates and what lies above the last code point.
    unsigned char second = ByteAt(bytes, 1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F)) return 0;
    if ((lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) return 0;
    return length;
}

bool IsControl(std::string_view character)
{
    unsigned char first = ByteAt(character, 0);
    if (character.size() == 1) return first < 0x20 || (first >= 0x7F && first < 0xA0);
    return character.size() == 2 && first == 0xC2 && ByteAt(character, 1) < 0xA0;
}

void AppendCodePoint(std::string& utf8, uint32_t codePoint)
{
    auto put = [&utf8](uint32_t byte) { utf8.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3F));
        put(0x80 | ((codePoint >> 6) & 0x3F));
        put(0x80 | (codePoint & 0x3F));
    }
}

std::string ToUtf8(std::string_view bytes)
{
    std::string utf8;
    utf8.reserve(bytes.size());
    while (!bytes.empty()) {
        size_t length = Utf8SequenceLength(bytes);
        if (length == 0) {
            AppendCodePoint(utf8, ByteAt(bytes, 0));
            length = 1;
        } else {
            utf8.append(bytes.substr(0, length));
        }
        bytes.remove_prefix(length);
    }
    return utf8;
}

size_t CountCodePoints(std::string_view utf8)
{
    return static_cast<size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string_view FirstCodePoints(std::string_view utf8, size_t count)
{
    size_t at = 0;
    while (at < utf8.size() && count > 0) {
        ++at;
        while (at < utf8.size() && (utf8[at] & 0xC0) == 0x80) ++at;
        --count;
    }
    return utf8.substr(0, at);
}

std::optional<uint32_t> ParseNumber(std::string_view text)
{
    int base = 10;
    if (StartsWithNoCase(text, "0x")) {
        base = 16;
        text.remove_prefix(2);
    }
    uint32_t number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace vlstore
