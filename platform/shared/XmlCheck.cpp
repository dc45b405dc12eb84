#include "platform/shared/XmlCheck.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/shared/Ascii.h"
#include "platform/shared/XmlText.h"

namespace velmora::platform {

namespace {

enum ByteClass : uint8_t {
    kPlain = 0,
    kStopsText = 1,   // "<", "&", "]", what is no character, and what may begin one
    kStopsValue = 2,  // the same for attribute values, with quotes
    kNameStart = 4,
    kNamePart = 8,
};

constexpr std::array<uint8_t, 256> MakeClasses()
{
    std::array<uint8_t, 256> classes{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const bool control = byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
        // U+FFFE and U+FFFF begin with 0xEF.
        if (control || byte == 0xEF || byte == '<' || byte == '&') classes[byte] = kStopsText | kStopsValue;
        if (byte == ']') classes[byte] = kStopsText;
        if (byte == '"' || byte == '\'') classes[byte] = kStopsValue;
        const bool letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' || byte == ':';
        if (letter) classes[byte] = kNameStart | kNamePart;
        if ((byte >= '0' && byte <= '9') || byte == '-' || byte == '.') classes[byte] = kNamePart;
    }
    return classes;
}

constexpr std::array<uint8_t, 256> kClasses = MakeClasses();

bool Has(char c, ByteClass asked) { return (kClasses[static_cast<unsigned char>(c)] & asked) != 0; }

constexpr size_t kFewAttributes = 16;

class XmlChecker {
public:
    explicit XmlChecker(const std::string& text) : text_(text), begin_(text.data()), end_(text.data() + text.size()), at_(begin_) {}

    XmlFault Run()
    {
        if (Declaration() && Prolog() && Content()) Epilog();
        return fault_;
    }

private:
    // ---- The reading position. The byte behind the text is a zero. ----

    bool AtEnd() const { return at_ == end_; }
    char Peek() const { return *at_; }
    bool Begins(std::string_view word) const
    {
        return static_cast<size_t>(end_ - at_) >= word.size() && std::string_view(at_, word.size()) == word;
    }
    bool Skip(std::string_view word)
    {
        if (!Begins(word)) return false;
        at_ += word.size();
        return true;
    }
    bool SkipBlanks()
    {
        const char* const start = at_;
        while (IsXmlBlank(*at_)) ++at_;
        return at_ != start;
    }

    bool FailAt(const char* place, XmlFaultCode code, std::string reason)
    {
        fault_ = {code, static_cast<size_t>(place - begin_), std::move(reason)};
        return false;
    }
    bool Fail(XmlFaultCode code, const char* reason) { return FailAt(at_, code, reason); }
    // At the end of the text the end is the fault, whatever was expected.
    bool FailExpecting(XmlFaultCode code, const char* reason)
    {
        return AtEnd() ? Fail(XmlFaultCode::EndOfFile, "The file ends too soon") : Fail(code, reason);
    }

    // One character that is no plain one. False when no document may hold it.
    bool Character()
    {
        if (AtEnd()) return Fail(XmlFaultCode::EndOfFile, "The file ends too soon");
        const auto rest = std::string_view(at_, static_cast<size_t>(end_ - at_));
        size_t length = 0;
        if (!IsXmlCharacter(NextCodePoint(rest, length))) {
            return Fail(XmlFaultCode::BadCharacter, "A character that no document may hold");
        }
        at_ += length;
        return true;
    }

    // ---- Parts of markup ----

    bool Name(std::string_view& name)
    {
        const char* const start = at_;
        for (;;) {
            if (Has(*at_, at_ == start ? kNameStart : kNamePart)) {
                ++at_;
                continue;
            }
            if (static_cast<unsigned char>(*at_) < 0x80) break;
            size_t length = 0;
            const uint32_t codePoint = NextCodePoint(std::string_view(at_, static_cast<size_t>(end_ - at_)), length);
            if (!(at_ == start ? IsXmlNameStart(codePoint) : IsXmlNamePart(codePoint))) {
                return at_ == start ? Fail(XmlFaultCode::BadNameStart, "A name begins with a character that no name begins with")
                                    : Fail(XmlFaultCode::BadNameCharacter, "A name holds a character that no name holds");
            }
            at_ += length;
        }
        name = std::string_view(start, static_cast<size_t>(at_ - start));
        if (!name.empty()) return true;
        return FailExpecting(XmlFaultCode::BadNameStart, "A name begins with a character that no name begins with");
    }

    // "&" and what belongs to it.
    bool Reference()
    {
        const char* const start = at_++;
        if (Peek() == '#') return CharacterReference(start);
        std::string_view name;
        if (!Has(Peek(), kNameStart) && static_cast<unsigned char>(Peek()) < 0x80) {
            return FailExpecting(XmlFaultCode::BadReference, "A character that no name of an entity holds");
        }
        if (!Name(name)) return false;
        if (Peek() != ';') return FailExpecting(XmlFaultCode::MissingSemicolon, "A semicolon is missing");
        ++at_;
        constexpr std::string_view kKnown[] = {"amp", "lt", "gt", "quot", "apos"};
        if (std::find(std::begin(kKnown), std::end(kKnown), name) != std::end(kKnown)) return true;
        return FailAt(start, XmlFaultCode::UndefinedEntity, "An entity that is not defined: " + std::string(name));
    }

    bool CharacterReference(const char* start)
    {
        ++at_;
        const bool hexadecimal = Peek() == 'x';
        if (hexadecimal) ++at_;
        uint32_t codePoint = 0;
        const char* const digits = at_;
        for (;; ++at_) {
            const char c = Peek();
            const char lower = LowerByte(c);
            const bool isLetter = hexadecimal && lower >= 'a' && lower <= 'f';
            if (!isLetter && (c < '0' || c > '9')) break;
            const auto digit = static_cast<uint32_t>(isLetter ? lower - 'a' + 10 : c - '0');
            codePoint = std::min(codePoint * (hexadecimal ? 16 : 10) + digit, UINT32_C(0x110000));
        }
        if (Peek() != ';' || at_ == digits) {
            if (!AtEnd() && at_ != digits && !Has(Peek(), kNamePart)) return Fail(XmlFaultCode::MissingSemicolon, "A semicolon is missing");
            return hexadecimal ? FailExpecting(XmlFaultCode::BadHexadecimalDigit, "No hexadecimal digit")
                               : FailExpecting(XmlFaultCode::BadDecimalDigit, "No decimal digit");
        }
        ++at_;
        if (codePoint != 0 && (codePoint < 0x20 || IsXmlCharacter(codePoint))) return true;
        return FailAt(start, XmlFaultCode::BadCodePoint, "A reference to what is no character");
    }

    bool Value()
    {
        const char quote = Peek();
        if (quote != '"' && quote != '\'') return FailExpecting(XmlFaultCode::MissingQuote, "A value without quotes");
        ++at_;
        for (;;) {
            while (!Has(*at_, kStopsValue)) ++at_;
            if (AtEnd()) return Fail(XmlFaultCode::UnclosedString, "A value that is not closed");
            if (Peek() == quote) {
                ++at_;
                return true;
            }
            switch (Peek()) {
                case '<':
                    return Fail(XmlFaultCode::BadCharacterInValue, "A \"<\" in a value");
                case '&':
                    if (!Reference()) return false;
                    break;
                case '"':
                case '\'':
                    ++at_;
                    break;
                default:
                    if (!Character()) return false;
            }
        }
    }

    bool Equals()
    {
        SkipBlanks();
        if (Peek() != '=') return FailExpecting(XmlFaultCode::MissingEquals, "An equals sign is missing");
        ++at_;
        SkipBlanks();
        return true;
    }

    // The text up to `ending`, which is passed as well.
    bool Until(std::string_view ending, XmlFaultCode unclosed, const char* reason)
    {
        const size_t start = static_cast<size_t>(at_ - begin_);
        const size_t found = text_.find(ending, start);
        const char* const stop = found == std::string::npos ? end_ : begin_ + found;
        while (at_ < stop) {
            if (!Has(*at_, kStopsText) || *at_ == '<' || *at_ == '&' || *at_ == ']') {
                ++at_;
            } else if (!Character()) {
                return false;
            }
        }
        if (found == std::string::npos) return Fail(unclosed, reason);
        at_ += ending.size();
        return true;
    }

    bool Comment()
    {
        at_ += 4;
        if (!Until("--", XmlFaultCode::UnclosedComment, "A comment that is not closed")) return false;
        if (Peek() != '>') return FailExpecting(XmlFaultCode::CommentSyntax, "Two dashes in a comment");
        ++at_;
        return true;
    }

    bool Instruction()
    {
        const char* const start = at_;
        at_ += 2;
        std::string_view target;
        if (!Name(target)) return false;
        if (target == "xml") return FailAt(start, XmlFaultCode::MisplacedDeclaration, "A declaration that is not first");
        if (EqualBytesNoCase(target, "xml"))
            return FailAt(start, XmlFaultCode::ReservedName, "An instruction with a name that is reserved");
        if (Skip("?>")) return true;
        if (!SkipBlanks()) return FailExpecting(XmlFaultCode::MissingBlank, "White space is missing");
        return Until("?>", XmlFaultCode::UnclosedInstruction, "An instruction that is not closed");
    }

    // ---- The document ----

    bool DeclaredValue(std::string_view name, std::string_view& value)
    {
        if (!Skip(name)) return false;
        if (!Equals()) return false;
        const char* const start = at_ + 1;
        if (!Value()) return false;
        value = std::string_view(start, static_cast<size_t>(at_ - 1 - start));
        return true;
    }

    bool Declaration()
    {
        if (!Begins("<?xml") || text_.size() < 6 || !IsXmlBlank(text_[5])) return true;
        constexpr char kBad[] = "A declaration that is not well-formed";
        at_ += 5;
        SkipBlanks();
        std::string_view value;
        if (!DeclaredValue("version", value)) return fault_ ? false : Fail(XmlFaultCode::DeclarationSyntax, kBad);
        if (value != "1.0") return Fail(XmlFaultCode::DeclarationSyntax, "A version that is not known");
        bool blank = SkipBlanks();
        if (blank && Begins("encoding")) {
            if (!DeclaredValue("encoding", value)) return false;
            if (value.empty()) return Fail(XmlFaultCode::DeclarationSyntax, kBad);
            blank = SkipBlanks();
        }
        if (blank && Begins("standalone")) {
            if (!DeclaredValue("standalone", value)) return false;
            if (value != "yes" && value != "no") return Fail(XmlFaultCode::DeclarationSyntax, kBad);
            SkipBlanks();
        }
        return Skip("?>") || FailExpecting(XmlFaultCode::DeclarationSyntax, kBad);
    }

    // White space, comments and instructions outside of the root.
    bool Misc()
    {
        for (;;) {
            SkipBlanks();
            if (Begins("<!--")) {
                if (!Comment()) return false;
            } else if (Begins("<?")) {
                if (!Instruction()) return false;
            } else {
                return true;
            }
        }
    }

    bool Prolog()
    {
        if (!Misc()) return false;
        if (AtEnd()) return Fail(XmlFaultCode::MissingRoot, "There is no root element");
        if (Begins("<!DOCTYPE")) return Fail(XmlFaultCode::DocumentType, "A document type is not accepted");
        if (Peek() == '<' && at_[1] != '!' && at_[1] != '/') return true;
        return Fail(XmlFaultCode::NotAtTheTop, "This may not stand outside of the root element");
    }

    void Epilog()
    {
        if (!Misc() || AtEnd()) return;
        if (Peek() == '<' && at_[1] != '!' && at_[1] != '/') {
            Fail(XmlFaultCode::SecondRoot, "There is a second root element");
        } else {
            Fail(XmlFaultCode::NotAtTheTop, "This may not stand outside of the root element");
        }
    }

    // From the root's start tag to its end tag.
    bool Content()
    {
        do {
            if (!NextPart()) return false;
        } while (!open_.empty());
        return true;
    }

    bool NextPart()
    {
        if (Peek() != '<') return CharacterData();
        switch (at_[1]) {
            case '/':
                return EndTag();
            case '?':
                return Instruction();
            case '!':
                if (Begins("<!--")) return Comment();
                if (!Skip("<![CDATA[")) return Fail(XmlFaultCode::BadNameStart, "A name begins with a character that no name begins with");
                return Until("]]>", XmlFaultCode::UnclosedCData, "A CDATA section that is not closed");
            default:
                return StartTag();
        }
    }

    bool CharacterData()
    {
        for (;;) {
            while (!Has(*at_, kStopsText)) ++at_;
            switch (Peek()) {
                case '<':
                    return true;
                case '&':
                    if (!Reference()) return false;
                    break;
                case ']':
                    if (Begins("]]>")) return Fail(XmlFaultCode::CDataEnd, "The end of a CDATA section in text");
                    ++at_;
                    break;
                default:
                    if (AtEnd()) return Unclosed();
                    if (!Character()) return false;
            }
        }
    }

    bool Unclosed() { return Fail(XmlFaultCode::UnclosedTag, "Elements that are not closed"); }

    bool StartTag()
    {
        const char* const start = at_++;
        std::string_view name;
        if (!Name(name)) return false;
        attributes_.clear();
        for (;;) {
            const bool blank = SkipBlanks();
            if (Peek() == '>') {
                ++at_;
                if (open_.size() == kXmlDepthLimit) return FailAt(start, XmlFaultCode::TooDeep, "Elements are nested too deep");
                open_.push_back(name);
                break;
            }
            if (Peek() == '/') {
                if (at_[1] != '>') {
                    ++at_;
                    return FailExpecting(XmlFaultCode::MissingTagEnd, "A \">\" is missing");
                }
                at_ += 2;
                if (open_.size() == kXmlDepthLimit) return FailAt(start, XmlFaultCode::TooDeep, "Elements are nested too deep");
                break;
            }
            if (AtEnd()) return Fail(XmlFaultCode::UnclosedStartTag, "A start tag that is not closed");
            if (!blank) return Fail(XmlFaultCode::MissingBlank, "White space is missing");
            std::string_view attribute;
            if (!Name(attribute) || !Equals() || !Value()) return false;
            attributes_.push_back(attribute);
        }
        return AttributesDiffer();
    }

    bool AttributesDiffer()
    {
        const auto twice = [this](std::string_view name) {
            return FailAt(name.data(), XmlFaultCode::DuplicateAttribute, "An attribute that is there twice: " + std::string(name));
        };
        if (attributes_.size() <= kFewAttributes) {
            for (size_t i = 1; i < attributes_.size(); ++i) {
                if (std::find(attributes_.begin(), attributes_.begin() + static_cast<ptrdiff_t>(i), attributes_[i]) !=
                    attributes_.begin() + static_cast<ptrdiff_t>(i)) {
                    return twice(attributes_[i]);
                }
            }
            return true;
        }
        std::stable_sort(attributes_.begin(), attributes_.end());
        const auto found = std::adjacent_find(attributes_.begin(), attributes_.end());
        return found == attributes_.end() || twice(*(found + 1));
    }

    bool EndTag()
    {
        const char* const start = at_;
        at_ += 2;
        std::string_view name;
        if (!Name(name)) return false;
        SkipBlanks();
        if (Peek() != '>') {
            return AtEnd() ? Fail(XmlFaultCode::UnclosedEndTag, "An end tag that is not closed")
                           : Fail(XmlFaultCode::MissingTagEnd, "A \">\" is missing");
        }
        ++at_;
        if (open_.back() != name) {
            return FailAt(start, XmlFaultCode::EndTagMismatch,
                          "The end tag \"" + std::string(name) + "\" does not match the start tag \"" + std::string(open_.back()) + "\"");
        }
        open_.pop_back();
        return true;
    }

    const std::string& text_;
    const char* const begin_;
    const char* const end_;
    const char* at_;
    XmlFault fault_;
    std::vector<std::string_view> open_;
    std::vector<std::string_view> attributes_;
};

}  // namespace

XmlFault CheckXml(const std::string& text) { return XmlChecker(text).Run(); }

}  // namespace velmora::platform
