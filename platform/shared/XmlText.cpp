#include "platform/shared/XmlText.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace velmora::platform {

namespace {

constexpr std::array<uint16_t, 32> kWindows1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

struct Range {
    uint32_t first;
    uint32_t last;
};

// Above ASCII, in order.
constexpr Range kNameStarts[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D},
    {0x2070, 0x218F}, {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
constexpr Range kNameParts[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <size_t N>
bool IsIn(const Range (&ranges)[N], uint32_t codePoint)
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return codePoint >= range.first && codePoint <= range.last; });
}

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

void AppendUtf8(std::string& out, uint32_t codePoint)
{
    const auto put = [&out](uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) return put(codePoint);
    if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
    } else {
        if (codePoint < 0x10000) {
            put(0xE0 | (codePoint >> 12));
        } else {
            put(0xF0 | (codePoint >> 18));
            put(0x80 | ((codePoint >> 12) & 0x3F));
        }
        put(0x80 | ((codePoint >> 6) & 0x3F));
    }
    put(0x80 | (codePoint & 0x3F));
}

uint32_t NextCodePoint(std::string_view utf8, size_t& position)
{
    const auto at = [&](size_t offset) { return static_cast<unsigned char>(utf8[position + offset]); };
    const unsigned char lead = at(0);
    const size_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    uint32_t codePoint = lead;
    bool whole = length > 1 && utf8.size() - position >= length;
    for (size_t i = 1; whole && i < length; ++i) whole = IsContinuation(at(i));
    if (whole) {
        codePoint = lead & (0xFFu >> (length + 1));
        for (size_t i = 1; i < length; ++i) codePoint = (codePoint << 6) | (at(i) & 0x3Fu);
        constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
        if (codePoint < kLeast[length] || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
            whole = false;
            codePoint = lead;
        }
    }
    position += whole ? length : 1;
    return codePoint;
}

uint32_t CodePointOfWindows1252(unsigned char byte)
{
    return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - size_t{0x80}] : uint32_t{byte};
}

std::string XmlToBytes(std::string_view utf8)
{
    std::string bytes;
    bytes.reserve(utf8.size());
    for (size_t position = 0; position < utf8.size();) {
        if (static_cast<unsigned char>(utf8[position]) < 0x80) {
            bytes.push_back(utf8[position++]);
            continue;
        }
        const size_t start = position;
        const uint32_t codePoint = NextCodePoint(utf8, position);
        if (codePoint < 0x100) {
            bytes.push_back(static_cast<char>(codePoint));
            continue;
        }
        const auto* const row = std::find(kWindows1252.begin(), kWindows1252.end(), codePoint);
        if (row != kWindows1252.end()) {
            bytes.push_back(static_cast<char>(0x80 + (row - kWindows1252.begin())));
        } else {
            bytes.append(utf8.substr(start, position - start));
        }
    }
    return bytes;
}

std::string XmlFromBytes(std::string_view bytes)
{
    bytes = bytes.substr(0, bytes.find('\0'));
    std::string utf8;
    utf8.reserve(bytes.size());
    for (const char byte : bytes) AppendUtf8(utf8, static_cast<unsigned char>(byte));
    return utf8;
}

std::string XmlFromForeignBytes(std::string_view bytes)
{
    bytes = bytes.substr(0, bytes.find('\0'));
    std::string utf8;
    for (size_t position = 0; position < bytes.size();) {
        const size_t start = position;
        uint32_t codePoint = NextCodePoint(bytes, position);
        if (codePoint < 0x100) {
            position = start + 1;
            codePoint = CodePointOfWindows1252(static_cast<unsigned char>(bytes[start]));
        }
        AppendUtf8(utf8, codePoint);
    }
    return utf8;
}

bool IsXmlNameStart(uint32_t codePoint)
{
    if (codePoint < 0x80) {
        return (codePoint >= 'a' && codePoint <= 'z') || (codePoint >= 'A' && codePoint <= 'Z') || codePoint == '_' || codePoint == ':';
    }
    return IsIn(kNameStarts, codePoint);
}

bool IsXmlNamePart(uint32_t codePoint)
{
    if (IsXmlNameStart(codePoint)) return true;
    if (codePoint < 0x80) return (codePoint >= '0' && codePoint <= '9') || codePoint == '-' || codePoint == '.';
    return IsIn(kNameParts, codePoint);
}

bool IsXmlName(std::string_view utf8)
{
    if (utf8.empty()) return false;
    size_t position = 0;
    if (!IsXmlNameStart(NextCodePoint(utf8, position))) return false;
    while (position < utf8.size()) {
        if (!IsXmlNamePart(NextCodePoint(utf8, position))) return false;
    }
    return true;
}

bool IsXmlBlank(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return IsXmlBlank(c); });
}

}  // namespace velmora::platform
