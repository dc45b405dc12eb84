#include "platform/shared/XmlEncoding.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "platform/shared/Ascii.h"
#include "platform/shared/XmlText.h"

namespace velmora::platform {

namespace {

enum class Encoding { Utf8, Utf16, Latin1, Windows1252, Ascii };

struct EncodingRow {
    std::string_view name;
    Encoding encoding;
};

constexpr EncodingRow kEncodings[] = {
    {"utf-8", Encoding::Utf8},     {"utf-16", Encoding::Utf16}, {"iso-8859-1", Encoding::Latin1}, {"windows-1252", Encoding::Windows1252},
    {"us-ascii", Encoding::Ascii},
};

constexpr char kBadBytes[] = "The file has a byte that its encoding does not have";

// What the declaration says, read without judgement: whether it is well-formed is asked later. Empty when it says nothing.
std::string_view DeclaredEncoding(std::string_view text)
{
    if (text.substr(0, 5) != "<?xml" || text.size() < 6 || !IsXmlBlank(text[5])) return {};
    text = text.substr(0, text.find("?>"));
    const size_t found = text.find("encoding");
    if (found == std::string_view::npos) return {};
    const size_t open = text.find_first_of("'\"", found);
    if (open == std::string_view::npos) return {};
    const size_t close = text.find(text[open], open + 1);
    if (close == std::string_view::npos) return {};
    return text.substr(open + 1, close - open - 1);
}

const EncodingRow* RowOf(std::string_view name)
{
    const auto* const row = std::find_if(std::begin(kEncodings), std::end(kEncodings),
                                         [&](const EncodingRow& candidate) { return EqualBytesNoCase(name, candidate.name); });
    return row == std::end(kEncodings) ? nullptr : row;
}

// Bytes that are ASCII at the front of `bytes`.
size_t AsciiLength(std::string_view bytes)
{
    size_t position = 0;
    for (; position + 8 <= bytes.size(); position += 8) {
        uint64_t word = 0;
        std::memcpy(&word, bytes.data() + position, sizeof word);
        if ((word & UINT64_C(0x8080808080808080)) != 0) break;
    }
    while (position < bytes.size() && static_cast<unsigned char>(bytes[position]) < 0x80) ++position;
    return position;
}

XmlFault TakeUtf8(std::string_view bytes, std::string& utf8)
{
    for (size_t position = 0; position < bytes.size();) {
        position += AsciiLength(bytes.substr(position));
        if (position == bytes.size()) break;
        const size_t start = position;
        NextCodePoint(bytes, position);
        if (position - start == 1) {
            utf8.assign(bytes.substr(0, start));
            return {XmlFaultCode::BadCharacter, start, kBadBytes};
        }
    }
    utf8.assign(bytes);
    return {};
}

XmlFault TakeUtf16(std::string_view bytes, bool bigEndian, std::string& utf8)
{
    const auto unit = [&](size_t position) {
        const auto first = static_cast<unsigned char>(bytes[position]);
        const auto second = static_cast<unsigned char>(bytes[position + 1]);
        return bigEndian ? uint32_t{first} << 8 | second : uint32_t{second} << 8 | first;
    };
    utf8.clear();
    utf8.reserve(bytes.size() / 2);
    for (size_t position = 0; position < bytes.size(); position += 2) {
        if (bytes.size() - position < 2) return {XmlFaultCode::BadCharacter, utf8.size(), kBadBytes};
        uint32_t codePoint = unit(position);
        if (codePoint >= 0xD800 && codePoint <= 0xDFFF) {
            const uint32_t low = bytes.size() - position >= 4 ? unit(position + 2) : 0;
            if (codePoint > 0xDBFF || low < 0xDC00 || low > 0xDFFF) return {XmlFaultCode::BadCharacter, utf8.size(), kBadBytes};
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
            position += 2;
        }
        AppendUtf8(utf8, codePoint);
    }
    return {};
}

XmlFault TakeSingleBytes(std::string_view bytes, Encoding encoding, std::string& utf8)
{
    utf8.clear();
    utf8.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 && encoding == Encoding::Ascii) return {XmlFaultCode::BadCharacter, utf8.size(), kBadBytes};
        AppendUtf8(utf8, encoding == Encoding::Windows1252 ? CodePointOfWindows1252(byte) : byte);
    }
    return {};
}

// What a file that begins with a mark declares must be what the mark says.
XmlFault AgreesWithMark(Encoding marked, std::string_view utf8)
{
    const std::string_view name = DeclaredEncoding(utf8);
    const EncodingRow* const row = RowOf(name);
    if (name.empty() || (row && row->encoding == marked)) return {};
    return {XmlFaultCode::OtherEncoding, 0, "The declared encoding is not that of the byte order mark"};
}

// CR LF and CR become LF.
void JoinLineEnds(std::string& text)
{
    size_t from = text.find('\r');
    if (from == std::string::npos) return;
    size_t to = from;
    for (; from < text.size(); ++from) {
        if (text[from] == '\r') {
            text[to++] = '\n';
            if (from + 1 < text.size() && text[from + 1] == '\n') ++from;
        } else {
            text[to++] = text[from];
        }
    }
    text.resize(to);
}

XmlFault Take(std::string_view bytes, std::string& utf8)
{
    const std::string_view mark = bytes.substr(0, 2);
    if (mark == "\xFF\xFE" || mark == "\xFE\xFF") {
        const XmlFault fault = TakeUtf16(bytes.substr(2), mark == "\xFE\xFF", utf8);
        return fault ? fault : AgreesWithMark(Encoding::Utf16, utf8);
    }
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") {
        const XmlFault fault = TakeUtf8(bytes.substr(3), utf8);
        return fault ? fault : AgreesWithMark(Encoding::Utf8, utf8);
    }
    const std::string_view name = DeclaredEncoding(bytes);
    if (name.empty()) return TakeUtf8(bytes, utf8);
    const EncodingRow* const row = RowOf(name);
    if (row && row->encoding == Encoding::Utf8) return TakeUtf8(bytes, utf8);
    utf8.clear();
    if (!row) return {XmlFaultCode::UnknownEncoding, 0, "The declared encoding is not known"};
    if (row->encoding == Encoding::Utf16) return {XmlFaultCode::OtherEncoding, 0, "The file is declared as UTF-16 and is not"};
    return TakeSingleBytes(bytes, row->encoding, utf8);
}

}  // namespace

XmlFault DecodeXml(std::string_view bytes, std::string& utf8)
{
    XmlFault fault = Take(bytes, utf8);
    JoinLineEnds(utf8);
    // The text ends where the fault is.
    if (fault && fault.offset != 0) fault.offset = utf8.size();
    return fault;
}

}  // namespace velmora::platform
