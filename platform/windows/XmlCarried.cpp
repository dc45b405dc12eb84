#include "platform/windows/XmlCarried.h"

#include <charconv>
#include <cstddef>
#include <cstdint>

#include "platform/shared/XmlText.h"

namespace velmora::platform {

namespace {

constexpr uint32_t kPrivate = 0xE000;
constexpr uint32_t kLiteral = 0xE020;  // the next one stands for itself
constexpr wchar_t kColon = 0x11F9;
constexpr wchar_t kPlain = 0x11F8;  // in front of a name that would mean a namespace
constexpr std::string_view kNamespace = "xmlns";

void AppendWide(std::wstring& out, uint32_t codePoint)
{
    if (codePoint < 0x10000) {
        out.push_back(static_cast<wchar_t>(codePoint));
        return;
    }
    out.push_back(static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
    out.push_back(static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF)));
}

void AppendCarried(std::wstring& out, uint32_t codePoint)
{
    if (codePoint < 0x20 && codePoint != '\t' && codePoint != '\n') {
        codePoint += kPrivate;
    } else if (codePoint >= kPrivate && codePoint <= kLiteral) {
        out.push_back(static_cast<wchar_t>(kLiteral));
    }
    AppendWide(out, codePoint);
}

uint32_t NextWide(std::wstring_view wide, size_t& position)
{
    const uint32_t unit = wide[position++];
    if (unit < 0xD800 || unit > 0xDBFF || position == wide.size()) return unit;
    const uint32_t low = wide[position];
    if (low < 0xDC00 || low > 0xDFFF) return unit;
    ++position;
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

// One pass over a well-formed document: markup stays, what stands in it is carried.
class DocumentCarrier {
public:
    explicit DocumentCarrier(std::string_view text) : text_(text) { out_.reserve(text.size() + 16); }

    std::wstring Run(std::string& standalone)
    {
        if (Begins("<?xml") && IsXmlBlank(text_[5])) {
            const std::string_view declaration = text_.substr(0, text_.find("?>"));
            const size_t found = declaration.find("standalone");
            if (found != std::string_view::npos) standalone = declaration.find("yes", found) != std::string_view::npos ? "yes" : "no";
            at_ = declaration.size() + 2;
        }
        while (at_ < text_.size()) Part();
        return std::move(out_);
    }

private:
    bool Begins(std::string_view word) const { return text_.substr(at_, word.size()) == word; }
    void Copy(size_t count)
    {
        for (const char c : text_.substr(at_, count)) out_.push_back(static_cast<wchar_t>(c));
        at_ += count;
    }

    void Part()
    {
        if (text_[at_] != '<') return Characters("<");
        if (Begins("<!--")) return Verbatim(4, "-->");
        if (Begins("<![CDATA[")) return Verbatim(9, "]]>");
        if (Begins("<?")) return Verbatim(2, "?>");
        Tag();
    }

    // What has no references in it, with `lead` bytes of markup in front.
    void Verbatim(size_t lead, std::string_view ending)
    {
        const size_t end = text_.find(ending, at_ + lead);
        Copy(lead);
        out_ += CarriedText(text_.substr(at_, end - at_));
        at_ = end;
        Copy(ending.size());
    }

    void Characters(std::string_view stop)
    {
        while (at_ < text_.size() && stop.find(text_[at_]) == std::string_view::npos) {
            if (text_[at_] == '&') {
                Reference();
            } else {
                AppendCarried(out_, NextCodePoint(text_, at_));
            }
        }
    }

    void Reference()
    {
        const size_t end = text_.find(';', at_);
        if (text_[at_ + 1] == '#') {
            const bool hexadecimal = text_[at_ + 2] == 'x';
            uint32_t codePoint = 0;
            std::from_chars(text_.data() + at_ + (hexadecimal ? 3 : 2), text_.data() + end, codePoint, hexadecimal ? 16 : 10);
            // Markup and white space stay references: written out, they would mean something else.
            if (codePoint >= 0x80 || (codePoint < 0x20 && codePoint != '\t' && codePoint != '\n')) {
                AppendCarried(out_, codePoint);
                at_ = end + 1;
                return;
            }
        }
        Copy(end + 1 - at_);
    }

    void Name()
    {
        const size_t end = text_.find_first_of(" \t\n=/>", at_);
        out_ += CarriedName(text_.substr(at_, end - at_));
        at_ = end;
    }

    void Tag()
    {
        Copy(Begins("</") ? 2 : 1);
        Name();
        for (;;) {
            switch (const char c = text_[at_]) {
                case '>':
                    Copy(1);
                    return;
                case '"':
                case '\'':
                    Copy(1);
                    Characters(std::string_view(&c, 1));
                    Copy(1);
                    break;
                case '/':
                case '=':
                case ' ':
                case '\t':
                case '\n':
                    Copy(1);
                    break;
                default:
                    Name();
            }
        }
    }

    std::string_view text_;
    size_t at_ = 0;
    std::wstring out_;
};

}  // namespace

std::wstring CarriedText(std::string_view utf8)
{
    std::wstring carried;
    carried.reserve(utf8.size());
    for (size_t position = 0; position < utf8.size();) AppendCarried(carried, NextCodePoint(utf8, position));
    return carried;
}

std::wstring CarriedName(std::string_view utf8)
{
    std::wstring carried;
    if (utf8.substr(0, kNamespace.size()) == kNamespace) carried.push_back(kPlain);
    for (size_t position = 0; position < utf8.size();) {
        const uint32_t codePoint = NextCodePoint(utf8, position);
        AppendWide(carried, codePoint == ':' ? uint32_t{kColon} : codePoint);
    }
    return carried;
}

std::wstring CarriedExpression(std::string_view utf8)
{
    std::wstring carried = CarriedText(utf8);
    wchar_t quote = 0;
    for (size_t i = 0; i < carried.size(); ++i) {
        const wchar_t c = carried[i];
        if (quote != 0) {
            if (c == quote) quote = 0;
        } else if (c == L'"' || c == L'\'') {
            quote = c;
        } else if (c == L':') {
            // Two of them belong to an axis.
            if (i + 1 < carried.size() && carried[i + 1] == L':') {
                ++i;
            } else {
                carried[i] = kColon;
            }
        }
    }
    return carried;
}

std::string FromCarriedText(std::wstring_view carried)
{
    std::string utf8;
    utf8.reserve(carried.size());
    for (size_t position = 0; position < carried.size();) {
        uint32_t codePoint = NextWide(carried, position);
        if (codePoint == kLiteral && position < carried.size()) {
            codePoint = NextWide(carried, position);
        } else if (codePoint >= kPrivate && codePoint < kLiteral) {
            codePoint -= kPrivate;
        }
        AppendUtf8(utf8, codePoint);
    }
    return utf8;
}

std::string FromCarriedName(std::wstring_view carried)
{
    std::string utf8;
    for (size_t position = !carried.empty() && carried.front() == kPlain ? 1 : 0; position < carried.size();) {
        const uint32_t codePoint = NextWide(carried, position);
        AppendUtf8(utf8, codePoint == kColon ? uint32_t{':'} : codePoint);
    }
    return utf8;
}

std::wstring CarriedDocument(std::string_view utf8, std::string& standalone) { return DocumentCarrier(utf8).Run(standalone); }

}  // namespace velmora::platform
