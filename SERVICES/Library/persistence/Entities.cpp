#include "persistence/Entities.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "common/Text.h"

namespace velmora {

namespace {

// How each byte leaves: empty for itself.
struct EncodedByte {
    char text[7] = {};
    uint8_t size = 0;
};

constexpr char kHexDigits[] = "0123456789abcdef";

constexpr EncodedByte Named(const char* name)
{
    EncodedByte encoded;
    while (name[encoded.size]) {
        encoded.text[encoded.size] = name[encoded.size];
        ++encoded.size;
    }
    return encoded;
}

constexpr EncodedByte Reference(unsigned byte)
{
    EncodedByte encoded = Named("&#x");
    if (byte >= 16) encoded.text[encoded.size++] = kHexDigits[byte >> 4];
    encoded.text[encoded.size++] = kHexDigits[byte & 15];
    encoded.text[encoded.size++] = ';';
    return encoded;
}

constexpr std::array<EncodedByte, 256> kEncoded = [] {
    std::array<EncodedByte, 256> table{};
    for (unsigned byte = 0; byte < 256; ++byte)
        if ((byte < 32 && byte != 9 && byte != 10 && byte != 13) || byte > 127) table[byte] = Reference(byte);
    table['&'] = Named("&amp;");
    table['<'] = Named("&lt;");
    table['>'] = Named("&gt;");
    return table;
}();

char* FindPair(char* from, char* end, char first, char second)
{
    while (end - from >= 2) {
        char* const at = static_cast<char*>(std::memchr(from, first, static_cast<size_t>(end - from) - 1));
        if (!at) return nullptr;
        if (at[1] == second) return at;
        from = at + 1;
    }
    return nullptr;
}

char ReferencedByte(std::string_view digits)
{
    if (!digits.empty() && digits.front() == 'x') return static_cast<char>(ParseUnsigned(digits.substr(1), 16));
    return static_cast<char>(ParseLong(digits));
}

// A byte put in place may complete another "&#" together with its neighbours, and the scan starts again from the start
// of the text. Nothing further left can have become a reference, so it is enough to give those bytes back to the input,
// where the reference that they came from has left room.
size_t DecodeCharacterReferences(char* text, size_t size)
{
    char* const end = text + size;
    char* out = text;
    char* in = text;
    while (char* const at = FindPair(in, end, '&', '#')) {
        char* const digits = at + 2;
        char* const semicolon = static_cast<char*>(std::memchr(digits, ';', static_cast<size_t>(end - digits)));
        if (!semicolon) break;
        const char byte = ReferencedByte({digits, static_cast<size_t>(semicolon - digits)});
        const size_t before = static_cast<size_t>(at - in);
        std::memmove(out, in, before);
        out += before;
        in = semicolon + 1;
        const bool begins = byte == '&' && in != end && *in == '#';
        const bool completes = byte == '#' && out != text && out[-1] == '&';
        if (!begins && !completes) {
            *out++ = byte;
            continue;
        }
        *--in = byte;
        if (completes) *--in = *--out;
    }
    const size_t rest = static_cast<size_t>(end - in);
    std::memmove(out, in, rest);
    return static_cast<size_t>(out - text) + rest;
}

// "&lt;", "&gt;" and "&amp;" in one pass. That equals three passes one after the other, because "&amp;" comes last: the
// "&" that it leaves is never looked at again, and "<" and ">" complete no name.
size_t DecodeNames(char* text, size_t size)
{
    char* const end = text + size;
    char* out = text;
    char* in = text;
    while (char* const at = static_cast<char*>(std::memchr(in, '&', static_cast<size_t>(end - in)))) {
        const size_t before = static_cast<size_t>(at - in);
        if (out != in) std::memmove(out, in, before);
        out += before;
        const std::string_view rest(at, static_cast<size_t>(end - at));
        if (rest.starts_with("&lt;")) {
            *out++ = '<';
            in = at + 4;
        } else if (rest.starts_with("&gt;")) {
            *out++ = '>';
            in = at + 4;
        } else {
            *out++ = '&';
            in = at + (rest.starts_with("&amp;") ? 5 : 1);
        }
    }
    const size_t rest = static_cast<size_t>(end - in);
    std::memmove(out, in, rest);
    return static_cast<size_t>(out - text) + rest;
}

}  // namespace

void AppendEncoded(std::string& out, std::string_view text)
{
    const char* plain = text.data();
    const char* const end = plain + text.size();
    for (const char* at = plain; at != end; ++at) {
        const EncodedByte& encoded = kEncoded[static_cast<unsigned char>(*at)];
        if (encoded.size == 0) continue;
        out.append(plain, at);
        out.append(encoded.text, encoded.size);
        plain = at + 1;
    }
    out.append(plain, end);
}

void EncodeEntities(std::string& text)
{
    std::string encoded;
    encoded.reserve(text.size() + 16);
    AppendEncoded(encoded, text);
    text.swap(encoded);
}

size_t DecodeEntitiesInPlace(char* text, size_t size)
{
    if (FindPair(text, text + size, '&', '#')) size = DecodeCharacterReferences(text, size);
    return DecodeNames(text, size);
}

void DecodeEntities(std::string& text) { text.resize(DecodeEntitiesInPlace(text.data(), text.size())); }

// In front of the names that end in "&amp;", so that no "&" that it leaves is looked at.
void DecodeAttribute(std::string& text)
{
    for (const auto& [name, byte] : {std::pair<std::string_view, char>{"&quot;", '"'}, {"&apos;", '\''}})
        for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) text.replace(at, name.size(), 1, byte);
    DecodeEntities(text);
}

}  // namespace velmora
