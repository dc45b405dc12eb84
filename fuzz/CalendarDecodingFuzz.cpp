// Any text as a calendar object to be made readable, and values made up of the input, which must come out as they went in.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "fuzz/FuzzedChoices.h"
#include "items/CalendarDecoding.h"
#include "items/QuotedPrintable.h"

using namespace velmora;
using namespace velmora::test;

namespace {

constexpr std::string_view kMark = ";ENCODING=QUOTED-PRINTABLE";

size_t CountOf(std::string_view text, char wanted)
{
    size_t count = 0;
    for (const char c : text)
        if (c == wanted) ++count;
    return count;
}

void AnyText(const std::string& text)
{
    const std::string decoded = DecodeCalendarText(text);
    if (text.find(kMark) == std::string::npos) {
        if (decoded != text) Require("a text with nothing encoded was changed");
        return;
    }
    // A line break in a value takes three bytes more than it had at least, and a line may get an end of two.
    if (decoded.size() > 2 * text.size() + 2) Require("a text grew");
    // Every property that is written has its colon and its line end.
    if (CountOf(decoded, ':') > 0 && decoded.back() != '\n') Require("a text without a line end");
    if (decoded.empty() && CountOf(text, ':') > 0) Require("a property was lost");
}

void AnyEncodedText(const std::string& text)
{
    const std::string decoded = QuotedPrintableDecode(text);
    if (decoded.size() > text.size()) Require("an encoded text grew");
    if (text.find('=') == std::string::npos && decoded != text) Require("a plain text was changed");
}

// Every byte in its encoded form, with soft breaks between, comes back.
void MadeUpValue(Choices& choices)
{
    std::string value, encoded;
    for (uint32_t left = choices.Below(50); left > 0; --left) {
        const auto byte = static_cast<unsigned char>(choices.Below(256));
        // A pair of CR and LF is written as something else.
        if (byte == '\n') continue;
        value += static_cast<char>(byte);
        char digits[8];
        std::snprintf(digits, sizeof digits, choices.OneIn(2) ? "=%02X" : "=%02x", static_cast<unsigned>(byte));
        encoded += digits;
        if (choices.OneIn(8)) encoded += choices.OneIn(2) ? "=\r\n" : "=\n\t ";
    }
    const std::string text = "BEGIN:VEVENT\r\nSUMMARY;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:" + encoded + "\r\n\r\nEND:VEVENT\r\n";
    const std::string expected = "BEGIN:VEVENT\r\nSUMMARY;CHARSET=UTF-8:" + value + "\r\n\r\nEND:VEVENT\r\n";
    if (DecodeCalendarText(text) != expected) Require("another value comes back from " + text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The choices are made at the end of an input, so that its start may be a text to be read.
    const std::string text(reinterpret_cast<const char*>(data), size);
    AnyText(text);
    AnyEncodedText(text);
    FuzzedChoices choices(data, size);
    MadeUpValue(choices);
    return 0;
}
