#include "persistence/DocumentBytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "common/Text.h"
#include "persistence/IndexTags.h"

namespace velmora {

namespace {

constexpr size_t kNone = std::string_view::npos;
constexpr char kHexDigits[] = "0123456789ABCDEF";

void AppendHex(std::string& out, char byte)
{
    const auto value = static_cast<uint8_t>(byte);
    out += kHexDigits[value >> 4];
    out += kHexDigits[value & 15];
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsNamePart(char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

constexpr std::string_view kZeroByte = "&#x0;";  // as the stream writer has it
constexpr std::string_view kOddBegin = "_x";
constexpr size_t kOddSize = 5;  // _x3D_

// The tag of a column, "/" in front included. An underscore in front of an "x" would be taken for the begin of an odd byte.
std::string ColumnTag(std::string_view markup)
{
    std::string out = "<";
    std::string_view name = markup.substr(1, markup.size() - 2);
    if (name.starts_with('/')) {
        out += '/';
        name.remove_prefix(1);
    }
    for (size_t at = 0; at < name.size(); ++at) {
        const bool plain = (at == 0 ? IsLetter(name[at]) : IsNamePart(name[at])) && !name.substr(at).starts_with(kOddBegin);
        if (plain) {
            out += name[at];
            continue;
        }
        out += kOddBegin;
        AppendHex(out, name[at]);
        out += '_';
    }
    return out += '>';
}

enum class Names { AsTheyAre, OfColumns, All };

// A tag with "=" in it may be one with attributes, as somebody else writes them.
bool IsColumnTag(std::string_view markup, Names names)
{
    std::string_view name = markup.substr(1);
    if (name.starts_with('/')) name.remove_prefix(1);
    return markup.size() > 2 && markup.ends_with('>') && !markup.ends_with("/>") && markup[1] != '!' && markup[1] != '?' &&
           !name.starts_with(kRootTag) && !name.starts_with(kElementTag) && (names == Names::All || name.find('=') == kNone);
}

// Markup in which a bracket or a line end is what it is: a comment, an instruction, a section of plain characters.
size_t EndOfMarkup(std::string_view text)
{
    std::string_view mark = ">";
    if (text.starts_with("<!--"))
        mark = "-->";
    else if (text.starts_with("<![CDATA["))
        mark = "]]>";
    else if (text.starts_with("<?"))
        mark = "?>";
    const size_t at = text.find(mark);
    return at == kNone ? text.size() : at + mark.size();
}

// The bytes with some of them replaced. Nothing is copied before the first that is.
class Rewriter {
public:
    explicit Rewriter(std::string_view bytes) : bytes_(bytes) {}

    void Replace(size_t at, size_t size, std::string_view with)
    {
        if (done_ == 0) out_.reserve(bytes_.size() + bytes_.size() / 64);
        out_.append(bytes_.substr(done_, at - done_)).append(with);
        done_ = at + size;
    }
    void Refer(size_t at)
    {
        std::string reference = "&#x";
        AppendHex(reference, bytes_[at]);
        Replace(at, 1, reference += ';');
    }
    std::optional<std::string> Result()
    {
        if (done_ == 0) return std::nullopt;
        return std::move(out_.append(bytes_.substr(done_)));
    }

private:
    std::string_view bytes_;
    std::string out_;
    size_t done_ = 0;  // of bytes_
};

// The text between tags, up to the end tag of the root: what stands behind it is no value.
std::optional<std::string> Rewritten(std::string_view bytes, Names names)
{
    const size_t rootEnd = bytes.rfind("</");
    if (rootEnd == kNone || (names == Names::AsTheyAre && bytes.find('\r') >= rootEnd)) return std::nullopt;
    Rewriter rewriter(bytes);
    bool inRoot = false;
    for (size_t at = 0; at < rootEnd;) {
        const size_t bracket = std::min(bytes.find('<', at), rootEnd);
        std::string_view text = bytes.substr(0, bracket);
        if (names != Names::AsTheyAre) text = text.substr(0, text.find(kZeroByte, at));
        for (size_t found = text.find('\r', at); inRoot && found != kNone; found = text.find('\r', found + 1)) rewriter.Refer(found);
        if (text.size() < bracket) rewriter.Replace(text.size(), bracket - text.size(), {});
        at = bracket;
        if (at == rootEnd) break;
        const std::string_view markup = bytes.substr(at, EndOfMarkup(bytes.substr(at)));
        if (markup[1] != '!' && markup[1] != '?') inRoot = true;
        if (names != Names::AsTheyAre && markup.substr(1).starts_with(kElementTag)) {
            bool inValue = false;
            for (size_t i = 0; i < markup.size(); ++i) {
                if (markup[i] == '"') inValue = !inValue;
                if (inValue && NeedsReference(markup[i])) rewriter.Refer(at + i);
            }
        } else if (names != Names::AsTheyAre && IsColumnTag(markup, names)) {
            const std::string tag = ColumnTag(markup);
            if (tag != markup) rewriter.Replace(at, markup.size(), tag);
        }
        at += markup.size();
    }
    return rewriter.Result();
}

}  // namespace

bool NeedsReference(char byte)
{
    const auto value = static_cast<uint8_t>(byte);
    return value < ' ' || value > 126 || byte == '&' || byte == '<';
}

std::optional<std::string> WithBytesKept(std::string_view bytes)
{
    return Rewritten(bytes, IsWrittenHeader(bytes) ? Names::OfColumns : Names::AsTheyAre);
}

std::optional<std::string> WithNamesKept(std::string_view bytes)
{
    return IsWrittenHeader(bytes) ? Rewritten(bytes, Names::All) : std::nullopt;
}

std::string ColumnOfName(std::string_view name)
{
    if (name.find(kOddBegin) == kNone) return std::string(name);
    std::string column;
    for (size_t at = 0; at < name.size();) {
        const std::string_view rest = name.substr(at);
        if (rest.starts_with(kOddBegin) && rest.size() >= kOddSize && rest[kOddSize - 1] == '_') {
            column += static_cast<char>(ParseUnsigned(rest.substr(kOddBegin.size(), 2), 16));
            at += kOddSize;
        } else {
            column += name[at++];
        }
    }
    return column;
}

bool IsAscii(std::string_view name)
{
    return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace velmora
