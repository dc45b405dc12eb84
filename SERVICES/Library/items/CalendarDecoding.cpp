#include "items/CalendarDecoding.h"

#include "items/QuotedPrintable.h"

namespace velmora {

namespace {

constexpr std::string_view kEncodingParameter = ";ENCODING=QUOTED-PRINTABLE";
constexpr std::string_view kEncodingInFront = "ENCODING=QUOTED-PRINTABLE;";
constexpr std::string_view kEncodedWord = "=?UTF-8?Q?";
constexpr std::string_view kCrLf = "\r\n";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view LineEndOf(std::string_view text)
{
    const size_t first = text.find('\n');
    const bool lfAlone = first != std::string_view::npos && (first == 0 || text[first - 1] != '\r');
    return lfAlone ? std::string_view("\n") : kCrLf;
}

// The next physical line of `rest` without its end and without the blanks in front; false at its last one.
bool TakeLine(std::string_view& rest, std::string_view& line)
{
    while (!rest.empty() && IsBlank(rest.front())) rest.remove_prefix(1);
    const size_t end = rest.find('\n');
    line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return end != std::string_view::npos;
}

// The value that `rest` begins with, its folds undone, and behind an encoded name its soft line breaks as well.
std::string TakeValue(std::string_view& rest, bool encoded)
{
    std::string value;
    std::string_view line;
    while (TakeLine(rest, line)) {
        value.append(line);
        if (encoded && value.ends_with('=') && !value.starts_with(kEncodedWord))
            value.pop_back();
        else if (rest.empty() || !IsBlank(rest.front()))
            return value;
    }
    return value.append(line);
}

std::string DecodeValue(const std::string& value, std::string_view lineEnd)
{
    const std::string decoded = QuotedPrintableDecode(value);
    std::string written;
    written.reserve(decoded.size());
    size_t at = 0;
    for (size_t found = decoded.find(kCrLf); found != std::string::npos; found = decoded.find(kCrLf, at)) {
        written.append(decoded, at, found - at).append("\\n").append(lineEnd).append("\t");
        at = found + kCrLf.size();
    }
    return written.append(decoded, at);
}

}  // namespace

std::string DecodeCalendarText(std::string_view text)
{
    if (text.find(kEncodingParameter) == std::string_view::npos) return std::string(text);
    const std::string_view lineEnd = LineEndOf(text);
    std::string result;
    result.reserve(text.size());
    for (size_t colon = text.find(':'); colon != std::string_view::npos; colon = text.find(':')) {
        std::string name(text.substr(0, colon));
        text.remove_prefix(colon + 1);
        const bool encoded = name.find(kEncodingParameter) != std::string::npos;
        const std::string value = TakeValue(text, encoded);
        const size_t parameter = encoded ? name.find(kEncodingInFront) : std::string::npos;
        if (parameter != std::string::npos) name.erase(parameter, kEncodingInFront.size());
        result.append(name).append(":").append(encoded ? DecodeValue(value, lineEnd) : value).append(lineEnd);
    }
    return result;
}

}  // namespace velmora
