#include "XmlScanner.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "Text.h"

namespace vlstore {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kCDataBegin = "<![CDATA[", kCDataEnd = "]]>";
constexpr std::string_view kCommentBegin = "<!--", kCommentEnd = "--";
constexpr uint32_t kLastCodePoint = 0x10FFFF;

struct NamedReference {
    std::string_view name;
    char byte;
};
constexpr NamedReference kNamedReferences[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};

// The code points that Windows-1252 has in 0x80 to 0x9F; 0 where it has none.
constexpr std::array<uint16_t, 32> kUpperControls = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                                     0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                                     0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':'; }
bool IsNamePart(char c) { return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

// XML has a few code points less than UTF-8; controls are taken where they come as references.
bool IsCharacter(uint32_t code)
{
    return code != 0 && code <= kLastCodePoint && (code < 0xD800 || code > 0xDFFF) && code != 0xFFFE && code != 0xFFFF;
}

// "&NAME;" without its ends: the code point, or nothing when it names none.
std::optional<uint32_t> CodePointOf(std::string_view name)
{
    for (const NamedReference& named : kNamedReferences) {
        if (named.name == name) return static_cast<uint32_t>(named.byte);
    }
    if (!name.starts_with('#')) return std::nullopt;
    name.remove_prefix(1);
    const int base = name.starts_with('x') ? 16 : 10;
    if (base == 16) name.remove_prefix(1);
    uint32_t code = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), code, base);
    if (error != std::errc() || end != name.data() + name.size() || !IsCharacter(code)) return std::nullopt;
    return code;
}

void AppendAsBytes(std::string& text, uint32_t code)
{
    if (code <= 0xFF) {
        text += static_cast<char>(code);
        return;
    }
    const auto* const found = std::find(kUpperControls.begin(), kUpperControls.end(), code);
    if (found != kUpperControls.end())
        text += static_cast<char>(0x80 + (found - kUpperControls.begin()));
    else
        AppendCodePoint(text, code);
}

// Of a valid sequence of more than one byte.
uint32_t CodePointAt(std::string_view sequence)
{
    uint32_t code = static_cast<unsigned char>(sequence[0]) & (0x7Fu >> sequence.size());
    for (const char c : sequence.substr(1)) code = (code << 6) | (static_cast<unsigned char>(c) & 0x3Fu);
    return code;
}

}  // namespace

size_t LineOf(std::string_view bytes, size_t offset)
{
    bytes = bytes.substr(0, offset);
    return 1 + static_cast<size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
}

std::string DecodeXmlText(std::string_view raw, XmlReading reading)
{
    std::string text;
    text.reserve(raw.size());
    const bool document = reading == XmlReading::Document;
    while (!raw.empty()) {
        const size_t end = raw[0] == '&' ? raw.find(';') : std::string_view::npos;
        const std::optional<uint32_t> code = end == std::string_view::npos ? std::nullopt : CodePointOf(raw.substr(1, end - 1));
        if (code) {
            if (document)
                AppendAsBytes(text, *code);
            else
                text += static_cast<char>(*code & 0xFF);
            raw.remove_prefix(end + 1);
            continue;
        }
        const size_t length = document ? std::max<size_t>(Utf8SequenceLength(raw), 1) : 1;
        if (length > 1)
            AppendAsBytes(text, CodePointAt(raw.substr(0, length)));
        else if (!document || raw[0] != '\r')
            text += raw[0];
        else if (!raw.substr(1).starts_with('\n'))
            text += '\n';
        raw.remove_prefix(length);
    }
    return text;
}

XmlScanner::XmlScanner(std::string_view bytes, Attributes attributes) : bytes_(bytes), mode_(attributes)
{
    if (bytes.starts_with(kByteOrderMark)) documentBegin_ = at_ = kByteOrderMark.size();
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) Fail(0, "UTF-16 is not read here");
}

bool XmlScanner::Fail(size_t offset, std::string what)
{
    if (!fault_) fault_ = {std::min(offset, bytes_.size()), std::move(what)};
    return false;
}

bool XmlScanner::Finish()
{
    if (!open_.empty()) return Fail(bytes_.size(), "the file ends within <" + std::string(open_.back()) + ">");
    if (!rootSeen_) return Fail(bytes_.size(), "there is no root element");
    return false;
}

bool XmlScanner::Next()
{
    if (fault_) return false;
    begin_ = at_;
    if (closesItself_) {
        closesItself_ = false;
        kind_ = Piece::End;
        name_ = open_.back();
        open_.pop_back();
        return true;
    }
    attributes_.clear();
    if (at_ == bytes_.size()) return Finish();
    if (bytes_[at_] != '<') return ReadText();
    if (StartsWith("</")) return ReadEndTag();
    if (StartsWith("<?")) return ReadInstruction();
    if (StartsWith(kCommentBegin)) return ReadComment();
    if (StartsWith(kCDataBegin)) return ReadCData();
    if (StartsWith("<!")) return Fail(at_, "a document type, which no index has");
    return ReadStartTag();
}

bool XmlScanner::CheckCharacters(std::string_view raw, size_t offset)
{
    for (size_t at = 0; at < raw.size();) {
        const auto byte = static_cast<unsigned char>(raw[at]);
        if (byte < 0x80) {
            if (byte < 0x20 && !IsBlank(raw[at])) return Fail(offset + at, "a control byte");
            ++at;
            continue;
        }
        const size_t length = Utf8SequenceLength(raw.substr(at));
        if (length < 2 || !IsCharacter(CodePointAt(raw.substr(at, length)))) return Fail(offset + at, "a byte that is not UTF-8");
        at += length;
    }
    return true;
}

bool XmlScanner::CheckReferences(std::string_view raw, size_t offset)
{
    for (size_t at = raw.find('&'); at != std::string_view::npos; at = raw.find('&', at + 1)) {
        const size_t end = raw.find(';', at);
        if (end == std::string_view::npos || !CodePointOf(raw.substr(at + 1, end - at - 1)))
            return Fail(offset + at, "a \"&\" that begins no reference");
    }
    return true;
}

bool XmlScanner::ReadText()
{
    kind_ = Piece::Text;
    const size_t end = std::min(bytes_.find('<', at_), bytes_.size());
    raw_ = bytes_.substr(at_, end - at_);
    if (open_.empty()) {
        const auto* const mark = std::find_if_not(raw_.begin(), raw_.end(), IsBlank);
        if (mark != raw_.end())
            return Fail(at_ + static_cast<size_t>(mark - raw_.begin()),
                        rootSeen_ ? "text behind the root element" : "text before the root element");
    }
    const size_t close = raw_.find(kCDataEnd);
    // Whichever fault stands first.
    const std::string_view sound = raw_.substr(0, close);
    if (!CheckReferences(sound, at_)) {
        const XmlFault reference = *fault_;
        fault_.reset();
        if (!CheckCharacters(raw_.substr(0, reference.offset - at_), at_)) return false;
        return Fail(reference.offset, reference.what);
    }
    if (!CheckCharacters(sound, at_)) return false;
    if (close != std::string_view::npos) return Fail(at_ + close, "\"]]>\" in a text");
    at_ = end;
    return true;
}

bool XmlScanner::ReadCData()
{
    kind_ = Piece::CData;
    if (open_.empty()) return Fail(at_, "text outside the root element");
    const size_t begin = at_ + kCDataBegin.size();
    const size_t end = bytes_.find(kCDataEnd, begin);
    if (end == std::string_view::npos) return Fail(at_, "a CDATA section without an end");
    raw_ = bytes_.substr(begin, end - begin);
    if (!CheckCharacters(raw_, begin)) return false;
    at_ = end + kCDataEnd.size();
    return true;
}

bool XmlScanner::ReadComment()
{
    kind_ = Piece::Other;
    const size_t begin = at_ + kCommentBegin.size();
    const size_t end = bytes_.find(kCommentEnd, begin);
    if (end == std::string_view::npos) return Fail(at_, "a comment without an end");
    if (!bytes_.substr(end + kCommentEnd.size()).starts_with('>')) return Fail(end, "\"--\" in a comment");
    if (!CheckCharacters(bytes_.substr(begin, end - begin), begin)) return false;
    at_ = end + kCommentEnd.size() + 1;
    return true;
}

bool XmlScanner::ReadInstruction()
{
    kind_ = Piece::Other;
    const size_t begin = at_;
    at_ += 2;
    std::string_view target;
    if (!ReadName(target)) return false;
    if (target == "xml" && begin == documentBegin_) return CheckDeclaration();
    if (EqualNoCase(target, "xml")) return Fail(begin, "an XML declaration that is not at the start of the file");
    const size_t end = bytes_.find("?>", at_);
    if (end == std::string_view::npos) return Fail(begin, "an instruction without an end");
    if (end != at_ && !IsBlank(bytes_[at_])) return Fail(at_, "a blank is missing behind the name of an instruction");
    if (!CheckCharacters(bytes_.substr(at_, end - at_), at_)) return false;
    at_ = end + 2;
    return true;
}

bool XmlScanner::CheckDeclaration()
{
    if (!ReadAttributes()) return false;
    if (!StartsWith("?>")) return Fail(at_, "an XML declaration without an end");
    constexpr std::array<std::string_view, 3> kOrder = {"version", "encoding", "standalone"};
    size_t next = 0;
    for (const Attribute& attribute : attributes_) {
        const auto* const found = std::find(kOrder.begin() + next, kOrder.end(), attribute.name);
        if (found == kOrder.end()) return Fail(attribute.offset, "an XML declaration that is not one");
        next = static_cast<size_t>(found - kOrder.begin()) + 1;
        if (attribute.name == "version" && attribute.raw != "1.0") return Fail(attribute.offset, "a version of XML that there is not");
        if (attribute.name == "standalone" && attribute.raw != "yes" && attribute.raw != "no")
            return Fail(attribute.offset, "an XML declaration that is not one");
        if (attribute.name == "encoding" && !EqualNoCase(attribute.raw, "UTF-8"))
            return Fail(attribute.offset, "an encoding that is not read here: " + std::string(attribute.raw));
    }
    if (attributes_.empty() || attributes_[0].name != "version") return Fail(at_, "an XML declaration without a version");
    attributes_.clear();
    at_ += 2;
    return true;
}

bool XmlScanner::ReadName(std::string_view& name)
{
    size_t end = at_;
    if (end < bytes_.size() && IsNameStart(bytes_[end])) {
        while (end < bytes_.size() && IsNamePart(bytes_[end])) ++end;
    }
    name = bytes_.substr(at_, end - at_);
    if (end < bytes_.size() && static_cast<unsigned char>(bytes_[end]) >= 0x80) return Fail(end, "a name with a byte above 127");
    if (name.empty()) return Fail(at_, "a name is missing");
    at_ = end;
    return true;
}

size_t XmlScanner::SkipBlanks()
{
    const size_t begin = at_;
    while (at_ < bytes_.size() && IsBlank(bytes_[at_])) ++at_;
    return at_ - begin;
}

bool XmlScanner::ReadAttributes()
{
    for (;;) {
        const size_t before = at_;
        const size_t blanks = SkipBlanks();
        if (at_ == bytes_.size()) return Fail(at_, "the file ends within a tag");
        if (bytes_[at_] == '>' || bytes_[at_] == '/' || bytes_[at_] == '?') return true;
        if (blanks == 0) return Fail(at_, "a blank is missing in front of an attribute");
        if (attributes_.size() == kXmlMostAttributes) return Fail(at_, "more attributes than " + std::to_string(kXmlMostAttributes));
        if (!ReadAttribute(blanks == 1 && bytes_[before] == ' ')) return false;
    }
}

bool XmlScanner::ReadAttribute(bool oneBlank)
{
    Attribute attribute;
    attribute.offset = at_;
    if (!ReadName(attribute.name)) return false;
    size_t blanks = SkipBlanks();
    if (at_ == bytes_.size()) return Fail(at_, "the file ends within a tag");
    if (!StartsWith("=")) return Fail(at_, "an attribute without a value");
    ++at_;
    blanks += SkipBlanks();
    if (!StartsWith("\"") && !StartsWith("'")) return Fail(at_, "the value of an attribute without quotes");
    const char quote = bytes_[at_++];
    const size_t end = bytes_.find(quote, at_);
    if (end == std::string_view::npos) return Fail(at_ - 1, "the value of an attribute without an end");
    attribute.raw = bytes_.substr(at_, end - at_);
    attribute.plain = oneBlank && blanks == 0 && quote == '"';
    if (mode_ == Attributes::Strict) {
        const size_t open = attribute.raw.find('<');
        if (!CheckCharacters(attribute.raw.substr(0, open), at_) || !CheckReferences(attribute.raw.substr(0, open), at_)) return false;
        if (open != std::string_view::npos) return Fail(at_ + open, "\"<\" in the value of an attribute");
    }
    for (const Attribute& other : attributes_) {
        if (other.name == attribute.name) return Fail(attribute.offset, "the attribute " + std::string(attribute.name) + " stands twice");
    }
    attributes_.push_back(attribute);
    at_ = end + 1;
    return true;
}

bool XmlScanner::ReadStartTag()
{
    kind_ = Piece::Start;
    if (open_.empty() && rootSeen_) return Fail(at_, "a second root element");
    if (open_.size() == kXmlDeepest) return Fail(at_, "more levels than " + std::to_string(kXmlDeepest));
    ++at_;
    if (!ReadName(name_) || !ReadAttributes()) return false;
    if (StartsWith("/")) {
        closesItself_ = true;
        ++at_;
    }
    if (!StartsWith(">")) return Fail(at_, "a tag without its \">\"");
    ++at_;
    rootSeen_ = true;
    open_.push_back(name_);
    return true;
}

bool XmlScanner::ReadEndTag()
{
    kind_ = Piece::End;
    at_ += 2;
    if (!ReadName(name_)) return false;
    SkipBlanks();
    if (at_ == bytes_.size()) return Fail(at_, "the file ends within a tag");
    if (open_.empty() || open_.back() != name_) {
        return Fail(begin_, "</" + std::string(name_) + "> closes " + (open_.empty() ? "nothing" : "<" + std::string(open_.back()) + ">"));
    }
    if (!StartsWith(">")) return Fail(at_, "a tag without its \">\"");
    ++at_;
    open_.pop_back();
    return true;
}

}  // namespace vlstore
