#include "items/QuotedPrintable.h"

#include "common/Text.h"

namespace velmora {

namespace {

// 0 to 15, or -1.
int HexValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = LowerAscii(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

std::string QuotedPrintableDecode(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    size_t at = 0;
    while (at + 2 < text.size()) {
        if (text[at] != '=') {
            decoded += text[at++];
            continue;
        }
        const int high = HexValue(text[at + 1]);
        const int low = HexValue(text[at + 2]);
        if (high >= 0 && low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            at += 3;
        } else {
            ++at;
        }
    }
    return decoded.append(text.substr(at));
}

}  // namespace velmora
