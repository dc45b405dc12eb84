#include "platform/shared/XmlWriter.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>

#include "platform/shared/XmlText.h"

namespace velmora::platform {

namespace {

constexpr std::array<bool, 256> MakePlain()
{
    std::array<bool, 256> plain{};
    for (unsigned byte = ' '; byte <= '~'; ++byte) plain[byte] = byte != '&' && byte != '<' && byte != '>' && byte != '"';
    return plain;
}

constexpr std::array<bool, 256> kPlain = MakePlain();

bool IsPlain(char c) { return kPlain[static_cast<unsigned char>(c)]; }

}  // namespace

void XmlWriter::Escaped(std::string_view text, bool inAttribute)
{
    for (size_t position = 0; position < text.size();) {
        const size_t start = position;
        while (position < text.size() && IsPlain(text[position])) ++position;
        out_.append(text, start, position - start);
        if (position == text.size()) break;
        switch (text[position]) {
            case '&':
                out_ += "&amp;";
                break;
            case '<':
                out_ += "&lt;";
                break;
            case '>':
                out_ += "&gt;";
                break;
            case '"':
                out_ += inAttribute ? "&quot;" : "\"";
                break;
            default: {
                char digits[8];
                const uint32_t codePoint = NextCodePoint(text, position);
                out_ += "&#x";
                out_.append(digits, std::to_chars(digits, digits + sizeof digits, codePoint, 16).ptr);
                out_ += ';';
                continue;
            }
        }
        ++position;
    }
}

void XmlWriter::Declaration(std::string_view standalone)
{
    out_ += "<?xml version=\"1.0\"";
    if (!standalone.empty()) out_.append(" standalone=\"").append(standalone).append("\"");
    out_ += "?>";
}

void XmlWriter::BeginElement(std::string_view name) { out_.append("<").append(name); }

void XmlWriter::Attribute(std::string_view name, std::string_view value)
{
    out_.append(" ").append(name).append("=\"");
    Escaped(value, true);
    out_ += '"';
}

void XmlWriter::EndStartTag(bool hasContent) { out_ += hasContent ? ">" : "/>"; }

void XmlWriter::EndElement(std::string_view name) { out_.append("</").append(name).append(">"); }

void XmlWriter::Text(std::string_view text) { Escaped(text, false); }

void XmlWriter::Layout(std::string_view blanks)
{
    for (const char c : blanks) {
        if (c == '\r') {
            Escaped("\r", false);
        } else {
            out_ += c;
        }
    }
}

void XmlWriter::Section(std::string_view text) { out_.append("<![CDATA[").append(text).append("]]>"); }

void XmlWriter::Comment(std::string_view text) { out_.append("<!--").append(text).append("-->"); }

void XmlWriter::Instruction(std::string_view target, std::string_view data)
{
    out_.append("<?").append(target);
    if (!data.empty()) out_.append(" ").append(data);
    out_ += "?>";
}

}  // namespace velmora::platform
