#include "Utf16.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "Text.h"

namespace vlstore {

namespace {

// The characters of Windows-1252 at 0x80 to 0x9F; 0 where it has none.
constexpr uint32_t kWindows1252[] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0, 0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0, 0x017E, 0x0178,
};

uint32_t UnitAt(std::string_view bytes, size_t at)
{
    return static_cast<unsigned char>(bytes[at]) | static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8;
}

void AppendUnit(std::string& bytes, uint32_t unit)
{
    bytes.push_back(static_cast<char>(static_cast<unsigned char>(unit & 0xFF)));
    bytes.push_back(static_cast<char>(static_cast<unsigned char>(unit >> 8 & 0xFF)));
}

// The code point at the front of `utf16`, which is left behind it; there are two bytes at least.
uint32_t TakePoint(std::string_view& utf16)
{
    uint32_t point = UnitAt(utf16, 0);
    utf16.remove_prefix(2);
    if ((point & 0xFC00) != 0xD800 || utf16.size() < 2 || (UnitAt(utf16, 0) & 0xFC00) != 0xDC00) return point;
    point = 0x10000 + ((point & 0x3FF) << 10) + (UnitAt(utf16, 0) & 0x3FF);
    utf16.remove_prefix(2);
    return point;
}

void AppendPoint(std::string& bytes, uint32_t point)
{
    const uint32_t* windows = std::find(std::begin(kWindows1252), std::end(kWindows1252), point);
    if (point >= 0x100 && windows != std::end(kWindows1252)) point = 0x80 + static_cast<uint32_t>(windows - kWindows1252);
    if (point < 0x100) {
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(point)));
    } else {
        AppendCodePoint(bytes, point);
    }
}

// The code point of a sequence that Utf8SequenceLength has measured.
uint32_t Decode(std::string_view sequence)
{
    auto byte = [sequence](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(sequence[i])); };
    constexpr uint32_t kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    uint32_t point = byte(0) & kLeadBits[sequence.size()];
    for (size_t i = 1; i < sequence.size(); ++i) point = point << 6 | (byte(i) & 0x3F);
    return point;
}

}  // namespace

std::string BytesFromUtf16(std::string_view utf16)
{
    std::string bytes;
    bytes.reserve(utf16.size() / 2);
    while (utf16.size() >= 2) AppendPoint(bytes, TakePoint(utf16));
    return bytes;
}

std::string Utf16FromBytes(std::string_view bytes)
{
    std::string utf16;
    while (!bytes.empty()) {
        size_t length = std::max<size_t>(Utf8SequenceLength(bytes), 1);
        uint32_t point = length > 1 ? Decode(bytes.substr(0, length)) : 0;
        std::string back;
        AppendPoint(back, point);
        if (back != bytes.substr(0, length)) {
            length = 1;
            point = static_cast<unsigned char>(bytes[0]);
        }
        if (point >= 0x10000) {
            AppendUnit(utf16, 0xD800 + ((point - 0x10000) >> 10));
            AppendUnit(utf16, 0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            AppendUnit(utf16, point);
        }
        bytes.remove_prefix(length);
    }
    return utf16;
}

std::string_view Utf16Of(std::string_view utf16, size_t length)
{
    std::string_view rest = utf16;
    std::string bytes;
    while (bytes.size() < length && rest.size() >= 2) AppendPoint(bytes, TakePoint(rest));
    return utf16.substr(0, utf16.size() - rest.size());
}

}  // namespace vlstore
