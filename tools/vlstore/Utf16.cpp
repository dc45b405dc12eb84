#include "Utf16.h"

#include <cstdint>

#include "Text.h"

namespace vlstore {

namespace {

constexpr std::string_view kMark = "\xFF\xFE";
constexpr uint32_t kReplacement = 0xFFFD;

uint32_t UnitAt(std::string_view bytes, size_t at)
{
    return static_cast<unsigned char>(bytes[at]) | static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8;
}

void AppendUnit(std::string& bytes, uint32_t unit)
{
    bytes.push_back(static_cast<char>(static_cast<unsigned char>(unit & 0xFF)));
    bytes.push_back(static_cast<char>(static_cast<unsigned char>(unit >> 8 & 0xFF)));
}

// The code point of a sequence that Utf8SequenceLength has measured.
uint32_t Decode(std::string_view sequence)
{
    auto byte = [sequence](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(sequence[i])); };
    constexpr uint32_t kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    uint32_t codePoint = byte(0) & kLeadBits[sequence.size()];
    for (size_t i = 1; i < sequence.size(); ++i) codePoint = codePoint << 6 | (byte(i) & 0x3F);
    return codePoint;
}

}  // namespace

bool IsUtf16(std::string_view bytes) { return bytes.starts_with(kMark); }

std::string Utf16ToUtf8(std::string_view bytes)
{
    std::string utf8;
    bytes.remove_prefix(kMark.size());
    size_t at = 0;
    for (; at + 1 < bytes.size(); at += 2) {
        uint32_t unit = UnitAt(bytes, at);
        if (unit >= 0xD800 && unit < 0xDC00 && at + 3 < bytes.size() && (UnitAt(bytes, at + 2) & 0xFC00) == 0xDC00) {
            unit = 0x10000 + ((unit & 0x3FF) << 10) + (UnitAt(bytes, at + 2) & 0x3FF);
            at += 2;
        } else if (unit >= 0xD800 && unit < 0xE000) {
            unit = kReplacement;
        }
        AppendCodePoint(utf8, unit);
    }
    if (at < bytes.size()) AppendCodePoint(utf8, kReplacement);
    return utf8;
}

std::string Utf8ToUtf16(std::string_view utf8)
{
    std::string bytes(kMark);
    while (!utf8.empty()) {
        size_t length = Utf8SequenceLength(utf8);
        uint32_t codePoint = length ? Decode(utf8.substr(0, length)) : static_cast<unsigned char>(utf8[0]);
        if (codePoint >= 0x10000) {
            AppendUnit(bytes, 0xD800 + ((codePoint - 0x10000) >> 10));
            AppendUnit(bytes, 0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        } else {
            AppendUnit(bytes, codePoint);
        }
        utf8.remove_prefix(length ? length : 1);
    }
    return bytes;
}

}  // namespace vlstore
