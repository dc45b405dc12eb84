#include "persistence/IndexTags.h"

#include <cstdint>

#include "common/Text.h"
#include "persistence/StreamIndexReader.h"

namespace velmora {

static_assert(kHeaderBegin.size() + kHeaderDigits + kHeaderEnd.size() == kHeaderSize);

namespace {

constexpr size_t kNone = std::string_view::npos;

// As a search of C strings would: a start behind the end finds nothing.
size_t Find(std::string_view text, char wanted, size_t from) { return from >= text.size() ? kNone : text.find(wanted, from); }

std::string_view CutToTag(std::string_view text) { return text.substr(0, kLongestTag); }

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

}  // namespace

bool IsWrittenHeader(std::string_view bytes)
{
    if (bytes.size() < kHeaderSize || !bytes.starts_with(kHeaderBegin)) return false;
    for (const char c : bytes.substr(kHeaderBegin.size(), kHeaderDigits))
        if (!IsHexDigit(c)) return false;
    return bytes.substr(kHeaderSize - kHeaderEnd.size(), kHeaderEnd.size()) == kHeaderEnd;
}

uint32_t LastUidOfHeader(std::string_view head)
{
    if (!IsWrittenHeader(head)) return 0;
    const uint32_t lastUid = ParseUnsigned(head.substr(kHeaderBegin.size(), kHeaderDigits), 16);
    return lastUid == UINT32_MAX ? 0 : lastUid;
}

uint32_t LastUidOfRoot(std::string_view head)
{
    if (IsWrittenHeader(head)) return LastUidOfHeader(head);
    const size_t end = head.find('>');
    if (!head.starts_with('<') || !head.substr(1).starts_with(kRootTag) || end == kNone) return 0;
    uint32_t lastUid = 0;
    ParseLastUID(head.substr(1, end - 1), lastUid);
    // A number that no UID can be held at is no number that somebody gave.
    return lastUid <= INT32_MAX ? lastUid : 0;
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
    if (value.front() == 'x') {
        lastUid = ParseUnsigned(value.substr(1), 16);
        return RootForm::New;
    }
    lastUid = value.front() == '0' ? ParseUnsigned(value, 16) : static_cast<uint32_t>(ParseLong(value));
    return RootForm::Old;
}

}  // namespace velmora
