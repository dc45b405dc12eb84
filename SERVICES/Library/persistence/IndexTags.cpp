#include "persistence/IndexTags.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "common/Text.h"
#include "persistence/StreamIndexReader.h"

namespace velmora {

static_assert(kHeaderBegin.size() + kHeaderDigits + kHeaderEnd.size() == kHeaderSize);

namespace {

constexpr size_t kNone = std::string_view::npos;
constexpr std::string_view kWhiteSpace = " \t\r\n";

// As a search of C strings would: a start behind the end finds nothing.
size_t Find(std::string_view text, char wanted, size_t from) { return from >= text.size() ? kNone : text.find(wanted, from); }

std::string_view CutToTag(std::string_view text) { return text.substr(0, kLongestTag); }

size_t EndOf(std::string_view text, std::string_view mark)
{
    const size_t at = text.find(mark);
    return at == kNone ? kNone : at + mark.size();
}

// What may stand in front of a root tag: the mark of a coding, white space, a declaration, comments.
std::string_view BehindProlog(std::string_view head)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (head.starts_with(kByteOrderMark)) head.remove_prefix(kByteOrderMark.size());
    for (;;) {
        head.remove_prefix(std::min(head.find_first_not_of(kWhiteSpace), head.size()));
        size_t end = kNone;
        if (head.starts_with("<!--"))
            end = EndOf(head, "-->");
        else if (head.starts_with("<?"))
            end = EndOf(head, "?>");
        if (end == kNone) return head;
        head.remove_prefix(end);
    }
}

// The text of LASTUID in the root tag that begins a file, in either sort of quotes; empty when there is none.
std::string_view RootLastUid(std::string_view head)
{
    std::string_view rest = BehindProlog(head);
    if (!rest.starts_with('<') || !rest.substr(1).starts_with(kRootTag)) return {};
    rest.remove_prefix(1 + kRootTag.size());
    rest = rest.substr(0, rest.find('>') == kNone ? 0 : rest.find('>'));
    for (;;) {
        rest.remove_prefix(std::min(rest.find_first_not_of(kWhiteSpace), rest.size()));
        const size_t equals = rest.find('=');
        if (equals == kNone) return {};
        const std::string_view name = rest.substr(0, std::min(equals, rest.find_first_of(kWhiteSpace)));
        const size_t open = rest.find_first_not_of(kWhiteSpace, equals + 1);
        if (open == kNone || (rest[open] != '"' && rest[open] != '\'')) return {};
        const size_t close = rest.find(rest[open], open + 1);
        if (close == kNone) return {};
        if (name == "LASTUID") return rest.substr(open + 1, close - open - 1);
        rest.remove_prefix(close + 1);
    }
}

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

}  // namespace

bool IsWrittenHeader(std::string_view bytes)
{
    if (bytes.size() < kHeaderSize || !bytes.starts_with(kHeaderBegin)) return false;
    for (const char c : bytes.substr(kHeaderBegin.size(), kHeaderDigits))
        if (!IsHexDigit(c)) return false;
    return bytes.substr(kHeaderSize - kHeaderEnd.size(), kHeaderEnd.size()) == kHeaderEnd;
}

uint32_t LastUidToldBy(std::string_view head)
{
    constexpr std::string_view kBegin = "<BASEELEMENT LASTUID=\"";
    head = BehindProlog(head);
    if (!head.starts_with(kBegin)) return 0;
    const size_t end = head.find('"', kBegin.size());
    if (end == kNone) return 0;
    const std::string_view behind = head.substr(end + 1);
    const std::string_view value = head.substr(kBegin.size(), end - kBegin.size());
    if (!behind.starts_with('>') && !behind.starts_with("/>")) return 0;
    const uint32_t lastUid = LastUidOfText(value);
    const std::string digits = FormatHex8(lastUid);
    const bool written = value == FormatSigned(lastUid) || value == "x" + digits || value == "0x" + digits;
    return written && lastUid != UINT32_MAX ? lastUid : 0;
}

uint32_t LastUidOfRoot(std::string_view head)
{
    const uint32_t lastUid = LastUidOfText(RootLastUid(head));
    return lastUid == UINT32_MAX ? 0 : lastUid;
}

size_t RootTagAt(std::string_view bytes) { return bytes.size() - BehindProlog(bytes).size(); }

uint32_t LastUidOfText(std::string_view text)
{
    const bool marked = text.starts_with('x');
    const int base = marked || text.starts_with('0') ? 16 : 10;
    if (marked) text.remove_prefix(1);
    const size_t sign = text.find_first_not_of(" \t\n\v\f\r");
    return sign != kNone && text[sign] == '-' ? 0 : ParseUnsigned(text, base);
}

bool TellsLastUid(std::string_view head)
{
    std::string_view value = RootLastUid(head);
    const bool marked = value.starts_with('x');
    if (marked) value.remove_prefix(1);
    return value.find_first_of(marked ? "0123456789abcdefABCDEF" : "0123456789") == 0;
}

bool IsWrittenForm(std::string_view tag)
{
    constexpr std::string_view kBegin = "ELEMENT ID=\"";
    constexpr std::string_view kMiddle = "\" UID=\"";
    if (!tag.starts_with(kBegin) || !tag.ends_with('"')) return false;
    const size_t middle = tag.find('"', kBegin.size());
    if (middle == kNone || tag.substr(middle, kMiddle.size()) != kMiddle) return false;
    return tag.find('"', middle + kMiddle.size()) == tag.size() - 1;
}

AttributeWalk::Step AttributeWalk::Next(TagAttribute& attribute)
{
    const size_t blank = Find(tag_, ' ', at_);
    if (blank == kNone) return Step::End;
    const size_t name = blank + 1;
    const size_t equals = Find(tag_, '=', name + 1);
    if (equals == kNone) return Step::End;
    const size_t openQuote = Find(tag_, '"', equals + 1);
    if (openQuote == kNone) return Step::NoQuote;
    const size_t value = openQuote + 1;
    const size_t closeQuote = Find(tag_, '"', value + 1);
    if (closeQuote == kNone) return Step::NoQuote;
    attribute.name = CutToTag(tag_.substr(name, equals - name));
    attribute.value = CutToTag(tag_.substr(value, closeQuote - value));
    at_ = closeQuote + 1;
    return Step::Attribute;
}

RootForm ParseLastUID(std::string_view tagText, uint32_t& lastUid)
{
    constexpr std::string_view kAttribute = "LASTUID=\"";
    const size_t found = tagText.find(kAttribute);
    if (found == kNone) return RootForm::Old;
    const size_t begin = found + kAttribute.size();
    const size_t end = Find(tagText, '"', begin + 1);
    if (end == kNone) return RootForm::Old;
    const std::string_view value = CutToTag(tagText.substr(begin, end - begin));
    lastUid = LastUidOfText(value);
    return value.front() == 'x' ? RootForm::New : RootForm::Old;
}

}  // namespace velmora
